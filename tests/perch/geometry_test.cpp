#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "recast/perch/bounding_box.h"

namespace {

using Heron::BoundingBox;
using Heron::PhysicalSpace;

TEST(Geometry, PointsAreTheirNumbersAndAreWrittenAsPrintfDoes) {
  static_assert(sizeof(PhysicalSpace::point) == 24 && sizeof(Heron::Colour) == 3);
  static_assert(std::is_trivially_copyable_v<PhysicalSpace::vector>);
  EXPECT_EQ(to_string(PhysicalSpace::point(1, -2.25, 4567890.123)),
            "{1.000000,-2.250000,4567890.123000}");
}

TEST(BoundingBox, HoldsTheCornersOfAllThatItWasExpandedBy) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> number(-1000, 1000);
  BoundingBox box;
  box.expand(BoundingBox());
  EXPECT_TRUE(box.empty());
  PhysicalSpace::point lowest(2000, 2000, 2000);
  PhysicalSpace::point highest(-2000, -2000, -2000);
  for (int step = 0; step < 20; ++step) {
    PhysicalSpace::point low;
    PhysicalSpace::point high;
    for (std::size_t i = 0; i < 3; ++i) {
      low[i] = number(random);
      high[i] = low[i] + std::abs(number(random));
      lowest[i] = std::min(lowest[i], low[i]);
      highest[i] = std::max(highest[i], high[i]);
    }
    box.expand(BoundingBox(low, high));
    box.expand(BoundingBox());  // an empty box has no corners
    EXPECT_EQ(box.minimum(), lowest);
    EXPECT_EQ(box.maximum(), highest);
  }
}

TEST(BoundingBox, TheBallPassesThroughTheCorners) {
  const BoundingBox box({1, 2, 3}, {5, 5, 15});
  EXPECT_EQ(box.ball().center, PhysicalSpace::point(3, 3.5, 9));
  EXPECT_DOUBLE_EQ(box.ball().radius, 6.5);  // half of the diagonal of 4, 3, 12
  const BoundingBox single({7, 7, 7}, {7, 7, 7});
  EXPECT_FALSE(single.empty());
  EXPECT_EQ(single.ball().radius, 0.0);
}

}  // namespace
