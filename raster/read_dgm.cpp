#include "recast/grid_lookups/string_util.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_readers.h"
#include "recast/recastbase/run_output.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

constexpr const char* kElevation = "Elevation";

Quilt::CreatorHandle findData(const Quilt::Grid& grid, const std::string& field,
                              const std::string& tileName) {
  const auto found = grid(field, "");
  return found ? found->getCreatorByName(tileName) : nullptr;
}

/// Counts an array, and lets memory go of it once it is in the file, so that the number of tiles
/// does not matter.
std::uint64_t countAndLetGo(const Quilt::Slice& slice, const std::string& gridName,
                            const std::string& field, const std::string& tileName) {
  const auto grid = slice(gridName);
  const auto creator = grid ? findData(*grid, field, tileName) : nullptr;
  if (!creator) return 0;
  std::uint64_t elements = 0;
  creator->size().product(1, elements);
  creator->letGo();
  return elements;
}

struct GridNames {
  const std::string& uniform;
  const std::string& points;
};

/// Offers the file to the readers, which share what is opened once.
RunOutcome readTile(Quilt::Bundle& bundle, const std::string& path, const TileResults& results) {
  Larder::Text::LineReader input(path);
  const RunOutcome asRaster = readRasterTile(bundle, input, results);
  if (asRaster.isDone()) return {};
  RunOutcome asSamples = readSampleTile(bundle, input, results);
  if (!asSamples.isDone() && asSamples.failure != asRaster.failure)
    asSamples.failure = "as a raster: " + asRaster.failure + "; as samples: " + asSamples.failure;
  return asSamples;
}

RunOutcome importTile(Quilt::Bundle& bundle, const std::string& path, const GridNames& names,
                      TerrainTileCount& count) {
  double noData = EsriHeader::kDefaultNoData;
  Heron::PhysicalSpace::vector cellSize{1.0, 1.0, 1.0};
  Heron::PhysicalSpace::point origin{0.0, 0.0, 0.0};
  std::string uniformGrid = names.uniform;
  std::string pointGrid = names.points;
  RunOutcome outcome = readTile(bundle, path, {noData, cellSize, origin, uniformGrid});
  if (!outcome.isDone()) return outcome;
  const std::string tileName = Larder::StringUtil::basename(path);
  outcome = makeTileCloud(bundle, {uniformGrid, pointGrid, tileName}, noData, cellSize, origin);
  if (!outcome.isDone()) outcome.failure = path + ": " + outcome.failure;
  const auto slice = bundle[0.0];
  count.cells = countAndLetGo(*slice, uniformGrid, kElevation, tileName);
  count.points = countAndLetGo(*slice, pointGrid, Quilt::Representation::kPositions, tileName);
  countAndLetGo(*slice, pointGrid, Quilt::TriangularSurface::NormalVectorFieldName, tileName);
  return outcome;
}

}  // namespace

int importTerrainTile(Quilt::BundlePtr& bundle, const std::string& path, const TerrainProgress&,
                      const std::string& uniformGridName, const std::string& pointGridName,
                      TerrainTileCount& count) {
  return reportedRun(path, [&] {
    return importTile(*bundle, path, {uniformGridName, pointGridName}, count);
  });
}

int readDGM(const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
            const std::string& outputPath, const TerrainProgress&, std::string& uniformGridName,
            std::string& pointGridName, bool bindExisting) {
  return reportedRun(outputPath, [&]() -> RunOutcome {
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto bound =
        bindExisting ? bundle->bindTo(outputPath, nullptr, nullptr) : bundle->bindToNew(outputPath);
    if (!bundle) return {kCannotBindOutput, bound.text};
    RunOutput output(bundle, outputPath, {files->begin(), files->end()});
    TerrainTileCount ignored;
    for (const std::string& path : *files) {
      RunOutcome outcome = importTile(*bundle, path, {uniformGridName, pointGridName}, ignored);
      if (!outcome.isDone()) return outcome;
    }
    output.complete();
    return {};
  });
}

}  // namespace Recast
