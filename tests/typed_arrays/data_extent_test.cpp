#include "recast/meadow/data_extent.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "recast/typed_arrays/mem_array.h"

namespace {

using Heron::PhysicalSpace;
using Quilt::DataExtent;

/// Numbers of which some are none, or infinite, or as large as T allows.
template <class T>
T randomNumber(std::mt19937& random) {
  using Limits = std::numeric_limits<T>;
  switch (random() % 12) {
    case 0: return Limits::has_quiet_NaN ? Limits::quiet_NaN() : Limits::max();
    case 1: return Limits::has_infinity ? Limits::infinity() : Limits::max();
    case 2: return Limits::has_infinity ? -Limits::infinity() : Limits::lowest();
    default: return static_cast<T>(static_cast<int>(random() % 2001) - 1000);
  }
}

template <class T>
void expectExtent(const std::vector<T>& elements, DataExtent::Kind kind) {
  constexpr std::size_t kComponents = sizeof(T) == sizeof(PhysicalSpace::point) ? 3 : 1;
  const auto chunk = Larder::makeStrong<Larder::Chunk<T>>(elements);
  const auto array = Larder::makeStrong<Quilt::MemArray<1, T>>(
      chunk, Quilt::MultiIndex<1>(elements.size()), nullptr);
  const DataExtent extent = Quilt::extentOf(*array);
  bool everyHasNumbers = true;
  for (std::size_t component = 0; component < kComponents; ++component) {
    std::vector<double> numbers;
    for (const T& element : elements) {
      double number = 0.0;
      if constexpr (kComponents == 3)
        number = element[component];
      else
        number = static_cast<double>(element);
      if (!std::isnan(number)) numbers.push_back(number);
    }
    everyHasNumbers &= !numbers.empty();
    if (numbers.empty() || extent.kind == DataExtent::Kind::None) continue;
    EXPECT_EQ(extent.minimum[component], *std::ranges::min_element(numbers));
    EXPECT_EQ(extent.maximum[component], *std::ranges::max_element(numbers));
  }
  EXPECT_EQ(extent.kind, everyHasNumbers ? kind : DataExtent::Kind::None);
}

template <class T>
void expectRanges(std::mt19937& random, std::size_t length) {
  std::vector<T> numbers(length);
  std::ranges::generate(numbers, [&] { return randomNumber<T>(random); });
  expectExtent(numbers, DataExtent::Kind::Range);
}

TEST(DataExtent, AnyLengthWithAndWithoutNumbers) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length < 200; ++length) {
    SCOPED_TRACE(length);
    expectRanges<float>(random, length);
    expectRanges<double>(random, length);
    expectRanges<long double>(random, length);
    expectRanges<int>(random, length);
    expectRanges<unsigned char>(random, length);
    expectRanges<unsigned short>(random, length);
    const double nan = std::nan("");
    expectExtent(std::vector<double>(length, nan), DataExtent::Kind::Range);
    std::vector<PhysicalSpace::point> points(length);
    for (auto& point : points)
      for (double& coordinate : point.values) coordinate = randomNumber<double>(random);
    expectExtent(points, DataExtent::Kind::Box);
    for (auto& point : points) point[1] = nan;
    expectExtent(points, DataExtent::Kind::Box);
  }
}

}  // namespace
