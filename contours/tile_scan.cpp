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

}  // namespace

void TileScan::run(const CellRange& tile, bool filtered, EdgeNet& net) const {
  net.reserve(static_cast<std::size_t>(2 * (tile.width() + 1) * (tile.height() + 1)));
  const TileMasks masks(values_, tile, net.level);
  // By words of four rows, since each end of the inner loop costs a mispredicted branch.
  for (unsigned int first = 0; first < masks.height(); first += TileMasks::kRowsPerWord)
    for (std::uint64_t left = masks.activeCells(first); left != 0; left &= left - 1) {
      const auto bit = static_cast<unsigned int>(std::countr_zero(left));
      const unsigned int row = first + bit / 16;
      const unsigned int column = bit % 16;
      addCell(tile.firstI + column, tile.firstJ + row, row, masks.caseAt(column, row), filtered,
              net);
    }
}

template <Edge kEdge>
EdgeNet::Number TileScan::addEdge(Index i, Index j, Case cellCase, EdgeNet& net) const {
  return net.addIf(crossesEdge(cellCase, kEdge), crossings_.calcRealHeight<kEdge>(i, j, net.level));
}

inline void TileScan::addCell(Index i, Index j, std::size_t tileRow, Case cellCase, bool filtered,
                              EdgeNet& net) const {
  ++net.activeCells;
  EdgeNet::Number& below = net.below[static_cast<std::size_t>(i - own_.firstI)];
  EdgeNet::Number& left = net.left[tileRow];
  if (j == own_.firstJ) below = addEdge<0>(i, j, cellCase, net);
  if (i == own_.firstI) left = addEdge<1>(i, j, cellCase, net);
  const EdgeNet::Number top = addEdge<2>(i, j, cellCase, net);
  const EdgeNet::Number right = addEdge<3>(i, j, cellCase, net);
  const EdgeNet::Number edges[] = {below, left, top, right};
  below = top;
  left = right;
  for (const std::size_t which : {0U, 1U}) {
    const Piece& piece = contourCases[cellCase][which];
    if (!piece.present()) break;
    if (filtered && !filter_.allows(i, j, cellCase, which, net.gaps)) continue;
    net.link(edges[piece.entry], edges[piece.exit]);
  }
}

}  // namespace Recast::Contours
