#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/packed_dataset.h"
#include "recast/sheaf/storage/stored_array.h"

namespace Quilt::Storage {

/// An array on its way to the file: its image, and its filtered blocks as the pool makes them.
struct PreparedArray {
  ArrayImage image;
  std::unique_ptr<BlockPlan> plan;                 ///< null for an array that goes packed
  std::vector<std::future<FilteredBlock>> blocks;  ///< empty for a plain dataset
};

/// Makes the image of an array, and lets `pool` filter it. Not for lists and computed arrays.
std::shared_ptr<PreparedArray> prepare(const MemBaseHandle& array, const StoreRules& rules,
                                       bool packed, WorkPool& pool);

/// Writes the arrays of one field and keeps the rows of its table. Used by one thread at a time.
class FieldStore {
 public:
  /// \param path the field's group, made when the first array comes. \param single see
  /// `PackedDataset`. A group that the file holds already is continued.
  FieldStore(const FileHandle& file, LinkPath path, std::string typeName);

  struct Incoming {
    Larder::StrongPtr<FragmentID> fragment;  ///< null for the undivided data
    CreatorHandle creator;
    MemBaseHandle array;
    Larder::Cache* cache;  ///< null if the creator is not to be told
    StoreRules rules;
    bool packed;
    std::shared_ptr<PreparedArray> prepared;  ///< null for lists and computed arrays
  };
  /// Writes an array; its creator is told once it can be read again. \throw StorageError
  void store(Incoming& incoming);
  /// Writes what is held back and tells the creators. \throw StorageError
  void flush();

  /// The row of the fragment of that number, or null; `FragmentRow::kUndivided` for the undivided data.
  FragmentRow* row(std::int64_t number);
  /// The field's group, made if missing. The caller holds the lock.
  Id openGroup() const;
  const FileHandle& file() const { return file_; }
  const std::string& groupPath() const { return groupPath_; }
  const std::string& typeName() const { return typeName_; }

 private:
  void writeDataset(const std::string& link, Incoming& incoming, FragmentRow& row);
  bool writePacked(Incoming& incoming, FragmentRow& row);
  void writeLists(const std::string& link, const MemBase& array, FragmentRow& row);
  void writeUniform(const std::string& link, const MemBase& array, FragmentRow& row);
  void removeFormer(const std::string& link);
  void remember(const FragmentRow& row);
  void continuePresent();

  struct Waiting {
    CreatorHandle creator;
    Larder::StrongPtr<StoredArray> stored;
    Larder::Cache* cache;
    std::uint64_t end;  // elements of "@packed" that must be in the file
  };
  void tellWaiting();

  FileHandle file_;
  LinkPath path_;
  std::string groupPath_;
  std::string typeName_;
  Larder::StrongPtr<FieldPlace> place_;
  ElementLayout layout_;
  std::unique_ptr<PackedDataset> packed_;
  std::vector<Waiting> waiting_;
  std::vector<FragmentRow> rows_;
  std::unordered_map<std::int64_t, std::size_t> rowOf_;
};

}  // namespace Quilt::Storage
