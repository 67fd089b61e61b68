#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "recast/meadow/mem_base.h"

namespace Quilt {

/// The smallest and the largest value of an array; of points, per axis. NaN values are left out.
struct RECAST_API DataExtent {
  enum class Kind : unsigned char { None, Box, Range };

  Kind kind = Kind::None;
  double minimum[3] = {0, 0, 0};  ///< x, y, z of a box; the first one alone of a range
  double maximum[3] = {0, 0, 0};
};

/// The box of an array of points, the range of an array of plain numbers; of kind None for other
/// element types and where there is no number at all. One pass over the elements; a uniform
/// Cartesian array costs nothing.
RECAST_API DataExtent extentOf(const MemBase& array);
/// The same for the elements of `array` as they stand in `bytes`, one behind the other.
DataExtent extentOf(const MemBase& array, std::span<const std::byte> bytes);

/// The elements of an array in the order of memory and without gaps: its own memory where they
/// stand so already, else a copy in `own`. \pre the array has memory, or no element.
std::span<const std::byte> contiguousBytes(const MemBase& array, std::vector<std::byte>& own);

}  // namespace Quilt
