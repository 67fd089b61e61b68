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
/// once for all levels of the group that pass it. Groups are scanned in several threads, if wanted,
/// and stitched one after the other in their order, so that the output is that of one thread.
///
/// Beside the output it takes about as much memory as the fragment's arrays, or what one level
/// needs if that is more: 12 bytes, or 16 with `useSliceField`, for each edge that it crosses.
class LevelSweep {
 public:
  /// \param own the cells to trace, at least one. \param threads at least 1.
  /// \throw std::bad_alloc
  LevelSweep(const FragmentPlanes& planes, const ContourFragment& fragment, const CellRange& own,
             std::size_t threads);

  /// See `FragmentTracer::trace`.
  std::size_t run(std::span<const float> levels, ContourOutput& output);

 private:
  using Nets = std::vector<EdgeNet>;  // one per level of a group

  /// About how many edges become vertices, rather too many than too few.
  struct Expected {
    std::size_t ofAll = 0;
    std::size_t most = 0;  // of one level
  };
  /// How the levels of a run are dealt out.
  struct Share {
    std::size_t threads;
    std::size_t levelsAtOnce;  // in each thread
  };
  Expected expectedVertices(std::span<const float> levels);
  Share shareFor(std::size_t levels, const Expected& expected) const;
  void reset(EdgeNet& net, float level) const {
    net.reset(level, index_.cells().width(), crossings_.useSliceField());
  }
  void scan(std::span<EdgeNet> nets) const;
  void scanTile(Index column, Index row, std::span<EdgeNet> nets) const;
  std::size_t stitch(std::span<EdgeNet> nets, GapReport& gaps, ContourOutput& output) const;

  const FragmentPlanes planes_;
  const Heron::PhysicalSpace::point origin_;
  const Heron::PhysicalSpace::vector spacing_;
  const TileIndex index_;
  const EdgeCrossings crossings_;
  const TileScan scan_;
  const std::size_t bytesOfArrays_;
  const std::size_t threads_;
};

}  // namespace Recast::Contours
