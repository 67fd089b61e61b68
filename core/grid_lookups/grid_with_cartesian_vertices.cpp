#include "recast/grid_lookups/grid_with_cartesian_vertices.h"

namespace Quilt {

bool GridWithCartesianVertices::assign(const Larder::StrongPtr<Grid>& grid) {
  vertices_.reset();
  cartesian_.reset();
  positions_.reset();
  if (!grid) return false;
  setGrid(grid);
  vertices_ = grid->findVertices(-1);
  if (!vertices_) return false;
  cartesian_ = grid->getCartesianRepresentation(vertices_, "");
  if (!cartesian_) return false;
  positions_ = grid->CartesianPositions();
  return static_cast<bool>(positions_);
}

GridWithCartesianVertices GridWithCartesianVertices::create(
    Grid& grid, int dimensions, const Larder::StrongPtr<Field>& positions) {
  const auto representation = grid.makeCartesianRepresentation(dimensions, "", 0);
  (*representation)[Representation::kPositions] = positions;
  GridWithCartesianVertices view;
  view.assign(Larder::StrongPtr<Grid>(&grid));
  return view;
}

}  // namespace Quilt
