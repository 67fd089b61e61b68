#pragma once

#include <string>
#include <vector>

#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// What a dataset says of itself before any of it is read.
struct DatasetShape {
  std::vector<hsize_t> axes;
  std::size_t numberSize = 0;   ///< bytes of one element of the dataset
  std::size_t numbers = 0;      ///< elements of the dataset
  std::vector<hsize_t> chunk;   ///< extents of a chunk; empty if the dataset isn't chunked
  bool shuffleDeflate = false;  ///< filtered by shuffle and then deflate, as we do
  bool fletcher = false;        ///< and by Fletcher-32 behind them
};

/// The shape of an open dataset whose content the file can really hold and HDF5 can safely read:
/// its bytes in this file, its chunks no larger than what they hold, its filters those that come
/// with HDF5 and can't be led astray. The caller holds the lock. \throw StorageError for any other
DatasetShape shapeOf(Q8File& file, hid_t dataset, const std::string& name);

/// The same for a dataset of numbers. \throw StorageError also for other elements
DatasetShape numbersShapeOf(Q8File& file, hid_t dataset, const std::string& name);

}  // namespace Quilt::Storage
