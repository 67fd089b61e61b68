#pragma once

#include <limits>

namespace Recast {

/// Truncates toward zero into the range of an integer type; what lies beyond it becomes its limit,
/// and NaN its lowest number.
template <class Integer>
Integer truncated(double value) {
  using Limits = std::numeric_limits<Integer>;
  if (!(value > static_cast<double>(Limits::min()))) return Limits::min();
  if (value >= static_cast<double>(Limits::max())) return Limits::max();
  return static_cast<Integer>(value);
}

}  // namespace Recast
