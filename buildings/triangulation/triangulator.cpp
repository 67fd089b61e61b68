#include "recast/buildings/triangulation/triangulator.h"

namespace Recast::Triangulation {

namespace {

/// Up to here a walk over the reflex corners is faster than making an index; measured.
constexpr std::size_t kListedReflex = 12;

}  // namespace

bool Triangulator::triangulate(std::span<const Point> ring,
                               std::vector<Quilt::Triangle>& triangles) {
  if (ring.size() < 3) return true;
  if (ring.size() == 3) {
    triangles.emplace_back(0, 1, 2);
    return true;
  }
  ring_ = ring;
  counterClockwise_ = runsCounterClockwise();
  linkCorners();
  if (list_.members().size() <= kListedReflex) return clip(list_, triangles);
  index_.build(ring_, list_.members());
  return clip(index_, triangles);
}

/// By the turn at the lowest of the leftmost points. The last corner is looked at before those
/// between: coordinates that are no numbers make the order count.
bool Triangulator::runsCounterClockwise() const {
  const std::size_t last = ring_.size() - 1;
  std::size_t leftmost = isLeftOf(ring_[last], ring_[0]) ? last : 0;
  for (std::size_t i = 1; i < last; ++i)
    if (isLeftOf(ring_[i], ring_[leftmost])) leftmost = i;
  return windingValue(ring_[leftmost == 0 ? last : leftmost - 1], ring_[leftmost],
                      ring_[leftmost == last ? 0 : leftmost + 1]) > 0;
}

inline bool Triangulator::turnsReflex(std::uint32_t previous, std::uint32_t corner,
                                      std::uint32_t next) const {
  return isReflexWinding(windingValue(ring_[previous], ring_[corner], ring_[next]),
                         counterClockwise_);
}

void Triangulator::linkCorners() {
  const auto n = static_cast<std::uint32_t>(ring_.size());
  // The last to grow: memory may have run out in between, in a former ring.
  if (isReflex_.size() < n) {
    previous_.resize(n);
    next_.resize(n);
    isReflex_.resize(n);
  }
  const auto link = [&](std::uint32_t i, std::uint32_t previous, std::uint32_t next) {
    previous_[i] = previous;
    next_[i] = next;
    isReflex_[i] = turnsReflex(previous, i, next);
  };
  link(0, n - 1, 1);
  for (std::uint32_t i = 1; i < n - 1; ++i) link(i, i - 1, i + 1);
  link(n - 1, n - 2, 0);
  const std::span<const std::uint8_t> isReflex(isReflex_.data(), n);
  candidates_.build(isReflex);
  list_.build(ring_, isReflex);
}

/// Goes along the ring from ear to ear, from one cut on to the next corner. The corners that are
/// left stand in ascending order along the ring, so that the next candidate by number is the next
/// one along the ring.
template <class Reflex>
bool Triangulator::clip(Reflex& reflex, std::vector<Quilt::Triangle>& triangles) {
  std::uint32_t current = 0;
  for (std::size_t remaining = ring_.size(); remaining > 3;) {
    const std::uint32_t tip = candidates_.nextFrom(current);
    if (tip == kNoCorner) return false;
    const std::uint32_t blocker = findBlocker(reflex, tip);
    if (blocker != kNoCorner) {
      candidates_.block(tip, blocker);
      current = tip + 1;
      continue;
    }
    triangles.push_back(triangleAt(tip));
    cut(reflex, tip);
    current = next_[tip];
    --remaining;
  }
  triangles.push_back(triangleAt(current));
  return true;
}

/// A reflex corner in the ear of `tip`; the one that was there last time is the likeliest.
template <class Reflex>
inline std::uint32_t Triangulator::findBlocker(Reflex& reflex, std::uint32_t tip) const {
  const std::uint32_t previous = previous_[tip];
  const std::uint32_t next = next_[tip];
  const Ear ear{ring_[previous], ring_[tip], ring_[next]};
  const std::uint32_t last = candidates_.blockerOf(tip);
  if (last != kNoCorner && EarTriangle(ear).contains(ring_[last])) return last;
  return reflex.findInside(ear, previous, next);
}

template <class Reflex>
inline void Triangulator::cut(Reflex& reflex, std::uint32_t tip) {
  const std::uint32_t previous = previous_[tip];
  const std::uint32_t next = next_[tip];
  candidates_.remove(tip);
  next_[previous] = next;
  previous_[next] = previous;
  earChanged(reflex, previous);
  earChanged(reflex, next);
}

/// A cut can make a reflex corner convex; a convex one stays so, whatever its winding is now.
template <class Reflex>
inline void Triangulator::earChanged(Reflex& reflex, std::uint32_t i) {
  const bool turned = isReflex_[i] && !turnsReflex(previous_[i], i, next_[i]);
  if (turned) {
    isReflex_[i] = false;
    reflex.remove(i);
    candidates_.releaseBlockedBy(i);
    candidates_.add(i);
  } else {
    candidates_.earChanged(i);
  }
}

inline Quilt::Triangle Triangulator::triangleAt(std::uint32_t tip) const {
  return {previous_[tip], tip, next_[tip]};
}

}  // namespace Recast::Triangulation
