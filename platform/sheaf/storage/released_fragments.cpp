#include "recast/sheaf/storage/released_fragments.h"

#include <algorithm>
#include <cstring>

#include "recast/larder/console.h"
#include "recast/sheaf/storage/field_store.h"
#include "recast/sheaf/storage/fragment_creators.h"

namespace Quilt::Storage {
namespace {

/// Which numbers stand in front of the marks of a row; those that are left out are zero.
struct Marks {
  std::uint8_t rank;
  std::uint8_t shifted;
  std::uint8_t checked;
  DataExtent::Kind extent;
  std::uint8_t attributes;

  std::size_t extentNumbers() const {
    return extent == DataExtent::Kind::Box ? 3 : extent == DataExtent::Kind::Range ? 1 : 0;
  }
};

/// Calls `piece(first number, how many)` for the numbers of a row that its marks say are there.
template <class Row, class Piece>
void forEachPiece(Row& row, const Marks& marks, Piece piece) {
  piece(row.data.shape, marks.rank);
  piece(&row.data.offset, 1);
  piece(&row.data.checksum, marks.checked != 0 ? 1 : 0);
  piece(row.data.shift, marks.shifted != 0 ? 3 : 0);
  piece(row.minimum, marks.extentNumbers());
  piece(row.maximum, marks.extentNumbers());
  piece(&row.cellSize, (marks.attributes & FragmentRow::kCellSizeInTable) != 0 ? 1 : 0);
}

void append(std::vector<std::byte>& bytes, const void* from, std::size_t size) {
  const auto* start = static_cast<const std::byte*>(from);
  bytes.insert(bytes.end(), start, start + size);
}

}  // namespace

void ReleasedFragments::keep(std::uint32_t number, const FragmentRow& row) {
  const std::lock_guard lock(mutex_);
  const Marks marks{row.data.rank, row.data.shifted, row.data.checked, row.extent, row.attributes};
  forEachPiece(row, marks, [this](const auto* first, std::size_t count) {
    append(bytes_, first, count * sizeof *first);
  });
  append(bytes_, &marks, sizeof marks);
  if (ends_.size() <= number) ends_.resize(number + std::size_t{1});
  ends_[number] = bytes_.size();
}

void ReleasedFragments::remove(std::uint32_t number) {
  const std::lock_guard lock(mutex_);
  if (number < ends_.size()) ends_[number] = 0;
}

bool ReleasedFragments::keeps(std::uint32_t number) const {
  const std::lock_guard lock(mutex_);
  return number < ends_.size() && ends_[number] != 0;
}

std::optional<FragmentRow> ReleasedFragments::rowOf(std::uint32_t number) const {
  const std::lock_guard lock(mutex_);
  if (number >= ends_.size() || ends_[number] == 0) return std::nullopt;
  const std::byte* from = bytes_.data() + ends_[number] - sizeof(Marks);
  Marks marks{};
  std::memcpy(&marks, from, sizeof marks);
  FragmentRow row;
  row.number = number;
  row.data.lie = Lie::Packed;
  row.data.rank = marks.rank;
  row.data.shifted = marks.shifted;
  row.data.checked = marks.checked;
  row.extent = marks.extent;
  row.attributes = marks.attributes;
  std::size_t size = 0;
  forEachPiece(row, marks, [&](auto* first, std::size_t count) { size += count * sizeof *first; });
  from -= size;
  forEachPiece(row, marks, [&](auto* first, std::size_t count) {
    std::memcpy(first, from, count * sizeof *first);
    from += count * sizeof *first;
  });
  return row;
}

CreatorHandle ReleasedFragments::makeCreator(std::uint32_t number) {
  const auto row = rowOf(number);
  if (!row) return former_ ? former_->makeCreator(number) : nullptr;
  if (const auto store = store_.lock()) {
    try {
      store->bringToFile(row->data);
    } catch (const StorageError& error) {  // whoever reads the data will find it missing
      Larder::Console() << error.what();
    }
  }
  return creatorOf(place_, std::string(), *row);
}

CreatorHandle ReleasedFragments::makeWholeCreator() {
  return former_ ? former_->makeWholeCreator() : nullptr;
}

bool ReleasedFragments::holds(std::uint32_t number) const {
  return keeps(number) || (former_ && former_->holds(number));
}

}  // namespace Quilt::Storage
