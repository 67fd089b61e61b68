#include "tile_lattice.h"

#include <algorithm>
#include <span>

#include "recast/contours/own_cells.h"

namespace RecastHost {
namespace {

/// The cells between vertices.
Rectangle cellsBetween(Rectangle vertices) {
  for (std::int64_t& end : vertices.end) --end;
  return vertices;
}

/// True if `others` together hold all of `rectangle`.
bool isCovered(const Rectangle& rectangle, std::span<const Rectangle> others) {
  if (rectangle.empty()) return true;
  while (!others.empty() && intersection(rectangle, others[0]).empty()) others = others.subspan(1);
  if (others.empty()) return false;
  // What is left around the first of them, as four rectangles.
  const Rectangle common = intersection(rectangle, others[0]);
  Rectangle middle = rectangle;
  middle.first[1] = common.first[1];
  middle.end[1] = common.end[1];
  Rectangle below = rectangle, above = rectangle, left = middle, right = middle;
  below.end[1] = common.first[1];
  above.first[1] = common.end[1];
  left.end[0] = common.first[0];
  right.first[0] = common.end[0];
  return std::ranges::all_of(std::array{below, above, left, right}, [&](const Rectangle& part) {
    return isCovered(part, others.subspan(1));
  });
}

/// True if `b` begins right behind `a` along the axis, somewhere along their sides.
bool touchesBehind(const Rectangle& a, const Rectangle& b, std::size_t axis) {
  const std::size_t across = 1 - axis;
  return b.first[axis] == a.end[axis] && b.first[across] < a.end[across] &&
         a.first[across] < b.end[across];
}

std::vector<Tile> grown(const std::vector<Rectangle>& rasters) {
  std::vector<Tile> tiles;
  for (const Rectangle& raster : rasters) {
    Tile& tile = tiles.emplace_back();
    tile.vertices = raster;
    for (const std::size_t axis : {0U, 1U})
      if (std::ranges::any_of(rasters,
                              [&](const Rectangle& b) { return touchesBehind(raster, b, axis); }))
        ++tile.vertices.end[axis];
  }
  return tiles;
}

/// Takes `overlap` for the side, unless that shares less with another neighbour: what is left to
/// the one must not be more than what is shared with the other.
void lower(std::uint64_t& side, std::int64_t overlap) {
  const auto vertices = static_cast<std::uint64_t>(overlap);
  side = side == 0 ? vertices : std::min(side, vertices);
}

/// Notes the overlap if `b` lies at the upper side of `a`.
void measureOverlap(Tile& a, Tile& b) {
  const Rectangle shared = intersection(a.vertices, b.vertices);
  if (shared.empty()) return;
  for (const std::size_t axis : {0U, 1U}) {
    if (shared.extent(axis) > shared.extent(1 - axis)) continue;  // side by side along the other
    if (a.vertices.first[axis] >= b.vertices.first[axis]) continue;
    if (a.vertices.end[axis] >= b.vertices.end[axis]) continue;
    lower(a.upperOverlap[axis], shared.extent(axis));
    lower(b.lowerOverlap[axis], shared.extent(axis));
  }
}

void measureOverlaps(std::vector<Tile>& tiles) {
  for (Tile& a : tiles)
    for (Tile& b : tiles)
      if (&a != &b) measureOverlap(a, b);
}

/// An overlap of one vertex leaves no cell to the neighbour.
void keepAllCells(Tile& tile) {
  for (const std::size_t axis : {0U, 1U}) {
    tile.lowerOverlap[axis] = std::min<std::uint64_t>(tile.lowerOverlap[axis], 1);
    tile.upperOverlap[axis] = std::min<std::uint64_t>(tile.upperOverlap[axis], 1);
  }
}

/// Lets tiles keep all their cells that would leave some of them to nobody. Own cells only become
/// more, so that a tile which was tested needs no other test.
void keepWhatNobodyTraces(std::vector<Tile>& tiles) {
  for (Tile& tile : tiles) {
    const Rectangle cells = cellsBetween(tile.vertices);
    std::vector<Rectangle> own;
    for (const Tile& other : tiles)
      if (const Rectangle part = intersection(other.ownCells(), cells); !part.empty())
        own.push_back(part);
    if (!isCovered(cells, own)) keepAllCells(tile);
  }
}

}  // namespace

Rectangle intersection(const Rectangle& a, const Rectangle& b) {
  Rectangle common;
  for (const std::size_t axis : {0U, 1U}) {
    common.first[axis] = std::max(a.first[axis], b.first[axis]);
    common.end[axis] = std::min(a.end[axis], b.end[axis]);
  }
  return common;
}

Rectangle Tile::ownCells() const {
  Rectangle own = cellsBetween(vertices);
  Quilt::MultiIndex<3> leftLow = lowerOverlap;
  Quilt::MultiIndex<3> leftHigh = upperOverlap;
  Recast::Contours::overlapsToCells(leftLow, leftHigh);
  for (const std::size_t axis : {0U, 1U}) {
    own.first[axis] += static_cast<std::int64_t>(leftLow[axis]);
    own.end[axis] -= static_cast<std::int64_t>(leftHigh[axis]);
  }
  return own;
}

TilePlan planTiles(const std::vector<Rectangle>& rasters) {
  TilePlan plan;
  plan.tiles = grown(rasters);
  measureOverlaps(plan.tiles);
  keepWhatNobodyTraces(plan.tiles);
  for (std::size_t b = 0; b < plan.tiles.size(); ++b)
    for (std::size_t a = 0; a < b; ++a)
      if (!intersection(plan.tiles[a].ownCells(), plan.tiles[b].ownCells()).empty())
        plan.doubled.emplace_back(a, b);
  return plan;
}

}  // namespace RecastHost
