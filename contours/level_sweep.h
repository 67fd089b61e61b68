#pragma once

#include <span>
#include <vector>

#include "recast/contours/contour_fragment.h"
#include "recast/contours/contour_output.h"
#include "recast/contours/tile_scan.h"

namespace Recast::Contours {

/// The first layers of a fragment's arrays; heights and cell types cover the slice values.
struct FragmentPlanes {
  Plane<float> heights;
  Plane<float> sliceValues;
  Plane<unsigned char> cellTypes;
};

/// Takes levels through the tiles of a fragment, a group of them together, so that a tile is read
/// once for all levels of the group that pass it. Groups are scanned in several threads and
/// stitched one after the other in their order, so that the output is that of one thread.
class LevelSweep {
 public:
  /// \param own the cells to trace, at least one. \throw std::bad_alloc
  LevelSweep(const FragmentPlanes& planes, const ContourFragment& fragment, const CellRange& own);

  /// See `FragmentTracer::trace`.
  std::size_t run(std::span<const float> levels, ContourOutput& output);

 private:
  using Nets = std::vector<EdgeNet>;  // one per level of a group

  /// About how many edges levels cross, rather too many than too few.
  struct Expected {
    std::size_t ofAll;
    std::size_t most;  // of one level
  };
  Expected expectedVertices(std::span<const float> levels);
  std::size_t threadsFor(std::size_t groups) const;
  void scan(std::span<EdgeNet> nets) const;
  void scanTile(Index column, Index row, std::span<EdgeNet> nets) const;
  std::size_t stitch(std::span<EdgeNet> nets, ContourOutput& output) const;

  const FragmentPlanes planes_;
  const Heron::PhysicalSpace::point origin_;
  const Heron::PhysicalSpace::vector spacing_;
  const TileIndex index_;
  const EdgeCrossings crossings_;
  const PieceFilter filter_;
  const TileScan scan_;
  const std::size_t levelsAtOnce_;
  std::vector<Nets> nets_;  // of each thread, kept for their memory
};

}  // namespace Recast::Contours
