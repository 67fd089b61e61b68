#include "recast/contours/piece_filter.h"

#include <algorithm>
#include <tuple>

#include "recast/contours/cell_types.h"
#include "recast/contours/tile_index.h"
#include "recast/larder/console.h"

namespace Recast::Contours {

bool PieceFilter::concerns(unsigned char doubts) const {
  if (onlyBorderLine_) return true;
  return (doubts & TileIndex::kBlockedVertex) != 0 ||
         (useSliceField_ && (doubts & TileIndex::kNotANumber) != 0);
}

bool PieceFilter::allows(Index i, Index j, Case cellCase, std::size_t which,
                         std::vector<Gap>& gaps) const {
  const Piece& piece = contourCases[cellCase][which];
  for (const Edge edge : {piece.entry, piece.exit}) {
    const EdgeEnds ends = edgeEnds(i, j, edge);
    if (!typesAllow(ends)) return false;
    if (!useSliceField_) continue;
    const float value1 = values_.at(ends.i1, ends.j1);
    const float value2 = values_.at(ends.i2, ends.j2);
    if (value2 < value1 || value2 > value1) continue;
    gaps.push_back({which > 0, i, j, value1, value2});
    return false;
  }
  return true;
}

bool PieceFilter::typesAllow(const EdgeEnds& edge) const {
  const bool blocked1 = isBlockedCellType(types_.at(edge.i1, edge.j1));
  const bool blocked2 = isBlockedCellType(types_.at(edge.i2, edge.j2));
  return onlyBorderLine_ ? blocked1 != blocked2 : !blocked1 && !blocked2;
}

void reportGaps(std::vector<Gap>& gaps) {
  std::sort(gaps.begin(), gaps.end(), [](const Gap& a, const Gap& b) {
    return std::tie(a.onSecondPiece, a.j, a.i) < std::tie(b.onSecondPiece, b.j, b.i);
  });
  for (const Gap& gap : gaps)
    Larder::Console() << "Contour: Division by zero in calcRealHeight: " << gap.value2 << " "
                      << gap.value1 << " returning";
}

}  // namespace Recast::Contours
