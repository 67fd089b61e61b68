#pragma once

#include <algorithm>
#include <vector>

#include "recast/perch/fixed_array.h"

namespace Recast {

using IndexList = std::vector<unsigned int>;

/// Whether two vertices of a ring that follow each other are more than 0.1 apart; of nearer ones
/// only the later one is a corner.
inline bool areApart(const Heron::PhysicalSpace::point& a, const Heron::PhysicalSpace::point& b) {
  constexpr double kSquaredNearness = 0.01;
  const double dx = b.x() - a.x();
  const double dy = b.y() - a.y();
  const double dz = b.z() - a.z();
  return dx * dx + dy * dy + dz * dz > kSquaredNearness;
}

/// Whether all numbers are those of elements of a list of `count`.
inline bool allBelow(const IndexList& numbers, std::size_t count) {
  return std::all_of(numbers.begin(), numbers.end(),
                     [count](unsigned int number) { return number < count; });
}

}  // namespace Recast
