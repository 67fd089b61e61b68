#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_samples.h"
#include "recast/sheaf/bundle.h"
#include "recast/typed_arrays/mem_array.h"

namespace Recast {
namespace {

using Heron::PhysicalSpace;
using PointArray = Quilt::MemArray<1, PhysicalSpace::point>;

Quilt::BundlePtr loaded(const std::string& path) {
  const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{path});
  bool ok = false;
  return Quilt::BundlePtr(
      Quilt::Bundle::load(ok, Larder::makeStrong<Larder::LoaderParameters>(list, false), nullptr));
}

/// The positions of the bundle's one grid, or a status.
int findPositions(const Quilt::Bundle& bundle, Larder::StrongPtr<Quilt::Field>& positions) {
  const auto grids = bundle.getGridList();
  if (!grids || grids->getNumberOfGrids() != 1) return kCannotBindOutput;
  const auto grid = bundle(0.0, bundle.getGridIdentifiers().front());
  if (grid) positions = grid->CartesianPositions();
  return positions && !positions->getFragmentIDs().empty() ? kRasterDone : kNoFragment;
}

int addPoints(const PointArray& points, TerrainSamples& samples) {
  if (points.nElements() < 2) return kNoCellSize;
  const auto at = [&points](std::uint64_t n) { return points[Quilt::MultiIndex<1>(n)]; };
  const auto spacing = spacingOf(at(0), at(1));
  if (!spacing) return kNoCellSize;
  if (samples.empty()) {
    samples.setSpacing(*spacing);
    samples.reserve(points.nElements());
  }
  for (std::uint64_t n = 0; n < points.nElements(); ++n) samples.add(at(n));
  return kRasterDone;
}

}  // namespace

int readSamplesFromBundle(const std::string& path, TerrainSamples& samples) {
  const Quilt::BundlePtr bundle = loaded(path);
  if (!bundle) return kCannotBindOutput;
  Larder::StrongPtr<Quilt::Field> positions;
  if (const int status = findPositions(*bundle, positions); status != kRasterDone) return status;
  for (const auto& fragment : positions->getFragmentIDs()) {
    if (!fragment) return kNoFragment;
    const auto creator = positions->getCreator(fragment);
    if (!creator) continue;
    creator->enableCaching(false);
    const auto points = creator->create(false).castTo<PointArray>();
    if (!points) return kNoPointArray;
    if (const int status = addPoints(*points, samples); status != kRasterDone) return status;
  }
  return samples.empty() ? kNoCellSize : kRasterDone;
}

}  // namespace Recast
