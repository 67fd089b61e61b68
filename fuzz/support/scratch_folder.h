#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace FuzzSupport {

/// A folder in memory, if the system has such, for readers that take file names. Removed at the
/// end; what programs that crashed have left is removed by the next one.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  /// Writes a file, in the place of one of that name. \return its path.
  std::string write(const std::string& name, const std::uint8_t* data, std::size_t size) const;

 private:
  std::string path_;
};

}  // namespace FuzzSupport
