#pragma once

#include <span>
#include <vector>

#include "recast/sheaf/storage/dataset_shape.h"

namespace Quilt::Storage {

/// Reads single chunks of a dataset that went through shuffle and deflate, the lock held only while
/// the stream is fetched. One thread at a time.
class ChunkReader {
 public:
  /// \param fullBytes bytes of a chunk.
  ChunkReader(Q8File& file, hid_t dataset, const DatasetShape& shape, std::size_t fullBytes)
      : file_(file),
        dataset_(dataset),
        numberSize_(shape.numberSize),
        fletcher_(shape.fletcher),
        shuffled_(fullBytes) {}

  /// The numbers of the chunk at `start`, in the file's form; `numbers` has the size of a chunk.
  /// \return false if the chunk was never written, which stands for zeros. \throw StorageError
  bool read(const std::vector<hsize_t>& start, std::span<std::byte> numbers);

 private:
  Q8File& file_;
  hid_t dataset_;
  std::size_t numberSize_;
  bool fletcher_;
  std::vector<std::byte> stream_;
  std::vector<std::byte> shuffled_;
};

/// How the numbers of a file become those of memory when HDF5 need not convert them.
enum class NumberForm {
  Other,   ///< HDF5 must convert
  Same,    ///< they are the same
  Widened  ///< floats for doubles
};

/// The caller holds the lock.
NumberForm formOf(hid_t dataset, hid_t memoryType);

/// Puts `count` numbers of the file into memory's form, which is not `Other`. \param size of a
/// number in memory.
void convert(NumberForm form, const std::byte* numbers, std::size_t count, std::size_t size,
             std::byte* target);

}  // namespace Quilt::Storage
