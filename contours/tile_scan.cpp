#include "recast/contours/tile_scan.h"

#include <algorithm>
#include <array>
#include <bit>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Recast::Contours {
namespace {

static_assert(TileIndex::kSide == 16, "the masks are made for 16 cells, 17 vertices");

// One bit per vertex or cell of a tile's row.
using Mask = std::uint32_t;

/// Edges of a tile's cells.
constexpr std::size_t kMostEdges = 2 * TileIndex::kSide * (TileIndex::kSide + 1);

/// Bit k says whether `values[k]` is above the level, for 16 values.
inline Mask sixteenAbove(const float* values, float level) {
#ifdef __SSE2__
  const __m128 limit = _mm_set1_ps(level);
  const auto above = [&](int first) {
    return _mm_castps_si128(_mm_cmplt_ps(limit, _mm_loadu_ps(values + first)));
  };
  const __m128i lower = _mm_packs_epi32(above(0), above(4));
  const __m128i upper = _mm_packs_epi32(above(8), above(12));
  return static_cast<Mask>(_mm_movemask_epi8(_mm_packs_epi16(lower, upper)));
#else
  Mask mask = 0;
  for (unsigned int k = 0; k < 16; ++k) mask |= (values[k] > level ? 1U : 0U) << k;
  return mask;
#endif
}

/// The same for the vertices of `width` cells, at most 16.
inline Mask aboveMask(const float* values, Index width, float level) {
  if (width == 16) return sixteenAbove(values, level) | (values[16] > level ? 1U << 16 : 0U);
  Mask mask = 0;
  for (Index k = 0; k <= width; ++k) mask |= (values[k] > level ? 1U : 0U) << k;
  return mask;
}

/// A tile at one level: which vertices are above it, and which cells it passes.
class TileMasks {
 public:
  static constexpr unsigned int kRowsPerWord = 4;

  TileMasks(const Plane<float>& values, const CellRange& tile, float level)
      : width_(tile.width()), height_(static_cast<unsigned int>(tile.height())) {
    for (unsigned int row = 0; row <= height_; ++row)
      above_[row] = aboveMask(values.row(tile.firstJ + row) + tile.firstI, width_, level);
  }

  unsigned int height() const { return height_; }
  /// The cells whose four corners are not all on the same side, for four rows at once.
  std::uint64_t activeCells(unsigned int firstRow) const {
    std::uint64_t word = 0;
    const unsigned int rows = std::min(kRowsPerWord, height_ - firstRow);
    for (unsigned int row = 0; row < rows; ++row)
      word |= std::uint64_t{activeRow(firstRow + row)} << (16 * row);
    return word;
  }
  Case caseAt(unsigned int column, unsigned int row) const {
    const Mask lower = above_[row] >> column;
    const Mask upper = above_[row + 1] >> column;
    return static_cast<Case>((lower & 1U) | (upper & 1U) << 1 | (lower & 2U) << 1 |
                             (upper & 2U) << 2);
  }

 private:
  Mask activeRow(unsigned int row) const {
    const Mask lower = above_[row];
    const Mask upper = above_[row + 1];
    return ((lower ^ lower >> 1) | (upper ^ upper >> 1) | (lower ^ upper)) & ((1U << width_) - 1U);
  }

  Index width_;
  unsigned int height_;
  std::array<Mask, TileIndex::kSide + 1> above_;
};

/// The edges that a scan of a tile adds to a net, as places in the tile.
class AddedEdges {
 public:
  /// Notes an edge if `wanted`, as `EdgeNet::addIf` does.
  void addIf(bool wanted, unsigned int column, unsigned int row, bool alongJ) {
    places_[size_] =
        static_cast<std::uint16_t>(column | row << kRowShift | (alongJ ? kAlongJ : 0U));
    size_ += wanted ? 1 : 0;
  }
  std::size_t size() const { return size_; }
  EdgePlace at(std::size_t number, const CellRange& tile) const {
    const unsigned int place = places_[number];
    return {tile.firstI + (place & kIndexMask), tile.firstJ + (place >> kRowShift & kIndexMask),
            (place & kAlongJ) != 0};
  }

 private:
  static constexpr unsigned int kIndexMask = 31;
  static constexpr unsigned int kRowShift = 5;
  static constexpr unsigned int kAlongJ = 1U << 10;

  std::size_t size_ = 0;
  std::array<std::uint16_t, kMostEdges + 1> places_;  // one more, for what is not wanted
};

/// Calls `visit(column, row, case)` for the cells that the level passes. By words of four rows,
/// since each end of the inner loop costs a mispredicted branch.
template <class Visit>
void forEachActiveCell(const TileMasks& masks, Visit visit) {
  for (unsigned int first = 0; first < masks.height(); first += TileMasks::kRowsPerWord)
    for (std::uint64_t left = masks.activeCells(first); left != 0; left &= left - 1) {
      const auto bit = static_cast<unsigned int>(std::countr_zero(left));
      const unsigned int row = first + bit / 16;
      const unsigned int column = bit % 16;
      visit(column, row, masks.caseAt(column, row));
    }
}

/// Scans one tile for one level.
class CellScan {
 public:
  CellScan(const CellRange& tile, const CellRange& own, const EdgeCrossings& crossings,
           EdgeNet& net)
      : tile_(tile),
        crossings_(crossings),
        net_(net),
        firstColumn_(static_cast<std::size_t>(tile.firstI - own.firstI)),
        firstEdge_(net.size()) {}

  /// All pieces of the cell are there. Their crossings are computed at the end, by `placeEdges`.
  void addCell(unsigned int column, unsigned int row, Case cellCase) {
    ++net_.activeCells;
    EdgeNet::Number& below = net_.below[firstColumn_ + column];
    EdgeNet::Number& left = net_.left[row];
    // Most edges below and to the left belong to cells that were scanned before.
    if (crossesEdge(cellCase, 0) & (below == EdgeNet::kNone))
      below = addEdge(true, column, row, false);
    if (crossesEdge(cellCase, 1) & (left == EdgeNet::kNone))
      left = addEdge(true, column, row, true);
    const EdgeNet::Number top = addEdge(crossesEdge(cellCase, 2), column, row + 1, false);
    const EdgeNet::Number right = addEdge(crossesEdge(cellCase, 3), column + 1, row, true);
    const EdgeNet::Number edges[] = {below, left, top, right};
    below = top;
    left = right;
    for (const Piece& piece : contourCases[cellCase]) {
      if (!piece.present()) break;
      net_.link(edges[piece.entry], edges[piece.exit]);
    }
  }
  void placeEdges() const {
    for (std::size_t k = 0; k < added_.size(); ++k)
      net_.place(firstEdge_ + k, crossings_.crossingOn(added_.at(k, tile_), net_.level));
  }

  /// Takes the pieces of the cell whose two edges yield a crossing.
  void addFilteredCell(unsigned int column, unsigned int row, Case cellCase) {
    ++net_.activeCells;
    EdgeNet::Number& below = net_.below[firstColumn_ + column];
    EdgeNet::Number& left = net_.left[row];
    EdgeNet::Number edges[] = {below, left, EdgeNet::kNone, EdgeNet::kNone};
    const Index i = tile_.firstI + column;
    const Index j = tile_.firstJ + row;
    for (const std::size_t which : {0U, 1U}) {
      const Piece& piece = contourCases[cellCase][which];
      if (!piece.present()) break;
      Crossing entry;
      Crossing exit;
      if (!yields(i, j, piece.entry, which, entry) || !yields(i, j, piece.exit, which, exit))
        continue;
      net_.link(numberOf(edges[piece.entry], entry), numberOf(edges[piece.exit], exit));
    }
    below = edges[2];
    left = edges[3];
  }

 private:
  EdgeNet::Number addEdge(bool wanted, unsigned int column, unsigned int row, bool alongJ) {
    added_.addIf(wanted, column, row, alongJ);
    return net_.addIf(wanted);
  }
  /// The edge's number, which it gets now if no other cell's piece has ended there.
  EdgeNet::Number numberOf(EdgeNet::Number& known, const Crossing& crossing) {
    if (known == EdgeNet::kNone) {
      known = net_.addIf(true);
      net_.place(known, crossing);
    }
    return known;
  }
  bool yields(Index i, Index j, Edge edge, std::size_t which, Crossing& crossing) {
    const EdgePlace place = edgePlace(i, j, edge);
    if (crossings_.calcRealHeight(place, net_.level, crossing)) return true;
    if (crossings_.lacksValue(place))
      net_.gaps.push_back(
          {which > 0, i, j, crossings_.value(place, 0), crossings_.value(place, 1)});
    return false;
  }

  const CellRange& tile_;
  const EdgeCrossings& crossings_;
  EdgeNet& net_;
  const std::size_t firstColumn_;
  const std::size_t firstEdge_;
  AddedEdges added_;
};

}  // namespace

void TileScan::run(const CellRange& tile, bool filtered, EdgeNet& net) const {
  net.reserve(kMostEdges + 1);
  if (tile.firstI == own_.firstI) net.left.fill(EdgeNet::kNone);
  const TileMasks masks(values_, tile, net.level);
  CellScan scan(tile, own_, crossings_, net);
  if (filtered) {
    forEachActiveCell(masks, [&scan](unsigned int column, unsigned int row, Case cellCase) {
      scan.addFilteredCell(column, row, cellCase);
    });
    return;
  }
  forEachActiveCell(masks, [&scan](unsigned int column, unsigned int row, Case cellCase) {
    scan.addCell(column, row, cellCase);
  });
  scan.placeEdges();
}

}  // namespace Recast::Contours
