#pragma once

#include "recast/element_types/quilt_type_of.h"
#include "recast/larder/chunk.h"
#include "recast/meadow/creative_array.h"
#include "recast/typed_arrays/multi_array.h"

namespace Quilt {

/// An array of element type T, of any rank.
template <class T>
class RECAST_API TypedArray : public virtual MemBase {
 public:
  using ChunkHandle = Larder::StrongPtr<Larder::TypedChunk<T>, Larder::ChunkBase>;

  /// The first and the last element, by value; a default element for an array without memory.
  virtual T first() const = 0;
  virtual T last() const = 0;
  virtual CreativeIterator<T>& creativeIterator() = 0;
  virtual const CreativeIterator<T>& creativeIterator() const = 0;
  /// The chunk that keeps the memory alive.
  virtual ChunkHandle myChunk() const = 0;
  Larder::StrongPtr<Larder::ChunkBase> getChunk() const override { return myChunk(); }
  const std::type_info& getType() const override { return typeid(T); }
};

/// An array of rank N over the memory of a chunk, which several arrays may share.
template <int N, class T>
class RECAST_API ReferencingMemArray : public MemArrayBase<N>,
                                       public MultiArray<N, T>,
                                       public TypedArray<T> {
 public:
  using ChunkHandle = typename TypedArray<T>::ChunkHandle;

  /// Keeps the memory alive; null for a view of the components of another element type.
  ChunkHandle chunk;

  MultiIndex<N> Size() const override { return this->dims; }
  bool copyFrom(const Larder::StrongPtr<Larder::ChunkBase>& source) override;
  ChunkHandle myChunk() const override { return chunk; }
  /// Bytes of the whole chunk, also of what the shape does not cover.
  std::size_t memsize() const override {
    const auto memory = this->getChunk();
    return memory ? memory->element_size() * memory->elements() : 0;
  }
  std::uint64_t nElements() const override { return this->dims.product(); }
  void DeferredConstructor() override { MemBase::DeferredConstructor(); }
  const std::type_info& getType() const override { return typeid(T); }
  HyperslabParameters getHyperslabParameters() const override { return *this; }
  const void* getPtr() const override { return this->data; }
  const double* OriginPtr() const override { return nullptr; }
  const double* DeltaPtr() const override { return nullptr; }
  T first() const override { return elementOrDefault(MultiIndex<N>()); }
  T last() const override {
    MultiIndex<N> position = this->dims;
    for (std::size_t axis = 0; axis < N; ++axis)
      if (position[axis] > 0) --position[axis];
    return elementOrDefault(position);
  }
  CreativeIterator<T>& creativeIterator() override { return *this; }
  const CreativeIterator<T>& creativeIterator() const override { return *this; }

 protected:
  /// Wraps all of `source` without copying. A chunk of another element type gives an array without
  /// memory; places behind the shape are the tail.
  ReferencingMemArray(const Larder::StrongPtr<Larder::ChunkBase>& source,
                      const MultiIndex<N>& shape)
      : MemBase(*QuiltType<T>::getQuiltType(), nullptr) {
    this->dims = shape;
    const auto typed = source.castTo<Larder::Chunk<T>>();
    chunk = typed;
    if (!typed) return;
    this->count = this->length = typed->size();
    this->data = typed->data();
    if (this->count > shape.product()) this->tail = this->count - shape.product();
  }
  /// A view through `iterator` of memory that `owner` keeps alive.
  ReferencingMemArray(const Iterator<T>& iterator, const MultiIndex<N>& shape,
                      DataCreator<T>* source, const Larder::StrongPtr<Larder::ChunkBase>& owner)
      : MemBase(*QuiltType<T>::getQuiltType(), nullptr),
        MultiArray<N, T>(iterator, shape, source),
        chunk(owner.castTo<Larder::TypedChunk<T>>()) {
    if (!chunk) foreign_ = owner;
  }
  /// The chunk that keeps the memory alive, of whatever element type.
  Larder::StrongPtr<Larder::ChunkBase> owner() const {
    return foreign_ ? foreign_ : Larder::StrongPtr<Larder::ChunkBase>(chunk);
  }

 private:
  T elementOrDefault(const MultiIndex<N>& position) const {
    if (this->count == 0 && this->creator == nullptr) return T{};
    return (*this)[position];
  }

  Larder::StrongPtr<Larder::ChunkBase> foreign_;  // where `chunk` can't hold the memory's
};

/// An array of rank N (1 to 4) and element type T, the first index running fastest: the data of a
/// field's fragment.
///
///     const Quilt::MultiIndex<3> shape(200, 100, 1);
///     const auto heights = Larder::makeStrong<Quilt::MemArray<3, float>>(shape, nullptr);
///     (*heights)[{199, 0, 0}] = 4.5F;
///
/// An array does not grow; its chunk must have its final size before it is wrapped. Not
/// synchronised.
template <int N, class T>
class RECAST_API MemArray : public ReferencingMemArray<N, T> {
 public:
  /// Set when the library is loaded; ties each instance to the registration of its type.
  static bool TypeIsRegistered;

  /// An array over a new chunk of value-initialised elements.
  /// \throw std::bad_alloc, std::length_error
  MemArray(const MultiIndex<N>& shape, const WeakCreator& madeBy);
  /// An array over `source`, which is not copied.
  MemArray(const Larder::StrongPtr<Larder::ChunkBase>& source, const MultiIndex<N>& shape,
           const WeakCreator& madeBy);
  /// A view through `iterator` of memory that `owner` keeps alive.
  MemArray(const Iterator<T>& iterator, const MultiIndex<N>& shape, DataCreator<T>* source,
           const Larder::StrongPtr<Larder::ChunkBase>& owner, const WeakCreator& madeBy);

  MemBaseHandle newMemArraynD(const MultiIndex<N>& shape, const WeakCreator& madeBy) const override;
  MemBaseHandle createSubMemArray(const MultiIndex<N>& origin, const MultiIndex<N>& size,
                                  const WeakCreator& madeBy) override;
  MemBaseHandle getSlice(std::uint64_t index, const WeakCreator& madeBy) override;
  MemBaseHandle makeMemArray(const WeakCreator&) override { return MemBaseHandle(this); }
  MemBaseHandle createEquallySizedMemArray(const Larder::StrongPtr<Larder::ChunkBase>& source,
                                           const WeakCreator& madeBy) override;
  MemBaseHandle copy(const WeakCreator& madeBy) override;
  MemBaseHandle getComponentArray(int component, const WeakCreator& madeBy) override;
  Larder::StrongPtr<Larder::ChunkBase> getChunk() const override { return this->owner(); }

 private:
  void countRegistration();
};

}  // namespace Quilt

#include "recast/typed_arrays/mem_array_instances.h"
