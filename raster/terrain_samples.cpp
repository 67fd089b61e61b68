#include "recast/raster/terrain_samples.h"

#include <algorithm>
#include <cmath>

#include "recast/raster/truncation.h"

namespace Recast {
namespace {

constexpr std::size_t kUsualSamples = 5000000;

}  // namespace

void TerrainSamples::reserve(std::size_t samples) {
  heights_.reserve(std::min(samples, kUsualSamples));
  positions_.reserve(std::min(samples, kUsualSamples));
}

/// The low 32 bits of the nearest place, halves away from zero: only the differences of places
/// count. None where doubles don't count single places, and for NaN.
std::optional<std::uint32_t> TerrainSamples::nearest(double coordinate, std::size_t axis) const {
  constexpr double kLastCounted = 9007199254740992.0;  // 2^53
  const double place = std::round((coordinate - reference_[axis]) / spacing_);
  if (!(std::fabs(place) <= kLastCounted)) return std::nullopt;
  return static_cast<std::uint32_t>(static_cast<std::int64_t>(place));
}

void TerrainSamples::add(const Heron::PhysicalSpace::point& sample) {
  for (std::size_t axis = 0; axis < 2; ++axis) {
    if (!(sample[axis] >= minimum_[axis])) minimum_[axis] = sample[axis];
    if (sample[axis] > maximum_[axis]) maximum_[axis] = sample[axis];
  }
  const auto column = nearest(sample.x(), 0);
  const auto row = nearest(sample.y(), 1);
  if ((!column || !row) && !unplaced_) unplaced_ = heights_.size();
  heights_.push_back(static_cast<float>(sample.z()));
  positions_.push_back({column.value_or(0), row.value_or(0)});
}

std::optional<std::array<std::uint32_t, 2>> TerrainSamples::dimensions() const {
  constexpr double kMost = 4294967295.0;
  std::array<std::uint32_t, 2> result{};
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const double nodes = (maximum_[axis] - minimum_[axis]) / spacing_ + 1.0;
    if (nodes > kMost) return std::nullopt;
    result[axis] = truncated<std::uint32_t>(nodes);
  }
  return result;
}

std::optional<std::size_t> TerrainSamples::placeInto(float* raster) const {
  const auto shape = dimensions();
  const auto firstColumn = nearest(minimum_[0], 0);
  const auto firstRow = nearest(minimum_[1], 1);
  if (!shape || !firstColumn || !firstRow) return unplaced_.value_or(0);
  const auto [columns, rows] = *shape;
  for (std::size_t n = 0; n < heights_.size(); ++n) {
    const std::uint32_t column = positions_[n][0] - *firstColumn;
    const std::uint32_t row = positions_[n][1] - *firstRow;
    if (column >= columns || row >= rows || n == unplaced_) return n;
    raster[std::size_t{row} * columns + column] = heights_[n];
  }
  return std::nullopt;
}

std::optional<double> spacingOf(const Heron::PhysicalSpace::point& a,
                                const Heron::PhysicalSpace::point& b) {
  for (std::size_t axis = 0; axis < 2; ++axis)
    if (const double distance = std::fabs(b[axis] - a[axis]); distance != 0.0) return distance;
  return std::nullopt;
}

}  // namespace Recast
