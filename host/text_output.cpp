#include "text_output.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

#include "outcome.h"
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace RecastHost {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;

/// The descriptor that a name such as /dev/stdout or /dev/fd/3 stands for, if it is one of this
/// process.
std::optional<int> ownDescriptor(fs::path path) {
  constexpr int kMostLinks = 16;
  const fs::path folder = "/proc/" + std::to_string(getpid()) + "/fd";
  for (int links = 0; links < kMostLinks; ++links) {
    std::error_code error;
    const fs::path parent = fs::canonical(path.has_parent_path() ? path.parent_path() : ".", error);
    if (error) return std::nullopt;
    if (parent == folder) {
      const std::string name = path.filename();
      int number = -1;
      const auto [end, fault] = std::from_chars(name.data(), name.data() + name.size(), number);
      return fault == std::errc() ? std::optional(number) : std::nullopt;
    }
    const fs::path next = fs::read_symlink(path, error);
    if (error) return std::nullopt;
    path = parent / next;
  }
  return std::nullopt;
}

void syncFolder(const std::string& file) {
  const fs::path folder = fs::path(file).parent_path();
  const int descriptor =
      open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  // Some file systems can't sync folders; the file itself is safe by then.
  static_cast<void>(fsync(descriptor));
  close(descriptor);
}

}  // namespace

TextOutput::TextOutput(const std::string& path) : shownName_(path), target_(path) {
  buffer_.reserve(kBufferBytes + 4096);
  if (!openDirectly()) openPartial();
}

TextOutput::~TextOutput() {
  if (descriptor_ < 0) return;
  if (!partial_.empty()) unlink(partial_.c_str());
  close(descriptor_);
}

/// \return whether the target is nothing that can be replaced.
bool TextOutput::openDirectly() {
  if (const auto own = ownDescriptor(target_)) {
    descriptor_ = fcntl(*own, F_DUPFD_CLOEXEC, 3);
  } else {
    struct stat status {};
    if (stat(target_.c_str(), &status) != 0 || S_ISREG(status.st_mode)) return false;
    descriptor_ = open(target_.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
  }
  if (descriptor_ < 0) fail(errno);
  return true;
}

/// Makes the target the file that it leads to behind symbolic links, whether that exists or not.
void TextOutput::followLinks() {
  constexpr int kMaxLinks = 40;
  std::error_code error;
  for (int links = 0; fs::is_symlink(target_, error); ++links) {
    if (links == kMaxLinks) fail(ELOOP);
    const fs::path next = fs::read_symlink(target_, error);
    if (error) fail(error.value());
    target_ = fs::path(target_).parent_path() / next;
  }
}

void TextOutput::openPartial() {
  followLinks();
  struct stat status {};
  const bool exists = stat(target_.c_str(), &status) == 0;
  if (exists && access(target_.c_str(), W_OK) != 0) fail(errno);
  partial_ = target_ + ".partial";
  lockPartial();
  const bool isReady = ftruncate(descriptor_, 0) == 0;
  const int reason = errno;
  if (exists) static_cast<void>(fchmod(descriptor_, status.st_mode & 07777U));
  if (isReady) return;
  unlink(partial_.c_str());
  close(descriptor_);
  descriptor_ = -1;
  fail(reason);
}

void TextOutput::lockPartial() {
  for (;;) {
    const int descriptor = open(partial_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor < 0) fail(errno);
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
      close(descriptor);
      throw Failure(kOutputFailed, shownName_ + ": another run is writing it");
    }
    // The file that was opened may have been moved into its place before it was locked.
    struct stat ours {};
    struct stat there {};
    if (fstat(descriptor, &ours) == 0 && stat(partial_.c_str(), &there) == 0 &&
        ours.st_ino == there.st_ino && ours.st_dev == there.st_dev) {
      descriptor_ = descriptor;
      return;
    }
    close(descriptor);
  }
}

void TextOutput::put(std::string_view text) {
  buffer_ += text;
  if (buffer_.size() > kBufferBytes) flush();
}

void TextOutput::put(double number, int digits) {
  std::array<char, 64> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                 std::chars_format::general, digits);
  put(std::string_view(text.data(), end.ptr));
}

void TextOutput::put(std::uint64_t number) {
  std::array<char, 24> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
  put(std::string_view(text.data(), end.ptr));
}

void TextOutput::finish() {
  flush();
  if (!partial_.empty()) putInPlace();
  const int descriptor = std::exchange(descriptor_, -1);
  if (close(descriptor) != 0 && partial_.empty()) fail(errno);
}

void TextOutput::flush() {
  std::string_view text = buffer_;
  while (!text.empty()) {
    const ssize_t done = write(descriptor_, text.data(), text.size());
    if (done >= 0)
      text.remove_prefix(static_cast<std::size_t>(done));
    else if (errno != EINTR)
      fail(errno);
  }
  buffer_.clear();
}

void TextOutput::putInPlace() {
  if (fsync(descriptor_) != 0) fail(errno);
  if (rename(partial_.c_str(), target_.c_str()) != 0) fail(errno);
  partial_.clear();
  syncFolder(target_);
}

void TextOutput::fail(int error) const {
  throw Failure(kOutputFailed, shownName_ + ": " + std::generic_category().message(error));
}

}  // namespace RecastHost
