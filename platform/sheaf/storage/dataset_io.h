#pragma once

#include <functional>
#include <future>
#include <span>
#include <string>
#include <vector>

#include "recast/meadow/mem_base.h"
#include "recast/sheaf/storage/array_image.h"
#include "recast/sheaf/storage/block_plan.h"
#include "recast/sheaf/storage/dataset_shape.h"
#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/number_types.h"
#include "recast/sheaf/storage/q8_file.h"
#include "recast/sheaf/storage/work_pool.h"

/// Datasets of numbers: created, written and read block by block, so that the lock is never held
/// for long and the filters work outside it.
namespace Quilt::Storage {

/// One block ready for the file.
struct FilteredBlock {
  std::vector<std::byte> bytes;
  unsigned skippedFilters = 0;  ///< HDF5's filter mask: bit 1 set if deflate did not pay
};

/// The shuffled and deflated form of a block, padded to a full one.
FilteredBlock filterBlock(std::span<const std::byte> bytes, std::size_t numberSize,
                          std::size_t fullBytes, const FilterSettings& settings);

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

/// Reads the box of `size` at `start` of a dataset as `memoryType` into `target`. The caller holds
/// the lock. \throw StorageError
void readBox(hid_t dataset, const std::vector<hsize_t>& start, const std::vector<hsize_t>& size,
             hid_t memoryType, std::byte* target);

/// Reads a dataset of one axis at `path`: the lists that `writeList` writes. The caller holds the
/// lock. \throw StorageError
template <class Number>
void readList(Q8File& file, const std::string& path, hid_t memoryType,
              std::vector<Number>& numbers) {
  const Id dataset = openDataset(file.id(), path);
  const DatasetShape shape = numbersShapeOf(file, dataset, path);
  numbers.resize(shape.numbers);
  if (!numbers.empty())
    checked(H5Dread(dataset, memoryType, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()),
            "read dataset", path);
}

/// Reads all numbers of `dataset` as `memoryType` into `target`, of `numberSize` bytes each; the
/// file may hold them in another precision. \pre no lock is held; `target` has room for all of
/// them. \throw StorageError
void readNumbers(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                 std::size_t numberSize, std::byte* target);

}  // namespace Quilt::Storage
