#include "recast/sheaf/storage/structure_loader.h"

#include <algorithm>
#include <set>

#include "recast/larder/console.h"
#include "recast/perch/bounding_box.h"

namespace Quilt::Storage {
namespace {

using CollectionHandle = Larder::StrongPtr<FragmentIDCollection>;

template <int Property>
void giveTriple(FragmentID& fragment, const FragmentRow& row, const std::uint64_t (&triple)[3]) {
  if ((row.properties & (1U << (Property - 1))) == 0) return;
  FragmentLocation<3, Property>::make(fragment) = MultiIndex<3>(triple[0], triple[1], triple[2]);
}

CollectionHandle newCollection(const IdentifierContent& content) {
  auto collection = Larder::makeStrong<FragmentIDCollection>();
  if (content.lattice) collection->setFragmentNames<3>(*content.lattice, content.prefix);
  return collection;
}

/// Whether the collection has the identifiers of a lattice under the same numbers.
bool isSameLattice(const IdentifierContent& content, const FragmentIDCollection& collection) {
  return content.lattice && DynamicSize(*content.lattice) == collection.latticeSize() &&
         content.prefix == collection.latticePrefix();
}

bool holdsData(const Field& field, const std::string& fragment) {
  const auto fragments = field.getFragmentIDCollection();
  const auto id = fragments ? fragments->findFragmentIDByName(fragment) : nullptr;
  return id && field.hasData(id);
}

/// The identifiers that a field of the file lists or shares.
const IdentifierContent& identifiersIn(const RepresentationContent& content,
                                       const FieldContent& field) {
  if (field.donor.empty()) return field.identifiers;
  const auto donor =
      std::find_if(content.fields.begin(), content.fields.end(),
                   [&field](const FieldContent& other) { return other.name == field.donor; });
  return donor->identifiers;
}

/// The numbers of the identifiers that stand for those of the file, which are numbered up to
/// `count`.
template <class IdentifierOf>
FragmentNumbers numbersIn(std::size_t count, IdentifierOf identifierOf) {
  std::vector<std::uint32_t> numbers;
  numbers.reserve(count);
  for (std::size_t i = 0; i < count; ++i) numbers.push_back(identifierOf(i)->number());
  return FragmentNumbers(std::move(numbers));
}

void giveTriples(const FragmentTable& table, const FragmentIDCollection& collection,
                 const FragmentNumbers& numbers) {
  for (std::size_t i = 0; i < table.size(); ++i) {
    const FragmentRow row = table.row(i);
    if (row.properties == 0 || row.number == FragmentRow::kUndivided) continue;
    const auto fragment = collection.findFragmentID(numbers(row.number));
    giveTriple<PlaceInGrid>(*fragment, row, row.location);
    giveTriple<LowerOverlap>(*fragment, row, row.lowerOverlap);
    giveTriple<UpperOverlap>(*fragment, row, row.upperOverlap);
  }
}

}  // namespace

void StructureLoader::load(const FileContent& content) {
  content.attributes.giveTo(bundle_);
  for (const SliceContent& slice : content.slices) {
    const auto target = bundle_[slice.time];
    slice.attributes.giveTo(*target);
    for (const GridContent& grid : slice.grids) loadGrid(grid, *(*target)[grid.name]);
  }
}

void StructureLoader::loadGrid(const GridContent& content, Grid& grid) {
  constexpr const char* kCartesian = "Cartesian";
  const std::string kNamedChart = std::string(kCartesian) + ":";
  content.attributes.giveTo(grid);
  for (const SkeletonContent& skeleton : content.skeletons) {
    const auto target = grid[skeleton.id];
    skeleton.attributes.giveTo(*target);
    for (const RepresentationContent& representation : skeleton.representations) {
      const std::string& name = representation.name;
      if (name == kCartesian) grid.makeCartesianChart("");
      if (name.starts_with(kNamedChart)) grid.makeCartesianChart(name.substr(kNamedChart.size()));
      loadRepresentation(representation, *target->makeRepresentation(name));
    }
  }
}

void StructureLoader::loadRepresentation(const RepresentationContent& content,
                                         Representation& representation) {
  content.attributes.giveTo(representation);
  // What the bundle holds already of this representation shares its identifiers with what is added.
  const auto shared = representation.findSharedFragments();
  const Renames renames =
      onEqualNames_ == EqualNames::Rename ? renamesFor(content, representation) : Renames();
  Donors donors;
  for (const FieldContent& field : content.fields)
    loadField(field, representation, shared, renames, donors);
}

/// Names for the fragments of the file of which a field has data on both sides. A fragment means
/// the same for all fields, so that all its data gets the new name.
StructureLoader::Renames StructureLoader::renamesFor(const RepresentationContent& content,
                                                     const Representation& representation) const {
  Renames renames;
  for (const FieldContent& inFile : content.fields) {
    const auto field = representation.findField(inFile.name);
    if (!field) continue;
    const IdentifierContent& identifiers = identifiersIn(content, inFile);
    for (std::size_t i = 0; i < inFile.table.size(); ++i) {
      if (!inFile.table.hasData(i) || inFile.table.number(i) == FragmentRow::kUndivided) continue;
      std::string name = identifiers.nameOf(static_cast<std::size_t>(inFile.table.number(i)));
      if (holdsData(*field, name)) renames.try_emplace(std::move(name));
    }
  }
  if (renames.empty()) return renames;
  std::set<std::string> taken;
  representation.iterate([&taken](const FieldID&, const Field& field) {
    for (const auto& fragment : field.getFragmentIDs()) taken.insert(fragment->name());
    return true;
  });
  for (const FieldContent& field : content.fields)
    for (std::size_t i = 0; i < field.identifiers.count; ++i)
      taken.insert(field.identifiers.nameOf(i));
  for (auto& [name, fresh] : renames)
    for (int n = 2; fresh.empty(); ++n)
      if (const std::string candidate = name + "_" + std::to_string(n);
          taken.insert(candidate).second)
        fresh = candidate;
  const auto& [name, fresh] = *renames.begin();
  Larder::Console() << file_->state().shownName << ": " << renames.size()
                    << " fragments have names that the bundle holds data for; they join it under "
                       "names of their own: \""
                    << name << "\" as \"" << fresh << "\"" << (renames.size() > 1 ? " ..." : ".");
  return renames;
}

void StructureLoader::loadField(const FieldContent& content, Representation& representation,
                                const CollectionHandle& shared, const Renames& renames,
                                Donors& donors) {
  auto field = representation.findField(content.name);
  const bool isNew = !field;
  const auto own = field ? field->getFragmentIDCollection() : nullptr;
  if (content.donor.empty())
    donors[content.name] = identifiersOf(content, own ? own : shared, renames);
  Identifiers identifiers = donors.at(content.donor.empty() ? content.name : content.donor);
  if (isNew) {
    field = Field::makeFor(identifiers.collection);
    representation[content.name] = field;
  } else if (own != identifiers.collection) {
    identifiers = ownIdentifiers(*field, identifiers);
  }
  content.attributes.giveTo(*field);
  loadBox(content, *field, isNew);
  attach(content, *field, identifiers);
}

/// The identifiers that a field lists, as those of `collection` or, if that is null, of their own.
StructureLoader::Identifiers StructureLoader::identifiersOf(const FieldContent& content,
                                                            const CollectionHandle& collection,
                                                            const Renames& renames) {
  const IdentifierContent& inFile = content.identifiers;
  Identifiers result;
  result.count = inFile.count;
  result.collection = collection ? collection : newCollection(inFile);
  if (!renames.empty()) result.inFile = std::make_shared<const IdentifierContent>(inFile);
  if (!renames.empty() || !isSameLattice(inFile, *result.collection))
    result.numbers = numbersIn(inFile.count, [&](std::size_t i) {
      const std::string name = inFile.nameOf(i);
      const auto renamed = renames.find(name);
      return result.collection->makeFragmentID(renamed == renames.end() ? name : renamed->second);
    });
  giveTriples(content.table, *result.collection, result.numbers);
  return result;
}

/// The same identifiers for a field of the bundle that shares none with the others.
StructureLoader::Identifiers StructureLoader::ownIdentifiers(Field& field,
                                                             const Identifiers& shared) {
  Identifiers result;
  result.count = shared.count;
  result.inFile = shared.inFile;
  result.numbers = numbersIn(shared.count, [&](std::size_t i) {
    const auto number = shared.numbers(static_cast<std::int64_t>(i));
    return field.makeFragmentID(shared.collection->findFragmentID(number)->name());
  });
  result.collection = field.getFragmentIDCollection();
  if (!result.collection) result.collection = shared.collection;  // there are none
  return result;
}

/// The box of a field is that of all its data.
void StructureLoader::loadBox(const FieldContent& content, Field& field, bool isNew) {
  const auto present = field.findInterface<Heron::BoundingBox>();
  if (!content.box || (!isNew && !present)) return;
  const auto& box = *content.box;
  const auto whole =
      Larder::makeStrong<Heron::BoundingBox>(Heron::PhysicalSpace::point(box[0], box[1], box[2]),
                                             Heron::PhysicalSpace::point(box[3], box[4], box[5]));
  if (present) whole->expand(*present);
  field.addInterface(whole);
}

void StructureLoader::attach(const FieldContent& content, Field& field,
                             const Identifiers& identifiers) const {
  if (content.typeName.empty()) return;
  const std::string& shownName = file_->state().shownName;
  const auto present = field.getElementType();
  if (present && present->TypeName != content.typeName) {
    // The file is about to be continued: what is left out would be gone.
    if (onEqualNames_ == EqualNames::KeepPresent)
      throw StorageError(shownName, "load field " + content.name,
                         "it holds elements of " + content.typeName + ", the bundle's field of " +
                             present->TypeName);
    Larder::Console() << shownName << ": the field \"" << content.name << "\" holds elements of "
                      << content.typeName << ", the bundle's of " << present->TypeName
                      << "; the file's are left out.";
    return;
  }
  if (const std::size_t doubles = countDoubles(content.table, field, identifiers.numbers))
    Larder::Console() << shownName << ": " << doubles << " fragments of the field \""
                      << content.name
                      << "\" have names that the bundle has data for; the file's are left out.";
  const auto place = Larder::makeStrong<FieldPlace>(content.file, joined(content.path),
                                                    content.typeName, file_.rawptr());
  field.setSource(Larder::makeStrong<LoadedField>(
                      file_, content.bundlePath, place, identifiers.collection, content.table,
                      identifiers.numbers, identifiers.inFile, field.source()),
                  content.typeName);
}

std::size_t StructureLoader::countDoubles(const FragmentTable& table, const Field& field,
                                          const FragmentNumbers& numbers) const {
  const auto source = field.source();
  std::size_t doubles = 0;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (!table.hasData(i)) continue;
    if (table.number(i) == FragmentRow::kUndivided) {
      doubles += field.getCreator(nullptr) ? 1 : 0;
      continue;
    }
    const std::uint32_t number = numbers(table.number(i));
    doubles += field.madeCreator(number) || (source && source->holds(number)) ? 1 : 0;
  }
  return doubles;
}

}  // namespace Quilt::Storage
