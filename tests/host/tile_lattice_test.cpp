#include "../../host/tile_lattice.h"

#include <random>

#include <gtest/gtest.h>

namespace {

using RecastHost::planTiles;
using RecastHost::Rectangle;

int owners(const RecastHost::TilePlan& plan, std::int64_t x, std::int64_t y) {
  int count = 0;
  for (const auto& tile : plan.tiles) count += tile.ownCells().holds(x, y) ? 1 : 0;
  return count;
}

/// A cell is there if each of its corners is a vertex of some raster.
bool isCell(const std::vector<Rectangle>& rasters, std::int64_t x, std::int64_t y) {
  const auto isVertex = [&](std::int64_t i, std::int64_t j) {
    for (const Rectangle& raster : rasters)
      if (raster.holds(i, j)) return true;
    return false;
  };
  return isVertex(x, y) && isVertex(x + 1, y) && isVertex(x, y + 1) && isVertex(x + 1, y + 1);
}

TEST(TilePlan, LeavesNoCellToNobody) {
  const unsigned int seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto upTo = [&random](int n) { return std::uniform_int_distribution<int>(0, n)(random); };
  for (int run = 0; run < 500; ++run) {
    std::vector<Rectangle> rasters(static_cast<std::size_t>(1 + upTo(6)));
    for (Rectangle& raster : rasters) {
      raster.first = {upTo(14), upTo(14)};
      raster.end = {raster.first[0] + 1 + upTo(9), raster.first[1] + 1 + upTo(9)};
    }
    const auto plan = planTiles(rasters);
    bool anyDoubled = false;
    for (std::int64_t y = 0; y < 26; ++y)
      for (std::int64_t x = 0; x < 26; ++x) {
        const int count = owners(plan, x, y);
        anyDoubled |= count > 1;
        ASSERT_TRUE(count >= 1 || !isCell(rasters, x, y))
            << "run " << run << " at " << x << " " << y;
      }
    ASSERT_EQ(anyDoubled, !plan.doubled.empty()) << "run " << run;
  }
}

}  // namespace
