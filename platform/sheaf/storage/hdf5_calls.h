#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <hdf5.h>

#include "recast/sheaf/storage/file_driver.h"
#include "recast/sheaf/storage_error.h"

/// HDF5 behind one lock and with checked results. No header outside this folder includes it.
namespace Quilt::Storage {

/// While it lives HDF5 prints no errors of its own. The caller holds the lock.
class QuietHdf5 {
 public:
  QuietHdf5();
  ~QuietHdf5();
  QuietHdf5(const QuietHdf5&) = delete;
  QuietHdf5& operator=(const QuietHdf5&) = delete;

 private:
  H5E_auto2_t print_ = nullptr;
  void* printData_ = nullptr;
};

/// Holds the one lock around all HDF5 calls of the process, which the library needs as packaged,
/// and names the file that errors are reported for. Meanwhile HDF5 prints no errors of its own. May
/// be nested.
///
/// The first lock of the process initialises HDF5 without its exit handler, so that bundles of
/// static lifetime can complete their files after `main` has returned.
class Hdf5Lock {
 public:
  explicit Hdf5Lock(const FileState& file);
  ~Hdf5Lock();
  Hdf5Lock(const Hdf5Lock&) = delete;
  Hdf5Lock& operator=(const Hdf5Lock&) = delete;

 private:
  friend void tellAfterLock(const std::string& message);

  const FileState* outerFile_;
  Hdf5Lock* outermost_;
  std::optional<QuietHdf5> quiet_;     // of the outermost lock
  std::vector<std::string> messages_;  // of the outermost lock
};

/// Throws `StorageError` for the file of the innermost lock, with the system's reason if there is
/// one and else HDF5's own.
[[noreturn]] void fail(const std::string& operation);

/// The name of the file of the innermost lock.
std::string lockedFileName();

/// Reports `message` on the console once the outermost lock of this thread is released, preceded by
/// the name of the file: what receives messages may wait for another thread that waits for the
/// lock. The caller holds the lock.
void tellAfterLock(const std::string& message);

/// The result of an HDF5 call, if it isn't negative.
/// \throw StorageError saying that `operation` failed.
template <class Result>
Result checked(Result result, const char* operation, const std::string& object = {}) {
  if (result < 0) fail(object.empty() ? operation : std::string(operation) + " " + object);
  return result;
}

/// The answer of an HDF5 call that can also fail: an error is not a "no". \throw StorageError
inline bool isTrue(htri_t answer, const char* operation, const std::string& object = {}) {
  return checked(answer, operation, object) > 0;
}

/// A size for which HDF5 gives 0 on failure. \throw StorageError
inline std::size_t checkedSize(std::size_t size, const char* operation,
                               const std::string& object = {}) {
  if (size == 0) fail(object.empty() ? operation : std::string(operation) + " " + object);
  return size;
}

/// Objects that could not be closed and whose file is not known, since the process began.
std::uint64_t unassignedFailures();

/// Owns an HDF5 identifier. It may be closed with or without the lock held, as an exception leaves
/// it. If closing fails, what HDF5 held back may be missing from the file: that is noted for the
/// file of the lock (`FileState::closingFailed`) or, without a lock, for all files
/// (`unassignedFailures`).
class Id {
 public:
  Id() = default;
  /// Takes over `id`, which must be valid.
  explicit Id(hid_t id) : id_(id) {}
  Id(Id&& other) noexcept : id_(std::exchange(other.id_, H5I_INVALID_HID)) {}
  Id& operator=(Id&& other) noexcept {
    std::swap(id_, other.id_);
    return *this;
  }
  ~Id() {
    if (id_ >= 0) close(id_);
  }

  operator hid_t() const { return id_; }
  bool valid() const { return id_ >= 0; }
  /// The identifier, no longer owned.
  hid_t release() { return std::exchange(id_, H5I_INVALID_HID); }

 private:
  static void close(hid_t id) noexcept;

  hid_t id_ = H5I_INVALID_HID;
};

/// An owned identifier from an HDF5 call, checked as by `checked`.
inline Id own(hid_t result, const char* operation, const std::string& object = {}) {
  return Id(checked(result, operation, object));
}

}  // namespace Quilt::Storage
