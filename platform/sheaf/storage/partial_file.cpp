#include "recast/sheaf/storage/partial_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "recast/larder/console.h"
#include "recast/sheaf/storage/file_bytes.h"
#include "recast/sheaf/storage/file_size_signal.h"
#include "recast/sheaf/storage_error.h"

namespace Quilt::Storage {
namespace {

[[noreturn]] void failWith(const std::string& name, const char* operation, int error) {
  throw StorageError(name, operation, std::strerror(error));
}

/// The file that a name stands for, behind symbolic links, whether it exists or not; absolute.
std::string resolved(const std::string& name) {
  constexpr int kMaxLinks = 40;
  std::error_code error;
  std::filesystem::path path = std::filesystem::absolute(name, error);
  if (error) path = name;
  for (int links = 0; std::filesystem::is_symlink(path, error); ++links) {
    if (links == kMaxLinks) failWith(name, "create", ELOOP);
    const auto next = std::filesystem::read_symlink(path, error);
    if (error) failWith(name, "create", error.value());
    path = path.parent_path() / next;
  }
  // Links to external files count from the real folder.
  const auto folder = std::filesystem::canonical(path.parent_path(), error);
  return error ? path.string() : (folder / path.filename()).string();
}

/// The name, if it can be one of a file. \throw StorageError
const std::string& requireName(const std::string& name) {
  if (name.empty()) throw StorageError("(no name)", "create", "the file name is empty");
  if (name.find('\0') != std::string::npos)
    throw StorageError(name.c_str(), "create", "the file name holds a NUL byte");
  return name;
}

struct Descriptor {
  int value;
  ~Descriptor() {
    if (value >= 0) close(value);
  }
};

void syncFolder(const std::string& file) {
  std::string folder = std::filesystem::path(file).parent_path().string();
  if (folder.empty()) folder = ".";
  const Descriptor descriptor{open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  // The file is in its place, whether or not the folder can be synced.
  if (descriptor.value >= 0) static_cast<void>(fsync(descriptor.value));
}

}  // namespace

PartialFile::PartialFile(const std::string& target, bool copyTarget)
    : shownName_(target), target_(resolved(requireName(target))), path_(target_ + ".partial") {
  struct stat status {};
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode))
    throw StorageError(shownName_, "create",
                       S_ISDIR(status.st_mode) ? "it is a folder" : "it is no file but a device");
  if (copyTarget && !exists) failWith(shownName_, "open", ENOENT);
  if (exists && access(target_.c_str(), W_OK) != 0) failWith(shownName_, "write", errno);
  lock();
  try {
    if (exists) static_cast<void>(fchmod(descriptor_, status.st_mode & 07777));
    if (copyTarget) copyContent();
  } catch (...) {
    unlink(path_.c_str());
    close(descriptor_);
    throw;
  }
}

PartialFile::~PartialFile() {
  if (!inPlace_) unlink(path_.c_str());
  if (formerDescriptor_ >= 0) close(formerDescriptor_);
  close(descriptor_);
}

void PartialFile::lock() {
  for (;;) {
    descriptor_ = openAboveStreams(path_.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, 0666);
    if (descriptor_ < 0) failWith(shownName_, "create", errno);
    if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
      close(descriptor_);
      throw StorageError(shownName_, "create", "another run is writing it");
    }
    // The file that was opened may have been moved into its place before it was locked.
    struct stat ours {};
    struct stat there {};
    fstat(descriptor_, &ours);
    if (stat(path_.c_str(), &there) == 0 && ours.st_ino == there.st_ino &&
        ours.st_dev == there.st_dev)
      break;
    close(descriptor_);
  }
  if (ftruncate(descriptor_, 0) != 0) {
    const int error = errno;
    unlink(path_.c_str());
    close(descriptor_);
    failWith(shownName_, "create", error);
  }
}

void PartialFile::copyContent() {
  const Descriptor source{openAboveStreams(target_.c_str(), O_RDONLY, 0)};
  if (source.value < 0) failWith(shownName_, "open", errno);
  if (ioctl(descriptor_, FICLONE, source.value) == 0) return;
  const FileSizeSignalBlocked blocked;
  std::vector<char> buffer(std::size_t{4} << 20);
  for (;;) {
    const ssize_t got = read(source.value, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) failWith(shownName_, "read", errno);
    if (got == 0) return;
    for (ssize_t done = 0; done < got;) {
      const ssize_t put =
          write(descriptor_, buffer.data() + done, static_cast<std::size_t>(got - done));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) failWith(shownName_, "copy", errno);
      done += put;
    }
  }
}

void PartialFile::startBringing() const {
  // Only a hint: what it can't begin, `bringToDisk` does.
  static_cast<void>(sync_file_range(descriptor_, 0, 0, SYNC_FILE_RANGE_WRITE));
}

void PartialFile::bringToDisk() {
  if (fsync(descriptor_) != 0) failWith(shownName_, "write", errno);
}

void PartialFile::putInPlace() {
  if (rename(path_.c_str(), target_.c_str()) != 0) failWith(shownName_, "replace", errno);
  inPlace_ = true;
  syncFolder(target_);
}

void PartialFile::putInPlaceKeepingFormer() {
  struct stat status {};
  if (stat(target_.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
    // The lock keeps other writers off while the former file stands at our name.
    formerDescriptor_ = openAboveStreams(target_.c_str(), O_RDONLY, 0);
    static_cast<void>(flock(formerDescriptor_, LOCK_EX | LOCK_NB));
    // The two change names in one step, where the file system can.
    if (renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, target_.c_str(), RENAME_EXCHANGE) == 0) {
      former_ = path_;
      inPlace_ = true;
      syncFolder(target_);
      return;
    }
    const std::string kept = target_ + ".former";
    // Without hard links the target is missing for a moment.
    if (link(target_.c_str(), kept.c_str()) != 0 &&
        (errno == EEXIST || rename(target_.c_str(), kept.c_str()) != 0))
      failWith(kept, "keep the former file", errno);
    former_ = kept;
  }
  try {
    putInPlace();
  } catch (...) {
    if (access(target_.c_str(), F_OK) == 0)
      dropFormer();
    else
      static_cast<void>(rename(former_.c_str(), target_.c_str()));
    throw;
  }
}

void PartialFile::takeBack() noexcept {
  if (!inPlace_) return;
  if (former_.empty()) {
    unlink(target_.c_str());
  } else if (rename(former_.c_str(), target_.c_str()) != 0) {
    // Names can't be exchanged any more: what made the replacement fail may still do so.
    unlink(target_.c_str());
    if (link(former_.c_str(), target_.c_str()) != 0) {
      Larder::Console() << shownName_ << ": its former content is left in " << former_;
      return;
    }
    unlink(former_.c_str());
  }
  former_.clear();
  syncFolder(target_);
}

void PartialFile::dropFormer() noexcept {
  if (!former_.empty()) unlink(former_.c_str());
  former_.clear();
}

}  // namespace Quilt::Storage
