#include "recast/raster/raster_point_cloud.h"

#include "recast/raster/raster_status.h"
#include "recast/raster/world_frame.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

using Heron::PhysicalSpace;

template <class T>
Quilt::MemBaseHandle wrapped(const Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase>& chunk) {
  return Quilt::MemBaseHandle(
      new Quilt::MemArray<1, T>(chunk, Quilt::MultiIndex<1>(chunk->size()), nullptr));
}

/// Derives the cloud of one fragment after the other.
class FragIt : public Quilt::FragmentIterator {
 public:
  FragIt(const PointCloudGrid& grid, double noData, const PhysicalSpace::point& origin,
         const PhysicalSpace::vector& cell)
      : grid_(grid), noData_(noData), origin_(origin), cell_(cell) {}

  bool apply(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
             const Quilt::CreatorHandle& creator) override {
    const std::string name = fragment ? fragment->name() : std::string();
    // Heights and points of one grid share their fragments, so that the data counts, not the name.
    if (grid_.positions->getCreatorByName(name)) return true;
    const auto heights = creator->create(false).castTo<HeightArray>();
    if (!heights) return false;
    const RasterCloud cloud = walkRaster(*heights, noData_, cell_, origin_);
    const auto cloudFragment = grid_.positions->makeFragmentID(name);
    if (cloud.points->empty()) return true;
    setCellSize(grid_.storePoints(cloudFragment, cloud), cell_.x());
    grid_.storeNormals(cloudFragment, cloud);
    return true;
  }

 private:
  const PointCloudGrid& grid_;
  double noData_;
  const PhysicalSpace::point& origin_;
  const PhysicalSpace::vector& cell_;
};

}  // namespace

RunOutcome PointCloudGrid::in(Quilt::Slice& slice, const std::string& name,
                              PointCloudGrid& result) {
  const std::string missing = "the grid \"" + name + "\" can't hold the field \"";
  const auto representation = slice[name]->makeCartesianRepresentation(3, "", 0);
  result.positions = (*representation)[Quilt::Representation::kPositions];
  if (!result.positions) return {kNoPositions, missing + Quilt::Representation::kPositions + "\""};
  result.normals = (*representation)[Quilt::TriangularSurface::NormalVectorFieldName];
  if (!result.normals)
    return {kNoNormals, missing + Quilt::TriangularSurface::NormalVectorFieldName + "\""};
  return {};
}

Quilt::CreatorHandle PointCloudGrid::storePoints(
    const Larder::StrongPtr<Quilt::FragmentID>& fragment, const RasterCloud& cloud) const {
  return positions->setPersistentData(wrapped(cloud.points), fragment, Larder::Cache::MemCache(),
                                      "");
}

void PointCloudGrid::storeNormals(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
                                  const RasterCloud& cloud) const {
  normals->setPersistentData(wrapped(cloud.normals), fragment, Larder::Cache::MemCache(), "");
}

void setCellSize(const Quilt::CreatorHandle& positions, double cellSize) {
  positions->setAttribute("CellSize", Larder::singleValue(cellSize));
}

RunOutcome deriveRasterPointCloud(Quilt::Slice& slice, const Quilt::Field& elevation,
                                  const PhysicalSpace::point& origin,
                                  const PhysicalSpace::vector& cell, double noData,
                                  const std::string& pointGridName) {
  PointCloudGrid grid;
  const std::string name = WorldFrame::gridName(pointGridName, WorldFrame::kPointPrefix, cell.x());
  if (RunOutcome outcome = PointCloudGrid::in(slice, name, grid); !outcome.isDone()) return outcome;
  FragIt iterator(grid, noData, origin, cell);
  elevation.iterate(iterator, nullptr);
  return {};
}

}  // namespace Recast
