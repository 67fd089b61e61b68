#pragma once

#include <string>
#include <vector>

#include "recast/larder/export.h"
#include "recast/meadow/simplex_cell.h"
#include "recast/perch/fixed_array.h"

/// Ear clipping of simple polygons in x and y. A polygon is one ring of corners without holes; its
/// last corner is followed by the first, which is not repeated.
namespace Recast {

/// A corner of a ring that is being cut up. The corners stand in one list of the ring's size.
struct vertex_t {
  vertex_t* prev = nullptr;  ///< the neighbour before it in the ring that is left
  vertex_t* next = nullptr;  ///< the neighbour after it
  unsigned int index = 0;    ///< of its point
  float winding = 0;         ///< the value of `winding_value`
  bool reflex = false;       ///< not a convex corner as yet
};

/// Cuts a ring into triangles and appends them to `triangles`, each three numbers of points. They
/// run the way the ring does. The walk along the ring starts at point 0, cuts off every ear it
/// meets and goes on behind it: the triangle of corner i is (its neighbour before, i, its neighbour
/// after).
///
/// The orientation of the ring is that of the turn at the lowest of its leftmost points; straight
/// there counts as clockwise. Rings of at most two points have no triangle; one of three is its
/// only triangle, whatever its shape.
///
/// Works on x and y alone, and needs no unit. Coordinates far from the origin lose digits: areas
/// and distances in an ear are as exact as products of the coordinates are in double.
///
/// Cost: close to linear for usual rings of any size, quadratic in the worst case. Allocates
/// nothing for rings of up to some thousand points once the calling thread has had one of that
/// size. \param points is not changed. \return empty, or "Error" if no further ear was found;
/// `triangles` then has those up to there.
RECAST_API std::string polygonToTriangle(
    std::vector<Heron::PhysicalSpace::point>& points,
    std::vector<Quilt::SimplexCell<2, unsigned int, Quilt::IJ_CellNamingConvention>>& triangles);

// The steps of ear clipping, for one's own use of them. `polygonToTriangle` has the same
// arithmetic, but keeps its corners in another way.

/// The z component of the cross product of the edge into `v` and the edge out of it, positive for a
/// left turn, computed in double.
RECAST_API float winding_value(const std::vector<Heron::PhysicalSpace::point>& points,
                               const vertex_t& v);

/// Sets the numbers of three vertices, and of vertex `index` all else: its neighbours, its winding,
/// and that it isn't reflex.
/// \pre `vertices` has the size of `points` and never grows, since the vertices point at each other
RECAST_API void init_vertex(int index, int previous, int next, std::vector<vertex_t>& vertices,
                            const std::vector<Heron::PhysicalSpace::point>& points);

/// Replaces `leftmost` by `candidate` if that point is farther left, or as far left and lower.
RECAST_API void update_leftmost(int candidate, int& leftmost,
                                const std::vector<Heron::PhysicalSpace::point>& points);

/// Whether the vertex, by its winding, is not a convex corner of a ring of the given orientation.
/// A straight one is reflex either way.
RECAST_API bool is_reflex(vertex_t& v, bool counterClockwise);

/// Whether p lies in the triangle a, b, c or on its edge; false at the place of a corner.
/// The sides are computed in double and compared in float, without any tolerance.
RECAST_API bool triangle_contains(const Heron::PhysicalSpace::point& a,
                                  const Heron::PhysicalSpace::point& b,
                                  const Heron::PhysicalSpace::point& c,
                                  const Heron::PhysicalSpace::point& p);

/// Whether the vertex is convex and no other vertex of `reflex` lies in the triangle that it makes
/// with its neighbours. Takes the points by value: for many tests use `polygonToTriangle`.
RECAST_API bool is_ear_tip(std::vector<Heron::PhysicalSpace::point> points, const vertex_t& v,
                           const std::vector<vertex_t*>& reflex);

}  // namespace Recast
