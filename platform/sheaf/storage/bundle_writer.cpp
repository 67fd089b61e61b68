#include "recast/sheaf/storage/bundle_writer.h"

#include <algorithm>
#include <chrono>

#include "recast/sheaf/storage/link_names.h"
#include "recast/sheaf/storage/structure_writer.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
namespace {

/// So much is written before the system is told to begin with the disk.
constexpr std::size_t kBringBytes = std::size_t{32} << 20;
/// An array of no more bytes is prepared by the writing thread.
constexpr std::size_t kSmallBytes = std::size_t{16} << 10;
/// The writing thread lets so much come together, but not for longer than this.
constexpr std::size_t kGatheredBytes = std::size_t{1} << 20;
constexpr std::chrono::milliseconds kGatheringTime{2};

std::size_t workersFor(const StorageTransformations& storage) {
  constexpr unsigned kMost = 256;
  if (storage.workers > 0) return std::min(storage.workers, kMost);
  return std::max(1U, std::thread::hardware_concurrency());
}

LinkPath pathOf(const Placement& place) {
  return {timeName(place.Time), escapedName(place.GridName), escapedName(place.Skeleton.name()),
          escapedName(place.RepresentationName), escapedName(place.FieldName)};
}

}  // namespace

BundleWriter::BundleWriter(const std::string& target, const StorageHandle& storage, bool existing,
                           bool tellCreators)
    : storage_(storage ? storage : StorageHandle(new StorageTransformations)),
      tellCreators_(tellCreators),
      mostWaiting_(std::min(kMostWaiting, Larder::Cache::MemCache().budget())),
      files_(target, storage_, existing),
      pool_(workersFor(*storage_)) {
  try {
    thread_ = std::thread([this] { work(); });
  } catch (const std::exception&) {  // `enqueue` writes in the caller's thread then
  }
}

BundleWriter::~BundleWriter() {
  stopWorking();
  const Hdf5Lock lock(file()->state());  // what can't be closed concerns this file alone
  lastStore_ = nullptr;
  stores_.clear();
}

void BundleWriter::store(const Placement& place, const Field& field,
                         const Larder::StrongPtr<FragmentID>& fragment,
                         const CreatorHandle& creator, const MemBaseHandle& array,
                         Larder::Cache& cache) {
  throwFirstError();
  if (!array || !isWanted(place, field, fragment.rawptr())) return;
  const auto type = field.getElementType();
  if (!type) return;  // no element type of files: it stays in memory
  requireType(place, type->TypeName, array->typeIndex().TypeName);
  const bool computed = array.castTo<UniformCartesianArray>() != nullptr;
  if (!computed && array->getPtr() == nullptr && array->nElements() > 0)
    files_.refuse(place, "its array has no memory");
  if (!computed && !hasAllElements(*array))
    files_.refuse(place, "its array has a shape that is larger than its memory");
  const bool isList = array->getType() == typeid(std::vector<unsigned int>);
  Job job;
  job.store = storeOf(place, field);
  ++storedFragments_;
  job.bytes = array->memsize();
  job.incoming.fragment = fragment;
  job.incoming.creator = creator;
  job.incoming.array = array;
  job.incoming.cache = &cache;
  job.incoming.rules = rulesFor(place, *array);
  job.incoming.packed =
      fragment && !isList && !computed &&
      storage_->setFieldPacking(place.FieldName,
                                field.getFragmentIDCollection()->NumberOfFragmentIDs());
  job.isPlain = !isList && !computed;
  // A small piece of a packed dataset is in there sooner than another thread hears of it.
  if (job.incoming.packed && job.bytes <= kSmallBytes && job.store->queued == 0) {
    write(job, true);
    throwFirstError();
    startBringing(job.bytes);
    return;
  }
  if (job.isPlain && job.bytes > kSmallBytes)
    job.preparing =
        pool_.run([this, array, rules = job.incoming.rules, packed = job.incoming.packed] {
          return prepare(array, rules, packed, &pool_);
        });
  ++job.store->queued;
  enqueue(std::move(job));
}

bool BundleWriter::takeOver(const Placement& place, Field& field, std::uint32_t number,
                            const CreatorHandle& creator) {
  return tellCreators_ && storeOf(place, field)->release(field, number, creator);
}

bool BundleWriter::isWanted(const Placement& place, const Field& field,
                            const FragmentID* fragment) const {
  const FieldID id(place.FieldName);
  return !storage_->SkipStorage(place.FieldName) && storage_->isSaveableTime(place.Time) &&
         storage_->isSaveableField(id, field, place.GridHandle, place.GridName, place.Time,
                                   place.RepresentationName, place.Skeleton) &&
         (fragment == nullptr || storage_->isSaveableFragment(id, *fragment));
}

StoreRules BundleWriter::rulesFor(const Placement& place, const MemBase& array) const {
  StoreRules rules;
  const auto chunk = array.getChunk();
  rules.filter = storage_->getFilterSettings(place.FieldName, chunk);
  rules.singlePrecision = storage_->WriteAsSinglePrecision(place.FieldName, chunk);
  rules.shift = rules.singlePrecision && storage_->EnableNumericalShift(place.FieldName, chunk);
  rules.computeExtent = storage_->ComputeRangeAttributeOnWriting(place.FieldName);
  rules.chunkBytes = std::max<std::size_t>(4096, storage_->computeChunkSize(place.FieldName));
  return rules;
}

std::shared_ptr<FieldStore> BundleWriter::storeOf(const Placement& place, const Field& field) {
  const auto type = field.getElementType();
  const std::string typeName = type ? type->TypeName : std::string();
  const std::lock_guard lock(mutex_);
  // A field with very many fragments hands over one after the other.
  if (lastPlace_.rawptr() == &place && lastStore_->belongsTo(field) &&
      lastStore_->typeName() == typeName)
    return lastStore_;
  const auto store = findStore(place, field, typeName);
  lastStore_ = store;
  lastPlace_ = Larder::StrongPtr<Placement>(const_cast<Placement*>(&place));  // counted, if kept
  return store;
}

std::shared_ptr<FieldStore> BundleWriter::findStore(const Placement& place, const Field& field,
                                                    const std::string& typeName) {
  claimTime(place.Time);
  LinkPath path = pathOf(place);
  const std::string key = joined(path);
  if (const auto found = stores_.find(key); found != stores_.end()) {
    const auto& present = found->second;
    if (present->belongsTo(field) && (present->typeName() == typeName || typeName.empty()))
      return present;
    // Another field has taken the place, or the first data came after the field was first looked
    // at.
    const auto fresh = std::make_shared<FieldStore>(present->file(), present->path(), typeName,
                                                    field, loadedFrom(field, key),
                                                    files_.main().rawptr(), tellCreators_, pool_);
    fresh->expectOthers();
    return found->second = fresh;
  }
  requireNothingLeftOut(place, key);
  const FileHandle& file = files_.fileFor(place, path);
  return stores_[key] =
             std::make_shared<FieldStore>(file, path, typeName, field, loadedFrom(field, key),
                                          files_.main().rawptr(), tellCreators_, pool_);
}

void BundleWriter::requireNothingLeftOut(const Placement& place, const std::string& path) const {
  for (const auto& [there, reason] : leftOut_)
    if ((path + "/").starts_with(there + "/"))
      files_.refuse(place, "the file holds something in its place that was left out: " + reason);
}

Larder::StrongPtr<LoadedField> BundleWriter::loadedFrom(const Field& field,
                                                        const std::string& path) const {
  for (auto source = field.source(); source; source = source->former()) {
    auto loaded = source.castTo<LoadedField>();
    // A field may stand in several places; only one of them is where it was loaded from.
    if (loaded && loaded->bundleFile() == file() && loaded->bundlePath() == path) return loaded;
  }
  return nullptr;
}

void BundleWriter::requireType(const Placement& place, const std::string& held,
                               const std::string& given) const {
  if (held != given) files_.refuse(place, "it holds elements of " + held + ", not of " + given);
}

void BundleWriter::claimTime(double time) {
  const auto [entry, isNew] = times_.try_emplace(timeName(time), time);
  if (!isNew && entry->second != time)
    throw StorageError(file()->state().shownName, "write slice " + entry->first,
                       "two slices have times that agree to six decimals");
}

/// Waits on behalf of a caller; the writing thread does not wait for more meanwhile.
template <class Condition>
void BundleWriter::waitUntil(std::unique_lock<std::mutex>& lock, Condition condition) {
  if (condition()) return;
  ++waitingCallers_;
  handedOver_.notify_one();
  workedOff_.wait(lock, condition);
  --waitingCallers_;
}

void BundleWriter::enqueue(Job job) {
  if (!thread_.joinable()) {
    process(job, true);
    throwFirstError();
    return;
  }
  std::unique_lock lock(mutex_);
  waitUntil(lock, [&] {
    return error_ || waitingBytes_ == 0 || waitingBytes_ + job.bytes <= mostWaiting_;
  });
  waitingBytes_ += job.bytes;
  jobs_.push_back(std::move(job));
  if (jobs_.size() == 1 || waitingBytes_ >= kGatheredBytes) handedOver_.notify_one();
}

void BundleWriter::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    handedOver_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    // Small arrays come in their thousands: to wake up for each costs more than to write it.
    handedOver_.wait_for(lock, kGatheringTime, [this] {
      return ending_ || waitingCallers_ > 0 || waitingBytes_ >= kGatheredBytes;
    });
    working_ = true;
    std::deque<Job> jobs = std::exchange(jobs_, {});
    workOff(jobs, lock);
    working_ = false;
    workedOff_.notify_all();
  }
}

void BundleWriter::workOff(std::deque<Job>& jobs, std::unique_lock<std::mutex>& lock) {
  for (; !jobs.empty(); jobs.pop_front()) {
    const bool wanted = !error_;
    lock.unlock();
    Job& job = jobs.front();
    const std::size_t bytes = job.bytes;
    process(job, wanted);
    lock.lock();
    waitingBytes_ -= bytes;
    if (waitingCallers_ > 0) workedOff_.notify_all();
  }
}

/// Writes a job that was queued, and releases what it holds.
void BundleWriter::process(Job& job, bool wanted) {
  const std::size_t bytes = job.bytes;
  write(job, wanted);
  --job.store->queued;
  job = Job{};
  if (wanted) startBringing(bytes);
}

void BundleWriter::write(Job& job, bool wanted) {
  try {
    if (job.preparing.valid()) job.incoming.prepared = job.preparing.get();
    if (!wanted) return;
    if (job.isPlain && !job.incoming.prepared)
      job.incoming.prepared =
          prepare(job.incoming.array, job.incoming.rules, job.incoming.packed, nullptr);
    job.store->store(job.incoming);
    job.store->file()->requireWritten();
  } catch (...) {
    remember(std::current_exception());
  }
}

/// Lets the system write to the disk while we compress, so that the end has little to wait for.
void BundleWriter::startBringing(std::size_t bytes) {
  using namespace std::chrono_literals;
  if ((writtenBytes_ += bytes) < kBringBytes) return;
  const std::unique_lock mine(bringingMutex_, std::try_to_lock);
  if (!mine) return;
  if (bringing_.valid() && bringing_.wait_for(0s) != std::future_status::ready) return;
  writtenBytes_ = 0;
  // It takes as long as to write, and is nothing to wait for.
  try {
    std::vector<const PartialFile*> files;
    {
      const std::lock_guard lock(mutex_);
      files = files_.partialFiles();
    }
    bringing_ = std::async(std::launch::async, [files = std::move(files)] {
      for (const PartialFile* file : files) file->startBringing();
    });
  } catch (const std::exception&) {  // no thread: the end waits for the disk a little longer
  }
}

void BundleWriter::remember(std::exception_ptr error) {
  const std::lock_guard lock(mutex_);
  if (!error_) error_ = error;
}

void BundleWriter::throwFirstError() {
  const std::lock_guard lock(mutex_);
  if (!error_) {
    // Small arrays reach the file some time after they were written, through HDF5's own buffers.
    try {
      files_.requireWritten();
    } catch (...) {
      error_ = std::current_exception();
    }
  }
  if (error_) std::rethrow_exception(error_);
}

void BundleWriter::drain() {
  {
    std::unique_lock lock(mutex_);
    waitUntil(lock, [this] { return jobs_.empty() && !working_; });
  }
  throwFirstError();
  flushStores();
}

void BundleWriter::flushStores() {
  std::vector<std::shared_ptr<FieldStore>> stores;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [key, store] : stores_) stores.push_back(store);
  }
  try {
    for (const auto& store : stores) {
      store->flush();
      store->file()->requireWritten();
    }
  } catch (...) {
    remember(std::current_exception());
    throw;
  }
}

void BundleWriter::stopWorking() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    handedOver_.notify_all();
  }
  if (thread_.joinable()) thread_.join();
  if (bringing_.valid()) bringing_.wait();
}

void BundleWriter::complete(const Bundle& bundle) {
  StructureWriter writer(*this);
  writer.handOverMissing(bundle);
  drain();
  writer.writeStructure(bundle);
  {
    const Hdf5Lock lock(file()->state());  // what can't be closed is noted for the file
    lastStore_ = nullptr;
    stores_.clear();
  }
  files_.complete();
}

}  // namespace Quilt::Storage
