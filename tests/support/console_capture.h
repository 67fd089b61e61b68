#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "recast/larder/console.h"

namespace TestSupport {

/// Collects the console's messages while it lives, in place of the standard error stream.
class ConsoleCapture {
 public:
  ConsoleCapture()
      : former_(Larder::Console::setSink([this](const std::string& message) {
          const std::lock_guard lock(mutex_);
          messages_.push_back(message);
        })) {}
  ~ConsoleCapture() { Larder::Console::setSink(former_); }
  ConsoleCapture(const ConsoleCapture&) = delete;
  ConsoleCapture& operator=(const ConsoleCapture&) = delete;

  std::vector<std::string> messages() const {
    const std::lock_guard lock(mutex_);
    return messages_;
  }
  /// How many messages hold `text`.
  std::size_t count(const std::string& text) const {
    std::size_t found = 0;
    for (const std::string& message : messages())
      found += message.find(text) != std::string::npos ? 1 : 0;
    return found;
  }
  bool contains(const std::string& text) const { return count(text) > 0; }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> messages_;
  Larder::Console::Sink former_;
};

}  // namespace TestSupport
