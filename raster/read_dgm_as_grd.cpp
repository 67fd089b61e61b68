#include "recast/raster/esri_body.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_readers.h"
#include "recast/raster/world_frame.h"

namespace Recast {
namespace {

/// Takes the header's values over, one after the other, until one is missing.
RunOutcome takeOver(const EsriHeader& header, const TileResults& results) {
  RunOutcome complete = header.checkComplete();
  if (header.columns && header.rows && header.x && header.y)
    results.origin = {*header.x, *header.y, 0.0};
  if (!complete.isDone()) return complete;
  results.cellSize = {*header.cellSize, *header.cellSize, *header.cellSize};
  results.noData = header.noData.value_or(results.noData);
  results.origin = header.origin();
  return {};
}

}  // namespace

RunOutcome readRasterTile(Quilt::Bundle& bundle, Larder::Text::LineReader& input,
                          const TileResults& results) {
  EsriHeader header;
  RunOutcome outcome = readEsriHeader(input, {.skipEmptyLines = true}, header);
  if (outcome.isDone()) outcome = takeOver(header, results);
  if (!outcome.isDone()) return outcome;
  results.gridName =
      WorldFrame::gridName(results.gridName, WorldFrame::kUniformPrefix, results.cellSize.x());
  HeightHandle heights;
  outcome = makeEsriHeights(input, header, heights);
  if (outcome.isDone()) outcome = readEsriBody(input, header, *heights);
  if (outcome.isDone()) storeTile(bundle, input.path(), results, heights);
  return outcome;
}

int readDGMAsGrd(Quilt::BundlePtr& bundle, const std::string& path, const TerrainProgress&,
                 double& noData, Heron::PhysicalSpace::vector& cellSize,
                 Heron::PhysicalSpace::point& origin, std::string& gridName) {
  return reportedRun(path, [&] {
    Larder::Text::LineReader input(path);
    return readRasterTile(*bundle, input, {noData, cellSize, origin, gridName});
  });
}

}  // namespace Recast
