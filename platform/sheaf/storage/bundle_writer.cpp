#include "recast/sheaf/storage/bundle_writer.h"

#include <algorithm>
#include <filesystem>

#include "recast/sheaf/storage/link_names.h"
#include "recast/sheaf/storage/structure_writer.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
namespace {

std::size_t workersFor(const StorageTransformations& storage) {
  constexpr unsigned kMost = 256;
  if (storage.workers > 0) return std::min(storage.workers, kMost);
  return std::max(1U, std::thread::hardware_concurrency());
}

void makeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  if (!folder.empty()) std::filesystem::create_directories(folder, error);
  if (error) throw StorageError(folder.string(), "make the folder", error.message());
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
      existing_(existing),
      pool_(workersFor(*storage_)) {
  main_.partial = std::make_unique<PartialFile>(target, existing);
  main_.file = Larder::makeStrong<Q8File>(
      main_.partial->path(), target, existing ? Q8File::Mode::Change : Q8File::Mode::Create);
  thread_ = std::thread([this] { work(); });
}

BundleWriter::~BundleWriter() {
  stopWorking();
  const Hdf5Lock lock(main_.file->state());
  stores_.clear();
  // Files that were not completed are lost: what HDF5 still holds of them need not be written.
  for (auto& [name, output] : external_) output.file->abandon();
  main_.file->abandon();
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
  const bool computed = dynamic_cast<const UniformCartesianArray*>(array.rawptr()) != nullptr;
  if (!computed && array->getPtr() == nullptr && array->nElements() > 0) return;
  const bool isList = array->getType() == typeid(std::vector<unsigned int>);
  const auto fragments = field.getFragmentIDCollection();
  Job job;
  job.bytes = array->memsize();
  job.incoming.fragment = fragment;
  job.incoming.creator = creator;
  job.incoming.array = array;
  job.incoming.cache = tellCreators_ ? &cache : nullptr;
  job.incoming.rules = rulesFor(place, *array);
  job.incoming.packed =
      fragment && !isList && !computed &&
      storage_->setFieldPacking(place.FieldName, fragments->NumberOfFragmentIDs());
  if (!isList && !computed)
    job.preparing = pool_.run([this, array, rules = job.incoming.rules,
                               packed = job.incoming.packed] {
      return prepare(array, rules, packed, pool_);
    });
  job.store = &storeOf(place, field);
  enqueue(std::move(job));
}

bool BundleWriter::isWanted(const Placement& place, const Field& field,
                            const FragmentID* fragment) const {
  const FieldID id(place.FieldName);
  return !storage_->SkipStorage(place.FieldName) && storage_->isSaveableTime(place.Time) &&
         storage_->isSaveableField(id, field, nullptr, place.GridName, place.Time,
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

FieldStore& BundleWriter::storeOf(const Placement& place, const Field& field) {
  const auto type = field.getElementType();
  const std::string typeName = type ? type->TypeName : std::string();
  const std::lock_guard lock(mutex_);
  claimTime(place.Time);
  LinkPath path = pathOf(place);
  const auto present = stores_.find(joined(path));
  if (present == stores_.end()) {
    const std::string key = joined(path);
    OutputFile& output = fileFor(place, path);
    return *(stores_[key] = std::make_unique<FieldStore>(output.file, path, typeName));
  }
  auto& store = present->second;
  if (store->typeName().empty() && !typeName.empty()) {
    // The first data came after the field was first looked at.
    store = std::make_unique<FieldStore>(store->file(), splitPath(store->groupPath()), typeName);
  }
  if (!typeName.empty()) requireType(place, store->typeName(), typeName);
  return *store;
}

void BundleWriter::requireType(const Placement& place, const std::string& held,
                               const std::string& given) const {
  if (held == given) return;
  throw StorageError(main_.file->state().shownName, "write field " + place.FieldName,
                     "it holds elements of " + held + ", not of " + given);
}

void BundleWriter::claimTime(double time) {
  const auto [entry, isNew] = times_.try_emplace(timeName(time), time);
  if (!isNew && entry->second != time)
    throw StorageError(main_.file->state().shownName, "write slice " + entry->first,
                       "two slices have times that agree to six decimals");
}

BundleWriter::OutputFile& BundleWriter::fileFor(const Placement& place,
                                                LinkPath& path) {
  const auto [name, inside] =
      storage_->getExternalLocation(place.Time, place.GridName, place.Skeleton,
                                    place.RepresentationName, place.FieldName);
  if (name.empty()) return main_;
  std::filesystem::path target(name);
  if (target.is_relative())
    target = std::filesystem::path(main_.partial->target()).parent_path() / target;
  OutputFile& output = externalFile(target);
  const LinkPath mainPath = path;
  if (!inside.empty()) {
    path = splitPath(storage_->getExternalLocationPrefix() + inside);
    path.push_back(mainPath.back());
  }
  linkExternal(output,
               storage_->getExternalFileReference(main_.partial->target(), target.string()),
               mainPath, path);
  return output;
}

BundleWriter::OutputFile& BundleWriter::externalFile(const std::filesystem::path& target) {
  const auto present = external_.find(target.string());
  if (present != external_.end()) return present->second;
  makeFolder(target.parent_path());
  const bool changed = existing_ && std::filesystem::exists(target);
  OutputFile output;
  output.partial = std::make_unique<PartialFile>(target.string(), changed);
  output.file = Larder::makeStrong<Q8File>(output.partial->path(), target.string(),
                                           changed ? Q8File::Mode::Change : Q8File::Mode::Create);
  return external_.emplace(target.string(), std::move(output)).first->second;
}

void BundleWriter::linkExternal(const OutputFile& external, const std::string& reference,
                                const LinkPath& path, const LinkPath& inside) {
  const Hdf5Lock lock(main_.file->state());
  const Id group = makeGroup(*main_.file, {path.begin(), path.end() - 1});
  if (H5Lexists(group, path.back().c_str(), H5P_DEFAULT) > 0)
    checked(H5Ldelete(group, path.back().c_str(), H5P_DEFAULT), "replace", path.back());
  checked(H5Lcreate_external(reference.c_str(), joined(inside).c_str(), group, path.back().c_str(),
                             H5P_DEFAULT, H5P_DEFAULT),
          "link", external.partial->target());
}

void BundleWriter::enqueue(Job job) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] {
    return error_ || waitingBytes_ == 0 || waitingBytes_ + job.bytes <= kMostWaiting;
  });
  waitingBytes_ += job.bytes;
  jobs_.push_back(std::move(job));
  changed_.notify_all();
}

void BundleWriter::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    working_ = true;
    {
      Job job = std::move(jobs_.front());
      jobs_.pop_front();
      const bool wanted = !error_;
      lock.unlock();
      const std::size_t bytes = job.bytes;
      try {
        if (job.preparing.valid()) job.incoming.prepared = job.preparing.get();
        if (wanted) job.store->store(job.incoming);
      } catch (...) {
        remember(std::current_exception());
      }
      // Filters that nobody waited for still read the image.
      if (job.incoming.prepared)
        for (auto& block : job.incoming.prepared->blocks)
          if (block.valid()) block.wait();
      job = Job{};
      lock.lock();
      waitingBytes_ -= bytes;
    }
    working_ = false;
    changed_.notify_all();
  }
}

void BundleWriter::remember(std::exception_ptr error) {
  const std::lock_guard lock(mutex_);
  if (!error_) error_ = error;
}

void BundleWriter::throwFirstError() {
  const std::lock_guard lock(mutex_);
  if (error_) std::rethrow_exception(error_);
}

void BundleWriter::drain() {
  {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return jobs_.empty() && !working_; });
  }
  throwFirstError();
  flushStores();
}

void BundleWriter::flushStores() {
  try {
    for (auto& [key, store] : stores_) store->flush();
  } catch (...) {
    remember(std::current_exception());
    throw;
  }
}

void BundleWriter::stopWorking() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
    changed_.notify_all();
  }
  if (thread_.joinable()) thread_.join();
}

void BundleWriter::complete(const Bundle& bundle) {
  StructureWriter writer(*this);
  writer.handOverMissing(bundle);
  drain();
  writer.writeStructure(bundle);
  {
    const Hdf5Lock lock(main_.file->state());
    stores_.clear();
  }
  // The external files first: the main file must not point to what isn't there.
  for (auto& [name, output] : external_) {
    output.file->close();
    output.partial->putInPlace();
    output.file->movedTo(output.partial->target());
  }
  main_.file->close();
  main_.partial->putInPlace();
  main_.file->movedTo(main_.partial->target());
}

}  // namespace Quilt::Storage
