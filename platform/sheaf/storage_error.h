#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "recast/larder/export.h"

namespace Quilt {

/// A file could not be written or read: names the file, the operation and the system's reason.
class RECAST_API StorageError : public std::runtime_error {
 public:
  StorageError(const std::string& file, const std::string& operation, const std::string& reason)
      : std::runtime_error(file + ": " + operation + ": " + reason) {}
};

/// Arrays that could not be read from their files since the process began; each was reported on the
/// console. For hosts whose exit code is to say that a run lacked data.
RECAST_API std::uint64_t failedReads();

}  // namespace Quilt
