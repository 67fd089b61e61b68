#include "recast/contours/edge_net.h"

#include <algorithm>
#include <stdexcept>

namespace Recast::Contours {

void EdgeNet::reset(float newLevel, Index columns) {
  level = newLevel;
  activeCells = 0;
  gaps.clear();
  size_ = 0;
  below.resize(static_cast<std::size_t>(columns));
}

void EdgeNet::grow(std::size_t least) {
  if (least > kNone) throw std::length_error("Contour: more edges than 32 bits can number");
  const std::size_t capacity = std::min<std::size_t>(2 * least, kNone);
  auto larger = std::make_unique_for_overwrite<Node[]>(capacity);
  std::copy_n(nodes_.get(), size_, larger.get());
  nodes_ = std::move(larger);
  capacity_ = capacity;
}

}  // namespace Recast::Contours
