#pragma once

#include "recast/typed_arrays/mem_array.h"

namespace Quilt {

/// A new array with the rank and the extents of `size` and memory of its own; null for a rank other
/// than 1 to 4.
/// \throw std::bad_alloc, std::length_error
template <class T>
RECAST_API Larder::StrongPtr<TypedArray<T>, Larder::Cacheable> newMemArray(
    const DynamicSize& size, const WeakCreator& creator);

/// An array of rank 1 over all of `chunk`, which is not copied; null for a null chunk. Exists for
/// points and triangles.
template <class T>
RECAST_API Larder::StrongPtr<TypedArray<T>, Larder::Cacheable> makeMemArray1D(
    const Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase>& chunk,
    const WeakCreator& creator) {
  static_assert(
      std::is_same_v<T, Heron::PhysicalSpace::point> || std::is_same_v<T, Triangle>,
      "makeMemArray1D exists for points and triangles; make other arrays as MemArray<1, T>");
  if (!chunk) return nullptr;
  return Larder::StrongPtr<TypedArray<T>, Larder::Cacheable>(
      new MemArray<1, T>(chunk, MultiIndex<1>(chunk->size()), creator));
}

/// Makes arrays of element type T for code that knows it only by name.
template <class T>
class RECAST_API MemArrayAllocator : public MemBase::Allocator {
 public:
  /// Enters a new allocator under the descriptor of T. \return false if there is one already.
  static bool registerMe();
  /// Registers T at the first call. Always true, so that static initialisers can call it.
  static bool isRegistered();

  MemBaseHandle create(const DynamicSize& size) const override;
};

#define RECAST_EXTERN(T)                                                              \
  extern template class MemArrayAllocator<T>;                                         \
  extern template Larder::StrongPtr<TypedArray<T>, Larder::Cacheable> newMemArray<T>( \
      const DynamicSize&, const WeakCreator&);
RECAST_ALL_ELEMENTS(RECAST_EXTERN)
#undef RECAST_EXTERN
extern template Larder::StrongPtr<TypedArray<Heron::PhysicalSpace::point>, Larder::Cacheable>
makeMemArray1D(
    const Larder::StrongPtr<Larder::Chunk<Heron::PhysicalSpace::point>, Larder::ChunkBase>&,
    const WeakCreator&);
extern template Larder::StrongPtr<TypedArray<Triangle>, Larder::Cacheable> makeMemArray1D(
    const Larder::StrongPtr<Larder::Chunk<Triangle>, Larder::ChunkBase>&, const WeakCreator&);

}  // namespace Quilt
