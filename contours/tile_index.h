#pragma once

#include <vector>

#include "recast/contours/own_cells.h"
#include "recast/contours/plane.h"

namespace Recast::Contours {

/// What a fragment's own cells hold, by tiles of 16 x 16 cells: which levels pass through a tile,
/// and whether its pieces need a closer look. Made once per fragment, so that a level reads only
/// the tiles that it passes.
class TileIndex {
 public:
  static constexpr Index kSide = 16;
  /// Why pieces of a tile may have to be dropped.
  enum Doubt : unsigned char { kNoDoubt = 0, kBlockedVertex = 1, kNotANumber = 2 };

  struct Tile {
    float lowest = 0.0F;   ///< -infinity where there is a NaN: it counts as not above any level
    float highest = 0.0F;  ///< NaN left out
    unsigned char doubts = kNoDoubt;

    /// True if the tile holds a vertex above the level and one that isn't.
    bool touches(float level) const { return lowest <= level && highest > level; }
  };

  /// Reads each vertex of `cells` about once. \throw std::bad_alloc
  TileIndex(const Plane<float>& values, const Plane<unsigned char>& types, const CellRange& cells);

  const CellRange& cells() const { return cells_; }
  Index columns() const { return columns_; }
  Index rows() const { return rows_; }
  const Tile& tile(Index column, Index row) const {
    return tiles_[static_cast<std::size_t>(row * columns_ + column)];
  }
  /// The cells of a tile; fewer than 16 at the upper borders.
  CellRange cellsOf(Index column, Index row) const;

 private:
  CellRange cells_;
  Index columns_;
  Index rows_;
  std::vector<Tile> tiles_;
};

}  // namespace Recast::Contours
