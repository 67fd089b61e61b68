#include "recast/buildings/triangulation/reflex_index.h"

#include <algorithm>
#include <bit>

namespace Recast::Triangulation {

namespace {

/// With fewer leaves than this going through them all is faster than a tree; measured.
constexpr std::uint32_t kTreeLeaves = 16;

std::uint32_t groupsOf(std::uint32_t n) {
  return (n + kLanes - 1) / kLanes;
}

std::uint32_t bitOf(std::uint32_t slot) {
  return 1U << slot % kLanes;
}

std::uint32_t firstOf(std::uint32_t lanes) {
  return static_cast<std::uint32_t>(std::countr_zero(lanes));
}

/// Puts a zero before each of the lower 16 bits.
std::uint32_t spreadBits(std::uint32_t v) {
  v = (v | v << 8) & 0x00FF00FF;
  v = (v | v << 4) & 0x0F0F0F0F;
  v = (v | v << 2) & 0x33333333;
  return (v | v << 1) & 0x55555555;
}

}  // namespace

void ReflexIndex::build(std::span<const Point> ring, std::span<const std::uint32_t> members) {
  ring_ = ring;
  frame_ = Frame::of(ring);
  slots_.assign(ring.size(), kNotIn);
  order_.assign(members.begin(), members.end());
  wildLeaves_ = 0;
  if (!frame_.allTame) {
    const auto isWild = [&](std::uint32_t corner) { return !isTame(ring_[corner]); };
    const auto wildEnd = std::partition(order_.begin(), order_.end(), isWild);
    wildLeaves_ = groupsOf(static_cast<std::uint32_t>(wildEnd - order_.begin()));
  }
  if (order_.size() >= kTreeLeaves * kLanes) sortByPlace();
  layOut();
}

/// By the cells of a lattice along a Z-curve, with about two corners a cell. The order within a
/// cell stays, which along a ring is a good one too; so do the corners that aren't tame at the
/// front.
void ReflexIndex::sortByPlace() {
  const auto n = static_cast<std::uint32_t>(order_.size());
  const auto bits = std::min<unsigned>(11, static_cast<unsigned>(std::bit_width(n)) / 2);
  const double cells = static_cast<double>(1U << bits) - 0.001;
  const double scale = frame_.extent > 1e-290 ? cells / frame_.extent : 0;
  const auto cellOf = [&](const Point& p) -> std::uint32_t {
    if (!isTame(p)) return 0;
    const auto column = static_cast<std::uint32_t>((p.x() - frame_.originX) * scale);
    const auto row = static_cast<std::uint32_t>((p.y() - frame_.originY) * scale);
    return spreadBits(column) | spreadBits(row) << 1;
  };
  cells_.resize(n);
  starts_.assign((std::size_t{1} << 2 * bits) + 1, 0);
  for (std::uint32_t i = 0; i < n; ++i) {
    cells_[i] = cellOf(ring_[order_[i]]);
    ++starts_[cells_[i] + 1];
  }
  for (std::size_t i = 1; i < starts_.size(); ++i) starts_[i] += starts_[i - 1];
  sorted_.resize(n);
  for (std::uint32_t i = 0; i < n; ++i) sorted_[starts_[cells_[i]]++] = order_[i];
  order_.swap(sorted_);
}

void ReflexIndex::layOut() {
  const auto n = static_cast<std::uint32_t>(order_.size());
  leaves_.resize(groupsOf(n) + 1);
  for (std::uint32_t i = 0; i < n; ++i) {
    const std::uint32_t corner = order_[i];
    const std::uint32_t slot = i + kLanes;
    const Point& p = ring_[corner];
    const bool placed = isTame(p);
    Leaf& leaf = leaves_[slot / kLanes];
    leaf.x[slot % kLanes] = placed ? frame_.x(p) : 0;
    leaf.y[slot % kLanes] = placed ? frame_.y(p) : 0;
    leaf.corner[slot % kLanes] = corner;
    slots_[corner] = slot;
  }
  finishLeaves(n + kLanes);
}

void ReflexIndex::finishLeaves(std::uint32_t end) {
  end_ = end;
  size_ = end - kLanes;
  compactBelow_ = size_ > kLanes ? (size_ + 1) / 2 : 0;
  leaves_.resize(groupsOf(end));
  alive_.assign(leaves_.size(), 0xFF);
  alive_.front() = 0;
  if (end % kLanes != 0) alive_.back() = static_cast<std::uint8_t>(bitOf(end) - 1);
  height_ = 0;
  if (leaves_.size() > kTreeLeaves) raiseTree();
}

void ReflexIndex::compact() {
  std::uint32_t to = kLanes;
  for (std::uint32_t from = kLanes; from < end_; ++from) {
    if ((alive_[from / kLanes] & bitOf(from)) == 0) continue;
    const Leaf& source = leaves_[from / kLanes];
    Leaf& leaf = leaves_[to / kLanes];
    leaf.x[to % kLanes] = source.x[from % kLanes];
    leaf.y[to % kLanes] = source.y[from % kLanes];
    leaf.corner[to % kLanes] = source.corner[from % kLanes];
    slots_[leaf.corner[to % kLanes]] = to;
    ++to;
  }
  finishLeaves(to);
  wildLeaves_ = std::min(wildLeaves_, leaves_.size() - 1);
}

void ReflexIndex::raiseTree() {
  for (auto below = static_cast<std::uint32_t>(leaves_.size()); below > 1; ++height_) {
    if (levels_.size() == height_) levels_.emplace_back();
    auto& level = levels_[height_];
    level.resize(groupsOf(below));
    for (Boxes& boxes : level) boxes.clear();
    for (std::uint32_t i = 0; i < below; ++i)
      level[i / kLanes].set(i % kLanes, boxesOf(height_, i));
    below = static_cast<std::uint32_t>(level.size());
  }
}

/// What the i-th box of a level is put around: eight boxes, or the points of a leaf.
Boxes ReflexIndex::boxesOf(std::size_t level, std::size_t i) const {
  if (level > 0) return levels_[level - 1][i];
  Boxes boxes;
  boxes.clear();
  const Leaf& leaf = leaves_[i];
  for (std::uint32_t lanes = alive_[i]; lanes != 0; lanes &= lanes - 1) {
    const std::uint32_t lane = firstOf(lanes);
    boxes.minX[lane] = boxes.maxX[lane] = leaf.x[lane];
    boxes.minY[lane] = boxes.maxY[lane] = leaf.y[lane];
  }
  return boxes;
}

void ReflexIndex::remove(std::uint32_t corner) {
  const std::uint32_t slot = slots_[corner];
  slots_[corner] = kNotIn;
  alive_[slot / kLanes] &= static_cast<std::uint8_t>(~bitOf(slot));
  if (--size_ < compactBelow_) compact();
}

/// The ear's ends lie on its edge and would be tested each time: they are hidden for the search.
std::uint32_t ReflexIndex::findInside(const Ear& ear, std::uint32_t previous, std::uint32_t next) {
  if (size_ == 0) return kNoCorner;
  const std::uint32_t first = slots_[previous];
  const std::uint32_t second = slots_[next];
  std::uint8_t& firstAlive = alive_[first / kLanes];
  std::uint8_t& secondAlive = alive_[second / kLanes];
  const std::uint8_t firstBefore = firstAlive;
  firstAlive &= static_cast<std::uint8_t>(~bitOf(first));
  const std::uint8_t secondBefore = secondAlive;
  secondAlive &= static_cast<std::uint8_t>(~bitOf(second));
  const std::uint32_t found = search(ear);
  secondAlive = secondBefore;
  firstAlive = firstBefore;
  return found;
}

std::uint32_t ReflexIndex::search(const Ear& ear) const {
  if (!frame_.allTame) {
    const bool filterable = isTame(ear.a) && isTame(ear.b) && isTame(ear.c);
    if (!filterable) return searchUnfiltered(leaves_.size() - 1, ear);
    const std::uint32_t found = searchUnfiltered(wildLeaves_, ear);
    if (found != kNoCorner) return found;
  }
  const EarSides sides(ear, frame_);
  if (height_ > 0) return searchNode(height_ - 1, 0, sides, EarWindow(ear, frame_), ear);
  for (std::size_t leaf = 1; leaf < leaves_.size(); ++leaf) {
    const std::uint32_t found = searchLeaf(leaf, sides, ear);
    if (found != kNoCorner) return found;
  }
  return kNoCorner;
}

std::uint32_t ReflexIndex::searchNode(std::size_t level, std::size_t i, const EarSides& sides,
                                      const EarWindow& window, const Ear& ear) const {
  const Boxes& boxes = levels_[level][i];
  std::uint32_t lanes = window.overlaps(boxes) & sides.mayTouch(boxes);
  for (; lanes != 0; lanes &= lanes - 1) {
    const std::size_t child = i * kLanes + firstOf(lanes);
    const std::uint32_t found = level == 0 ? searchLeaf(child, sides, ear)
                                           : searchNode(level - 1, child, sides, window, ear);
    if (found != kNoCorner) return found;
  }
  return kNoCorner;
}

inline std::uint32_t ReflexIndex::searchLeaf(std::size_t i, const EarSides& sides,
                                             const Ear& ear) const {
  const Leaf& leaf = leaves_[i];
  const std::uint32_t lanes = alive_[i] & sides.mayContain(leaf.x, leaf.y);
  return lanes == 0 ? kNoCorner : test(lanes, leaf, ear);
}

std::uint32_t ReflexIndex::searchUnfiltered(std::size_t leaves, const Ear& ear) const {
  for (std::size_t i = 1; i <= leaves; ++i) {
    const std::uint32_t found = test(alive_[i], leaves_[i], ear);
    if (found != kNoCorner) return found;
  }
  return kNoCorner;
}

std::uint32_t ReflexIndex::test(std::uint32_t lanes, const Leaf& leaf, const Ear& ear) const {
  const EarTriangle triangle(ear);
  for (; lanes != 0; lanes &= lanes - 1) {
    const std::uint32_t corner = leaf.corner[firstOf(lanes)];
    if (triangle.contains(ring_[corner])) return corner;
  }
  return kNoCorner;
}

}  // namespace Recast::Triangulation
