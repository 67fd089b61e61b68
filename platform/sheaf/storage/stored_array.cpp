#include "recast/sheaf/storage/stored_array.h"

#include <algorithm>
#include <atomic>

#include "recast/larder/chunk.h"
#include "recast/larder/console.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/element_layout.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/link_names.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
namespace {

std::atomic<std::uint64_t> failures{0};

/// Reads pieces of a dataset that lies in one stretch.
class StretchReader : public PieceReader {
 public:
  explicit StretchReader(StoredArray::Stretch stretch) : stretch_(std::move(stretch)) {}

  bool usable() const { return stretch_.place && !stretch_.place->isWritten(); }
  std::uint32_t checksum() const { return checksumOf(*stretch_.place, stretch_.bytes); }

  bool read(std::uint64_t first, std::uint64_t count, void* target) const override {
    try {
      const std::size_t size = stretch_.elementSize;
      stretch_.place->read(first * size, {static_cast<std::byte*>(target), count * size});
      return true;
    } catch (const StorageError& error) {
      Larder::Console() << error.what();
      countFailedRead();
      return false;
    }
  }

 private:
  StoredArray::Stretch stretch_;
};

ElementLayout layoutIn(const FieldPlace& place) {
  const auto type = QuiltTypeBase::find(place.typeName());
  const ElementLayout layout = type ? layoutOf(*type) : ElementLayout{};
  if (!layout.known())
    throw StorageError(place.file().state().shownName, "read " + place.group(),
                       "the element type \"" + place.typeName() + "\" is not known");
  return layout;
}

}  // namespace

PackedReader& FieldPlace::packedReader() {
  std::call_once(readerMade_, [this] {
    const Hdf5Lock lock(file_->state());
    const ElementLayout layout = layoutIn(*this);
    if (layout.isList)
      throw StorageError(file_->state().shownName, "read " + group_, "lists can't be packed");
    reader_ = std::make_unique<PackedReader>(file_, group_ + "/" + kPackedDataset, layout);
  });
  return *reader_;
}

std::uint32_t uniformChecksum(const unsigned long long* size, const double* origin,
                              const double* spacing) {
  std::uint32_t checksum = checksumOf(std::as_bytes(std::span(size, 3)));
  checksum = checksumOf(std::as_bytes(std::span(origin, 3)), checksum);
  return checksumOf(std::as_bytes(std::span(spacing, 3)), checksum);
}

void countFailedRead() {
  ++failures;
}

std::string fragmentLink(const FragmentID* fragment) {
  return fragment == nullptr ? kUndividedLink : escapedName(fragment->name());
}

void FieldPlace::noteReplaced(const std::string& link) {
  const std::lock_guard lock(mutex_);
  replaced_.insert(link);
}

bool FieldPlace::isReplaced(const std::string& link) const {
  const std::lock_guard lock(mutex_);
  return replaced_.contains(link);
}

bool StoredArray::isReplaced() const {
  return replaced_ || place_->isReplaced(link_);
}

MemBaseHandle StoredArray::read() {
  try {
    return readChecked();
  } catch (const StorageError& error) {
    Larder::Console() << error.what();
  } catch (const std::exception& error) {  // there is not enough memory
    Larder::Console() << place_->file().state().shownName << ": read " << place_->group() << "/"
                      << link_ << ": " << error.what();
  }
  countFailedRead();
  return nullptr;
}

MemBaseHandle StoredArray::readChecked() const {
  place_->file().requireWritten();
  if (isReplaced())
    throw StorageError(place_->file().state().shownName, "read " + place_->group() + "/" + link_,
                       "other data has replaced it");
  if (!hasAttributes())
    throw StorageError(place_->file().state().shownName, "read " + place_->group() + "/" + link_,
                       "its attributes can't be read (" + unreadable_ + ")");
  switch (data_.lie) {
    case Lie::Dataset: return readDataset();
    case Lie::Packed: return readPacked();
    case Lie::Lists: return readLists();
    case Lie::Uniform: return readUniform();
    case Lie::Absent: break;
  }
  damaged();
}

void StoredArray::requireChecksum(std::uint32_t checksum) const {
  if (data_.checked != 0 && checksum != data_.checksum)
    throw StorageError(place_->file().state().shownName, "read " + place_->group() + "/" + link_,
                       "the data is damaged: its checksum is not that of the table");
}

void StoredArray::damaged() const {
  throw StorageError(place_->file().state().shownName, "read " + place_->group() + "/" + link_,
                     "the table and the data don't agree");
}

MemBaseHandle StoredArray::emptyArray() const {
  MemBaseHandle array = MemBase::newArray(place_->typeName(), data_.size());
  if (!array) damaged();
  return array;
}

void StoredArray::addShift(MemBase& array) const {
  const QuiltTypeIndex& type = array.typeIndex();
  if (data_.shifted == 0 || type.ComponentTypeName != "double") return;
  auto* values = static_cast<double*>(array.getChunk()->data_ptr());
  const std::size_t components = std::min(type.Components, 3U);
  for (std::uint64_t i = 0; i < array.nElements(); ++i, values += type.Components)
    for (std::size_t c = 0; c < components; ++c) values[c] += data_.shift[c];
}

StoredArray::OpenNumbers StoredArray::openNumbers() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  OpenNumbers numbers;
  numbers.layout = layoutIn(*place_);
  if (numbers.layout.isList) damaged();
  numbers.dataset = openDataset(file.id(), path);
  numbers.shape = numbersShapeOf(file, numbers.dataset, path);
  std::uint64_t wanted = 0;
  if (!data_.size().product(numbers.layout.components, wanted) || wanted != numbers.shape.numbers)
    damaged();
  return numbers;
}

std::unique_ptr<PieceReader> StoredArray::openPieces() {
  if (data_.lie != Lie::Dataset || data_.shifted != 0 || isReplaced() || !hasAttributes())
    return nullptr;
  try {
    auto reader = std::make_unique<StretchReader>(openStretch());
    if (!reader->usable()) return nullptr;
    // A piece has no checksum of its own.
    if (data_.checked != 0)
      std::call_once(piecesChecked_, [&] { requireChecksum(reader->checksum()); });
    return reader;
  } catch (const StorageError&) {
    return nullptr;  // whoever reads the whole array then will hear of it
  }
}

StoredArray::Stretch StoredArray::openStretch() const {
  Q8File& file = place_->file();
  const Hdf5Lock lock(file.state());
  const OpenNumbers numbers = openNumbers();
  const std::uint64_t bytes = numbers.shape.numbers * numbers.shape.numberSize;
  return {FileStretch::of(file, numbers.dataset, numbers.layout.memoryType, bytes), bytes,
          numbers.layout.componentSize * numbers.layout.components};
}

MemBaseHandle StoredArray::readDataset() const {
  Q8File& file = place_->file();
  OpenNumbers numbers;
  {
    const Hdf5Lock lock(file.state());
    numbers = openNumbers();
  }
  MemBaseHandle array = emptyArray();
  if (numbers.shape.numbers == 0) return array;
  auto* target = static_cast<std::byte*>(array->getChunk()->data_ptr());
  std::uint32_t checksum = 0;
  readNumbers(file, numbers.dataset, numbers.shape, numbers.layout.memoryType,
              numbers.layout.componentSize, target, data_.checked != 0 ? &checksum : nullptr);
  requireChecksum(checksum);
  addShift(*array);
  return array;
}

MemBaseHandle StoredArray::readPacked() const {
  std::uint64_t elements = 0;
  if (!data_.size().product(1, elements)) damaged();
  PackedReader& reader = place_->packedReader();
  reader.requireElements(data_.offset, elements);
  MemBaseHandle array = emptyArray();
  if (elements == 0) return array;
  auto* target = static_cast<std::byte*>(array->getChunk()->data_ptr());
  requireChecksum(reader.read(data_.offset, elements, target));
  addShift(*array);
  return array;
}

MemBaseHandle StoredArray::readLists() const {
  using Lists = Larder::Chunk<std::vector<unsigned int>>;
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  {
    const Hdf5Lock lock(file.state());
    if (!layoutIn(*place_).isList) damaged();
  }
  std::uint32_t ofOffsets = 0;
  std::uint32_t ofValues = 0;
  const auto offsets = readColumn<std::uint64_t>(file, path + "/" + kListOffsets, &ofOffsets);
  const auto values = readColumn<unsigned int>(file, path + "/" + kListValues, &ofValues);
  requireChecksum(joinedChecksum(ofOffsets, ofValues, values.size() * sizeof(unsigned int)));
  std::uint64_t lists = 0;
  if (offsets.empty() || !data_.size().product(1, lists) || lists != offsets.size() - 1 ||
      !std::is_sorted(offsets.begin(), offsets.end()) || offsets.back() > values.size())
    damaged();
  MemBaseHandle array = emptyArray();
  const auto chunk = array->getChunk().castTo<Lists>();
  if (!chunk) damaged();
  for (std::size_t i = 0; i < lists; ++i)
    (*chunk)[i].assign(values.begin() + static_cast<std::ptrdiff_t>(offsets[i]),
                       values.begin() + static_cast<std::ptrdiff_t>(offsets[i + 1]));
  return array;
}

MemBaseHandle StoredArray::readUniform() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  Heron::PhysicalSpace::point origin{};
  Heron::PhysicalSpace::vector spacing{};
  const auto points = QuiltTypeBase::find(typeid(Heron::PhysicalSpace::point));
  std::uint64_t bytes = 0;
  // Whoever asks for the points themselves must be able to count their bytes.
  if (data_.rank != 3 || !points || place_->typeName() != points->TypeName ||
      !data_.size().product(points->ElementSize, bytes) || bytes > PTRDIFF_MAX)
    damaged();
  const Hdf5Lock lock(file.state());
  const Id group = openGroup(file.id(), path);
  if (!readNumbers(group, kOriginAttribute, origin.values, 3) ||
      !readNumbers(group, kSpacingAttribute, spacing.values, 3))
    damaged();
  const unsigned long long size[] = {data_.shape[0], data_.shape[1], data_.shape[2]};
  requireChecksum(uniformChecksum(size, origin.values, spacing.values));
  return Larder::makeStrong<UniformCartesianArray>(data_.size().toMultiIndex<3>(), origin, spacing);
}

}  // namespace Quilt::Storage

std::uint64_t Quilt::failedReads() {
  return Quilt::Storage::failures;
}
