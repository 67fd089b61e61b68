#include "recast/buildings/polygon_triangulation.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "buildings/rings.h"
#include <gtest/gtest.h>

#include "recast/buildings/triangulation/triangulator.h"

namespace {

using Heron::PhysicalSpace;
using Recast::vertex_t;
using Recast::Triangulation::Triangulator;
using TestRings::Ring;
using Triangles = std::vector<Quilt::Triangle>;

TEST(PolygonToTriangle, CutsSmallRingsInTheOrderOfTheWalk) {
  const Ring square{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  const struct {
    const char* name;
    Ring ring;
    std::string text;
    Triangles triangles;
  } cases[] = {
      {"no point", {}, "", {}},
      {"three points on a line", {{0, 0, 0}, {2, 0, 0}, {1, 0, 0}}, "", {{0, 1, 2}}},
      {"square", square, "", {{3, 0, 1}, {3, 1, 2}}},
      {"clockwise square", {square.rbegin(), square.rend()}, "", {{3, 0, 1}, {3, 1, 2}}},
      {"four points on a line", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}}, "Error", {}},
      {"straight corner turns convex",
       {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}},
       "",
       {{4, 0, 1}, {4, 1, 2}, {4, 2, 3}}},
      {"arrow, whose reflex corner is no obstacle to its neighbours",
       {{0, 0, 0}, {4, 4, 0}, {0, 8, 0}, {3, 4, 0}},
       "",
       {{3, 0, 1}, {3, 1, 2}}},
      {"fourth side back and forth on one line: what was cut before stays",
       {{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}, {0, 1, 0}, {0, 3, 0}, {0, 2, 0}},
       "Error",
       {{0, 1, 2}}},
  };
  for (const auto& [name, ring, text, expected] : cases) {
    SCOPED_TRACE(name);
    Ring points = ring;
    Triangles triangles{{7, 8, 9}};
    EXPECT_EQ(Recast::polygonToTriangle(points, triangles), text);
    EXPECT_EQ(triangles.front(), Quilt::Triangle(7, 8, 9)) << "appended";
    EXPECT_EQ(Triangles(triangles.begin() + 1, triangles.end()), expected);
    EXPECT_EQ(points, ring);
  }
}

bool isEarTip(const Ring& points, const vertex_t& v, const std::vector<vertex_t*>& reflex) {
  const bool result =
      !v.reflex && std::none_of(reflex.begin(), reflex.end(), [&](const vertex_t* r) {
        return r != v.prev && r != v.next &&
               Recast::triangle_contains(points[v.prev->index], points[v.index],
                                         points[v.next->index], points[r->index]);
      });
  if (points.size() < 50) {  // it copies the points, which takes too long for large rings
    EXPECT_EQ(Recast::is_ear_tip(points, v, reflex), result);
  }
  return result;
}

/// Ear clipping word for word, made from the exported steps: a linked ring, a list of the reflex
/// corners that every test walks, and no thought of speed. \return whether it came to the end.
bool clipByTheSteps(const Ring& points, Triangles& triangles) {
  const int n = static_cast<int>(points.size());
  std::vector<vertex_t> vertices(points.size());
  Recast::init_vertex(0, n - 1, 1, vertices, points);
  Recast::init_vertex(n - 1, n - 2, 0, vertices, points);
  int leftmost = 0;
  Recast::update_leftmost(n - 1, leftmost, points);
  for (int i = 1; i < n - 1; ++i) {
    Recast::init_vertex(i, i - 1, i + 1, vertices, points);
    Recast::update_leftmost(i, leftmost, points);
  }
  const bool counterClockwise = vertices[static_cast<std::size_t>(leftmost)].winding > 0;
  std::vector<vertex_t*> reflex;
  for (vertex_t& v : vertices) {
    v.reflex = Recast::is_reflex(v, counterClockwise);
    if (v.reflex) reflex.push_back(&v);
  }
  vertex_t* v = &vertices[0];
  int failures = 0;
  for (int remaining = n; remaining > 3; v = v->next) {
    if (!isEarTip(points, *v, reflex)) {
      if (++failures > remaining) return false;
      continue;
    }
    triangles.emplace_back(v->prev->index, v->index, v->next->index);
    v->prev->next = v->next;
    v->next->prev = v->prev;
    for (vertex_t* neighbour : {v->prev, v->next}) {
      neighbour->winding = Recast::winding_value(points, *neighbour);
      if (!neighbour->reflex || Recast::is_reflex(*neighbour, counterClockwise)) continue;
      neighbour->reflex = false;
      std::erase(reflex, neighbour);
    }
    failures = 0;
    --remaining;
  }
  triangles.emplace_back(v->prev->index, v->index, v->next->index);
  return true;
}

TEST(Triangulator, CutsAllKindsOfRingsAsTheWalkByStepsDoes) {
  constexpr unsigned kVariants = 8;
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  TestRings::Random random(seed);
  Triangulator triangulator;
  for (const auto& family : TestRings::families()) {
    for (unsigned i = 0; i < 200 && !testing::Test::HasFailure(); ++i) {
      SCOPED_TRACE(family.name + " " + std::to_string(i));
      // Mostly small, at last once of each variant large.
      const std::size_t corners = i < 192 ? 4 + random.below(4 + i / 3) : 1000 + 100 * (i - 192);
      const Ring ring = TestRings::varied(family.make(random, corners), i % kVariants);
      Triangles expected;
      Triangles triangles;
      EXPECT_EQ(triangulator.triangulate(ring, triangles), clipByTheSteps(ring, expected));
      EXPECT_TRUE(triangles == expected) << ring.size() << " corners, " << triangles.size()
                                         << " and " << expected.size() << " triangles";
    }
  }
}

// Rings on which a walk that tests every reflex corner would take the better part of an hour. No
// limit of time is set but that of patience.
TEST(Triangulator, FillsVeryLargeRings) {
  TestRings::Random random(5);
  Triangulator triangulator;
  for (const auto& family : TestRings::families()) {
    if (!family.isSimple) continue;
    SCOPED_TRACE(family.name);
    const Ring ring = TestRings::varied(family.make(random, 100'000), 1);
    double area = 0;
    for (std::size_t i = 1; i + 1 < ring.size(); ++i)
      area += TestRings::signedArea(ring[0], ring[i], ring[i + 1]);
    Triangles triangles;
    EXPECT_TRUE(triangulator.triangulate(ring, triangles));
    EXPECT_EQ(triangles.size(), ring.size() - 2);
    double filled = 0;
    for (const auto& t : triangles)
      filled += std::fabs(TestRings::signedArea(ring[t[0]], ring[t[1]], ring[t[2]]));
    EXPECT_NEAR(filled / std::fabs(area), 1, 1e-6);
  }
}

}  // namespace
