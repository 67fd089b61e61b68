#include "recast/raster/esri_body.h"

#include <algorithm>

#include "recast/larder/console.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/raster_status.h"
#include "recast/text_input/line_reader.h"
#include "recast/text_input/tokens.h"

namespace Recast {
namespace {

using Larder::Text::Number;
using Larder::Text::NumberStatus;
using Larder::Text::TokenWalk;

/// What to make of a line in which a token is no number: too short a line is the greater fault.
int badToken(const Number<float>& token, TokenWalk rest, std::uint64_t tokensWanted) {
  for (; tokensWanted > 0; --tokensWanted)
    if (!rest.skip()) return kTooFewNumbers;
  if (token.status == NumberStatus::kNotANumber) return kNotANumber;
  throw std::out_of_range("stof");
}

int readRow(std::string_view line, std::uint64_t columns, float* row) {
  TokenWalk walk(Larder::Text::untilNul(line), ' ');
  Number<float> number;
  for (std::uint64_t column = 0; column < columns; ++column) {
    if (!walk.next(number)) return kTooFewNumbers;
    if (!number.converted()) return badToken(number, walk, columns - column - 1);
    row[column] = number.value;
  }
  return kRasterDone;
}

int checkLength(std::string_view line, std::uint64_t columns) {
  TokenWalk walk(Larder::Text::untilNul(line), ' ');
  for (; columns > 0; --columns)
    if (!walk.skip()) return kTooFewNumbers;
  return kRasterDone;
}

void tellOfMissing(const std::string& path, std::uint64_t lines, std::uint64_t rows,
                   const Larder::Text::LineReader& reader) {
  if (reader.failed())
    Larder::Console() << path << ": reading ended after " << lines
                      << " data lines: " << reader.reason();
  else if (lines < rows)
    Larder::Console() << path << ": has " << lines << " data lines for " << rows
                      << " rows; the other rows hold 0.";
  else if (lines > rows)
    Larder::Console() << path << ": has " << lines << " data lines for " << rows
                      << " rows; those behind the last row are left out.";
}

/// Whether a file of that length justifies the raster, as a RasterStatus.
int checkAgainstLength(const std::string& path, std::uint64_t columns, std::uint64_t rows) {
  const std::uint64_t bytes = Larder::Text::LineReader(path).fileSize();
  if (bytes == 0) return kRasterDone;
  const std::uint64_t most = (bytes + 1) / 2;  // a digit and a blank or line end each
  if (columns * rows <= std::max(most, kMostCellsWithoutText)) return kRasterDone;
  if (columns > most) return kTooFewNumbers;
  Larder::Console() << path << ": the header tells of " << columns << " x " << rows
                    << " cells; a file of " << bytes << " bytes has at most " << most
                    << " of them.";
  return kNoArray;
}

}  // namespace

int makeEsriHeights(const std::string& path, std::uint32_t columns, std::uint32_t rows,
                    HeightHandle& heights) {
  if (!fitsMemory(columns, rows)) return kNoArray;
  if (const int status = checkAgainstLength(path, columns, rows); status != kRasterDone)
    return status;
  heights = makeHeights(columns, rows);
  return heights ? kRasterDone : kNoArray;
}

int readEsriBody(const std::string& path, std::uint64_t headerLines, HeightArray& heights) {
  const std::uint64_t columns = heights.dims[0];
  const std::uint64_t rows = heights.dims[1];
  Larder::Text::LineReader reader(path);
  reader.skip(headerLines);
  std::uint64_t lines = 0;
  for (std::string_view line; reader.next(line); ++lines) {
    const int status = lines < rows
                           ? readRow(line, columns, heights.data + (rows - 1 - lines) * columns)
                           : checkLength(line, columns);
    if (status != kRasterDone) return status;
  }
  tellOfMissing(path, lines, rows, reader);
  return kRasterDone;
}

}  // namespace Recast
