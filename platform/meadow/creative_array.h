#pragma once

#include <memory>
#include <optional>

#include "recast/larder/ageable.h"
#include "recast/larder/attributes.h"
#include "recast/larder/creator.h"
#include "recast/meadow/data_extent.h"
#include "recast/meadow/mem_base.h"

namespace Quilt {

/// Reads the elements of an array in pieces. Safe in several threads at once.
class RECAST_API PieceReader {
 public:
  virtual ~PieceReader() = default;
  /// Reads `count` elements from number `first` on, in the order of memory, into `target`.
  /// \pre the array has as many.
  /// \return false, with a message on the console, if that fails.
  virtual bool read(std::uint64_t first, std::uint64_t count, void* target) const = 0;
};

/// An array that lies in a file.
class RECAST_API StoredFragment : public Larder::ReferenceBase<StoredFragment> {
 public:
  /// Reads the array anew. \return null, with a message on the console, if that fails.
  virtual MemBaseHandle read() = 0;
  /// The extents of the array, first index first; known without reading it.
  virtual DynamicSize size() const = 0;
  /// Opens the array for reading in pieces. \return null if it can be read only as a whole.
  virtual std::unique_ptr<PieceReader> openPieces() { return nullptr; }
};

/// Gives the array of one fragment of a field: from memory, or from the file where it is stored.
///
/// Attributes, age and interfaces say what is known of the fragment's data, and are kept with it.
class RECAST_API CreativeArrayBase : public Larder::CreatorBase<MemBase>,
                                     public Larder::Attributes,
                                     public Larder::Ageable,
                                     public Larder::Intercube {
 public:
  /// A creator whose only source is `array`; it stays in memory until `setStored`.
  explicit CreativeArrayBase(const MemBaseHandle& array);
  /// A creator that reads its array on request.
  CreativeArrayBase(const Larder::StrongPtr<StoredFragment>& stored, const std::string& typeName);

  MemBaseHandle produce() override;

  /// From now on the array can be read again from `stored`, and memory may let it go to `cache`.
  /// Called by the storage, from its own thread.
  void setStored(const Larder::StrongPtr<StoredFragment>& stored, Larder::Cache& cache);
  /// Where the array lies, or null if it is in memory alone.
  Larder::StrongPtr<StoredFragment> stored() const;

  /// The name of the element type; known without reading the array.
  const std::string& typeName() const { return *typeName_; }

  /// The array's extents, first index first; without any if the data is gone. Reads nothing.
  DynamicSize size() const;

  /// What is known of the array's extent without looking at its elements.
  DataExtent extent() const;
  void setExtent(const DataExtent& extent);

 private:
  const std::string* typeName_;  // shared by all creators of the type
  mutable std::mutex mutex_;
  Larder::StrongPtr<StoredFragment> stored_;
  DataExtent extent_;
};

using CreatorHandle = Larder::StrongPtr<CreativeArrayBase, Larder::Creature>;

}  // namespace Quilt
