#pragma once

#include <string>

#include "recast/refragment/para_box.h"

namespace Recast {

/// The rules by which the output of a run is written.
Quilt::StorageHandle storageFor(const ParaBox& box);

/// The file of its own that a field's data goes to; empty if it stays in the output file.
std::string externalFileFor(const ParaBox& box, const std::string& fieldName);

}  // namespace Recast
