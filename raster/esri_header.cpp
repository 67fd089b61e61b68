#include "recast/raster/esri_header.h"

#include <algorithm>
#include <functional>
#include <map>

#include "recast/raster/raster_status.h"
#include "recast/text_input/numbers.h"
#include "recast/text_input/quoted.h"

namespace Recast {
namespace {

constexpr std::size_t kLongestPiece = 1023;  // of a line
constexpr std::size_t kLongestWord = 511;

using Larder::Text::quoted;

/// Takes a value into its slot; false if it is no number or out of range.
using Take = std::function<bool(EsriHeader&, std::string_view)>;

template <class T>
Take into(std::optional<T> EsriHeader::*slot) {
  return [slot](EsriHeader& header, std::string_view text) {
    const auto number = Larder::Text::toNumber<T>(text);
    if (number.converted()) header.*slot = number.value;
    return number.converted();
  };
}

const Take* slotOf(const std::string& keyword) {
  static const std::map<std::string, Take> slots = {
      {"ncols", into(&EsriHeader::columns)},     {"nrows", into(&EsriHeader::rows)},
      {"xllcorner", into(&EsriHeader::x)},       {"yllcorner", into(&EsriHeader::y)},
      {"xllcenter", into(&EsriHeader::x)},       {"yllcenter", into(&EsriHeader::y)},
      {"cellsize", into(&EsriHeader::cellSize)}, {"nodata_value", into(&EsriHeader::noData)}};
  const auto found = slots.find(keyword);
  return found == slots.end() ? nullptr : &found->second;
}

std::string lowered(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

bool isEmptyLine(std::string_view line) {
  return line.starts_with('\n') || line.starts_with("\r\n");
}

/// Takes the next word off the front of a text, at most `kLongestWord` bytes of it. \return false,
/// with `word` as it was, if there is none.
bool takeWord(std::string_view& text, std::string& word) {
  constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
  text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
  if (text.empty()) return false;
  word = text.substr(0, std::min(text.find_first_of(kWhiteSpace), kLongestWord));
  text.remove_prefix(word.size());
  return true;
}

}  // namespace

RunOutcome EsriHeader::checkComplete() const {
  const auto lacks = [this](int status, const char* what) {
    return RunOutcome{status, end + ": the header ends before this line and lacks " + what};
  };
  if (!columns) return lacks(kNoDimensions, "\"ncols\"");
  if (!rows) return lacks(kNoDimensions, "\"nrows\"");
  if (!x) return lacks(kNoLowerLeft, "\"xllcorner\" or \"xllcenter\"");
  if (!y) return lacks(kNoLowerLeft, "\"yllcorner\" or \"yllcenter\"");
  if (!cellSize) return lacks(kNoCellSize, "\"cellsize\"");
  return {};
}

Heron::PhysicalSpace::point EsriHeader::origin() const {
  const double toCentre = isCorner ? *cellSize / 2 : 0.0;
  return {*x + toCentre, *y + toCentre, 0.0};
}

RunOutcome readEsriHeader(Larder::Text::LineReader& input, const EsriHeaderRules& rules,
                          EsriHeader& header) {
  if (!input.rewind()) return {kCannotOpenInput, input.failure()};
  std::string keyword;
  std::string value;
  for (std::string_view line; input.nextPiece(kLongestPiece, line); ++header.lines) {
    if (rules.skipEmptyLines && isEmptyLine(line)) continue;
    std::string_view words = Larder::Text::untilNul(line);
    // A line without a word leaves both as they were and so repeats the line before it.
    if (takeWord(words, keyword) && !takeWord(words, value)) value.clear();
    const std::string lower = lowered(keyword);
    const Take* take = slotOf(lower);
    if (take == nullptr) {
      header.end = input.place();
      return {};
    }
    if (!(*take)(header, value))
      return {kBadHeaderValue,
              input.place() + ": " + quoted(value) + " is no value for " + quoted(keyword)};
    header.isCorner |= lower == "xllcorner";
  }
  if (input.failed()) return {kCannotOpenInput, input.failure()};
  return {kHeaderNeverEnds, input.path() + ": the file ends inside its header, after " +
                                std::to_string(input.lineNumber()) + " lines"};
}

}  // namespace Recast
