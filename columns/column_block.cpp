#include "recast/columns/column_block.h"

#include <algorithm>

namespace Recast {
namespace {

/// Elements that the chunks grow by: zeroed and filled while they are in the cache.
constexpr std::size_t kGrowth = 4096;

}  // namespace

void ColumnBlock::start(std::uint64_t expectedLines) {
  const auto room = std::min<std::uint64_t>(expectedLines, kColumnBlockLines);
  forEachColumn(converter_, [room]<class T>(myColumn<T>& column) {
    column.Data = Larder::makeStrong<Larder::Chunk<T>>(room, true);
    Larder::bringMemory(column.Data->data(), room * sizeof(T));
  });
  plan_ = LinePlan(converter_);
  lines_ = room_ = 0;
}

void ColumnBlock::grow() {
  room_ = std::min(room_ + kGrowth, kColumnBlockLines);
  resizeChunks(room_);
  plan_ = LinePlan(converter_);
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
