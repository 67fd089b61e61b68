#include "recast/sheaf/storage/stored_array.h"

#include <algorithm>

#include "recast/larder/chunk.h"
#include "recast/larder/console.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/element_layout.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/link_names.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
namespace {

[[noreturn]] void damaged(const Q8File& file, const std::string& what) {
  throw StorageError(file.state().shownName, "read " + what, "the table and the data don't agree");
}

void addShift(std::byte* numbers, std::size_t count, const FragmentRow& row, unsigned components) {
  if (row.shifted == 0) return;
  auto* values = reinterpret_cast<double*>(numbers);
  for (std::size_t i = 0; i < count; i += components)
    for (unsigned c = 0; c < std::min(components, 3U); ++c) values[i + c] += row.shift[c];
}

/// A new array of that type and shape.
MemBaseHandle emptyArray(const FieldPlace& place, const DynamicSize& shape) {
  MemBaseHandle array = MemBase::newArray(place.typeName(), shape);
  if (!array) damaged(place.file(), place.group());
  return array;
}

/// The product of the extents, checked against what the data holds.
void requireNumbers(const FieldPlace& place, const DynamicSize& shape, unsigned components,
                    std::size_t numbers) {
  std::uint64_t wanted = 0;
  if (!shape.product(components, wanted) || wanted != numbers)
    damaged(place.file(), place.group());
}

ElementLayout layoutIn(const FieldPlace& place) {
  const auto type = QuiltTypeBase::find(place.typeName());
  if (!type)
    throw StorageError(place.file().state().shownName, "read " + place.group(),
                       "the element type \"" + place.typeName() + "\" is not known");
  return layoutOf(*type);
}

}  // namespace

std::string fragmentLink(const FragmentID* fragment) {
  return fragment == nullptr ? kUndividedLink : escapedName(fragment->name());
}

MemBaseHandle StoredArray::read() {
  try {
    switch (row_.lie) {
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

MemBaseHandle StoredArray::readDataset() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  Id dataset;
  DatasetShape shape;
  ElementLayout layout;
  {
    const Hdf5Lock lock(file.state());
    layout = layoutIn(*place_);
    dataset = own(H5Dopen2(file.id(), path.c_str(), H5P_DEFAULT), "open dataset", path);
    shape = shapeOf(file, dataset, path);
  }
  requireNumbers(*place_, row_.size(), layout.components, shape.numbers);
  MemBaseHandle array = emptyArray(*place_, row_.size());
  if (shape.numbers > 0) {
    auto* target = static_cast<std::byte*>(array->getChunk()->data_ptr());
    readNumbers(file, dataset, shape, layout.memoryType, layout.componentSize, target);
    if (layout.memoryType == H5T_NATIVE_DOUBLE) addShift(target, shape.numbers, row_, layout.components);
  }
  const Hdf5Lock lock(file.state());
  dataset = Id();
  return array;
}

MemBaseHandle StoredArray::readPacked() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + kPackedDataset;
  const Hdf5Lock lock(file.state());
  const ElementLayout layout = layoutIn(*place_);
  const Id dataset = own(H5Dopen2(file.id(), path.c_str(), H5P_DEFAULT), "open dataset", path);
  const DatasetShape shape = shapeOf(file, dataset, path);
  const std::size_t rank = layout.components > 1 ? 2 : 1;
  std::uint64_t elements = 0;
  if (!row_.size().product(1, elements) || shape.axes.size() != rank || (rank == 2 && shape.axes[1] != layout.components) ||
      row_.offset > shape.axes[0] || elements > shape.axes[0] - row_.offset)
    damaged(file, path);
  MemBaseHandle array = emptyArray(*place_, row_.size());
  if (elements == 0) return array;
  auto* target = static_cast<std::byte*>(array->getChunk()->data_ptr());
  const hsize_t start[] = {row_.offset, 0};
  const hsize_t size[] = {elements, layout.components};
  const Id space = own(H5Dget_space(dataset), "read dataset", path);
  checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, start, nullptr, size, nullptr),
          "read dataset", path);
  const hsize_t numbers = elements * layout.components;
  const Id memory = own(H5Screate_simple(1, &numbers, nullptr), "read dataset", path);
  checked(H5Dread(dataset, layout.memoryType, memory, space, H5P_DEFAULT, target), "read dataset",
          path);
  if (layout.memoryType == H5T_NATIVE_DOUBLE) addShift(target, numbers, row_, layout.components);
  return array;
}

MemBaseHandle StoredArray::readLists() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  const Hdf5Lock lock(file.state());
  const Id offsetsSet =
      own(H5Dopen2(file.id(), (path + "/offsets").c_str(), H5P_DEFAULT), "open dataset", path);
  const Id valuesSet =
      own(H5Dopen2(file.id(), (path + "/values").c_str(), H5P_DEFAULT), "open dataset", path);
  const DatasetShape offsetsShape = shapeOf(file, offsetsSet, path);
  const DatasetShape valuesShape = shapeOf(file, valuesSet, path);
  std::vector<std::uint64_t> offsets(offsetsShape.numbers);
  std::vector<unsigned int> values(valuesShape.numbers);
  if (offsets.empty()) damaged(file, path);
  checked(H5Dread(offsetsSet, H5T_NATIVE_UINT64, H5S_ALL, H5S_ALL, H5P_DEFAULT, offsets.data()),
          "read dataset", path);
  if (!values.empty())
    checked(H5Dread(valuesSet, H5T_NATIVE_UINT, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data()),
            "read dataset", path);
  requireNumbers(*place_, row_.size(), 1, offsets.size() - 1);
  if (!std::is_sorted(offsets.begin(), offsets.end()) || offsets.back() > values.size())
    damaged(file, path);
  MemBaseHandle array = emptyArray(*place_, row_.size());
  const auto chunk = array->getChunk().castTo<Larder::Chunk<std::vector<unsigned int>>>();
  if (!chunk) damaged(file, path);
  for (std::size_t i = 0; i + 1 < offsets.size(); ++i)
    (*chunk)[i].assign(values.begin() + static_cast<std::ptrdiff_t>(offsets[i]),
                       values.begin() + static_cast<std::ptrdiff_t>(offsets[i + 1]));
  return array;
}

MemBaseHandle StoredArray::readUniform() const {
  Q8File& file = place_->file();
  const std::string path = place_->group() + "/" + link_;
  const Hdf5Lock lock(file.state());
  const Id group = own(H5Gopen2(file.id(), path.c_str(), H5P_DEFAULT), "open group", path);
  Heron::PhysicalSpace::point origin{};
  Heron::PhysicalSpace::vector spacing{};
  if (row_.rank != 3 || !readNumbers(group, "origin", origin.values, 3) ||
      !readNumbers(group, "spacing", spacing.values, 3))
    damaged(file, path);
  return Larder::makeStrong<UniformCartesianArray>(row_.size().toMultiIndex<3>(), origin, spacing);
}

}  // namespace Quilt::Storage
