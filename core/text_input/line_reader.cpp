#include "recast/text_input/line_reader.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Larder::Text {

// A block fits into the second-level cache, so that the parser finds there what the system has
// copied.
LineReader::LineReader(const std::string& path)
    : path_(path),
      buffer_(std::make_unique_for_overwrite<char[]>(kBlockSize)),
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

std::string LineReader::failure() const {
  if (!failed()) return {};
  if (!isOpen()) return path_ + ": can't be opened: " + std::generic_category().message(error_);
  if (error_ == ESPIPE)
    return path_ + ": can't be read a second time: it is no regular file, and the first " +
           std::to_string(kBlockSize) + " bytes, which are kept, don't suffice";
  return path_ + ": can't be read behind line " + std::to_string(lineNumber_) + ": " +
         std::generic_category().message(error_);
}

bool LineReader::skip(std::uint64_t count) {
  std::string_view line;
  for (; count > 0; --count)
    if (!next(line)) return false;
  return true;
}

bool LineReader::nextPiece(std::size_t most, std::string_view& piece) {
  std::size_t size = 0;
  for (;;) {
    const std::size_t unread = std::min(static_cast<std::size_t>(end_ - at_), most);
    const void* const feed = std::memchr(at_, '\n', unread);
    size = feed == nullptr ? unread
                           : static_cast<std::size_t>(static_cast<const char*>(feed) - at_) + 1;
    if (feed != nullptr || size == most) break;
    if (readBlock()) continue;
    if (failed() || size == 0) return false;
    break;
  }
  piece = {at_, size};
  at_ += size;
  lineNumber_ += isLineStart_ ? 1 : 0;
  isLineStart_ = piece.back() == '\n';
  return true;
}

bool LineReader::rewind() {
  if (!holdsStart_) {
    if (failed()) return false;
    if (lseek(descriptor_, 0, SEEK_SET) < 0) {
      error_ = errno;
      return false;
    }
    end_ = buffer_.get();
    mayHoldNul_ = false;
    holdsStart_ = true;
  }
  at_ = buffer_.get();
  lineNumber_ = 0;
  isLineStart_ = true;
  return isOpen();
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
  const bool unreadMay = mayHoldNul_ && (at_ != end_ || holdsStart_);
  mayHoldNul_ = unreadMay || std::memchr(end_, '\0', static_cast<std::size_t>(got)) != nullptr;
  end_ += got;
  return true;
}

/// Moves what is unread to the front, and into a larger buffer if it fills more than half of this
/// one. The start of the file stays where it is while there is room behind it.
void LineReader::makeRoom() {
  if (holdsStart_ && end_ != buffer_.get() + capacity_) return;
  holdsStart_ = false;
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
