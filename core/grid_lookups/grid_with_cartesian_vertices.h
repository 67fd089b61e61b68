#pragma once

#include "recast/trelliskinds/typed_grid.h"

namespace Quilt {

/// A view of a grid whose vertices have positions as points. Its members are null until `assign`
/// has succeeded.
class RECAST_API GridWithCartesianVertices : public virtual TypedGrid {
 public:
  GridWithCartesianVertices() = default;

  /// Looks at `grid`. \return false if it has no vertices, no Cartesian representation of them or
  /// no positions; a grid that isn't null is noted all the same.
  bool assign(const Larder::StrongPtr<Grid>& grid);
  /// Makes `positions` the positions of the vertices of a grid of `dimensions`, and gives a view of
  /// it.
  static GridWithCartesianVertices create(Grid& grid, int dimensions,
                                          const Larder::StrongPtr<Field>& positions);

  const Larder::StrongPtr<Skeleton>& vertices() const { return vertices_; }
  const Larder::StrongPtr<Representation>& cartesian() const { return cartesian_; }
  const Larder::StrongPtr<Field>& positions() const { return positions_; }

 private:
  Larder::StrongPtr<Skeleton> vertices_;
  Larder::StrongPtr<Representation> cartesian_;
  Larder::StrongPtr<Field> positions_;
};

}  // namespace Quilt
