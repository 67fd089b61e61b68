#include "column_description.h"

#include <charconv>

namespace RecastHost {
namespace {

bool parsePositions(const std::string& text, std::vector<unsigned int>& positions) {
  const char* at = text.data();
  const char* const end = at + text.size();
  for (;; ++at) {
    const auto [reached, error] = std::from_chars(at, end, positions.emplace_back());
    if (error != std::errc()) return false;
    at = reached;
    if (at == end) return true;
    if (*at != ',') return false;
  }
}

}  // namespace

bool parseColumn(const std::string& text, ColumnDescription& column) {
  const std::size_t first = text.find(':');
  const std::size_t last = text.rfind(':');
  if (first == last) return false;
  column.type = text.substr(0, first);
  column.name = text.substr(first + 1, last - first - 1);
  return !column.name.empty() && parsePositions(text.substr(last + 1), column.positions);
}

bool parseDelimiter(const std::string& text, char& delimiter) {
  if (text == "tab")
    delimiter = '\t';
  else if (text == "space")
    delimiter = ' ';
  else if (text.size() == 1)
    delimiter = text[0];
  else
    return false;
  return true;
}

}  // namespace RecastHost
