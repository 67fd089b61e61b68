#include "recast/sheaf/storage/linked_files.h"

#include <filesystem>

namespace Quilt::Storage {
namespace {

namespace fs = std::filesystem;

/// Whether there is anything of that name. \throw StorageError if that can't be found out
bool isThere(const std::string& path, const std::string& shownName) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) return false;
  if (error && status.type() == fs::file_type::none)
    throw StorageError(shownName, "open", error.message());
  return true;
}

}  // namespace

std::string linkedPath(const std::string& holder, const std::string& reference) {
  std::error_code error;
  fs::path real = fs::weakly_canonical(holder, error);
  if (error) real = fs::absolute(holder);
  return (real.parent_path() / reference).lexically_normal().string();
}

FileHandle LinkedFiles::open(const Q8File& holder, const std::string& reference) {
  const std::string path = linkedPath(holder.path(), reference);
  if (const auto known = files_.find(path); known != files_.end()) return known->second;
  const fs::path shown = fs::path(holder.state().shownName).parent_path() / reference;
  const std::string shownName = shown.lexically_normal().string();
  if (!isThere(path, shownName)) return nullptr;
  return files_[path] = Larder::makeStrong<Q8File>(path, shownName, Q8File::Mode::Read);
}

}  // namespace Quilt::Storage
