#pragma once

#include <functional>
#include <string>

#include "recast/buildings/building_surfaces.h"
#include "recast/sheaf/bundle.h"

namespace Recast {

constexpr int kBuildingsDone = 0;
constexpr int kFileNotLoaded = 2;
constexpr int kGridLacksPart = 3;

/// The bundle of a file; not valid if it can't be loaded.
Quilt::BundlePtr loadBuildings(const std::string& file, const BuildingProgress& progress);

/// Calls `work` on the grids of a bundle, slice by slice in ascending time. Where it gives false,
/// the console says `complaint`, and the slice's other grids are left out. \return false if `work`
/// did.
bool workThroughGrids(const Quilt::Bundle& bundle, const char* complaint,
                      const std::function<bool(const Quilt::Grid& grid)>& work);

/// The representation of `skeleton` relative to `base`; null if one of them is, or there is none.
Larder::StrongPtr<Quilt::Representation> relativeTo(
    const Larder::StrongPtr<Quilt::Skeleton>& skeleton,
    const Larder::StrongPtr<Quilt::Skeleton>& base);
/// The representation of `skeleton` in the grid's chart without a name; null if there is none.
Larder::StrongPtr<Quilt::Representation> inChart(
    const Quilt::Grid& grid, const Larder::StrongPtr<Quilt::Skeleton>& skeleton);

/// Tells the console of a list that refers to elements that there are not. \return false.
bool tellOfBadNumber(const std::string& fragment, const char* list);

}  // namespace Recast
