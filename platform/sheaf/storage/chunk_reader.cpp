#include "recast/sheaf/storage/chunk_reader.h"

#include <algorithm>
#include <cstring>

#include "recast/sheaf/storage/filters.h"

namespace Quilt::Storage {
namespace {

// HDF5's filter mask: the bit of each filter that was left out.
constexpr std::uint32_t kShuffleSkipped = 1;
constexpr std::uint32_t kDeflateSkipped = 2;

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
  if (H5Tequal(type, memoryType) > 0) return NumberForm::Same;
  if (memoryType == H5T_NATIVE_DOUBLE && H5Tequal(type, H5T_NATIVE_FLOAT) > 0)
    return NumberForm::Widened;
  return NumberForm::Other;
}

void widen(const std::byte* floats, std::size_t count, std::byte* doubles) {
  const auto* from = reinterpret_cast<const float*>(floats);
  std::copy(from, from + count, reinterpret_cast<double*>(doubles));
}

}  // namespace Quilt::Storage
