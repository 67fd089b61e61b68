#include "recast/patchbase/bounding_boxes.h"
#include "recast/raster/raster_point_cloud.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/terrain_readers.h"
#include "recast/raster/world_frame.h"

namespace Recast {
namespace {

/// Finds the heights of one tile. \return 0, 14, 15, 16 or 18.
RunOutcome findTile(const Quilt::Slice& slice, const std::string& gridName,
                    const std::string& fragmentName, HeightHandle& heights) {
  const std::string inGrid = "the grid \"" + gridName + "\" ";
  const std::string tile = "the tile \"" + fragmentName + "\"";
  const auto grid = slice(gridName);
  if (!grid) return {kNoUniformGrid, "there is no grid \"" + gridName + "\" at time 0"};
  const auto elevation = (*grid)("Elevation", "");
  if (!elevation) return {kNoElevation, inGrid + "has no field \"Elevation\""};
  const auto fragments = elevation->getFragmentIDCollection();
  const auto fragment = fragments ? fragments->findFragmentIDByName(fragmentName) : nullptr;
  if (!fragment) return {kNoFragment, inGrid + "doesn't know " + tile};
  const auto creator = elevation->getCreator(fragment);
  if (!creator) return {kNoTileData, inGrid + "has no heights of " + tile};
  heights = creator->create(false).castTo<HeightArray>();
  if (!heights) return {kNoElevation, inGrid + "has no readable array of heights of " + tile};
  return {};
}

/// A tile that took the place of another and has no values has no points either.
void dropFormerCloud(const PointCloudGrid& grid, const std::string& fragmentName,
                     const RasterCloud& empty) {
  const auto fragments = grid.positions->getFragmentIDCollection();
  const auto fragment = fragments ? fragments->findFragmentIDByName(fragmentName) : nullptr;
  if (!fragment) return;
  if (grid.positions->hasData(fragment)) grid.storePoints(fragment, empty);
  if (grid.normals->hasData(fragment)) grid.storeNormals(fragment, empty);
}

}  // namespace

RunOutcome makeTileCloud(Quilt::Bundle& bundle, const TileCloudNames& names, double noData,
                         const Heron::PhysicalSpace::vector& cellSize,
                         const Heron::PhysicalSpace::point& origin) {
  const auto slice = bundle[0.0];
  HeightHandle heights;
  RunOutcome outcome = findTile(*slice, names.uniformGrid, names.fragment, heights);
  if (!outcome.isDone()) return outcome;
  names.pointGrid = WorldFrame::gridName(names.pointGrid, WorldFrame::kPointPrefix, cellSize.x());
  PointCloudGrid grid;
  outcome = PointCloudGrid::in(*slice, names.pointGrid, grid);
  if (!outcome.isDone()) return outcome;
  const RasterCloud cloud = walkRaster(*heights, noData, cellSize, origin);
  if (cloud.points->empty()) {
    dropFormerCloud(grid, names.fragment, cloud);
    return {};
  }
  const auto fragment = grid.positions->makeFragmentID(names.fragment);
  const auto creator = grid.storePoints(fragment, cloud);
  Quilt::ExpandBBox(nullptr, creator, Quilt::CreateIfMissing);
  setCellSize(creator, cellSize.x());
  creator->renewAge();
  grid.storeNormals(fragment, cloud);
  return {};
}

int uniformToPointCloud(Quilt::BundlePtr& bundle, const std::string& uniformGridName,
                        std::string& pointGridName, const std::string& fragmentName,
                        const double& noData, const Heron::PhysicalSpace::vector& cellSize,
                        const Heron::PhysicalSpace::point& origin, const TerrainProgress&) {
  return reportedRun(fragmentName, [&] {
    return makeTileCloud(*bundle, {uniformGridName, pointGridName, fragmentName}, noData, cellSize,
                         origin);
  });
}

}  // namespace Recast
