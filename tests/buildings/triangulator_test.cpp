#include "recast/buildings/triangulation/triangulator.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <new>
#include <random>

#include "buildings/literal_ear_clipping.h"
#include "buildings/rings.h"
#include <gtest/gtest.h>

#include "recast/buildings/polygon_triangulation.h"

namespace {

std::size_t allocations = 0;

}  // namespace

void* operator new(std::size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

using Heron::PhysicalSpace;
using Recast::Triangulation::Ear;
using Recast::Triangulation::EarSides;
using Recast::Triangulation::EarWindow;
using Recast::Triangulation::Frame;
using Recast::Triangulation::Triangulator;
using TestRings::Ring;
using Triangles = std::vector<Quilt::Triangle>;

constexpr unsigned kVariants = 8;

void expectSameAsLiteral(Triangulator& triangulator, const Ring& ring) {
  Triangles expected;
  Triangles triangles;
  const bool whole = LiteralEarClipping::triangulate(ring, expected);
  EXPECT_EQ(triangulator.triangulate(ring, triangles), whole);
  EXPECT_TRUE(triangles == expected) << ring.size() << " corners, " << triangles.size() << " and "
                                     << expected.size() << " triangles";
}

TEST(Triangulator, CutsAllKindsOfRingsAsTheLiteralWalkDoes) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  TestRings::Random random(seed);
  Triangulator triangulator;
  for (const auto& family : TestRings::families()) {
    for (int i = 0; i < 200 && !testing::Test::HasFailure(); ++i) {
      const unsigned variant = static_cast<unsigned>(random.below(kVariants));
      SCOPED_TRACE(family.name + " " + std::to_string(i) + ", variant " + std::to_string(variant));
      const std::size_t most = i % 20 == 0 ? 400 : 4 + static_cast<std::size_t>(i) / 4;
      const Ring ring = family.make(random, 4 + random.below(most));
      expectSameAsLiteral(triangulator, TestRings::varied(ring, variant));
    }
  }
}

TEST(Triangulator, CutsLargeRingsAsTheLiteralWalkDoes) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  TestRings::Random random(seed);
  Triangulator triangulator;
  for (const auto& family : TestRings::families()) {
    for (unsigned variant = 0; variant < kVariants && !testing::Test::HasFailure(); ++variant) {
      SCOPED_TRACE(family.name + ", variant " + std::to_string(variant));
      expectSameAsLiteral(triangulator,
                          TestRings::varied(family.make(random, 1000 + variant * 100), variant));
    }
  }
}

double areaOf(const Ring& ring, const Triangles& triangles) {
  double sum = 0;
  for (const auto& t : triangles) {
    const auto& a = ring[t[0]];
    const auto& b = ring[t[1]];
    const auto& c = ring[t[2]];
    sum += (b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x());
  }
  return sum / 2;
}

double areaOf(const Ring& ring) {
  double sum = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) {
    const auto& p = ring[i];
    const auto& q = ring[(i + 1) % ring.size()];
    sum += p.x() * q.y() - p.y() * q.x();
  }
  return sum / 2;
}

// Rings on which a walk that tests every reflex corner would take the better part of an hour. No
// limit of time is set but that of patience.
TEST(Triangulator, FillsVeryLargeRings) {
  TestRings::Random random(5);
  Triangulator triangulator;
  for (const std::string name : {"star", "spiral", "tight spiral", "comb", "stairs"}) {
    SCOPED_TRACE(name);
    for (const auto& family : TestRings::families()) {
      if (family.name != name) continue;
      const Ring ring = TestRings::varied(family.make(random, 100'000), 1);
      Triangles triangles;
      EXPECT_TRUE(triangulator.triangulate(ring, triangles));
      EXPECT_EQ(triangles.size(), ring.size() - 2);
      EXPECT_NEAR(areaOf(ring, triangles) / areaOf(ring), 1, 1e-6);
    }
  }
}

TEST(Triangulator, AllocatesNothingOnceItsMemoryHasGrown) {
  std::vector<Ring> rings;
  TestRings::Random random(3);
  for (const std::size_t n : {4, 10, 50, 400, 3000, 9, 4000}) {
    for (const auto& family : TestRings::families())
      if (Ring ring = family.make(random, n); ring.size() <= 4096) rings.push_back(std::move(ring));
  }
  Triangles triangles;
  triangles.reserve(10'000);
  std::size_t during = 0;
  for (int round = 0; round < 2; ++round) {
    const std::size_t before = allocations;
    for (Ring& ring : rings) {
      triangles.clear();
      Recast::polygonToTriangle(ring, triangles);
    }
    during = allocations - before;
  }
  EXPECT_EQ(during, 0u);
}

/// A point on or near a line through two of the ear's corners: where rounding decides.
PhysicalSpace::point nearAnEdge(TestRings::Random& random,
                                const std::array<PhysicalSpace::point, 3>& ear) {
  const auto& p = ear[random.below(3)];
  const auto& q = ear[random.below(3)];
  const double along = random.between(-2, 3);
  const double off = random.below(2) == 0 ? 0 : random.between(-1, 1) * 1e-9;
  return {p.x() + (q.x() - p.x()) * along - (q.y() - p.y()) * off,
          p.y() + (q.y() - p.y()) * along + (q.x() - p.x()) * off, 0.0};
}

TEST(EarFilter, NeverRulesOutWhatTheEarContains) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  TestRings::Random random(seed);
  int contained = 0;
  for (int round = 0; round < 20'000; ++round) {
    const double far = std::pow(10, random.between(-12, 14.9));
    const double size = far * std::pow(10, random.between(-16, 0));
    const PhysicalSpace::point base(random.between(-far, far), random.between(-far, far), 0.0);
    const auto near = [&] {
      return PhysicalSpace::point(base.x() + random.between(-size, size),
                                  base.y() + random.between(-size, size), 0.0);
    };
    std::array<PhysicalSpace::point, 3> ear{near(), near(), near()};
    if (round % 3 == 0) ear[2] = nearAnEdge(random, {ear[0], ear[1], ear[0]});
    Ring ring(ear.begin(), ear.end());
    for (int i = 0; i < 40; ++i) ring.push_back(i < 20 ? nearAnEdge(random, ear) : near());
    const Frame frame = Frame::of(ring);
    const EarSides sides(Ear{ring[0], ring[1], ring[2]}, frame);
    const EarWindow window(Ear{ring[0], ring[1], ring[2]}, frame);
    for (const auto& p : ring) {
      if (!LiteralEarClipping::contains(ring[0], ring[1], ring[2], p)) continue;
      Recast::Triangulation::Boxes boxes;
      boxes.minX.fill(frame.x(p));
      boxes.minY.fill(frame.y(p));
      boxes.maxX = boxes.minX;
      boxes.maxY = boxes.minY;
      ASSERT_EQ(sides.mayContain(boxes.minX, boxes.minY), 0xFFu);
      ASSERT_EQ(sides.mayTouch(boxes), 0xFFu);
      ASSERT_EQ(window.overlaps(boxes), 0xFFu);
      ++contained;
    }
  }
  EXPECT_GT(contained, 10'000);
}

}  // namespace
