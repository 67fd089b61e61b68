#include "recast/columns/column_block.h"

#include <algorithm>

namespace Recast {
namespace {

/// Elements that the chunks grow by: zeroed and filled while they are in the cache.
constexpr std::size_t kGrowth = 4096;
/// Elements whose memory is brought together. Not all of a block: the estimate of its lines may be
/// far too high.
constexpr std::size_t kBroughtAtOnce = std::size_t{1} << 21;

}  // namespace

void ColumnBlock::start(std::uint64_t expectedLines) {
  const auto room = std::min<std::uint64_t>(expectedLines, kColumnBlockLines);
  forEachColumn(converter_, [room]<class T>(myColumn<T>& column) {
    column.Data = Larder::makeStrong<Larder::Chunk<T>>(room, true);
  });
  plan_ = LinePlan(converter_);
  lines_ = room_ = brought_ = 0;
}

void ColumnBlock::grow() {
  if (room_ >= brought_) bringMemory();
  room_ = std::min(room_ + kGrowth, kColumnBlockLines);
  resizeChunks(room_);
  plan_ = LinePlan(converter_);
}

void ColumnBlock::bringMemory() {
  brought_ = room_ + kBroughtAtOnce;
  forEachColumn(converter_, [this]<class T>(myColumn<T>& column) {
    const std::size_t end = std::min(column.Data->capacity(), brought_);
    if (end > room_) Larder::bringMemory(column.Data->data() + room_, (end - room_) * sizeof(T));
  });
}

void ColumnBlock::finish() {
  resizeChunks(lines_);
  // The chunks of many small files may stay in the cache, which counts elements and not their room.
  forEachColumn(converter_, [](auto& column) {
    if (column.Data->capacity() > 2 * column.Data->size()) column.Data->shrink_to_fit();
  });
}

void ColumnBlock::resizeChunks(std::size_t size) {
  forEachColumn(converter_, [size](auto& column) {
    column.Data->resize(size, column.Constant ? column.Value : decltype(column.Value){});
  });
}

}  // namespace Recast
