#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "recast/buildings/triangulation/corner_arithmetic.h"

namespace Recast::Triangulation {

/// The corners of a ring that may be ears: the convex ones, less those that are known to be
/// blocked, which is to say that a certain reflex corner, the blocker, lies in the ear. A blocked
/// corner comes back when its ear changes or its blocker is reflex no longer, and only then, so
/// that a ring in which few corners are ears is not walked again and again.
///
/// A bit set with a summary bit for each 64 bits, and for each 64 of those.
/// Cost: O(log64 n) each operation; `releaseBlockedBy` that for each corner it releases.
/// Rings in which no corner gets blocked, the usual ones, pay for the bits alone.
class EarCandidates {
 public:
  /// Starts with the corners for which `isReflex` is 0.
  void build(std::span<const std::uint8_t> isReflex);

  /// The first candidate from `corner` on, in ring order; `kNoCorner` if there is none at all.
  /// `corner` may be the ring's size.
  std::uint32_t nextFrom(std::uint32_t corner) const {
    const std::uint32_t word = corner / kBits;
    const std::uint64_t rest = word < words_.size() ? words_[word] >> corner % kBits : 0;
    if (rest != 0) return corner + static_cast<std::uint32_t>(std::countr_zero(rest));
    return searchFrom(corner);
  }
  void add(std::uint32_t corner) {
    std::uint64_t& bits = words_[corner / kBits];
    if (bits == 0) raise(corner / kBits);
    bits |= std::uint64_t{1} << corner % kBits;
  }
  void remove(std::uint32_t corner) {
    std::uint64_t& bits = words_[corner / kBits];
    bits &= ~(std::uint64_t{1} << corner % kBits);
    if (bits == 0) lower(corner / kBits);
    if (blockerOf(corner) != kNoCorner) unlink(corner);
  }

  /// Takes `corner` out until its blocker is released or it is added again.
  void block(std::uint32_t corner, std::uint32_t blocker);
  /// Takes a blocked corner in again; what blocked it stays known.
  void earChanged(std::uint32_t corner) {
    if (blockerOf(corner) != kNoCorner) add(corner);
  }
  /// What blocks the corner, or blocked it before its ear changed; else `kNoCorner`.
  std::uint32_t blockerOf(std::uint32_t corner) const {
    return anyBlocked_ ? links_[corner].blocker : kNoCorner;
  }
  void releaseBlockedBy(std::uint32_t blocker) {
    if (anyBlocked_) release(blocker);
  }

 private:
  static constexpr std::uint32_t kBits = 64;
  /// All corners with the same blocker form a list.
  struct Links {
    std::uint32_t blocker, before, after;
    std::uint32_t firstBlocked;  // by this corner
  };

  void summarise();
  std::uint32_t searchFrom(std::uint32_t corner) const;
  std::uint32_t findFrom(std::uint32_t corner) const;
  void release(std::uint32_t blocker);
  void raise(std::uint32_t word);
  void lower(std::uint32_t word);
  void unlink(std::uint32_t corner);

  std::vector<std::uint64_t> words_;
  std::vector<std::vector<std::uint64_t>> summaries_;  // of the words, of the first summary, ...
  std::size_t height_ = 0;                             // summaries in use
  std::uint32_t corners_ = 0;
  bool anyBlocked_ = false;  // if not, there are no links
  std::vector<Links> links_;
};

}  // namespace Recast::Triangulation
