#include "recast/contours/own_cells.h"

#include <algorithm>

namespace Recast::Contours {
namespace {

struct Span {
  Index first;
  Index end;
};

Span ownSpan(std::uint64_t cells, std::uint64_t leftLow, std::uint64_t leftHigh) {
  const std::uint64_t end = cells - std::min(cells, leftHigh);
  return {static_cast<Index>(std::min(leftLow, end)), static_cast<Index>(end)};
}

}  // namespace

void overlapsToCells(Quilt::MultiIndex<3>& lowerOverlap, Quilt::MultiIndex<3>& upperOverlap) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    lowerOverlap[axis] /= 2;
    if (upperOverlap[axis] > 0) --upperOverlap[axis];  // the vertex that neighbours share anyway
    upperOverlap[axis] /= 2;
  }
}

CellRange ownCells(const Quilt::MultiIndex<3>& extent, Quilt::MultiIndex<3> lowerOverlap,
                   Quilt::MultiIndex<3> upperOverlap) {
  overlapsToCells(lowerOverlap, upperOverlap);
  // A layer of cells is as thick as one of vertices.
  const Span layers = ownSpan(extent[2], lowerOverlap[2], upperOverlap[2]);
  if (layers.first > 0 || layers.end == 0) return {};
  const Span columns = ownSpan(extent[0] - 1, lowerOverlap[0], upperOverlap[0]);
  const Span rows = ownSpan(extent[1] - 1, lowerOverlap[1], upperOverlap[1]);
  return {columns.first, columns.end, rows.first, rows.end};
}

}  // namespace Recast::Contours
