#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "recast/meadow/field.h"
#include "recast/sheaf/storage/stored_array.h"

namespace Quilt::Storage {

class FieldStore;

/// What is known of the packed fragments of a field whose creators the field has let go of: makes
/// these again. There may be millions, so that only what says something is kept, some 40 bytes for
/// a fragment of plain numbers. Safe in several threads at once.
class ReleasedFragments : public FieldSource {
 public:
  /// \param store what is written of the field; brings data to the file that is to be read while
  /// the file is being written.
  /// \param former the field's source so far, or null.
  ReleasedFragments(const Larder::StrongPtr<FieldPlace>& place,
                    const std::weak_ptr<FieldStore>& store,
                    const Larder::StrongPtr<FieldSource>& former)
      : place_(place), store_(store), former_(former) {}

  /// Keeps `row`, which tells all of the fragment of that number.
  void keep(std::uint32_t number, const FragmentRow& row);
  /// Other data has taken the fragment's place.
  void remove(std::uint32_t number);
  /// Whether the fragment is kept here, and its row.
  bool keeps(std::uint32_t number) const;
  std::optional<FragmentRow> rowOf(std::uint32_t number) const;

  CreatorHandle makeCreator(std::uint32_t number) override;
  CreatorHandle makeWholeCreator() override;
  bool holds(std::uint32_t number) const override;
  Larder::StrongPtr<FieldSource> former() const override { return former_; }

 private:
  Larder::StrongPtr<FieldPlace> place_;
  std::weak_ptr<FieldStore> store_;
  Larder::StrongPtr<FieldSource> former_;
  mutable std::mutex mutex_;
  std::vector<std::size_t> ends_;  // by running number: where the row ends in `bytes_`, 0 for none
  std::vector<std::byte> bytes_;
};

}  // namespace Quilt::Storage
