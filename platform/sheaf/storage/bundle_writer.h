#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>

#include "recast/sheaf/bundle.h"
#include "recast/sheaf/storage/field_store.h"
#include "recast/sheaf/storage/file_content.h"
#include "recast/sheaf/storage/output_files.h"

namespace Quilt::Storage {

/// Writes a bundle to a file: takes arrays from any thread, filters them on the machine's cores,
/// writes them in a thread of its own, and completes the file with all that tells of them. Small
/// arrays that go packed are copied to where they are packed in the caller's thread.
///
/// Arrays that wait to be written hold at most about `kMostWaiting` bytes, and no more than the
/// memory cache may; `store` waits when there are more. After the first error nothing more is
/// written, every call throws it, and `complete` leaves the target as it was.
class BundleWriter : public FragmentSink {
 public:
  static constexpr std::size_t kMostWaiting = std::size_t{256} << 20;

  /// \throw StorageError if the file can't be made, or changed.
  /// \param existing continues a copy of the target's content.
  /// \param tellCreators lets creators read from the file what is written, and memory drop it.
  BundleWriter(const std::string& target, const StorageHandle& storage, bool existing,
               bool tellCreators);
  ~BundleWriter() override;

  void store(const Placement& place, const Field& field,
             const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& creator,
             const MemBaseHandle& array, Larder::Cache& cache) override;
  bool takeOver(const Placement& place, Field& field, std::uint32_t number,
                const CreatorHandle& creator) override;
  /// Waits until all arrays are in the file. \throw StorageError
  void drain();
  /// Arrays taken so far.
  std::size_t storedFragments() const { return storedFragments_; }
  /// Writes the structure and the tables of `bundle` and whatever data of it isn't in the file yet,
  /// and puts the file in its target's place. \throw StorageError; the target is untouched then.
  void complete(const Bundle& bundle);

  /// Refuses from now on to store anything in place of what was not loaded from the file.
  void keepLeftOut(LeftOut leftOut) { leftOut_ = std::move(leftOut); }

  /// The file being written, with the target's content if it continues that.
  const FileHandle& file() const { return files_.main(); }

 private:
  friend class StructureWriter;

  struct Job {
    std::shared_ptr<FieldStore> store;
    FieldStore::Incoming incoming;
    /// The pool's work on the array; none for a small one, which costs less than to wake a thread.
    std::future<PreparedArray> preparing;
    std::size_t bytes = 0;
    bool isPlain = false;  ///< neither lists nor computed
  };

  /// Whether the rules let this data into the file.
  bool isWanted(const Placement& place, const Field& field, const FragmentID* fragment) const;
  StoreRules rulesFor(const Placement& place, const MemBase& array) const;
  /// The store of a field, made at its first use. \throw StorageError
  std::shared_ptr<FieldStore> storeOf(const Placement& place, const Field& field);
  /// \pre `mutex_` is held.
  std::shared_ptr<FieldStore> findStore(const Placement& place, const Field& field,
                                        const std::string& typeName);
  void requireNothingLeftOut(const Placement& place, const std::string& path) const;
  void requireType(const Placement& place, const std::string& held, const std::string& given) const;
  /// Refuses a second slice that would get the group of another. \pre `mutex_` is held.
  void claimTime(double time);
  void claim(double time) {
    const std::lock_guard lock(mutex_);
    claimTime(time);
  }
  /// What was loaded of the field from that path of the file that is changed, or null.
  Larder::StrongPtr<LoadedField> loadedFrom(const Field& field, const std::string& path) const;
  void enqueue(Job job);
  void work();
  void workOff(std::deque<Job>& jobs, std::unique_lock<std::mutex>& lock);
  template <class Condition>
  void waitUntil(std::unique_lock<std::mutex>& lock, Condition condition);
  void process(Job& job, bool wanted);
  void write(Job& job, bool wanted);
  void startBringing(std::size_t bytes);
  void throwFirstError();
  void remember(std::exception_ptr error);
  void stopWorking();
  void flushStores();

  StorageHandle storage_;
  LeftOut leftOut_;
  bool tellCreators_;
  std::size_t mostWaiting_;

  std::mutex mutex_;                    // guards the members below, the main file's handle apart
  std::condition_variable handedOver_;  // wakes the writing thread
  std::condition_variable workedOff_;   // wakes callers
  std::deque<Job> jobs_;
  std::size_t waitingBytes_ = 0;
  std::size_t waitingCallers_ = 0;  // for room in the queue, or for its end
  bool working_ = false;
  bool ending_ = false;
  std::exception_ptr error_;
  OutputFiles files_;
  std::unordered_map<std::string, std::shared_ptr<FieldStore>>
      stores_;                              // by their place in the bundle
  Larder::StrongPtr<Placement> lastPlace_;  // what `storeOf` was asked for last
  std::shared_ptr<FieldStore> lastStore_;   // and found
  std::map<std::string, double> times_;     // by the names of their groups

  std::atomic<std::size_t> storedFragments_{0};
  std::atomic<std::size_t> writtenBytes_{0};  // since the last `startBringing`
  std::mutex bringingMutex_;
  std::future<void> bringing_;  // what that began
  WorkPool pool_;
  std::thread thread_;
};

}  // namespace Quilt::Storage
