#pragma once

#include <type_traits>

#include <gtest/gtest.h>

#include "recast/larder/type_name.h"
#include "recast/typed_arrays/mem_array_allocator.h"

namespace TestSupport {

/// Calls `visit(std::type_identity<T>())` for each of the 16 element types.
template <class Visit>
void forEveryElement(Visit visit) {
#define RECAST_VISIT(T)                        \
  {                                            \
    SCOPED_TRACE(Larder::Typename(typeid(T))); \
    visit(std::type_identity<T>());            \
  }
  RECAST_ALL_ELEMENTS(RECAST_VISIT)
#undef RECAST_VISIT
}

/// Calls `visit(std::type_identity<Quilt::MemArray<N, T>>(), shape)` for each element type at the
/// ranks 1 to 4, with a shape of that rank.
template <class Visit>
void forEveryArray(Visit visit) {
  forEveryElement([&]<class T>(std::type_identity<T>) {
    visit(std::type_identity<Quilt::MemArray<1, T>>(), Quilt::MultiIndex<1>(3));
    visit(std::type_identity<Quilt::MemArray<2, T>>(), Quilt::MultiIndex<2>(3, 2));
    visit(std::type_identity<Quilt::MemArray<3, T>>(), Quilt::MultiIndex<3>(3, 2, 4));
    visit(std::type_identity<Quilt::MemArray<4, T>>(), Quilt::MultiIndex<4>(3, 2, 4, 2));
  });
}

/// A value of T that differs for each `i` below 80, and from T's zero.
template <class T>
T sample(std::uint64_t i) {
  if constexpr (std::is_arithmetic_v<T>) {
    return static_cast<T>(i + 1);
  } else if constexpr (std::is_same_v<T, std::vector<unsigned int>>) {
    return std::vector<unsigned int>(i % 5 + 1, static_cast<unsigned int>(i));
  } else {
    T value{};
    for (std::size_t c = 0; c < T::kSize; ++c)
      value[c] = static_cast<typename T::value_type>(i * T::kSize + c + 1);
    return value;
  }
}

template <class T>
using ChunkHandle = Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase>;

/// The samples of 0 to `n` - 1.
template <class T>
ChunkHandle<T> samples(std::size_t n) {
  const auto chunk = Larder::makeStrong<Larder::Chunk<T>>(n);
  for (std::size_t i = 0; i < n; ++i) (*chunk)[i] = sample<T>(i);
  return chunk;
}

/// Where an element lies: the first index runs fastest.
template <int N>
std::uint64_t placeOf(const Quilt::MultiIndex<N>& position, const Quilt::MultiIndex<N>& dims) {
  std::uint64_t place = 0;
  for (std::size_t axis = N; axis-- > 0;) place = place * dims[axis] + position[axis];
  return place;
}

}  // namespace TestSupport
