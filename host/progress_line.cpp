#include "progress_line.h"

#include <csignal>
#include <cstdio>

#include <signal.h>
#include <unistd.h>

namespace RecastHost {
namespace {

constexpr std::chrono::milliseconds kBetweenDrawings(100);

volatile std::sig_atomic_t wasInterrupted = 0;

void noteInterrupt(int) {
  wasInterrupted = 1;
}

void onInterrupt(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace

ProgressLine::ProgressLine() : isTerminal_(isatty(STDERR_FILENO) != 0) {
  wasInterrupted = 0;
  onInterrupt(noteInterrupt);
  formerSink_ = Larder::Console::setSink([this](const std::string& message) {
    const std::lock_guard lock(mutex_);
    erase();
    std::fprintf(stderr, "%s\n", message.c_str());
  });
}

ProgressLine::~ProgressLine() {
  Larder::Console::setSink(formerSink_);
  onInterrupt(SIG_DFL);
  const std::lock_guard lock(mutex_);
  erase();
}

bool ProgressLine::reportProgress(const std::string& text, int current, int total) {
  const auto now = std::chrono::steady_clock::now();
  if (isTerminal_ && now >= nextDrawing_) {
    nextDrawing_ = now + kBetweenDrawings;
    const std::lock_guard lock(mutex_);
    const double percent = total > 0 ? 100.0 * current / total : 0.0;
    std::fprintf(stderr, "\r\033[K%s %d of about %d (%.0f %%)", text.c_str(), current, total,
                 percent);
    std::fflush(stderr);
    drawn_ = true;
  }
  return !interrupted();
}

bool ProgressLine::interrupted() {
  return wasInterrupted != 0;
}

/// Takes the line off the terminal. \pre `mutex_` is held.
void ProgressLine::erase() {
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

}  // namespace RecastHost
