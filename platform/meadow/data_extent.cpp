#include "recast/meadow/data_extent.h"

#include <cstring>
#include <limits>

#include "recast/perch/fixed_array.h"

namespace Quilt {
namespace {

/// Smallest and largest of every `components`-th number; false if there is none.
template <class T>
bool minMax(const T* numbers, std::size_t count, std::size_t components, double& minimum,
            double& maximum) {
  using Limits = std::numeric_limits<T>;
  T low = Limits::has_infinity ? Limits::infinity() : Limits::max();
  T high = Limits::has_infinity ? static_cast<T>(-Limits::infinity()) : Limits::lowest();
  bool any = false;
  for (std::size_t i = 0; i < count; ++i) {
    const T number = numbers[i * components];
    low = number < low ? number : low;
    high = number > high ? number : high;
    any |= number == number;  // false for NaN alone
  }
  if (!any) return false;
  minimum = static_cast<double>(low);
  maximum = static_cast<double>(high);
  return true;
}

template <class T>
DataExtent rangeOf(const std::byte* bytes, std::size_t count) {
  DataExtent extent;
  if (minMax(reinterpret_cast<const T*>(bytes), count, 1, extent.minimum[0], extent.maximum[0]))
    extent.kind = DataExtent::Kind::Range;
  return extent;
}

DataExtent boxOf(const std::byte* bytes, std::size_t count) {
  DataExtent extent;
  const auto* numbers = reinterpret_cast<const double*>(bytes);
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!minMax(numbers + axis, count, 3, extent.minimum[axis], extent.maximum[axis])) return {};
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
