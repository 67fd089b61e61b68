#include "recast/sheaf/storage/loaded_field.h"

#include "recast/sheaf/storage/fragment_creators.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {

LoadedField::LoadedField(const FileHandle& bundleFile, std::string bundlePath,
                         const Larder::StrongPtr<FieldPlace>& place,
                         const Larder::StrongPtr<FragmentIDCollection>& fragments,
                         FragmentTable table, const FragmentNumbers& numbers,
                         std::shared_ptr<const IdentifierContent> inFile,
                         const Larder::StrongPtr<FieldSource>& former)
    : bundleFile_(bundleFile),
      bundlePath_(std::move(bundlePath)),
      place_(place),
      fragments_(fragments),
      inFile_(std::move(inFile)),
      former_(former),
      table_(std::move(table)) {
  rowOf_.resize(fragments_->NumberOfFragmentIDs());
  for (std::size_t i = 0; i < table_.size(); ++i) {
    if (!table_.hasData(i)) continue;
    const auto place1 = static_cast<std::uint32_t>(i + 1);
    if (table_.number(i) == FragmentRow::kUndivided)
      undivided_ = place1;
    else
      rowOf_.at(numbers(table_.number(i))) = place1;
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
  return row ? creatorOf(place_, linkOf(number, *row), *row) : nullptr;
}

/// The link of the fragment's data, which has the fragment's name in the file.
std::string LoadedField::linkOf(std::uint32_t number, const FragmentRow& row) const {
  if (!inFile_) return fragmentLink(fragments_->findFragmentID(number).rawptr());
  return escapedName(inFile_->nameOf(static_cast<std::size_t>(row.number)));
}

CreatorHandle LoadedField::makeWholeCreator() {
  if (former_)
    if (CreatorHandle creator = former_->makeWholeCreator()) return creator;
  const auto row = rowOf(FragmentRow::kUndivided);
  return row ? creatorOf(place_, fragmentLink(nullptr), *row) : nullptr;
}

}  // namespace Quilt::Storage
