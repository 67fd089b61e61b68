#include "recast/contours/level_sweep.h"

#include <algorithm>

#include "recast/contours/line_stitcher.h"

namespace Recast::Contours {
namespace {

/// Eight levels at once, but fewer where rows are so long that what each level remembers of a row
/// would add up to more than a part of the fragment.
std::size_t levelsAtOnce(Index columns) {
  constexpr Index kMost = 8;
  constexpr Index kColumnsInAll = Index{1} << 20;
  return static_cast<std::size_t>(std::clamp<Index>(kColumnsInAll / columns, 1, kMost));
}

/// Makes room for `more` elements behind those in the list; grows by doubling at least.
template <class T>
void reserveMore(std::vector<T>& list, std::size_t more) {
  if (list.capacity() - list.size() < more)
    list.reserve(std::max(list.size() + more, 2 * list.capacity()));
}

}  // namespace

LevelSweep::LevelSweep(const FragmentPlanes& planes, const ContourFragment& fragment,
                       const CellRange& own)
    : planes_(planes),
      origin_(fragment.origin),
      spacing_(fragment.spacing),
      index_(planes_.sliceValues, planes_.cellTypes, own),
      crossings_(planes_.heights, planes_.sliceValues, fragment.useSliceField),
      filter_(planes_.sliceValues, planes_.cellTypes, fragment.onlyBorderLine,
              fragment.useSliceField),
      scan_(planes_.sliceValues, crossings_, filter_, own),
      nets_(levelsAtOnce(own.width())) {}

std::size_t LevelSweep::run(std::span<const float> levels, ContourOutput& output) {
  // Else the list would be copied whenever it has doubled, at the cost of a quarter of the run.
  reserveMore(output.Points, expectedVertices(levels));
  std::size_t stitched = 0;
  while (!levels.empty()) {
    const auto group = levels.first(std::min(levels.size(), nets_.size()));
    stitched += runGroup(group, output);
    levels = levels.subspan(group.size());
  }
  return stitched;
}

/// About how many edges the levels cross, rather too many than too few; from a sample of the tiles.
std::size_t LevelSweep::expectedVertices(std::span<const float> levels) {
  constexpr Index kOneIn = 61;  // odd, so that all columns have their turn
  std::size_t vertices = 0;
  for (Index tile = 0; tile < index_.columns() * index_.rows(); tile += kOneIn)
    for (const float level : levels) {
      nets_[0].reset(level, index_.cells().width());
      scanTile(tile % index_.columns(), tile / index_.columns(), {nets_.data(), 1});
      vertices += nets_[0].size();
    }
  return vertices * static_cast<std::size_t>(kOneIn) / 15 * 16;
}

std::size_t LevelSweep::runGroup(std::span<const float> levels, ContourOutput& output) {
  const auto nets = std::span(nets_).first(levels.size());
  for (std::size_t k = 0; k < levels.size(); ++k) nets[k].reset(levels[k], index_.cells().width());
  for (Index row = 0; row < index_.rows(); ++row)
    for (Index column = 0; column < index_.columns(); ++column) scanTile(column, row, nets);
  std::size_t stitched = 0;
  for (EdgeNet& net : nets) stitched += stitch(net, output) ? 1 : 0;
  return stitched;
}

void LevelSweep::scanTile(Index column, Index row, std::span<EdgeNet> nets) const {
  const TileIndex::Tile& tile = index_.tile(column, row);
  for (EdgeNet& net : nets)
    if (tile.touches(net.level))
      scan_.run(index_.cellsOf(column, row), filter_.concerns(tile.doubts), net);
}

bool LevelSweep::stitch(EdgeNet& net, ContourOutput& output) const {
  if (net.activeCells < 2) return false;
  reportGaps(net.gaps);
  stitchLines(net, origin_, spacing_, output);
  return true;
}

}  // namespace Recast::Contours
