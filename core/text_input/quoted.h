#pragma once

#include <string>
#include <string_view>

namespace Larder::Text {

/// A piece of a file for a message: in double quotes, control characters as "\x1b", and only the
/// first 40 bytes of a longer one, with "..." behind them.
std::string quoted(std::string_view text);

}  // namespace Larder::Text
