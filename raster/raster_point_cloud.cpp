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
      : grid_(grid),
        noData_(noData),
        origin_(origin),
        cell_(cell),
        known_(grid.positions->getFragmentIDCollection()) {}

  bool apply(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
             const Quilt::CreatorHandle& creator) override {
    const std::string name = fragment ? fragment->name() : std::string();
    if (known_ && known_->findFragmentIDByName(name)) return true;
    const auto heights = creator->create(false).castTo<HeightArray>();
    if (!heights) return false;
    const RasterCloud cloud = walkRaster(*heights, noData_, cell_, origin_);
    grid_.positions->makeFragmentID(name);
    if (!cloud.points->empty()) grid_.store(name, cloud, cell_.x());
    return true;
  }

 private:
  const PointCloudGrid& grid_;
  double noData_;
  const PhysicalSpace::point& origin_;
  const PhysicalSpace::vector& cell_;
  Larder::StrongPtr<Quilt::FragmentIDCollection> known_;
};

}  // namespace

int PointCloudGrid::in(Quilt::Slice& slice, const std::string& name, PointCloudGrid& result) {
  const auto representation = slice[name]->makeCartesianRepresentation(3, "", 0);
  result.positions = (*representation)[Quilt::Representation::kPositions];
  if (!result.positions) return kNoPositions;
  result.normals = (*representation)[Quilt::TriangularSurface::NormalVectorFieldName];
  return result.normals ? kRasterDone : kNoNormals;
}

Quilt::CreatorHandle PointCloudGrid::store(const std::string& fragmentName,
                                           const RasterCloud& cloud, double cellSize) const {
  auto& cache = Larder::Cache::MemCache();
  const auto fragment = positions->makeFragmentID(fragmentName);
  positions->setPersistentData(wrapped(cloud.points), fragment, cache, "");
  const auto creator = positions->getCreator(fragment);
  creator->setAttribute("CellSize", Larder::singleValue(cellSize));
  normals->setPersistentData(wrapped(cloud.normals), fragment, cache, "");
  return creator;
}

int deriveRasterPointCloud(Quilt::Slice& slice, const Quilt::Field& elevation,
                           const PhysicalSpace::point& origin, const PhysicalSpace::vector& cell,
                           double noData, const std::string& pointGridName) {
  PointCloudGrid grid;
  const std::string name = WorldFrame::gridName(pointGridName, WorldFrame::kPointPrefix, cell.x());
  if (const int status = PointCloudGrid::in(slice, name, grid); status != kRasterDone)
    return status;
  FragIt iterator(grid, noData, origin, cell);
  elevation.iterate(iterator, nullptr);
  return kRasterDone;
}

}  // namespace Recast
