#include "recast/sheaf/storage/chunk_reader.h"

#include <algorithm>
#include <cstring>

#include "recast/sheaf/storage/checksum.h"
#include "recast/sheaf/storage/filters.h"

namespace Quilt::Storage {
namespace {

// HDF5's filter mask: the bit of each filter that was left out.
constexpr std::uint32_t kShuffleSkipped = 1;
constexpr std::uint32_t kDeflateSkipped = 2;
constexpr std::uint32_t kFletcherSkipped = 4;

/// Takes the checksum off the end of a chunk. \return whether it is that of the chunk.
bool takeFletcher(std::vector<std::byte>& chunk) {
  constexpr std::size_t kBytes = 4;
  if (chunk.size() < kBytes) return false;
  std::uint32_t expected = 0;
  for (std::size_t i = 0; i < kBytes; ++i) {
    expected = expected << 8 | std::to_integer<std::uint32_t>(chunk.back());
    chunk.pop_back();
  }
  return fletcher32(chunk) == expected;
}

}  // namespace

bool ChunkReader::read(const std::vector<hsize_t>& start, std::span<std::byte> numbers) {
  const auto damaged = [this] {
    throw StorageError(file_.state().shownName, "read", "a compressed block is damaged");
  };
  std::uint32_t skipped = 0;
  {
    const Hdf5Lock lock(file_.state());
    hsize_t size = 0;
    checked(H5Dget_chunk_storage_size(dataset_, start.data(), &size), "read");
    if (size == 0) return false;
    if (size > numbers.size() * 2 + 1024) damaged();
    stream_.resize(size);
    checked(H5Dread_chunk(dataset_, H5P_DEFAULT, start.data(), &skipped, stream_.data()), "read");
  }
  if (fletcher_ && (skipped & kFletcherSkipped) == 0 && !takeFletcher(stream_)) damaged();
  std::span<const std::byte> shuffled = shuffled_;
  if ((skipped & kDeflateSkipped) == 0) {
    if (!inflate(stream_, shuffled_)) damaged();
  } else {
    if (stream_.size() != numbers.size()) damaged();
    shuffled = stream_;
  }
  if ((skipped & kShuffleSkipped) == 0)
    unshuffle(shuffled, numberSize_, numbers.data());
  else
    std::memcpy(numbers.data(), shuffled.data(), numbers.size());
  return true;
}

NumberForm formOf(hid_t dataset, hid_t memoryType) {
  const Id type = own(H5Dget_type(dataset), "read");
  if (isTrue(H5Tequal(type, memoryType), "read")) return NumberForm::Same;
  if (memoryType == H5T_NATIVE_DOUBLE && isTrue(H5Tequal(type, H5T_NATIVE_FLOAT), "read"))
    return NumberForm::Widened;
  return NumberForm::Other;
}

void convert(NumberForm form, const std::byte* numbers, std::size_t count, std::size_t size,
             std::byte* target) {
  if (form == NumberForm::Widened) {
    const auto* from = reinterpret_cast<const float*>(numbers);
    std::copy(from, from + count, reinterpret_cast<double*>(target));
  } else {
    std::memcpy(target, numbers, count * size);
  }
}

}  // namespace Quilt::Storage
