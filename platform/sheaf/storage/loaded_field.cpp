#include "recast/sheaf/storage/loaded_field.h"

#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"

namespace Quilt::Storage {

LoadedField::LoadedField(const Larder::StrongPtr<FieldPlace>& place,
                         const Larder::StrongPtr<FragmentIDCollection>& fragments,
                         FragmentTable table, const std::vector<std::uint32_t>& numbers,
                         const Larder::StrongPtr<FieldSource>& former)
    : place_(place), fragments_(fragments), former_(former), table_(std::move(table)) {
  rowOf_.resize(fragments_ ? fragments_->NumberOfFragmentIDs() : 0);
  for (std::size_t i = 0; i < table_.size(); ++i) {
    const FragmentRow row = table_.row(i);
    if (row.lie == Lie::Absent) continue;
    if (row.number == FragmentRow::kUndivided) {
      undivided_ = static_cast<std::int64_t>(i);
      continue;
    }
    const auto inFile = static_cast<std::size_t>(row.number);
    rowOf_.at(numbers.empty() ? inFile : numbers.at(inFile)) = static_cast<std::uint32_t>(i + 1);
  }
}

bool LoadedField::holds(std::uint32_t number) const {
  return (number < rowOf_.size() && rowOf_[number] != 0) || (former_ && former_->holds(number));
}

CreatorHandle LoadedField::makeCreator(std::uint32_t number) {
  if (former_)
    if (CreatorHandle creator = former_->makeCreator(number)) return creator;
  if (number >= rowOf_.size() || rowOf_[number] == 0) return nullptr;
  return creatorFor(table_.row(rowOf_[number] - 1), fragments_->findFragmentID(number).rawptr());
}

CreatorHandle LoadedField::makeWholeCreator() {
  if (former_)
    if (CreatorHandle creator = former_->makeWholeCreator()) return creator;
  if (undivided_ < 0) return nullptr;
  return creatorFor(table_.row(static_cast<std::size_t>(undivided_)), nullptr);
}

CreatorHandle LoadedField::creatorFor(const FragmentRow& row, const FragmentID* fragment) const {
  const std::string link = fragmentLink(fragment);
  const auto stored = Larder::makeStrong<StoredArray>(place_, link, row);
  CreatorHandle creator(new CreativeArrayBase(stored, place_->typeName()));
  creator->setExtent(row.dataExtent());
  if (row.attributes != 0) readAttributes(row, link, *creator);
  return creator;
}

void LoadedField::readAttributes(const FragmentRow& row, const std::string& link,
                                 CreativeArrayBase& creator) const {
  if ((row.attributes & FragmentRow::kAttributesOnObject) != 0) {
    const std::string path =
        place_->group() + "/" +
        (row.lie == Lie::Packed ? kAttributesGroup + ("/" + std::to_string(row.number)) : link);
    const Hdf5Lock lock(place_->file().state());
    if (const Id object(H5Oopen(place_->file().id(), path.c_str(), H5P_DEFAULT)); object.valid())
      Storage::readAttributes(object, creator);
    H5Eclear2(H5E_DEFAULT);
  }
  if ((row.attributes & FragmentRow::kCellSizeInTable) != 0)
    creator.setAttribute(kCellSize, Larder::singleValue(row.cellSize));
}

}  // namespace Quilt::Storage
