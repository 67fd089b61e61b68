#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "recast/contours/edge_crossings.h"
#include "recast/contours/gaps.h"
#include "recast/contours/tile_index.h"

namespace Recast::Contours {

/// The edges on which pieces of one level's lines end, and the pieces between them: each edge knows
/// the next one of its line, and whether there is one before. Each edge becomes a vertex of a line.
class EdgeNet {
 public:
  /// Edges are numbered by 31 bits: half as many as the vertices of a whole run.
  using Number = std::uint32_t;
  static constexpr Number kNone = 0x7FFFFFFF;
  /// Memory that an edge takes; 4 more where heights are kept.
  static constexpr std::size_t kBytesPerEdge = 12;

  float level = 0.0F;
  std::uint64_t activeCells = 0;  ///< cells with corners on both sides of the level
  std::vector<Gap> gaps;          ///< where pieces are missing for want of a value

  /// Empties the net for a new level. \param columns of cells that are scanned
  /// \param withHeights whether each crossing has a height of its own
  void reset(float newLevel, Index columns, bool withHeights);
  /// Takes no edge on the lower side of `columns` columns and on the left as known, for a tile that
  /// is scanned alone.
  void forget(Index firstColumn, Index columns);
  /// Makes room for `more` edges. \throw std::bad_alloc; std::length_error beyond 31 bits
  void reserve(std::size_t more) {
    if (capacity_ - size_ < more) grow(size_ + more);
  }
  /// Adds an edge if `wanted`, else does nothing; there must be room. Without a branch, since what
  /// is wanted can't be foreseen. \return its number, without meaning if not wanted.
  Number addIf(bool wanted) {
    nodes_[size_].link = kNone;
    const auto number = static_cast<Number>(size_);
    size_ += wanted ? 1 : 0;
    return number;
  }
  void place(std::size_t number, const Crossing& crossing) {
    nodes_[number].alongI = crossing.alongI;
    nodes_[number].alongJ = crossing.alongJ;
    if (heights_) heights_[number] = crossing.height;
  }
  void link(Number entry, Number exit) {
    nodes_[entry].link = (nodes_[entry].link & kFollows) | exit;
    nodes_[exit].link |= kFollows;
  }

  std::size_t size() const { return size_; }
  Crossing crossing(std::size_t number) const {
    return {nodes_[number].alongI, nodes_[number].alongJ, heights_ ? heights_[number] : level};
  }
  /// Where the piece goes that enters its cell at this edge; `kNone` if there is none.
  Number ahead(std::size_t number) const { return nodes_[number].link & kNone; }
  /// Whether a piece leaves its cell at this edge.
  bool follows(std::size_t number) const { return (nodes_[number].link & kFollows) != 0; }
  /// Takes the piece away that enters its cell at this edge. \return where it went
  Number takeAhead(std::size_t number) {
    const Number next = ahead(number);
    nodes_[number].link |= kNone;
    return next;
  }

  /// The edges that the cells above and to the right share with those that were scanned before:
  /// for each column of the fragment its uppermost, for each row of a tile its rightmost; `kNone`
  /// where no piece ends. The number is good where the level crosses the edge.
  std::vector<Number> below;
  std::array<Number, TileIndex::kSide> left{};

 private:
  static constexpr Number kFollows = 0x80000000;
  struct Node {
    float alongI;
    float alongJ;
    Number link;  // the edge ahead, and `kFollows`
  };
  static_assert(sizeof(Node) == kBytesPerEdge);

  void grow(std::size_t least);

  // No vectors: their elements beyond `size_` can't be written.
  std::unique_ptr<Node[]> nodes_;
  std::unique_ptr<float[]> heights_;  // null if all are the level
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace Recast::Contours
