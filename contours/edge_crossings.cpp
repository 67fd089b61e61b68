#include "recast/contours/edge_crossings.h"

#include "recast/contours/cell_types.h"
#include "recast/contours/tile_index.h"

namespace Recast::Contours {

bool EdgeCrossings::mayRefuse(unsigned char doubts) const {
  if (onlyBorderLine_) return true;
  return (doubts & TileIndex::kBlockedVertex) != 0 ||
         (useSliceField_ && (doubts & TileIndex::kNotANumber) != 0);
}

bool EdgeCrossings::calcRealHeight(const EdgePlace& edge, float level, Crossing& crossing) const {
  if (!typesAllow(edge) || (useSliceField_ && !hasValues(edge))) return false;
  crossing = crossingOn(edge, level);
  return true;
}

bool EdgeCrossings::typesAllow(const EdgePlace& edge) const {
  const bool blocked1 = isBlockedCellType(at(cellTypes_, edge, 0));
  const bool blocked2 = isBlockedCellType(at(cellTypes_, edge, 1));
  return onlyBorderLine_ ? blocked1 != blocked2 : !blocked1 && !blocked2;
}

bool EdgeCrossings::hasValues(const EdgePlace& edge) const {
  const float value1 = value(edge, 0);
  const float value2 = value(edge, 1);
  return value2 < value1 || value2 > value1;
}

}  // namespace Recast::Contours
