#pragma once

#include <map>
#include <string>

#include "recast/sheaf/bundle.h"
#include "recast/sheaf/storage/file_content.h"
#include "recast/sheaf/storage/loaded_field.h"

namespace Quilt::Storage {

/// Brings what a file tells into a bundle, which may hold something already: what has the same
/// names is joined, and what the bundle holds comes first.
class StructureLoader {
 public:
  StructureLoader(const FileHandle& file, Bundle& bundle) : file_(file), bundle_(bundle) {}

  void load(const FileContent& content);

 private:
  /// The identifiers that fields of one representation share.
  struct Identifiers {
    Larder::StrongPtr<FragmentIDCollection> collection;
    FragmentNumbers numbers;
    std::size_t count = 0;
  };
  using Donors = std::map<std::string, Identifiers>;

  void loadGrid(const GridContent& content, Grid& grid);
  void loadRepresentation(const RepresentationContent& content, Representation& representation);
  void loadField(const FieldContent& content, Representation& representation,
                 const Larder::StrongPtr<FragmentIDCollection>& shared, Donors& donors);
  Identifiers identifiersOf(const FieldContent& content,
                            const Larder::StrongPtr<FragmentIDCollection>& collection);
  Identifiers ownIdentifiers(Field& field, const Identifiers& shared);
  void loadBox(const FieldContent& content, Field& field, bool isNew);
  void attach(const FieldContent& content, Field& field, const Identifiers& identifiers) const;
  std::size_t countDoubles(const FragmentTable& table, const Field& field,
                           const FragmentNumbers& numbers) const;

  FileHandle file_;
  Bundle& bundle_;
};

}  // namespace Quilt::Storage
