#include "recast/sheaf/storage/file_stretch.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "recast/sheaf/storage/file_bytes.h"

namespace Quilt::Storage {

std::optional<FileStretch> FileStretch::of(const Q8File& file, hid_t dataset, hid_t memoryType,
                                           std::size_t bytes) {
  constexpr std::size_t kLeastBytes = std::size_t{1} << 16;
  if (bytes < kLeastBytes) return std::nullopt;
  const Hdf5Lock lock(file.state());
  const Id type = own(H5Dget_type(dataset), "examine a dataset");
  const Id properties = own(H5Dget_create_plist(dataset), "examine a dataset");
  const haddr_t address = H5Dget_offset(dataset);
  if (checked(H5Pget_layout(properties), "examine a dataset") != H5D_CONTIGUOUS ||
      !isTrue(H5Tequal(type, memoryType), "examine a dataset") || address == HADDR_UNDEF)
    return std::nullopt;
  // Not the bundle's file itself: the dataset may lie behind a link to another one.
  const Id holder = own(H5Iget_file_id(dataset), "examine a dataset");
  unsigned intent = 0;
  checked(H5Fget_intent(holder, &intent), "examine a dataset");
  void* handle = nullptr;
  checked(H5Fget_vfd_handle(holder, H5P_DEFAULT, &handle), "examine a dataset");
  const int descriptor =
      fcntl(*static_cast<const int*>(handle), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (descriptor < 0) return std::nullopt;
  return FileStretch(file.state().shownName, descriptor, address, intent != H5F_ACC_RDONLY);
}

FileStretch::~FileStretch() {
  if (descriptor_ >= 0) close(descriptor_);
}

void FileStretch::read(std::uint64_t first, std::span<std::byte> target) const {
  if (!readAt(descriptor_, address_ + first, target))
    throw StorageError(fileName_, "read", std::strerror(errno));
  if (!target.empty()) throw StorageError(fileName_, "read", "the file ends before the data does");
}

int FileStretch::write(std::span<const std::byte> bytes) const {
  makeRoom(descriptor_, address_, bytes.size());
  return writeAt(descriptor_, address_, bytes) ? 0 : errno;
}

}  // namespace Quilt::Storage
