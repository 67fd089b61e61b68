#include "recast/text_input/line_reader.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Larder::Text {
namespace {

/// Fits into the second-level cache, so that the parser finds there what the system has copied.
constexpr std::size_t kBlockSize = std::size_t{256} << 10;

}  // namespace

LineReader::LineReader(const std::string& path)
    : buffer_(std::make_unique_for_overwrite<char[]>(kBlockSize)),
      capacity_(kBlockSize),
      at_(buffer_.get()),
      end_(buffer_.get()),
      descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status {};
  if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) error_ = errno;
  if (error_ == 0 && S_ISDIR(status.st_mode)) error_ = EISDIR;
  if (error_ != 0) {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
    return;
  }
  if (S_ISREG(status.st_mode)) fileSize_ = static_cast<std::uint64_t>(status.st_size);
  // Reads further ahead: a fifth faster where the file isn't in memory yet.
  posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
}

LineReader::~LineReader() {
  if (descriptor_ >= 0) close(descriptor_);
}

std::string LineReader::reason() const {
  return failed() ? std::generic_category().message(error_) : std::string();
}

bool LineReader::skip(std::uint64_t count) {
  std::string_view line;
  for (; count > 0; --count)
    if (!next(line)) return false;
  return true;
}

/// Reads on until the line that starts at `at_` is whole; what it has so far holds no line feed.
bool LineReader::nextAcrossBlocks(std::string_view& line) {
  for (;;) {
    const auto searched = end_ - at_;
    if (!readBlock()) break;
    const char* const unsearched = at_ + searched;
    const void* const feed =
        std::memchr(unsearched, '\n', static_cast<std::size_t>(end_ - unsearched));
    if (feed == nullptr) continue;
    take(static_cast<const char*>(feed), line);
    ++at_;
    return true;
  }
  if (failed() || at_ == end_) return false;
  take(end_, line);
  return true;
}

/// Appends to what is unread. False at the end of the file and on failure.
bool LineReader::readBlock() {
  if (descriptor_ < 0 || error_ != 0) return false;
  makeRoom();
  char* const room = buffer_.get() + (end_ - buffer_.get());
  ssize_t got;
  do {
    got = read(descriptor_, room, capacity_ - static_cast<std::size_t>(end_ - buffer_.get()));
  } while (got < 0 && errno == EINTR);
  if (got < 0) error_ = errno;
  if (got <= 0) return false;
  const bool unreadMay = mayHoldNul_ && at_ != end_;
  mayHoldNul_ = unreadMay || std::memchr(end_, '\0', static_cast<std::size_t>(got)) != nullptr;
  end_ += got;
  return true;
}

/// Moves what is unread to the front, and into a larger buffer if it fills more than half of this
/// one.
void LineReader::makeRoom() {
  const auto unread = static_cast<std::size_t>(end_ - at_);
  if (unread > capacity_ / 2) {
    auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity_);
    std::memcpy(larger.get(), at_, unread);
    buffer_ = std::move(larger);
    capacity_ *= 2;
  } else {
    std::memmove(buffer_.get(), at_, unread);
  }
  at_ = buffer_.get();
  end_ = at_ + unread;
}

}  // namespace Larder::Text
