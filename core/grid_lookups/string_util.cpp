#include "recast/grid_lookups/string_util.h"

namespace Larder::StringUtil {

template <class Char>
std::basic_string<Char> basename(const std::basic_string<Char>& path) {
  using Text = std::basic_string<Char>;
  const std::size_t slash = path.rfind(Char('/'));
  std::size_t start = slash == Text::npos ? 0 : slash + 1;
  const std::size_t backslash = path.rfind(Char('\\'));
  if (backslash != Text::npos && backslash > start) start = backslash + 1;
  const Text name = path.substr(start);
  return name.substr(0, name.rfind(Char('.')));
}

template <class Char>
std::basic_string<Char> extname(const std::basic_string<Char>& path) {
  using Text = std::basic_string<Char>;
  const std::size_t dot = path.rfind(Char('.'));
  if (dot == Text::npos || path.find(Char('/'), dot) != Text::npos) return {};
  return path.substr(dot + 1);
}

template std::string basename<char>(const std::string&);
template std::string extname<char>(const std::string&);

}  // namespace Larder::StringUtil
