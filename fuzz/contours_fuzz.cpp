// The input is a fragment and its levels, most of it bytes of few choices:
// columns, flags, four overlaps, the number of levels, the levels, the values row by row.

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include "contours/line_sets.h"
#include "contours/reference_tracing.h"
#include "support/byte_source.h"
#include "support/require.h"
#include <gtest/gtest.h>

#include "recast/contours/fragment_tracer.h"

namespace {

using contour_tests::Lines;
using FuzzSupport::ByteSource;
using FuzzSupport::require;
using Recast::ContourFragment;
using Recast::ContourOutput;

constexpr std::uint64_t kMostRows = 48;
constexpr double kOriginX = 3'500'000.3;
constexpr double kOriginY = 5'400'000.7;
constexpr double kSpacingX = 2.5;
constexpr double kSpacingY = 0.4;

/// What the values of a fragment may be.
struct Flags {
  bool onlyBorderLine, useSliceField, ownHeights, typed, special;
};

float valueOf(std::uint8_t byte, bool special) {
  const int step = byte % 64;
  if (special && step == 63) return std::numeric_limits<float>::quiet_NaN();
  if (special && step == 62) return HUGE_VALF;
  if (special && step == 61) return -HUGE_VALF;
  return static_cast<float>(step) * 0.3F - 8.0F;
}

unsigned char typeOf(std::uint8_t byte, bool typed) {
  constexpr unsigned char kTypes[] = {0, 4, 1, 3};
  return typed ? kTypes[byte / 64] : 0;
}

ContourFragment fragmentOf(std::uint64_t columns, const Flags& flags,
                           std::span<const std::uint8_t> values) {
  const std::uint64_t rows = std::min(values.size() / columns, kMostRows);
  const Quilt::MultiIndex<3> extent(columns, rows, 1);
  ContourFragment fragment;
  fragment.sliceValues = Larder::makeStrong<Quilt::MemArray<3, float>>(extent, nullptr);
  fragment.heights = flags.ownHeights
                         ? Larder::makeStrong<Quilt::MemArray<3, float>>(extent, nullptr)
                         : fragment.sliceValues;
  fragment.cellTypes = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(extent, nullptr);
  const std::uint64_t count = columns * rows;
  for (std::uint64_t i = 0; i < count; ++i) {
    fragment.sliceValues->data[i] = valueOf(values[i], flags.special);
    fragment.cellTypes->data[i] = typeOf(values[i], flags.typed);
    if (flags.ownHeights) fragment.heights->data[i] = valueOf(values[count - 1 - i], flags.special);
  }
  fragment.onlyBorderLine = flags.onlyBorderLine;
  fragment.useSliceField = flags.useSliceField;
  fragment.origin = {kOriginX, kOriginY, 0.0};
  fragment.spacing = {kSpacingX, kSpacingY, 1.0};
  return fragment;
}

void requireInside(const ContourFragment& fragment, const ContourOutput& output) {
  constexpr double kRounding = 0.001;
  const auto cells = [&](std::size_t axis) {
    return static_cast<double>(fragment.sliceValues->dims[axis] - 1);
  };
  for (const auto& point : output.Points) {
    const double i = (point.x() - kOriginX) / kSpacingX;
    const double j = (point.y() - kOriginY) / kSpacingY;
    require(
        i > -kRounding && i < cells(0) + kRounding && j > -kRounding && j < cells(1) + kRounding,
        "lines stay within their grid");
  }
}

void check(const ContourFragment& fragment, const std::vector<float>& levels, bool special) {
  Lines expected;
  std::size_t stitched = 0;
  for (const float level : levels) {
    const auto reference = contour_tests::traceByDefinition(fragment, level);
    expected.insert(expected.end(), reference.lines.begin(), reference.lines.end());
    stitched += reference.stitched ? 1 : 0;
  }
  std::sort(expected.begin(), expected.end());
  ContourOutput output;
  require(Recast::FragmentTracer(fragment).trace(levels, output) == stitched,
          "the levels that are stitched are those of the definition");
  require(contour_tests::linesOf(output) == expected, "lines are those of the definition");
  if (!special) requireInside(fragment, output);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), GTEST_FLAG_SET(throw_on_failure, true), true);
  static_cast<void>(once);
  ByteSource source(data, size);
  const std::uint64_t columns = source.below(48) + 1;
  const unsigned choice = source.byte();
  const auto flag = [choice](unsigned bit) { return (choice >> bit) % 2 == 1; };
  const Flags flags{flag(0), flag(1), flag(2), flag(3), flag(4)};
  Quilt::MultiIndex<3> overlaps[2];
  for (auto& overlap : overlaps)
    for (const std::size_t axis : {0U, 1U}) overlap[axis] = source.below(6);
  std::vector<float> levels(source.below(6));
  for (float& level : levels) level = valueOf(source.byte(), flags.special);
  ContourFragment fragment = fragmentOf(columns, flags, source.rest());
  if (fragment.sliceValues->nElements() == 0) return 0;
  fragment.lowerOverlap = overlaps[0];
  fragment.upperOverlap = overlaps[1];
  check(fragment, levels, flags.special);
  return 0;
}
