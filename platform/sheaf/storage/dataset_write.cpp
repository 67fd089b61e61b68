#include <algorithm>
#include <cstring>
#include <optional>

#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/file_stretch.h"
#include "recast/sheaf/storage/filters.h"
#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/in_parallel.h"

namespace Quilt::Storage {
namespace {

constexpr unsigned kDeflateSkipped = 2;  // bit of the second filter
constexpr std::size_t kColumnBlockBytes = std::size_t{1} << 18;
constexpr std::size_t kBlocksAtOnce = 64;

void writeChunk(Q8File& file, hid_t dataset, const BlockPlan::Block& block,
                const FilteredBlock& filtered) {
  const Hdf5Lock lock(file.state());
  checked(H5Dwrite_chunk(dataset, H5P_DEFAULT, filtered.skippedFilters, block.start.data(),
                         filtered.bytes.size(), filtered.bytes.data()),
          "write");
}

/// Filters up to `kBlocksAtOnce` blocks side by side, and writes them one after the other.
void writeBlocks(Q8File& file, hid_t dataset, const BlockPlan& plan, std::size_t first,
                 std::span<const std::byte> bytes, std::size_t size, const FilterSettings& filter,
                 Fletcher fletcher) {
  std::vector<FilteredBlock> filtered(std::min(kBlocksAtOnce, plan.blocks() - first));
  inParallel(filtered.size(), [&](Counter& next) {
    for (std::size_t i = 0; next(i);) {
      const BlockPlan::Block block = plan.block(first + i);
      filtered[i] = filterBlock(bytes.subspan(block.firstNumber * size, block.numbers * size), size,
                                plan.fullNumbers() * size, filter, fletcher);
    }
  });
  for (std::size_t i = 0; i < filtered.size(); ++i)
    writeChunk(file, dataset, plan.block(first + i), filtered[i]);
}

}  // namespace

namespace {

/// Puts the checksum of a chunk behind it, lowest byte first.
void appendFletcher(std::vector<std::byte>& chunk) {
  const std::uint32_t checksum = fletcher32(chunk);
  for (unsigned shift = 0; shift < 32; shift += 8)
    chunk.push_back(static_cast<std::byte>(checksum >> shift & 0xff));
}

}  // namespace

FilteredBlock filterBlock(std::span<const std::byte> bytes, std::size_t numberSize,
                          std::size_t fullBytes, const FilterSettings& settings,
                          Fletcher fletcher) {
  std::vector<std::byte> padded;
  if (bytes.size() < fullBytes) {
    padded.resize(fullBytes);
    std::memcpy(padded.data(), bytes.data(), bytes.size());
    bytes = padded;
  }
  std::vector<std::byte> shuffled(fullBytes);
  shuffle(bytes, numberSize, shuffled.data());
  FilteredBlock block{.bytes = deflated(shuffled, settings.level)};
  if (block.bytes.empty()) {
    block.bytes = std::move(shuffled);
    block.skippedFilters = kDeflateSkipped;
  }
  if (fletcher == Fletcher::Yes) appendFletcher(block.bytes);
  return block;
}

Id createDataset(hid_t parent, const std::string& name, hid_t type, const BlockPlan& plan,
                 const std::vector<hsize_t>& axes, const FilterSettings& filter,
                 Fletcher fletcher) {
  const Id space =
      own(H5Screate_simple(static_cast<int>(axes.size()), axes.data(), nullptr), "lay out", name);
  const Id properties = own(H5Pcreate(H5P_DATASET_CREATE), "lay out", name);
  checked(H5Pset_obj_track_times(properties, false), "lay out", name);
  checked(H5Pset_fill_time(properties, H5D_FILL_TIME_NEVER), "lay out", name);
  if (filter.level == 0 && fletcher == Fletcher::No) {
    // Without chunks its place in the file is known at once, so that it can be written there.
    checked(H5Pset_alloc_time(properties, H5D_ALLOC_TIME_EARLY), "lay out", name);
  } else if (plan.blocks() > 0) {
    checked(H5Pset_chunk(properties, static_cast<int>(axes.size()), plan.fullSize().data()),
            "lay out", name);
    if (filter.level > 0) {
      checked(H5Pset_shuffle(properties), "lay out", name);
      checked(H5Pset_deflate(properties, static_cast<unsigned>(std::min(filter.level, 9))),
              "lay out", name);
    }
    if (fletcher == Fletcher::Yes) checked(H5Pset_fletcher32(properties), "lay out", name);
  }
  return own(
      H5Dcreate2(parent, name.c_str(), type, space, linkProperties(), properties, H5P_DEFAULT),
      "create dataset", name);
}

void writePlain(Q8File& file, hid_t dataset, hid_t memoryType, const BlockPlan& plan,
                std::span<const std::byte> bytes, std::size_t numberSize) {
  if (const auto stretch = FileStretch::of(file, dataset, memoryType, bytes.size())) {
    if (const int error = stretch->write(bytes); error != 0) file.failWriting(error);
    return;
  }
  for (std::size_t i = 0; i < plan.blocks(); ++i) {
    const BlockPlan::Block block = plan.block(i);
    const std::byte* source = bytes.data() + block.firstNumber * numberSize;
    const Hdf5Lock lock(file.state());
    if (plan.blocks() == 1) {
      checked(H5Dwrite(dataset, memoryType, H5S_ALL, H5S_ALL, H5P_DEFAULT, source), "write");
      return;
    }
    const Id space = own(H5Dget_space(dataset), "write");
    checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, block.start.data(), nullptr,
                                block.size.data(), nullptr),
            "write");
    const hsize_t numbers = block.numbers;
    const Id memory = own(H5Screate_simple(1, &numbers, nullptr), "write");
    checked(H5Dwrite(dataset, memoryType, memory, space, H5P_DEFAULT, source), "write");
  }
}

std::uint32_t writeFiltered(Q8File& file, hid_t dataset, const BlockPlan& plan,
                            std::vector<std::future<FilteredBlock>>& blocks) {
  const std::size_t numberSize = plan.numberSize();
  std::uint32_t checksum = 0;
  for (std::size_t i = 0; i < plan.blocks(); ++i) {
    const BlockPlan::Block block = plan.block(i);
    const FilteredBlock filtered = blocks[i].get();
    writeChunk(file, dataset, block, filtered);
    checksum = joinedChecksum(checksum, filtered.checksum, block.numbers * numberSize);
  }
  return checksum;
}

void writeColumn(Q8File& file, hid_t parent, const std::string& name, hid_t type,
                 std::span<const std::byte> bytes, const FilterSettings& filter,
                 Fletcher fletcher) {
  std::size_t size = 0;
  Id dataset;
  std::optional<BlockPlan> plan;
  {
    const Hdf5Lock lock(file.state());
    size = checkedSize(H5Tget_size(type), "lay out", name);
    const std::vector<hsize_t> axes = {bytes.size() / size};
    plan.emplace(axes, size, kColumnBlockBytes, false);
    dataset = createDataset(parent, name, type, *plan, axes, filter, fletcher);
  }
  if (filter.level == 0) {
    writePlain(file, dataset, type, *plan, bytes, size);
    return;
  }
  for (std::size_t first = 0; first < plan->blocks(); first += kBlocksAtOnce)
    writeBlocks(file, dataset, *plan, first, bytes, size, filter, fletcher);
}

}  // namespace Quilt::Storage
