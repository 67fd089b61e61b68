#pragma once

#include "recast/contours/contour_fragment.h"
#include "recast/contours/contour_output.h"

namespace Recast {

/// Traces the contour lines of one level in one fragment and appends them to `output`; the thin
/// form of `FragmentTracer` for a single level, with the same rules and messages.
///
/// \param lowerOverlap, upperOverlap vertices shared with the neighbours per axis; they come back
/// as
///   the numbers of cells that are left to them
/// \param origin x and y of vertex (0, 0, 0); \param spacing of the vertices along x and y
/// \return 1 if pieces were stitched, 0 if fewer than two cells are touched or nothing can be
/// traced
int traceContourLevel(const FloatArray& heights, const FloatArray& sliceValues,
                      const CellTypeArray& cellTypes, const float& level,
                      Quilt::MultiIndex<3>& lowerOverlap, Quilt::MultiIndex<3>& upperOverlap,
                      bool onlyBorderLine, bool useSliceField,
                      const Heron::PhysicalSpace::point& origin,
                      const Heron::PhysicalSpace::vector& spacing, ContourOutput& output);

}  // namespace Recast
