#include "recast/perch/bounding_box.h"

#include <algorithm>
#include <cmath>

namespace Heron {

BoundingBox::BoundingBox(const PhysicalSpace::point& minimum, const PhysicalSpace::point& maximum) {
  set(minimum, maximum);
}

void BoundingBox::set(const PhysicalSpace::point& minimum, const PhysicalSpace::point& maximum) {
  box_ = {minimum, maximum};
  empty_ = false;
  updateBall();
}

void BoundingBox::expand(const BoundingBox& other) {
  if (other.empty_) return;
  if (empty_) {
    set(other.box_.minimum, other.box_.maximum);
    return;
  }
  for (std::size_t i = 0; i < 3; ++i) {
    box_.minimum[i] = std::min(box_.minimum[i], other.box_.minimum[i]);
    box_.maximum[i] = std::max(box_.maximum[i], other.box_.maximum[i]);
  }
  updateBall();
}

void BoundingBox::updateBall() {
  double squared = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    const double half = (box_.maximum[i] - box_.minimum[i]) / 2;
    ball_.center[i] = box_.minimum[i] + half;
    squared += half * half;
  }
  ball_.radius = std::sqrt(squared);
}

std::string to_string(const FixedArray<double, 3>& values) {
  return "{" + std::to_string(values.x()) + "," + std::to_string(values.y()) + "," +
         std::to_string(values.z()) + "}";
}

}  // namespace Heron
