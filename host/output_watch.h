#pragma once

#include <string>

#include <sys/stat.h>

namespace RecastHost {

/// Knows whether a file came into its place since this object was made. A bundle that can't
/// complete its file tells so on the console alone.
class OutputWatch {
 public:
  explicit OutputWatch(std::string path) : path_(std::move(path)), former_(inode()) {}

  bool wasReplaced() const {
    const ino_t present = inode();
    return present != 0 && present != former_;
  }

 private:
  /// 0 if there is no file.
  ino_t inode() const {
    struct stat status {};
    return stat(path_.c_str(), &status) == 0 ? status.st_ino : 0;
  }

  std::string path_;
  ino_t former_;
};

}  // namespace RecastHost
