#pragma once

#include <optional>
#include <vector>

#include "recast/patchops/data_range.h"

namespace Recast {

/// The levels of a run: the minimum of the range and what lies whole steps above it, below the
/// maximum. All arithmetic is in single precision.
class ContourLevels {
 public:
  /// \return nothing if there is no level: the range or the step is empty, negative or not a
  /// number, or there are more levels than 32 bits count.
  static std::optional<ContourLevels> over(const Quilt::DataRange<float>& range, float step);

  /// The levels from `range`'s minimum to its maximum, both included, in ascending order.
  std::vector<float> within(const Quilt::DataRange<float>& range) const;

 private:
  ContourLevels(float minimum, float step, int count)
      : minimum_(minimum), step_(step), count_(count) {}
  float level(int k) const { return static_cast<float>(k) * step_ + minimum_; }

  float minimum_;
  float step_;
  int count_;
};

}  // namespace Recast
