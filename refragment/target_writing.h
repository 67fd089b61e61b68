#pragma once

#include <string>

#include "recast/refragment/para_box.h"

namespace Recast {

/// Writes the target fragments of the running pass: lays the output grid out on the lattice, unless
/// an earlier pass did, and fills its fields, the positions first.
/// \return empty on success, else what ends the run. \throw RunEnd, Quilt::StorageError
std::string writeTargetFrag(ParaBox& box, const Larder::StrongPtr<Quilt::Grid>& sourceGrid,
                            Quilt::BundlePtr& outputBundle, const std::string& gridName);

}  // namespace Recast
