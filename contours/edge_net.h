#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

#include "recast/contours/edge_crossings.h"
#include "recast/contours/piece_filter.h"
#include "recast/contours/tile_index.h"

namespace Recast::Contours {

/// The edges that one level crosses, and the pieces of lines between them: each edge knows the next
/// and the one before.
///
/// The edges are numbered by 32 bits, as the vertices are that they become.
class EdgeNet {
 public:
  using Number = std::uint32_t;
  static constexpr Number kNone = std::numeric_limits<Number>::max();

  struct Node {
    Crossing crossing;
    Number ahead;   // where the piece goes that enters its cell here
    Number behind;  // where the piece comes from that leaves its cell here
  };

  float level = 0.0F;
  std::uint64_t activeCells = 0;  ///< cells with corners on both sides of the level
  std::vector<Gap> gaps;          ///< where pieces are missing for want of a value

  void reset(float newLevel, Index columns);
  /// Makes room for `more` edges. \throw std::bad_alloc; std::length_error beyond 32 bits
  void reserve(std::size_t more) {
    if (capacity_ - size_ < more) grow(size_ + more);
  }
  /// Adds an edge if `wanted`, else does nothing; there must be room. Without a branch, since what
  /// is wanted can't be foreseen. \return its number, without meaning if not wanted.
  Number addIf(bool wanted, const Crossing& crossing) {
    nodes_[size_] = {crossing, kNone, kNone};
    const auto number = static_cast<Number>(size_);
    size_ += wanted ? 1 : 0;
    return number;
  }
  void link(Number entry, Number exit) {
    nodes_[entry].ahead = exit;
    nodes_[exit].behind = entry;
  }

  std::size_t size() const { return size_; }
  Node& operator[](std::size_t number) { return nodes_[number]; }

  /// The edges that the cells above and to the right share with those that were scanned before:
  /// for each column of the fragment its uppermost, for each row of a tile its rightmost. The
  /// number is good where the level crosses the edge.
  std::vector<Number> below;
  std::array<Number, TileIndex::kSide> left{};

 private:
  void grow(std::size_t least);

  std::unique_ptr<Node[]> nodes_;  // no vector: its elements beyond `size_` can't be written
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace Recast::Contours
