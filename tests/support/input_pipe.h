#pragma once

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace TestSupport {

/// A named pipe that a thread of its own fills with a text.
class InputPipe {
 public:
  enum class End {
    kOfFile,
    kReadError,  ///< reading fails behind the text
  };

  InputPipe(std::string path, std::string text, End end = End::kOfFile)
      : path_(std::move(path)), text_(std::move(text)), end_(end) {
    std::signal(SIGPIPE, SIG_IGN);  // of a reader that gives up
    if (mkfifo(path_.c_str(), 0600) != 0) throw std::runtime_error("can't make a pipe");
    writer_ = std::thread([this] { fill(); });
  }
  ~InputPipe() {
    const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK);  // if nobody opened it
    close(reader);
    writer_.join();
    std::filesystem::remove(path_);
  }
  InputPipe(const InputPipe&) = delete;
  InputPipe& operator=(const InputPipe&) = delete;

  operator const std::string&() const { return path_; }

 private:
  void fill() const {
    const int pipe = open(path_.c_str(), O_WRONLY | O_CLOEXEC);
    const std::size_t last = end_ == End::kReadError ? text_.size() - 1 : text_.size();
    if (writeAll(pipe, text_.data(), last) && end_ == End::kReadError) {
      while (holdsUnread(pipe)) std::this_thread::yield();
      spoilReader(pipe);
      writeAll(pipe, text_.data() + last, 1);  // to a reader that waits for it
    }
    close(pipe);
  }

  static bool holdsUnread(int pipe) {
    pollfd reader{pipe, POLLOUT, 0};
    int unread = 0;
    return poll(&reader, 1, 0) >= 0 && (reader.revents & POLLERR) == 0 &&
           ioctl(pipe, FIONREAD, &unread) == 0 && unread > 0;
  }

  static bool writeAll(int pipe, const char* bytes, std::size_t count) {
    while (count > 0) {
      const ssize_t written = write(pipe, bytes, count);
      if (written < 0) return false;
      bytes += written;
      count -= static_cast<std::size_t>(written);
    }
    return true;
  }

  /// Puts a folder, which can't be read, in the place of the reader's descriptor.
  void spoilReader(int pipe) const {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      std::error_code error;
      const int descriptor = std::stoi(entry.path().filename());
      if (descriptor == pipe || std::filesystem::read_symlink(entry, error) != path_) continue;
      const int folder = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      syscall(SYS_dup3, folder, descriptor, 0);  // dup2 counts as a data race with reading
      close(folder);
      return;
    }
  }

  std::string path_;
  std::string text_;
  End end_;
  std::thread writer_;
};

}  // namespace TestSupport
