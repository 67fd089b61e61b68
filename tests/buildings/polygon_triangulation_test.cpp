#include "recast/buildings/polygon_triangulation.h"

#include "buildings/literal_ear_clipping.h"
#include "buildings/rings.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/perch/bounding_box.h"

namespace {

using Heron::PhysicalSpace;
using Quilt::Triangle;
using Recast::vertex_t;
using TestRings::Ring;
using Triangles = std::vector<Triangle>;

struct Case {
  const char* name;
  Ring ring;
  std::string text;
  Triangles triangles;
};

TEST(PolygonToTriangle, CutsSmallRingsInTheOrderOfTheWalk) {
  const Ring square{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  const Case cases[] = {
      {"no point", {}, "", {}},
      {"two points", {{0, 0, 0}, {1, 0, 0}}, "", {}},
      {"three points on a line", {{0, 0, 0}, {2, 0, 0}, {1, 0, 0}}, "", {{0, 1, 2}}},
      {"clockwise triangle", {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}}, "", {{0, 1, 2}}},
      {"square", square, "", {{3, 0, 1}, {3, 1, 2}}},
      {"clockwise square", {square.rbegin(), square.rend()}, "", {{3, 0, 1}, {3, 1, 2}}},
      {"four points on a line", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}}, "Error", {}},
      {"straight corner turns convex",
       {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}},
       "",
       {{4, 0, 1}, {4, 1, 2}, {4, 2, 3}}},
      {"closed square", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}}, "Error", {}},
      {"reflex corner on the side of an ear",
       {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}},
       "",
       {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 5}}},
      {"arrow, whose reflex corner is no obstacle to its neighbours",
       {{0, 0, 0}, {4, 4, 0}, {0, 8, 0}, {3, 4, 0}},
       "",
       {{3, 0, 1}, {3, 1, 2}}},
  };
  for (Case c : cases) {
    SCOPED_TRACE(c.name);
    const Ring before = c.ring;
    Triangles triangles;
    EXPECT_EQ(Recast::polygonToTriangle(c.ring, triangles), c.text);
    EXPECT_EQ(triangles, c.triangles);
    EXPECT_EQ(c.ring, before);
  }
}

TEST(PolygonToTriangle, AppendsAndKeepsWhatWasCutBeforeAFailure) {
  // A square whose fourth side runs back and forth on one line.
  Ring ring{{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}, {0, 1, 0}, {0, 3, 0}, {0, 2, 0}};
  Triangles expected{{7, 8, 9}};
  ASSERT_FALSE(LiteralEarClipping::triangulate(ring, expected));
  Triangles triangles{{7, 8, 9}};
  EXPECT_EQ(Recast::polygonToTriangle(ring, triangles), "Error");
  EXPECT_EQ(triangles, expected);
  EXPECT_GT(triangles.size(), 1u);
}

TEST(PolygonSteps, LeftmostIsTheLowestOfThoseFarthestLeftAndTheFirstOfEqualOnes) {
  const Ring points{{1, 0, 0}, {0, 5, 0}, {0, 4, 9}, {0, 4, 0}, {2, -9, 0}};
  const auto leftmostAfter = [&](std::initializer_list<int> visits) {
    int leftmost = 0;
    for (const int i : visits) Recast::update_leftmost(i, leftmost, points);
    return leftmost;
  };
  EXPECT_EQ(leftmostAfter({1, 2, 3, 4}), 2);
  EXPECT_EQ(leftmostAfter({4, 3, 2, 1}), 3);
}

TEST(PolygonSteps, StraightCornersAreReflexInEitherDirection) {
  vertex_t v;
  for (const float winding : {-1.0F, 0.0F, 1.0F}) {
    v.winding = winding;
    EXPECT_EQ(Recast::is_reflex(v, true), winding <= 0);
    EXPECT_EQ(Recast::is_reflex(v, false), winding >= 0);
  }
}

TEST(PolygonSteps, TrianglesContainTheirEdgesButNoPlaceOfACorner) {
  const PhysicalSpace::point a(0, 0, 1);
  const PhysicalSpace::point b(4, 0, 2);
  const PhysicalSpace::point c(0, 4, 3);
  struct {
    PhysicalSpace::point p;
    bool inside;
  } const cases[] = {{{1, 1, 0}, true},   {{2, 2, 0}, true},  {{0, 2, 0}, true},
                     {{3, 0, 7}, true},   {{0, 0, 0}, false}, {{4, 0, 0}, false},
                     {{0, 4, 0}, false},  {{5, 0, 0}, false}, {{-1, 2, 0}, false},
                     {{2.5, 2, 0}, false}};
  for (const auto& [p, inside] : cases) {
    EXPECT_EQ(Recast::triangle_contains(a, b, c, p), inside) << Heron::to_string(p);
    EXPECT_EQ(Recast::triangle_contains(a, c, b, p), inside) << Heron::to_string(p);
  }
}

/// The whole made from its exported steps.
std::string clipByTheSteps(Ring& points, Triangles& triangles) {
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
    if (!Recast::is_ear_tip(points, *v, reflex)) {
      if (++failures > remaining) return "Error";
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
  return "";
}

TEST(PolygonSteps, MakeTheWhole) {
  TestRings::Random random(1);
  for (const auto& family : TestRings::families()) {
    SCOPED_TRACE(family.name);
    Ring ring = family.make(random, 30);
    Triangles bySteps;
    Triangles triangles;
    EXPECT_EQ(clipByTheSteps(ring, bySteps), Recast::polygonToTriangle(ring, triangles));
    EXPECT_EQ(bySteps, triangles);
  }
}

}  // namespace
