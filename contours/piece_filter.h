#pragma once

#include <vector>

#include "recast/contours/edge_crossings.h"

namespace Recast::Contours {

/// An edge on which no height can be interpolated, since one of its values is missing.
struct Gap {
  bool onSecondPiece;  ///< of the cell's case
  Index i;             ///< the cell
  Index j;
  float value1;
  float value2;
};

/// Says which pieces of lines the cell types and missing values allow. A piece needs a crossing on
/// both of its edges. An edge gives one between two open vertices or, where only border lines are
/// wanted, between a blocked and an open one; and, if heights are interpolated, only between
/// numbers.
class PieceFilter {
 public:
  /// The planes must outlive the filter.
  PieceFilter(const Plane<float>& values, const Plane<unsigned char>& types, bool onlyBorderLine,
              bool useSliceField)
      : values_(values),
        types_(types),
        onlyBorderLine_(onlyBorderLine),
        useSliceField_(useSliceField) {}

  /// False if all pieces of a tile with these doubts are allowed.
  bool concerns(unsigned char doubts) const;
  /// Tests piece `which` of cell (i, j); an edge that can't be interpolated is added to `gaps`.
  bool allows(Index i, Index j, Case cellCase, std::size_t which, std::vector<Gap>& gaps) const;

 private:
  bool typesAllow(const EdgeEnds& edge) const;

  const Plane<float>& values_;
  const Plane<unsigned char>& types_;
  const bool onlyBorderLine_;
  const bool useSliceField_;
};

/// Tells the console of each gap, in the order in which the cells are scanned: first pieces, then
/// second ones, i fastest.
void reportGaps(std::vector<Gap>& gaps);

}  // namespace Recast::Contours
