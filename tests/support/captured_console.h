#pragma once

#include <string>
#include <vector>

#include "recast/larder/console.h"

namespace Testing {

/// Collects the console's messages during its life, in the order in which they ended.
class CapturedConsole {
 public:
  CapturedConsole()
      : former_(Larder::Console::setSink(
            [this](const std::string& message) { messages.push_back(message); })) {}
  ~CapturedConsole() { Larder::Console::setSink(former_); }
  CapturedConsole(const CapturedConsole&) = delete;

  std::vector<std::string> messages;

 private:
  Larder::Console::Sink former_;
};

}  // namespace Testing
