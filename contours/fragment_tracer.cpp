#include "recast/contours/fragment_tracer.h"

#include <new>

#include "recast/contours/level_sweep.h"
#include "recast/larder/console.h"

namespace Recast {
namespace {

using namespace Contours;

void reportNoMemory() {
  Larder::Console() << "Can not create condition mem";
}

template <class T>
bool covers(const Plane<T>& plane, const Plane<float>& values) {
  return plane.columns() >= values.columns() && plane.rows() >= values.rows();
}

/// The first layers of the fragment's arrays; nothing, and a message, if they don't fit together.
std::optional<FragmentPlanes> planesOf(const ContourFragment& fragment) {
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
  return FragmentPlanes{*heights, *sliceValues, *cellTypes};
}

/// Null, with a message where something is wrong, if there is nothing to trace.
std::unique_ptr<LevelSweep> sweepOver(const ContourFragment& fragment, std::size_t threads) {
  const std::optional<FragmentPlanes> planes = planesOf(fragment);
  if (!planes) return nullptr;
  const Quilt::MultiIndex<3>& extent = fragment.sliceValues->dims;
  if (extent[0] == 0 || extent[1] == 0) {
    reportNoMemory();
    return nullptr;
  }
  if (extent[2] > 1)
    Larder::Console() << "Contour: only the first layer of a fragment of " << to_string(extent)
                      << " vertices is traced";
  const CellRange own = ownCells(extent, fragment.lowerOverlap, fragment.upperOverlap);
  return own.empty() ? nullptr : std::make_unique<LevelSweep>(*planes, fragment, own, threads);
}

}  // namespace

FragmentTracer::FragmentTracer(const ContourFragment& fragment, std::size_t threads) {
  try {
    sweep_ = sweepOver(fragment, threads);
  } catch (const std::bad_alloc&) {
    reportNoMemory();
  }
}

FragmentTracer::~FragmentTracer() = default;

std::size_t FragmentTracer::trace(std::span<const float> levels, ContourOutput& output) {
  return sweep_ ? sweep_->run(levels, output) : 0;
}

}  // namespace Recast
