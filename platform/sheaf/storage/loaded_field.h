#pragma once

#include <vector>

#include "recast/meadow/field.h"
#include "recast/sheaf/storage/stored_array.h"

namespace Quilt::Storage {

/// What a file holds of one field: makes the fragments' creators when they are asked for.
class LoadedField : public FieldSource {
 public:
  /// \param fragments the field's identifiers, which name the fragments' data.
  /// \param numbers the number in `fragments` for each number in the file; empty if they are the same.
  /// \param former what other files hold of the field; theirs comes first. May be null.
  /// \throw std::out_of_range if the table numbers fragments that there aren't.
  LoadedField(const Larder::StrongPtr<FieldPlace>& place,
              const Larder::StrongPtr<FragmentIDCollection>& fragments,
              FragmentTable table, const std::vector<std::uint32_t>& numbers,
              const Larder::StrongPtr<FieldSource>& former);

  CreatorHandle makeCreator(std::uint32_t number) override;
  CreatorHandle makeWholeCreator() override;
  bool holds(std::uint32_t number) const override;

 private:
  CreatorHandle creatorFor(const FragmentRow& row, const FragmentID* fragment) const;
  void readAttributes(const FragmentRow& row, const std::string& link,
                      CreativeArrayBase& creator) const;

  Larder::StrongPtr<FieldPlace> place_;
  Larder::StrongPtr<FragmentIDCollection> fragments_;
  Larder::StrongPtr<FieldSource> former_;
  FragmentTable table_;
  std::vector<std::uint32_t> rowOf_;  // by running number: the row's place + 1, 0 for none
  std::int64_t undivided_ = -1;       // the row of the undivided data
};

}  // namespace Quilt::Storage
