#include "recast/sheaf/storage/q8_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quilt::Storage {
namespace {

Id accessProperties(const std::shared_ptr<FileState>& state) {
  Id properties = own(H5Pcreate(H5P_FILE_ACCESS), "prepare to open");
  checked(useFileDriver(properties, state), "prepare to open");
  // The 1.10 format: all its metadata carries checksums, so that damage is found when it is read.
  checked(H5Pset_libver_bounds(properties, H5F_LIBVER_V110, H5F_LIBVER_V110), "choose the format");
  checked(H5Pset_fclose_degree(properties, H5F_CLOSE_STRONG), "prepare to open");
  return properties;
}

Id creationProperties() {
  Id properties = own(H5Pcreate(H5P_FILE_CREATE), "prepare to create");
  // The same content makes the same bytes, whenever it is written.
  checked(H5Pset_obj_track_times(properties, false), "prepare to create");
  return properties;
}

/// Refuses what HDF5 can't be trusted with, with a reason that it would not give.
void requireForm(const std::string& path, const std::string& shownName) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return;  // the reason comes when the file is opened
  struct stat status {};
  const bool isFile = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  const FileForm form = isFile ? formOfFile(descriptor) : FileForm::Checksummed;
  const int error = errno;
  ::close(descriptor);
  if (form == FileForm::Unreadable) throw StorageError(shownName, "open", std::strerror(error));
  if (form == FileForm::Foreign)
    throw StorageError(shownName, "open", "this is no .q8 file (and no HDF5 file)");
  if (form == FileForm::Unchecked)
    throw StorageError(shownName, "open",
                       "it has HDF5's older form without checksums; write it with libver='v110'");
}

}  // namespace

Q8File::Q8File(std::string path, std::string shownName, Mode mode)
    : path_(std::move(path)), state_(std::make_shared<FileState>()) {
  state_->shownName = std::move(shownName);
  if (path_.find('\0') != std::string::npos)
    throw StorageError(state_->shownName.c_str(), "open", "the file name holds a NUL byte");
  const std::string given = path_;
  std::error_code error;
  path_ = std::filesystem::absolute(given, error).string();  // the working directory may change
  if (error) path_ = given;
  const Hdf5Lock lock(*state_);
  id_ = open(mode);
  if (writingFailed()) {
    id_ = Id();
    fail(mode == Mode::Create ? "create" : "open");
  }
  identity_ = identityOnDisk();
}

Q8File::~Q8File() {
  abandon();
}

Id Q8File::open(Mode mode) {
  if (mode != Mode::Create) requireForm(path_, state_->shownName);
  const Id access = accessProperties(state_);
  if (mode == Mode::Create)
    return own(H5Fcreate(path_.c_str(), H5F_ACC_TRUNC, creationProperties(), access), "create");
  return own(H5Fopen(path_.c_str(), mode == Mode::Change ? H5F_ACC_RDWR : H5F_ACC_RDONLY, access),
             "open");
}

Q8File::Identity Q8File::identityOnDisk() const {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec};
}

hid_t Q8File::id() {
  if (id_.valid()) return id_;
  if (identityOnDisk() != identity_)
    throw StorageError(state_->shownName, "open", "the file was replaced by another one");
  id_ = open(Mode::Read);
  return id_;
}

void Q8File::failWriting(int error) {
  int none = 0;
  state_->writeError.compare_exchange_strong(none, error);
  throw StorageError(state_->shownName, "write", std::strerror(error));
}

void Q8File::requireWritten() const {
  if (const int error = state_->writeError; error != 0)
    throw StorageError(state_->shownName, "write", std::strerror(error));
  if (writingFailed())
    throw StorageError(state_->shownName, "write", "a part of the file could not be closed");
}

void Q8File::flush() {
  const Hdf5Lock lock(*state_);
  checked(H5Fflush(id(), H5F_SCOPE_GLOBAL), "write");
  requireWritten();
}

void Q8File::close() {
  const Hdf5Lock lock(*state_);
  if (!id_.valid()) return;
  flush();
  abandon();
  requireWritten();
  identity_ = identityOnDisk();
}

void Q8File::abandon() noexcept {
  const Hdf5Lock lock(*state_);
  id_ = Id();
  H5Eclear2(H5E_DEFAULT);
}

void Q8File::movedTo(std::string path) {
  const Hdf5Lock lock(*state_);
  path_ = std::move(path);
}

}  // namespace Quilt::Storage
