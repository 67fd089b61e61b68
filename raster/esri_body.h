#pragma once

#include "recast/raster/esri_header.h"
#include "recast/raster/height_array.h"

namespace Recast {

/// Makes the raster that a header states, with all cells 0.0. Memory for cells that the file's
/// length has no text for is not used until they are written.
/// \return a RasterStatus: 0, or 9 if the machine has not that much memory.
RunOutcome makeEsriHeights(const Larder::Text::LineReader& input, const EsriHeader& header,
                           HeightHandle& heights);

/// Reads the data lines of an Esri ASCII raster into `heights`, the northernmost row first. Numbers
/// are separated by blanks; what follows the last column's is ignored. Rows that the file has no
/// line for keep their values, and lines that there is no row for are left out; the run's report
/// has a notice of both. \return a RasterStatus: 0, 1, 10 or 11. \throw std::out_of_range for a
/// number beyond the range of a float.
RunOutcome readEsriBody(Larder::Text::LineReader& input, const EsriHeader& header,
                        HeightArray& heights);

}  // namespace Recast
