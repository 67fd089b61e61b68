#pragma once

#include <string>

#include "recast/meadow/field.h"
#include "recast/refragment/para_box.h"

namespace Recast {

/// Gathers the values of one source field for the target fragments of the running pass, and hands
/// each target fragment's array over to the target field when it is full. Values of an element type
/// that point clouds don't have are left out.
/// \throw RunEnd if source data is not as it should be; Quilt::StorageError
void writeField(ParaBox& box, const std::string& name,
                const Larder::StrongPtr<Quilt::Field>& source,
                const Larder::StrongPtr<Quilt::Field>& target);

}  // namespace Recast
