#pragma once

#include <vector>

#include "recast/perch/fixed_array.h"

namespace Recast {

/// The unit normal of a planar ring of at least three corners, in the sense in which the ring
/// turns.
///
/// Of three corners it is that of their triangle. Of more it comes from all edges (Newell's method;
/// see Sutherland, Sproull, Schumacker 1974): the normal of two corners and a point such as the
/// corners' mean vanishes where these stand on a line, as they can in L-shaped and other concave
/// rings. Where a ring crosses itself so that its areas cancel each other, it is the normal of its
/// second and third corner and the mean. Not a number for a ring without area.
Heron::PhysicalSpace::vector faceNormal(const std::vector<Heron::PhysicalSpace::point>& face);

/// Rotates the points by the shortest arc that takes `normal` to the z axis, and sets z to 0. A
/// normal that points straight down, or is none, changes nothing.
void projectAlong(const Heron::PhysicalSpace::vector& normal,
                  std::vector<Heron::PhysicalSpace::point>& face);

}  // namespace Recast
