#include "recast/sheaf/storage/hdf5_calls.h"

#include <atomic>
#include <cstring>
#include <mutex>

#include "recast/larder/console.h"

namespace Quilt::Storage {
namespace {

std::recursive_mutex& processLock() {
  // Never destroyed: files may still be closed while statics go.
  static auto* mutex = new std::recursive_mutex;
  return *mutex;
}

// Trivially destructible: the main thread may still need them while statics are destroyed.
thread_local const FileState* currentFile = nullptr;
thread_local Hdf5Lock* outermostLock = nullptr;

std::atomic<std::uint64_t> closeFailures{0};

void initialise() {
  // Must come before every other call. If the host has initialised HDF5 itself, its exit handler
  // stays.
  static_cast<void>(H5dont_atexit());
  static_cast<void>(H5open());
}

herr_t firstMessage(unsigned, const H5E_error2_t* error, void* text) {
  auto& message = *static_cast<std::string*>(text);
  if (message.empty() && error->desc != nullptr) message = error->desc;
  return 0;
}

}  // namespace

QuietHdf5::QuietHdf5() {
  H5Eget_auto2(H5E_DEFAULT, &print_, &printData_);
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
}

QuietHdf5::~QuietHdf5() {
  H5Eset_auto2(H5E_DEFAULT, print_, printData_);
}

Hdf5Lock::Hdf5Lock(const FileState& file) : outerFile_(currentFile), outermost_(outermostLock) {
  processLock().lock();
  currentFile = &file;
  if (outermost_ != nullptr) return;
  static const bool initialised = (initialise(), true);
  static_cast<void>(initialised);
  outermostLock = outermost_ = this;
  lastSystemError() = 0;
  quiet_.emplace();
}

Hdf5Lock::~Hdf5Lock() {
  currentFile = outerFile_;
  if (outermost_ == this) {
    outermostLock = nullptr;
    quiet_.reset();
  }
  processLock().unlock();
  for (const std::string& message : messages_) Larder::Console() << message;
}

void Id::close(hid_t id) noexcept {
  const std::lock_guard lock(processLock());
  std::optional<QuietHdf5> quiet;
  if (outermostLock == nullptr) quiet.emplace();
  // A file that was closed took its objects' identifiers with it.
  if (H5Iis_valid(id) <= 0 || H5Idec_ref(id) >= 0) return;
  if (currentFile != nullptr)
    currentFile->closingFailed = true;
  else
    ++closeFailures;
}

std::uint64_t unassignedFailures() {
  return closeFailures;
}

std::string lockedFileName() {
  return currentFile != nullptr ? currentFile->shownName : std::string();
}

void tellAfterLock(const std::string& message) {
  outermostLock->messages_.push_back(lockedFileName() + ": " + message);
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
