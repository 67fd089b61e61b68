#pragma once

#include <string>

#include "recast/larder/string_list.h"
#include "recast/perch/fixed_array.h"
#include "recast/sheaf/bundle.h"

/// The point cloud that is refragmented: where it comes from and how far it reaches.
namespace Recast {

/// Loads the files one after the other into one bundle. \throw RunEnd
Quilt::BundlePtr loadSource(const Larder::StrongPtr<Larder::StringList>& files);

/// The grid of that name, or the only one if the name is empty. Where there are several to choose
/// from, the console tells their names. \throw RunEnd
std::string chooseGrid(const Quilt::Bundle& bundle, const std::string& name);

/// The grid in the slice at that time; null if there is none.
Larder::StrongPtr<Quilt::Grid> gridAt(const Quilt::Bundle& bundle, double time,
                                      const Larder::StrongPtr<Quilt::GridID>& id);

/// The box of the grid's positions, limited to -10000000 as the largest minimum and 10000000 as the
/// smallest maximum turned round: a minimum above 10000000 counts as 10000000, a maximum below
/// -10000000 as -10000000. \throw RunEnd
Heron::PhysicalSpace::AABB boxOfPositions(const Quilt::BundlePtr& bundle,
                                          const std::string& gridName, double time);

}  // namespace Recast
