#pragma once

#include <optional>
#include <span>
#include <string>
#include <utility>

#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// The part of a file in which the numbers of a dataset lie, if that is one stretch and they lie
/// there as they do in memory. They are read and written without HDF5, and so without waiting for
/// its lock. May be used in several threads at once, and after HDF5 has closed the file.
class FileStretch {
 public:
  /// \param bytes of the dataset.
  /// \return nothing if the dataset lies otherwise, or is so small that HDF5 has it sooner.
  /// \throw StorageError
  static std::optional<FileStretch> of(const Q8File& file, hid_t dataset, hid_t memoryType,
                                       std::size_t bytes);
  FileStretch(FileStretch&& other) noexcept
      : fileName_(std::move(other.fileName_)),
        descriptor_(std::exchange(other.descriptor_, -1)),
        address_(other.address_),
        isWritten_(other.isWritten_) {}
  FileStretch& operator=(FileStretch&&) = delete;
  ~FileStretch();

  /// Whether HDF5 has the file open for writing.
  bool isWritten() const { return isWritten_; }
  /// Reads bytes from number `first` of the stretch on. \throw StorageError
  void read(std::uint64_t first, std::span<std::byte> target) const;
  /// Writes bytes from the start of the stretch on. \return `errno` if that failed, else 0.
  int write(std::span<const std::byte> bytes) const;

 private:
  FileStretch(std::string fileName, int descriptor, std::uint64_t address, bool isWritten)
      : fileName_(std::move(fileName)),
        descriptor_(descriptor),
        address_(address),
        isWritten_(isWritten) {}

  std::string fileName_;
  int descriptor_;  // our own
  std::uint64_t address_;
  bool isWritten_;
};

}  // namespace Quilt::Storage
