#pragma once

#include <cstddef>

#include "recast/larder/export.h"

namespace Larder {

/// Has the system give its pages to memory that is going to be written as a whole, some at a time
/// and in several threads. That takes a third of the time of first touches, one page after the
/// other. Changes no content; for little memory, or where the system can't do it, nothing happens.
RECAST_API void bringMemory(void* start, std::size_t bytes);

}  // namespace Larder
