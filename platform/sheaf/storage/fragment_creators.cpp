#include "recast/sheaf/storage/fragment_creators.h"

#include "recast/larder/chunk.h"
#include "recast/sheaf/storage/attribute_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

/// Attributes that lie with the fragment's object.
struct ObjectAttributes : Larder::Attributes {
  std::string failure;  ///< why they can't be read; empty if they could be

  ObjectAttributes(const FieldPlace& place, const std::string& link, const FragmentRow& row) {
    if ((row.attributes & FragmentRow::kAttributesOnObject) == 0) return;
    const std::string inGroup =
        row.data.lie == Lie::Packed ? kAttributesGroup + ("/" + link) : link;
    const Hdf5Lock lock(place.file().state());
    try {
      readAttributes(openObject(place.file().id(), place.group() + "/" + inGroup), *this);
    } catch (const StorageError& error) {
      failure = error.what();
      tellAfterLock("the attributes of the fragment \"" + unescapedName(link) +
                    "\" can't be read: " + failure);
      countFailedRead();
    }
  }
};

}  // namespace

CreatorHandle creatorOf(const Larder::StrongPtr<FieldPlace>& place, const std::string& link,
                        const FragmentRow& row) {
  const ObjectAttributes attributes(*place, link, row);
  const auto stored = Larder::makeStrong<StoredArray>(
      place, row.data.lie == Lie::Packed ? std::string() : link, row.data, attributes.failure);
  CreatorHandle creator(new CreativeArrayBase(stored, place->typeName()));
  creator->setExtent(row.dataExtent());
  for (const auto& [name, value] : attributes.attributes()) creator->setAttribute(name, value);
  if ((row.attributes & FragmentRow::kCellSizeInTable) != 0)
    creator->setAttribute(kCellSize, Larder::singleValue(row.cellSize));
  return creator;
}

OtherAttributes noteKnown(const CreativeArrayBase& creator, FragmentRow& row) {
  OtherAttributes others;
  row.setExtent(creator.extent());
  row.attributes = 0;
  for (const auto& [name, value] : creator.attributes()) {
    const auto cellSize = name == kCellSize ? value.castTo<Larder::Chunk<double>>() : nullptr;
    if (cellSize && cellSize->size() == 1) {
      row.cellSize = (*cellSize)[0];
      row.attributes = FragmentRow::kCellSizeInTable;
    } else {
      others.setAttribute(name, value);
    }
  }
  return others;
}

}  // namespace Quilt::Storage
