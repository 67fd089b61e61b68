#include <algorithm>
#include <ctime>

#include "terrain.h"
#include <benchmark/benchmark.h>

#include "recast/contours/fragment_tracer.h"
#include "recast/contours/line_stitcher.h"
#include "recast/contours/tile_scan.h"

namespace {

using namespace Recast::Contours;
using Recast::ContourFragment;
using Recast::ContourOutput;

constexpr std::size_t kSide = 5000;

const ContourFragment& fragment() {
  static const ContourFragment made = terrain::make(kSide);
  return made;
}

/// `count` levels from the lowest value up, equally far apart.
std::vector<float> levelsOf(const ContourFragment& f, std::size_t count) {
  const float* values = f.sliceValues->data;
  const auto [low, high] = std::minmax_element(values, values + f.sliceValues->nElements());
  std::vector<float> levels(count);
  for (std::size_t k = 0; k < count; ++k)
    levels[k] = *low + static_cast<float>(k) * ((*high - *low) / static_cast<float>(count));
  return levels;
}

/// The edges that a level crosses, counted edge by edge.
std::size_t crossedEdges(const ContourFragment& f, float level) {
  const float* values = f.sliceValues->data;
  std::size_t crossed = 0;
  for (std::size_t j = 0; j < kSide; ++j)
    for (std::size_t i = 0; i < kSide; ++i) {
      const float* vertex = values + j * kSide + i;
      if (i + 1 < kSide) crossed += (*vertex > level) != (vertex[1] > level) ? 1 : 0;
      if (j + 1 < kSide) crossed += (*vertex > level) != (vertex[kSide] > level) ? 1 : 0;
    }
  return crossed;
}

/// Where all vertices are open, each crossed edge is a vertex of one line.
bool complete(const ContourFragment& f, const std::vector<float>& levels) {
  const std::vector<float> samples = {levels[levels.size() / 3], levels[levels.size() / 2]};
  ContourOutput output;
  Recast::FragmentTracer(f).trace(samples, output);
  return output.Points.size() == crossedEdges(f, samples[0]) + crossedEdges(f, samples[1]);
}

/// The whole tracing in memory, index and all. Items are vertices of lines.
void wholeTracing(benchmark::State& state) {
  const std::vector<float> levels = levelsOf(fragment(), static_cast<std::size_t>(state.range(0)));
  if (!complete(fragment(), levels)) return state.SkipWithError("lines are not complete");
  std::size_t vertices = 0;
  for (auto _ : state) {
    ContourOutput output;
    Recast::FragmentTracer(fragment()).trace(levels, output);
    vertices = output.Points.size();
    state.counters["lines"] = static_cast<double>(output.Lines.size());
  }
  state.counters["vertices"] = static_cast<double>(vertices);
  state.SetItemsProcessed(static_cast<std::int64_t>(vertices) * state.iterations());
}
BENCHMARK(wholeTracing)->Arg(75)->Arg(370)->Unit(benchmark::kMillisecond);

/// The parts of a fragment that the stages below work on.
struct Stages {
  const ContourFragment& f = fragment();
  Plane<float> values = *Plane<float>::ofFirstLayer(f.sliceValues);
  Plane<unsigned char> types = *Plane<unsigned char>::ofFirstLayer(f.cellTypes);
  CellRange cells = ownCells(f.sliceValues->Size(), {}, {});
  TileIndex index{values, types, cells};
  EdgeCrossings crossings{values, values, types, false, false};
  TileScan scan{values, crossings, cells};

  /// \return the number of cells in the tiles that were read
  std::int64_t scanLevel(float level, EdgeNet& net) const {
    std::int64_t read = 0;
    net.reset(level, cells.width(), false);
    for (Index row = 0; row < index.rows(); ++row)
      for (Index column = 0; column < index.columns(); ++column)
        if (index.tile(column, row).touches(level)) {
          const CellRange tile = index.cellsOf(column, row);
          scan.run(tile, false, net);
          read += tile.width() * tile.height();
        }
    return read;
  }
};

/// The index of tiles alone. Items are cells.
void tileIndex(benchmark::State& state) {
  const Stages stages;
  for (auto _ : state) {
    TileIndex index(stages.values, stages.types, stages.cells);
    benchmark::DoNotOptimize(index.tile(0, 0).lowest);
  }
  state.SetItemsProcessed(stages.cells.width() * stages.cells.height() * state.iterations());
}
BENCHMARK(tileIndex)->Unit(benchmark::kMillisecond);

/// The scan of one level in the middle: classification, crossings and links. Items are cells of the
/// fragment, of which the scan reads those in touched tiles.
void scanOneLevel(benchmark::State& state) {
  const Stages stages;
  const float level = levelsOf(stages.f, 2)[1];
  EdgeNet net;
  std::int64_t read = 0;
  for (auto _ : state) read = stages.scanLevel(level, net);
  state.counters["cells_read"] = static_cast<double>(read);
  state.counters["edges"] = static_cast<double>(net.size());
  state.SetItemsProcessed(stages.cells.width() * stages.cells.height() * state.iterations());
}
BENCHMARK(scanOneLevel)->Unit(benchmark::kMillisecond);

/// The stitching of one level alone, in processor time. Items are pieces.
void stitchOneLevel(benchmark::State& state) {
  const Stages stages;
  const float level = levelsOf(stages.f, 2)[1];
  EdgeNet net;
  std::int64_t pieces = 0;
  for (auto _ : state) {
    stages.scanLevel(level, net);
    ContourOutput output;
    const std::clock_t start = std::clock();
    stitchLines(net, stages.f.origin, stages.f.spacing, output);
    const std::clock_t taken = std::clock() - start;
    state.SetIterationTime(static_cast<double>(taken) / CLOCKS_PER_SEC);
    pieces = -static_cast<std::int64_t>(output.Lines.size());
    for (const auto& line : output.Lines) pieces += static_cast<std::int64_t>(line.size());
  }
  state.SetItemsProcessed(pieces * state.iterations());
}
BENCHMARK(stitchOneLevel)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
