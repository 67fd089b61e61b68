#pragma once

#include <string>

#include "recast/raster/raster_walk.h"
#include "recast/sheaf/slice.h"

namespace Recast {

/// A grid of points with normals, each raster being one fragment.
struct PointCloudGrid {
  Larder::StrongPtr<Quilt::Field> positions;
  Larder::StrongPtr<Quilt::Field> normals;

  /// The grid of that name in the slice with both fields, made if missing.
  /// \return a RasterStatus: 0, 12 or 13.
  static int in(Quilt::Slice& slice, const std::string& name, PointCloudGrid& result);

  /// Hands a cloud of at least one point over as the data of the fragment of that name.
  /// \param cellSize kept as the attribute "CellSize" of the positions.
  /// \return the creator of the positions. \throw Quilt::StorageError
  Quilt::CreatorHandle store(const std::string& fragmentName, const RasterCloud& cloud,
                             double cellSize) const;
};

/// Makes a fragment of points and normals, in the grid of `pointGridName`, from each fragment of
/// `elevation` that has none there yet. A raster without any value gets no data.
/// \param pointGridName empty for the default name of the cell size.
/// \param origin the centre of cell (0, 0, 0). \param cell the steps along x and y.
/// \return a RasterStatus: 0, 12 or 13. \throw Quilt::StorageError
int deriveRasterPointCloud(Quilt::Slice& slice, const Quilt::Field& elevation,
                           const Heron::PhysicalSpace::point& origin,
                           const Heron::PhysicalSpace::vector& cell, double noData,
                           const std::string& pointGridName);

}  // namespace Recast
