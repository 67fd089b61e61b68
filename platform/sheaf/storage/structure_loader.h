#pragma once

#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "recast/sheaf/bundle.h"
#include "recast/sheaf/storage/file_content.h"
#include "recast/sheaf/storage/loaded_field.h"

namespace Quilt::Storage {

/// What becomes of a fragment of a file for which some field has data in the bundle too.
enum class EqualNames {
  Rename,      ///< it joins under a name of its own, with the data of all its fields
  KeepPresent  ///< the bundle's data stays in its place; the file's is left out
};

/// Brings the content of a file into a bundle, which may hold something already: slices, grids,
/// fields and fragments of equal names become one, and what the bundle holds comes first.
class StructureLoader {
 public:
  StructureLoader(const FileHandle& file, Bundle& bundle, EqualNames onEqualNames)
      : file_(file), bundle_(bundle), onEqualNames_(onEqualNames) {}

  void load(const FileContent& content);

 private:
  /// The identifiers that fields of one representation share.
  struct Identifiers {
    Larder::StrongPtr<FragmentIDCollection> collection;
    FragmentNumbers numbers;
    std::size_t count = 0;
    /// The names in the file; null if the bundle's are the same.
    std::shared_ptr<const IdentifierContent> inFile;
  };
  using Donors = std::map<std::string, Identifiers>;
  /// New names of fragments, by those in the file.
  using Renames = std::unordered_map<std::string, std::string>;

  void loadGrid(const GridContent& content, Grid& grid);
  void loadRepresentation(const RepresentationContent& content, Representation& representation);
  void loadField(const FieldContent& content, Representation& representation,
                 const Larder::StrongPtr<FragmentIDCollection>& shared, const Renames& renames,
                 Donors& donors);
  Renames renamesFor(const RepresentationContent& content,
                     const Representation& representation) const;
  Identifiers identifiersOf(const FieldContent& content,
                            const Larder::StrongPtr<FragmentIDCollection>& collection,
                            const Renames& renames);
  Identifiers ownIdentifiers(Field& field, const Identifiers& shared);
  void loadBox(const FieldContent& content, Field& field, bool isNew);
  void attach(const FieldContent& content, Field& field, const Identifiers& identifiers) const;
  std::size_t countDoubles(const FragmentTable& table, const Field& field,
                           const FragmentNumbers& numbers) const;

  FileHandle file_;
  Bundle& bundle_;
  EqualNames onEqualNames_;
};

}  // namespace Quilt::Storage
