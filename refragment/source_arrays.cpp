#include "recast/refragment/source_arrays.h"

#include <algorithm>

namespace Recast {

SourceArrays::SourceArrays(const ParaBox& box, const std::string& fieldName,
                           const Quilt::Field& field, const std::type_info& element,
                           const std::vector<bool>& absent)
    : box_(box),
      sources_(box.SourceFragments.size()),
      elements_(inOrder(fieldName, field, element, absent)) {}

/// Counts the segments of the sources, and gives each its place in their order.
std::vector<ElementsAhead::Source> SourceArrays::inOrder(const std::string& fieldName,
                                                         const Quilt::Field& field,
                                                         const std::type_info& element,
                                                         const std::vector<bool>& absent) {
  std::vector<ElementsAhead::Source> inOrder;
  for (const IndexLists::Segment& segment : box_.IndexLists.segments()) {
    Source& source = sources_[segment.source];
    if (absent[segment.source] || source.segments++ > 0) continue;
    source.place = inOrder.size();
    const auto& fragment = box_.SourceFragments[segment.source];
    inOrder.push_back({field.getCreator(fragment), {fieldName, fragment->name(), &element}});
  }
  return inOrder;
}

SourceArrays::Use::Use(SourceArrays& arrays, const IndexLists::Segment& segment,
                       std::vector<std::byte>& room)
    : arrays_(arrays),
      source_(segment.source),
      handle_(arrays.elements_.get(arrays.sources_[source_].place)),
      points_(arrays.box_.SourcePoints[source_]) {
  const std::uint64_t end =
      std::min({points_, handle_->size(), segment.firstPoint + IndexLists::kSegmentPoints});
  if (end <= segment.firstPoint) return;
  count_ = end - segment.firstPoint;
  elements_ = handle_->piece(segment.firstPoint, count_, room);
}

SourceArrays::Use::~Use() {
  Source& source = arrays_.sources_[source_];
  if (--source.segments == 0) arrays_.elements_.drop(source.place);
}

}  // namespace Recast
