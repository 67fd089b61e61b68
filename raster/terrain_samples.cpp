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

/// The nearest place, halves away from zero, as a 32-bit integer; taken as unsigned, since only the
/// differences of places count.
std::uint32_t TerrainSamples::nearest(double coordinate, std::size_t axis) const {
  return static_cast<std::uint32_t>(
      truncated<std::int32_t>(std::round((coordinate - reference_[axis]) / spacing_)));
}

void TerrainSamples::add(const Heron::PhysicalSpace::point& sample) {
  for (std::size_t axis = 0; axis < 2; ++axis) {
    if (!(sample[axis] >= minimum_[axis])) minimum_[axis] = sample[axis];
    if (sample[axis] > maximum_[axis]) maximum_[axis] = sample[axis];
  }
  heights_.push_back(static_cast<float>(sample.z()));
  positions_.push_back({nearest(sample.x(), 0), nearest(sample.y(), 1)});
}

std::array<std::uint32_t, 2> TerrainSamples::dimensions() const {
  const auto along = [this](std::size_t axis) {
    return truncated<std::uint32_t>((maximum_[axis] - minimum_[axis]) / spacing_ + 1.0);
  };
  return {along(0), along(1)};
}

bool TerrainSamples::placeInto(float* raster) const {
  const auto [columns, rows] = dimensions();
  const std::uint32_t first[] = {nearest(minimum_[0], 0), nearest(minimum_[1], 1)};
  for (std::size_t n = 0; n < heights_.size(); ++n) {
    const std::uint32_t column = positions_[n][0] - first[0];
    const std::uint32_t row = positions_[n][1] - first[1];
    if (column >= columns || row >= rows) return false;
    raster[std::size_t{row} * columns + column] = heights_[n];
  }
  return true;
}

std::optional<double> spacingOf(const Heron::PhysicalSpace::point& a,
                                const Heron::PhysicalSpace::point& b) {
  for (std::size_t axis = 0; axis < 2; ++axis)
    if (const double distance = std::fabs(b[axis] - a[axis]); distance != 0.0) return distance;
  return std::nullopt;
}

}  // namespace Recast
