#include "recast/trelliskinds/grid_kinds.h"

namespace Quilt {
namespace {

void setPositions(Representation& representation, const MemBaseHandle& data) {
  representation[Representation::kPositions].field()->setPersistentData(
      data, nullptr, Larder::Cache::MemCache(), "");
}

}  // namespace

Larder::StrongPtr<RegularGrid3D> UniformGrid3D::create(const Larder::StrongPtr<Grid>& grid,
                                                       const Heron::PhysicalSpace::point& lower,
                                                       const MultiIndex<3>& dimensions,
                                                       const Heron::PhysicalSpace::point& upper) {
  const auto representation = grid->makeCartesianRepresentation(3, "", 0);
  if (!representation->Positions())
    setPositions(*representation, UniformCartesianArray::overBox(lower, dimensions, upper));
  return Larder::makeStrong<RegularGrid3D>(grid);
}

const std::string TriangularSurface::NormalVectorFieldName = "Normals";

Larder::StrongPtr<TriangularSurface> TriangularSurface::create(const Larder::StrongPtr<Grid>& grid,
                                                               const MemBaseHandle& vertices,
                                                               const MemBaseHandle& triangles, bool,
                                                               bool) {
  setPositions(*grid->makeCartesianRepresentation(2, "", 0), vertices);
  setPositions(*(*(*grid)[SkeletonID(2, 1)])[*grid->makeVertices(2)], triangles);
  return Larder::makeStrong<TriangularSurface>(grid);
}

LineSet::LineSet(const Larder::StrongPtr<Grid>& grid, const MemBaseHandle& vertices,
                 const MemBaseHandle& lines, const MemBaseHandle& tangents)
    : TypedGrid(grid) {
  const auto representation = grid->makeCartesianRepresentation(1, "", 0);
  setPositions(*representation, vertices);
  setPositions(*(*(*grid)[SkeletonID(1, 2)])[*grid->makeVertices(1)], lines);
  if (tangents)
    (*representation)["Tangents"].field()->setPersistentData(tangents, nullptr,
                                                             Larder::Cache::MemCache(), "");
}

bool isFragmentedUniformCartesianGrid::checkGrid(const Grid& grid) const {
  const auto positions = grid.CartesianPositions();
  if (!positions) return false;
  bool any = false;
  for (const auto& fragment : positions->getFragmentIDs()) {
    const auto creator = positions->getCreator(fragment);
    if (!creator) continue;
    if (!creator->get().castTo<UniformCartesianArray>()) return false;
    any = true;
  }
  return any;
}

}  // namespace Quilt
