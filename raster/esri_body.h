#pragma once

#include <cstdint>
#include <string>

#include "recast/typed_arrays/mem_array.h"

namespace Recast {

/// A raster of heights: (columns, rows, 1), columns west to east, rows south to north.
using HeightArray = Quilt::MemArray<3, float>;
using HeightHandle = Larder::StrongPtr<HeightArray, Larder::Cacheable>;

/// Reads the data lines of an Esri ASCII raster into `heights`, the northernmost row first. Numbers
/// are separated by blanks; what follows the last column's is ignored. Rows that the file has no
/// line for keep their values, and lines that there is no row for are left out; the console tells
/// of both. \param headerLines lines to pass over. \return a RasterStatus: 0, 10 or 11. \throw
/// std::out_of_range for a number beyond the range of a float.
int readEsriBody(const std::string& path, std::uint64_t headerLines, HeightArray& heights);

}  // namespace Recast
