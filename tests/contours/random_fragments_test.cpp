#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "contours/reference_tracing.h"
#include "support/console_capture.h"
#include <gtest/gtest.h>

#include "recast/contours/contour_tracing.h"
#include "recast/contours/fragment_tracer.h"

namespace contour_tests {
namespace {

using Recast::ContourFragment;
using Recast::ContourOutput;

/// Grids of all kinds: coarse steps, so that values meet the levels and areas are flat, or any
/// number; with and without NaN, infinities and blocked vertices; smooth or noisy.
class RandomCase {
 public:
  explicit RandomCase(unsigned int seed) : random_(seed), grid(fragment()), levels(someLevels()) {}

 private:
  std::mt19937 random_;
  int pick(int low, int high) { return std::uniform_int_distribution(low, high)(random_); }
  bool chance(double probability) { return std::bernoulli_distribution(probability)(random_); }

  float value(std::uint64_t i, std::uint64_t j) {
    if (chance(missing_)) return std::numeric_limits<float>::quiet_NaN();
    if (chance(infinite_)) return std::copysign(HUGE_VALF, chance(0.5) ? 1.0F : -1.0F);
    const double hill =
        4.0 * std::sin(static_cast<double>(i) * 0.3) * std::cos(static_cast<double>(j) * 0.2);
    const double noise = std::uniform_real_distribution(-roughness_, roughness_)(random_);
    return static_cast<float>(coarse_ ? std::round(hill + noise) : hill + noise);
  }

  Larder::StrongPtr<Quilt::MemArray<3, float>> values(const Quilt::MultiIndex<3>& extent) {
    auto array = Larder::makeStrong<Quilt::MemArray<3, float>>(extent, nullptr);
    Quilt::MultiIndex<3> at;
    do (*array)[at] = value(at[0], at[1]);
    while (at.inc(extent));
    return array;
  }

  ContourFragment fragment() {
    coarse_ = chance(0.5);
    roughness_ = chance(0.5) ? 0.1 : 4.0;
    missing_ = chance(0.5) ? 0.0 : 0.05;
    infinite_ = chance(0.8) ? 0.0 : 0.05;
    const Quilt::MultiIndex<3> extent(pick(1, 50), pick(1, 50), 1);
    ContourFragment fragment;
    fragment.sliceValues = values(extent);
    fragment.heights = chance(0.5) ? fragment.sliceValues : values(extent);
    fragment.cellTypes = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(extent, nullptr);
    const double blocked = chance(0.5) ? 0.0 : 0.1;
    for (std::uint64_t k = 0; k < fragment.cellTypes->nElements(); ++k)
      fragment.cellTypes->data[k] =
          static_cast<unsigned char>(chance(blocked) ? pick(1, 3) : pick(0, 1) * 4);
    fragment.lowerOverlap = {pick(0, 5), pick(0, 5), pick(0, 1)};
    fragment.upperOverlap = {pick(0, 5), pick(0, 5), pick(0, 2)};
    fragment.onlyBorderLine = chance(0.3);
    fragment.useSliceField = chance(0.5);
    fragment.origin = {pick(-9, 9) * 1e5 + 0.1, pick(-9, 9) * 1e5 + 0.7, 3.0};
    fragment.spacing = {0.5 + 0.1 * pick(0, 9), 0.3 * pick(1, 9), 1.0};
    return fragment;
  }

  std::vector<float> someLevels() {
    std::vector<float> chosen;
    for (int k = pick(1, 20); k > 0; --k)
      chosen.push_back(static_cast<float>(chance(0.5) ? pick(-8, 8) : pick(-800, 800) * 0.01));
    return chosen;
  }

  bool coarse_ = false;
  double roughness_ = 0.0;
  double missing_ = 0.0;
  double infinite_ = 0.0;

 public:
  const ContourFragment grid;
  const std::vector<float> levels;
};

void expectTheLinesOfTheDefinition(const RandomCase& random) {
  Lines expected;
  std::vector<std::string> expectedMessages;
  std::size_t expectedStitched = 0;
  for (const float level : random.levels) {
    const ReferenceTrace reference = traceByDefinition(random.grid, level);
    expected.insert(expected.end(), reference.lines.begin(), reference.lines.end());
    expectedMessages.insert(expectedMessages.end(), reference.messages.begin(),
                            reference.messages.end());
    expectedStitched += reference.stitched ? 1 : 0;
  }
  std::sort(expected.begin(), expected.end());
  ContourOutput output;
  const TestSupport::ConsoleCapture console;
  EXPECT_EQ(Recast::FragmentTracer(random.grid).trace(random.levels, output), expectedStitched);
  EXPECT_EQ(console.messages(), expectedMessages);
  EXPECT_EQ(linesOf(output), expected);

  // What several levels share in one call must not change what each of them gives.
  ContourOutput single;
  const ContourFragment& grid = random.grid;
  for (const float level : random.levels) {
    Quilt::MultiIndex<3> lower = grid.lowerOverlap;
    Quilt::MultiIndex<3> upper = grid.upperOverlap;
    Recast::traceContourLevel(grid.heights, grid.sliceValues, grid.cellTypes, level, lower, upper,
                              grid.onlyBorderLine, grid.useSliceField, grid.origin, grid.spacing,
                              single);
  }
  EXPECT_EQ(output.Lines, single.Lines);
  EXPECT_TRUE(std::equal(output.Points.begin(), output.Points.end(), single.Points.begin(),
                         single.Points.end(),
                         [](const auto& a, const auto& b) { return bitsOf(a) == bitsOf(b); }));
}

TEST(RandomFragments, GiveTheLinesOfTheDefinition) {
  for (unsigned int seed = 0; seed < 600 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expectTheLinesOfTheDefinition(RandomCase(seed));
  }
}

}  // namespace
}  // namespace contour_tests
