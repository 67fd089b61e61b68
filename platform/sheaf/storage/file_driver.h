#pragma once

#include <atomic>
#include <memory>
#include <string>

#include <hdf5.h>

namespace Quilt::Storage {

/// What the driver and the error messages know of a file that is written.
struct FileState {
  std::string shownName;           ///< the name that users know the file by
  std::atomic<int> writeError{0};  ///< `errno` of the first write that failed
  /// Whether HDF5 could not close an object of the file.
  mutable std::atomic<bool> closingFailed{false};
};

/// Makes `accessProperties` open files through our driver, which reports to `state`.
///
/// The driver writes and reads as the standard one does, with these differences. It opens no file
/// but one of HDF5's checksummed form, and never as one of the standard streams. It keeps the
/// system's reason for a failure. And a write that fails is reported to HDF5 as done, as are all
/// later ones: the file is lost anyway, and HDF5 can't release a file whose caches it can't flush.
/// Whoever writes has to ask `FileState::writeError` whether the bytes reached the file.
///
/// One open file may serve several users of HDF5; hence the shared state.
/// \return negative if that fails.
herr_t useFileDriver(hid_t accessProperties, const std::shared_ptr<FileState>& state);

/// What the first bytes of a file say of it.
enum class FileForm {
  Unreadable,  ///< they can't be read, for the reason in `errno`
  Foreign,     ///< no HDF5 file, or one with something before its start
  Unchecked,   ///< HDF5's older form, whose structure carries no checksums: damage in it can crash
               ///< HDF5
  Checksummed  ///< HDF5's newer form: what is damaged is refused
};
FileForm formOfFile(int descriptor);

/// `errno` of the last failed system call of any file, until it is set to 0. The caller holds the
/// lock.
int& lastSystemError();

}  // namespace Quilt::Storage
