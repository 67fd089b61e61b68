#pragma once

#include <map>
#include <string>
#include <vector>

#include "recast/sheaf/bundle.h"
#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/loaded_field.h"

namespace Quilt::Storage {

/// Reads what a file tells of its bundle (slices, grids, skeletons, representations, fields and
/// fragments, no data) into a bundle, which may hold something already.
///
/// What the file says is checked before it is used: sizes against the bytes that there are, numbers
/// against each other.
class StructureReader {
 public:
  StructureReader(const FileHandle& file, Bundle& bundle) : file_(file), bundle_(bundle) {}

  /// \throw StorageError if the file is none of ours or damaged; the bundle then holds a part of it.
  void read();

 private:
  /// The identifiers that fields of one representation share.
  struct Identifiers {
    Larder::StrongPtr<FragmentIDCollection> collection;
    std::vector<std::uint32_t> numbers;  // by the file's numbers; empty if they are the same
  };
  /// By the name of the field whose table tells them.
  using Donors = std::map<std::string, Identifiers>;

  /// Calls `visit` with link and group of each child of a group, in their order.
  template <class Visit>
  void forEachChild(hid_t group, Visit visit) const;
  void readSlice(const LinkPath& path, hid_t group);
  void readGrid(const LinkPath& path, hid_t group, Grid& grid);
  void readRepresentation(const LinkPath& path, hid_t group, Representation& representation);
  void readField(const LinkPath& path, hid_t group, Representation& representation,
                 const Larder::StrongPtr<FragmentIDCollection>& shared, Donors& donors);
  Identifiers readIdentifiers(const LinkPath& path, hid_t group, const FragmentTable& table,
                              const Larder::StrongPtr<FragmentIDCollection>& present) const;
  std::vector<std::string> fragmentNames(const LinkPath& path, const FragmentTable& table) const;
  Larder::StrongPtr<FragmentIDCollection> latticeIdentifiers(const LinkPath& path, hid_t group,
                                                             std::size_t identifiers) const;
  void attach(const LinkPath& path, const std::string& typeName, Field& field,
              const FragmentTable& table, const Identifiers& identifiers) const;
  [[noreturn]] void damaged(const LinkPath& path, const std::string& reason) const;

  FileHandle file_;
  Bundle& bundle_;
};

}  // namespace Quilt::Storage
