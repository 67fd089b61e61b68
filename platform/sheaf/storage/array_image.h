#pragma once

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "recast/meadow/creative_array.h"
#include "recast/sheaf/storage_transformations.h"

namespace Quilt::Storage {

/// How one array is to be stored, from the rules of its bundle.
struct StoreRules {
  FilterSettings filter;
  bool singlePrecision = false;
  bool shift = false;
  bool computeExtent = true;
  std::size_t chunkBytes = std::size_t{1} << 20;
};

/// The numbers of an array as they go to a dataset: in the order of memory, one behind the other.
struct ArrayImage {
  DynamicSize shape;
  std::span<const std::byte> bytes;
  std::size_t numberSize = 0;                  ///< bytes of one number in `bytes`
  bool single = false;                         ///< floats stand for the doubles of the array
  std::optional<std::array<double, 3>> shift;  ///< to be added to the components on reading
  std::optional<DataExtent> extent;            ///< where it was asked for

  MemBaseHandle array;         ///< keeps `bytes` alive
  std::vector<std::byte> own;  ///< the bytes, if they are not the array's own
};

/// The same numbers with zeros in those bytes of a long double that are no part of the number,
/// which hold whatever memory held before.
std::vector<std::byte> withoutPadding(std::span<const std::byte> longDoubles);

/// Whether the memory of an array holds all elements of its shape.
bool hasAllElements(const MemBase& array);

/// Puts the image of an array together. Not for lists and computed arrays.
/// \param withExtent whether to compute the extent, if the rules want it; a shift needs it anyway.
ArrayImage makeImage(const MemBaseHandle& array, const StoreRules& rules, bool withExtent);

}  // namespace Quilt::Storage
