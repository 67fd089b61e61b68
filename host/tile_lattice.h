#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "recast/meadow/multi_index.h"

namespace RecastHost {

/// A rectangle of a lattice's vertices, or cells; the ends are not part of it.
struct Rectangle {
  std::array<std::int64_t, 2> first{};
  std::array<std::int64_t, 2> end{};

  std::int64_t extent(std::size_t axis) const { return end[axis] - first[axis]; }
  bool empty() const { return extent(0) <= 0 || extent(1) <= 0; }
  bool holds(std::int64_t x, std::int64_t y) const {
    return x >= first[0] && x < end[0] && y >= first[1] && y < end[1];
  }
};

/// What two rectangles have in common; may be empty.
Rectangle intersection(const Rectangle& a, const Rectangle& b);

/// One raster as a fragment of the grid.
struct Tile {
  /// The vertices of the fragment: those of the raster and, where others touch it at its upper
  /// sides, one more column or row of them, so that the cells in between are somebody's.
  Rectangle vertices;
  /// Vertices shared with the neighbours at the lower and the upper side, per axis.
  Quilt::MultiIndex<3> lowerOverlap;
  Quilt::MultiIndex<3> upperOverlap;

  /// The cells that the fragment does not leave to its neighbours.
  Rectangle ownCells() const;
};

struct TilePlan {
  std::vector<Tile> tiles;
  /// Pairs of tiles that trace some cells both.
  std::vector<std::pair<std::size_t, std::size_t>> doubled;
};

/// Says how rasters on a common lattice become fragments whose own cells hold all cells between
/// their vertices. Where tiles form a regular arrangement each cell is the own of one fragment;
/// else some are the own of several, but none of nobody. \param rasters none empty. Takes a time of
/// the square of their number.
TilePlan planTiles(const std::vector<Rectangle>& rasters);

}  // namespace RecastHost
