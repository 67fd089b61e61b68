#include "recast/grid_lookups/string_util.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_readers.h"
#include "recast/raster/world_frame.h"

namespace Recast {
namespace {

/// \return whether the tile took another one's place.
bool addTile(Quilt::Bundle& bundle, const std::string& gridName, const Quilt::MultiIndex<3>& offset,
             const std::string& fragmentName, const HeightHandle& heights) {
  return ElevationGrid::in(*bundle[0.0], gridName).store(fragmentName, offset, heights);
}

std::string placeTaken(const std::string& gridName, const std::string& fragmentName) {
  return "the grid \"" + gridName + "\" held a tile \"" + fragmentName +
         "\" already, whose place this one took";
}

}  // namespace

void storeTile(Quilt::Bundle& bundle, const std::string& path, const TileResults& results,
               const HeightHandle& heights) {
  const double cellX = results.cellSize.x();
  const double cellY = results.cellSize.y();
  const std::string name = Larder::StringUtil::basename(path);
  const auto offset = WorldFrame::offsetOf(results.origin, cellX, cellY);
  if (addTile(bundle, results.gridName, offset, name, heights))
    reportNotice(path + ": " + placeTaken(results.gridName, name));
  WorldFrame::reportIfOutside(results.origin, cellX, cellY, path);
}

void addToUniformGrid(Quilt::BundlePtr& bundle, std::string& gridName, Quilt::MultiIndex<3>& offset,
                      std::string& fragmentName, HeightHandle& data) {
  reportedRun(fragmentName, [&] {
    if (addTile(*bundle, gridName, offset, fragmentName, data))
      reportNotice(placeTaken(gridName, fragmentName));
    return RunOutcome{};
  });
}

}  // namespace Recast
