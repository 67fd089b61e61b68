#include "column_preview.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include "outcome.h"
#include "shown_text.h"

#include "recast/text_input/tokens.h"

namespace RecastHost {
namespace {

constexpr int kLines = 10;
constexpr std::size_t kMostTokens = 50;
constexpr std::size_t kMostCharacters = 40;

std::string shown(std::string_view token) {
  if (token.size() <= kMostCharacters) return shownText(token, Newlines::Escaped);
  token = token.substr(0, kMostCharacters);
  return shownText(token.substr(0, token.size() - unfinishedTail(token)), Newlines::Escaped) +
         "...";
}

/// \return how many tokens the line has.
std::size_t printTokens(unsigned int number, std::string_view line, char delimiter) {
  std::cout << "line " << number << ":";
  std::size_t count = 0;
  Larder::Text::TokenWalk walk(line.substr(0, line.find('\0')), delimiter);
  for (std::string_view token; walk.next(token); ++count)
    if (count < kMostTokens) std::cout << "  [" << count << "] " << shown(token);
  if (count > kMostTokens) std::cout << "  and " << count - kMostTokens << " more";
  std::cout << "\n";
  return count;
}

}  // namespace

void previewColumns(const std::string& file, char delimiter, unsigned int headerLines) {
  std::ifstream input(file, std::ios::binary);
  std::string line;
  std::size_t mostTokens = 0;
  unsigned int number = 0;
  for (int printed = 0; printed < kLines && std::getline(input, line);) {
    if (++number == 1 && line.compare(0, 3, "\xEF\xBB\xBF") == 0)
      std::cout
          << "The file starts with a UTF-8 byte order mark, which belongs to its first token.\n";
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (number <= headerLines || line.empty()) continue;
    mostTokens = std::max(mostTokens, printTokens(number, line, delimiter));
    ++printed;
  }
  if (input.bad() || !input.is_open()) throw Failure(kNoInput, file + ": the file can't be read");
  if (mostTokens == 1) std::cout << "All lines have one column: is the delimiter the right one?\n";
}

}  // namespace RecastHost
