#pragma once

#include <concepts>
#include <functional>
#include <string>
#include <string_view>

#include "recast/larder/export.h"

namespace Larder {

/// One message under construction: starts empty, grows by `<<`, and is delivered as a whole when
/// the object ends. Numbers are appended in decimal, floating-point ones as by "%f".
///
///     Larder::Console() << "Have " << 3 << " grids";
///
/// Messages go to the standard error stream, a line each, unless the host sets a sink.
class RECAST_API Console {
 public:
  using Sink = std::function<void(const std::string&)>;

  Console() = default;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console();

  Console& operator<<(std::string_view text) {
    text_ += text;
    return *this;
  }
  Console& operator<<(const char* text) { return *this << std::string_view(text); }
  Console& operator<<(const std::string& text) { return *this << std::string_view(text); }
  Console& operator<<(char character) { return *this << std::string_view(&character, 1); }
  Console& operator<<(std::integral auto number) { return *this << std::to_string(number); }
  Console& operator<<(double number) { return *this << std::to_string(number); }

  /// Sends all later messages to `sink`; an empty one restores the standard error stream. The sink
  /// is called under a lock, one message at a time, from whatever thread a message ends in; it must
  /// not end a message or set a sink itself. What it throws is dropped.
  /// \return the sink that was set before.
  static Sink setSink(Sink sink);

 private:
  std::string text_;
};

}  // namespace Larder
