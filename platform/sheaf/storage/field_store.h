#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/loaded_field.h"
#include "recast/sheaf/storage/packed_dataset.h"
#include "recast/sheaf/storage/prepared_array.h"

namespace Quilt::Storage {

/// Writes the arrays of one field, and knows what the file holds of it. Used by one thread at a
/// time.
class FieldStore {
 public:
  /// \param path the field's group, made when the first array comes.
  /// \param loaded what was loaded of the field from the file that is written, null if nothing was.
  /// \param tellsCreators lets the creators read from the file what is written.
  FieldStore(const FileHandle& file, LinkPath path, std::string typeName, const Field& field,
             const Larder::StrongPtr<LoadedField>& loaded, bool tellsCreators);

  struct Incoming {
    Larder::StrongPtr<FragmentID> fragment;  ///< null for the undivided data
    CreatorHandle creator;
    MemBaseHandle array;
    Larder::Cache* cache = nullptr;  ///< takes the array once it can be read again
    StoreRules rules;
    bool packed = false;
    std::optional<PreparedArray> prepared;  ///< none for lists and computed arrays
  };
  /// Writes an array; its creator is told once it can be read again. \throw StorageError
  void store(Incoming& incoming);
  /// Writes what is held back and tells the creators. \throw StorageError
  void flush();

  bool belongsTo(const Field& field) const { return field_.lock().rawptr() == &field; }
  /// Whether the file holds the very data that the field has for the fragment of that number, or as
  /// its undivided data for `FragmentRow::kUndivided`.
  bool holdsDataOf(const Field& field, std::int64_t number) const;
  /// What the table says of the data that the file holds for that number; nothing if there is none.
  std::optional<FragmentRow> rowOf(std::int64_t number) const;
  /// The field's group, made if missing. The caller holds the lock.
  hid_t group();
  /// Lets go of the group, so that the file can be closed.
  void closeGroup() { group_ = Id(); }
  /// Says that the group may hold what a field has left whose place this one took.
  void expectOthers() { mayHoldOthers_ = true; }
  /// Removes from the group what an earlier run or a field that was replaced has left. The caller
  /// holds the lock. \param used the links that the table's rows name. \throw StorageError
  void removeOthers(std::vector<std::string> used);
  const FileHandle& file() const { return file_; }
  const LinkPath& path() const { return path_; }
  const std::string& groupPath() const { return groupPath_; }
  const std::string& typeName() const { return typeName_; }

 private:
  using StoredHandle = Larder::StrongPtr<StoredArray>;

  void writeDataset(const std::string& link, Incoming& incoming, DataPlace& data);
  bool writePacked(Incoming& incoming, DataPlace& data);
  void writeLists(const std::string& link, const MemBase& array, DataPlace& data);
  void writeUniform(const std::string& link, const Incoming& incoming, DataPlace& data);
  void removeFormer(const std::string& link);
  StoredHandle remember(const Incoming& incoming, const std::string& link, const DataPlace& data);
  StoredHandle written(std::int64_t number) const;
  void tellWaiting();

  struct Waiting {
    CreatorHandle creator;
    StoredHandle stored;
    Larder::Cache* cache;
    std::uint64_t end;  // elements of "@packed" that must be in the file
  };

  FileHandle file_;
  LinkPath path_;
  std::string groupPath_;
  std::string typeName_;
  Larder::WeakPtrImpl<Field> field_;
  Larder::StrongPtr<LoadedField> loaded_;
  bool tellsCreators_;
  bool mayHoldOthers_ = false;
  Larder::StrongPtr<FieldPlace> place_;
  ElementLayout layout_;
  Id group_;
  std::unique_ptr<PackedDataset> packed_;
  std::vector<Waiting> waiting_;
  std::vector<StoredHandle> written_;  // by running number + 1, the undivided data first
};

}  // namespace Quilt::Storage
