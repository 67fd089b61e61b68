#pragma once

#include <bit>

#include "recast/contours/contour_cases.h"
#include "recast/contours/plane.h"

namespace Recast::Contours {

/// Where a level crosses an edge: in units of indices, and the height there.
struct Crossing {
  float alongI;
  float alongJ;
  float height;
};

/// An edge by the indices of its first vertex; the second one is the next along i or j.
struct EdgePlace {
  Index i;
  Index j;
  bool alongJ;
};

/// Edge `edge` of cell (i, j).
constexpr EdgePlace edgePlace(Index i, Index j, Edge edge) {
  return {edge == 3 ? i + 1 : i, edge == 2 ? j + 1 : j, edge == 1 || edge == 3};
}

/// Where a level crosses the edges of a fragment, and which of the edges yield a crossing. All
/// interpolation is in single precision, in the order written.
///
/// An edge yields a crossing between two open vertices or, where only border lines are wanted,
/// between a blocked and an open one; and, if heights are interpolated, only between numbers.
class EdgeCrossings {
 public:
  /// The planes must outlive the object.
  EdgeCrossings(const Plane<float>& heights, const Plane<float>& sliceValues,
                const Plane<unsigned char>& cellTypes, bool onlyBorderLine, bool useSliceField)
      : heights_(heights),
        sliceValues_(sliceValues),
        cellTypes_(cellTypes),
        onlyBorderLine_(onlyBorderLine),
        useSliceField_(useSliceField) {}

  /// Whether heights are interpolated; if not, the height of each crossing is its level.
  bool useSliceField() const { return useSliceField_; }
  /// False if all edges in a tile with these doubts yield a crossing where a level crosses them.
  bool mayRefuse(unsigned char doubts) const;

  /// Computes the crossing on an edge that the level crosses. \return true when the edge yields one
  bool calcRealHeight(const EdgePlace& edge, float level, Crossing& crossing) const;
  /// Whether the edge yields no crossing for want of a value alone.
  bool lacksValue(const EdgePlace& edge) const {
    return useSliceField_ && typesAllow(edge) && !hasValues(edge);
  }
  /// The crossing on an edge that the level crosses and that yields one.
  Crossing crossingOn(const EdgePlace& edge, float level) const {
    const float value1 = value(edge, 0);
    const float value2 = value(edge, 1);
    const float share = 1.0F / (value2 - value1) * (level - value1);
    // Adding 0 to the other index costs less than a branch that can't be foreseen.
    Crossing crossing{static_cast<float>(edge.i) + keptIf(!edge.alongJ, share),
                      static_cast<float>(edge.j) + keptIf(edge.alongJ, share), level};
    if (useSliceField_) crossing.height = heightOn(edge, value1, value2, level);
    return crossing;
  }
  /// The value at the edge's first vertex (`end` 0) or second one (1).
  float value(const EdgePlace& edge, Index end) const { return at(sliceValues_, edge, end); }

 private:
  static float keptIf(bool kept, float number) {
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(number) & (kept ? ~0U : 0U));
  }
  template <class T>
  static T at(const Plane<T>& plane, const EdgePlace& edge, Index end) {
    return plane.row(edge.j)[edge.i + end * (edge.alongJ ? plane.columns() : 1)];
  }
  bool typesAllow(const EdgePlace& edge) const;
  bool hasValues(const EdgePlace& edge) const;
  float heightOn(const EdgePlace& edge, float value1, float value2, float level) const {
    const float height1 = at(heights_, edge, 0);
    const float height2 = at(heights_, edge, 1);
    const auto lifted = static_cast<float>(static_cast<double>(height1) + 0.001);
    return lifted + (height2 - height1) * (level - value1) / (value2 - value1);
  }

  const Plane<float>& heights_;
  const Plane<float>& sliceValues_;
  const Plane<unsigned char>& cellTypes_;
  const bool onlyBorderLine_;
  const bool useSliceField_;
};

}  // namespace Recast::Contours
