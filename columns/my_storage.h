#pragma once

#include "recast/larder/string_list.h"
#include "recast/sheaf/storage_transformations.h"

namespace Recast {

/// How a point cloud is written: optionally with its positions in single precision, points with a
/// shift, and of all fields only the ones that are listed.
class RECAST_API MyStorage : public Quilt::StorageTransformations {
 public:
  /// The fields to save; null saves all.
  Larder::StrongPtr<Larder::StringList> FieldsToSave;

  MyStorage() = default;
  /// \param level below 0: doubles, not compressed; 0 (weak) and 1 to 12: compressed, positions in
  /// single precision, points shifted. Above 12 counts as 12.
  explicit MyStorage(int level);

  /// True for the points of the field "Positions", if `singlePrecision` is set.
  bool WriteAsSinglePrecision(const std::string& fieldName,
                              const Larder::StrongPtr<Larder::ChunkBase>& chunk) const override;
  /// True for the points of every field, if `numericalShift` is set.
  bool EnableNumericalShift(const std::string& fieldName,
                            const Larder::StrongPtr<Larder::ChunkBase>& chunk) const override;
  /// Only the field's name counts.
  bool isSaveableField(const Quilt::FieldID& fieldID, const Quilt::Field& field,
                       const Larder::WeakPtrImpl<Quilt::Grid>& grid, const std::string& gridName,
                       double time, const std::string& representationName,
                       const Quilt::SkeletonID& skeleton) const override;
};

}  // namespace Recast
