#pragma once

#include <functional>
#include <future>
#include <span>
#include <string>
#include <vector>

#include "recast/meadow/mem_base.h"
#include "recast/sheaf/storage/array_image.h"
#include "recast/sheaf/storage/block_plan.h"
#include "recast/sheaf/storage/checksum.h"
#include "recast/sheaf/storage/dataset_shape.h"
#include "recast/sheaf/storage/file_stretch.h"
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
  std::uint32_t checksum = 0;   ///< of the block as it was, without padding; where asked for
};

/// Whether the filter Fletcher-32 adds its checksum to each chunk.
enum class Fletcher { No, Yes };

/// The shuffled and deflated form of a block, padded to a full one.
FilteredBlock filterBlock(std::span<const std::byte> bytes, std::size_t numberSize,
                          std::size_t fullBytes, const FilterSettings& settings,
                          Fletcher fletcher = Fletcher::No);

/// Creates a dataset `name` below `parent`, filtered if `filter` has a level. The caller holds the
/// lock. \throw StorageError
Id createDataset(hid_t parent, const std::string& name, hid_t type, const BlockPlan& plan,
                 const std::vector<hsize_t>& axes, const FilterSettings& filter,
                 Fletcher fletcher = Fletcher::No);

/// Writes all numbers of a plain dataset. \pre no lock is held. \throw StorageError
void writePlain(Q8File& file, hid_t dataset, hid_t memoryType, const BlockPlan& plan,
                std::span<const std::byte> bytes, std::size_t numberSize);

/// Writes blocks filtered elsewhere as they come in. \return the checksum of all.
/// \pre no lock is held. \throw StorageError
std::uint32_t writeFiltered(Q8File& file, hid_t dataset, const BlockPlan& plan,
                            std::vector<std::future<FilteredBlock>>& blocks);

/// Writes a dataset of one axis, filtering on the machine's cores: tables and lists.
/// \param type of an element, whose bytes stand one behind the other.
/// \pre no lock is held. \throw StorageError
void writeColumn(Q8File& file, hid_t parent, const std::string& name, hid_t type,
                 std::span<const std::byte> bytes, const FilterSettings& filter,
                 Fletcher fletcher = Fletcher::No);

/// Reads the box of `size` at `start` of a dataset as `memoryType` into `target`. The caller holds
/// the lock. \throw StorageError
void readBox(hid_t dataset, const std::vector<hsize_t>& start, const std::vector<hsize_t>& size,
             hid_t memoryType, std::byte* target);

/// Reads all elements of `dataset` as `memoryType` into `target`, of `numberSize` bytes each; the
/// file may hold them in another form. Undoes filters on the machine's cores.
/// \param checksum becomes that of the numbers' bytes in the file's form, without filters; null if
/// nobody wants it.
/// \pre no lock is held; `target` has room for all of them. \throw StorageError
void readNumbers(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                 std::size_t numberSize, std::byte* target, std::uint32_t* checksum = nullptr);

/// The checksum of the bytes of a stretch, read on the machine's cores. \throw StorageError
std::uint32_t checksumOf(const FileStretch& stretch, std::uint64_t bytes);

/// All numbers of the dataset at `path`, as `writeColumn` wrote them.
/// \param checksum as for `readNumbers`. \pre no lock is held.
/// \throw StorageError
template <class Number>
std::vector<Number> readColumn(Q8File& file, const std::string& path, std::uint32_t* checksum) {
  static_assert(std::is_same_v<Number, std::uint64_t> || std::is_same_v<Number, unsigned int>);
  Id dataset;
  DatasetShape shape;
  hid_t memoryType = H5I_INVALID_HID;
  {
    const Hdf5Lock lock(file.state());
    dataset = openDataset(file.id(), path);
    shape = numbersShapeOf(file, dataset, path);
    memoryType = sizeof(Number) == 8 ? H5T_NATIVE_UINT64 : H5T_NATIVE_UINT;
  }
  std::vector<Number> numbers(shape.numbers);
  readNumbers(file, dataset, shape, memoryType, sizeof(Number),
              reinterpret_cast<std::byte*>(numbers.data()), checksum);
  return numbers;
}

}  // namespace Quilt::Storage
