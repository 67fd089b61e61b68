#include "recast/refragment/source_arrays.h"

#include "recast/meadow/data_extent.h"
#include "recast/refragment/parallel_loop.h"
#include "recast/refragment/run_end.h"

namespace Recast {

Quilt::MemBaseHandle fetchData(const Quilt::CreatorHandle& creator) {
  if (auto present = creator->create(true)) return present;
  auto made = creator->produce();
  if (!made) return nullptr;
  made->setCreator(creator);
  creator->enableCaching(false);
  return made;
}

std::span<const std::byte> elementsOf(const Quilt::MemBaseHandle& array,
                                      const std::type_info& element, const std::string& fieldName,
                                      const std::string& fragmentName,
                                      std::vector<std::byte>& own) {
  const std::string where = "field \"" + fieldName + "\", fragment \"" + fragmentName + "\": ";
  if (!array) throw RunEnd(where + "the data can't be read");
  if (array->getType() != element || (array->getPtr() == nullptr && array->nElements() > 0))
    throw RunEnd(where + "the data is no list of values of the field's type");
  return Quilt::contiguousBytes(*array, own);
}

SourceArrays::SourceArrays(const ParaBox& box, const std::string& fieldName,
                           const Larder::StrongPtr<Quilt::Field>& field,
                           const std::type_info& element, const std::vector<bool>& absent)
    : box_(box),
      fieldName_(fieldName),
      field_(field),
      element_(element),
      sources_(box.SourceFragments.size()) {
  for (const IndexLists::Segment& segment : box.IndexLists.segments())
    if (!absent[segment.source]) ++sources_[segment.source].segments;
}

void SourceArrays::fetch(std::uint32_t number) {
  const std::lock_guard lock(dataModelLock());
  Source& source = sources_[number];
  if (source.array) return;
  const auto& fragment = box_.SourceFragments[number];
  const auto creator = field_->getCreator(fragment);
  const Quilt::MemBaseHandle array = creator ? fetchData(creator) : nullptr;
  source.elements = elementsOf(array, element_, fieldName_, fragment->name(), source.own);
  if (array->nElements() != box_.SourcePoints[number])
    throw RunEnd("field \"" + fieldName_ + "\", fragment \"" + fragment->name() + "\": there are " +
                 std::to_string(array->nElements()) + " values for " +
                 std::to_string(box_.SourcePoints[number]) + " points");
  source.array = array;
}

void SourceArrays::release(std::uint32_t number) {
  Quilt::MemBaseHandle array;  // destroyed after the lock is gone
  std::vector<std::byte> own;
  const std::lock_guard lock(dataModelLock());
  Source& source = sources_[number];
  if (--source.segments > 0) return;
  array = std::move(source.array);
  own = std::move(source.own);
}

}  // namespace Recast
