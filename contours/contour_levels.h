#pragma once

#include <cstddef>
#include <optional>

#include "recast/patchops/data_range.h"

namespace Recast {

/// The levels of a run: the minimum of the range and what lies whole steps above it, below the
/// maximum. All arithmetic is in single precision. Levels are computed when they are asked for.
class ContourLevels {
 public:
  /// \return nothing if there is no level: the range or the step is empty, negative or not a
  /// number, or there are more levels than 32 bits count.
  static std::optional<ContourLevels> over(const Quilt::DataRange<float>& range, float step);

  std::size_t size() const { return static_cast<std::size_t>(end_ - first_); }
  float operator[](std::size_t n) const { return level(first_ + static_cast<int>(n)); }

  /// The levels from `range`'s minimum to its maximum, both included, in their order.
  ContourLevels within(const Quilt::DataRange<float>& range) const;

 private:
  ContourLevels(float minimum, float step, int count)
      : minimum_(minimum), step_(step), end_(count) {}
  template <class Holds>
  int firstWhere(Holds holds) const;
  float level(int k) const { return static_cast<float>(k) * step_ + minimum_; }

  float minimum_;
  float step_;
  int first_ = 0;
  int end_;
};

}  // namespace Recast
