#include "messages.h"

#include <cstdio>
#include <deque>
#include <mutex>

#include "shown_text.h"

#include "recast/larder/console.h"

namespace RecastHost {
namespace {

constexpr std::size_t kMostHeldBack = 20;

std::mutex mutex;  // guards all of the following and the stream
bool quiet = false;
bool statusLineIsDrawn = false;

std::deque<std::string>& heldBack() {
  static std::deque<std::string> lines;
  return lines;
}

/// \pre `mutex` is held.
void eraseStatusLine() {
  if (statusLineIsDrawn) std::fputs("\r\033[K", stderr);
  statusLineIsDrawn = false;
}

/// \pre `mutex` is held.
void print(const std::string& shownLine) {
  eraseStatusLine();
  std::fprintf(stderr, "%s\n", shownLine.c_str());
}

void printOrHold(const std::string& shownLine) {
  const std::lock_guard lock(mutex);
  if (!quiet) {
    print(shownLine);
    return;
  }
  heldBack().push_back(shownLine);
  if (heldBack().size() > kMostHeldBack) heldBack().pop_front();
}

}  // namespace

void startMessages(bool isToBeQuiet) {
  quiet = isToBeQuiet;
  Larder::Console::setSink(
      [](const std::string& message) { printOrHold(shownText(message, Newlines::Kept)); });
}

bool isQuiet() {
  return quiet;
}

void notify(const std::string& line) {
  printOrHold(shownText(line, Newlines::Escaped));
}

void reportFailure(const std::string& line) {
  const std::lock_guard lock(mutex);
  for (const std::string& held : heldBack()) print(held);
  heldBack().clear();
  print(shownText(line, Newlines::Escaped));
}

void showStatusLine(const std::string& text) {
  const std::lock_guard lock(mutex);
  eraseStatusLine();
  if (!text.empty()) std::fputs(shownText(text, Newlines::Escaped).c_str(), stderr);
  statusLineIsDrawn = !text.empty();
  std::fflush(stderr);
}

}  // namespace RecastHost
