#pragma once

#include <functional>
#include <string>

#include "recast/buildings/building_fragments.h"
#include "recast/buildings/building_surfaces.h"
#include "recast/sheaf/bundle.h"

namespace Recast {

constexpr int kBuildingsDone = 0;
constexpr int kFileNotLoaded = 2;
constexpr int kGridLacksPart = 3;

/// The bundle of a file; not valid if it can't be loaded, which the run's report says.
Quilt::BundlePtr loadBuildings(const std::string& file, const BuildingProgress& progress);

/// Calls `work` on the grids of the bundle of a file, slice by slice in ascending time. Where it
/// returns false, the console says `complaint`, and the slice's other grids are left out. A
/// fragment that can't be read ends it at once. \return the status of the run so far; if that isn't
/// `kBuildingsDone`, the run's report has the reason.
int workThroughGrids(const Quilt::Bundle& bundle, const std::string& file, const char* complaint,
                     const std::function<bool(const Quilt::Grid& grid)>& work);

/// The representation of `skeleton` relative to `base`; null if one of them is, or there is none.
Larder::StrongPtr<Quilt::Representation> relativeTo(
    const Larder::StrongPtr<Quilt::Skeleton>& skeleton,
    const Larder::StrongPtr<Quilt::Skeleton>& base);
/// The representation of `skeleton` in the grid's chart without a name; null if there is none.
Larder::StrongPtr<Quilt::Representation> inChart(
    const Quilt::Grid& grid, const Larder::StrongPtr<Quilt::Skeleton>& skeleton);

/// Writes the output of a run. \throw Quilt::StorageError, which the run's report has too.
void saveSurface(const Quilt::BundlePtr& output, const std::string& file);
/// Ends a run for data that can't be read, with a message on the console. \return `kFileNotLoaded`.
/// \param source what holds the fragment.
int endUnreadable(const std::string& source, const UnreadableFragment& error);

}  // namespace Recast
