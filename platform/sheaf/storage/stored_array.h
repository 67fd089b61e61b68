#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "recast/meadow/creative_array.h"
#include "recast/meadow/fragment_id.h"
#include "recast/sheaf/storage/dataset_shape.h"
#include "recast/sheaf/storage/file_stretch.h"
#include "recast/sheaf/storage/fragment_table.h"
#include "recast/sheaf/storage/packed_reader.h"
#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// Where the data of one field lies: shared by its fragments.
class FieldPlace : public Larder::ReferenceBase<FieldPlace> {
 public:
  /// \param bundleFile the main file of the bundle that the data belongs to; `file` may be another.
  FieldPlace(const FileHandle& file, std::string group, std::string typeName,
             const Q8File* bundleFile)
      : file_(file),
        group_(std::move(group)),
        typeName_(std::move(typeName)),
        bundleFile_(bundleFile) {}

  /// Identifies the bundle's main file, which may be gone.
  const Q8File* bundleFile() const { return bundleFile_; }
  /// Notes that other data has taken the place of that link's, so that nobody reads it as the
  /// former.
  void noteReplaced(const std::string& link);
  bool isReplaced(const std::string& link) const;

  Q8File& file() const { return *file_; }
  /// The path of the field's group.
  const std::string& group() const { return group_; }
  const std::string& typeName() const { return typeName_; }
  /// The reader of the field's packed fragments, made at its first use.
  PackedReader& packedReader();

 private:
  FileHandle file_;
  std::string group_;
  std::string typeName_;
  const Q8File* bundleFile_;
  std::once_flag readerMade_;
  std::unique_ptr<PackedReader> reader_;
  mutable std::mutex mutex_;  // guards the replaced links
  std::set<std::string> replaced_;
};

/// One fragment's array in a file.
class StoredArray : public StoredFragment {
 public:
  /// \param link the fragment's name below the field's group.
  /// \param unreadable what else of the fragment could not be read: so neither can its array.
  StoredArray(const Larder::StrongPtr<FieldPlace>& place, std::string link, const DataPlace& data,
              std::string unreadable = {})
      : place_(place), link_(std::move(link)), data_(data), unreadable_(std::move(unreadable)) {}

  /// Where the numbers lie if that is one stretch of the file.
  struct Stretch {
    std::optional<FileStretch> place;
    std::uint64_t bytes = 0;
    std::size_t elementSize = 0;
  };

  MemBaseHandle read() override;
  DynamicSize size() const override { return data_.size(); }
  std::unique_ptr<PieceReader> openPieces() override;
  /// Notes that other data has taken the place: whoever kept the creator must not read that.
  void noteReplaced() { replaced_ = true; }
  const DataPlace& data() const { return data_; }
  /// Whether the attributes of the fragment are known.
  bool hasAttributes() const { return unreadable_.empty(); }
  const Larder::StrongPtr<FieldPlace>& place() const { return place_; }

 private:
  /// A dataset of numbers that is as the table says.
  struct OpenNumbers {
    Id dataset;
    DatasetShape shape;
    ElementLayout layout;
  };

  /// Reads the array and compares its checksum. \throw StorageError
  MemBaseHandle readChecked() const;
  MemBaseHandle readDataset() const;
  /// The caller holds the lock. \throw StorageError
  OpenNumbers openNumbers() const;
  /// \throw StorageError
  Stretch openStretch() const;
  MemBaseHandle readPacked() const;
  MemBaseHandle readLists() const;
  MemBaseHandle readUniform() const;
  bool isReplaced() const;
  [[noreturn]] void damaged() const;
  /// \throw StorageError if that isn't the checksum that the table has, if it has one
  void requireChecksum(std::uint32_t checksum) const;
  /// A new array of the field's type and the fragment's shape.
  MemBaseHandle emptyArray() const;
  void addShift(MemBase& array) const;

  Larder::StrongPtr<FieldPlace> place_;
  std::string link_;
  DataPlace data_;
  std::string unreadable_;
  std::once_flag piecesChecked_;
  std::atomic<bool> replaced_{false};
};

/// The checksum of a uniform array, from its attributes.
std::uint32_t uniformChecksum(const unsigned long long* size, const double* origin,
                              const double* spacing);

/// Counts a failure to read a fragment, which was reported.
void countFailedRead();

/// The link of a fragment's data below its field's group; the undivided data is called "@data".
std::string fragmentLink(const FragmentID* fragment);

}  // namespace Quilt::Storage
