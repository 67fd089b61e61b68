#include "recast/sheaf/storage/block_plan.h"

#include <algorithm>

namespace Quilt::Storage {

BlockPlan::BlockPlan(std::vector<hsize_t> axes, std::size_t numberSize, std::size_t blockBytes,
                     bool keepLastAxis)
    : axes_(std::move(axes)), numberSize_(numberSize), full_(axes_.size(), 1) {
  if (std::find(axes_.begin(), axes_.end(), 0) != axes_.end()) return;  // nothing to cut
  const std::size_t limit = std::max<std::size_t>(1, blockBytes / numberSize);
  std::size_t axis = axes_.size() - 1;
  if (keepLastAxis && axis > 0) {
    full_[axis] = axes_[axis];
    inner_ = axes_[axis];
    --axis;
  }
  while (axis > 0 && inner_ * axes_[axis] <= limit) {
    full_[axis] = axes_[axis];
    inner_ *= axes_[axis];
    --axis;
  }
  cutAxis_ = axis;
  full_[axis] = std::clamp<hsize_t>(limit / inner_, 1, std::max<hsize_t>(1, axes_[axis]));
  fullNumbers_ = full_[axis] * inner_;
  perOuter_ = (axes_[axis] + full_[axis] - 1) / full_[axis];
  blocks_ = perOuter_;
  for (std::size_t i = 0; i < cutAxis_; ++i) blocks_ *= axes_[i];
}

BlockPlan::Block BlockPlan::block(std::size_t i) const {
  Block block;
  block.start.assign(axes_.size(), 0);
  block.size = full_;
  std::size_t outer = i / perOuter_;
  const hsize_t step = i % perOuter_ * full_[cutAxis_];
  block.firstNumber = (outer * axes_[cutAxis_] + step) * inner_;
  block.start[cutAxis_] = step;
  block.size[cutAxis_] = std::min(full_[cutAxis_], axes_[cutAxis_] - step);
  block.numbers = block.size[cutAxis_] * inner_;
  for (std::size_t axis = cutAxis_; axis-- > 0;) {
    block.start[axis] = outer % axes_[axis];
    outer /= axes_[axis];
  }
  return block;
}

}  // namespace Quilt::Storage
