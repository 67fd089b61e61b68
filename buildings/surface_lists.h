#pragma once

#include <string>

#include "recast/trellis/grid.h"
#include "recast/typed_arrays/mem_array.h"

namespace Recast {

/// A triangulated surface while it grows.
class SurfaceLists {
 public:
  SurfaceLists();

  /// \return the number of the new vertex. \throw std::length_error beyond 2^32 - 1 vertices, so
  /// that their count is a 32-bit number too.
  unsigned int addVertex(double x, double y, double z);
  void addTriangle(unsigned int a, unsigned int b, unsigned int c) {
    triangles_->push_back(Quilt::Triangle(a, b, c));
  }
  unsigned int vertices() const { return static_cast<unsigned int>(points_->size()); }
  std::size_t triangles() const { return triangles_->size(); }

  /// Gives `grid` the shape of the surface, without copying.
  void shape(const Larder::StrongPtr<Quilt::Grid>& grid) const;

 private:
  Larder::StrongPtr<Larder::Chunk<Heron::PhysicalSpace::point>, Larder::ChunkBase> points_;
  Larder::StrongPtr<Larder::Chunk<Quilt::Triangle>, Larder::ChunkBase> triangles_;
};

}  // namespace Recast
