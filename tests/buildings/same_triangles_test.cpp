#include "buildings/rings.h"
#include <gtest/gtest.h>

#include "recast/buildings/triangulation/triangulator.h"

namespace {

// This file is compiled several times, with other compiler options each time. The number is what a
// literal walk with arithmetic of its own gave, compiled without optimisation.
TEST(SameTriangles, OfThousandsOfRingsWhateverTheCompilerDoes) {
  TestRings::Random random(20'240'229);
  Recast::Triangulation::Triangulator triangulator;
  std::uint64_t digest = 0xCBF29CE484222325;
  for (int i = 0; i < 300; ++i) {
    for (const auto& family : TestRings::families()) {
      const std::size_t corners = 4 + random.below(i % 50 == 0 ? 500 : 60);
      const auto variant = static_cast<unsigned>(random.below(8));
      const TestRings::Ring ring = TestRings::varied(family.make(random, corners), variant);
      std::vector<Quilt::Triangle> triangles;
      triangulator.triangulate(ring, triangles);
      digest = TestRings::digest(triangles, digest);
    }
  }
  EXPECT_EQ(digest, 0xA76684DCA8FBCD06U);
}

}  // namespace
