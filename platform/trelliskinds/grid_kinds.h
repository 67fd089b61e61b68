#pragma once

#include "recast/trelliskinds/typed_grid.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt {

/// A view of a grid whose vertices have regular indices.
class RECAST_API RegularGrid3D : public TypedGrid {
 public:
  using TypedGrid::TypedGrid;
};

/// Makes uniform Cartesian grids.
class RECAST_API UniformGrid3D : public RegularGrid3D {
 public:
  /// Gives `grid` the vertices of a uniform grid from `lower` to `upper`, both vertices themselves:
  /// skeleton (3, 0), its Cartesian representation and computed positions. A grid that has
  /// positions keeps them. \param dimensions vertices along x, y and z.
  static Larder::StrongPtr<RegularGrid3D> create(const Larder::StrongPtr<Grid>& grid,
                                                 const Heron::PhysicalSpace::point& lower,
                                                 const MultiIndex<3>& dimensions,
                                                 const Heron::PhysicalSpace::point& upper);
};

/// Makes and describes triangulated surfaces.
class RECAST_API TriangularSurface : public TypedGrid {
 public:
  /// The name of the field of unit-tangent cross products at the vertices.
  static const std::string NormalVectorFieldName;

  using TypedGrid::TypedGrid;
  /// Gives `grid` the shape of a surface: the vertices as positions of skeleton (2, 0) in the
  /// Cartesian chart, the triangles as positions of skeleton (2, 1) relative to the vertices.
  /// \param vertices points of rank 1. \param triangles vertex triples of rank 1.
  /// \param withNormals, withEdges accepted for completeness; neither is computed.
  static Larder::StrongPtr<TriangularSurface> create(const Larder::StrongPtr<Grid>& grid,
                                                     const MemBaseHandle& vertices,
                                                     const MemBaseHandle& triangles,
                                                     bool withNormals, bool withEdges);
};

/// Gives a grid the shape of a set of lines: the vertices as positions of skeleton (1, 0) in the
/// Cartesian chart, the lines (lists of vertex numbers) as positions of skeleton (1, 2) relative to
/// the vertices, and `tangents`, if not null, as the field "Tangents" of the vertices.
class RECAST_API LineSet : public TypedGrid {
 public:
  LineSet(const Larder::StrongPtr<Grid>& grid, const MemBaseHandle& vertices,
          const MemBaseHandle& lines, const MemBaseHandle& tangents);
};

/// Recognises fragmented uniform Cartesian grids by their kind: the positions are cut into
/// fragments, each of them uniform; where a grid has no positions in the Cartesian chart without a
/// name, its vertices have fields cut into fragments that are indexed along three axes. Whether the
/// grid is complete is for its user to find out.
class RECAST_API isFragmentedUniformCartesianGrid {
 public:
  /// Reads no data but that of positions of rank 3; a computed array costs no reading.
  bool checkGrid(const Grid& grid) const;
};

}  // namespace Quilt
