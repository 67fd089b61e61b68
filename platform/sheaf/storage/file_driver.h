#pragma once

#include <hdf5.h>

#include <atomic>
#include <string>

namespace Quilt::Storage {

/// What the driver and the error messages know of an open file.
struct FileState {
  std::string shownName;                ///< the name that users know the file by
  std::atomic<int> systemError{0};      ///< `errno` of the first failed operation
};

/// Makes `accessProperties` open files through our driver, which reports to `state`; `state` must
/// outlive the file.
///
/// The driver writes and reads as the standard one does, with two differences. It keeps the system's
/// reason for the first failure. And once writing has failed, it swallows all further writes: the
/// file is lost anyway, and HDF5 can't let go of a file whose caches it can't flush.
void useFileDriver(hid_t accessProperties, FileState& state);

}  // namespace Quilt::Storage
