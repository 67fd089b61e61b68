#include "recast/sheaf/storage/q8_file.h"

#include <sys/stat.h>

namespace Quilt::Storage {
namespace {

Id accessProperties(FileState& state) {
  Id properties = own(H5Pcreate(H5P_FILE_ACCESS), "prepare to open");
  useFileDriver(properties, state);
  // The 1.10 format: all its metadata carries checksums, so that damage is found when it is read.
  checked(H5Pset_libver_bounds(properties, H5F_LIBVER_V110, H5F_LIBVER_V110), "choose the format");
  checked(H5Pset_fclose_degree(properties, H5F_CLOSE_STRONG), "prepare to open");
  checked(H5Pset_elink_file_cache_size(properties, 16), "prepare to open");
  return properties;
}

Id creationProperties() {
  Id properties = own(H5Pcreate(H5P_FILE_CREATE), "prepare to create");
  checked(H5Pset_link_creation_order(properties, H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED),
          "prepare to create");
  return properties;
}

}  // namespace

Q8File::Q8File(std::string path, std::string shownName, Mode mode) : path_(std::move(path)) {
  state_.shownName = std::move(shownName);
  const Hdf5Lock lock(state_);
  id_ = open(mode);
  rememberIdentity();
}

Q8File::~Q8File() { abandon(); }

Id Q8File::open(Mode mode) {
  const Id access = accessProperties(state_);
  if (mode == Mode::Create)
    return own(H5Fcreate(path_.c_str(), H5F_ACC_TRUNC, creationProperties(), access), "create");
  return own(
      H5Fopen(path_.c_str(), mode == Mode::Change ? H5F_ACC_RDWR : H5F_ACC_RDONLY, access),
      "open");
}

void Q8File::rememberIdentity() {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) return;
  device_ = status.st_dev;
  inode_ = status.st_ino;
}

hid_t Q8File::id() {
  if (id_.valid()) return id_;
  const std::uint64_t device = device_;
  const std::uint64_t inode = inode_;
  rememberIdentity();
  if (device != device_ || inode != inode_) {
    device_ = device;
    inode_ = inode;
    throw StorageError(state_.shownName, "open", "the file was replaced by another one");
  }
  id_ = open(Mode::Read);
  return id_;
}

void Q8File::flush() {
  const Hdf5Lock lock(state_);
  checked(H5Fflush(id(), H5F_SCOPE_GLOBAL), "write");
  if (writingFailed()) fail("write");
}

void Q8File::close() {
  if (!id_.valid()) return;
  flush();
  abandon();
  const Hdf5Lock lock(state_);
  if (writingFailed()) fail("close");
}

void Q8File::abandon() noexcept {
  if (!id_.valid()) return;
  const Hdf5Lock lock(state_);
  id_ = Id();
  H5Eclear2(H5E_DEFAULT);
}

void Q8File::movedTo(std::string path) { path_ = std::move(path); }

}  // namespace Quilt::Storage
