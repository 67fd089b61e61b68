#pragma once

#include <optional>
#include <set>
#include <string>

#include "recast/sheaf/storage/file_content.h"
#include "recast/sheaf/storage/linked_files.h"

namespace Quilt::Storage {

/// Reads what a file tells of its bundle: slices, grids, skeletons, representations, fields and
/// fragments, no data. What the file says is checked: sizes against the bytes that there are,
/// numbers against each other. The lock is held for one group at a time.
///
/// An external link to a file that does not exist costs what lies there, with a message. Whatever
/// else can't be read fails the whole.
class StructureReader {
 public:
  explicit StructureReader(const FileHandle& file) : file_(file) {}

  /// \throw StorageError if the file is none of ours or damaged
  FileContent read();

 private:
  /// A group, and where it lies.
  struct Node {
    FileHandle file;
    LinkPath path;         // in that file
    std::string link;      // the last one that leads here
    std::string inBundle;  // all of them: "/a/b" from the root of the bundle's file
    Id group;
    unsigned long long index = 0;
  };

  /// Calls `visit` with each child of a group that is a group itself, in their order.
  template <class Visit>
  void forEachChild(const Node& node, Visit visit);
  std::vector<Node> childrenOf(const Node& node);
  std::optional<Node> openChild(const Node& node, const std::string& link);
  std::optional<Node> openLinked(const Node& node, Node child, const std::string& reference);
  void leaveOut(const Node& node, const std::string& reason, const std::string& message);
  AttributeContent attributesOf(const Node& node) const;
  void readSlice(const Node& node, FileContent& content);
  GridContent readGrid(const Node& node);
  SkeletonContent readSkeleton(const Node& node, const SkeletonID& id);
  RepresentationContent readRepresentation(const Node& node);
  FieldContent readField(const Node& node) const;
  IdentifierContent readIdentifiers(const Node& node, const FragmentTable& table) const;
  std::vector<std::string> fragmentNames(const Node& node, const FragmentTable& table,
                                         std::size_t count) const;
  void requireNumbers(const FieldContent& field, std::size_t identifiers) const;

  FileHandle file_;
  LinkedFiles linkedFiles_;
  LeftOut leftOut_;
  std::set<ObjectPlace> visited_;  // groups
};

}  // namespace Quilt::Storage
