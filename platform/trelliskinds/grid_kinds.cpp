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

namespace {

constexpr std::size_t kRegularRank = 3;

/// Whether all fragments that have data are uniform, and there are some. Data that can't be read
/// proves nothing else.
bool hasUniformFragments(const Field& positions) {
  bool any = false;
  for (const auto& fragment : positions.getFragmentIDs()) {
    const auto creator = positions.getCreator(fragment);
    if (!creator) continue;
    if (creator->size().rank() != kRegularRank) return false;
    const auto array = creator->get();
    if (array && !array.castTo<UniformCartesianArray>()) return false;
    any = true;
  }
  return any;
}

bool hasRegularFragments(const Field& field) {
  for (const auto& fragment : field.getFragmentIDs())
    if (const auto creator = field.getCreator(fragment))
      return creator->size().rank() == kRegularRank;
  return false;
}

}  // namespace

bool isFragmentedUniformCartesianGrid::checkGrid(const Grid& grid) const {
  if (const auto positions = grid.CartesianPositions()) return hasUniformFragments(*positions);
  const auto vertices = grid.findVertices(3);
  if (!vertices) return false;
  bool regular = false;
  for (const auto& representation : vertices->representations())
    representation->iterate([&regular](const FieldID&, const Field& field) {
      regular = regular || hasRegularFragments(field);
      return !regular;
    });
  return regular;
}

}  // namespace Quilt
