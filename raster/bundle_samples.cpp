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
RunOutcome findPositions(const Quilt::Bundle& bundle, const std::string& path,
                         Larder::StrongPtr<Quilt::Field>& positions) {
  const auto grids = bundle.getGridList();
  const auto count = grids ? grids->getNumberOfGrids() : 0;
  if (count != 1)
    return {kCannotBindOutput,
            path + ": holds " + std::to_string(count) + " grids, and samples are taken from one"};
  const auto grid = bundle(0.0, bundle.getGridIdentifiers().front());
  if (grid) positions = grid->CartesianPositions();
  if (positions && !positions->getFragmentIDs().empty()) return {};
  return {kNoFragment, path + ": its grid has no fragments of positions at time 0"};
}

RunOutcome addPoints(const PointArray& points, const std::string& place, TerrainSamples& samples) {
  const auto at = [&points](std::uint64_t n) { return points[Quilt::MultiIndex<1>(n)]; };
  const auto spacing = points.nElements() < 2 ? std::nullopt : spacingOf(at(0), at(1));
  if (!spacing)
    return {kNoCellSize, place + " has not two points at different places, which give the spacing"};
  if (samples.empty()) {
    samples.setSpacing(*spacing);
    samples.reserve(points.nElements());
  }
  for (std::uint64_t n = 0; n < points.nElements(); ++n) samples.add(at(n));
  return {};
}

}  // namespace

RunOutcome readSamplesFromBundle(const std::string& path, TerrainSamples& samples) {
  const Quilt::BundlePtr bundle = loaded(path);
  if (!bundle) return {kCannotBindOutput, path + ": can't be loaded as a bundle"};
  Larder::StrongPtr<Quilt::Field> positions;
  if (RunOutcome outcome = findPositions(*bundle, path, positions); !outcome.isDone())
    return outcome;
  for (const auto& fragment : positions->getFragmentIDs()) {
    if (!fragment) return {kNoFragment, path + ": one of its fragments has no identifier"};
    const auto creator = positions->getCreator(fragment);
    if (!creator) continue;
    const std::string place = path + ": the fragment \"" + fragment->name() + "\"";
    creator->enableCaching(false);
    const auto points = creator->create(false).castTo<PointArray>();
    if (!points) return {kNoPointArray, place + " holds no array of points that can be read"};
    if (points->nElements() == 0) continue;  // of a tile without values
    if (RunOutcome outcome = addPoints(*points, place, samples); !outcome.isDone()) return outcome;
  }
  if (samples.empty()) return {kNoCellSize, path + ": holds no points"};
  return {};
}

}  // namespace Recast
