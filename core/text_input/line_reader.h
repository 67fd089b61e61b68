#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace Larder::Text {

/// The part of the text before its first NUL byte, or all of it.
inline std::string_view untilNul(std::string_view text) {
  const void* const nul = text.empty() ? nullptr : std::memchr(text.data(), '\0', text.size());
  return nul == nullptr
             ? text
             : text.substr(0,
                           static_cast<std::size_t>(static_cast<const char*>(nul) - text.data()));
}

/// Gives the lines of a text file, one after the other, of any length and number.
///
///     LineReader reader(path);
///     if (!reader.isOpen()) ...
///     for (std::string_view line; reader.next(line);) ...
///     if (reader.failed()) ...
///
/// A line feed ends a line; the last line may lack it. Neither the line feed nor a carriage return
/// directly before it (or at the end of the file) is part of the line. NUL bytes are.
///
/// The file is read in blocks rather than mapped: a mapped file that shrinks meanwhile ends the
/// program. For one thread at a time.
class LineReader {
 public:
  /// Opens the file; a folder counts as one that can't be opened.
  explicit LineReader(const std::string& path);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }
  /// The bytes that the file had when it was opened; 0 of what is no regular file, such as a pipe.
  std::uint64_t fileSize() const { return fileSize_; }

  /// Gives the next line, valid until the next call. \return false at the end, which an error while
  /// reading brings too, behind the last whole line.
  bool next(std::string_view& line) {
    const void* const feed = std::memchr(at_, '\n', static_cast<std::size_t>(end_ - at_));
    if (feed == nullptr) return nextAcrossBlocks(line);
    take(static_cast<const char*>(feed), line);
    ++at_;
    return true;
  }
  /// The same for the line given last, faster: most files have no such byte, which is known block
  /// by block.
  std::string_view untilNul(std::string_view line) const {
    return mayHoldNul_ ? Text::untilNul(line) : line;
  }
  /// Passes over `count` lines. \return false if the file ends before.
  bool skip(std::uint64_t count);

  /// The number of the line given last, counted from 1.
  std::uint64_t lineNumber() const { return lineNumber_; }

  /// True if the file couldn't be opened or reading failed.
  bool failed() const { return error_ != 0; }
  /// The system's `errno` of the failure, or 0, and its text, or "".
  int error() const { return error_; }
  std::string reason() const;

 private:
  bool nextAcrossBlocks(std::string_view& line);
  bool readBlock();
  void makeRoom();
  void take(const char* lineEnd, std::string_view& line) {
    const char* textEnd = lineEnd;
    if (textEnd != at_ && textEnd[-1] == '\r') --textEnd;
    line = {at_, static_cast<std::size_t>(textEnd - at_)};
    at_ = lineEnd;
    ++lineNumber_;
  }

  std::unique_ptr<char[]> buffer_;
  std::size_t capacity_;
  const char* at_;           ///< where the next line starts, in the buffer
  const char* end_;          ///< of what was read into the buffer
  bool mayHoldNul_ = false;  ///< what is in the buffer
  std::uint64_t lineNumber_ = 0;
  std::uint64_t fileSize_ = 0;
  int descriptor_ = -1;
  int error_ = 0;
};

}  // namespace Larder::Text
