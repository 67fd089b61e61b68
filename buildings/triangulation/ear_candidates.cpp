#include "recast/buildings/triangulation/ear_candidates.h"

#include <algorithm>

namespace Recast::Triangulation {

void EarCandidates::build(std::span<const std::uint8_t> isReflex) {
  anyBlocked_ = false;
  corners_ = static_cast<std::uint32_t>(isReflex.size());
  words_.resize((isReflex.size() + kBits - 1) / kBits);
  for (std::size_t word = 0; word < words_.size(); ++word) {
    const std::size_t first = word * kBits, end = std::min(first + kBits, isReflex.size());
    std::uint64_t bits = 0;
    for (std::size_t i = first; i < end; ++i)
      bits |= std::uint64_t{isReflex[i] == 0} << (i - first);
    words_[word] = bits;
  }
  summarise();
}

void EarCandidates::summarise() {
  height_ = 0;
  for (std::size_t below = words_.size(); below > 1; ++height_) {
    below = (below + kBits - 1) / kBits;
    if (summaries_.size() == height_) summaries_.emplace_back();
    summaries_[height_].assign(below, 0);
  }
  if (height_ == 0) return;
  for (std::uint32_t word = 0; word < words_.size(); ++word)
    if (words_[word] != 0) raise(word);
}

std::uint32_t EarCandidates::searchFrom(std::uint32_t corner) const {
  const std::uint32_t found = findFrom(corner);
  return found != kNoCorner ? found : findFrom(0);
}

/// Climbs until there is a set bit to the right, then down to its first corner.
std::uint32_t EarCandidates::findFrom(std::uint32_t i) const {
  const auto first = [](std::uint64_t bits) {
    return static_cast<std::uint32_t>(std::countr_zero(bits));
  };
  for (std::size_t level = 0; level <= height_; ++level) {
    const auto& words = level == 0 ? words_ : summaries_[level - 1];
    const std::uint64_t rest = i / kBits < words.size() ? words[i / kBits] >> i % kBits : 0;
    if (rest != 0) {
      i += first(rest);
      for (; level > 1; --level) i = i * kBits + first(summaries_[level - 2][i]);
      return level == 0 ? i : i * kBits + first(words_[i]);
    }
    i = i / kBits + 1;
  }
  return kNoCorner;
}

void EarCandidates::raise(std::uint32_t word) {
  for (std::size_t level = 0; level < height_; ++level, word /= kBits)
    summaries_[level][word / kBits] |= std::uint64_t{1} << word % kBits;
}

void EarCandidates::lower(std::uint32_t word) {
  for (std::size_t level = 0; level < height_; ++level, word /= kBits) {
    std::uint64_t& bits = summaries_[level][word / kBits];
    bits &= ~(std::uint64_t{1} << word % kBits);
    if (bits != 0) return;
  }
}

void EarCandidates::block(std::uint32_t corner, std::uint32_t blocker) {
  if (!anyBlocked_) links_.assign(corners_, {kNoCorner, kNoCorner, kNoCorner, kNoCorner});
  anyBlocked_ = true;
  remove(corner);
  std::uint32_t& first = links_[blocker].firstBlocked;
  links_[corner].blocker = blocker;
  links_[corner].before = kNoCorner;
  links_[corner].after = first;
  if (first != kNoCorner) links_[first].before = corner;
  first = corner;
}

void EarCandidates::release(std::uint32_t blocker) {
  while (links_[blocker].firstBlocked != kNoCorner) {
    const std::uint32_t corner = links_[blocker].firstBlocked;
    unlink(corner);
    add(corner);
  }
}

void EarCandidates::unlink(std::uint32_t corner) {
  Links& links = links_[corner];
  if (links.before == kNoCorner)
    links_[links.blocker].firstBlocked = links.after;
  else
    links_[links.before].after = links.after;
  if (links.after != kNoCorner) links_[links.after].before = links.before;
  links.blocker = kNoCorner;
}

}  // namespace Recast::Triangulation
