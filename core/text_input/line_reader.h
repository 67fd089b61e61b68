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
///     for (std::string_view line; reader.next(line);) ...
///     if (reader.failed()) ... reader.failure()
///
/// A line feed ends a line; the last line may lack it. Neither the line feed nor a carriage return
/// directly before it (or at the end of the file) is part of the line. NUL bytes are.
///
/// A text that has to be read twice, say for its header and for its data, is opened once and
/// rewound, so that a pipe can be read too: its first block is kept until the next one is needed.
///
/// The file is read in blocks rather than mapped: a mapped file that shrinks meanwhile ends the
/// program. For one thread at a time.
class LineReader {
 public:
  /// The bytes that are read at a time, and kept of what is no regular file.
  static constexpr std::size_t kBlockSize = std::size_t{256} << 10;

  /// Opens the file; a folder counts as one that can't be opened.
  explicit LineReader(const std::string& path);
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

  bool isOpen() const { return descriptor_ >= 0; }
  const std::string& path() const { return path_; }
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
  /// Gives the next piece of a line as `std::fgets` does with a buffer of `most` + 1 bytes: up to
  /// `most` bytes, the line feed included. \return false at the end, and if reading fails before
  /// the piece is whole. Not to be mixed with `next`, other than by rewinding.
  bool nextPiece(std::size_t most, std::string_view& piece);
  /// What Text::untilNul gives for the line given last, faster: most files have no such byte, which
  /// is known block by block.
  std::string_view untilNul(std::string_view line) const {
    return mayHoldNul_ ? Text::untilNul(line) : line;
  }
  /// Passes over `count` lines. \return false if the file ends before.
  bool skip(std::uint64_t count);
  /// Goes back to the start of the file. Always works for a regular file; for others, such as
  /// pipes, while the first `kBlockSize` bytes suffice. \return false if it failed, as `failed`
  /// then says.
  bool rewind();

  /// The number of the line given last, or of the last piece's, counted from 1.
  std::uint64_t lineNumber() const { return lineNumber_; }
  /// The path and that number, as the start of a sentence: "hill.asc, line 7".
  std::string place() const { return path_ + ", line " + std::to_string(lineNumber_); }

  /// True if the file couldn't be opened or rewound, or reading failed, once and for all.
  bool failed() const { return error_ != 0; }
  /// The system's `errno` of the failure, or 0.
  int error() const { return error_; }
  /// A sentence that names the file, the line and the system's reason; "" without a failure.
  std::string failure() const;

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

  std::string path_;
  std::unique_ptr<char[]> buffer_;
  std::size_t capacity_;
  const char* at_;           ///< where the next line starts, in the buffer
  const char* end_;          ///< of what was read into the buffer
  bool mayHoldNul_ = false;  ///< what is in the buffer
  bool holdsStart_ = true;   ///< the buffer begins with the file's first byte
  bool isLineStart_ = true;  ///< the next piece begins a line
  std::uint64_t lineNumber_ = 0;
  std::uint64_t fileSize_ = 0;
  int descriptor_ = -1;
  int error_ = 0;
};

}  // namespace Larder::Text
