#pragma once

#include "recast/perch/fixed_array.h"

namespace Quilt {

/// A cell of D dimensions given by the numbers of its N vertices.
template <int D, int N, class Index>
struct RECAST_API Cell : Heron::FixedArray<Index, N> {
  using Heron::FixedArray<Index, N>::FixedArray;
};

/// Names the components of a cell by the letters i and j.
struct RECAST_API IJ_CellNamingConvention {};

/// A simplex: an edge (D = 1), a triangle (D = 2).
template <int D, class Index, class Naming>
struct RECAST_API SimplexCell : Cell<D, D + 1, Index> {
  using Cell<D, D + 1, Index>::Cell;
};

/// Two vertex numbers.
using Edge = SimplexCell<1, unsigned int, IJ_CellNamingConvention>;
/// Three vertex numbers.
using Triangle = SimplexCell<2, unsigned int, IJ_CellNamingConvention>;

}  // namespace Quilt

namespace Larder {

template <int D, int N, class Index>
struct StorageTypeOf<Quilt::Cell<D, N, Index>> {
  using type = Heron::FixedArray<Index, N>;
};
template <int D, class Index, class Naming>
struct StorageTypeOf<Quilt::SimplexCell<D, Index, Naming>> {
  using type = Quilt::Cell<D, D + 1, Index>;
};

extern template class Chunk<Quilt::Edge>;
extern template class Chunk<Quilt::Triangle>;

}  // namespace Larder
