#include "recast/sheaf/storage/partial_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "recast/sheaf/storage/file_size_signal.h"
#include "recast/sheaf/storage_error.h"

namespace Quilt::Storage {
namespace {

[[noreturn]] void failWith(const std::string& name, const char* operation, int error) {
  throw StorageError(name, operation, std::strerror(error));
}

/// The file that a name stands for, behind links; the name itself if there is nothing yet.
std::string resolved(const std::string& name) {
  std::error_code error;
  if (!std::filesystem::is_symlink(name, error)) return name;
  const auto real = std::filesystem::weakly_canonical(name, error);
  return error ? name : real.string();
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
  // Some file systems can't sync folders; the file itself is safe by then.
  if (descriptor.value >= 0) static_cast<void>(fsync(descriptor.value));
}

}  // namespace

PartialFile::PartialFile(const std::string& target, bool copyTarget)
    : shownName_(target), target_(resolved(target)), path_(target_ + ".partial") {
  if (target.empty()) throw StorageError("(no name)", "create", "the file name is empty");
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
  close(descriptor_);
}

void PartialFile::lock() {
  for (;;) {
    descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
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
    close(descriptor_);
    failWith(shownName_, "create", error);
  }
}

void PartialFile::copyContent() {
  const Descriptor source{open(target_.c_str(), O_RDONLY | O_CLOEXEC)};
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

}  // namespace Quilt::Storage
