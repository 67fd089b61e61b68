#include "recast/sheaf/storage/structure_writer.h"

#include <algorithm>

#include "recast/larder/chunk.h"
#include "recast/perch/bounding_box.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

constexpr const char* kFormat = "recast q8";

Id groupAt(Q8File& file, const std::vector<std::string>& path) {
  return FieldStore(FileHandle(&file), path, "").openGroup();
}

template <int Property>
void takeTriple(const FragmentID& fragment, FragmentRow& row, std::uint64_t (&target)[3]) {
  const auto triple = fragment.findInterface<FragmentLocation<3, Property>>();
  if (!triple) return;
  row.properties = static_cast<std::uint8_t>(row.properties | (1U << (Property - 1)));
  for (std::size_t i = 0; i < 3; ++i) target[i] = (*triple)[i];
}

/// The attributes of a packed fragment but "CellSize", which stands in the table.
struct OtherAttributes : Larder::Attributes {
  explicit OtherAttributes(const Larder::Attributes& all) {
    for (const auto& [name, value] : all.attributes())
      if (name != "CellSize") setAttribute(name, value);
  }
};

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
  writer_.drain();
  const auto type = field.getElementType();
  FieldStore* store = nullptr;
  {
    const std::lock_guard lock(writer_.mutex_);
    store = &writer_.storeOf(*field.placement(), type ? type->TypeName : std::string());
  }
  const auto handOver = [&](const Larder::StrongPtr<FragmentID>& fragment, std::int64_t number,
                            const CreatorHandle& creator) {
    if (!creator || store->row(number) != nullptr) return;
    const MemBaseHandle array = creator->get();
    if (!array)
      throw StorageError(writer_.file()->state().shownName,
                         "write field " + field.placement()->FieldName,
                         "the data of a fragment can't be had");
    writer_.store(*field.placement(), field, fragment, creator, array, Larder::Cache::MemCache());
  };
  // The rows of this field grow in the writer's thread meanwhile, so what is missing is found first.
  std::vector<Larder::StrongPtr<FragmentID>> missing;
  for (const auto& fragment : field.getFragmentIDs())
    if (fragment && store->row(fragment->number()) == nullptr) missing.push_back(fragment);
  const bool wholeMissing = store->row(FragmentRow::kUndivided) == nullptr;
  for (const auto& fragment : missing) {
    const auto creator = field.getCreatorByNumber(fragment->number());
    if (creator) {
      const MemBaseHandle array = creator->get();
      if (!array)
        throw StorageError(writer_.file()->state().shownName,
                           "write field " + field.placement()->FieldName,
                           "the data of the fragment " + fragment->name() + " can't be had");
      writer_.store(*field.placement(), field, fragment, creator, array,
                    Larder::Cache::MemCache());
    }
  }
  if (wholeMissing) handOver(nullptr, FragmentRow::kUndivided, field.getCreator(nullptr));
}

void StructureWriter::writeStructure(const Bundle& bundle) {
  writeGroups(bundle);
  forEachField(bundle, [this](const Field& field, unsigned long long index, Donors& donors) {
    writeField(field, index, donors);
  });
}

void StructureWriter::writeGroups(const Bundle& bundle) {
  Q8File& file = *writer_.main_.file;
  const Hdf5Lock lock(file.state());
  const Id root = own(H5Gopen2(file.id(), "/", H5P_DEFAULT), "open group", "/");
  writeText(root, "@format", kFormat);
  const unsigned long long version = 1;
  writeNumbers(root, "@version", &version, 1);
  writeAttributes(root, bundle);
  for (const auto& [time, slice] : bundle) {
    if (!writer_.storage_->isSaveableTime(time)) continue;
    std::vector<std::string> path = {escapedName(timeName(time))};
    const Id sliceGroup = groupAt(file, path);
    writeNumbers(sliceGroup, "@time", &time, 1);
    writeAttributes(sliceGroup, *slice);
    unsigned long long index = 0;
    for (const auto& [gridID, grid] : *slice) {
      path.push_back(escapedName(gridID->name()));
      const Id gridGroup = groupAt(file, path);
      writeNumbers(gridGroup, "@index", &index, 1);
      ++index;
      writeAttributes(gridGroup, *grid);
      for (const auto& [skeletonID, skeleton] : grid->skeletons()) {
        path.push_back(escapedName(skeletonID.name()));
        writeAttributes(groupAt(file, path), *skeleton);
        unsigned long long representationIndex = 0;
        for (const auto& representation : skeleton->representations()) {
          path.push_back(escapedName(representation->name()));
          const Id group = groupAt(file, path);
          writeNumbers(group, "@index", &representationIndex, 1);
          ++representationIndex;
          writeAttributes(group, *representation);
          path.pop_back();
        }
        path.pop_back();
      }
      path.pop_back();
    }
  }
}

void StructureWriter::writeField(const Field& field, unsigned long long index, Donors& donors) {
  const Placement& place = *field.placement();
  FieldStore& store = writer_.storeOf(place, "");
  const auto fragments = field.getFragmentIDCollection();
  bool isDonor = true;
  if (fragments) {
    const auto [donor, isNew] = donors.try_emplace(fragments.rawptr(), place.FieldName);
    isDonor = isNew;
    const Hdf5Lock lock(store.file()->state());
    const Id group = store.openGroup();
    if (!isNew) writeText(group, "@identifiers", donor->second);
    if (const DynamicSize& lattice = fragments->latticeSize(); isNew && lattice.rank() == 3) {
      const unsigned long long counts[] = {lattice[0], lattice[1], lattice[2]};
      writeNumbers(group, "@lattice", counts, 3);
      writeText(group, "@prefix", fragments->latticePrefix());
    }
  }
  const FragmentTable table = tableOf(store, field, isDonor);
  const Hdf5Lock lock(store.file()->state());
  const Id group = store.openGroup();
  writeText(group, "@type", store.typeName());
  writeNumbers(group, "@index", &index, 1);
  if (const auto box = field.findInterface<Heron::BoundingBox>(); box && !box->empty()) {
    const auto& [low, high] = box->box();
    const double corners[] = {low[0], low[1], low[2], high[0], high[1], high[2]};
    writeNumbers(group, "@box", corners, 6);
  }
  writeAttributes(group, field);
  store.writeTable(table);
  writer_.storage_->isSaved(FieldID(place.FieldName));
}

FragmentTable StructureWriter::tableOf(FieldStore& store, const Field& field, bool isDonor) {
  FragmentTable table;
  const auto fragments = field.getFragmentIDCollection();
  const bool named = !fragments || fragments->latticeSize().rank() == 0;
  const auto add = [&](const FragmentID* fragment, std::int64_t number) {
    FragmentRow* known = store.row(number);
    if (known == nullptr && !(isDonor && fragment != nullptr)) return;
    FragmentRow row = known != nullptr ? *known : FragmentRow{};
    row.number = number;
    finishRow(store, field, fragment, row);
    table.rows.push_back(row);
    if (named) table.names.push_back(fragmentLink(fragment));
  };
  if (fragments)
    for (const auto& fragment : fragments->identifiers()) add(fragment.rawptr(), fragment->number());
  add(nullptr, FragmentRow::kUndivided);
  return table;
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
  if (creator->attributes().empty()) return;
  const Hdf5Lock lock(store.file()->state());
  if (row.lie != Lie::Packed) {
    const std::string path = store.groupPath() + "/" + fragmentLink(fragment);
    const Id object = own(H5Oopen(store.file()->id(), path.c_str(), H5P_DEFAULT), "open", path);
    writeAttributes(object, *creator);
    row.attributes = 1;
    return;
  }
  const auto cellSize = creator->getAttribute("CellSize").castTo<Larder::Chunk<double>>();
  if (cellSize && cellSize->size() == 1) {
    row.cellSize = (*cellSize)[0];
    row.attributes = 2;
  }
  if (const OtherAttributes others(*creator); !others.attributes().empty()) {
    std::vector<std::string> path;
    for (std::size_t start = 1; start < store.groupPath().size();) {
      const std::size_t end = std::min(store.groupPath().find('/', start), store.groupPath().size());
      path.push_back(store.groupPath().substr(start, end - start));
      start = end + 1;
    }
    path.insert(path.end(), {"@attributes", std::to_string(row.number)});
    writeAttributes(groupAt(*store.file(), path), others);
    row.attributes = static_cast<std::uint8_t>(row.attributes | 1U);
  }
}

}  // namespace Quilt::Storage
