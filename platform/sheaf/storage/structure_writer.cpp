#include "recast/sheaf/storage/structure_writer.h"

#include <algorithm>

#include "recast/larder/chunk.h"
#include "recast/perch/bounding_box.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
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

LinkPath below(LinkPath path, const std::string& link) {
  path.push_back(link);
  return path;
}

}  // namespace

template <class Visit>
void StructureWriter::forEachField(const Bundle& bundle, Visit visit) {
  for (const auto& [time, slice] : bundle)
    for (const auto& [gridID, grid] : *slice)
      for (const auto& [skeletonID, skeleton] : grid->skeletons())
        for (const auto& representation : skeleton->representations()) {
          Donors donors;
          unsigned long long index = 0;
          representation->iterate([&](const FieldID&, const Field& field) {
            const auto place = field.placement();
            if (place && writer_.isWanted(*place, field, nullptr)) visit(field, index++, donors);
            return true;
          });
        }
}

void StructureWriter::handOverMissing(const Bundle& bundle) {
  forEachField(bundle, [this](const Field& field, unsigned long long, Donors&) {
    handOverMissing(field);
  });
}

void StructureWriter::handOverMissing(const Field& field) {
  writer_.drain();  // so that the rows of this field stand still while they are looked at
  const Placement& place = *field.placement();
  FieldStore& store = writer_.storeOf(place, field);
  std::vector<Larder::StrongPtr<FragmentID>> missing;
  for (const auto& fragment : field.getFragmentIDs())
    if (fragment && store.row(fragment->number()) == nullptr) missing.push_back(fragment);
  if (store.row(FragmentRow::kUndivided) == nullptr) missing.emplace_back();
  for (const auto& fragment : missing) {
    const CreatorHandle creator = field.getCreator(fragment);
    if (!creator) continue;
    const MemBaseHandle array = creator->get();
    if (!array)
      throw StorageError(writer_.file()->state().shownName, "write field " + place.FieldName,
                         "the data of the fragment \"" + (fragment ? fragment->name() : "") +
                             "\" can't be had");
    writer_.store(place, field, fragment, creator, array, Larder::Cache::MemCache());
  }
}

void StructureWriter::writeStructure(const Bundle& bundle) {
  {
    Q8File& file = *writer_.main_.file;
    const Hdf5Lock lock(file.state());
    const Id root = makeGroup(file, {});
    writeText(root, kFormatAttribute, kFormatName);
    const unsigned long long version = kFormatVersion;
    writeNumbers(root, kVersionAttribute, &version, 1);
    writeAttributes(root, bundle);
    for (const auto& [time, slice] : bundle)
      if (writer_.storage_->isSaveableTime(time)) writeSlice(time, *slice);
  }
  forEachField(bundle, [this](const Field& field, unsigned long long index, Donors& donors) {
    writeField(field, index, donors);
  });
}

void StructureWriter::writeSlice(double time, const Slice& slice) {
  const LinkPath path = {timeName(time)};
  const Id group = makeGroup(*writer_.main_.file, path);
  writeNumbers(group, kTimeAttribute, &time, 1);
  writeAttributes(group, slice);
  unsigned long long index = 0;
  for (const auto& [id, grid] : slice) writeGrid(below(path, escapedName(id->name())), *grid, index++);
}

void StructureWriter::writeGrid(const LinkPath& path, const Grid& grid, unsigned long long index) {
  Q8File& file = *writer_.main_.file;
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

void StructureWriter::writeField(const Field& field, unsigned long long index, Donors& donors) {
  const Placement& place = *field.placement();
  FieldStore& store = writer_.storeOf(place, field);
  bool isDonor = false;
  {
    const Hdf5Lock lock(store.file()->state());
    isDonor = writeIdentifiers(store.openGroup(), field, donors);
  }
  std::vector<std::string> names;
  const std::vector<FragmentRow> rows = rowsOf(store, field, isDonor, names);
  const Hdf5Lock lock(store.file()->state());
  const Id group = store.openGroup();
  writeText(group, kTypeAttribute, store.typeName());
  writeNumbers(group, kIndexAttribute, &index, 1);
  if (const auto box = field.findInterface<Heron::BoundingBox>(); box && !box->empty()) {
    const auto& [low, high] = box->box();
    const double corners[] = {low[0], low[1], low[2], high[0], high[1], high[2]};
    writeNumbers(group, kBoxAttribute, corners, 6);
  }
  writeAttributes(group, field);
  writeTable(group, rows, names);
  writer_.storage_->isSaved(FieldID(place.FieldName));
}

/// Says whose identifiers the field uses. \return whether they are its own, to be told in its table.
bool StructureWriter::writeIdentifiers(hid_t group, const Field& field, Donors& donors) {
  const auto fragments = field.getFragmentIDCollection();
  if (!fragments) return true;
  const auto [donor, isNew] = donors.try_emplace(fragments.rawptr(), field.placement()->FieldName);
  if (!isNew) {
    writeText(group, kIdentifiersAttribute, donor->second);
    return false;
  }
  if (const DynamicSize& lattice = fragments->latticeSize(); lattice.rank() == 3) {
    const unsigned long long counts[] = {lattice[0], lattice[1], lattice[2]};
    writeNumbers(group, kLatticeAttribute, counts, 3);
    writeText(group, kPrefixAttribute, fragments->latticePrefix());
  }
  return true;
}

std::vector<FragmentRow> StructureWriter::rowsOf(FieldStore& store, const Field& field,
                                                 bool isDonor, std::vector<std::string>& names) {
  std::vector<FragmentRow> rows;
  const auto fragments = field.getFragmentIDCollection();
  const bool named = !fragments || fragments->latticeSize().rank() == 0;
  const auto add = [&](const FragmentID* fragment, std::int64_t number) {
    const FragmentRow* known = store.row(number);
    if (known == nullptr && !(isDonor && fragment != nullptr)) return;
    FragmentRow row = known != nullptr ? *known : FragmentRow{};
    row.number = number;
    finishRow(store, field, fragment, row);
    rows.push_back(row);
    if (named) names.push_back(fragmentLink(fragment));
  };
  if (fragments)
    for (const auto& fragment : fragments->identifiers()) add(fragment.rawptr(), fragment->number());
  add(nullptr, FragmentRow::kUndivided);
  return rows;
}

void StructureWriter::finishRow(FieldStore& store, const Field& field, const FragmentID* fragment,
                                FragmentRow& row) {
  if (fragment != nullptr) {
    takeTriple<PlaceInGrid>(*fragment, row, row.location);
    takeTriple<LowerOverlap>(*fragment, row, row.lowerOverlap);
    takeTriple<UpperOverlap>(*fragment, row, row.upperOverlap);
  }
  const auto creator =
      fragment != nullptr ? field.madeCreator(fragment->number()) : field.madeWholeCreator();
  if (!creator || row.lie == Lie::Absent) return;
  if (row.extent == DataExtent::Kind::None) row.setExtent(creator->extent());
  writeFragmentAttributes(store, fragment, *creator, row);
}

void StructureWriter::writeFragmentAttributes(FieldStore& store, const FragmentID* fragment,
                                              const CreativeArrayBase& creator, FragmentRow& row) {
  // The one attribute that very many fragments carry stands in the table.
  row.attributes = 0;
  struct Others : Larder::Attributes {
  } others;
  for (const auto& [name, value] : creator.attributes()) {
    const auto cellSize = value.castTo<Larder::Chunk<double>>();
    if (name == kCellSize && cellSize && cellSize->size() == 1) {
      row.cellSize = (*cellSize)[0];
      row.attributes = FragmentRow::kCellSizeInTable;
    } else {
      others.setAttribute(name, value);
    }
  }
  const bool packed = row.lie == Lie::Packed;
  if (others.attributes().empty() && (packed || creator.attributes().empty())) return;
  const Hdf5Lock lock(store.file()->state());
  LinkPath path = splitPath(store.groupPath());
  if (packed) {
    path.insert(path.end(), {kAttributesGroup, std::to_string(row.number)});
    writeAttributes(makeGroup(*store.file(), path), others);
  } else {
    const std::string object = joined(below(path, fragmentLink(fragment)));
    // An object of its own shows all its attributes to readers that know nothing of the table.
    writeAttributes(own(H5Oopen(store.file()->id(), object.c_str(), H5P_DEFAULT), "open", object),
                    creator);
  }
  if (!others.attributes().empty())
    row.attributes = static_cast<std::uint8_t>(row.attributes | FragmentRow::kAttributesOnObject);
}

}  // namespace Quilt::Storage
