#include "recast/meadow/multi_index.h"

#include <gtest/gtest.h>

namespace {

using Quilt::DynamicSize;
using Quilt::MultiIndex;

TEST(MultiIndex, CountsThroughAShapeWithTheFirstNumberFastest) {
  const MultiIndex<3> shape(2, 1, 3);
  MultiIndex<3> position;
  std::string seen;
  do {
    seen += to_string(position);
  } while (position.inc(shape));
  EXPECT_EQ(seen, "[0x0x0][1x0x0][0x0x1][1x0x1][0x0x2][1x0x2]");
  EXPECT_EQ(position, MultiIndex<3>()) << "after the last place all numbers are 0";
}

TEST(DynamicSize, IsAMultiIndexOfAnyRankThatTellsWhenItsProductDoesNotFit) {
  const DynamicSize size = MultiIndex<3>(4, 5, 6);
  EXPECT_EQ(size.toMultiIndex<3>(), MultiIndex<3>(4, 5, 6));
  EXPECT_EQ(size, DynamicSize({4, 5, 6}));
  EXPECT_NE(size, DynamicSize({4, 5}));
  std::uint64_t product = 0;
  EXPECT_TRUE(DynamicSize({1ULL << 32, (1ULL << 32) - 1}).product(1, product));
  EXPECT_EQ(product, ((1ULL << 32) - 1) << 32);
  EXPECT_FALSE(DynamicSize({1ULL << 32, 1ULL << 32}).product(1, product));
  EXPECT_FALSE(DynamicSize({1ULL << 62}).product(24, product));
  EXPECT_TRUE(DynamicSize().product(24, product));
  EXPECT_EQ(product, 24U);
}

}  // namespace
