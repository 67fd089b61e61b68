#include "recast/text_input/quoted.h"

namespace Larder::Text {

std::string quoted(std::string_view text) {
  constexpr std::size_t kMostShown = 40;
  constexpr const char* kDigits = "0123456789abcdef";
  std::string result = "\"";
  for (const char c : text.substr(0, kMostShown)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte != 0x7F)
      result += c;
    else
      result += {'\\', 'x', kDigits[byte / 16], kDigits[byte % 16]};
  }
  return result + (text.size() > kMostShown ? "...\"" : "\"");
}

}  // namespace Larder::Text
