#pragma once

#include <cstdint>
#include <vector>

#include <hdf5.h>

#include "recast/meadow/mem_base.h"

namespace Quilt::Storage {

/// How the elements of a type stand in a dataset: numbers of one kind, a compound element's
/// components along the last axis.
struct ElementLayout {
  hid_t memoryType = H5I_INVALID_HID;  ///< the number type in memory, owned by HDF5
  std::size_t componentSize = 0;       ///< bytes of one number in memory
  unsigned components = 1;
  bool isList = false;  ///< elements are lists of unsigned numbers

  bool known() const { return isList || memoryType >= 0; }
};

/// The layout of a known element type; not `known` for any other. The caller holds the lock.
ElementLayout layoutOf(const QuiltTypeIndex& type);

/// The axes of a dataset for an array of that shape: the slowest first, the components last.
std::vector<hsize_t> datasetAxes(const DynamicSize& shape, unsigned components);

}  // namespace Quilt::Storage
