#include "recast/patchbase/bounding_boxes.h"
#include "recast/raster/raster_point_cloud.h"
#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_import.h"
#include "recast/raster/world_frame.h"

namespace Recast {
namespace {

/// Finds the heights of one tile. \return 0, 14, 15, 16 or 18.
int findTile(const Quilt::Slice& slice, const std::string& gridName,
             const std::string& fragmentName, HeightHandle& heights) {
  const auto grid = slice(gridName);
  if (!grid) return kNoUniformGrid;
  const auto elevation = (*grid)("Elevation", "");
  if (!elevation) return kNoElevation;
  const auto fragments = elevation->getFragmentIDCollection();
  const auto fragment = fragments ? fragments->findFragmentIDByName(fragmentName) : nullptr;
  if (!fragment) return kNoFragment;
  const auto creator = elevation->getCreator(fragment);
  if (!creator) return kNoTileData;
  heights = creator->create(false).castTo<HeightArray>();
  return heights ? kRasterDone : kNoElevation;
}

}  // namespace

int uniformToPointCloud(Quilt::BundlePtr& bundle, const std::string& uniformGridName,
                        std::string& pointGridName, const std::string& fragmentName,
                        const double& noData, const Heron::PhysicalSpace::vector& cellSize,
                        const Heron::PhysicalSpace::point& origin, const TerrainProgress&) {
  const auto slice = (*bundle)[0.0];
  HeightHandle heights;
  int status = findTile(*slice, uniformGridName, fragmentName, heights);
  if (status != kRasterDone) return status;
  pointGridName = WorldFrame::gridName(pointGridName, WorldFrame::kPointPrefix, cellSize.x());
  PointCloudGrid grid;
  status = PointCloudGrid::in(*slice, pointGridName, grid);
  if (status != kRasterDone) return status;
  const RasterCloud cloud = walkRaster(*heights, noData, cellSize, origin);
  if (cloud.points->empty()) return kRasterDone;
  const auto creator = grid.store(fragmentName, cloud, cellSize.x());
  Quilt::ExpandBBox(nullptr, creator, Quilt::CreateIfMissing);
  creator->renewAge();
  return kRasterDone;
}

}  // namespace Recast
