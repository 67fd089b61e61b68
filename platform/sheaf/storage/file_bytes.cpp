#include "recast/sheaf/storage/file_bytes.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "recast/sheaf/storage/file_size_signal.h"

namespace Quilt::Storage {

int openAboveStreams(const char* path, int flags, unsigned mode) {
  const int descriptor = open(path, flags | O_CLOEXEC, mode);
  if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
  const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int error = errno;
  close(descriptor);
  errno = error;
  return moved;
}

bool readAt(int descriptor, std::uint64_t address, std::span<std::byte>& target) {
  while (!target.empty()) {
    const ssize_t got =
        pread(descriptor, target.data(), target.size(), static_cast<off_t>(address));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    address += static_cast<std::uint64_t>(got);
    target = target.subspan(static_cast<std::size_t>(got));
  }
  return true;
}

void makeRoom(int descriptor, std::uint64_t address, std::uint64_t bytes) {
  const FileSizeSignalBlocked blocked;
  static_cast<void>(fallocate(descriptor, FALLOC_FL_KEEP_SIZE, static_cast<off_t>(address),
                              static_cast<off_t>(bytes)));
}

bool writeAt(int descriptor, std::uint64_t address, std::span<const std::byte> bytes) {
  const FileSizeSignalBlocked blocked;
  while (!bytes.empty()) {
    const ssize_t put = pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(address));
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return false;
    address += static_cast<std::uint64_t>(put);
    bytes = bytes.subspan(static_cast<std::size_t>(put));
  }
  return true;
}

}  // namespace Quilt::Storage
