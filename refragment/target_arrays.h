#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "recast/typed_arrays/mem_array.h"

namespace Recast {

/// The target arrays of one field in one pass. An array comes into being with its first points and
/// leaves with its last ones: a cloud whose source fragments are compact has few of them in memory
/// at once. Safe in several threads at once.
template <class T>
class TargetArrays {
 public:
  using Array = Quilt::MemArray<1, T>;
  using ArrayHandle = Larder::StrongPtr<Array, Larder::Cacheable>;

  /// \param sizes by slot, 0 for a target that is not written.
  /// \param available by slot the values that will come.
  TargetArrays(const std::vector<std::uint32_t>& sizes, const std::vector<std::uint32_t>& available)
      : targets_(sizes.size()) {
    for (std::size_t slot = 0; slot < sizes.size(); ++slot) {
      targets_[slot].size = sizes[slot];
      targets_[slot].missing = available[slot];
    }
  }

  /// The elements of a target's array, which is made at the first request; null for a target that
  /// is not written.
  T* elements(std::uint32_t slot) {
    Target& target = targets_[slot];
    if (target.size == 0) return nullptr;
    if (T* present = target.elements.load()) return present;
    const std::lock_guard lock(making_[slot % making_.size()]);
    if (T* present = target.elements.load()) return present;
    target.array = Larder::makeStrong<Array>(Quilt::MultiIndex<1>(target.size), nullptr);
    target.elements = target.array->data;
    return target.array->data;
  }
  /// Notes that values have come. \return whether they were the last ones.
  bool came(std::uint32_t slot, std::uint32_t values) {
    return targets_[slot].missing.fetch_sub(values) == values;
  }
  /// Gives the array away.
  ArrayHandle take(std::uint32_t slot) { return std::move(targets_[slot].array); }

 private:
  struct Target {
    std::atomic<T*> elements{nullptr};
    std::atomic<std::uint32_t> missing{0};  // values still to come
    std::uint32_t size = 0;
    ArrayHandle array;
  };

  std::vector<Target> targets_;
  std::array<std::mutex, 64> making_;
};

/// The same for very many small targets: their elements stand in one block, by slot, since to make
/// and drop so many arrays at random takes several times as long as to fill them. They are copied
/// from there when all are complete.
template <class T>
class TargetBlock {
 public:
  using Array = Quilt::MemArray<1, T>;
  using ArrayHandle = Larder::StrongPtr<Array, Larder::Cacheable>;

  /// \param sizes by slot, 0 for a target that is not written.
  explicit TargetBlock(const std::vector<std::uint32_t>& sizes) : begins_(sizes.size() + 1) {
    for (std::size_t slot = 0; slot < sizes.size(); ++slot)
      begins_[slot + 1] = begins_[slot] + sizes[slot];
    elements_ = Larder::makeStrong<Larder::Chunk<T>>(begins_.back());
  }

  T* elements(std::uint32_t slot) {
    return begins_[slot] == begins_[slot + 1] ? nullptr : elements_->data() + begins_[slot];
  }
  bool came(std::uint32_t, std::uint32_t) { return false; }
  ArrayHandle take(std::uint32_t slot) {
    const T* first = elements(slot);
    const std::size_t size = begins_[slot + 1] - begins_[slot];
    auto chunk = Larder::makeStrong<Larder::Chunk<T>>(std::vector<T>(first, first + size));
    return Larder::makeStrong<Array>(chunk, Quilt::MultiIndex<1>(size), nullptr);
  }
  /// Begins to bring the start of a target to the processor.
  void prefetch(std::uint32_t slot) const { __builtin_prefetch(&begins_[slot]); }
  void prefetch(std::uint32_t slot, std::uint32_t start) const {
    __builtin_prefetch(elements_->data() + begins_[slot] + start, 1);
  }

 private:
  std::vector<std::uint64_t> begins_;
  Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> elements_;
};

}  // namespace Recast
