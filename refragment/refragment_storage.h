#pragma once

#include "recast/refragment/para_box.h"

namespace Recast {

/// The rules by which the output of a run is written.
Quilt::StorageHandle storageFor(const ParaBox& box);

}  // namespace Recast
