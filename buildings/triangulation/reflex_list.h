#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "recast/buildings/triangulation/corner_arithmetic.h"

namespace Recast::Triangulation {

/// The reflex corners of one ring, searched one by one: the fastest as long as they are few.
class ReflexList {
 public:
  /// Starts with the corners of the ring for which `isReflex` is set.
  void build(std::span<const Point> ring, std::span<const std::uint8_t> isReflex) {
    ring_ = ring;
    if (members_.size() < ring.size()) members_.resize(ring.size());
    std::size_t size = 0;
    for (std::uint32_t i = 0; i < isReflex.size(); ++i) {
      members_[size] = i;
      size += isReflex[i];
    }
    size_ = size;
  }

  std::span<const std::uint32_t> members() const { return {members_.data(), size_}; }
  /// \pre the corner is a member
  void remove(std::uint32_t corner) {
    std::size_t i = 0;
    while (members_[i] != corner) ++i;
    members_[i] = members_[--size_];
  }
  /// A member other than `previous` and `next` whose point is in the ear, `kNoCorner` if none is.
  std::uint32_t findInside(const Ear& ear, std::uint32_t previous, std::uint32_t next) const {
    if (size_ == 0) return kNoCorner;
    const EarTriangle triangle(ear);
    for (std::uint32_t corner : members())
      if (corner != previous && corner != next && triangle.contains(ring_[corner])) return corner;
    return kNoCorner;
  }

 private:
  std::span<const Point> ring_;
  std::vector<std::uint32_t> members_;  // the first `size_`
  std::size_t size_ = 0;
};

}  // namespace Recast::Triangulation
