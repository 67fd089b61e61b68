#include "recast/sheaf/storage/structure_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unordered_set>

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

}  // namespace

void StructureReader::damaged(const LinkPath& path, const std::string& reason) const {
  throw StorageError(file_.state().shownName, "read " + (path.empty() ? "/" : joined(path)),
                     reason);
}

template <class Visit>
void StructureReader::forEachChild(const LinkPath& path, hid_t group, Visit visit) {
  struct Child {
    std::string link;
    Id group;
    unsigned long long index = 0;
  };
  std::vector<Child> children;
  {
    const Hdf5Lock lock(file_.state());
    for (std::string& link : childLinks(group)) {
      Child child;
      if (!openChild(path, group, link, child.group)) continue;
      readNumbers(child.group, kIndexAttribute, &child.index, 1);
      child.link = std::move(link);
      children.push_back(std::move(child));
    }
  }
  std::stable_sort(children.begin(), children.end(),
                   [](const Child& a, const Child& b) { return a.index < b.index; });
  for (const Child& child : children) visit(child.link, child.group);
}

bool StructureReader::openChild(const LinkPath& path, hid_t group, const std::string& link,
                                Id& child) {
  if (!leadsSomewhere(group, link)) {
    tellLost(group, link);
    return false;
  }
  child = tryOpenGroup(group, link);
  if (!child.valid()) return false;  // a dataset, or something foreign
  H5O_info_t info;
  checked(H5Oget_info2(child, &info, H5O_INFO_BASIC), "look at", link);
  // Links to one group from many places could make few bytes take for ever.
  if (!visited_.emplace(info.fileno, info.addr).second)
    damaged(below(path, link), "the group has two places in the file");
  return true;
}

void StructureReader::tellLost(hid_t group, const std::string& link) const {
  const int systemError = lastSystemError();
  const auto target = externalTarget(group, link);
  H5Eclear2(H5E_DEFAULT);
  Larder::Console() << file_.state().shownName << ": \"" << unescapedName(link) << "\" lies in \""
                    << (target ? target->first : std::string("another place"))
                    << "\", which can't be opened"
                    << (systemError != 0 ? std::string(" (") + std::strerror(systemError) + ")"
                                         : "")
                    << "; it is left out.";
}

AttributeContent StructureReader::attributesOf(hid_t group) const {
  const Hdf5Lock lock(file_.state());
  AttributeContent content;
  readAttributes(group, content);
  return content;
}

FileContent StructureReader::read() {
  FileContent content;
  Id root;
  {
    const Hdf5Lock lock(file_.state());
    root = findGroup(file_, {});
    if (readText(root, kFormatAttribute) != kFormatName)
      damaged({}, "this is no .q8 file: it has no text \"@format\" of fixed length");
    unsigned long long version = 0;
    if (!readNumbers(root, kVersionAttribute, &version, 1)) damaged({}, "it has no version");
    if (version > kFormatVersion) damaged({}, "it was written by a newer version");
  }
  content.attributes = attributesOf(root);
  forEachChild({}, root,
               [&](const std::string& link, hid_t group) { readSlice({link}, group, content); });
  return content;
}

void StructureReader::readSlice(const LinkPath& path, hid_t group, FileContent& content) {
  SliceContent slice;
  {
    const Hdf5Lock lock(file_.state());
    if (!timeOf(path.back(), group, slice.time)) {
      Larder::Console() << file_.state().shownName << ": \"" << path.back()
                        << "\" is no slice: it has no time; it is left out.";
      return;
    }
  }
  slice.attributes = attributesOf(group);
  forEachChild(path, group, [&](const std::string& link, hid_t child) {
    slice.grids.push_back(readGrid(below(path, link), child));
  });
  content.slices.push_back(std::move(slice));
}

GridContent StructureReader::readGrid(const LinkPath& path, hid_t group) {
  GridContent grid;
  grid.name = unescapedName(path.back());
  grid.attributes = attributesOf(group);
  forEachChild(path, group, [&](const std::string& link, hid_t child) {
    SkeletonID id(0, 0);
    if (skeletonIdOf(unescapedName(link), id))
      grid.skeletons.push_back(readSkeleton(below(path, link), child, id));
  });
  return grid;
}

SkeletonContent StructureReader::readSkeleton(const LinkPath& path, hid_t group,
                                              const SkeletonID& id) {
  SkeletonContent skeleton;
  skeleton.id = id;
  skeleton.attributes = attributesOf(group);
  forEachChild(path, group, [&](const std::string& link, hid_t child) {
    skeleton.representations.push_back(readRepresentation(below(path, link), child));
  });
  return skeleton;
}

RepresentationContent StructureReader::readRepresentation(const LinkPath& path, hid_t group) {
  RepresentationContent representation;
  representation.name = unescapedName(path.back());
  representation.attributes = attributesOf(group);
  forEachChild(path, group, [&](const std::string& link, hid_t child) {
    FieldContent field = readField(below(path, link), child);
    const auto donor =
        std::find_if(representation.fields.begin(), representation.fields.end(),
                     [&field](const FieldContent& other) { return other.name == field.donor; });
    if (field.donor.empty()) {
      requireNumbers(field, field.identifiers.count);
    } else if (donor != representation.fields.end() && donor->donor.empty()) {
      requireNumbers(field, donor->identifiers.count);
    } else {
      Larder::Console() << file_.state().shownName << ": the field \"" << field.name
                        << "\" shares the fragments of \"" << field.donor
                        << "\", which isn't there before it; it is left out.";
      return;
    }
    representation.fields.push_back(std::move(field));
  });
  return representation;
}

FieldContent StructureReader::readField(const LinkPath& path, hid_t group) const {
  FieldContent field;
  field.path = path;
  field.name = unescapedName(path.back());
  field.attributes = attributesOf(group);
  const Hdf5Lock lock(file_.state());
  field.typeName = readText(group, kTypeAttribute);
  field.donor = readText(group, kIdentifiersAttribute);
  field.table = readTable(file_, group);
  if (field.donor.empty()) field.identifiers = readIdentifiers(path, group, field.table);
  std::array<double, 6> box;
  if (readNumbers(group, kBoxAttribute, box.data(), box.size())) field.box = box;
  return field;
}

IdentifierContent StructureReader::readIdentifiers(const LinkPath& path, hid_t group,
                                                   const FragmentTable& table) const {
  IdentifierContent identifiers;
  identifiers.count = identifierRows(table);
  unsigned long long counts[3];
  if (!readNumbers(group, kLatticeAttribute, counts, 3)) {
    identifiers.names = fragmentNames(path, table, identifiers.count);
    return identifiers;
  }
  identifiers.lattice = MultiIndex<3>(counts[0], counts[1], counts[2]);
  identifiers.prefix = readText(group, kPrefixAttribute);
  std::uint64_t places = 0;
  if (!DynamicSize(*identifiers.lattice).product(1, places) || places != identifiers.count)
    damaged(path, "the lattice and the table don't agree");
  return identifiers;
}

/// The names of a table's fragments, by their numbers.
std::vector<std::string> StructureReader::fragmentNames(const LinkPath& path,
                                                        const FragmentTable& table,
                                                        std::size_t count) const {
  if (count > 0 && !table.named()) damaged(path, "the fragments have no names");
  std::vector<std::string> names(count);
  std::unordered_set<std::string> known;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const FragmentRow row = table.row(i);
    if (!isIdentifier(row)) continue;
    std::string name = unescapedName(table.name(i));
    if (!known.insert(name).second) damaged(path, "two fragments have one name");
    // A number beyond the rows is found by `requireNumbers`.
    if (row.number >= 0 && row.number < static_cast<std::int64_t>(count))
      names[static_cast<std::size_t>(row.number)] = std::move(name);
  }
  return names;
}

/// Checks a field's table against the number of identifiers. A field that tells them numbers each
/// once.
void StructureReader::requireNumbers(const FieldContent& field, std::size_t identifiers) const {
  if (identifiers > UINT32_MAX) damaged(field.path, "it has more fragments than can be numbered");
  std::vector<bool> numbered(identifiers);
  for (std::size_t i = 0; i < field.table.size(); ++i) {
    const FragmentRow row = field.table.row(i);
    if (row.data.lie != Lie::Absent && field.typeName.empty())
      damaged(field.path, "its element type is not told");
    if (!isIdentifier(row)) continue;
    const auto number = static_cast<std::size_t>(row.number);
    if (number >= identifiers || numbered[number])
      damaged(field.path, "the table numbers fragments that there are not, or one twice");
    numbered[number] = true;
  }
}

}  // namespace Quilt::Storage
