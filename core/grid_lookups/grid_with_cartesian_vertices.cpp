#include "recast/grid_lookups/grid_with_cartesian_vertices.h"

namespace Quilt {

bool GridWithCartesianVertices::assign(const Larder::StrongPtr<Grid>& grid) {
  vertices_.reset();
  cartesian_.reset();
  positions_.reset();
  if (!grid) return false;
  setGrid(grid);
  const auto vertices = grid->findVertices(-1);
  const auto cartesian = vertices ? grid->getCartesianRepresentation(vertices, "") : nullptr;
  const auto positions = cartesian ? grid->CartesianPositions() : nullptr;
  if (!positions) return false;
  vertices_ = vertices;
  cartesian_ = cartesian;
  positions_ = positions;
  return true;
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
