#include "recast/sheaf/storage/structure_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "recast/larder/console.h"
#include "recast/perch/bounding_box.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

bool skeletonIdOf(const std::string& link, SkeletonID& id) {
  int read = 0;
  return std::sscanf(link.c_str(), "Skeleton_%d_%d%n", &id.Dimension, &id.Depth, &read) == 2 &&
         static_cast<std::size_t>(read) == link.size();
}

template <int Property>
void giveTriple(FragmentID& fragment, const FragmentRow& row, const std::uint64_t (&triple)[3]) {
  if ((row.properties & (1U << (Property - 1))) == 0) return;
  FragmentLocation<3, Property>::make(fragment) =
      MultiIndex<3>(triple[0], triple[1], triple[2]);
}

LinkPath below(LinkPath path, const std::string& link) {
  path.push_back(link);
  return path;
}

std::size_t identifierRows(const FragmentTable& table) {
  std::size_t rows = 0;
  for (std::size_t i = 0; i < table.size(); ++i)
    rows += table.row(i).number != FragmentRow::kUndivided ? 1 : 0;
  return rows;
}

}  // namespace

void StructureReader::damaged(const LinkPath& path, const std::string& reason) const {
  throw StorageError(file_->state().shownName, "read " + joined(path), reason);
}

template <class Visit>
void StructureReader::forEachChild(hid_t group, Visit visit) const {
  struct Child {
    std::string link;
    Id group;
    unsigned long long index = 0;
  };
  std::vector<Child> children;
  for (const std::string& link : childLinks(group)) {
    if (H5Oexists_by_name(group, link.c_str(), H5P_DEFAULT) <= 0) {
      Larder::Console() << file_->state().shownName << ": \"" << unescapedName(link)
                        << "\" lies in another file, which can't be opened; it is left out.";
      continue;
    }
    Child child;
    child.link = link;
    child.group = Id(H5Gopen2(group, link.c_str(), H5P_DEFAULT));
    if (!child.group.valid()) continue;  // a dataset, or something foreign
    readNumbers(child.group, kIndexAttribute, &child.index, 1);
    children.push_back(std::move(child));
  }
  std::stable_sort(children.begin(), children.end(),
                   [](const Child& a, const Child& b) { return a.index < b.index; });
  for (const Child& child : children) visit(child.link, child.group);
}

void StructureReader::read() {
  const Hdf5Lock lock(file_->state());
  const Id root = findGroup(*file_, {});
  if (readText(root, kFormatAttribute) != kFormatName)
    damaged({}, "this is no .q8 file (an HDF5 file of another kind)");
  unsigned long long version = 0;
  if (!readNumbers(root, kVersionAttribute, &version, 1) || version > kFormatVersion)
    damaged({}, "it was written by a newer version");
  readAttributes(root, bundle_);
  forEachChild(root,
               [this](const std::string& link, hid_t group) { readSlice({link}, group); });
}

void StructureReader::readSlice(const LinkPath& path, hid_t group) {
  double time = 0.0;
  if (!readNumbers(group, kTimeAttribute, &time, 1) || std::isnan(time))
    damaged(path, "the slice has no time");
  const auto slice = bundle_[time];
  readAttributes(group, *slice);
  forEachChild(group, [&](const std::string& link, hid_t child) {
    const auto grid = (*slice)[unescapedName(link)];
    readGrid(below(path, link), child, *grid);
  });
}

void StructureReader::readGrid(const LinkPath& path, hid_t group, Grid& grid) {
  readAttributes(group, grid);
  forEachChild(group, [&](const std::string& link, hid_t child) {
    SkeletonID id(0, 0);
    if (!skeletonIdOf(unescapedName(link), id)) return;
    const auto skeleton = grid[id];
    readAttributes(child, *skeleton);
    forEachChild(child, [&](const std::string& name, hid_t object) {
      const std::string chart = unescapedName(name);
      if (chart == "Cartesian") grid.makeCartesianChart("");
      if (chart.starts_with("Cartesian:")) grid.makeCartesianChart(chart.substr(10));
      readRepresentation(below(below(path, link), name), object,
                         *skeleton->makeRepresentation(chart));
    });
  });
}

void StructureReader::readRepresentation(const LinkPath& path, hid_t group,
                                         Representation& representation) {
  readAttributes(group, representation);
  // What the bundle holds already of this representation shares its identifiers with what is added.
  const auto shared = representation.findSharedFragments();
  Donors donors;
  forEachChild(group, [&](const std::string& link, hid_t child) {
    readField(below(path, link), child, representation, shared, donors);
  });
}

void StructureReader::readField(const LinkPath& path, hid_t group, Representation& representation,
                                const Larder::StrongPtr<FragmentIDCollection>& shared,
                                Donors& donors) {
  const std::string name = unescapedName(path.back());
  const std::string typeName = readText(group, kTypeAttribute);
  const FragmentTable table = readTable(*file_, group);
  const std::string donor = readText(group, kIdentifiersAttribute);
  auto field = representation.findField(name);
  if (donor.empty()) {
    const auto present = field ? field->getFragmentIDCollection() : nullptr;
    donors[name] = readIdentifiers(path, group, table, present ? present : shared);
  } else if (!donors.contains(donor)) {
    damaged(path, "the field \"" + donor + "\" that tells its fragments isn't there before it");
  }
  const Identifiers& identifiers = donors[donor.empty() ? name : donor];
  if (!field) {
    field = Field::makeFor(identifiers.collection);
    representation[name] = field;
  }
  readAttributes(group, *field);
  double box[6];
  if (readNumbers(group, kBoxAttribute, box, 6))
    field->addInterface(Larder::makeStrong<Heron::BoundingBox>(
        Heron::PhysicalSpace::point(box[0], box[1], box[2]),
        Heron::PhysicalSpace::point(box[3], box[4], box[5])));
  try {
    attach(path, typeName, *field, table, identifiers);
  } catch (const std::out_of_range&) {
    damaged(path, "the table numbers fragments that there are not");
  }
}

StructureReader::Identifiers StructureReader::readIdentifiers(
    const LinkPath& path, hid_t group, const FragmentTable& table,
    const Larder::StrongPtr<FragmentIDCollection>& present) const {
  Identifiers result;
  const std::size_t count = identifierRows(table);
  const auto lattice = latticeIdentifiers(path, group, count);
  const std::vector<std::string> names =
      lattice ? std::vector<std::string>() : fragmentNames(path, table);
  const bool same = lattice && present && present->latticeSize() == lattice->latticeSize() &&
                    present->latticePrefix() == lattice->latticePrefix();
  result.collection = present            ? present
                      : lattice          ? lattice
                                         : Larder::makeStrong<FragmentIDCollection>();
  if (!same && !(lattice && !present)) {
    result.numbers.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
      result.numbers.push_back(
          result.collection
              ->makeFragmentID(
                  lattice ? lattice->findFragmentID(static_cast<std::uint32_t>(i))->name()
                          : names[i])
              ->number());
  }
  if (!present && result.collection->NumberOfFragmentIDs() != count)
    damaged(path, "two fragments have one name");
  for (std::size_t i = 0; i < table.size(); ++i) {
    const FragmentRow row = table.row(i);
    if (row.properties == 0 || row.number == FragmentRow::kUndivided) continue;
    const auto number = static_cast<std::size_t>(row.number);
    if (number >= count) damaged(path, "the table numbers fragments that there are not");
    const auto fragment = result.collection->findFragmentID(
        result.numbers.empty() ? static_cast<std::uint32_t>(number) : result.numbers[number]);
    giveTriple<PlaceInGrid>(*fragment, row, row.location);
    giveTriple<LowerOverlap>(*fragment, row, row.lowerOverlap);
    giveTriple<UpperOverlap>(*fragment, row, row.upperOverlap);
  }
  return result;
}

/// The names of a table's fragments, by their numbers.
std::vector<std::string> StructureReader::fragmentNames(const LinkPath& path,
                                                        const FragmentTable& table) const {
  std::vector<std::string> names(identifierRows(table));
  std::vector<bool> named(names.size());
  if (!names.empty() && !table.named()) damaged(path, "the fragments have no names");
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::int64_t number = table.row(i).number;
    if (number == FragmentRow::kUndivided) continue;
    const auto place = static_cast<std::size_t>(number);
    if (place >= names.size() || named[place])
      damaged(path, "the table numbers fragments that there are not");
    named[place] = true;
    names[place] = unescapedName(table.name(i));
  }
  return names;
}

/// The identifiers of the lattice that the field tells; null if it tells none.
Larder::StrongPtr<FragmentIDCollection> StructureReader::latticeIdentifiers(
    const LinkPath& path, hid_t group, std::size_t identifiers) const {
  unsigned long long counts[3];
  if (!readNumbers(group, kLatticeAttribute, counts, 3)) return nullptr;
  const MultiIndex<3> size(counts[0], counts[1], counts[2]);
  std::uint64_t product = 0;
  if (!DynamicSize(size).product(1, product) || product != identifiers)
    damaged(path, "the lattice and the table don't agree");
  auto collection = Larder::makeStrong<FragmentIDCollection>();
  collection->setFragmentNames<3>(size, readText(group, kPrefixAttribute));
  return collection;
}

void StructureReader::attach(const LinkPath& path, const std::string& typeName, Field& field,
                             const FragmentTable& table, const Identifiers& identifiers) const {
  const auto present = field.getElementType();
  if (present && !typeName.empty() && present->TypeName != typeName) {
    Larder::Console() << file_->state().shownName << ": the field \"" << unescapedName(path.back())
                      << "\" holds elements of " << typeName << ", the bundle's of "
                      << present->TypeName << "; the file's are left out.";
    return;
  }
  if (typeName.empty()) return;
  std::size_t doubles = 0;
  for (std::size_t i = 0; i < table.size(); ++i) {
    const FragmentRow row = table.row(i);
    if (row.lie == Lie::Absent || row.number == FragmentRow::kUndivided) continue;
    const auto inFile = static_cast<std::size_t>(row.number);
    const auto number = identifiers.numbers.empty() ? static_cast<std::uint32_t>(inFile)
                                                    : identifiers.numbers.at(inFile);
    if (field.madeCreator(number) || (field.source() && field.source()->holds(number))) ++doubles;
  }
  if (doubles > 0)
    Larder::Console() << file_->state().shownName << ": " << doubles << " fragments of the field \""
                      << unescapedName(path.back())
                      << "\" have names that the bundle has data for; the file's are left out.";
  const auto place = Larder::makeStrong<FieldPlace>(file_, joined(path), typeName);
  field.setSource(Larder::makeStrong<LoadedField>(place, identifiers.collection, table,
                                                  identifiers.numbers, field.source()),
                  typeName);
}

}  // namespace Quilt::Storage
