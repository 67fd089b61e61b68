#pragma once

#include <cstdint>
#include <typeinfo>

#include "recast/larder/cache.h"
#include "recast/larder/interfaces.h"
#include "recast/meadow/multi_index.h"
#include "recast/meadow/quilt_type.h"

namespace Quilt {

class CreativeArrayBase;
class MemBase;

using MemBaseHandle = Larder::StrongPtr<MemBase, Larder::Cacheable>;
using WeakCreator = Larder::WeakPtrImpl<CreativeArrayBase, Larder::Creature>;

/// How an array lies in its memory; all numbers but `stride` count strided places.
struct RECAST_API HyperslabParameters {
  std::uint64_t count = 0;   ///< elements in the memory looked at
  std::uint64_t stride = 1;  ///< distance of two neighbouring elements, in elements
  std::uint64_t length = 0;  ///< strided places in that memory
  std::uint64_t first = 0;   ///< strided place of element (0,...,0)
  std::uint64_t tail = 0;    ///< places behind the last element that are not the array's
};

/// An array of any rank and element type: what fields and files know of arrays.
class RECAST_API MemBase : public Larder::Cacheable, public Larder::Intercube {
 public:
  /// Makes arrays of one element type; one per type is registered when the library is loaded.
  class RECAST_API Allocator : public Larder::Interface<Allocator> {
   public:
    /// A new array of that shape, elements value-initialised; null for a rank other than 1 to 4.
    virtual MemBaseHandle create(const DynamicSize& size) const = 0;
  };

  /// Enters an allocator under its element type. \return false if the type has one already.
  static bool registerCreator(const Larder::StrongPtr<Allocator, Larder::InterfaceBase>& allocator,
                              const Larder::StrongPtr<QuiltTypeBase>& type);
  /// A new array by the name of its element type; null for an unknown type or rank.
  static MemBaseHandle newArray(const std::string& typeName, const DynamicSize& size);
  /// Counts the arrays whose type was registered when they were made.
  static std::atomic<std::uint32_t> RegisteredTypes;

  /// Hands the array to the save registry.
  void DeferredConstructor() override;
  virtual const std::type_info& DomainType() const;
  virtual const std::type_info& CreatorType() const;
  virtual int rank() const = 0;
  /// The extents, first index first.
  virtual DynamicSize getSize() const = 0;
  /// The product of the extents.
  virtual std::uint64_t nElements() const = 0;
  virtual const std::type_info& getType() const = 0;
  virtual HyperslabParameters getHyperslabParameters() const = 0;
  /// Start of the memory; null for an array that is computed and not held.
  virtual const void* getPtr() const = 0;
  virtual Larder::StrongPtr<Larder::ChunkBase> getChunk() const = 0;
  /// Element (0,...,0) and the steps along the axes of an array that is computed from them, as
  /// three doubles each; null for every other.
  virtual const double* OriginPtr() const;
  virtual const double* DeltaPtr() const;
  /// The array with memory of its own; one that has it already gives itself.
  virtual MemBaseHandle makeMemArray(const WeakCreator& creator);

  // The next five give null, or false, where an array does not offer the operation. `creator`,
  // which may be null, goes to the new array. None of them locks.

  /// One component of each element, as an array of the same shape and of the component type:
  /// element i is component `component` of this array's element i. It shares the memory, whose
  /// chunk it keeps alive; writing through it changes this array. A plain number, or a list of
  /// indices, has one component, itself. Of an array without memory the components have none
  /// either. \return null for a component out of range
  virtual MemBaseHandle getComponentArray(int component, const WeakCreator& creator);
  /// A new array with a copy of the box of `size` elements at `origin`. The box must lie inside,
  /// which nothing tests. \return null if the rank of `origin` or `size` is another
  virtual MemBaseHandle createSubArray(const DynamicSize& origin, const DynamicSize& size,
                                       const WeakCreator& creator);
  /// An array of this one's shape over `chunk`, which is not copied. \return null if that does not
  /// have exactly the elements of the shape
  virtual MemBaseHandle createEquallySizedMemArray(
      const Larder::StrongPtr<Larder::ChunkBase>& chunk, const WeakCreator& creator);
  /// Copies all elements of `chunk` into the memory of this array; what is not this array's in
  /// there is overwritten too. \return false, with nothing changed, if the chunk has other elements
  /// or another number of them than this array's
  virtual bool copyFrom(const Larder::StrongPtr<Larder::ChunkBase>& chunk);
  /// An array of this one's shape over a copy of the whole chunk as it is now, from its first
  /// element on. The copy of a slice therefore begins with the chunk's first element, not with the
  /// slice's: use `createSubArray` for a copy of the elements that a view covers.
  /// \return null without memory, and for a component array whose chunk has compound elements
  virtual MemBaseHandle copy(const WeakCreator& creator);

  /// The description of the element type.
  const QuiltTypeIndex& typeIndex() const { return *typeIndex_; }

 protected:
  /// \param typeIndex must live as long as the array; descriptors do.
  MemBase(const QuiltTypeIndex& typeIndex, const WeakCreator& creator);

 private:
  const QuiltTypeIndex* typeIndex_;
};

/// What arrays of one rank share, whatever their element type.
template <int N>
class RECAST_API MemArrayBase : public virtual MemBase {
 public:
  ~MemArrayBase() override = default;
  int rank() const override { return N; }
  /// The extents, first index first.
  virtual MultiIndex<N> Size() const = 0;
  /// A new array of that shape and of this one's element type; null for a computed array.
  virtual MemBaseHandle newMemArraynD(const MultiIndex<N>&, const WeakCreator&) const {
    return nullptr;
  }
  /// A new array with a copy of the box of `size` elements at `origin`, which must lie inside.
  virtual MemBaseHandle createSubMemArray(const MultiIndex<N>&, const MultiIndex<N>&,
                                          const WeakCreator&) {
    return nullptr;
  }
  /// The same; null if the rank of `origin` or `size` is not N.
  MemBaseHandle createSubArray(const DynamicSize& origin, const DynamicSize& size,
                               const WeakCreator& creator) override {
    if (origin.rank() != N || size.rank() != N) return nullptr;
    return createSubMemArray(origin.toMultiIndex<N>(), size.toMultiIndex<N>(), creator);
  }
  DynamicSize getSize() const override { return DynamicSize(Size()); }
  /// The plane at `index` of the last axis, as an array of rank N - 1 that shares the memory, whose
  /// chunk it keeps alive; writing through it changes this array. `index` must be below the extent,
  /// which nothing tests. \return null at rank 1
  virtual MemBaseHandle getSlice(std::uint64_t, const WeakCreator&) { return nullptr; }
};

}  // namespace Quilt
