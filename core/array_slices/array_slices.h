#pragma once

#include "recast/array_slices/copy_subset.h"
#include "recast/typed_arrays/mem_array.h"

namespace Quilt {

/// Slices of arrays of rank N, 3 or 4.
template <int N>
struct RECAST_API MemArrayGetSlice {
  /// The plane at `index` of the last axis, as an array of rank N - 1 that shares the memory.
  /// \param index is not tested against the extent. \param creator goes to the new array.
  template <class T>
  static MemBaseHandle getSlice(MemArray<N, T>& array, std::uint64_t index,
                                const WeakCreator& creator);
};

}  // namespace Quilt
