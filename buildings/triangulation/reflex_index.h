#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "recast/buildings/triangulation/ear_filter.h"

namespace Recast::Triangulation {

/// The reflex corners of one ring, searched by ear. The answers are those of a walk over all of
/// them with `EarTriangle::contains`, of which nearly all are ruled out eight at a time.
///
/// Eight corners that lie close to each other make a leaf; if there are many leaves, boxes around
/// eight leaves make a node, boxes around eight nodes a node above, up to one root. Removed corners
/// leave a gap, and when half of them are gone the rest is laid out anew.
///
/// Cost: building O(n); removal O(1), amortised; a search visits the leaves that the ear touches.
/// Working memory is kept from ring to ring.
class ReflexIndex {
 public:
  /// Takes in the corners `members` of the ring `ring`, which must outlive the searches.
  void build(std::span<const Point> ring, std::span<const std::uint32_t> members);
  /// \pre the corner is a member
  void remove(std::uint32_t corner);
  /// A member other than `previous` and `next`, the ear's ends, whose point is in the ear;
  /// `kNoCorner` if none is. Changes nothing that lasts.
  std::uint32_t findInside(const Ear& ear, std::uint32_t previous, std::uint32_t next);

 private:
  struct alignas(32) Leaf {
    Lanes x, y;
    std::array<std::uint32_t, kLanes> corner;
  };
  // Leaf 0 is empty, so that slot 0 can stand for "not a member" and be cleared without a test.
  static constexpr std::uint32_t kNotIn = 0;

  void sortByPlace();
  void layOut();
  void finishLeaves(std::uint32_t end);
  void compact();
  void raiseTree();
  Boxes boxesOf(std::size_t level, std::size_t child) const;

  std::uint32_t search(const Ear& ear) const;
  std::uint32_t searchLeaf(std::size_t leaf, const EarSides& sides, const Ear& ear) const;
  std::uint32_t searchNode(std::size_t level, std::size_t i, const EarSides& sides,
                           const EarWindow& window, const Ear& ear) const;
  std::uint32_t searchUnfiltered(std::size_t leaves, const Ear& ear) const;
  std::uint32_t test(std::uint32_t lanes, const Leaf& leaf, const Ear& ear) const;

  std::span<const Point> ring_;
  Frame frame_;
  std::vector<std::uint32_t> slots_;  // per corner: leaf * kLanes + lane
  std::vector<Leaf> leaves_;
  std::vector<std::uint8_t> alive_;         // per leaf: its lanes in use
  std::vector<std::vector<Boxes>> levels_;  // lowest first
  std::size_t height_ = 0;                  // levels in use
  std::size_t wildLeaves_ = 0;              // leaves 1 to this one hold corners that aren't tame
  std::uint32_t end_ = 0;                   // of the slots
  std::uint32_t size_ = 0;
  std::uint32_t compactBelow_ = 0;
  std::vector<std::uint32_t> order_, sorted_, cells_, starts_;  // of the build
};

}  // namespace Recast::Triangulation
