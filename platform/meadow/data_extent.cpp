#include "recast/meadow/data_extent.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "recast/perch/fixed_array.h"

namespace Quilt {
namespace {

/// Smallest and largest number of each of an element's components; NaN is passed over.
template <class T, std::size_t Components>
class Extremes {
 public:
  Extremes() {
    using Limits = std::numeric_limits<T>;
    low_.fill(Limits::has_infinity ? Limits::infinity() : Limits::max());
    high_.fill(Limits::has_infinity ? static_cast<T>(-Limits::infinity()) : Limits::lowest());
  }

  void add(const T* numbers, std::size_t elements) {
    const std::size_t count = elements * Components;
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes)
      for (std::size_t lane = 0; lane < kLanes; ++lane) note(numbers[i + lane], lane);
    for (std::size_t lane = 0; i < count; ++i, ++lane) note(numbers[i], lane);
  }

  /// \return false if the component has no number that isn't NaN.
  bool get(std::size_t component, double& minimum, double& maximum) const {
    T low = low_[component];
    T high = high_[component];
    for (std::size_t lane = component; lane < kLanes; lane += Components) {
      low = std::min(low, low_[lane]);
      high = std::max(high, high_[lane]);
    }
    if (low > high) return false;
    minimum = static_cast<double>(low);
    maximum = static_cast<double>(high);
    return true;
  }

 private:
  /// Several numbers side by side, which need not wait for each other; a lane is that of one
  /// component. Long doubles, for which processors have no vectors, are faster one by one.
  static constexpr std::size_t kLanes = Components * (sizeof(T) > 8 ? 1 : sizeof(T) < 4 ? 32 : 8);

  void note(T number, std::size_t lane) {
    low_[lane] = number < low_[lane] ? number : low_[lane];
    high_[lane] = number > high_[lane] ? number : high_[lane];
  }

  std::array<T, kLanes> low_;
  std::array<T, kLanes> high_;
};

template <class T>
DataExtent rangeOf(const std::byte* bytes, std::size_t count) {
  DataExtent extent;
  Extremes<T, 1> extremes;
  extremes.add(reinterpret_cast<const T*>(bytes), count);
  if (extremes.get(0, extent.minimum[0], extent.maximum[0])) extent.kind = DataExtent::Kind::Range;
  return extent;
}

DataExtent boxOf(const std::byte* bytes, std::size_t count) {
  DataExtent extent;
  Extremes<double, 3> extremes;
  extremes.add(reinterpret_cast<const double*>(bytes), count);
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!extremes.get(axis, extent.minimum[axis], extent.maximum[axis])) return {};
  extent.kind = DataExtent::Kind::Box;
  return extent;
}

/// The box between the first and the last element of an array that is computed from them.
DataExtent uniformBox(const MemBase& array) {
  DataExtent extent;
  if (array.nElements() == 0) return extent;
  const DynamicSize size = array.getSize();
  extent.kind = DataExtent::Kind::Box;
  for (std::size_t i = 0; i < 3 && i < size.rank(); ++i) {
    const double first = array.OriginPtr()[i];
    const double last = first + static_cast<double>(size[i] - 1) * array.DeltaPtr()[i];
    extent.minimum[i] = first < last ? first : last;
    extent.maximum[i] = first < last ? last : first;
  }
  return extent;
}

}  // namespace

std::span<const std::byte> contiguousBytes(const MemBase& array, std::vector<std::byte>& own) {
  const std::size_t count = array.nElements();
  if (count == 0) return {};
  const HyperslabParameters lie = array.getHyperslabParameters();
  const std::size_t size = array.typeIndex().ElementSize;
  const auto* start = static_cast<const std::byte*>(array.getPtr()) + lie.first * lie.stride * size;
  if (lie.stride == 1) return {start, count * size};
  own.resize(count * size);
  for (std::size_t i = 0; i < count; ++i)
    std::memcpy(own.data() + i * size, start + i * lie.stride * size, size);
  return own;
}

DataExtent extentOf(const MemBase& array) {
  if (array.OriginPtr() != nullptr) return uniformBox(array);
  if (array.nElements() == 0 || array.getPtr() == nullptr) return {};
  std::vector<std::byte> own;
  return extentOf(array, contiguousBytes(array, own));
}

DataExtent extentOf(const MemBase& array, std::span<const std::byte> bytes) {
  const std::size_t count = array.nElements();
  const std::type_info& element = array.getType();
  if (element == typeid(Heron::PhysicalSpace::point)) return boxOf(bytes.data(), count);
  if (element == typeid(float)) return rangeOf<float>(bytes.data(), count);
  if (element == typeid(double)) return rangeOf<double>(bytes.data(), count);
  if (element == typeid(long double)) return rangeOf<long double>(bytes.data(), count);
  if (element == typeid(unsigned char)) return rangeOf<unsigned char>(bytes.data(), count);
  if (element == typeid(unsigned short)) return rangeOf<unsigned short>(bytes.data(), count);
  if (element == typeid(int)) return rangeOf<int>(bytes.data(), count);
  if (element == typeid(unsigned int)) return rangeOf<unsigned int>(bytes.data(), count);
  if (element == typeid(unsigned long long))
    return rangeOf<unsigned long long>(bytes.data(), count);
  return {};
}

}  // namespace Quilt
