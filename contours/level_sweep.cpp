#include "recast/contours/level_sweep.h"

#include <algorithm>
#include <stdexcept>

#include "recast/contours/in_turns.h"
#include "recast/contours/line_stitcher.h"

namespace Recast::Contours {
namespace {

/// Eight levels at once, but fewer where rows are so long that what each level remembers of a row
/// would add up to more than a part of the fragment.
std::size_t mostLevelsAtOnce(Index columns) {
  constexpr Index kMost = 8;
  constexpr Index kColumnsInAll = Index{1} << 20;
  return static_cast<std::size_t>(std::clamp<Index>(kColumnsInAll / columns, 1, kMost));
}

/// Stitching, one thread at a time, takes half as long as scanning: a fourth thread would wait.
std::size_t usefulThreads(std::size_t wanted, const CellRange& cells) {
  constexpr std::size_t kMost = 3;
  constexpr Index kWorthAThread = Index{1} << 17;
  return cells.width() * cells.height() < kWorthAThread ? 1 : std::min(wanted, kMost);
}

std::size_t bytesOf(const ContourFragment& fragment) {
  const std::size_t heights =
      fragment.heights == fragment.sliceValues ? 0 : fragment.heights->nElements() * sizeof(float);
  return heights + fragment.sliceValues->nElements() * sizeof(float) +
         fragment.cellTypes->nElements();
}

/// Makes room for `more` elements behind those in the list; grows by doubling at least.
template <class T>
void reserveMore(std::vector<T>& list, std::size_t more) {
  if (list.capacity() - list.size() < more)
    list.reserve(std::max(list.size() + more, 2 * list.capacity()));
}

/// Makes room for what is expected. Memory that is not written takes no page, and if there is not
/// that much the list grows as it needs to.
template <class T>
void reserveExpected(std::vector<T>& list, std::size_t more) {
  try {
    reserveMore(list, more);
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
}

}  // namespace

LevelSweep::LevelSweep(const FragmentPlanes& planes, const ContourFragment& fragment,
                       const CellRange& own, std::size_t threads)
    : planes_(planes),
      origin_(fragment.origin),
      spacing_(fragment.spacing),
      index_(planes_.sliceValues, planes_.cellTypes, own),
      crossings_(planes_.heights, planes_.sliceValues, planes_.cellTypes, fragment.onlyBorderLine,
                 fragment.useSliceField),
      scan_(planes_.sliceValues, crossings_, own),
      bytesOfArrays_(bytesOf(fragment)),
      threads_(usefulThreads(threads, own)) {}

std::size_t LevelSweep::run(std::span<const float> levels, ContourOutput& output) {
  const Expected expected = expectedVertices(levels);
  // Else the list would be copied whenever it has doubled, at the cost of a quarter of the run.
  reserveExpected(output.Points, expected.ofAll);
  const Share share = shareFor(levels.size(), expected);
  const std::size_t levelsAtOnce = share.levelsAtOnce;
  std::vector<Nets> netsOf(share.threads);
  for (Nets& nets : netsOf) nets.resize(levelsAtOnce);
  GapReport gaps;
  std::size_t stitched = 0;
  const std::size_t groups = (levels.size() + levelsAtOnce - 1) / levelsAtOnce;
  inTurns(share.threads, groups, [&](std::size_t thread, std::size_t group, Turn& turn) {
    const std::size_t first = group * levelsAtOnce;
    const auto nets =
        std::span(netsOf[thread]).first(std::min(levels.size() - first, levelsAtOnce));
    for (std::size_t k = 0; k < nets.size(); ++k) {
      reset(nets[k], levels[first + k]);
      nets[k].reserve(expected.most);
    }
    scan(nets);
    if (!turn.await()) return;
    stitched += stitch(nets, gaps, output);
    if (thread == 0) gaps.send();
  });
  return stitched;
}

/// From a sample of the tiles. The edges that a tile shares are counted with it, which is the
/// margin.
LevelSweep::Expected LevelSweep::expectedVertices(std::span<const float> levels) {
  // Not a divisor of the number of columns, so that the sample isn't taken from one of them alone.
  const Index oneIn = index_.columns() % 61 == 0 ? 62 : 61;
  EdgeNet net;
  Expected expected;
  for (const float level : levels) {
    reset(net, level);
    for (Index tile = 0; tile < index_.columns() * index_.rows(); tile += oneIn) {
      const Index column = tile % index_.columns();
      net.forget(column * TileIndex::kSide, TileIndex::kSide);
      scanTile(column, tile / index_.columns(), {&net, 1});
    }
    const std::size_t vertices = net.size() * static_cast<std::size_t>(oneIn);
    expected.ofAll += vertices;
    expected.most = std::max(expected.most, vertices);
  }
  return expected;
}

LevelSweep::Share LevelSweep::shareFor(std::size_t levels, const Expected& expected) const {
  const std::size_t bytesOfLevel =
      std::max<std::size_t>(expected.most, 1) *
      (EdgeNet::kBytesPerEdge + (crossings_.useSliceField() ? sizeof(float) : 0));
  const std::size_t fitting = std::max<std::size_t>(bytesOfArrays_ / bytesOfLevel, 1);
  Share share{};
  share.threads =
      std::clamp<std::size_t>(std::min(threads_, fitting), 1, std::max<std::size_t>(levels, 1));
  const std::size_t each = (levels + share.threads - 1) / share.threads;
  share.levelsAtOnce = std::clamp<std::size_t>(std::min(fitting / share.threads, each), 1,
                                               mostLevelsAtOnce(index_.cells().width()));
  return share;
}

void LevelSweep::scan(std::span<EdgeNet> nets) const {
  for (Index row = 0; row < index_.rows(); ++row)
    for (Index column = 0; column < index_.columns(); ++column) scanTile(column, row, nets);
}

void LevelSweep::scanTile(Index column, Index row, std::span<EdgeNet> nets) const {
  const TileIndex::Tile& tile = index_.tile(column, row);
  for (EdgeNet& net : nets)
    if (tile.touches(net.level))
      scan_.run(index_.cellsOf(column, row), crossings_.mayRefuse(tile.doubts), net);
}

std::size_t LevelSweep::stitch(std::span<EdgeNet> nets, GapReport& gaps,
                               ContourOutput& output) const {
  std::size_t stitched = 0;
  for (EdgeNet& net : nets) {
    if (net.activeCells < 2) continue;
    gaps.add(net.gaps);
    reserveMore(output.Points, net.size());
    Larder::bringMemory(output.Points.data() + output.Points.size(),
                        net.size() * sizeof(ContourOutput::Point));
    stitchLines(net, origin_, spacing_, output);
    ++stitched;
  }
  return stitched;
}

}  // namespace Recast::Contours
