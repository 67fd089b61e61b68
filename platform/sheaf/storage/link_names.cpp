#include "recast/sheaf/storage/link_names.h"

#include <charconv>

namespace Quilt::Storage {
namespace {

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string escapedName(const std::string& name) {
  if (name.empty()) return "%";
  if (name == ".") return "%2E";
  std::string link;
  link.reserve(name.size());
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    if (c == '%')
      link += "%25";
    else if (c == '/')
      link += "%2F";
    else if (c == '\0')
      link += "%00";
    else if (c == '@' && i == 0)
      link += "%40";
    else
      link += c;
  }
  return link;
}

std::string unescapedName(const std::string& link) {
  if (link == "%") return {};
  std::string name;
  name.reserve(link.size());
  for (std::size_t i = 0; i < link.size(); ++i) {
    if (link[i] == '%' && i + 2 < link.size() && hexDigit(link[i + 1]) >= 0 &&
        hexDigit(link[i + 2]) >= 0) {
      name += static_cast<char>(hexDigit(link[i + 1]) * 16 + hexDigit(link[i + 2]));
      i += 2;
    } else {
      name += link[i];
    }
  }
  return name;
}

std::string timeName(double time) {
  // As by "%f" in the "C" locale, whatever the host has set; the longest double has 317 characters.
  char text[352];
  const auto end = std::to_chars(text, text + sizeof text, time, std::chars_format::fixed, 6).ptr;
  return {text, end};
}

}  // namespace Quilt::Storage
