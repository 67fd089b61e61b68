#include "contours/line_sets.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include <gtest/gtest.h>

namespace contour_tests {

PointBits bitsOf(const Heron::PhysicalSpace::point& point) {
  PointBits bits;
  for (std::size_t i = 0; i < 3; ++i)
    bits[i] = std::bit_cast<std::uint64_t>(std::isnan(point[i]) ? std::nan("") : point[i]);
  return bits;
}

Line canonical(Line line) {
  Line best = line;
  for (std::size_t k = 1; line.closed && k < line.points.size(); ++k) {
    std::rotate(line.points.begin(), line.points.begin() + 1, line.points.end());
    best = std::min(best, line);
  }
  return best;
}

Lines linesOf(const Recast::ContourOutput& output) {
  EXPECT_EQ(output.NextIndex, output.Points.size());
  Lines lines;
  unsigned int next = 0;
  for (const auto& indices : output.Lines) {
    EXPECT_GE(indices.size(), 2U);
    Line line{indices.front() == indices.back(), {}};
    for (std::size_t k = 0; k < indices.size() - (line.closed ? 1 : 0); ++k) {
      EXPECT_EQ(indices[k], next++);
      line.points.push_back(bitsOf(output.Points.at(indices[k])));
    }
    lines.push_back(canonical(line));
  }
  EXPECT_EQ(next, output.NextIndex);
  std::sort(lines.begin(), lines.end());
  return lines;
}

Recast::ContourFragment fragmentOf(std::size_t columns, const std::vector<float>& values) {
  const Quilt::MultiIndex<3> extent(columns, values.size() / columns, 1);
  Recast::ContourFragment fragment;
  fragment.sliceValues = Larder::makeStrong<Quilt::MemArray<3, float>>(extent, nullptr);
  std::copy(values.begin(), values.end(), fragment.sliceValues->data);
  fragment.heights = fragment.sliceValues;
  fragment.cellTypes = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(extent, nullptr);
  return fragment;
}

}  // namespace contour_tests
