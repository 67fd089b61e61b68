#pragma once

#include <vector>

#include "recast/larder/number_elements.h"
#include "recast/meadow/simplex_cell.h"
#include "recast/perch/fixed_array.h"

/// Calls `X(type)` for each of the 16 element types; the one list that everything is made from.
/// In three groups, so that their instances can be compiled side by side; that of the numbers
/// stands below the chunks.
#define RECAST_GEOMETRY_ELEMENTS(X) \
  X(Heron::PhysicalSpace::point)    \
  X(Heron::PhysicalSpace::vector)   \
  X(Heron::PhysicalSpace::bivector) \
  X(Quilt::TripleOfDoubles)
#define RECAST_OTHER_ELEMENTS(X) \
  X(Heron::Colour)               \
  X(Quilt::Edge)                 \
  X(Quilt::Triangle)             \
  X(std::vector<unsigned int>)
#define RECAST_ALL_ELEMENTS(X) \
  RECAST_NUMBER_ELEMENTS(X)    \
  RECAST_GEOMETRY_ELEMENTS(X)  \
  RECAST_OTHER_ELEMENTS(X)

namespace Quilt {

using TripleOfDoubles = Heron::FixedArray<double, 3>;

}  // namespace Quilt
