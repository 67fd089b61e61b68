#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <typeinfo>

#include "recast/larder/export.h"
#include "recast/larder/handles.h"

namespace Larder {

/// A counted block of elements of one type; `Chunk<T>` is the one kind there is.
class RECAST_API ChunkBase : public ReferenceBase<ChunkBase> {
 public:
  /// Bytes of the elements that the living chunks held when they were made.
  static std::atomic<std::int64_t> TotalMemsize;

  /// Number of elements.
  virtual std::size_t elements() const = 0;
  /// Bytes of one element.
  virtual std::size_t element_size() const = 0;
  /// The first element; may be null for a chunk without any.
  virtual const void* const_data_ptr() const = 0;
  virtual void* data_ptr() = 0;
  virtual const std::type_info& getType() const = 0;
  /// The type as which the elements are stored: `FixedArray<double,3>` for a point.
  virtual const std::type_info& getBaseType() const = 0;
  /// A new chunk of the same type; see the constructor of `Chunk<T>` for the arguments.
  virtual StrongPtr<ChunkBase> createNewChunk(std::size_t n, bool reserveOnly) const = 0;
  /// A new chunk with a copy of all elements.
  virtual StrongPtr<ChunkBase> copy() const = 0;
};

}  // namespace Larder
