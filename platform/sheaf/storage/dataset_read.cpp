#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>

#include "recast/sheaf/storage/chunk_reader.h"
#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/in_parallel.h"

namespace Quilt::Storage {
namespace {

constexpr std::size_t kReadBytes = std::size_t{8} << 20;
/// So much is read before its checksum is computed, since it is in the processor's cache then.
constexpr std::size_t kCachedBytes = std::size_t{128} << 10;

/// Where the numbers of a dataset go, and how.
struct Reading {
  Q8File& file;
  hid_t dataset;
  const DatasetShape& shape;
  hid_t memoryType;
  std::size_t memorySize;  // of a number
  NumberForm form;
  std::byte* target;
  bool checked;  // whether the checksum is wanted
};

/// The checksum that is not wanted has no pieces.
PieceChecksums checksumsFor(const Reading& reading, std::size_t pieces) {
  return PieceChecksums(reading.checked ? pieces : 0);
}

/// Reads the chunks of a dataset straight to their places, on the machine's cores.
/// \param plan cuts the dataset into its chunks.
/// \return the checksum; nothing if a chunk was never written.
std::optional<std::uint32_t> readChunks(const Reading& reading, const BlockPlan& plan) {
  const std::size_t fileSize = reading.shape.numberSize;
  const std::size_t fullBytes = plan.fullNumbers() * fileSize;
  PieceChecksums checksums = checksumsFor(reading, plan.blocks());
  std::atomic<bool> complete{true};
  inParallel(plan.blocks(), [&](Counter& next) {
    ChunkReader reader(reading.file, reading.dataset, reading.shape, fullBytes);
    std::vector<std::byte> chunk(fullBytes);
    for (std::size_t i = 0; complete && next(i);) {
      const BlockPlan::Block block = plan.block(i);
      std::byte* to = reading.target + block.firstNumber * reading.memorySize;
      const bool direct = reading.form == NumberForm::Same && block.numbers == plan.fullNumbers();
      const std::span<std::byte> numbers = direct ? std::span(to, fullBytes) : std::span(chunk);
      if (!reader.read(block.start, numbers)) {
        complete = false;
        break;
      }
      if (reading.checked) checksums.note(i, numbers.first(block.numbers * fileSize));
      if (!direct) convert(reading.form, chunk.data(), block.numbers, reading.memorySize, to);
    }
  });
  if (!complete) return std::nullopt;
  return checksums.total();
}

/// Calls `take(piece, first byte, bytes)` for all bytes of a stretch, on the machine's cores. Each
/// piece of `kReadBytes` comes in parts, in their order. \param place where the bytes go, or null
/// if they are not to be kept.
template <class Take>
void forEachPart(const FileStretch& stretch, std::uint64_t bytes, std::byte* place, Take take) {
  inParallel((bytes + kReadBytes - 1) / kReadBytes, [&](Counter& next) {
    std::vector<std::byte> buffer(place == nullptr ? kCachedBytes : 0);
    for (std::size_t i = 0; next(i);) {
      const std::uint64_t end = std::min<std::uint64_t>(bytes, (i + 1) * kReadBytes);
      for (std::uint64_t at = i * kReadBytes; at < end; at += kCachedBytes) {
        const std::size_t count = std::min<std::uint64_t>(kCachedBytes, end - at);
        const std::span part(place == nullptr ? buffer.data() : place + at, count);
        stretch.read(at, part);
        take(i, at, part);
      }
    }
  });
}

/// Reads what lies in one stretch in memory's form, or nearly so, on the machine's cores.
/// \return the checksum; nothing if it lies otherwise.
std::optional<std::uint32_t> readStretch(const Reading& reading) {
  const std::size_t fileSize = reading.shape.numberSize;
  const std::uint64_t bytes = reading.shape.numbers * fileSize;
  const bool same = reading.form == NumberForm::Same;
  const auto stretch = FileStretch::of(reading.file, reading.dataset,
                                       same ? reading.memoryType : H5T_NATIVE_FLOAT, bytes);
  // Of a file that is written HDF5 may still hold a part.
  if (!stretch || stretch->isWritten()) return std::nullopt;
  PieceChecksums checksums = checksumsFor(reading, (bytes + kReadBytes - 1) / kReadBytes);
  forEachPart(*stretch, bytes, same ? reading.target : nullptr,
              [&](std::size_t piece, std::uint64_t at, std::span<const std::byte> part) {
                if (reading.checked) checksums.note(piece, part);
                if (!same)
                  convert(reading.form, part.data(), part.size() / fileSize, reading.memorySize,
                          reading.target + at / fileSize * reading.memorySize);
              });
  return checksums.total();
}

/// Lets HDF5 read and convert, a piece at a time.
std::uint32_t readThroughLibrary(const Reading& reading) {
  const std::size_t fileSize = reading.shape.numberSize;
  const BlockPlan plan(reading.shape.axes, fileSize, kReadBytes, false);
  std::uint32_t checksum = 0;
  std::vector<std::byte> numbers;
  for (std::size_t i = 0; i < plan.blocks(); ++i) {
    const BlockPlan::Block block = plan.block(i);
    std::byte* to = reading.target + block.firstNumber * reading.memorySize;
    const Hdf5Lock lock(reading.file.state());
    if (!reading.checked) {
      readBox(reading.dataset, block.start, block.size, reading.memoryType, to);
      continue;
    }
    // The file's form first, which the checksum is of.
    const Id type = own(H5Dget_type(reading.dataset), "read");
    numbers.resize(block.numbers * std::max(fileSize, reading.memorySize));
    readBox(reading.dataset, block.start, block.size, type, numbers.data());
    checksum = checksumOf(std::span(numbers).first(block.numbers * fileSize), checksum);
    checked(
        H5Tconvert(type, reading.memoryType, block.numbers, numbers.data(), nullptr, H5P_DEFAULT),
        "read");
    std::memcpy(to, numbers.data(), block.numbers * reading.memorySize);
  }
  return checksum;
}

std::uint32_t readAll(const Reading& reading) {
  const DatasetShape& shape = reading.shape;
  if (reading.form == NumberForm::Other) return readThroughLibrary(reading);
  if (shape.chunk.empty()) {
    if (const auto checksum = readStretch(reading)) return *checksum;
  } else if (shape.shuffleDeflate) {
    // Only chunks that are whole pieces of memory can go straight to their place.
    std::size_t bytes = shape.numberSize;
    for (const hsize_t extent : shape.chunk) bytes *= extent;
    for (const bool keepLast : {false, true}) {
      const BlockPlan plan(shape.axes, shape.numberSize, bytes, keepLast);
      if (plan.fullSize() != shape.chunk) continue;
      if (const auto checksum = readChunks(reading, plan)) return *checksum;
    }
  }
  return readThroughLibrary(reading);
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
                 std::size_t numberSize, std::byte* target, std::uint32_t* checksum) {
  if (checksum != nullptr) *checksum = 0;
  if (shape.numbers == 0) return;
  NumberForm form = NumberForm::Other;
  {
    const Hdf5Lock lock(file.state());
    form = formOf(dataset, memoryType);
  }
  const std::uint32_t found =
      readAll({file, dataset, shape, memoryType, numberSize, form, target, checksum != nullptr});
  if (checksum != nullptr) *checksum = found;
}

std::uint32_t checksumOf(const FileStretch& stretch, std::uint64_t bytes) {
  PieceChecksums checksums((bytes + kReadBytes - 1) / kReadBytes);
  forEachPart(stretch, bytes, nullptr,
              [&](std::size_t piece, std::uint64_t, std::span<const std::byte> part) {
                checksums.note(piece, part);
              });
  return checksums.total();
}

}  // namespace Quilt::Storage
