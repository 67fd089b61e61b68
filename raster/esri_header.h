#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "recast/perch/fixed_array.h"
#include "recast/recastbase/run_report.h"
#include "recast/text_input/line_reader.h"

namespace Recast {

/// The header of an Esri ASCII raster: lines of a keyword (in any case) and a value, in any order,
/// of which a later one wins over an earlier one of the same keyword. It ends at the first line
/// that begins with another word. Lengths are in the unit of the file.
struct EsriHeader {
  std::optional<std::uint32_t> columns;  ///< "ncols"
  std::optional<std::uint32_t> rows;     ///< "nrows"
  std::optional<double> x;               ///< "xllcorner" or "xllcenter"
  std::optional<double> y;               ///< "yllcorner" or "yllcenter"
  std::optional<double> cellSize;        ///< "cellsize"
  std::optional<double> noData;          ///< "nodata_value"
  bool isCorner = false;                 ///< there is an "xllcorner": x and y are those of a corner
  std::uint64_t lines = 0;  ///< of the header; a line of more than 1023 bytes counts per piece
  std::string end;          ///< the place of the line that ended it, for messages

  static constexpr double kDefaultNoData = -9999.0;

  /// Whether the necessary values are there. \return a RasterStatus: 0, or for the first one that
  /// is missing 5, 6 or 7.
  RunOutcome checkComplete() const;
  /// The centre of the lower-left cell, z = 0. \pre x, y and cellSize are there.
  Heron::PhysicalSpace::point origin() const;
};

/// What sets the readers of the format apart.
struct EsriHeaderRules {
  bool skipEmptyLines = false;  ///< an empty line counts for the header, even as its first line
};

/// Reads the header of a file from its start. \return a RasterStatus: 0, 1, 3 or 4; which values
/// are there is for the caller to check.
RunOutcome readEsriHeader(Larder::Text::LineReader& input, const EsriHeaderRules& rules,
                          EsriHeader& header);

}  // namespace Recast
