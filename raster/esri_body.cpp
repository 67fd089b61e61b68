#include "recast/raster/esri_body.h"

#include <stdexcept>

#include "recast/raster/height_memory.h"
#include "recast/raster/raster_status.h"
#include "recast/text_input/quoted.h"
#include "recast/text_input/tokens.h"

namespace Recast {
namespace {

using Larder::Text::LineReader;
using Larder::Text::Number;
using Larder::Text::NumberStatus;
using Larder::Text::TokenWalk;

/// \return false if a number is missing or not one.
bool readRow(std::string_view line, std::uint64_t columns, float* row) {
  TokenWalk walk(line, ' ');
  Number<float> number;
  for (std::uint64_t column = 0; column < columns; ++column) {
    if (!walk.next(number) || !number.converted()) return false;
    row[column] = number.value;
  }
  return true;
}

bool hasTokens(std::string_view line, std::uint64_t columns) {
  TokenWalk walk(line, ' ');
  for (; columns > 0; --columns)
    if (!walk.skip()) return false;
  return true;
}

/// Explains a line that can't be read as a row: that it is too short comes before a token that is
/// no number. \throw std::out_of_range
RunOutcome faultOf(std::string_view line, std::uint64_t columns, const std::string& place) {
  const std::size_t tokens = Larder::Text::countTokens(line, ' ');
  if (tokens < columns)
    return {kTooFewNumbers,
            place + ": " + std::to_string(tokens) + " of " + std::to_string(columns) + " numbers"};
  TokenWalk walk(line, ' ');
  std::string_view token;
  for (std::uint64_t column = 1; column <= columns && walk.next(token); ++column) {
    const auto number = Larder::Text::toNumber<float>(token);
    if (number.converted()) continue;
    const std::string found =
        place + ", column " + std::to_string(column) + ": " + Larder::Text::quoted(token);
    if (number.status == NumberStatus::kOutOfRange)
      throw std::out_of_range(found + " is beyond the range of a float");
    return {kNotANumber, found + " is no number"};
  }
  return {kNotANumber, place + ": is no row of numbers"};
}

void reportLineCount(const std::string& path, std::uint64_t lines, std::uint64_t rows) {
  if (lines == rows) return;
  reportNotice(path + ": has " + std::to_string(lines) + " data lines for " + std::to_string(rows) +
               (lines < rows ? " rows; the other rows hold 0"
                             : " rows; those behind the last row are left out"));
}

/// Whether the file may hold a number for every cell: a digit and a blank or line end each.
bool mayFill(const LineReader& input, std::uint64_t cells) {
  // Where the length isn't known, memory of this size is cheaper to bring at once.
  constexpr std::uint64_t kFewCells = std::uint64_t{1} << 22;
  return cells <= std::max((input.fileSize() + 1) / 2, kFewCells);
}

}  // namespace

RunOutcome makeEsriHeights(const LineReader& input, const EsriHeader& header,
                           HeightHandle& heights) {
  const std::uint64_t cells = std::uint64_t{*header.columns} * *header.rows;
  heights = makeHeights(*header.columns, *header.rows,
                        mayFill(input, cells) ? HeightUse::kAll : HeightUse::kSome);
  if (heights) return {};
  return {kNoArray, input.path() + ": there is no memory for " + std::to_string(*header.columns) +
                        " x " + std::to_string(*header.rows) + " cells"};
}

RunOutcome readEsriBody(LineReader& input, const EsriHeader& header, HeightArray& heights) {
  const std::uint64_t columns = heights.dims[0];
  const std::uint64_t rows = heights.dims[1];
  if (!input.rewind()) return {kCannotOpenInput, input.failure()};
  input.skip(header.lines);
  std::uint64_t lines = 0;
  for (std::string_view line; input.next(line); ++lines) {
    line = input.untilNul(line);
    const bool isRow = lines < rows
                           ? readRow(line, columns, heights.data + (rows - 1 - lines) * columns)
                           : hasTokens(line, columns);
    if (!isRow) return faultOf(line, columns, input.place());
  }
  if (input.failed()) return {kCannotOpenInput, input.failure()};
  reportLineCount(input.path(), lines, rows);
  return {};
}

}  // namespace Recast
