#include "recast/sheaf/storage/structure_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <unordered_set>
#include <utility>

#include "recast/larder/console.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

bool skeletonIdOf(const std::string& link, SkeletonID& id) {
  return std::sscanf(link.c_str(), "Skeleton_%d_%d", &id.Dimension, &id.Depth) == 2 &&
         id.name() == link;
}

/// The time of a slice, by its attribute, or else by its name.
bool timeOf(const std::string& link, hid_t group, double& time) {
  if (!readNumbers(group, kTimeAttribute, &time, 1)) {
    const auto [end, error] = std::from_chars(link.data(), link.data() + link.size(), time);
    if (error != std::errc() || end != link.data() + link.size()) return false;
  }
  return !std::isnan(time);
}

bool isIdentifier(const FragmentRow& row) {
  return row.number != FragmentRow::kUndivided;
}

std::size_t identifierRows(const FragmentTable& table) {
  std::size_t rows = 0;
  for (std::size_t i = 0; i < table.size(); ++i) rows += isIdentifier(table.row(i)) ? 1 : 0;
  return rows;
}

[[noreturn]] void damaged(const Q8File& file, const LinkPath& path, const std::string& reason) {
  throw StorageError(file.state().shownName, "read " + (path.empty() ? "/" : joined(path)), reason);
}

}  // namespace

template <class Visit>
void StructureReader::forEachChild(const Node& node, Visit visit) {
  std::vector<Node> children = childrenOf(node);
  std::stable_sort(children.begin(), children.end(),
                   [](const Node& a, const Node& b) { return a.index < b.index; });
  for (const Node& child : children) visit(child);
}

std::vector<StructureReader::Node> StructureReader::childrenOf(const Node& node) {
  std::vector<Node> children;
  const Hdf5Lock lock(node.file->state());
  for (const std::string& link : childLinks(node.group)) {
    auto child = openChild(node, link);
    if (!child) continue;
    const Hdf5Lock childLock(child->file->state());
    readNumbers(child->group, kIndexAttribute, &child->index, 1);
    // Links to one group from many places could make few bytes take for ever.
    if (!visited_.insert(placeOf(child->group)).second)
      damaged(*child->file, child->path, "the group has two places in the file");
    children.push_back(std::move(*child));
  }
  return children;
}

/// The caller holds the lock of the node's file. \return nothing for a dataset or something
/// foreign, and for what is left out.
std::optional<StructureReader::Node> StructureReader::openChild(const Node& node,
                                                                const std::string& link) {
  Node child;
  child.file = node.file;
  child.path = below(node.path, link);
  child.link = link;
  child.inBundle = node.inBundle + "/" + link;
  if (const auto target = externalTarget(node.group, link)) {
    child.path = splitPath(target->second);
    return openLinked(node, std::move(child), target->first);
  }
  if (!leadsSomewhere(node.group, {link})) {
    leaveOut(child, "it leads nowhere", "leads nowhere");
    return std::nullopt;
  }
  child.group = openIfGroup(node.group, link);
  if (!child.group.valid()) return std::nullopt;
  return child;
}

/// What lies behind an external link; `child` says where in the file that the link names.
std::optional<StructureReader::Node> StructureReader::openLinked(const Node& node, Node child,
                                                                 const std::string& reference) {
  const std::string place = "lies in \"" + reference + "\", which ";
  child.file = linkedFiles_.open(*node.file, reference);
  if (!child.file) {
    leaveOut(child, place + "does not exist",
             place + "can't be opened (No such file or directory)");
    return std::nullopt;
  }
  {
    const Hdf5Lock lock(child.file->state());
    const Id root = openGroup(child.file->id(), "/");
    if (leadsSomewhere(root, child.path)) {
      child.group = openIfGroup(root, child.path.empty() ? "/" : joined(child.path));
      if (!child.group.valid()) return std::nullopt;
      return child;
    }
  }
  leaveOut(child, place + "does not hold it", place + "does not hold it");
  return std::nullopt;
}

void StructureReader::leaveOut(const Node& node, const std::string& reason,
                               const std::string& message) {
  leftOut_[node.inBundle] = reason;
  tellAfterLock("\"" + unescapedName(node.link) + "\" " + message + "; it is left out.");
}

AttributeContent StructureReader::attributesOf(const Node& node) const {
  const Hdf5Lock lock(node.file->state());
  AttributeContent content;
  readAttributes(node.group, content);
  return content;
}

FileContent StructureReader::read() {
  FileContent content;
  Node root;
  root.file = file_;
  {
    const Hdf5Lock lock(file_->state());
    root.group = openGroup(file_->id(), "/");
    if (readText(root.group, kFormatAttribute) != kFormatName)
      damaged(*file_, {}, "this is no .q8 file: it has no text \"@format\" of fixed length");
    unsigned long long version = 0;
    if (!readNumbers(root.group, kVersionAttribute, &version, 1))
      damaged(*file_, {}, "it has no version");
    if (version > kFormatVersion) damaged(*file_, {}, "it was written by a newer version");
  }
  content.attributes = attributesOf(root);
  forEachChild(root, [&](const Node& child) { readSlice(child, content); });
  content.leftOut = std::move(leftOut_);
  return content;
}

void StructureReader::readSlice(const Node& node, FileContent& content) {
  SliceContent slice;
  {
    const Hdf5Lock lock(node.file->state());
    if (!timeOf(node.link, node.group, slice.time)) {
      tellAfterLock("\"" + node.link + "\" is no slice: it has no time; it is left out.");
      return;
    }
  }
  slice.attributes = attributesOf(node);
  forEachChild(node, [&](const Node& child) { slice.grids.push_back(readGrid(child)); });
  content.slices.push_back(std::move(slice));
}

GridContent StructureReader::readGrid(const Node& node) {
  GridContent grid;
  grid.name = unescapedName(node.link);
  grid.attributes = attributesOf(node);
  forEachChild(node, [&](const Node& child) {
    SkeletonID id(0, 0);
    if (skeletonIdOf(unescapedName(child.link), id))
      grid.skeletons.push_back(readSkeleton(child, id));
  });
  return grid;
}

SkeletonContent StructureReader::readSkeleton(const Node& node, const SkeletonID& id) {
  SkeletonContent skeleton;
  skeleton.id = id;
  skeleton.attributes = attributesOf(node);
  forEachChild(node, [&](const Node& child) {
    skeleton.representations.push_back(readRepresentation(child));
  });
  return skeleton;
}

RepresentationContent StructureReader::readRepresentation(const Node& node) {
  RepresentationContent representation;
  representation.name = unescapedName(node.link);
  representation.attributes = attributesOf(node);
  forEachChild(node, [&](const Node& child) {
    FieldContent field = readField(child);
    const auto donor =
        std::find_if(representation.fields.begin(), representation.fields.end(),
                     [&field](const FieldContent& other) { return other.name == field.donor; });
    if (field.donor.empty()) {
      requireNumbers(field, field.identifiers.count);
    } else if (donor != representation.fields.end() && donor->donor.empty()) {
      requireNumbers(field, donor->identifiers.count);
    } else {
      const std::string reason =
          "shares the fragments of \"" + field.donor + "\", which isn't there before it";
      leftOut_[child.inBundle] = "it " + reason;
      Larder::Console() << file_->state().shownName << ": the field \"" << field.name << "\" "
                        << reason << "; it is left out.";
      return;
    }
    representation.fields.push_back(std::move(field));
  });
  return representation;
}

FieldContent StructureReader::readField(const Node& node) const {
  FieldContent field;
  field.file = node.file;
  field.path = node.path;
  field.bundlePath = node.inBundle;
  field.name = unescapedName(node.link);
  field.attributes = attributesOf(node);
  field.table = readTable(*node.file, node.group);
  const Hdf5Lock lock(node.file->state());
  field.typeName = readText(node.group, kTypeAttribute);
  field.donor = readText(node.group, kIdentifiersAttribute);
  if (field.donor.empty()) field.identifiers = readIdentifiers(node, field.table);
  std::array<double, 6> box;
  if (readNumbers(node.group, kBoxAttribute, box.data(), box.size())) field.box = box;
  return field;
}

IdentifierContent StructureReader::readIdentifiers(const Node& node,
                                                   const FragmentTable& table) const {
  IdentifierContent identifiers;
  identifiers.count = identifierRows(table);
  unsigned long long counts[3];
  if (!readNumbers(node.group, kLatticeAttribute, counts, 3)) {
    identifiers.names = fragmentNames(node, table, identifiers.count);
    return identifiers;
  }
  identifiers.lattice = MultiIndex<3>(counts[0], counts[1], counts[2]);
  identifiers.prefix = readText(node.group, kPrefixAttribute);
  std::uint64_t places = 0;
  if (!DynamicSize(*identifiers.lattice).product(1, places) || places != identifiers.count)
    damaged(*node.file, node.path, "the lattice and the table don't agree");
  return identifiers;
}

/// The names of a table's fragments, by their numbers.
std::vector<std::string> StructureReader::fragmentNames(const Node& node,
                                                        const FragmentTable& table,
                                                        std::size_t count) const {
  if (count > 0 && !table.named()) damaged(*node.file, node.path, "the fragments have no names");
  std::vector<std::string> names(count);
  std::unordered_set<std::string> known;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::int64_t number = table.number(i);
    if (number == FragmentRow::kUndivided) continue;
    std::string name = unescapedName(table.name(i));
    if (!known.insert(name).second) damaged(*node.file, node.path, "two fragments have one name");
    // A number beyond the rows is found by `requireNumbers`.
    if (number >= 0 && number < static_cast<std::int64_t>(count))
      names[static_cast<std::size_t>(number)] = std::move(name);
  }
  return names;
}

/// Checks a field's table against the number of identifiers. A field that tells them numbers each
/// once.
void StructureReader::requireNumbers(const FieldContent& field, std::size_t identifiers) const {
  const auto refuse = [&field](const char* reason) { damaged(*field.file, field.path, reason); };
  if (identifiers > UINT32_MAX) refuse("it has more fragments than can be numbered");
  std::vector<bool> numbered(identifiers);
  for (std::size_t i = 0; i < field.table.size(); ++i) {
    if (!field.table.isKnownKind(i)) refuse("the data of a fragment is of an unknown kind");
    if (field.table.hasData(i) && field.typeName.empty()) refuse("its element type is not told");
    if (field.table.number(i) == FragmentRow::kUndivided) continue;
    const auto number = static_cast<std::size_t>(field.table.number(i));
    if (number >= identifiers || numbered[number])
      refuse("the table numbers fragments that there are not, or one twice");
    numbered[number] = true;
  }
}

}  // namespace Quilt::Storage
