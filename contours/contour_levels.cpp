#include "recast/contours/contour_levels.h"

#include <algorithm>
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

/// The first number whose level holds a condition that holds from some level on; the end if none.
template <class Holds>
int ContourLevels::firstWhere(Holds holds) const {
  int first = first_;
  for (int width = end_ - first_; width > 0;) {
    const int half = width / 2;
    if (holds(level(first + half))) {
      width = half;
    } else {
      first += half + 1;
      width -= half + 1;
    }
  }
  return first;
}

ContourLevels ContourLevels::within(const Quilt::DataRange<float>& range) const {
  const auto fromMinimum = [&](float level) { return level >= range.minimum(); };
  const auto toMaximum = [&](float level) { return level <= range.maximum(); };
  ContourLevels part = *this;
  // A negative step with a negative range makes levels that descend.
  part.first_ = step_ > 0.0F ? firstWhere(fromMinimum) : firstWhere(toMaximum);
  part.end_ = step_ > 0.0F ? firstWhere([&](float level) { return !toMaximum(level); })
                           : firstWhere([&](float level) { return !fromMinimum(level); });
  part.end_ = std::max(part.first_, part.end_);
  return part;
}

}  // namespace Recast
