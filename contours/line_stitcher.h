#pragma once

#include "recast/contours/contour_output.h"
#include "recast/contours/edge_net.h"

namespace Recast::Contours {

/// Joins the pieces of a level to lines, along the direction of the pieces, and appends them to the
/// output: first the open lines, then the rings. Uses the pieces up.
/// \param origin x and y of the vertex at index (0, 0); \param spacing of the vertices
/// \throw std::length_error if the vertices can't be numbered by 32 bits any more
void stitchLines(EdgeNet& net, const Heron::PhysicalSpace::point& origin,
                 const Heron::PhysicalSpace::vector& spacing, ContourOutput& output);

}  // namespace Recast::Contours
