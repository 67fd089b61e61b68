#pragma once

#include <string>

#include "recast/raster/raster_walk.h"
#include "recast/recastbase/run_report.h"
#include "recast/sheaf/slice.h"

namespace Recast {

/// A grid of points with normals, each raster being one fragment.
struct PointCloudGrid {
  Larder::StrongPtr<Quilt::Field> positions;
  Larder::StrongPtr<Quilt::Field> normals;

  /// The grid of that name in the slice with both fields, made if missing.
  /// \return a RasterStatus: 0, 12 or 13.
  static RunOutcome in(Quilt::Slice& slice, const std::string& name, PointCloudGrid& result);

  /// Hands the points, or the normals, of a cloud over as the data of a fragment.
  /// \return the creator of the data. \throw Quilt::StorageError
  Quilt::CreatorHandle storePoints(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
                                   const RasterCloud& cloud) const;
  void storeNormals(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
                    const RasterCloud& cloud) const;
};

/// Keeps the cell size as the attribute "CellSize" of a fragment of positions.
void setCellSize(const Quilt::CreatorHandle& positions, double cellSize);

/// Makes a fragment of points and normals, in the grid of `pointGridName`, from each fragment of
/// `elevation` that has no points there yet. A raster without any value gets no data.
/// \param pointGridName empty for the default name of the cell size.
/// \param origin the centre of cell (0, 0, 0). \param cell the steps along x and y.
/// \return a RasterStatus: 0, 12 or 13. \throw Quilt::StorageError
RunOutcome deriveRasterPointCloud(Quilt::Slice& slice, const Quilt::Field& elevation,
                                  const Heron::PhysicalSpace::point& origin,
                                  const Heron::PhysicalSpace::vector& cell, double noData,
                                  const std::string& pointGridName);

}  // namespace Recast
