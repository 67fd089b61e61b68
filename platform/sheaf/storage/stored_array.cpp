#include "recast/sheaf/storage/stored_array.h"

#include <algorithm>

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

std::string fragmentLink(const FragmentID* fragment) {
  return fragment == nullptr ? kUndividedLink : escapedName(fragment->name());
}

MemBaseHandle StoredArray::read() {
  try {
    switch (data_.lie) {
      case Lie::Dataset: return readDataset();
      case Lie::Packed: return readPacked();
      case Lie::Lists: return readLists();
      case Lie::Uniform: return readUniform();
      case Lie::Absent: break;
    }
  } catch (const std::exception& error) {
    Larder::Console() << error.what();
  }
  return nullptr;
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

void StoredArray::addShift(std::byte* numbers, std::size_t count, unsigned components) const {
  if (data_.shifted == 0) return;
  auto* values = reinterpret_cast<double*>(numbers);
  for (std::size_t i = 0; i < count; i += components)
    for (unsigned c = 0; c < std::min(components, 3U); ++c) values[i + c] += data_.shift[c];
}

MemBaseHandle StoredArray::readDataset() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  Id dataset;
  DatasetShape shape;
  ElementLayout layout;
  {
    const Hdf5Lock lock(file.state());
    layout = layoutIn(*place_);
    if (layout.isList) damaged();
    dataset = openDataset(file.id(), path);
    shape = numbersShapeOf(file, dataset, path);
  }
  std::uint64_t wanted = 0;
  if (!data_.size().product(layout.components, wanted) || wanted != shape.numbers) damaged();
  MemBaseHandle array = emptyArray();
  if (shape.numbers == 0) return array;
  auto* target = static_cast<std::byte*>(array->getChunk()->data_ptr());
  readNumbers(file, dataset, shape, layout.memoryType, layout.componentSize, target);
  if (layout.memoryType == H5T_NATIVE_DOUBLE) addShift(target, shape.numbers, layout.components);
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
  reader.read(data_.offset, elements, target);
  const QuiltTypeIndex& type = array->typeIndex();
  if (type.ComponentTypeName == "double")
    addShift(target, elements * type.Components, type.Components);
  return array;
}

MemBaseHandle StoredArray::readLists() const {
  using Lists = Larder::Chunk<std::vector<unsigned int>>;
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  std::vector<std::uint64_t> offsets;
  std::vector<unsigned int> values;
  {
    const Hdf5Lock lock(file.state());
    if (!layoutIn(*place_).isList) damaged();
    readList(file, path + "/" + kListOffsets, H5T_NATIVE_UINT64, offsets);
    readList(file, path + "/" + kListValues, H5T_NATIVE_UINT, values);
  }
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
  return Larder::makeStrong<UniformCartesianArray>(data_.size().toMultiIndex<3>(), origin, spacing);
}

}  // namespace Quilt::Storage
