#include "recast/sheaf/storage/field_store.h"

#include <algorithm>

#include "recast/larder/chunk.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/element_layout.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/fragment_creators.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
namespace {

CreatorHandle madeCreator(const Field& field, std::int64_t number) {
  return number == FragmentRow::kUndivided ? field.madeWholeCreator()
                                           : field.madeCreator(static_cast<std::uint32_t>(number));
}

/// The place in "@packed" behind the last element.
std::uint64_t endOf(const DataPlace& packed) {
  std::uint64_t elements = 0;
  packed.size().product(1, elements);
  return packed.offset + elements;
}

void noteExtent(CreativeArrayBase& creator, const DataExtent& extent) {
  if (extent.kind != DataExtent::Kind::None) creator.setExtent(extent);
}

}  // namespace

FieldStore::FieldStore(const FileHandle& file, LinkPath path, std::string typeName,
                       const Field& field, const Larder::StrongPtr<LoadedField>& loaded,
                       const Q8File* bundleFile, bool tellsCreators, WorkPool& pool)
    : file_(file),
      path_(std::move(path)),
      groupPath_(joined(path_)),
      typeName_(std::move(typeName)),
      field_(const_cast<Field*>(&field)),
      loaded_(loaded),
      tellsCreators_(tellsCreators),
      pool_(pool),
      place_(Larder::makeStrong<FieldPlace>(file_, groupPath_, typeName_, bundleFile)) {
  const Hdf5Lock lock(file_->state());
  if (const auto type = QuiltTypeBase::find(typeName_)) layout_ = layoutOf(*type);
  mayHoldOthers_ = findGroup(*file_, path_).valid();
}

hid_t FieldStore::group() {
  if (!group_.valid()) group_ = makeGroup(*file_, path_);
  return group_;
}

FieldStore::StoredHandle FieldStore::written(std::int64_t number) const {
  const auto index = static_cast<std::size_t>(number + 1);
  return index < written_.size() ? written_[index] : nullptr;
}

bool FieldStore::holdsDataOf(const Field& field, std::int64_t number) const {
  // The field's lock comes before ours, and so it must not be taken under ours.
  const CreatorHandle creator = madeCreator(field, number);
  const auto stored = creator ? creator->stored().castTo<StoredArray>() : nullptr;
  const std::lock_guard lock(mutex_);
  if (const StoredHandle fresh = written(number)) {
    if (!creator || !tellsCreators_ || stored == fresh) return static_cast<bool>(creator);
    const auto copy = copies_.find(number);
    return copy != copies_.end() && copy->second.lock() == creator;
  }
  if (released_ && number != FragmentRow::kUndivided &&
      released_->keeps(static_cast<std::uint32_t>(number)))
    return !creator || (stored && stored->place() == place_);
  if (creator) return loaded_ && stored && stored->place() == loaded_->place();
  return loaded_ && loaded_->supplies(number);
}

std::optional<FragmentRow> FieldStore::rowOf(std::int64_t number) const {
  const std::lock_guard lock(mutex_);
  if (const StoredHandle fresh = written(number)) {
    FragmentRow row;
    row.number = number;
    row.data = fresh->data();
    return row;
  }
  if (released_ && number != FragmentRow::kUndivided)
    if (auto row = released_->rowOf(static_cast<std::uint32_t>(number))) return row;
  auto row = loaded_ ? loaded_->rowOf(number) : std::nullopt;
  if (row) row->number = number;
  return row;
}

FieldStore::StoredHandle FieldStore::remember(const Incoming& incoming, const std::string& link,
                                              const DataPlace& data) {
  const std::size_t index = incoming.fragment ? incoming.fragment->number() + std::size_t{1} : 0;
  if (released_ && incoming.fragment) released_->remove(incoming.fragment->number());
  if (written_.size() <= index) written_.resize(index + 1);
  const std::int64_t number = static_cast<std::int64_t>(index) - 1;
  if (isToldElsewhere(*incoming.creator))
    copies_[number] = incoming.creator;
  else
    copies_.erase(number);
  written_[index] = Larder::makeStrong<StoredArray>(place_, link, data);
  return written_[index];
}

/// Whether the creator reads its data from another place in the bundle's files: of a field that
/// stands in several grids or slices.
bool FieldStore::isToldElsewhere(const CreativeArrayBase& creator) const {
  const auto stored = creator.stored().castTo<StoredArray>();
  return stored && stored->place()->bundleFile() == place_->bundleFile();
}

void FieldStore::store(Incoming& incoming) {
  DataPlace data;
  data.setSize(incoming.array->getSize());
  if (incoming.packed && writePacked(incoming, data)) return;
  const std::string link = fragmentLink(incoming.fragment.rawptr());
  removeFormer(incoming, link);
  if (incoming.prepared)
    writeDataset(link, incoming, data);
  else if (layout_.isList)
    writeLists(link, incoming, data);
  else
    writeUniform(link, incoming, data);
  StoredHandle stored;
  {
    const std::lock_guard lock(mutex_);
    stored = remember(incoming, link, data);
  }
  if (tellsCreators_ && !isToldElsewhere(*incoming.creator))
    incoming.creator->setStored(stored, *incoming.cache);
}

void FieldStore::removeFormer(const Incoming& incoming, const std::string& link) {
  {
    const std::lock_guard lock(mutex_);
    const StoredHandle former =
        written(incoming.fragment ? incoming.fragment->number() : FragmentRow::kUndivided);
    StoredArray* const array = former.rawptr();
    if (array != nullptr && array->data().lie != Lie::Packed) array->noteReplaced();
  }
  const Hdf5Lock lock(file_->state());
  if (!hasLink(group(), link)) return;
  if (loaded_) loaded_->place()->noteReplaced(link);
  removeLink(group(), link);
}

void FieldStore::removeOthers(std::vector<std::string> used) {
  if (!mayHoldOthers_) return;
  std::sort(used.begin(), used.end());
  for (const std::string& link : allLinks(group()))
    if (!std::binary_search(used.begin(), used.end(), link)) removeLink(group(), link);
}

void FieldStore::writeDataset(const std::string& link, Incoming& incoming, DataPlace& data) {
  PreparedArray& prepared = *incoming.prepared;
  const ArrayImage& image = *prepared.image;
  data.lie = Lie::Dataset;
  data.setShift(image.shift);
  // An array that was to be packed and could not has no plan yet.
  if (!prepared.plan) prepared.plan = planFor(image, incoming.rules);
  const bool filtered = !prepared.blocks.empty();
  Id dataset;
  hid_t memoryType = layout_.memoryType;
  {
    const Hdf5Lock lock(file_->state());
    if (image.single) memoryType = H5T_NATIVE_FLOAT;
    dataset = createDataset(group(), link, fileType(layout_.memoryType, image.single),
                            *prepared.plan, datasetAxes(image.shape, layout_.components),
                            filtered ? incoming.rules.filter : FilterSettings{});
    if (image.shift) writeNumbers(dataset, kShiftAttribute, data.shift, layout_.components);
  }
  if (filtered) {
    data.setChecksum(writeFiltered(*file_, dataset, *prepared.plan, prepared.blocks));
  } else {
    writePlain(*file_, dataset, memoryType, *prepared.plan, image.bytes, image.numberSize);
    data.setChecksum(prepared.checksum());
  }
  noteExtent(*incoming.creator, prepared.extent());
}

bool FieldStore::writePacked(Incoming& incoming, DataPlace& data) {
  const ArrayImage& image = *incoming.prepared->image;
  const std::lock_guard guard(mutex_);
  if (!packed_) {
    {
      const Hdf5Lock lock(file_->state());
      group();
    }
    packed_ = std::make_unique<PackedDataset>(*file_, groupPath_, layout_, incoming.rules.filter,
                                              incoming.rules.chunkBytes, image.single, pool_);
  }
  if (!packed_->takes(image.single) && !image.bytes.empty()) return false;
  data.lie = Lie::Packed;
  data.setChecksum(incoming.prepared->checksum());
  data.offset = packed_->elements();
  data.setShift(image.shift);
  packed_->append(image.bytes);
  noteExtent(*incoming.creator, incoming.prepared->extent());
  const StoredHandle stored = remember(incoming, std::string(), data);
  if (tellsCreators_ && !isToldElsewhere(*incoming.creator))
    waiting_.push_back({incoming.creator, stored, incoming.cache, packed_->elements()});
  tellWaiting();
  return true;
}

void FieldStore::tellWaiting() {
  const std::uint64_t inFile = packed_->elementsInFile();
  const auto still = std::find_if(waiting_.begin(), waiting_.end(),
                                  [inFile](const Waiting& w) { return w.end > inFile; });
  for (auto waiting = waiting_.begin(); waiting != still; ++waiting)
    waiting->creator->setStored(waiting->stored, *waiting->cache);
  waiting_.erase(waiting_.begin(), still);
}

void FieldStore::bringToFile(const DataPlace& packed) {
  {
    const std::lock_guard lock(mutex_);
    if (!packed_ || endOf(packed) <= packed_->elementsInFile()) return;
  }
  flush();
}

/// The entry of an array that waits for its chunk to be in the file, or the end.
std::vector<FieldStore::Waiting>::iterator FieldStore::waitingEntry(const StoredHandle& stored) {
  auto entry = std::lower_bound(waiting_.begin(), waiting_.end(), endOf(stored->data()),
                                [](const Waiting& w, std::uint64_t end) { return w.end < end; });
  // Arrays without elements end where others do.
  return std::find_if(entry, waiting_.end(), [&](const Waiting& w) { return w.stored == stored; });
}

/// Makes what was released the source of the field, before anything is released: a look-up in
/// another thread finds a fragment with its creator or in the source at every moment.
void FieldStore::ensureSource(Field& field) {
  const std::lock_guard lock(sourceMutex_);
  {
    const std::lock_guard guard(mutex_);
    if (released_) return;
  }
  const auto released =
      Larder::makeStrong<ReleasedFragments>(place_, weak_from_this(), field.source());
  field.setSource(released, typeName_);
  const std::lock_guard guard(mutex_);
  released_ = released;
}

bool FieldStore::release(Field& field, std::uint32_t number, const CreatorHandle& creator) {
  {
    const std::lock_guard lock(mutex_);
    const StoredHandle stored = written(number);
    if (!stored || stored->data().lie != Lie::Packed || creator->hasInterfaces()) return false;
  }
  ensureSource(field);
  const std::lock_guard lock(mutex_);
  const StoredHandle stored = written(number);
  if (!stored || stored->data().lie != Lie::Packed) return false;
  const auto own = waitingEntry(stored);
  const bool waits = own != waiting_.end();
  if (waits ? own->creator != creator : creator->stored() != stored) return false;
  FragmentRow row;
  row.number = number;
  row.data = stored->data();
  if (!noteKnown(*creator, row).attributes().empty()) return false;
  released_->keep(number, row);
  written_[number + std::size_t{1}].reset();
  if (waits) waiting_.erase(own);
  return true;
}

void FieldStore::flush() {
  const std::lock_guard lock(mutex_);
  if (!packed_) return;
  packed_->flush();
  tellWaiting();
}

void FieldStore::writeLists(const std::string& link, const Incoming& incoming, DataPlace& data) {
  data.lie = Lie::Lists;
  const MemBase& array = *incoming.array;
  const auto* lists = static_cast<const std::vector<unsigned int>*>(array.getPtr());
  const HyperslabParameters lie = array.getHyperslabParameters();
  const auto list = [&](std::uint64_t i) -> auto& {
    return lists[(lie.first + i) * lie.stride];
  };
  std::vector<std::uint64_t> offsets = {0};
  offsets.reserve(array.nElements() + 1);
  for (std::uint64_t i = 0; i < array.nElements(); ++i)
    offsets.push_back(offsets.back() + list(i).size());
  std::vector<unsigned int> values;
  values.reserve(offsets.back());
  Larder::bringMemory(values.data(), offsets.back() * sizeof(unsigned int));
  for (std::uint64_t i = 0; i < array.nElements(); ++i)
    values.insert(values.end(), list(i).begin(), list(i).end());
  Id object;
  hid_t offsetType = H5I_INVALID_HID;
  hid_t valueType = H5I_INVALID_HID;
  {
    const Hdf5Lock lock(file_->state());
    object = createGroup(group(), link);
    offsetType = H5T_STD_U64LE;
    valueType = H5T_STD_U32LE;
  }
  const FilterSettings& filter = incoming.rules.filter;
  const auto offsetBytes = std::as_bytes(std::span(offsets));
  const auto valueBytes = std::as_bytes(std::span(values));
  writeColumn(*file_, object, kListOffsets, offsetType, offsetBytes, filter);
  writeColumn(*file_, object, kListValues, valueType, valueBytes, filter);
  data.setChecksum(checksumOf(valueBytes, checksumOf(offsetBytes)));
}

void FieldStore::writeUniform(const std::string& link, const Incoming& incoming, DataPlace& data) {
  const auto& uniform = dynamic_cast<const UniformCartesianArray&>(*incoming.array);
  noteExtent(*incoming.creator, extentOf(uniform));
  data.lie = Lie::Uniform;
  const Hdf5Lock lock(file_->state());
  const Id object = createGroup(group(), link);
  const unsigned long long size[] = {data.shape[0], data.shape[1], data.shape[2]};
  writeNumbers(object, kSizeAttribute, size, 3);
  writeNumbers(object, kOriginAttribute, uniform.origin().values, 3);
  writeNumbers(object, kSpacingAttribute, uniform.spacing().values, 3);
  data.setChecksum(uniformChecksum(size, uniform.origin().values, uniform.spacing().values));
}

}  // namespace Quilt::Storage
