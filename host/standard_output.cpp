#include "standard_output.h"

#include <cerrno>
#include <iostream>
#include <system_error>

#include "shown_text.h"
#include <unistd.h>

namespace RecastHost {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 16;
StandardOutput* present = nullptr;

}  // namespace

StandardOutput::StandardOutput() : former_(std::cout.rdbuf(this)) {
  present = this;
}

StandardOutput::~StandardOutput() {
  flush(true);
  present = nullptr;
  std::cout.rdbuf(former_);
}

void StandardOutput::setMuted(bool muted) {
  if (present != nullptr) present->muted_ = muted;
}

std::string StandardOutput::flushAll() {
  if (present == nullptr) return {};
  present->flush(true);
  return present->error_ == 0 ? std::string() : std::generic_category().message(present->error_);
}

int StandardOutput::overflow(int character) {
  if (character == traits_type::eof()) return 0;
  const char byte = traits_type::to_char_type(character);
  return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

std::streamsize StandardOutput::xsputn(const char* text, std::streamsize length) {
  if (muted_) return length;
  buffer_.append(text, static_cast<std::size_t>(length));
  if (buffer_.size() > kBufferBytes) flush(false);
  return error_ == 0 ? length : 0;
}

int StandardOutput::sync() {
  flush(false);
  return error_ == 0 ? 0 : -1;
}

void StandardOutput::write(std::string_view text) {
  while (!text.empty() && error_ == 0) {
    const ssize_t done = ::write(STDOUT_FILENO, text.data(), text.size());
    if (done >= 0)
      text.remove_prefix(static_cast<std::size_t>(done));
    else if (errno != EINTR)
      error_ = errno;
  }
}

/// \param isEnd else a character of which bytes are still to come waits for them.
void StandardOutput::flush(bool isEnd) {
  const std::size_t waiting = isEnd ? 0 : unfinishedTail(buffer_);
  const std::string_view ready(buffer_.data(), buffer_.size() - waiting);
  write(shownText(ready, Newlines::Kept));
  buffer_.erase(0, ready.size());
}

}  // namespace RecastHost
