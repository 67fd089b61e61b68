#include "recast/contours/fragment_tracer.h"

#include <algorithm>
#include <new>

#include "recast/contours/line_stitcher.h"
#include "recast/contours/tile_scan.h"
#include "recast/larder/console.h"

namespace Recast {
namespace {

using namespace Contours;

struct Planes {
  Plane<float> heights;
  Plane<float> sliceValues;
  Plane<unsigned char> cellTypes;
};

template <class T>
bool covers(const Plane<T>& plane, const Plane<float>& values) {
  return plane.columns() >= values.columns() && plane.rows() >= values.rows();
}

/// The first layers of the fragment's arrays; nothing, and a message, if they don't fit together.
std::optional<Planes> planesOf(const ContourFragment& fragment) {
  const auto heights = Plane<float>::ofFirstLayer(fragment.heights);
  const auto sliceValues = Plane<float>::ofFirstLayer(fragment.sliceValues);
  const auto cellTypes = Plane<unsigned char>::ofFirstLayer(fragment.cellTypes);
  if (!heights || !sliceValues || !cellTypes) {
    const char* missing = !heights ? "heights" : !sliceValues ? "slice values" : "cell types";
    Larder::Console() << "Contour: the " << missing << " of a fragment are missing";
    return std::nullopt;
  }
  if (!covers(*heights, *sliceValues) || !covers(*cellTypes, *sliceValues)) {
    Larder::Console() << "Contour: heights " << to_string(fragment.heights->dims)
                      << " or cell types " << to_string(fragment.cellTypes->dims)
                      << " don't cover the slice values " << to_string(fragment.sliceValues->dims);
    return std::nullopt;
  }
  return Planes{*heights, *sliceValues, *cellTypes};
}

}  // namespace

/// Takes a group of levels through the tiles of a fragment.
class FragmentTracer::Sweep {
 public:
  Sweep(const Planes& planes, const ContourFragment& fragment, const CellRange& own)
      : fragment_(fragment),
        planes_(planes),
        index_(planes_.sliceValues, planes_.cellTypes, own),
        crossings_(planes_.heights, planes_.sliceValues, fragment.useSliceField),
        filter_(planes_.sliceValues, planes_.cellTypes, fragment.onlyBorderLine,
                fragment.useSliceField),
        scan_(planes_.sliceValues, crossings_, filter_, own),
        nets_(netsFor(own.width())) {}

  std::size_t groupSize() const { return nets_.size(); }

  /// \param levels at most `groupSize`
  std::size_t run(std::span<const float> levels, ContourOutput& output) {
    const auto nets = std::span(nets_).first(levels.size());
    for (std::size_t k = 0; k < levels.size(); ++k)
      nets[k].reset(levels[k], index_.cells().width());
    for (Index row = 0; row < index_.rows(); ++row)
      for (Index column = 0; column < index_.columns(); ++column) scanTile(column, row, nets);
    std::size_t stitched = 0;
    for (EdgeNet& net : nets) stitched += stitch(net, output);
    return stitched;
  }

 private:
  /// Nets for many levels at once, but for few where their rows are so long that they would take
  /// more memory than the fragment.
  static std::size_t netsFor(Index columns) {
    constexpr Index kLevelsAtOnce = 8;
    constexpr Index kColumnsOfAll = Index{1} << 22;
    return static_cast<std::size_t>(std::clamp<Index>(kColumnsOfAll / columns, 1, kLevelsAtOnce));
  }

  void scanTile(Index column, Index row, std::span<EdgeNet> nets) const {
    const TileIndex::Tile& tile = index_.tile(column, row);
    for (EdgeNet& net : nets)
      if (tile.touches(net.level))
        scan_.run(index_.cellsOf(column, row), filter_.concerns(tile.doubts), net);
  }

  std::size_t stitch(EdgeNet& net, ContourOutput& output) const {
    if (net.activeCells < 2) return 0;
    reportGaps(net.gaps);
    stitchLines(net, fragment_, output);
    return 1;
  }

  const ContourFragment fragment_;
  const Planes planes_;
  const TileIndex index_;
  const EdgeCrossings crossings_;
  const PieceFilter filter_;
  const TileScan scan_;
  std::vector<EdgeNet> nets_;  // kept from group to group for their memory
};

FragmentTracer::FragmentTracer(const ContourFragment& fragment) {
  const std::optional<Planes> planes = planesOf(fragment);
  if (!planes) return;
  const Quilt::MultiIndex<3>& extent = fragment.sliceValues->dims;
  if (extent[2] > 1)
    Larder::Console() << "Contour: only the first layer of a fragment of " << to_string(extent)
                      << " vertices is traced";
  try {
    if (extent[0] == 0 || extent[1] == 0) throw std::bad_alloc();
    const CellRange own = ownCells(extent, fragment.lowerOverlap, fragment.upperOverlap);
    if (!own.empty()) sweep_ = std::make_unique<Sweep>(*planes, fragment, own);
  } catch (const std::bad_alloc&) {
    Larder::Console() << "Can not create condition mem";
  }
}

FragmentTracer::~FragmentTracer() = default;

std::size_t FragmentTracer::trace(std::span<const float> levels, ContourOutput& output) {
  std::size_t stitched = 0;
  while (sweep_ && !levels.empty()) {
    const auto group = levels.first(std::min(levels.size(), sweep_->groupSize()));
    stitched += sweep_->run(group, output);
    levels = levels.subspan(group.size());
  }
  return stitched;
}

}  // namespace Recast
