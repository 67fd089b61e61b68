#pragma once

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

}  // namespace Quilt
