#pragma once

#include "recast/raster/height_array.h"

namespace Recast {

/// Points and surface normals of the cells of a raster that hold a value, equal in length and
/// order; the first index of the raster runs fastest.
struct RasterCloud {
  Larder::StrongPtr<Larder::Chunk<Heron::PhysicalSpace::point>, Larder::ChunkBase> points;
  Larder::StrongPtr<Larder::Chunk<Heron::PhysicalSpace::bivector>, Larder::ChunkBase> normals;
};

/// Derives a point and a normal from each cell that holds a value, that is, whose height differs
/// from `noData` by more than 0.001.
///
/// The point is the cell's centre with its height. The normal is u x v of the unit tangents u and v
/// along x and y, from the differences of the neighbours' heights over two cells; a neighbour
/// outside the raster or without a value counts as high as the cell itself, at the same distance.
/// It is of unit length only where the tangents are perpendicular. \param cell the steps along x
/// and y. \param origin the centre of cell (0, 0, 0). \throw std::bad_alloc, also if the machine
/// has not that much memory; std::length_error
RasterCloud walkRaster(const HeightArray& heights, double noData,
                       const Heron::PhysicalSpace::vector& cell,
                       const Heron::PhysicalSpace::point& origin);

}  // namespace Recast
