#include "recast/contours/level_sweep.h"

#include <algorithm>
#include <thread>

#include "recast/contours/in_turns.h"
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
  Larder::bringMemory(list.data() + list.size(), more * sizeof(T));
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
      levelsAtOnce_(levelsAtOnce(own.width())) {
  nets_.emplace_back(levelsAtOnce_);
}

std::size_t LevelSweep::run(std::span<const float> levels, ContourOutput& output) {
  // Else the lists would be copied whenever they have doubled, at the cost of a quarter of the run.
  const Expected expected = expectedVertices(levels);
  reserveMore(output.Points, expected.ofAll);
  const std::size_t groups = (levels.size() + levelsAtOnce_ - 1) / levelsAtOnce_;
  const std::size_t threads = threadsFor(groups);
  while (nets_.size() < threads) nets_.emplace_back(levelsAtOnce_);
  std::size_t stitched = 0;
  inTurns(threads, groups, [&](std::size_t thread, std::size_t group, Turn& turn) {
    const std::size_t first = group * levelsAtOnce_;
    const std::size_t count = std::min(levels.size() - first, levelsAtOnce_);
    const auto nets = std::span(nets_[thread]).first(count);
    for (std::size_t k = 0; k < count; ++k) {
      nets[k].reset(levels[first + k], index_.cells().width());
      nets[k].reserve(expected.most);
    }
    scan(nets);
    if (turn.await()) stitched += stitch(nets, output);
  });
  return stitched;
}

/// From a sample of the tiles.
LevelSweep::Expected LevelSweep::expectedVertices(std::span<const float> levels) {
  constexpr Index kOneIn = 61;  // odd, so that all columns have their turn
  const auto extrapolated = [](std::size_t vertices) {
    return vertices * static_cast<std::size_t>(kOneIn) / 15 * 16;
  };
  EdgeNet& net = nets_[0][0];
  Expected expected{0, 0};
  for (const float level : levels) {
    std::size_t vertices = 0;
    for (Index tile = 0; tile < index_.columns() * index_.rows(); tile += kOneIn) {
      net.reset(level, index_.cells().width());
      scanTile(tile % index_.columns(), tile / index_.columns(), {&net, 1});
      vertices += net.size();
    }
    expected.ofAll += extrapolated(vertices);
    expected.most = std::max(expected.most, extrapolated(vertices));
  }
  return expected;
}

/// Stitching, one thread at a time, takes half as long as scanning: a fourth thread would wait.
std::size_t LevelSweep::threadsFor(std::size_t groups) const {
  constexpr std::size_t kMost = 3;
  constexpr Index kWorthAThread = Index{1} << 17;
  if (index_.cells().width() * index_.cells().height() < kWorthAThread) return 1;
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  return std::min({cores, kMost, std::max<std::size_t>(groups, 1)});
}

void LevelSweep::scan(std::span<EdgeNet> nets) const {
  for (Index row = 0; row < index_.rows(); ++row)
    for (Index column = 0; column < index_.columns(); ++column) scanTile(column, row, nets);
}

void LevelSweep::scanTile(Index column, Index row, std::span<EdgeNet> nets) const {
  const TileIndex::Tile& tile = index_.tile(column, row);
  for (EdgeNet& net : nets)
    if (tile.touches(net.level))
      scan_.run(index_.cellsOf(column, row), filter_.concerns(tile.doubts), net);
}

std::size_t LevelSweep::stitch(std::span<EdgeNet> nets, ContourOutput& output) const {
  std::size_t stitched = 0;
  for (EdgeNet& net : nets) {
    if (net.activeCells < 2) continue;
    reportGaps(net.gaps);
    stitchLines(net, origin_, spacing_, output);
    ++stitched;
  }
  return stitched;
}

}  // namespace Recast::Contours
