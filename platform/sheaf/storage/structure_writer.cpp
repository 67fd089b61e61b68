#include "recast/sheaf/storage/structure_writer.h"

#include <algorithm>

#include "recast/perch/bounding_box.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/fragment_creators.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

template <int Property>
void takeTriple(const FragmentID& fragment, FragmentRow& row, std::uint64_t (&target)[3]) {
  const auto triple = fragment.findInterface<FragmentLocation<3, Property>>();
  if (!triple) return;
  row.properties = static_cast<std::uint8_t>(row.properties | (1U << (Property - 1)));
  for (std::size_t i = 0; i < 3; ++i) target[i] = (*triple)[i];
}

std::int64_t numberOf(const FragmentID* fragment) {
  return fragment != nullptr ? std::int64_t{fragment->number()} : FragmentRow::kUndivided;
}

CreatorHandle madeCreator(const Field& field, const FragmentID* fragment) {
  return fragment != nullptr ? field.madeCreator(fragment->number()) : field.madeWholeCreator();
}

/// Whether the identifiers are those of a regular lattice and no others.
bool isLattice(const FragmentIDCollection& fragments) {
  std::uint64_t places = 0;
  const DynamicSize& lattice = fragments.latticeSize();
  return lattice.rank() == 3 && lattice.product(1, places) &&
         places == fragments.NumberOfFragmentIDs();
}

}  // namespace

/// Visits the fields by the places where the bundle holds them: a field may stand in several, and
/// knows only the last one itself.
template <class Visit>
void StructureWriter::forEachField(const Bundle& bundle, Visit visit) {
  for (const auto& [time, slice] : bundle)
    for (const auto& [gridID, grid] : *slice)
      for (const auto& [skeletonID, skeleton] : grid->skeletons())
        for (const auto& representation : skeleton->representations()) {
          Placement place;
          place.GridHandle = grid;
          place.Time = time;
          place.GridName = gridID->name();
          place.Skeleton = skeletonID;
          place.RepresentationName = representation->name();
          Donors donors;
          unsigned long long index = 0;
          representation->iterate([&](const FieldID& id, const Field& field) {
            const auto ofField = Larder::makeStrong<Placement>(place);
            ofField->FieldName = id.name();
            if (writer_.isWanted(*ofField, field, nullptr)) visit(*ofField, field, index++, donors);
            return true;
          });
        }
}

void StructureWriter::handOverMissing(const Bundle& bundle) {
  for (const auto& [time, slice] : bundle)
    if (writer_.storage_->isSaveableTime(time)) writer_.claim(time);
  forEachField(bundle, [this](const Placement& place, const Field& field, unsigned long long,
                              Donors&) { handOverMissing(place, field); });
}

void StructureWriter::handOverMissing(const Placement& place, const Field& field) {
  // What the file holds of the field is compared while it stands still: before anything more is
  // handed over, and after all that was is written.
  writer_.drain();
  const auto store = writer_.storeOf(place, field);
  std::vector<Larder::StrongPtr<FragmentID>> missing;
  if (const auto fragments = field.getFragmentIDCollection())
    for (const auto& fragment : fragments->identifiers())
      if (fragment && !store->holdsDataOf(field, fragment->number())) missing.push_back(fragment);
  if (!store->holdsDataOf(field, FragmentRow::kUndivided)) missing.emplace_back();
  for (const auto& fragment : missing) handOver(place, field, fragment);
}

void StructureWriter::handOver(const Placement& place, const Field& field,
                               const Larder::StrongPtr<FragmentID>& fragment) {
  if (!writer_.isWanted(place, field, fragment.rawptr())) return;
  const CreatorHandle creator = field.getCreator(fragment);
  if (!creator) return;
  const MemBaseHandle array = creator->get();
  if (!array)
    writer_.files_.refuse(place, "the data of the fragment \"" +
                                     (fragment ? fragment->name() : "") + "\" can't be had");
  writer_.store(place, field, fragment, creator, array, Larder::Cache::MemCache());
}

void StructureWriter::writeStructure(const Bundle& bundle) {
  {
    Q8File& file = *writer_.file();
    const Hdf5Lock lock(file.state());
    const Id root = makeGroup(file, {});
    writeText(root, kFormatAttribute, kFormatName);
    const unsigned long long version = kFormatVersion;
    writeNumbers(root, kVersionAttribute, &version, 1);
    writeAttributes(root, bundle);
    for (const auto& [time, slice] : bundle)
      if (writer_.storage_->isSaveableTime(time)) writeSlice(time, *slice);
  }
  forEachField(bundle, [this](const Placement& place, const Field& field, unsigned long long index,
                              Donors& donors) { writeField(place, field, index, donors); });
}

void StructureWriter::writeSlice(double time, const Slice& slice) {
  const LinkPath path = {timeName(time)};
  const Id group = makeGroup(*writer_.file(), path);
  writeNumbers(group, kTimeAttribute, &time, 1);
  writeAttributes(group, slice);
  unsigned long long index = 0;
  for (const auto& [id, grid] : slice)
    writeGrid(below(path, escapedName(id->name())), *grid, index++);
}

void StructureWriter::writeGrid(const LinkPath& path, const Grid& grid, unsigned long long index) {
  Q8File& file = *writer_.file();
  const Id group = makeGroup(file, path);
  writeNumbers(group, kIndexAttribute, &index, 1);
  writeAttributes(group, grid);
  for (const auto& [id, skeleton] : grid.skeletons()) {
    const LinkPath skeletonPath = below(path, escapedName(id.name()));
    writeAttributes(makeGroup(file, skeletonPath), *skeleton);
    unsigned long long representationIndex = 0;
    for (const auto& representation : skeleton->representations()) {
      const Id object = makeGroup(file, below(skeletonPath, escapedName(representation->name())));
      writeNumbers(object, kIndexAttribute, &representationIndex, 1);
      ++representationIndex;
      writeAttributes(object, *representation);
    }
  }
}

void StructureWriter::writeField(const Placement& place, const Field& field,
                                 unsigned long long index, Donors& donors) {
  const auto store = writer_.storeOf(place, field);
  bool isDonor = false;
  {
    const Hdf5Lock lock(store->file()->state());
    isDonor = writeIdentifiers(store->group(), place, field, donors);
  }
  Table table = tableOf(*store, field, isDonor);
  {
    const Hdf5Lock lock(store->file()->state());
    const hid_t group = store->group();
    writeText(group, kTypeAttribute, store->typeName());
    writeNumbers(group, kIndexAttribute, &index, 1);
    removeAttribute(group, kBoxAttribute);
    if (const auto box = field.findInterface<Heron::BoundingBox>(); box && !box->empty()) {
      const auto& [low, high] = box->box();
      const double corners[] = {low[0], low[1], low[2], high[0], high[1], high[2]};
      writeNumbers(group, kBoxAttribute, corners, 6);
    }
    writeAttributes(group, field);
    store->removeOthers(std::move(table.used));
  }
  writeTable(*store->file(), store->group(), table.rows, table.names);
  store->closeGroup();
  writer_.storage_->isSaved(FieldID(place.FieldName));
}

bool StructureWriter::writeIdentifiers(hid_t group, const Placement& place, const Field& field,
                                       Donors& donors) {
  for (const char* former : {kIdentifiersAttribute, kLatticeAttribute, kPrefixAttribute})
    removeAttribute(group, former);
  const auto fragments = field.getFragmentIDCollection();
  if (!fragments) return true;
  const auto [donor, isNew] = donors.try_emplace(fragments.rawptr(), place.FieldName);
  if (!isNew) {
    writeText(group, kIdentifiersAttribute, donor->second);
    return false;
  }
  if (isLattice(*fragments)) {
    const DynamicSize& lattice = fragments->latticeSize();
    const unsigned long long counts[] = {lattice[0], lattice[1], lattice[2]};
    writeNumbers(group, kLatticeAttribute, counts, 3);
    writeText(group, kPrefixAttribute, fragments->latticePrefix());
  }
  return true;
}

StructureWriter::Table StructureWriter::tableOf(FieldStore& store, const Field& field,
                                                bool isDonor) {
  Table table;
  const auto fragments = field.getFragmentIDCollection();
  const bool named = !fragments || !isLattice(*fragments);
  if (fragments)
    for (const auto& fragment : fragments->identifiers())
      addRow(table, store, field, fragment.rawptr(), isDonor, named);
  addRow(table, store, field, nullptr, isDonor, named);
  const auto& rows = table.rows;
  const auto isPacked = [](const FragmentRow& row) { return row.data.lie == Lie::Packed; };
  if (std::any_of(rows.begin(), rows.end(), isPacked))
    table.used.insert(table.used.end(), {kPackedDataset, kAttributesGroup});
  return table;
}

void StructureWriter::addRow(Table& table, FieldStore& store, const Field& field,
                             const FragmentID* fragment, bool isDonor, bool named) {
  const std::int64_t number = numberOf(fragment);
  const bool hasData = store.holdsDataOf(field, number);
  if (!hasData && !(isDonor && fragment != nullptr)) return;
  FragmentRow row = hasData ? *store.rowOf(number) : FragmentRow{};
  row.number = number;
  if (fragment != nullptr) {
    takeTriple<PlaceInGrid>(*fragment, row, row.location);
    takeTriple<LowerOverlap>(*fragment, row, row.lowerOverlap);
    takeTriple<UpperOverlap>(*fragment, row, row.upperOverlap);
  }
  const std::string link = fragmentLink(fragment);
  if (const auto creator = madeCreator(field, fragment); hasData && creator) {
    const auto stored = creator->stored().castTo<StoredArray>();
    // Attributes that could not be read stay as they are.
    if (!stored || stored->hasAttributes()) writeFragmentAttributes(store, link, *creator, row);
  }
  if (hasData && row.data.lie != Lie::Packed) table.used.push_back(link);
  if (named) table.names.push_back(link);
  table.rows.push_back(row);
}

void StructureWriter::writeFragmentAttributes(FieldStore& store, const std::string& link,
                                              const CreativeArrayBase& creator, FragmentRow& row) {
  const bool hadAny = row.attributes != 0;
  const OtherAttributes others = noteKnown(creator, row);
  const bool packed = row.data.lie == Lie::Packed;
  if (!others.attributes().empty()) row.attributes |= FragmentRow::kAttributesOnObject;
  const bool hasAny = packed ? !others.attributes().empty() : !creator.attributes().empty();
  if (!hasAny && !hadAny) return;
  const Hdf5Lock lock(store.file()->state());
  if (packed)
    writeAttributes(makeGroup(*store.file(), below(below(store.path(), kAttributesGroup), link)),
                    others);
  else  // an object of its own shows all of them to readers that know nothing of the table
    writeAttributes(openObject(store.group(), link), creator);
}

}  // namespace Quilt::Storage
