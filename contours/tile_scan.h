#pragma once

#include "recast/contours/edge_net.h"

namespace Recast::Contours {

/// Finds the pieces of one level's lines in one tile and links them to those of the tiles before.
///
/// A level's tiles are scanned row by row upwards, from left to right in a row. So the lower and
/// the left edge of a cell were met before, if they belong to a cell of the fragment's own, and the
/// net knows their numbers: pieces that meet find each other without a search.
class TileScan {
 public:
  /// The arguments must outlive the scan.
  TileScan(const Plane<float>& values, const EdgeCrossings& crossings, const CellRange& own)
      : values_(values), crossings_(crossings), own_(own) {}

  /// \param filtered whether pieces may have to be dropped
  void run(const CellRange& tile, bool filtered, EdgeNet& net) const;

 private:
  const Plane<float>& values_;
  const EdgeCrossings& crossings_;
  const CellRange own_;
};

}  // namespace Recast::Contours
