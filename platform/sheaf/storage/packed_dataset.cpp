#include "recast/sheaf/storage/packed_dataset.h"

#include <algorithm>
#include <utility>

#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"

namespace Quilt::Storage {
namespace {

/// A chunk is held in memory while it fills.
constexpr std::size_t kMostChunkBytes = std::size_t{64} << 20;

}  // namespace

PackedDataset::PackedDataset(Q8File& file, const std::string& group, const ElementLayout& layout,
                             const FilterSettings& filter, std::size_t chunkBytes, bool single,
                             WorkPool& pool)
    : file_(file),
      layout_(layout),
      filter_(filter),
      single_(single),
      pool_(pool),
      numberBytes_(single ? sizeof(float) : layout.componentSize),
      elementBytes_(numberBytes_ * layout.components),
      chunkElements_(std::max<std::size_t>(1, chunkBytes / elementBytes_)) {
  const Hdf5Lock lock(file_.state());
  const Id parent = openGroup(file_.id(), group);
  if (hasLink(parent, kPackedDataset))
    usable_ = openPresent(group + "/" + kPackedDataset);
  else
    create(group);
}

/// \return whether the dataset is laid out as `create` does it, in either precision.
bool PackedDataset::openPresent(const std::string& path) {
  dataset_ = openDataset(file_.id(), path);
  const DatasetShape shape = shapeOf(file_, dataset_, path);
  const Id type = own(H5Dget_type(dataset_), "open dataset", path);
  single_ = isTrue(H5Tequal(type, H5T_IEEE_F32LE), "open dataset", path) &&
            layout_.memoryType == H5T_NATIVE_DOUBLE;
  numberBytes_ = single_ ? sizeof(float) : layout_.componentSize;
  elementBytes_ = numberBytes_ * layout_.components;
  const Id properties = own(H5Dget_create_plist(dataset_), "open dataset", path);
  const bool filtered = checked(H5Pget_nfilters(properties), "open dataset", path) > 0;
  const std::size_t rank = layout_.components > 1 ? 2 : 1;
  const hid_t ours = fileType(layout_.memoryType, single_);
  if (!isTrue(H5Tequal(type, ours), "open dataset", path) || shape.axes.size() != rank ||
      shape.chunk.size() != rank || (filtered && (!shape.shuffleDeflate || shape.fletcher)))
    return false;
  if (rank == 2 && (shape.axes[1] != layout_.components || shape.chunk[1] != layout_.components))
    return false;
  const Id space = own(H5Dget_space(dataset_), "open dataset", path);
  hsize_t most[2] = {0, 0};
  checked(H5Sget_simple_extent_dims(space, nullptr, most), "open dataset", path);
  if (most[0] != H5S_UNLIMITED || shape.chunk[0] > kMostChunkBytes / elementBytes_) return false;
  chunkElements_ = shape.chunk[0];
  elements_ = inFile_ = shape.axes[0];
  filter_.level = filtered ? std::max(1, filter_.level) : 0;
  readUnfinishedChunk(path);
  return true;
}

/// The elements of the last chunk, if it isn't full, are written again with those that follow.
void PackedDataset::readUnfinishedChunk(const std::string& path) {
  const std::uint64_t started = elements_ % chunkElements_;
  if (started == 0) return;
  pending_.resize(started * elementBytes_);
  const hsize_t start[] = {elements_ - started, 0};
  const hsize_t size[] = {started, layout_.components};
  const Id space = own(H5Dget_space(dataset_), "read dataset", path);
  checked(H5Sselect_hyperslab(space, H5S_SELECT_SET, start, nullptr, size, nullptr), "read dataset",
          path);
  const hsize_t numbers = started * layout_.components;
  const Id memory = own(H5Screate_simple(1, &numbers, nullptr), "read dataset", path);
  checked(H5Dread(dataset_, single_ ? H5T_NATIVE_FLOAT : layout_.memoryType, memory, space,
                  H5P_DEFAULT, pending_.data()),
          "read dataset", path);
}

void PackedDataset::create(const std::string& group) {
  const std::string path = group + "/" + kPackedDataset;
  const int rank = layout_.components > 1 ? 2 : 1;
  const hsize_t none[] = {0, layout_.components};
  const hsize_t most[] = {H5S_UNLIMITED, layout_.components};
  const hsize_t chunk[] = {chunkElements_, layout_.components};
  const Id space = own(H5Screate_simple(rank, none, most), "lay out", path);
  const Id properties = own(H5Pcreate(H5P_DATASET_CREATE), "lay out", path);
  checked(H5Pset_obj_track_times(properties, false), "lay out", path);
  checked(H5Pset_fill_time(properties, H5D_FILL_TIME_NEVER), "lay out", path);
  checked(H5Pset_chunk(properties, rank, chunk), "lay out", path);
  if (filter_.level > 0) {
    checked(H5Pset_shuffle(properties), "lay out", path);
    checked(H5Pset_deflate(properties, static_cast<unsigned>(std::min(filter_.level, 9))),
            "lay out", path);
  }
  dataset_ = own(H5Dcreate2(file_.id(), path.c_str(), fileType(layout_.memoryType, single_), space,
                            linkProperties(), properties, H5P_DEFAULT),
                 "create dataset", path);
}

void PackedDataset::append(std::span<const std::byte> bytes) {
  const std::size_t chunkBytes = chunkElements_ * elementBytes_;
  while (!bytes.empty()) {
    const std::size_t room = chunkBytes - pending_.size();
    const auto piece = bytes.first(std::min(room, bytes.size()));
    pending_.insert(pending_.end(), piece.begin(), piece.end());
    bytes = bytes.subspan(piece.size());
    elements_ += piece.size() / elementBytes_;
    if (pending_.size() < chunkBytes) return;
    finishChunk(elements_ / chunkElements_ - 1);
  }
}

void PackedDataset::finishChunk(std::uint64_t index) {
  if (filter_.level == 0) {
    FilteredBlock block{.bytes = std::move(pending_)};
    writeChunk(index, block);
    pending_ = std::move(block.bytes);
    pending_.clear();
    return;
  }
  auto task = [bytes = std::exchange(pending_, {}), numberBytes = numberBytes_, filter = filter_] {
    return filterBlock(bytes, numberBytes, bytes.size(), filter);
  };
  pending_.reserve(chunkElements_ * elementBytes_);
  filtered_.push_back({index, pool_.run(std::move(task))});
  writeFiltered(2 * pool_.threads());
}

void PackedDataset::flush() {
  writeFiltered(0);
  if (pending_.empty()) return;
  const std::size_t fullBytes = chunkElements_ * elementBytes_;
  FilteredBlock block;
  if (filter_.level > 0) {
    block = filterBlock(pending_, numberBytes_, fullBytes, filter_);
  } else {
    block.bytes = pending_;
    block.bytes.resize(fullBytes);
  }
  writeChunk(elements_ / chunkElements_, block);
}

/// Writes the filtered chunks, but for the last `mostWaiting` ones.
void PackedDataset::writeFiltered(std::size_t mostWaiting) {
  while (filtered_.size() > mostWaiting) {
    Filtered first = std::move(filtered_.front());
    filtered_.pop_front();
    writeChunk(first.index, first.block.get());
  }
}

void PackedDataset::writeChunk(std::uint64_t index, const FilteredBlock& block) {
  const Hdf5Lock lock(file_.state());
  const hsize_t end = std::min((index + 1) * chunkElements_, elements_);
  const hsize_t extent[] = {end, layout_.components};
  checked(H5Dset_extent(dataset_, extent), "extend dataset");
  const hsize_t start[] = {index * chunkElements_, 0};
  checked(H5Dwrite_chunk(dataset_, H5P_DEFAULT, block.skippedFilters, start, block.bytes.size(),
                         block.bytes.data()),
          "write dataset");
  inFile_ = end;
}

}  // namespace Quilt::Storage
