#include "progress_line.h"

#include <array>
#include <csignal>
#include <cstdio>

#include "messages.h"
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

ProgressLine::ProgressLine() : isShown_(isatty(STDERR_FILENO) != 0 && !isQuiet()) {
  wasInterrupted = 0;
  onInterrupt(noteInterrupt);
}

ProgressLine::~ProgressLine() {
  onInterrupt(SIG_DFL);
  if (isShown_) showStatusLine("");
}

bool ProgressLine::reportProgress(const std::string& text, int current, int total) {
  const auto now = std::chrono::steady_clock::now();
  if (isShown_ && now >= nextDrawing_) {
    nextDrawing_ = now + kBetweenDrawings;
    const double percent = total > 0 ? 100.0 * current / total : 0.0;
    std::array<char, 80> count;
    std::snprintf(count.data(), count.size(), " %d of about %d (%.0f %%)", current, total, percent);
    showStatusLine(text + count.data());
  }
  return !interrupted();
}

bool ProgressLine::interrupted() {
  return wasInterrupted != 0;
}

}  // namespace RecastHost
