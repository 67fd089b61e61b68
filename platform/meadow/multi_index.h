#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "recast/larder/export.h"

namespace Quilt {

/// N unsigned 64-bit numbers, a shape or a position; the first index runs fastest.
template <int N>
class RECAST_API MultiIndex : public MultiIndex<N - 1> {
 public:
  static_assert(N > 1);
  MultiIndex() = default;
  template <class... Numbers>
  requires(sizeof...(Numbers) == N && (std::is_integral_v<Numbers> && ...)) explicit(false)
      MultiIndex(Numbers... numbers) {
    const std::uint64_t values[] = {static_cast<std::uint64_t>(numbers)...};
    for (std::size_t i = 0; i < N; ++i) (*this)[i] = values[i];
  }

  std::uint64_t& operator[](std::size_t i) {
    return i == N - 1 ? last_ : MultiIndex<N - 1>::operator[](i);
  }
  const std::uint64_t& operator[](std::size_t i) const {
    return i == N - 1 ? last_ : MultiIndex<N - 1>::operator[](i);
  }
  /// The product of all numbers, modulo 2^64: the element count of a shape.
  std::uint64_t product() const { return MultiIndex<N - 1>::product() * last_; }
  /// Steps a position through `shape`, the first index fastest.
  /// \return false when the last position was passed; all numbers are 0 then.
  bool inc(const MultiIndex& shape) {
    if (MultiIndex<N - 1>::inc(shape)) return true;
    if (++last_ < shape.last_) return true;
    last_ = 0;
    return false;
  }
  bool operator==(const MultiIndex&) const = default;

 private:
  std::uint64_t last_ = 0;
};

template <>
class MultiIndex<1> {
 public:
  MultiIndex() = default;
  explicit(false) MultiIndex(std::uint64_t n) : first_(n) {}

  std::uint64_t& operator[](std::size_t) { return first_; }
  const std::uint64_t& operator[](std::size_t) const { return first_; }
  std::uint64_t product() const { return first_; }
  bool inc(const MultiIndex& shape) {
    if (++first_ < shape.first_) return true;
    first_ = 0;
    return false;
  }
  bool operator==(const MultiIndex&) const = default;

 private:
  std::uint64_t first_ = 0;
};

/// A shape of 10, 20, 30 becomes "[10x20x30]".
inline std::string to_string(const MultiIndex<3>& index) {
  return "[" + std::to_string(index[0]) + "x" + std::to_string(index[1]) + "x" +
         std::to_string(index[2]) + "]";
}

/// A shape or position of any rank; the first index runs fastest. Without extents it says "none".
class RECAST_API DynamicSize {
 public:
  DynamicSize() = default;
  explicit DynamicSize(std::vector<std::uint64_t> extents) : extents_(std::move(extents)) {}
  template <int N>
  explicit(false) DynamicSize(const MultiIndex<N>& index) : extents_(N) {
    for (std::size_t i = 0; i < N; ++i) extents_[i] = index[i];
  }

  std::size_t rank() const { return extents_.size(); }
  std::uint64_t operator[](std::size_t i) const { return extents_[i]; }
  const std::vector<std::uint64_t>& extents() const { return extents_; }
  /// The product of the extents times `factor`. \return false if it does not fit 64 bits.
  bool product(std::uint64_t factor, std::uint64_t& result) const {
    result = factor;
    for (const std::uint64_t extent : extents_)
      if (__builtin_mul_overflow(result, extent, &result)) return false;
    return true;
  }
  /// The same as a `MultiIndex`; the rank must be N.
  template <int N>
  MultiIndex<N> toMultiIndex() const {
    MultiIndex<N> index;
    for (std::size_t i = 0; i < N; ++i) index[i] = extents_[i];
    return index;
  }
  bool operator==(const DynamicSize&) const = default;

 private:
  std::vector<std::uint64_t> extents_;
};

}  // namespace Quilt
