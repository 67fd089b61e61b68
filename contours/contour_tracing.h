#pragma once

#include "recast/contours/contour_fragment.h"
#include "recast/contours/contour_output.h"

namespace Recast {

/// Traces the contour lines of one level in one fragment and appends them to `output`, for a host
/// that has arrays and needs no bundle. A run takes several levels through a fragment together
/// (`FragmentTracer`), which gives the same lines and messages in less time.
///
/// Arrays that are missing or don't cover each other are reported on the console.
/// \param heights of the vertices, for `useSliceField`; \param sliceValues compared with the level:
/// a vertex is above it if its value is greater \param cellTypes class of each vertex; 1, 2 and 3
/// are blocked
/// \param lowerOverlap, upperOverlap vertices shared with the neighbours per axis; they come back
/// as the numbers of cells that are left to them
/// \param onlyBorderLine lines only between blocked and open vertices
/// \param useSliceField a vertex's z follows `heights`; if not, z is the level
/// \param origin x and y of vertex (0, 0, 0); \param spacing of the vertices along x and y
/// \return 1 if pieces were stitched, 0 if fewer than two cells are touched or nothing can be
/// traced \throw std::bad_alloc; std::length_error beyond 2^32 vertices
RECAST_API int traceContourLevel(const FloatArray& heights, const FloatArray& sliceValues,
                                 const CellTypeArray& cellTypes, const float& level,
                                 Quilt::MultiIndex<3>& lowerOverlap,
                                 Quilt::MultiIndex<3>& upperOverlap, bool onlyBorderLine,
                                 bool useSliceField, const Heron::PhysicalSpace::point& origin,
                                 const Heron::PhysicalSpace::vector& spacing,
                                 ContourOutput& output);

}  // namespace Recast
