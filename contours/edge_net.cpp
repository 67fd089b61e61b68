#include "recast/contours/edge_net.h"

#include <algorithm>
#include <stdexcept>

namespace Recast::Contours {
namespace {

template <class T>
std::unique_ptr<T[]> moved(const std::unique_ptr<T[]>& from, std::size_t size,
                           std::size_t capacity) {
  auto larger = std::make_unique_for_overwrite<T[]>(capacity);
  std::copy_n(from.get(), size, larger.get());
  return larger;
}

}  // namespace

void EdgeNet::reset(float newLevel, Index columns, bool withHeights) {
  level = newLevel;
  activeCells = 0;
  gaps.clear();
  size_ = 0;
  below.assign(static_cast<std::size_t>(columns), kNone);
  if (withHeights && !heights_)
    heights_ = std::make_unique_for_overwrite<float[]>(capacity_);
  else if (!withHeights)
    heights_.reset();
}

void EdgeNet::forget(Index firstColumn, Index columns) {
  const auto first = below.begin() + firstColumn;
  std::fill(first, first + std::min<Index>(columns, below.end() - first), kNone);
  left.fill(kNone);
}

void EdgeNet::grow(std::size_t least) {
  if (least > kNone) throw std::length_error("Contour: more edges than 31 bits can number");
  const std::size_t capacity = std::min<std::size_t>(least + size_, kNone);
  auto nodes = moved(nodes_, size_, capacity);
  if (heights_) heights_ = moved(heights_, size_, capacity);
  nodes_ = std::move(nodes);
  capacity_ = capacity;
}

}  // namespace Recast::Contours
