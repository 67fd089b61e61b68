#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace Recast {

/// The target fragments of one pass: those whose running number leaves the rest `pass` when divided
/// by the number of passes. Their places among themselves are called slots.
class PassShare {
 public:
  PassShare(std::uint32_t fragments, std::uint32_t passes, std::uint32_t pass)
      : passes_(passes), pass_(pass), slots_(slotsOf(fragments, passes, pass)) {}

  std::uint32_t slots() const { return slots_; }
  std::uint32_t fragmentOf(std::uint32_t slot) const { return slot * passes_ + pass_; }
  /// \return false if the fragment belongs to another pass.
  bool slotOf(std::uint32_t fragment, std::uint32_t& slot) const {
    slot = fragment;
    if (passes_ == 1) return true;
    slot = fragment / passes_;
    return fragment - slot * passes_ == pass_;
  }

 private:
  static std::uint32_t slotsOf(std::uint32_t fragments, std::uint32_t passes, std::uint32_t pass) {
    return pass < fragments ? (fragments - pass - 1) / passes + 1 : 0;
  }

  std::uint32_t passes_;
  std::uint32_t pass_;
  std::uint32_t slots_;
};

/// The assignment of one pass: for every pair of source and target fragment the indices of the
/// source's points that the target gets, in ascending order.
///
/// Kept by segments of up to 65536 points of one source fragment, so that an index takes 2 bytes
/// and the part of an array that one segment needs fits the processor's cache. Within a segment the
/// indices stand by target fragment; a run is what one target fragment gets from one segment.
class IndexLists {
 public:
  static constexpr std::uint32_t kSegmentPoints = 65536;

  struct Run {
    std::uint32_t slot;
    std::uint32_t begin;  ///< in the segment's indices; it ends where the next run begins
    std::uint32_t start;  ///< place of its first point in the target's arrays, see `layOut`
  };
  struct Segment {
    std::uint32_t source;      ///< place of the source fragment in the list of all
    std::uint64_t firstPoint;  ///< in the source fragment
    std::vector<Run> runs;     ///< ascending slots; one more at the end, which ends the last one
    std::vector<std::uint16_t> indices;  ///< counted from `firstPoint`

    std::size_t numberOfRuns() const { return runs.empty() ? 0 : runs.size() - 1; }
    std::span<const std::uint16_t> indicesOf(std::size_t run) const {
      return {indices.data() + runs[run].begin, indices.data() + runs[run + 1].begin};
    }
  };

  explicit IndexLists(const PassShare& share) : share_(share), counts_(share.slots()) {}

  const PassShare& share() const { return share_; }
  void add(Segment segment);
  /// All segments, in the order in which target arrays are filled.
  const std::vector<Segment>& segments() const { return segments_; }
  /// Points of all target fragments together.
  std::uint64_t points() const { return points_; }
  /// Points of a target fragment.
  std::uint64_t count(std::uint32_t slot) const { return counts_[slot]; }

  /// Orders the segments by the rank of their source fragments; those of one source stay as they
  /// are.
  void orderBy(const std::vector<std::uint32_t>& rankOfSource);
  /// Fixes where each run's points lie in the target's array of a field, one run behind the other.
  /// \param absent per source fragment whether it has no data in that field: its runs are passed
  /// over, and those behind move up.
  /// \return per slot the points that have data.
  /// \throw RunEnd if a target fragment has more points than 32 bits can count.
  const std::vector<std::uint32_t>& layOut(const std::vector<bool>& absent);

 private:
  PassShare share_;
  std::vector<Segment> segments_;
  std::vector<std::uint64_t> counts_;
  std::uint64_t points_ = 0;
  bool laidOut_ = false;
  std::vector<bool> absent_;              // what the layout was made for
  std::vector<std::uint32_t> available_;  // what it gave
};

}  // namespace Recast
