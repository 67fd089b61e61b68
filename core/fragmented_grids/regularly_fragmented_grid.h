#pragma once

#include "recast/fragmented_grids/regularly_fragmented_field.h"
#include "recast/grid_lookups/grid_with_cartesian_vertices.h"

namespace Quilt {

/// What views of regularly fragmented grids have in common, whatever their dimension.
class RECAST_API RegularlyFragmentedGridBase : public virtual TypedGrid {
 public:
  /// The skeleton (0, 2), or null.
  const Larder::StrongPtr<Skeleton>& lattice() const { return lattice_; }

 protected:
  Larder::StrongPtr<Skeleton> lattice_;
};

/// A view of a grid cut along a lattice: its fragments are a skeleton of identifier (3, 2), whose
/// positions relative to the vertices are an array that lists them. Tests true if `assign` found
/// all of it but that array, which a loaded grid has not.
template <int N>
class RECAST_API RegularlyFragmentedGrid : public RegularlyFragmentedGridBase {
 public:
  RegularlyFragmentedGrid() = default;
  explicit RegularlyFragmentedGrid(const Larder::StrongPtr<Grid>& grid) { assign(grid); }

  /// Looks at `grid`. \return false if it is no such grid; the members are null then, but for the
  /// grid itself.
  bool assign(const Larder::StrongPtr<Grid>& grid);
  /// Gives the skeleton `fragments` its positions relative to `vertices`, as listed by `field`,
  /// unless it has them.
  /// \return a view that is not valid if the identifiers of `field` form no lattice.
  static RegularlyFragmentedGrid createFragmentSkeleton(
      const Larder::StrongPtr<Grid>& grid, const Larder::StrongPtr<Skeleton>& vertices,
      const Larder::StrongPtr<RegularlyFragmentedField<N>, Field>& field,
      const Larder::StrongPtr<Skeleton>& fragments);

  explicit operator bool() const { return static_cast<bool>(representation_); }
  /// The skeleton of the fragments.
  const Larder::StrongPtr<Skeleton>& fragments() const { return fragments_; }
  /// Its representation relative to the vertices.
  const Larder::StrongPtr<Representation>& representation() const { return representation_; }
  /// The array that lists the fragments; may be null.
  const Larder::StrongPtr<MemBase, Larder::Cacheable>& positionsData() const { return data_; }

 private:
  bool look();

  Larder::StrongPtr<Skeleton> fragments_;
  Larder::StrongPtr<Representation> representation_;
  Larder::StrongPtr<MemBase, Larder::Cacheable> data_;
};

/// A view of a grid of points in space whose fields are cut along a lattice.
///
///     const Quilt::BundlePtr bundle(new Quilt::Bundle);
///     const auto view = RegularlyFragmentedGridWithCartesianVertices<3>::create(
///         (*(*bundle)[0.0])["Points"], {10, 10, 1}, false);
///     const auto fragments = view.latticePositions()->getFragmentIDs();
template <int N>
class RECAST_API RegularlyFragmentedGridWithCartesianVertices : public RegularlyFragmentedGrid<N>,
                                                                public GridWithCartesianVertices {
 public:
  /// The prefix of the names of fragments.
  static constexpr const char* kPrefix = "RegularFragment";

  RegularlyFragmentedGridWithCartesianVertices() = default;
  explicit RegularlyFragmentedGridWithCartesianVertices(const Larder::StrongPtr<Grid>& grid);

  /// Lays `grid` out on a lattice of `counts` fragments: positions without data, skeletons and
  /// representations. What is there already stays as it is.
  /// \param makeFragmentRepresentation gives the fragments a Cartesian representation too.
  /// \return a view; one that is not valid, with the grid unchanged, if the grid has positions that
  /// are no lattice or one of other counts, or if the counts can't be numbered.
  static RegularlyFragmentedGridWithCartesianVertices create(const Larder::StrongPtr<Grid>& grid,
                                                             const MultiIndex<N>& counts,
                                                             bool makeFragmentRepresentation);

  explicit operator bool() const {
    return RegularlyFragmentedGrid<N>::operator bool() && this->positions();
  }
  /// The Cartesian representation of the skeleton (0, 2), or null.
  const Larder::StrongPtr<Representation>& latticeCartesian() const { return latticeCartesian_; }
  /// The Cartesian representation of the fragments, or null.
  const Larder::StrongPtr<Representation>& fragmentsCartesian() const {
    return fragmentsCartesian_;
  }
  /// The positions as the field over the lattice that they are; null if they are of another kind.
  const Larder::StrongPtr<RegularlyFragmentedField<N>, Field>& latticePositions() const {
    return latticePositions_;
  }

 private:
  Larder::StrongPtr<Representation> latticeCartesian_;
  Larder::StrongPtr<Representation> fragmentsCartesian_;
  Larder::StrongPtr<RegularlyFragmentedField<N>, Field> latticePositions_;
};

extern template class RegularlyFragmentedGrid<3>;
extern template class RegularlyFragmentedGridWithCartesianVertices<3>;

}  // namespace Quilt
