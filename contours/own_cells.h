#pragma once

#include "recast/contours/plane.h"
#include "recast/meadow/multi_index.h"

namespace Recast::Contours {

/// A rectangle of cells; the ends are not part of it.
struct CellRange {
  Index firstI = 0;
  Index endI = 0;
  Index firstJ = 0;
  Index endJ = 0;

  Index width() const { return endI - firstI; }
  Index height() const { return endJ - firstJ; }
  bool empty() const { return width() <= 0 || height() <= 0; }
};

/// Turns the vertices by which a fragment overlaps its neighbours, per axis, into the cells that it
/// leaves to them: at both sides together one cell less than vertices are shared.
void overlapsToCells(Quilt::MultiIndex<3>& lowerOverlap, Quilt::MultiIndex<3>& upperOverlap);

/// The cells in the first layer of a fragment that are its own to trace; empty if its neighbours
/// have them all. \param extent of the fragment, in vertices; at least 1 along x and y.
CellRange ownCells(const Quilt::MultiIndex<3>& extent, Quilt::MultiIndex<3> lowerOverlap,
                   Quilt::MultiIndex<3> upperOverlap);

}  // namespace Recast::Contours
