#pragma once

// The bodies of the operations that make one array out of another, for the units of this component
// that instantiate them.

#include <algorithm>

#include "recast/array_slices/array_slices.h"
#include "recast/typed_arrays/fragment_handle_array.h"

namespace Quilt {

/// Whether arrays of T exist at all ranks.
template <class T>
inline constexpr bool hasAllRanks = !std::is_same_v<T, FragmentHandle>;

template <int N>
template <class T>
MemBaseHandle MemArrayGetSlice<N>::getSlice(MemArray<N, T>& array, std::uint64_t index,
                                            const WeakCreator& creator) {
  MultiIndex<N - 1> shape;
  std::uint64_t plane = 1;
  for (std::size_t axis = 0; axis < N - 1; ++axis) {
    shape[axis] = array.dims[axis];
    plane *= shape[axis];
  }
  Iterator<T> iterator = array;
  if (array.data != nullptr) {
    iterator.first += index * plane;
    return MemBaseHandle(
        new MemArray<N - 1, T>(iterator, shape, nullptr, array.getChunk(), creator));
  }
  if (array.creator != nullptr) iterator = array.creator->iterator(N - 1, index);
  return MemBaseHandle(
      new MemArray<N - 1, T>(iterator, shape, array.creator, array.getChunk(), creator));
}

/// A view of one component of each element that `array` covers. Its strided places are those of the
/// array, so that `first` stays; its `length` is 0 where components have other elements between
/// them.
template <class T>
Iterator<typename ElementTraits<T>::Component> componentIterator(const Iterator<T>& array,
                                                                 int component) {
  using Component = typename ElementTraits<T>::Component;
  constexpr std::uint64_t kComponents = ElementTraits<T>::kComponents;
  Iterator<Component> view;
  view.count = array.count * kComponents;
  view.stride = array.stride * kComponents;
  view.length = kComponents == 1 ? array.count : 0;
  view.first = array.first;
  if (array.data != nullptr) view.data = reinterpret_cast<Component*>(array.data) + component;
  const std::uint64_t used = array.places() - array.first - array.tail;
  const std::uint64_t available = view.places() - view.first;
  view.tail = available < used ? 0 : available - used;
  return view;
}

template <int N, class T>
MemBaseHandle MemArray<N, T>::getSlice(std::uint64_t index, const WeakCreator& madeBy) {
  if constexpr (N > 1 && hasAllRanks<T>)
    return MemArrayGetSlice<N>::getSlice(*this, index, madeBy);
  else
    return nullptr;
}

template <int N, class T>
MemBaseHandle MemArray<N, T>::getComponentArray(int component, const WeakCreator& madeBy) {
  if constexpr (hasAllRanks<T>) {
    using Component = typename ElementTraits<T>::Component;
    if (component < 0 || component >= static_cast<int>(ElementTraits<T>::kComponents))
      return nullptr;
    DataCreator<Component>* source = nullptr;
    if constexpr (std::is_same_v<T, Component>) source = this->creator;
    return MemBaseHandle(new MemArray<N, Component>(componentIterator<T>(*this, component),
                                                    this->dims, source, this->getChunk(), madeBy));
  } else {
    return nullptr;
  }
}

template <int N, class T>
MemBaseHandle MemArray<N, T>::createSubMemArray(const MultiIndex<N>& origin,
                                                const MultiIndex<N>& size,
                                                const WeakCreator& madeBy) {
  if (this->data == nullptr && this->creator == nullptr && size.product() > 0) return nullptr;
  const Larder::StrongPtr<MemArray, Larder::Cacheable> target(new MemArray(size, madeBy));
  CopySubset(size, static_cast<MultiArray<N, T>&>(*target), MultiIndex<N>(),
             static_cast<const MultiArray<N, T>&>(*this), origin, PlainCopyConvert());
  return target;
}

template <int N, class T>
MemBaseHandle MemArray<N, T>::copy(const WeakCreator& madeBy) {
  if (!this->chunk) return nullptr;
  return MemBaseHandle(new MemArray(this->chunk->copy(), this->dims, madeBy));
}

template <int N, class T>
MemBaseHandle MemArray<N, T>::createEquallySizedMemArray(
    const Larder::StrongPtr<Larder::ChunkBase>& source, const WeakCreator& madeBy) {
  if (!source || source->elements() != this->dims.product()) return nullptr;
  return MemBaseHandle(new MemArray(source, this->dims, madeBy));
}

template <int N, class T>
bool ReferencingMemArray<N, T>::copyFrom(const Larder::StrongPtr<Larder::ChunkBase>& source) {
  const auto typed = source.castTo<Larder::TypedChunk<T>>();
  if (!chunk || !typed || typed->elements() != chunk->elements()) return false;
  std::copy_n(typed->typed_data(), typed->elements(), chunk->typed_data());
  return true;
}

}  // namespace Quilt

#define RECAST_ARRAY_SLICES_OF_RANK(N, T)                                                   \
  template Quilt::MemBaseHandle Quilt::MemArray<N, T>::getSlice(std::uint64_t,              \
                                                                const Quilt::WeakCreator&); \
  template Quilt::MemBaseHandle Quilt::MemArray<N, T>::getComponentArray(                   \
      int, const Quilt::WeakCreator&);                                                      \
  template Quilt::MemBaseHandle Quilt::MemArray<N, T>::createSubMemArray(                   \
      const Quilt::MultiIndex<N>&, const Quilt::MultiIndex<N>&, const Quilt::WeakCreator&); \
  template Quilt::MemBaseHandle Quilt::MemArray<N, T>::copy(const Quilt::WeakCreator&);     \
  template Quilt::MemBaseHandle Quilt::MemArray<N, T>::createEquallySizedMemArray(          \
      const Larder::StrongPtr<Larder::ChunkBase>&, const Quilt::WeakCreator&);              \
  template bool Quilt::ReferencingMemArray<N, T>::copyFrom(                                 \
      const Larder::StrongPtr<Larder::ChunkBase>&);
#define RECAST_PLANES_OF_RANK(N, T)                                   \
  template Quilt::MemBaseHandle Quilt::MemArrayGetSlice<N>::getSlice( \
      Quilt::MemArray<N, T>&, std::uint64_t, const Quilt::WeakCreator&);
#define RECAST_ARRAY_SLICES(T)      \
  RECAST_ARRAY_SLICES_OF_RANK(1, T) \
  RECAST_ARRAY_SLICES_OF_RANK(2, T) \
  RECAST_ARRAY_SLICES_OF_RANK(3, T) \
  RECAST_ARRAY_SLICES_OF_RANK(4, T) \
  RECAST_PLANES_OF_RANK(3, T)       \
  RECAST_PLANES_OF_RANK(4, T)
