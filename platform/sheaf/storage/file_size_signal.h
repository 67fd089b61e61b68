#pragma once

#include <cerrno>
#include <csignal>
#include <ctime>

#include <pthread.h>

namespace Quilt::Storage {

/// A file that grows beyond the process's limit raises a signal that ends the program by default;
/// within this scope it only makes the call fail.
class FileSizeSignalBlocked {
 public:
  FileSizeSignalBlocked() {
    sigemptyset(&signal_);
    sigaddset(&signal_, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signal_, &former_);
  }
  ~FileSizeSignalBlocked() {
    if (sigismember(&former_, SIGXFSZ) == 0) {
      const int error = errno;
      const timespec atOnce{0, 0};
      while (sigtimedwait(&signal_, nullptr, &atOnce) < 0 && errno == EINTR) {
      }
      errno = error;
    }
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
  }

 private:
  sigset_t signal_{};
  sigset_t former_{};
};

}  // namespace Quilt::Storage
