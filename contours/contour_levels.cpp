#include "recast/contours/contour_levels.h"

#include <cmath>

namespace Recast {

std::optional<ContourLevels> ContourLevels::over(const Quilt::DataRange<float>& range, float step) {
  constexpr float kWholeFromHere = 8388608.0F;  // floats of this size have no fraction
  constexpr float kMost = 2147483648.0F;
  float count = (range.maximum() - range.minimum()) / step;
  if (std::fabs(count) < kWholeFromHere) count = std::ceil(count);
  if (!(count >= 1.0F) || count >= kMost) return std::nullopt;
  return ContourLevels(range.minimum(), step, static_cast<int>(count));
}

std::vector<float> ContourLevels::within(const Quilt::DataRange<float>& range) const {
  // The levels ascend with k, so that the first one can be found by halving; a negative step with a
  // negative range, which descends, is searched from its start.
  int first = 0;
  for (int width = step_ > 0.0F ? count_ : 0; width > 0;) {
    const int half = width / 2;
    if (level(first + half) < range.minimum()) {
      first += half + 1;
      width -= half + 1;
    } else {
      width = half;
    }
  }
  std::vector<float> levels;
  for (int k = first; k < count_; ++k) {
    const float value = level(k);
    if (step_ > 0.0F && value > range.maximum()) break;
    if (value >= range.minimum() && value <= range.maximum()) levels.push_back(value);
  }
  return levels;
}

}  // namespace Recast
