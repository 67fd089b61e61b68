#include "recast/patchops/data_range.h"

#include <algorithm>
#include <limits>
#include <type_traits>

namespace Quilt {
namespace {

DataExtent rangeOf(CreativeArrayBase& creator, bool recompute, bool onlyKnown) {
  DataExtent extent = creator.extent();
  if (extent.kind != DataExtent::Kind::None && !recompute) return extent;
  const MemBaseHandle array = creator.create(onlyKnown);
  if (!array) return extent;
  extent = extentOf(*array);
  creator.setExtent(extent);
  return extent;
}

/// The nearest value of T: extents are doubles, which may be rounded, or come from a damaged file.
template <class T>
T nearest(double value) {
  using Limits = std::numeric_limits<T>;
  if (std::is_floating_point_v<T>) return static_cast<T>(value);
  if (!(value > static_cast<double>(Limits::lowest()))) return Limits::lowest();
  if (!(value < static_cast<double>(Limits::max()))) return Limits::max();
  return static_cast<T>(value);
}

template <class T>
DataRangeHandle typedRange(const DataExtent& extent) {
  return DataRangeHandle(
      new DataRange<T>(nearest<T>(extent.minimum[0]), nearest<T>(extent.maximum[0])));
}

DataRangeHandle rangeFor(const Field& field, const DataExtent& extent) {
  const auto type = field.getElementType();
  if (!type || extent.kind != DataExtent::Kind::Range) return nullptr;
  const std::type_info& element = type->getType();
  if (element == typeid(float)) return typedRange<float>(extent);
  if (element == typeid(double)) return typedRange<double>(extent);
  if (element == typeid(long double)) return typedRange<long double>(extent);
  if (element == typeid(unsigned char)) return typedRange<unsigned char>(extent);
  if (element == typeid(unsigned short)) return typedRange<unsigned short>(extent);
  if (element == typeid(int)) return typedRange<int>(extent);
  if (element == typeid(unsigned int)) return typedRange<unsigned int>(extent);
  if (element == typeid(unsigned long long)) return typedRange<unsigned long long>(extent);
  return nullptr;
}

/// Gathers the range over the fragments that it visits.
struct Gather : FragmentIterator {
  Gather(bool again, bool known, bool one)
      : recompute(again), onlyKnown(known), ofOneFragment(one) {}
  bool apply(const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& creator) override {
    if (!fragment && ofOneFragment) return true;
    const DataExtent extent = rangeOf(*creator, recompute, onlyKnown);
    if (extent.kind != DataExtent::Kind::Range) return true;
    if (total.kind == DataExtent::Kind::None) total = extent;
    total.minimum[0] = std::min(total.minimum[0], extent.minimum[0]);
    total.maximum[0] = std::max(total.maximum[0], extent.maximum[0]);
    return true;
  }
  bool recompute;
  bool onlyKnown;
  bool ofOneFragment;
  DataExtent total;
};

}  // namespace

DataRangeHandle getRange(const Field& field, const Larder::StrongPtr<FragmentID>& fragment,
                         bool recompute, bool onlyKnown) {
  const CreatorHandle creator = field.getCompatibleCreator(fragment);
  return creator ? rangeFor(field, rangeOf(*creator, recompute, onlyKnown)) : nullptr;
}

DataRangeHandle getRange(const Field& field, const std::string& fragmentName, bool recompute,
                         bool onlyKnown) {
  Gather gather(recompute, onlyKnown, !fragmentName.empty());
  field.iterate(gather, [&fragmentName](const FragmentID& fragment) {
    return fragmentName.empty() || fragment.name() == fragmentName;
  });
  return rangeFor(field, gather.total);
}

}  // namespace Quilt
