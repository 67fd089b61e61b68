#pragma once

namespace Recast {

/// What the raster and terrain functions return, as an int.
enum RasterStatus {
  kRasterDone = 0,
  kCannotOpenInput = 1,
  kBadHeaderValue = 3,    ///< a header value doesn't parse, or is out of range
  kHeaderNeverEnds = 4,   ///< no line follows that isn't a header line
  kNoDimensions = 5,      ///< "ncols" or "nrows" is missing
  kNoLowerLeft = 6,       ///< the x or the y of the lower-left cell is missing
  kNoCellSize = 7,        ///< "cellsize" is missing, or no spacing can be found
  kCannotBindOutput = 8,  ///< the output can't be written, or a source bundle isn't usable
  kNoArray = 9,           ///< there is no memory for the raster
  kTooFewNumbers = 10,    ///< a data line holds fewer numbers than "ncols"
  kNotANumber = 11,       ///< a token of a data line doesn't start with a number
  kNoPositions = 12,      ///< the field "Positions" isn't available
  kNoNormals = 13,        ///< the normals field isn't available
  kNoUniformGrid = 14,    ///< the slice holds no uniform grid of that name
  kNoElevation = 15,      ///< the grid has no "Elevation", or its data is of another kind
  kNoFragment = 16,       ///< the field has no such fragment, or none at all
  kNoPointArray = 17,     ///< a source fragment's data is no array of points
  kNoTileData = 18,       ///< the field has no data for the tile
  kBadSampleLine = 19,    ///< a line of a terrain text isn't three numbers
  kSampleOutside = 20,    ///< a sample's position falls outside the raster
};

}  // namespace Recast
