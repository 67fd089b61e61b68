#include "recast/sheaf/storage/hdf5_calls.h"

#include <cstring>
#include <mutex>

namespace Quilt::Storage {
namespace {

std::recursive_mutex& processLock() {
  // Never destroyed: files may still be closed while statics go.
  static auto* mutex = new std::recursive_mutex;
  return *mutex;
}

thread_local const FileState* currentFile = nullptr;

herr_t firstMessage(unsigned, const H5E_error2_t* error, void* text) {
  auto& message = *static_cast<std::string*>(text);
  if (message.empty() && error->desc != nullptr) message = error->desc;
  return 0;
}

}  // namespace

Hdf5Lock::Hdf5Lock(const FileState& file) : outer_(currentFile) {
  processLock().lock();
  currentFile = &file;
  if (outer_ != nullptr) return;
  lastSystemError() = 0;
  H5Eget_auto2(H5E_DEFAULT, &print_, &printData_);
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
}

Hdf5Lock::~Hdf5Lock() {
  currentFile = outer_;
  if (outer_ == nullptr) H5Eset_auto2(H5E_DEFAULT, print_, printData_);
  processLock().unlock();
}

void Id::close(hid_t id) noexcept {
  const std::lock_guard lock(processLock());
  // A file that was closed took its objects' identifiers with it.
  if (H5Iis_valid(id) > 0) H5Idec_ref(id);
}

std::string lockedFileName() {
  return currentFile != nullptr ? currentFile->shownName : std::string();
}

void fail(const std::string& operation) {
  std::string reason;
  int systemError = lastSystemError();
  if (systemError == 0 && currentFile != nullptr) systemError = currentFile->writeError.load();
  if (systemError != 0)
    reason = std::strerror(systemError);
  else
    H5Ewalk2(H5E_DEFAULT, H5E_WALK_UPWARD, firstMessage, &reason);
  if (reason.empty()) reason = "refused by the file format library";
  H5Eclear2(H5E_DEFAULT);
  throw StorageError(lockedFileName(), operation, reason);
}

}  // namespace Quilt::Storage
