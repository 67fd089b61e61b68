#pragma once

#include <streambuf>
#include <string>

namespace RecastHost {

/// Takes the place of the standard output stream's buffer while it lives: remembers the system's
/// reason when writing fails, and escapes control characters. One at a time.
class StandardOutput : public std::streambuf {
 public:
  StandardOutput();
  ~StandardOutput() override;
  StandardOutput(const StandardOutput&) = delete;
  StandardOutput& operator=(const StandardOutput&) = delete;

  /// Drops all that is printed from now on, or no longer does.
  static void setMuted(bool muted);
  /// Writes what waits to be written. \return empty, or why the stream could not be written; once
  /// that has happened, nothing more is written.
  static std::string flushAll();

 protected:
  int overflow(int character) override;
  std::streamsize xsputn(const char* text, std::streamsize length) override;
  int sync() override;

 private:
  void write(std::string_view text);
  void flush(bool isEnd);

  std::streambuf* former_;
  std::string buffer_;
  bool muted_ = false;
  int error_ = 0;
};

}  // namespace RecastHost
