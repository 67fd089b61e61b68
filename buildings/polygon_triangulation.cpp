#include "recast/buildings/polygon_triangulation.h"

#include <algorithm>

#include "recast/buildings/triangulation/triangulator.h"

namespace Recast {

using Heron::PhysicalSpace;
using Triangulation::Ear;
using Triangulation::EarTriangle;
using Triangulation::Triangulator;

namespace {

/// Working memory for rings up to this size stays with the thread, less than 100 bytes a corner.
constexpr std::size_t kKeptCorners = 4096;

}  // namespace

std::string polygonToTriangle(std::vector<PhysicalSpace::point>& points,
                              std::vector<Quilt::Triangle>& triangles) {
  if (points.size() > kKeptCorners)
    return Triangulator().triangulate(points, triangles) ? "" : "Error";
  thread_local Triangulator triangulator;
  return triangulator.triangulate(points, triangles) ? "" : "Error";
}

float winding_value(const std::vector<PhysicalSpace::point>& points, const vertex_t& v) {
  return Triangulation::windingValue(points[v.prev->index], points[v.index], points[v.next->index]);
}

void init_vertex(int index, int previous, int next, std::vector<vertex_t>& vertices,
                 const std::vector<PhysicalSpace::point>& points) {
  for (const int i : {index, previous, next})
    vertices[static_cast<std::size_t>(i)].index = static_cast<unsigned int>(i);
  vertex_t& v = vertices[static_cast<std::size_t>(index)];
  v.prev = &vertices[static_cast<std::size_t>(previous)];
  v.next = &vertices[static_cast<std::size_t>(next)];
  v.winding = winding_value(points, v);
  v.reflex = false;
}

void update_leftmost(int candidate, int& leftmost,
                     const std::vector<PhysicalSpace::point>& points) {
  if (Triangulation::isLeftOf(points[static_cast<std::size_t>(candidate)],
                              points[static_cast<std::size_t>(leftmost)]))
    leftmost = candidate;
}

bool is_reflex(vertex_t& v, bool counterClockwise) {
  return Triangulation::isReflexWinding(v.winding, counterClockwise);
}

bool triangle_contains(const PhysicalSpace::point& a, const PhysicalSpace::point& b,
                       const PhysicalSpace::point& c, const PhysicalSpace::point& p) {
  return EarTriangle(Ear{a, b, c}).contains(p);
}

bool is_ear_tip(std::vector<PhysicalSpace::point> points, const vertex_t& v,
                const std::vector<vertex_t*>& reflex) {
  if (v.reflex) return false;
  const EarTriangle ear(Ear{points[v.prev->index], points[v.index], points[v.next->index]});
  return std::none_of(reflex.begin(), reflex.end(), [&](const vertex_t* r) {
    return r != v.prev && r != v.next && ear.contains(points[r->index]);
  });
}

}  // namespace Recast
