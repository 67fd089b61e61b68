#include <algorithm>
#include <cstring>

#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/filters.h"

namespace Quilt::Storage {
namespace {

constexpr std::size_t kReadBytes = std::size_t{8} << 20;
/// Deflate can't shrink by more than this.
constexpr std::uint64_t kMostInflation = 1100;

/// The chunk extents of a dataset that went through shuffle and deflate alone; empty for any other.
std::vector<hsize_t> filteredChunk(hid_t dataset, std::size_t rank) {
  const Id properties = own(H5Dget_create_plist(dataset), "read");
  if (H5Pget_layout(properties) != H5D_CHUNKED || H5Pget_nfilters(properties) != 2) return {};
  const H5Z_filter_t wanted[] = {H5Z_FILTER_SHUFFLE, H5Z_FILTER_DEFLATE};
  for (unsigned i = 0; i < 2; ++i) {
    unsigned flags = 0;
    std::size_t values = 0;
    if (H5Pget_filter2(properties, i, &flags, &values, nullptr, 0, nullptr, nullptr) != wanted[i])
      return {};
  }
  std::vector<hsize_t> chunk(rank);
  checked(H5Pget_chunk(properties, static_cast<int>(rank), chunk.data()), "read");
  return chunk;
}

/// Reads chunk by chunk and undoes the filters outside the lock.
void readFiltered(Q8File& file, hid_t dataset, const BlockPlan& plan, std::size_t numberSize,
                  std::byte* target) {
  const std::size_t fullBytes = plan.fullNumbers() * numberSize;
  std::vector<std::byte> stream;
  std::vector<std::byte> shuffled(fullBytes);
  std::vector<std::byte> numbers(fullBytes);
  for (std::size_t i = 0; i < plan.blocks(); ++i) {
    const BlockPlan::Block block = plan.block(i);
    std::uint32_t skipped = 0;
    {
      const Hdf5Lock lock(file.state());
      hsize_t size = 0;
      checked(H5Dget_chunk_storage_size(dataset, block.start.data(), &size), "read");
      if (size == 0 || size > fullBytes * 2 + 1024) fail("read a damaged chunk");
      stream.resize(size);
      checked(H5Dread_chunk(dataset, H5P_DEFAULT, block.start.data(), &skipped, stream.data()),
              "read");
    }
    const bool deflated = (skipped & 2U) == 0;
    if (deflated ? !inflate(stream, shuffled) : stream.size() != fullBytes)
      throw StorageError(file.state().shownName, "read", "a compressed block is damaged");
    if (!deflated) std::swap(shuffled, stream);
    const bool whole = block.numbers == plan.fullNumbers();
    std::byte* to = target + block.firstNumber * numberSize;
    if ((skipped & 1U) != 0) {
      std::memcpy(to, shuffled.data(), block.numbers * numberSize);
    } else {
      unshuffle(shuffled, numberSize, whole ? to : numbers.data());
      if (!whole) std::memcpy(to, numbers.data(), block.numbers * numberSize);
    }
    shuffled.resize(fullBytes);
  }
}

/// Lets HDF5 read and convert, a piece at a time.
void readThroughLibrary(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                        std::size_t numberSize, std::byte* target) {
  const BlockPlan plan(shape.axes, shape.numberSize, kReadBytes, false);
  for (std::size_t i = 0; i < plan.blocks(); ++i) {
    const BlockPlan::Block block = plan.block(i);
    const Hdf5Lock lock(file.state());
    const Id space = own(H5Dget_space(dataset), "read");
    checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, block.start.data(), nullptr,
                                block.size.data(), nullptr),
            "read");
    const hsize_t numbers = block.numbers;
    const Id memory = own(H5Screate_simple(1, &numbers, nullptr), "read");
    checked(H5Dread(dataset, memoryType, memory, space, H5P_DEFAULT,
                    target + block.firstNumber * numberSize),
            "read");
  }
}

}  // namespace

DatasetShape shapeOf(Q8File& file, hid_t dataset, const std::string& name) {
  const Id space = own(H5Dget_space(dataset), "read dataset", name);
  const Id type = own(H5Dget_type(dataset), "read dataset", name);
  const int rank = checked(H5Sget_simple_extent_ndims(space), "read dataset", name);
  DatasetShape shape;
  shape.axes.resize(static_cast<std::size_t>(rank));
  checked(H5Sget_simple_extent_dims(space, shape.axes.data(), nullptr), "read dataset", name);
  shape.numberSize = H5Tget_size(type);
  shape.numbers = 1;
  for (const hsize_t axis : shape.axes)
    if (__builtin_mul_overflow(shape.numbers, axis, &shape.numbers)) fail("read dataset " + name);
  std::uint64_t bytes = 0;
  const Id properties = own(H5Dget_create_plist(dataset), "read dataset", name);
  const bool filtered = H5Pget_nfilters(properties) > 0;
  // Not `file`'s own identifier: the dataset may lie behind a link to another file.
  const Id holder = own(H5Iget_file_id(dataset), "read dataset", name);
  hsize_t fileBytes = 0;
  checked(H5Fget_filesize(holder, &fileBytes), "read dataset", name);
  const std::uint64_t stored =
      std::min<std::uint64_t>(H5Dget_storage_size(dataset), fileBytes + (1U << 20));
  if (__builtin_mul_overflow(shape.numbers, shape.numberSize, &bytes) ||
      bytes / (filtered ? kMostInflation : 1) > stored)
    throw StorageError(file.state().shownName, "read dataset " + name,
                       "it claims more data than the file holds");
  return shape;
}

void readNumbers(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                 std::size_t numberSize, std::byte* target) {
  if (shape.numbers == 0) return;
  bool sameType = false;
  std::vector<hsize_t> chunk;
  {
    const Hdf5Lock lock(file.state());
    const Id type = own(H5Dget_type(dataset), "read");
    sameType = H5Tequal(type, memoryType) > 0;
    if (sameType) chunk = filteredChunk(dataset, shape.axes.size());
  }
  if (!chunk.empty()) {
    // Only chunks that are whole pieces of memory can go straight to their place.
    std::size_t bytes = numberSize;
    for (const hsize_t extent : chunk) bytes *= extent;
    for (const bool keepLast : {false, true}) {
      const BlockPlan plan(shape.axes, numberSize, bytes, keepLast);
      if (plan.fullSize() == chunk) {
        readFiltered(file, dataset, plan, numberSize, target);
        return;
      }
    }
  }
  readThroughLibrary(file, dataset, shape, memoryType, numberSize, target);
}

}  // namespace Quilt::Storage
