#include "recast/buildings/surface_lists.h"

#include <limits>
#include <stdexcept>

#include "recast/trelliskinds/grid_kinds.h"
#include "recast/typed_arrays/mem_array_allocator.h"

namespace Recast {

namespace {

constexpr std::size_t kRoom = 100000;

}  // namespace

SurfaceLists::SurfaceLists()
    : points_(Larder::makeStrong<Larder::Chunk<Heron::PhysicalSpace::point>>(kRoom, true)),
      triangles_(Larder::makeStrong<Larder::Chunk<Quilt::Triangle>>(kRoom, true)) {}

unsigned int SurfaceLists::addVertex(double x, double y, double z) {
  if (points_->size() == std::numeric_limits<unsigned int>::max())
    throw std::length_error("the surface has more vertices than 32-bit numbers can name");
  points_->emplace_back(x, y, z);
  return static_cast<unsigned int>(points_->size() - 1);
}

void SurfaceLists::shape(const Larder::StrongPtr<Quilt::Grid>& grid) const {
  Quilt::TriangularSurface::create(grid, Quilt::makeMemArray1D(points_, nullptr),
                                   Quilt::makeMemArray1D(triangles_, nullptr), false, false);
}

}  // namespace Recast
