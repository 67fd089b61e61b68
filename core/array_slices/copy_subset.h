#pragma once

#include "recast/typed_arrays/multi_array.h"

namespace Quilt {

/// Assigns one element to another; a list of indices is copied as a whole.
struct RECAST_API PlainCopyConvert {
  template <class T, class S>
  void copy(T& target, const S& source) const {
    target = source;
  }
};

/// Copies a box of `size` elements, first index fastest: calls `convert.copy(target element, source
/// element)` for each. An array without memory is asked for its elements one by one.
/// \param targetOrigin, sourceOrigin the position of the box in each; it must lie inside both,
/// which nothing tests. The memory of the two must not overlap, unless each element is copied to
/// itself.
/// \throw std::logic_error for an array with neither memory nor a creator of its data
template <class T, class S, int N, class Convert>
void CopySubset(const MultiIndex<N>& size, MultiArray<N, T>& target,
                const MultiIndex<N>& targetOrigin, const MultiArray<N, S>& source,
                const MultiIndex<N>& sourceOrigin, const Convert& convert) {
  if (size.product() == 0) return;
  MultiIndex<N> rows = size;
  rows[0] = 1;
  MultiIndex<N> row;
  do {
    MultiIndex<N> to = targetOrigin;
    MultiIndex<N> from = sourceOrigin;
    for (std::size_t axis = 0; axis < N; ++axis) {
      to[axis] += row[axis];
      from[axis] += row[axis];
    }
    if (target.data != nullptr && source.data != nullptr) {
      T* targetRow = &target[to];
      const S* sourceRow = &source[from];
      for (std::uint64_t i = 0; i < size[0]; ++i)
        convert.copy(targetRow[i * target.stride], sourceRow[i * source.stride]);
    } else {
      for (std::uint64_t i = 0; i < size[0]; ++i, ++to[0], ++from[0])
        convert.copy(target[to], source[from]);
    }
  } while (row.inc(rows));
}

}  // namespace Quilt
