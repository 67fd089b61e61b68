#pragma once

// The bodies of the array templates, for the units of this component that instantiate them.

#include <stdexcept>

#include "recast/typed_arrays/mem_array_allocator.h"

namespace Quilt {

/// The elements of a shape that is to get memory. A product that wraps would get too little of it.
template <int N>
std::size_t elementCount(const MultiIndex<N>& shape) {
  std::uint64_t count = 0;
  if (!DynamicSize(shape).product(1, count))
    throw std::length_error("an array of more elements than 64 bits can count");
  return count;
}

template <int N, class T>
bool MemArray<N, T>::TypeIsRegistered = MemArrayAllocator<T>::isRegistered();

/// A new chunk of value-initialised elements. A function of its own, since GCC 12 does not give the
/// memory back where a `new` among the arguments of a delegating constructor throws.
template <class T>
Larder::StrongPtr<Larder::ChunkBase> newChunk(std::size_t elements) {
  return Larder::StrongPtr<Larder::ChunkBase>(new Larder::Chunk<T>(elements, false));
}

template <int N, class T>
MemArray<N, T>::MemArray(const MultiIndex<N>& shape, const WeakCreator& madeBy)
    : MemArray(newChunk<T>(elementCount(shape)), shape, madeBy) {}

template <int N, class T>
MemArray<N, T>::MemArray(const Larder::StrongPtr<Larder::ChunkBase>& source,
                         const MultiIndex<N>& shape, const WeakCreator& madeBy)
    : MemBase(*QuiltType<T>::getQuiltType(), madeBy), ReferencingMemArray<N, T>(source, shape) {
  countRegistration();
}

template <int N, class T>
MemArray<N, T>::MemArray(const Iterator<T>& iterator, const MultiIndex<N>& shape,
                         DataCreator<T>* source, const Larder::StrongPtr<Larder::ChunkBase>& owner,
                         const WeakCreator& madeBy)
    : MemBase(*QuiltType<T>::getQuiltType(), madeBy),
      ReferencingMemArray<N, T>(iterator, shape, source, owner) {
  countRegistration();
}

template <int N, class T>
void MemArray<N, T>::countRegistration() {
  if (TypeIsRegistered) MemBase::RegisteredTypes.fetch_add(1, std::memory_order_relaxed);
}

template <int N, class T>
MemBaseHandle MemArray<N, T>::newMemArraynD(const MultiIndex<N>& shape,
                                            const WeakCreator& madeBy) const {
  return MemBaseHandle(new MemArray(shape, madeBy));
}

template <class T>
Larder::StrongPtr<TypedArray<T>, Larder::Cacheable> newMemArray(const DynamicSize& size,
                                                                const WeakCreator& madeBy) {
  using Handle = Larder::StrongPtr<TypedArray<T>, Larder::Cacheable>;
  switch (size.rank()) {
    case 1: return Handle(new MemArray<1, T>(size.toMultiIndex<1>(), madeBy));
    case 2: return Handle(new MemArray<2, T>(size.toMultiIndex<2>(), madeBy));
    case 3: return Handle(new MemArray<3, T>(size.toMultiIndex<3>(), madeBy));
    case 4: return Handle(new MemArray<4, T>(size.toMultiIndex<4>(), madeBy));
    default: return nullptr;
  }
}

template <class T>
bool MemArrayAllocator<T>::registerMe() {
  const Larder::StrongPtr<MemBase::Allocator, Larder::InterfaceBase> allocator(
      new MemArrayAllocator);
  return MemBase::registerCreator(allocator, QuiltType<T>::getQuiltType());
}

template <class T>
bool MemArrayAllocator<T>::isRegistered() {
  static const bool registered = registerMe();
  static_cast<void>(registered);
  return true;
}

template <class T>
MemBaseHandle MemArrayAllocator<T>::create(const DynamicSize& size) const {
  static const WeakCreator none;
  return newMemArray<T>(size, none);
}

}  // namespace Quilt

#define RECAST_INSTANCE(T)                                                                   \
  template class Quilt::ReferencingMemArray<1, T>;                                           \
  template class Quilt::ReferencingMemArray<2, T>;                                           \
  template class Quilt::ReferencingMemArray<3, T>;                                           \
  template class Quilt::ReferencingMemArray<4, T>;                                           \
  template class Quilt::MemArray<1, T>;                                                      \
  template class Quilt::MemArray<2, T>;                                                      \
  template class Quilt::MemArray<3, T>;                                                      \
  template class Quilt::MemArray<4, T>;                                                      \
  template class Quilt::MemArrayAllocator<T>;                                                \
  template Larder::StrongPtr<Quilt::TypedArray<T>, Larder::Cacheable> Quilt::newMemArray<T>( \
      const Quilt::DynamicSize&, const Quilt::WeakCreator&);
