#include "recast/sheaf/storage/field_store.h"

#include <algorithm>

#include "recast/larder/chunk.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/element_layout.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
std::shared_ptr<PreparedArray> prepare(const MemBaseHandle& array, const StoreRules& rules,
                                       bool packed, WorkPool& pool) {
  auto prepared = std::make_shared<PreparedArray>();
  prepared->image = makeImage(array, rules);
  if (packed) return prepared;
  const ArrayImage& image = prepared->image;
  const unsigned components = array->typeIndex().Components;
  prepared->plan =
      std::make_unique<BlockPlan>(datasetAxes(image.shape, components), image.numberSize,
                                  rules.chunkBytes, components > 1);
  if (rules.filter.level == 0) return prepared;
  const std::size_t fullBytes = prepared->plan->fullNumbers() * image.numberSize;
  for (std::size_t i = 0; i < prepared->plan->blocks(); ++i) {
    const BlockPlan::Block block = prepared->plan->block(i);
    // The image stays alive in the job that waits for the blocks.
    const auto bytes = image.bytes.subspan(block.firstNumber * image.numberSize,
                                           block.numbers * image.numberSize);
    prepared->blocks.push_back(
        pool.run([bytes, fullBytes, size = image.numberSize, filter = rules.filter] {
          return filterBlock(bytes, size, fullBytes, filter);
        }));
  }
  return prepared;
}

FieldStore::FieldStore(const FileHandle& file, LinkPath path, std::string typeName)
    : file_(file),
      path_(std::move(path)),
      groupPath_(joined(path_)),
      typeName_(std::move(typeName)),
      place_(Larder::makeStrong<FieldPlace>(file_, groupPath_, typeName_)) {
  const Hdf5Lock lock(file_->state());
  if (const auto type = QuiltTypeBase::find(typeName_)) layout_ = layoutOf(*type);
  continuePresent();
}

void FieldStore::continuePresent() {
  const Id group = findGroup(*file_, path_);
  if (!group.valid()) return;
  const FragmentTable table = readTable(*file_, group);
  for (std::size_t i = 0; i < table.size(); ++i)
    if (const FragmentRow row = table.row(i); row.lie != Lie::Absent) remember(row);
}

Id FieldStore::openGroup() const { return makeGroup(*file_, path_); }

FragmentRow* FieldStore::row(std::int64_t number) {
  const auto found = rowOf_.find(number);
  return found == rowOf_.end() ? nullptr : &rows_[found->second];
}

void FieldStore::remember(const FragmentRow& fresh) {
  const auto [entry, isNew] = rowOf_.try_emplace(fresh.number, rows_.size());
  if (isNew)
    rows_.push_back(fresh);
  else
    rows_[entry->second] = fresh;
}

void FieldStore::store(Incoming& incoming) {
  FragmentRow row;
  if (incoming.fragment) row.number = incoming.fragment->number();
  row.setSize(incoming.array->getSize());
  const std::string link = fragmentLink(incoming.fragment.rawptr());
  if (incoming.prepared && incoming.packed && writePacked(incoming, row)) {
    remember(row);
    tellWaiting();
    return;
  }
  removeFormer(link);
  if (incoming.prepared)
    writeDataset(link, incoming, row);
  else if (layout_.isList)
    writeLists(link, *incoming.array, row);
  else
    writeUniform(link, *incoming.array, row);
  remember(row);
  incoming.creator->setExtent(row.dataExtent());
  if (incoming.cache != nullptr)
    incoming.creator->setStored(Larder::makeStrong<StoredArray>(place_, link, row),
                                *incoming.cache);
}

void FieldStore::removeFormer(const std::string& link) {
  const Hdf5Lock lock(file_->state());
  const Id group = openGroup();
  if (H5Lexists(group, link.c_str(), H5P_DEFAULT) > 0)
    checked(H5Ldelete(group, link.c_str(), H5P_DEFAULT), "replace", link);
}

void FieldStore::writeDataset(const std::string& link, Incoming& incoming, FragmentRow& row) {
  PreparedArray& prepared = *incoming.prepared;
  const ArrayImage& image = prepared.image;
  row.lie = Lie::Dataset;
  row.setExtent(image.extent);
  if (image.shift) {
    row.shifted = 1;
    std::copy(image.shift->begin(), image.shift->end(), row.shift);
  }
  if (!prepared.plan)  // it was to be packed and could not
    prepared.plan = std::make_unique<BlockPlan>(
        datasetAxes(image.shape, layout_.components), image.numberSize, incoming.rules.chunkBytes,
        layout_.components > 1);
  const hid_t memoryType = image.single ? H5T_NATIVE_FLOAT : layout_.memoryType;
  const bool filtered = !prepared.blocks.empty();
  Id dataset;
  {
    const Hdf5Lock lock(file_->state());
    dataset = createDataset(openGroup(), link, fileType(layout_.memoryType, image.single),
                            *prepared.plan, datasetAxes(image.shape, layout_.components),
                            filtered ? incoming.rules.filter : FilterSettings{});
    if (image.shift) writeNumbers(dataset, kShiftAttribute, row.shift, layout_.components);
  }
  if (filtered)
    writeFiltered(*file_, dataset, *prepared.plan, prepared.blocks);
  else
    writePlain(*file_, dataset, memoryType, *prepared.plan, image.bytes, image.numberSize);
  const Hdf5Lock lock(file_->state());
  dataset = Id();
}

bool FieldStore::writePacked(Incoming& incoming, FragmentRow& row) {
  const ArrayImage& image = incoming.prepared->image;
  if (!packed_) {
    {
      const Hdf5Lock lock(file_->state());
      openGroup();
    }
    packed_ = std::make_unique<PackedDataset>(*file_, groupPath_, layout_, incoming.rules.filter,
                                              incoming.rules.chunkBytes, image.single);
  }
  // All of a packed dataset has one precision; what needs more stands apart.
  if (packed_->single() != image.single && !image.bytes.empty()) return false;
  row.lie = Lie::Packed;
  row.offset = packed_->elements();
  row.setExtent(image.extent);
  if (image.shift) {
    row.shifted = 1;
    std::copy(image.shift->begin(), image.shift->end(), row.shift);
  }
  packed_->append(image.bytes);
  incoming.creator->setExtent(row.dataExtent());
  if (incoming.cache != nullptr)
    waiting_.push_back({incoming.creator,
                      Larder::makeStrong<StoredArray>(place_, std::string(), row), incoming.cache,
                      packed_->elements()});
  return true;
}

void FieldStore::tellWaiting() {
  const std::uint64_t inFile = packed_->elementsInFile();
  const auto still = std::find_if(waiting_.begin(), waiting_.end(), [inFile](const Waiting& w) {
    return w.end > inFile;
  });
  for (auto waiting = waiting_.begin(); waiting != still; ++waiting)
    waiting->creator->setStored(waiting->stored, *waiting->cache);
  waiting_.erase(waiting_.begin(), still);
}

void FieldStore::flush() {
  if (!packed_) return;
  packed_->flush();
  tellWaiting();
}

void FieldStore::writeLists(const std::string& link, const MemBase& array, FragmentRow& row) {
  row.lie = Lie::Lists;
  const auto chunk = array.getChunk().castTo<Larder::Chunk<std::vector<unsigned int>>>();
  const HyperslabParameters lie = array.getHyperslabParameters();
  std::vector<std::uint64_t> offsets = {0};
  std::vector<unsigned int> values;
  for (std::uint64_t i = 0; i < array.nElements(); ++i) {
    const auto& list = (*chunk)[(lie.first + i) * lie.stride];
    values.insert(values.end(), list.begin(), list.end());
    offsets.push_back(values.size());
  }
  const Hdf5Lock lock(file_->state());
  const Id group = createGroup(openGroup(), link);
  writeList(group, "offsets", H5T_NATIVE_UINT64, offsets.data(), offsets.size(), true);
  writeList(group, "values", H5T_NATIVE_UINT, values.data(), values.size(), true);
}

void FieldStore::writeUniform(const std::string& link, const MemBase& array, FragmentRow& row) {
  const auto& uniform = dynamic_cast<const UniformCartesianArray&>(array);
  row.lie = Lie::Uniform;
  row.setExtent(extentOf(array));
  const Hdf5Lock lock(file_->state());
  const Id group = createGroup(openGroup(), link);
  const unsigned long long size[] = {row.shape[0], row.shape[1], row.shape[2]};
  writeNumbers(group, "size", size, 3);
  writeNumbers(group, "origin", uniform.origin().values, 3);
  writeNumbers(group, "spacing", uniform.spacing().values, 3);
}

}  // namespace Quilt::Storage
