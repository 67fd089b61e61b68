#include <algorithm>
#include <atomic>
#include <cstring>

#include "recast/sheaf/storage/chunk_reader.h"
#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/file_stretch.h"
#include "recast/sheaf/storage/in_parallel.h"

namespace Quilt::Storage {
namespace {

constexpr std::size_t kReadBytes = std::size_t{8} << 20;

/// Reads the chunks of a dataset straight to their places, on the machine's cores.
/// \param plan cuts the dataset into its chunks.
/// \return false if a chunk was never written.
bool readChunks(Q8File& file, hid_t dataset, const BlockPlan& plan, NumberForm form,
                std::size_t fileSize, std::size_t memorySize, std::byte* target) {
  const std::size_t fullBytes = plan.fullNumbers() * fileSize;
  std::atomic<bool> complete{true};
  inParallel(plan.blocks(), [&](Counter& next) {
    ChunkReader reader(file, dataset, fileSize, fullBytes);
    std::vector<std::byte> numbers(fullBytes);
    for (std::size_t i = 0; complete && next(i);) {
      const BlockPlan::Block block = plan.block(i);
      std::byte* to = target + block.firstNumber * memorySize;
      const bool direct = form == NumberForm::Same && block.numbers == plan.fullNumbers();
      if (!reader.read(block.start, direct ? std::span(to, fullBytes) : std::span(numbers)))
        complete = false;
      else if (form == NumberForm::Widened)
        widen(numbers.data(), block.numbers, to);
      else if (!direct)
        std::memcpy(to, numbers.data(), block.numbers * memorySize);
    }
  });
  return complete;
}

/// Reads what lies in one stretch and needs no conversion, on the machine's cores.
/// \return false if it lies otherwise.
bool readStretch(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                 std::byte* target) {
  const std::span<std::byte> bytes(target, shape.numbers * shape.numberSize);
  const auto stretch = FileStretch::of(file, dataset, memoryType, bytes.size());
  // Of a file that is written HDF5 may still hold a part.
  if (!stretch || stretch->isWritten()) return false;
  inParallel((bytes.size() + kReadBytes - 1) / kReadBytes, [&](Counter& next) {
    for (std::size_t i = 0; next(i);) {
      const std::size_t first = i * kReadBytes;
      stretch->read(first, bytes.subspan(first, std::min(kReadBytes, bytes.size() - first)));
    }
  });
  return true;
}

/// Lets HDF5 read and convert, a piece at a time.
void readThroughLibrary(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                        std::size_t numberSize, std::byte* target) {
  const BlockPlan plan(shape.axes, shape.numberSize, kReadBytes, false);
  for (std::size_t i = 0; i < plan.blocks(); ++i) {
    const BlockPlan::Block block = plan.block(i);
    const Hdf5Lock lock(file.state());
    readBox(dataset, block.start, block.size, memoryType, target + block.firstNumber * numberSize);
  }
}

}  // namespace

void readBox(hid_t dataset, const std::vector<hsize_t>& start, const std::vector<hsize_t>& size,
             hid_t memoryType, std::byte* target) {
  const Id space = own(H5Dget_space(dataset), "read");
  checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, start.data(), nullptr, size.data(), nullptr),
          "read");
  hsize_t numbers = 1;
  for (const hsize_t extent : size) numbers *= extent;
  const Id memory = own(H5Screate_simple(1, &numbers, nullptr), "read");
  checked(H5Dread(dataset, memoryType, memory, space, H5P_DEFAULT, target), "read");
}

void readNumbers(Q8File& file, hid_t dataset, const DatasetShape& shape, hid_t memoryType,
                 std::size_t numberSize, std::byte* target) {
  if (shape.numbers == 0) return;
  NumberForm form = NumberForm::Other;
  if (shape.chunk.empty()) {
    if (readStretch(file, dataset, shape, memoryType, target)) return;
  } else if (shape.shuffleDeflate) {
    const Hdf5Lock lock(file.state());
    form = formOf(dataset, memoryType);
  }
  if (form != NumberForm::Other) {
    // Only chunks that are whole pieces of memory can go straight to their place.
    std::size_t bytes = shape.numberSize;
    for (const hsize_t extent : shape.chunk) bytes *= extent;
    for (const bool keepLast : {false, true}) {
      const BlockPlan plan(shape.axes, shape.numberSize, bytes, keepLast);
      if (plan.fullSize() == shape.chunk &&
          readChunks(file, dataset, plan, form, shape.numberSize, numberSize, target))
        return;
    }
  }
  readThroughLibrary(file, dataset, shape, memoryType, numberSize, target);
}

}  // namespace Quilt::Storage
