#include "support/scratch_folder.h"

#include <filesystem>

#include "support/require.h"
#include <fcntl.h>
#include <unistd.h>

namespace FuzzSupport {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPrefix = "recast-fuzz-";

fs::path parentFolder() {
  const fs::path inMemory = "/dev/shm";
  std::error_code error;
  return fs::is_directory(inMemory, error) ? inMemory : fs::temp_directory_path();
}

/// Removes the folders of processes that are gone.
void removeLeftovers(const fs::path& parent) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(parent, error)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind(kPrefix, 0) != 0) continue;
    const std::string process = name.substr(std::string(kPrefix).size());
    if (!fs::exists("/proc/" + process, error)) fs::remove_all(entry.path(), error);
  }
}

}  // namespace

ScratchFolder::ScratchFolder() {
  const fs::path parent = parentFolder();
  removeLeftovers(parent);
  path_ = (parent / (kPrefix + std::to_string(getpid()))).string();
  fs::create_directory(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string ScratchFolder::write(const std::string& name, const std::uint8_t* data,
                                 std::size_t size) const {
  const std::string path = *this / name;
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  require(file >= 0 && ::write(file, data, size) == static_cast<ssize_t>(size),
          "a scratch file can be written");
  close(file);
  return path;
}

}  // namespace FuzzSupport
