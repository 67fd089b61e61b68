#pragma once

#include <cstdint>
#include <string>

#include "recast/typed_arrays/mem_array.h"

namespace Recast {

/// A raster of heights: (columns, rows, 1), columns west to east, rows south to north.
using HeightArray = Quilt::MemArray<3, float>;
using HeightHandle = Larder::StrongPtr<HeightArray, Larder::Cacheable>;

/// The most cells of a raster that its file has no text for: the rows that a file lacks hold 0, but
/// a few bytes must not ask for all of the memory.
inline constexpr std::uint64_t kMostCellsWithoutText = std::uint64_t{1} << 24;

/// Makes the raster that the header of a file tells of, with all cells 0.0.
/// \return a RasterStatus: 0; 9 if the machine has not that much memory, or if the raster is larger
/// than the file's length and `kMostCellsWithoutText` justify, of which the console tells; 10 if
/// such a raster has rows longer than the file.
int makeEsriHeights(const std::string& path, std::uint32_t columns, std::uint32_t rows,
                    HeightHandle& heights);

/// Reads the data lines of an Esri ASCII raster into `heights`, the northernmost row first. Numbers
/// are separated by blanks; what follows the last column's is ignored. Rows that the file has no
/// line for keep their values, and lines that there is no row for are left out; the console tells
/// of both. \param headerLines lines to pass over. \return a RasterStatus: 0, 10 or 11. \throw
/// std::out_of_range for a number beyond the range of a float.
int readEsriBody(const std::string& path, std::uint64_t headerLines, HeightArray& heights);

}  // namespace Recast
