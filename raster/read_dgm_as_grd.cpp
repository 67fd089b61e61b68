#include "recast/grid_lookups/string_util.h"
#include "recast/raster/esri_header.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/world_frame.h"

namespace Recast {
namespace {

/// Takes the header's values over, one after the other, until one is missing.
int takeOver(const EsriHeader& header, double& noData, Heron::PhysicalSpace::vector& cellSize,
             Heron::PhysicalSpace::point& origin) {
  const int missing = header.firstMissing();
  if (missing == kNoDimensions || missing == kNoLowerLeft) return missing;
  origin = {*header.x, *header.y, 0.0};
  if (missing == kNoCellSize) return missing;
  cellSize = {*header.cellSize, *header.cellSize, *header.cellSize};
  noData = header.noData.value_or(noData);
  origin = header.origin();
  return kRasterDone;
}

}  // namespace

int readDGMAsGrd(Quilt::BundlePtr& bundle, const std::string& path, const TerrainProgress&,
                 double& noData, Heron::PhysicalSpace::vector& cellSize,
                 Heron::PhysicalSpace::point& origin, std::string& gridName) {
  EsriHeader header;
  int status = readEsriHeader(path, {.skipEmptyLines = true}, header);
  if (status == kRasterDone) status = takeOver(header, noData, cellSize, origin);
  if (status != kRasterDone) return status;
  gridName = WorldFrame::gridName(gridName, WorldFrame::kUniformPrefix, cellSize.x());
  HeightHandle heights;
  status = makeEsriHeights(path, *header.columns, *header.rows, heights);
  if (status != kRasterDone) return status;
  status = readEsriBody(path, header.lines, *heights);
  if (status != kRasterDone) return status;
  auto offset = WorldFrame::offsetOf(origin, cellSize.x(), cellSize.y(), path);
  std::string tileName = Larder::StringUtil::basename(path);
  addToUniformGrid(bundle, gridName, offset, tileName, heights);
  return kRasterDone;
}

}  // namespace Recast
