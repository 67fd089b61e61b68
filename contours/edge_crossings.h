#pragma once

#include "recast/contours/contour_cases.h"
#include "recast/contours/contour_fragment.h"
#include "recast/contours/plane.h"

namespace Recast::Contours {

/// Where a level crosses an edge: in units of indices, and the height there.
struct Crossing {
  float alongI;
  float alongJ;
  float height;
};

/// An edge by the indices of its two vertices, the second one at the greater index.
struct EdgeEnds {
  Index i1, j1, i2, j2;
};

/// True if the edge runs along i.
constexpr bool runsAlongI(Edge edge) {
  return edge == 0 || edge == 2;
}

/// Edge `edge` of cell (i, j).
constexpr EdgeEnds edgeEnds(Index i, Index j, Edge edge) {
  const Index i1 = edge == 3 ? i + 1 : i;
  const Index j1 = edge == 2 ? j + 1 : j;
  return runsAlongI(edge) ? EdgeEnds{i1, j1, i1 + 1, j1} : EdgeEnds{i1, j1, i1, j1 + 1};
}

/// Where a level crosses the edges of a fragment. All interpolation is in single precision, in the
/// order written.
class EdgeCrossings {
 public:
  /// The planes must outlive the object.
  EdgeCrossings(const Plane<float>& heights, const Plane<float>& sliceValues, bool useSliceField)
      : heights_(heights), sliceValues_(sliceValues), useSliceField_(useSliceField) {}

  /// The crossing on edge `kEdge` of cell (i, j). Without meaning if the edge's vertices are on the
  /// same side of the level.
  template <Edge kEdge>
  Crossing calcRealHeight(Index i, Index j, float level) const {
    const EdgeEnds ends = edgeEnds(i, j, kEdge);
    const float value1 = sliceValues_.at(ends.i1, ends.j1);
    const float value2 = sliceValues_.at(ends.i2, ends.j2);
    Crossing crossing{static_cast<float>(ends.i1), static_cast<float>(ends.j1), level};
    (runsAlongI(kEdge) ? crossing.alongI : crossing.alongJ) +=
        1.0F / (value2 - value1) * (level - value1);
    if (useSliceField_) crossing.height = height(ends, value1, value2, level);
    return crossing;
  }

 private:
  float height(const EdgeEnds& ends, float value1, float value2, float level) const {
    const float height1 = heights_.at(ends.i1, ends.j1);
    const float height2 = heights_.at(ends.i2, ends.j2);
    const auto lifted = static_cast<float>(static_cast<double>(height1) + 0.001);
    return lifted + (height2 - height1) * (level - value1) / (value2 - value1);
  }

  const Plane<float>& heights_;
  const Plane<float>& sliceValues_;
  const bool useSliceField_;
};

}  // namespace Recast::Contours
