#include "recast/sheaf/storage/loaded_field.h"

#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"

namespace Quilt::Storage {

LoadedField::LoadedField(const Larder::StrongPtr<FieldPlace>& place,
                         const Larder::StrongPtr<FragmentIDCollection>& fragments,
                         FragmentTable table, const FragmentNumbers& numbers,
                         const Larder::StrongPtr<FieldSource>& former)
    : place_(place), fragments_(fragments), former_(former), table_(std::move(table)) {
  rowOf_.resize(fragments_->NumberOfFragmentIDs());
  for (std::size_t i = 0; i < table_.size(); ++i) {
    const FragmentRow row = table_.row(i);
    if (row.data.lie == Lie::Absent) continue;
    const auto place1 = static_cast<std::uint32_t>(i + 1);
    if (row.number == FragmentRow::kUndivided)
      undivided_ = place1;
    else
      rowOf_.at(numbers(row.number)) = place1;
  }
}

std::optional<FragmentRow> LoadedField::rowOf(std::int64_t number) const {
  const auto index = static_cast<std::size_t>(number);
  const std::uint32_t place1 = number == FragmentRow::kUndivided ? undivided_
                               : index < rowOf_.size()           ? rowOf_[index]
                                                                 : 0;
  if (place1 == 0) return std::nullopt;
  return table_.row(place1 - 1);
}

bool LoadedField::supplies(std::int64_t number) const {
  if (!rowOf(number)) return false;
  if (!former_) return true;
  return number == FragmentRow::kUndivided ? !former_->makeWholeCreator()
                                           : !former_->holds(static_cast<std::uint32_t>(number));
}

bool LoadedField::holds(std::uint32_t number) const {
  return (number < rowOf_.size() && rowOf_[number] != 0) || (former_ && former_->holds(number));
}

CreatorHandle LoadedField::makeCreator(std::uint32_t number) {
  if (former_)
    if (CreatorHandle creator = former_->makeCreator(number)) return creator;
  const auto row = rowOf(number);
  return row ? creatorFor(*row, fragments_->findFragmentID(number).rawptr()) : nullptr;
}

CreatorHandle LoadedField::makeWholeCreator() {
  if (former_)
    if (CreatorHandle creator = former_->makeWholeCreator()) return creator;
  const auto row = rowOf(FragmentRow::kUndivided);
  return row ? creatorFor(*row, nullptr) : nullptr;
}

CreatorHandle LoadedField::creatorFor(const FragmentRow& row, const FragmentID* fragment) const {
  const std::string link = fragmentLink(fragment);
  const auto stored = Larder::makeStrong<StoredArray>(
      place_, row.data.lie == Lie::Packed ? std::string() : link, row.data);
  CreatorHandle creator(new CreativeArrayBase(stored, place_->typeName()));
  creator->setExtent(row.dataExtent());
  if (row.attributes != 0) readAttributes(row, link, *creator);
  return creator;
}

void LoadedField::readAttributes(const FragmentRow& row, const std::string& link,
                                 CreativeArrayBase& creator) const {
  if ((row.attributes & FragmentRow::kAttributesOnObject) != 0) {
    const std::string inGroup =
        row.data.lie == Lie::Packed ? kAttributesGroup + ("/" + link) : link;
    const Hdf5Lock lock(place_->file().state());
    try {
      Storage::readAttributes(openObject(place_->file().id(), place_->group() + "/" + inGroup),
                              creator);
    } catch (const StorageError&) {  // a damaged file: whoever wants the data will be told
    }
  }
  if ((row.attributes & FragmentRow::kCellSizeInTable) != 0)
    creator.setAttribute(kCellSize, Larder::singleValue(row.cellSize));
}

}  // namespace Quilt::Storage
