#pragma once

#include "recast/perch/fixed_array.h"
#include "recast/typed_arrays/mem_array.h"

namespace Recast {

using FloatArray = Larder::StrongPtr<Quilt::MemArray<3, float>>;
using CellTypeArray = Larder::StrongPtr<Quilt::MemArray<3, unsigned char>>;

/// One fragment of a uniform grid and how its contour lines are to be taken. The arrays are indexed
/// (i, j, k), i along x, j along y, with one layer along k.
struct ContourFragment {
  FloatArray heights;       ///< values of the contoured field
  FloatArray sliceValues;   ///< the values that are compared with the level
  CellTypeArray cellTypes;  ///< class of each vertex, 0 to 4: 1, 2, 3 are blocked, the rest open
  Quilt::MultiIndex<3>
      lowerOverlap;  ///< with the neighbour at the lower side, in vertices, per axis
  Quilt::MultiIndex<3> upperOverlap;  ///< the same at the upper side
  bool onlyBorderLine = false;        ///< lines only between blocked and open vertices
  bool useSliceField = false;         ///< a vertex's z follows `heights`; if not, z is the level
  Heron::PhysicalSpace::point origin{0.0, 0.0, 0.0};    ///< x and y of vertex (0, 0, 0)
  Heron::PhysicalSpace::vector spacing{1.0, 1.0, 1.0};  ///< of the vertices along x and y
};

}  // namespace Recast
