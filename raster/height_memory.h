#pragma once

#include <cstddef>
#include <cstdint>

#include "recast/raster/height_array.h"

namespace Recast {

/// Whether the machine has memory for that many elements of `elementSize` bytes. Allocating more
/// than it has can succeed, and then ends the process when the memory is used.
bool fitsMemory(std::uint64_t elements, std::size_t elementSize);

/// Whether the cells of a new raster are expected to be written.
enum class HeightUse {
  kAll,   ///< their memory is brought at once
  kSome,  ///< memory is used for those that are written, page by page
};

/// A raster of that shape with all cells 0.0; null if the machine has not that much memory.
HeightHandle makeHeights(std::uint32_t columns, std::uint32_t rows, HeightUse use);

}  // namespace Recast
