#pragma once

#include <string>
#include <utility>

#include "recast/larder/chunk_base.h"
#include "recast/larder/interfaces.h"
#include "recast/meadow/field.h"
#include "recast/trellis/grid.h"

namespace Quilt {

/// How the bytes of a dataset are filtered on their way to the file.
struct RECAST_API FilterSettings {
  /// 0 stores plainly; 1 (fast) to 12 (small) are the levels of libdeflate, after a shuffle that
  /// groups the bytes of equal weight.
  int level = 0;
};

/// The rules by which a bundle is written; a converter derives from it to make its own. All are
/// asked from the threads that hand data over, and must not change while the bundle is bound.
class RECAST_API StorageTransformations : public Larder::Interface<StorageTransformations> {
 public:
  /// Switches all compression off when false.
  bool compression = true;
  /// 0 is weak (level 1), 1 is strong (level 9), everything else is none.
  int compressionMode = -1;
  /// 1 to 12 sets the level, in place of the mode; above 12 counts as 12.
  int compressionLevel = -1;
  /// Read by `WriteAsSinglePrecision` and `EnableNumericalShift` of derived rules.
  bool singlePrecision = false;
  bool numericalShift = false;
  /// Threads that filter; 0 for as many as the machine has.
  unsigned workers = 0;

  /// True keeps all data of the field out of the file.
  virtual bool SkipStorage(const std::string& fieldName) const;
  /// The filters for a field's data, by default what the three settings above say.
  virtual FilterSettings getFilterSettings(const std::string& fieldName) const;
  /// The same for one array.
  virtual FilterSettings getFilterSettings(const std::string& fieldName,
                                           const Larder::StrongPtr<Larder::ChunkBase>& chunk) const;
  virtual bool isSaveableTime(double time) const;
  /// True stores the doubles of the chunk as floats. \param chunk null for a computed array.
  virtual bool WriteAsSinglePrecision(const std::string& fieldName,
                                      const Larder::StrongPtr<Larder::ChunkBase>& chunk) const;
  /// True subtracts a shift, near the middle of the data, before the numbers are stored as floats.
  /// Without single precision nothing is shifted, so that doubles come back to the last bit.
  virtual bool EnableNumericalShift(const std::string& fieldName,
                                    const Larder::StrongPtr<Larder::ChunkBase>& chunk) const;
  /// True stores the box of points and the range of numbers with each fragment.
  virtual bool ComputeRangeAttributeOnWriting(const std::string& fieldName) const;
  /// A file for the field's data beside the main one, and the place of the representation in it;
  /// both empty to keep the data in the main file. A relative file counts from the main file's
  /// folder; a folder that is missing is made.
  virtual std::pair<std::string, std::string> getExternalLocation(
      double time, const std::string& gridName, const SkeletonID& skeleton,
      const std::string& representationName, const std::string& fieldName) const;
  /// A text before the place in an external file, empty by default.
  virtual std::string getExternalLocationPrefix() const;
  /// True stores the fragments of a field one behind the other in one dataset.
  /// \param fragments identifiers of the field. The default is true above 10,000.
  virtual bool setFieldPacking(const std::string& fieldName, std::size_t fragments) const;
  /// What the main file's link to an external file says: by default its path relative to the folder
  /// of the main file, so that the folder can be moved as a whole.
  virtual std::string getExternalFileReference(const std::string& mainFile,
                                               const std::string& externalFile) const;
  /// Bytes of a filtered dataset's chunks; 1 MiB by default.
  virtual std::size_t computeChunkSize(const std::string& fieldName) const;
  virtual bool isSaveableField(const FieldID& fieldID, const Field& field,
                               const Larder::WeakPtrImpl<Grid>& grid, const std::string& gridName,
                               double time, const std::string& representationName,
                               const SkeletonID& skeleton) const;
  virtual bool isSaveableFragment(const FieldID& fieldID, const FragmentID& fragment) const;
  /// Told of each field when its data is in the file.
  virtual void isSaved(const FieldID& fieldID) const;
};

}  // namespace Quilt
