#pragma once

#include <set>
#include <string>
#include <utility>

#include "recast/sheaf/storage/file_content.h"

namespace Quilt::Storage {

/// Reads what a file tells of its bundle: slices, grids, skeletons, representations, fields and
/// fragments, no data. What the file says is checked: sizes against the bytes that there are,
/// numbers against each other. The lock is held for one group at a time.
class StructureReader {
 public:
  explicit StructureReader(Q8File& file) : file_(file) {}

  /// \throw StorageError if the file is none of ours or damaged
  FileContent read();

 private:
  /// Calls `visit` with link and group of each child of a group, in their order.
  template <class Visit>
  void forEachChild(const LinkPath& path, hid_t group, Visit visit);
  bool openChild(const LinkPath& path, hid_t group, const std::string& link, Id& child);
  void tellLost(hid_t group, const std::string& link) const;
  AttributeContent attributesOf(hid_t group) const;
  void readSlice(const LinkPath& path, hid_t group, FileContent& content);
  GridContent readGrid(const LinkPath& path, hid_t group);
  SkeletonContent readSkeleton(const LinkPath& path, hid_t group, const SkeletonID& id);
  RepresentationContent readRepresentation(const LinkPath& path, hid_t group);
  FieldContent readField(const LinkPath& path, hid_t group) const;
  IdentifierContent readIdentifiers(const LinkPath& path, hid_t group,
                                    const FragmentTable& table) const;
  std::vector<std::string> fragmentNames(const LinkPath& path, const FragmentTable& table,
                                         std::size_t count) const;
  void requireNumbers(const FieldContent& field, std::size_t identifiers) const;
  [[noreturn]] void damaged(const LinkPath& path, const std::string& reason) const;

  Q8File& file_;
  std::set<std::pair<unsigned long, haddr_t>> visited_;  // groups, by file and address
};

}  // namespace Quilt::Storage
