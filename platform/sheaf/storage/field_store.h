#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/loaded_field.h"
#include "recast/sheaf/storage/packed_dataset.h"
#include "recast/sheaf/storage/prepared_array.h"
#include "recast/sheaf/storage/released_fragments.h"

namespace Quilt::Storage {

/// Writes the arrays of one field, and knows what the file holds of it. Arrays may be stored and
/// released in several threads at once; what completes the file is done by one thread alone.
class FieldStore : public std::enable_shared_from_this<FieldStore> {
 public:
  /// \param path the field's group, made when the first array comes.
  /// \param loaded what was loaded of the field from the file that is written, null if nothing was.
  /// \param bundleFile the bundle's main file; `file` may be another.
  /// \param tellsCreators lets the creators read from the file what is written.
  /// \param pool filters packed fragments.
  FieldStore(const FileHandle& file, LinkPath path, std::string typeName, const Field& field,
             const Larder::StrongPtr<LoadedField>& loaded, const Q8File* bundleFile,
             bool tellsCreators, WorkPool& pool);

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
  /// The same, unless the file holds that data already.
  void bringToFile(const DataPlace& packed);
  /// Keeps what it takes to make the creator of a packed fragment again, and gives the field a
  /// source that does. \return false if the creator says more than can be kept, or the fragment
  /// isn't packed.
  bool release(Field& field, std::uint32_t number, const CreatorHandle& creator);

  /// Counts the arrays that wait to be stored: until there are none, no later one may go first.
  std::atomic<std::size_t> queued{0};

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
  void writeLists(const std::string& link, const Incoming& incoming, DataPlace& data);
  void writeUniform(const std::string& link, const Incoming& incoming, DataPlace& data);
  void removeFormer(const Incoming& incoming, const std::string& link);
  StoredHandle remember(const Incoming& incoming, const std::string& link, const DataPlace& data);
  bool isToldElsewhere(const CreativeArrayBase& creator) const;
  void ensureSource(Field& field);
  StoredHandle written(std::int64_t number) const;
  void tellWaiting();

  struct Waiting {
    CreatorHandle creator;
    StoredHandle stored;
    Larder::Cache* cache;
    std::uint64_t end;  // elements of "@packed" that must be in the file
  };
  std::vector<Waiting>::iterator waitingEntry(const StoredHandle& stored);

  FileHandle file_;
  LinkPath path_;
  std::string groupPath_;
  std::string typeName_;
  Larder::WeakPtrImpl<Field> field_;
  Larder::StrongPtr<LoadedField> loaded_;
  bool tellsCreators_;
  WorkPool& pool_;
  bool mayHoldOthers_ = false;
  Larder::StrongPtr<FieldPlace> place_;
  ElementLayout layout_;
  Id group_;

  mutable std::mutex mutex_;  // guards the members below
  std::unique_ptr<PackedDataset> packed_;
  std::vector<Waiting> waiting_;       // by ascending ends
  std::vector<StoredHandle> written_;  // by running number + 1, the undivided data first
  // Of what was written, by number: the creators that read their data from another place.
  std::map<std::int64_t, Larder::WeakPtrImpl<CreativeArrayBase, Larder::Creature>> copies_;
  Larder::StrongPtr<ReleasedFragments> released_;

  std::mutex
      sourceMutex_;  // held while the field gets `released_` as its source; before the others
};

}  // namespace Quilt::Storage
