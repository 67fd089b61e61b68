#pragma once

#include <chrono>
#include <string>

#include "recast/larder/progress.h"

namespace RecastHost {

/// Shows how far a run is in one line of the standard error stream, if that is a terminal, and asks
/// the run to stop when the user has pressed Ctrl-C; a second Ctrl-C ends the program at once.
/// Messages stand above the line. One at a time.
class ProgressLine : public Larder::LoaderProgress {
 public:
  ProgressLine();
  ~ProgressLine() override;

  bool reportProgress(const std::string& text, int current, int total) override;
  void reportMessage(const std::string& text) override { lastMessage_ = text; }

  /// What the run reported last; empty if nothing.
  const std::string& lastMessage() const { return lastMessage_; }
  static bool interrupted();

 private:
  const bool isShown_;
  std::chrono::steady_clock::time_point nextDrawing_;
  std::string lastMessage_;
};

}  // namespace RecastHost
