#include "recast/larder/console.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace Larder {
namespace {

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

Console::Sink& currentSink() {
  // Never destroyed: objects that end at exit may still have something to tell.
  static auto* sink = new Console::Sink;
  return *sink;
}

}  // namespace

Console::~Console() {
  try {
    const std::lock_guard lock(sinkMutex());
    if (currentSink()) {
      currentSink()(text_);
    } else {
      text_ += '\n';
      std::fwrite(text_.data(), 1, text_.size(), stderr);
    }
  } catch (...) {  // NOLINT: a message must not end the program
  }
}

Console::Sink Console::setSink(Sink sink) {
  const std::lock_guard lock(sinkMutex());
  return std::exchange(currentSink(), std::move(sink));
}

}  // namespace Larder
