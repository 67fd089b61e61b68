#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "recast/meadow/field.h"
#include "recast/sheaf/storage/file_content.h"
#include "recast/sheaf/storage/stored_array.h"

namespace Quilt::Storage {

/// How the numbers of a file's fragments become those of the bundle's identifiers.
class FragmentNumbers {
 public:
  /// They are the same.
  FragmentNumbers() = default;
  /// Number i of the file is `inBundle[i]`.
  explicit FragmentNumbers(std::vector<std::uint32_t> inBundle) : inBundle_(std::move(inBundle)) {}

  /// \pre the file's table numbers a fragment so.
  std::uint32_t operator()(std::int64_t inFile) const {
    return inBundle_ ? (*inBundle_)[static_cast<std::size_t>(inFile)]
                     : static_cast<std::uint32_t>(inFile);
  }

 private:
  std::optional<std::vector<std::uint32_t>> inBundle_;
};

/// What a file holds of one field: makes the fragments' creators when they are asked for.
class LoadedField : public FieldSource {
 public:
  /// \param bundleFile the bundle's file, which may hold no more than a link to the field.
  /// \param bundlePath of the field, or the link, in that file.
  /// \param fragments the field's identifiers, which name the fragments' data.
  /// \param table its numbers are within those that `numbers` takes.
  /// \param inFile the fragments' names in the file; null if they are those of `fragments`.
  /// \param former what other files hold of the field; theirs comes first. May be null.
  LoadedField(const FileHandle& bundleFile, std::string bundlePath,
              const Larder::StrongPtr<FieldPlace>& place,
              const Larder::StrongPtr<FragmentIDCollection>& fragments, FragmentTable table,
              const FragmentNumbers& numbers, std::shared_ptr<const IdentifierContent> inFile,
              const Larder::StrongPtr<FieldSource>& former);

  CreatorHandle makeCreator(std::uint32_t number) override;
  CreatorHandle makeWholeCreator() override;
  bool holds(std::uint32_t number) const override;

  const FileHandle& bundleFile() const { return bundleFile_; }
  const std::string& bundlePath() const { return bundlePath_; }
  const Larder::StrongPtr<FieldPlace>& place() const { return place_; }
  Larder::StrongPtr<FieldSource> former() const override { return former_; }
  /// The file's row of the fragment of that number in the bundle, or of the undivided data for
  /// `FragmentRow::kUndivided`; nothing if the file has no such data.
  std::optional<FragmentRow> rowOf(std::int64_t number) const;
  /// Whether the data of that number comes from this file and not from a former one.
  bool supplies(std::int64_t number) const;

 private:
  std::string linkOf(std::uint32_t number, const FragmentRow& row) const;

  FileHandle bundleFile_;
  std::string bundlePath_;
  Larder::StrongPtr<FieldPlace> place_;
  Larder::StrongPtr<FragmentIDCollection> fragments_;
  std::shared_ptr<const IdentifierContent> inFile_;
  Larder::StrongPtr<FieldSource> former_;
  FragmentTable table_;
  std::vector<std::uint32_t> rowOf_;  // by running number: the row's place + 1, 0 for none
  std::uint32_t undivided_ = 0;       // the same for the undivided data
};

}  // namespace Quilt::Storage
