#include "recast/sheaf/storage/file_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "recast/sheaf/storage/file_bytes.h"
#include "recast/sheaf/storage/file_size_signal.h"

namespace Quilt::Storage {
namespace {

/// What file access properties carry for the driver.
struct DriverInfo {
  std::shared_ptr<FileState> state;
};

struct OpenFile {
  H5FD_t base;  // HDF5's part; must stand first
  int descriptor;
  haddr_t allocated;
  haddr_t size;
  dev_t device;
  ino_t inode;
  std::shared_ptr<FileState> state;
};

OpenFile& self(H5FD_t* file) {
  return *reinterpret_cast<OpenFile*>(file);
}
const OpenFile& self(const H5FD_t* file) {
  return *reinterpret_cast<const OpenFile*>(file);
}

herr_t failed() {
  lastSystemError() = errno;
  return -1;
}

/// Notes the first failure; for HDF5 the write has succeeded.
herr_t swallowFailedWrite(OpenFile& file) {
  int none = 0;
  file.state->writeError.compare_exchange_strong(none, errno);
  return 0;
}

void* infoOf(H5FD_t* file) {
  return new (std::nothrow) DriverInfo{self(file).state};
}

void* copyInfo(const void* info) {
  return new (std::nothrow) DriverInfo(*static_cast<const DriverInfo*>(info));
}

herr_t freeInfo(void* info) {
  delete static_cast<DriverInfo*>(info);
  return 0;
}

bool hasSafeForm(int descriptor, off_t size) {
  if (size == 0) return true;
  const FileForm form = formOfFile(descriptor);
  if (form == FileForm::Unreadable) failed();
  return form == FileForm::Checksummed;
}

H5FD_t* openFile(const char* name, unsigned flags, hid_t accessProperties, haddr_t) {
  const auto* info = static_cast<const DriverInfo*>(H5Pget_driver_info(accessProperties));
  if (info == nullptr) return nullptr;
  int mode = (flags & H5F_ACC_RDWR) != 0 ? O_RDWR : O_RDONLY;
  if ((flags & H5F_ACC_TRUNC) != 0) mode |= O_TRUNC;
  if ((flags & H5F_ACC_CREAT) != 0) mode |= O_CREAT;
  if ((flags & H5F_ACC_EXCL) != 0) mode |= O_EXCL;
  // Without waiting for the other end, should the name be a pipe's.
  const int descriptor = openAboveStreams(name, mode | O_NONBLOCK, 0666);
  struct stat status {};
  if (descriptor < 0 || fstat(descriptor, &status) < 0 || !S_ISREG(status.st_mode)) {
    if (descriptor >= 0) {
      close(descriptor);
      errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    failed();
    return nullptr;
  }
  if (!hasSafeForm(descriptor, status.st_size)) {
    close(descriptor);
    return nullptr;
  }
  auto* file = new (std::nothrow) OpenFile{};
  if (file == nullptr) {
    close(descriptor);
    return nullptr;
  }
  file->descriptor = descriptor;
  file->size = static_cast<haddr_t>(status.st_size);
  file->device = status.st_dev;
  file->inode = status.st_ino;
  file->state = info->state;
  return &file->base;
}

herr_t closeFile(H5FD_t* file) {
  close(self(file).descriptor);
  delete &self(file);
  return 0;
}

int compareFiles(const H5FD_t* a, const H5FD_t* b) {
  if (self(a).device != self(b).device) return self(a).device < self(b).device ? -1 : 1;
  if (self(a).inode != self(b).inode) return self(a).inode < self(b).inode ? -1 : 1;
  return 0;
}

herr_t queryFeatures(const H5FD_t*, unsigned long* flags) {
  if (flags != nullptr)
    *flags = H5FD_FEAT_AGGREGATE_METADATA | H5FD_FEAT_ACCUMULATE_METADATA | H5FD_FEAT_DATA_SIEVE |
             H5FD_FEAT_AGGREGATE_SMALLDATA;
  return 0;
}

haddr_t allocatedEnd(const H5FD_t* file, H5FD_mem_t) {
  return self(file).allocated;
}

herr_t setAllocatedEnd(H5FD_t* file, H5FD_mem_t, haddr_t address) {
  self(file).allocated = address;
  return 0;
}

haddr_t endOfFile(const H5FD_t* file, H5FD_mem_t) {
  return self(file).size;
}

herr_t fileHandle(H5FD_t* file, hid_t, void** handle) {
  *handle = &self(file).descriptor;
  return 0;
}

herr_t readBytes(H5FD_t* file, H5FD_mem_t, hid_t, haddr_t address, size_t size, void* buffer) {
  std::span rest(static_cast<std::byte*>(buffer), size);
  if (!readAt(self(file).descriptor, address, rest)) return failed();
  std::ranges::fill(rest, std::byte{0});  // what was allocated and never written reads as zero
  return 0;
}

herr_t writeBytes(H5FD_t* file, H5FD_mem_t, hid_t, haddr_t address, size_t size,
                  const void* buffer) {
  OpenFile& open = self(file);
  if (open.state->writeError.load() != 0) return 0;
  if (!writeAt(open.descriptor, address, {static_cast<const std::byte*>(buffer), size}))
    return swallowFailedWrite(open);
  open.size = std::max(open.size, address + size);
  return 0;
}

herr_t truncateFile(H5FD_t* file, hid_t, hbool_t) {
  OpenFile& open = self(file);
  if (open.allocated == open.size || open.state->writeError.load() != 0) return 0;
  const FileSizeSignalBlocked blocked;
  if (ftruncate(open.descriptor, static_cast<off_t>(open.allocated)) < 0)
    return swallowFailedWrite(open);
  open.size = open.allocated;
  return 0;
}

herr_t noLock(H5FD_t*, hbool_t) {
  return 0;
}
herr_t noUnlock(H5FD_t*) {
  return 0;
}

hid_t registerDriver() {
  static H5FD_class_t driver{};
#ifdef H5FD_CLASS_VERSION
  driver.version = H5FD_CLASS_VERSION;
  driver.value = static_cast<H5FD_class_value_t>(600);
#endif
  driver.name = "recast";
  driver.maxaddr = HADDR_MAX / 2;
  driver.fc_degree = H5F_CLOSE_STRONG;
  driver.fapl_size = sizeof(DriverInfo);
  driver.fapl_get = infoOf;
  driver.fapl_copy = copyInfo;
  driver.fapl_free = freeInfo;
  driver.open = openFile;
  driver.close = closeFile;
  driver.cmp = compareFiles;
  driver.query = queryFeatures;
  driver.get_eoa = allocatedEnd;
  driver.set_eoa = setAllocatedEnd;
  driver.get_eof = endOfFile;
  driver.get_handle = fileHandle;
  driver.read = readBytes;
  driver.write = writeBytes;
  driver.truncate = truncateFile;
  driver.lock = noLock;
  driver.unlock = noUnlock;
  const H5FD_mem_t map[] = H5FD_FLMAP_DICHOTOMY;
  std::copy(std::begin(map), std::end(map), driver.fl_map);
  return H5FDregister(&driver);
}

}  // namespace

herr_t useFileDriver(hid_t accessProperties, const std::shared_ptr<FileState>& state) {
  static const hid_t driver = registerDriver();
  const DriverInfo info{state};
  return H5Pset_driver(accessProperties, driver, &info);
}

FileForm formOfFile(int descriptor) {
  constexpr unsigned char kSignature[] = {0x89, 'H', 'D', 'F', '\r', '\n', 0x1a, '\n'};
  constexpr unsigned char kFirstWithChecksums = 2;
  unsigned char start[sizeof kSignature + 1] = {};
  std::span<std::byte> unread = std::as_writable_bytes(std::span(start));
  if (!readAt(descriptor, 0, unread)) return FileForm::Unreadable;
  if (!unread.empty() || std::memcmp(start, kSignature, sizeof kSignature) != 0)
    return FileForm::Foreign;
  return start[sizeof kSignature] < kFirstWithChecksums ? FileForm::Unchecked
                                                        : FileForm::Checksummed;
}

int& lastSystemError() {
  static int error = 0;
  return error;
}

}  // namespace Quilt::Storage
