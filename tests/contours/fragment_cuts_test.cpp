#include <random>

#include "contours/line_sets.h"
#include <gtest/gtest.h>

#include "recast/contours/fragment_tracer.h"

namespace contour_tests {
namespace {

using Recast::ContourFragment;
using Recast::ContourOutput;

/// One part of a cut axis, in vertices.
struct Part {
  std::size_t first;
  std::size_t end;
  std::size_t lowerOverlap;
  std::size_t upperOverlap;
};

/// Cuts `vertices` vertices into three parts at random; neighbours share 1 to 5 vertices.
std::vector<Part> cutAtRandom(std::size_t vertices, std::mt19937& random) {
  const auto pick = [&](std::size_t low, std::size_t high) {
    return std::uniform_int_distribution(low, high)(random);
  };
  const std::size_t overlaps[] = {pick(1, 5), pick(1, 5)};
  const std::size_t first = pick(6, vertices / 2 - 6);
  const std::size_t second = pick(vertices / 2, vertices - 10);
  return {{0, first + overlaps[0], 0, overlaps[0]},
          {first, second + overlaps[1], overlaps[0], overlaps[1]},
          {second, vertices, overlaps[1], 0}};
}

ContourFragment partOf(const ContourFragment& whole, const Part& columns, const Part& rows) {
  std::vector<float> values;
  std::vector<unsigned char> types;
  for (std::size_t j = rows.first; j < rows.end; ++j)
    for (std::size_t i = columns.first; i < columns.end; ++i) {
      values.push_back((*whole.sliceValues)[{i, j, 0}]);
      types.push_back((*whole.cellTypes)[{i, j, 0}]);
    }
  ContourFragment part = fragmentOf(columns.end - columns.first, values);
  std::copy(types.begin(), types.end(), part.cellTypes->data);
  part.lowerOverlap = {columns.lowerOverlap, rows.lowerOverlap, 0U};
  part.upperOverlap = {columns.upperOverlap, rows.upperOverlap, 0U};
  part.origin = {static_cast<double>(columns.first), static_cast<double>(rows.first), 0.0};
  return part;
}

/// Values 0, 1, 2 and the level 0.5: all crossings are at quarters of a cell, which no rounding
/// moves, so that pieces can be compared bit by bit wherever their fragment begins.
ContourFragment roughGrid(std::size_t columns, std::size_t rows, std::mt19937& random) {
  std::vector<float> values(columns * rows);
  for (float& value : values)
    value = static_cast<float>(std::discrete_distribution({2, 1, 1})(random));
  ContourFragment grid = fragmentOf(columns, values);
  for (std::size_t k = 0; k < values.size(); ++k)
    grid.cellTypes->data[k] = std::bernoulli_distribution(0.05)(random) ? 1 : 0;
  return grid;
}

TEST(FragmentCuts, TraceEachPieceOfTheWholeOnce) {
  for (unsigned int seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::uniform_int_distribution<std::size_t> extent(30, 70);
    const std::size_t columns = extent(random);
    const std::size_t rows = extent(random);
    const ContourFragment whole = roughGrid(columns, rows, random);
    ContourOutput uncut;
    ContourOutput cut;
    const std::vector<float> level = {0.5F};
    Recast::FragmentTracer(whole).trace(level, uncut);
    const std::vector<Part> cutRows = cutAtRandom(rows, random);
    for (const Part& columnPart : cutAtRandom(columns, random))
      for (const Part& rowPart : cutRows)
        Recast::FragmentTracer(partOf(whole, columnPart, rowPart)).trace(level, cut);
    ASSERT_EQ(lineSetOf(cut).pieces, lineSetOf(uncut).pieces);
  }
}

}  // namespace
}  // namespace contour_tests
