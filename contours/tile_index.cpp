#include "recast/contours/tile_index.h"

#include <algorithm>
#include <limits>

#include "recast/contours/cell_types.h"

namespace Recast::Contours {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr std::size_t kLanes = static_cast<std::size_t>(TileIndex::kSide);

/// Smallest and largest value, and whether a vertex is blocked, of each column of a band of vertex
/// rows. NaN is taken as the smallest value of all.
class ColumnRanges {
 public:
  explicit ColumnRanges(std::size_t columns)
      : columns_(columns), lowest_(columns), highest_(columns), blocked_(columns) {}

  void reset() {
    std::fill(lowest_.begin(), lowest_.end(), kInfinity);
    std::fill(highest_.begin(), highest_.end(), -kInfinity);
    std::fill(blocked_.begin(), blocked_.end(), static_cast<unsigned char>(0));
  }
  void addRow(const float* values, const unsigned char* types) {
    std::size_t k = 0;
    for (; k + kLanes <= columns_; k += kLanes) {
      addValues<kLanes>(values + k, &lowest_[k], &highest_[k]);
      addTypes<kLanes>(types + k, &blocked_[k]);
    }
    for (; k < columns_; ++k) {
      addValues<1>(values + k, &lowest_[k], &highest_[k]);
      addTypes<1>(types + k, &blocked_[k]);
    }
  }
  /// What `columns` columns from `first` on hold together.
  TileIndex::Tile tile(std::size_t first, std::size_t columns) const {
    TileIndex::Tile tile;
    tile.lowest = *std::min_element(&lowest_[first], &lowest_[first] + columns);
    tile.highest = *std::max_element(&highest_[first], &highest_[first] + columns);
    if (std::count(&blocked_[first], &blocked_[first] + columns, 0) != static_cast<Index>(columns))
      tile.doubts |= TileIndex::kBlockedVertex;
    if (tile.lowest == -kInfinity) tile.doubts |= TileIndex::kNotANumber;
    return tile;
  }

 private:
  // Fixed lengths, no aliases, no branches: so that the compiler uses vector instructions.
  template <std::size_t kCount>
  static void addValues(const float* __restrict values, float* __restrict lowest,
                        float* __restrict highest) {
    for (std::size_t k = 0; k < kCount; ++k) {
      const float low = values[k] == values[k] ? values[k] : -kInfinity;
      lowest[k] = low < lowest[k] ? low : lowest[k];
      highest[k] = values[k] > highest[k] ? values[k] : highest[k];
    }
  }
  template <std::size_t kCount>
  static void addTypes(const unsigned char* __restrict types, unsigned char* __restrict blocked) {
    for (std::size_t k = 0; k < kCount; ++k)
      blocked[k] = static_cast<unsigned char>(blocked[k] | (isBlockedCellType(types[k]) ? 1 : 0));
  }

  std::size_t columns_;
  std::vector<float> lowest_;
  std::vector<float> highest_;
  std::vector<unsigned char> blocked_;
};

}  // namespace

TileIndex::TileIndex(const Plane<float>& values, const Plane<unsigned char>& types,
                     const CellRange& cells)
    : cells_(cells),
      columns_((cells.width() + kSide - 1) / kSide),
      rows_((cells.height() + kSide - 1) / kSide) {
  tiles_.reserve(static_cast<std::size_t>(columns_ * rows_));
  ColumnRanges ranges(static_cast<std::size_t>(cells.width() + 1));
  for (Index row = 0; row < rows_; ++row) {
    const CellRange band = cellsOf(0, row);
    ranges.reset();
    for (Index j = band.firstJ; j <= band.endJ; ++j)
      ranges.addRow(values.row(j) + cells.firstI, types.row(j) + cells.firstI);
    for (Index column = 0; column < columns_; ++column)
      tiles_.push_back(ranges.tile(static_cast<std::size_t>(column * kSide),
                                   static_cast<std::size_t>(cellsOf(column, row).width() + 1)));
  }
}

CellRange TileIndex::cellsOf(Index column, Index row) const {
  const Index firstI = cells_.firstI + column * kSide;
  const Index firstJ = cells_.firstJ + row * kSide;
  return {firstI, std::min(firstI + kSide, cells_.endI), firstJ,
          std::min(firstJ + kSide, cells_.endJ)};
}

}  // namespace Recast::Contours
