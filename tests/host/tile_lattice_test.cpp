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

TEST(TilePlan, GivesEachCellOfARegularArrangementToOneTile) {
  for (const int overlap : {0, 1, 2, 3, 4}) {
    std::vector<Rectangle> rasters;
    for (const int x : {0, 1, 2})
      for (const int y : {0, 1, 2}) {
        const std::int64_t first[] = {x * (10 - overlap), y * (12 - overlap)};
        rasters.push_back({{first[0], first[1]}, {first[0] + 10, first[1] + 12}});
      }
    const auto plan = planTiles(rasters);
    EXPECT_TRUE(plan.doubled.empty()) << overlap;
    for (std::int64_t y = 0; y < 40; ++y)
      for (std::int64_t x = 0; x < 40; ++x)
        ASSERT_EQ(owners(plan, x, y), isCell(rasters, x, y) ? 1 : 0) << overlap;
    const auto shared = static_cast<std::uint64_t>(std::max(overlap, 1));
    EXPECT_EQ(plan.tiles[4].lowerOverlap[0], shared);
    EXPECT_EQ(plan.tiles[4].upperOverlap[1], shared);
    EXPECT_EQ(plan.tiles[8].upperOverlap[0], 0u) << "nothing lies behind the last";
  }
}

}  // namespace
