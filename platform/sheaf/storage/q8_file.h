#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "recast/larder/handles.h"
#include "recast/sheaf/storage/hdf5_calls.h"

namespace Quilt::Storage {

/// One `.q8` file on disk, open or able to be opened again for reading.
///
/// All use of `id` must stand under a lock made with `state`.
class Q8File : public Larder::ReferenceBase<Q8File> {
 public:
  enum class Mode { Read, Change, Create };

  /// \param path the file. \param shownName what error messages call it.
  /// \throw StorageError if it can't be opened.
  Q8File(std::string path, std::string shownName, Mode mode);
  ~Q8File() override;

  const FileState& state() const { return *state_; }
  const std::string& path() const { return path_; }
  /// The HDF5 identifier; opens the file for reading if it is closed. The caller holds the lock.
  /// \throw StorageError if that fails, or if the path holds another file by now.
  hid_t id();
  bool writingFailed() const {
    return state_->writeError != 0 || state_->closingFailed ||
           unassignedFailures() != failuresBefore_;
  }
  /// \throw StorageError if something that was written did not reach the file.
  void requireWritten() const;
  /// Notes that what was written past HDF5 has failed: the file is lost, as when HDF5 itself meets
  /// a failure. \param error of `errno`. \throw StorageError always
  [[noreturn]] void failWriting(int error);

  /// Writes what HDF5 holds back. \throw StorageError
  void flush();
  /// Writes everything and closes the file. \throw StorageError if not all of it reached the file.
  void close();
  /// Closes the file whatever became of it.
  void abandon() noexcept;
  /// The file stands at `path` from now on.
  void movedTo(std::string path);

 private:
  /// What tells whether a path still holds the same file.
  struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t seconds = 0;  // of the last change
    std::int64_t nanoseconds = 0;
    bool operator==(const Identity&) const = default;
  };

  Id open(Mode mode);
  Identity identityOnDisk() const;

  std::string path_;
  std::shared_ptr<FileState> state_;
  Id id_;
  Identity identity_;
  std::uint64_t failuresBefore_ = unassignedFailures();
};

using FileHandle = Larder::StrongPtr<Q8File>;

}  // namespace Quilt::Storage
