#pragma once

#include <compare>
#include <string>

#include "recast/larder/export.h"

namespace Quilt {

/// Names a skeleton of a grid: the dimension of its cells, and how many steps of reference lie
/// between its cells and the vertices. (n, 0) are the vertices of an n-dimensional grid, (2, 1)
/// triangles, (1, 2) lines of vertices, (1, 3) shapes made of lines, (0, 2) and (3, 2) the
/// fragments of a regular lattice.
struct RECAST_API SkeletonID {
  SkeletonID(int dimension, int depth) : Dimension(dimension), Depth(depth) {}

  int Dimension;
  int Depth;

  /// "Skeleton_3_0"; also the skeleton's name in the file.
  std::string name() const {
    return "Skeleton_" + std::to_string(Dimension) + "_" + std::to_string(Depth);
  }
  auto operator<=>(const SkeletonID&) const = default;
};

}  // namespace Quilt
