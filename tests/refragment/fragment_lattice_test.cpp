#include "recast/refragment/fragment_lattice.h"

#include <limits>

#include <gtest/gtest.h>

#include "recast/perch/bounding_box.h"
#include "recast/refragment/run_end.h"

namespace {

using Point = Heron::PhysicalSpace::point;
using Vector = Heron::PhysicalSpace::vector;
using Recast::FragmentLattice;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr const char* kNotPositive = "Lenght for bounding box is negativ. Wrong input";
constexpr const char* kNone = "Number of fragments is zero!";
constexpr const char* kTooMany = "Number of fragments is over 1 Million!";

std::string failureOf(const Point& lower, const Point& upper, const Vector& wanted) {
  try {
    FragmentLattice::over(lower, upper, wanted);
    return {};
  } catch (const Recast::RunEnd& end) {
    return end.what();
  }
}

TEST(FragmentLattice, WholeFragmentsFillTheBox) {
  const struct {
    Point lower;
    Point upper;
    Vector wanted;
    Quilt::MultiIndex<3> counts;
    Vector length;
    Point end;
  } cases[] = {
      {{9, 0, 0}, {21, 1, 1}, {5, 1, 1}, {3, 1, 1}, {5, 1, 1}, {24, 1, 1}},
      {{0, 0, 0}, {10, 20, 30}, {0, 0, 0}, {1, 1, 1}, {10, 20, 30}, {10, 20, 30}},
      {{0, 0, 0}, {10, 20, 30}, {100, 5, 10}, {1, 4, 3}, {100, 5, 10}, {100, 20, 30}},
      {{0, 0, 7}, {1, 1, 7}, {0, 0, 1}, {1, 1, 2}, {1, 1, 1}, {1, 1, 1}},  // flat: z -1 to 1
      {{0, 0, 0}, {1000, 1000, 1}, {1, 1, 1}, {1000, 1000, 1}, {1, 1, 1}, {1000, 1000, 1}},
  };
  for (const auto& test : cases) {
    const auto lattice = FragmentLattice::over(test.lower, test.upper, test.wanted);
    EXPECT_EQ(to_string(lattice.counts), to_string(test.counts));
    EXPECT_EQ(to_string(lattice.length), to_string(test.length));
    EXPECT_EQ(to_string(lattice.upper), to_string(test.end));
  }
}

TEST(FragmentLattice, OtherBoxesAndCountsAreRefused) {
  const Vector whole(0, 0, 0);
  const Point low(0, 0, 0);
  EXPECT_EQ(failureOf(low, {0, 1, 1}, whole), kNotPositive);
  EXPECT_EQ(failureOf({0, 2, 0}, {1, 1, 1}, whole), kNotPositive);
  EXPECT_EQ(failureOf({0, 0, kNaN}, {1, 1, 1}, whole), kNotPositive);
  EXPECT_EQ(failureOf({0, kInfinity, 0}, {1, kInfinity, 1}, whole), kNotPositive);
  EXPECT_EQ(failureOf({-1.7e308, 0, 0}, {1.7e308, 1, 1}, {1, 1, 1}), kNotPositive);
  EXPECT_EQ(failureOf(low, {1001, 1000, 1}, {1, 1, 1}), kTooMany);
  EXPECT_EQ(failureOf(low, {1e300, 1, 1}, {1e-300, 1, 1}), kTooMany);
  // Products that wrap to something small.
  EXPECT_EQ(failureOf(low, {4294967296.0, 4294967296.0, 1}, {1, 1, 1}), kTooMany);
  EXPECT_EQ(failureOf(low, {1e18, 1e18, 1e18}, {1, 1, 1}), kTooMany);
  EXPECT_EQ(failureOf(low, {1, 1, 1}, {-5, 1, 1}), kNone);
  EXPECT_EQ(failureOf(low, {1, 1, 1}, {1, kInfinity, 1}), kNone);
  EXPECT_EQ(failureOf(low, {1, 1, 1}, {1, 1, kNaN}), kNone);
}

}  // namespace
