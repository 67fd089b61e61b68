#include "recast/refragment/index_lists.h"

#include <algorithm>
#include <limits>

#include "recast/refragment/run_end.h"

namespace Recast {

void IndexLists::add(Segment segment) {
  for (std::size_t i = 0; i < segment.numberOfRuns(); ++i)
    counts_[segment.runs[i].slot] += segment.indicesOf(i).size();
  points_ += segment.indices.size();
  if (segment.numberOfRuns() > 0) segments_.push_back(std::move(segment));
  laidOut_ = false;
}

void IndexLists::orderBy(const std::vector<std::uint32_t>& rankOfSource) {
  std::stable_sort(segments_.begin(), segments_.end(), [&](const Segment& a, const Segment& b) {
    return rankOfSource[a.source] < rankOfSource[b.source];
  });
  laidOut_ = false;
}

const std::vector<std::uint32_t>& IndexLists::layOut(const std::vector<bool>& absent) {
  if (laidOut_ && absent == absent_) return available_;
  if (std::any_of(counts_.begin(), counts_.end(), [](std::uint64_t count) {
        return count > std::numeric_limits<std::uint32_t>::max();
      }))
    throw RunEnd("a fragment would hold more than 4294967295 points");
  available_.assign(share_.slots(), 0);
  for (Segment& segment : segments_) {
    if (absent[segment.source]) continue;
    for (std::size_t i = 0; i < segment.numberOfRuns(); ++i) {
      Run& run = segment.runs[i];
      run.start = available_[run.slot];
      available_[run.slot] += segment.runs[i + 1].begin - run.begin;
    }
  }
  absent_ = absent;
  laidOut_ = true;
  return available_;
}

}  // namespace Recast
