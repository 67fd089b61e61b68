#include "recast/meadow/multi_index.h"

#include <gtest/gtest.h>

namespace {

using Quilt::DynamicSize;
using Quilt::MultiIndex;

/// Steps through `shape` from the origin and compares each position with the digits of its number.
template <int N>
void expectCounting(const MultiIndex<N>& shape) {
  MultiIndex<N> position;
  for (std::uint64_t number = 0; number < shape.product(); ++number) {
    std::uint64_t rest = number;
    for (std::size_t axis = 0; axis < N; rest /= shape[axis++])
      ASSERT_EQ(position[axis], rest % shape[axis]) << "axis " << axis << " of place " << number;
    ASSERT_EQ(position.inc(shape), number + 1 < shape.product());
  }
  EXPECT_EQ(position, MultiIndex<N>()) << "after the last place all numbers are 0";
}

TEST(MultiIndex, CountsThroughAShapeWithTheFirstNumberFastest) {
  expectCounting<1>({5});
  expectCounting<2>({3, 4});
  expectCounting<3>({2, 2, 2});
  expectCounting<3>({1, 5, 3});
  expectCounting<4>({4, 1, 3, 2});
}

TEST(MultiIndex, HasItsNumbersInOrderAndItsProduct) {
  const MultiIndex<4> index(2, 3, 5, 7);
  EXPECT_EQ(index.product(), 210U);
  EXPECT_EQ(static_cast<const MultiIndex<2>&>(index), MultiIndex<2>(2, 3));
  EXPECT_EQ((MultiIndex<3>(4, 0, 9)).product(), 0U);
  static_assert(sizeof(MultiIndex<3>) == 24);
}

TEST(MultiIndex, IsWrittenAsAShape) {
  EXPECT_EQ(to_string(MultiIndex<3>(10, 20, 30)), "[10x20x30]");
  EXPECT_EQ(to_string(MultiIndex<3>()), "[0x0x0]");
}

TEST(DynamicSize, IsAMultiIndexOfAnyRank) {
  const DynamicSize size = MultiIndex<3>(4, 5, 6);
  EXPECT_EQ(size.rank(), 3U);
  EXPECT_EQ(size.toMultiIndex<3>(), MultiIndex<3>(4, 5, 6));
  EXPECT_EQ(size, DynamicSize({4, 5, 6}));
  EXPECT_NE(size, DynamicSize({4, 5}));
  EXPECT_EQ(DynamicSize().rank(), 0U);
}

TEST(DynamicSize, TellsWhenItsProductDoesNotFit) {
  std::uint64_t product = 0;
  EXPECT_TRUE(DynamicSize({1ULL << 32, (1ULL << 32) - 1}).product(1, product));
  EXPECT_EQ(product, ((1ULL << 32) - 1) << 32);
  EXPECT_FALSE(DynamicSize({1ULL << 32, 1ULL << 32}).product(1, product));
  EXPECT_FALSE(DynamicSize({1ULL << 62}).product(24, product));
  EXPECT_TRUE(DynamicSize().product(24, product));
  EXPECT_EQ(product, 24U);
}

}  // namespace
