#pragma once

#include <functional>
#include <future>
#include <span>
#include <string>
#include <vector>

#include "recast/meadow/mem_base.h"
#include "recast/sheaf/storage/array_image.h"
#include "recast/sheaf/storage/block_plan.h"
#include "recast/sheaf/storage/q8_file.h"
#include "recast/sheaf/storage/work_pool.h"

/// Datasets of numbers: created, written and read block by block, so that the lock is never held for
/// long and the filters work outside it.
namespace Quilt::Storage {

/// One block ready for the file.
struct FilteredBlock {
  std::vector<std::byte> bytes;
  unsigned skippedFilters = 0;  ///< HDF5's filter mask: bit 1 set if deflate did not pay
};

/// The shuffled and deflated form of a block, padded to a full one.
FilteredBlock filterBlock(std::span<const std::byte> bytes, std::size_t numberSize,
                          std::size_t fullBytes, const FilterSettings& settings);

/// The file's number type for numbers of memory type `memoryType`, floats if `single`.
hid_t fileType(hid_t memoryType, bool single);

/// Creates a dataset `name` below `parent`, filtered if `filter` has a level. The caller holds the
/// lock. \throw StorageError
Id createDataset(hid_t parent, const std::string& name, hid_t type, const BlockPlan& plan,
                 const std::vector<hsize_t>& axes, const FilterSettings& filter);

/// Writes all numbers of a plain dataset. \pre no lock is held. \throw StorageError
void writePlain(Q8File& file, hid_t dataset, hid_t memoryType, const BlockPlan& plan,
                std::span<const std::byte> bytes, std::size_t numberSize);

/// Writes blocks filtered elsewhere as they come in. \pre no lock is held. \throw StorageError
void writeFiltered(Q8File& file, hid_t dataset, const BlockPlan& plan,
                   std::vector<std::future<FilteredBlock>>& blocks);

/// Writes a dataset of one axis in one call: the small tables and lists. The caller holds the lock.
void writeList(hid_t parent, const std::string& name, hid_t type, const void* data,
               std::size_t count, bool deflate);

/// What a dataset says of itself before any of it is read.
struct DatasetShape {
  std::vector<hsize_t> axes;
  std::size_t numberSize = 0;
  std::size_t numbers = 0;
};

/// The shape of an open dataset whose content the file can really hold. The caller holds the lock.
/// \throw StorageError if it claims more than its bytes on disk justify.
DatasetShape shapeOf(Q8File& file, hid_t dataset, const std::string& name);

/// Reads all numbers of `dataset` as `memoryType` into `target`, of `numberSize` bytes each; the file
/// may hold them in another precision. \pre no lock is held; `target` has room for all of them.
/// \throw StorageError
void readNumbers(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                 std::size_t numberSize, std::byte* target);

}  // namespace Quilt::Storage
