#include "recast/contours/contour_tracing.h"

#include "recast/contours/fragment_tracer.h"
#include "recast/contours/own_cells.h"

namespace Recast {

int traceContourLevel(const FloatArray& heights, const FloatArray& sliceValues,
                      const CellTypeArray& cellTypes, const float& level,
                      Quilt::MultiIndex<3>& lowerOverlap, Quilt::MultiIndex<3>& upperOverlap,
                      bool onlyBorderLine, bool useSliceField,
                      const Heron::PhysicalSpace::point& origin,
                      const Heron::PhysicalSpace::vector& spacing, ContourOutput& output) {
  FragmentTracer tracer({heights, sliceValues, cellTypes, lowerOverlap, upperOverlap,
                         onlyBorderLine, useSliceField, origin, spacing});
  Contours::overlapsToCells(lowerOverlap, upperOverlap);
  return static_cast<int>(tracer.trace({&level, 1}, output));
}

}  // namespace Recast
