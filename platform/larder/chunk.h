#pragma once

#include <string>
#include <vector>

#include "recast/larder/chunk_base.h"
#include "recast/larder/fresh_memory.h"
#include "recast/larder/number_elements.h"

namespace Larder {

template <class T>
class Chunk;

/// The type of which a compound element type is made, so that a chunk of the one can be taken as a
/// chunk of the other: specialised beside the element type, with a member `type`.
template <class T>
struct RECAST_API StorageTypeOf {
  using type = void;
};

/// The end of each chain of chunk types.
template <class T>
class RECAST_API TypedChunkBase : public ChunkBase {
 public:
  const std::type_info& getBaseType() const override { return typeid(T); }
};

template <class T>
class TypedChunk;

/// Chunks of `TypedChunk<S>`, S being the storage type of T, or `TypedChunkBase<T>` if it has none.
template <class T, class Storage = typename StorageTypeOf<T>::type>
struct RECAST_API TypedChunkParent {
  using type = TypedChunk<Storage>;
};
template <class T>
struct TypedChunkParent<T, void> {
  using type = TypedChunkBase<T>;
};

/// A chunk that can be read as elements of T, whatever it is a chunk of.
template <class T>
class RECAST_API TypedChunk : public TypedChunkParent<T>::type {
 public:
  T* typed_data() { return static_cast<T*>(this->data_ptr()); }
  const T* typed_data() const { return static_cast<const T*>(this->const_data_ptr()); }
};

/// A counted `std::vector<T>`, the memory of every array. Grows and shrinks as a vector does; bring
/// it to its final size before an array is made over it.
template <class T>
class RECAST_API Chunk : public TypedChunk<T>, public std::vector<T> {
 public:
  /// `n` value-initialised elements: all zero for numbers and points.
  explicit Chunk(std::size_t n) : Chunk(n, false) {}
  /// With `reserveOnly` no element, but room for `n`.
  Chunk(std::size_t n, bool reserveOnly) {
    this->reserve(n);
    if (!reserveOnly) {
      bringMemory(this->data(), n * sizeof(T));
      this->resize(n);
    }
    account();
  }
  /// Takes the elements over.
  explicit Chunk(std::vector<T> values) : std::vector<T>(std::move(values)) { account(); }
  Chunk(const Chunk& other) : TypedChunk<T>(other), std::vector<T>(other) { account(); }
  Chunk& operator=(const Chunk&) = delete;
  ~Chunk() override { ChunkBase::TotalMemsize.fetch_sub(accounted_, std::memory_order_relaxed); }

  std::size_t elements() const override { return this->size(); }
  std::size_t element_size() const override { return sizeof(T); }
  const void* const_data_ptr() const override { return this->data(); }
  void* data_ptr() override { return this->data(); }
  const std::type_info& getType() const override { return typeid(T); }
  StrongPtr<ChunkBase> createNewChunk(std::size_t n, bool reserveOnly) const override {
    return newChunk(n, reserveOnly);
  }
  StrongPtr<ChunkBase> copy() const override { return StrongPtr<ChunkBase>(new Chunk(*this)); }
  virtual std::vector<T>& base_vector() { return *this; }
  virtual const std::vector<T>& base_vector() const { return *this; }
  virtual StrongPtr<Chunk<T>, ChunkBase> newChunk(std::size_t n, bool reserveOnly) const {
    return StrongPtr<Chunk<T>, ChunkBase>(new Chunk<T>(n, reserveOnly));
  }

 private:
  void account() {
    accounted_ = static_cast<std::int64_t>(this->size() * sizeof(T));
    ChunkBase::TotalMemsize.fetch_add(accounted_, std::memory_order_relaxed);
  }

  // What was added to TotalMemsize, so that the same is taken off again.
  std::int64_t accounted_ = 0;
};

/// A chunk whose size changes during its use.
template <class T>
class RECAST_API ResizableChunk : public Chunk<T> {
 public:
  using Chunk<T>::Chunk;
};

// The instances of the element types are compiled once, for a compound type beside that type, and
// declared where no unit can miss it: one that made its own would hide the library's, since the
// linker keeps the stricter visibility.
#define RECAST_EXTERN(T) extern template class Chunk<T>;
RECAST_NUMBER_ELEMENTS(RECAST_EXTERN)
RECAST_EXTERN(std::vector<unsigned int>)
RECAST_EXTERN(std::string)
#undef RECAST_EXTERN
extern template class ResizableChunk<std::string>;

}  // namespace Larder
