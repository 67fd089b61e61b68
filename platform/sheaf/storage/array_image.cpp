#include "recast/sheaf/storage/array_image.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "recast/trelliskinds/uniform_array.h"

namespace Quilt::Storage {
namespace {

/// The numbers of an array without gaps; the array's own memory if they stand so already.
std::span<const std::byte> gathered(const MemBase& array, std::vector<std::byte>& own) {
  const HyperslabParameters lie = array.getHyperslabParameters();
  const std::size_t size = array.typeIndex().ElementSize;
  const std::size_t count = array.nElements();
  const auto* start =
      static_cast<const std::byte*>(array.getPtr()) + lie.first * lie.stride * size;
  if (lie.stride == 1) return {start, count * size};
  own.resize(count * size);
  for (std::size_t i = 0; i < count; ++i)
    std::memcpy(own.data() + i * size, start + i * lie.stride * size, size);
  return own;
}

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
    if (!minMax(numbers + axis, count, 3, extent.minimum[axis], extent.maximum[axis])) return extent;
  extent.kind = DataExtent::Kind::Box;
  return extent;
}

DataExtent extentOf(const MemBase& array, std::span<const std::byte> bytes) {
  const QuiltTypeIndex& type = array.typeIndex();
  const std::size_t count = array.nElements();
  if (array.getType() == typeid(Heron::PhysicalSpace::point)) return boxOf(bytes.data(), count);
  if (type.Components != 1) return {};
  const std::type_info& element = array.getType();
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

/// A whole number near the middle of the component's values, so that what is left is small.
double shiftFor(const double* numbers, std::size_t count, std::size_t components) {
  double low = 0.0;
  double high = 0.0;
  if (!minMax(numbers, count, components, low, high)) return 0.0;
  const double middle = std::round(low / 2 + high / 2);
  return std::isfinite(middle) ? middle : 0.0;
}

/// Replaces the doubles by floats, unless one of them has no finite float.
void makeSingle(ArrayImage& image, std::size_t components, bool shift) {
  const auto* numbers = reinterpret_cast<const double*>(image.bytes.data());
  const std::size_t total = image.bytes.size() / sizeof(double);
  std::array<double, 3> offset{};
  if (shift)
    for (std::size_t c = 0; c < components; ++c)
      offset[c] = shiftFor(numbers + c, total / components, components);
  std::vector<std::byte> bytes(total * sizeof(float));
  auto* floats = reinterpret_cast<float*>(bytes.data());
  bool fits = true;
  for (std::size_t i = 0; i < total; i += components)
    for (std::size_t c = 0; c < components; ++c) {
      const double number = numbers[i + c] - offset[c];
      floats[i + c] = static_cast<float>(number);
      fits &= std::isfinite(floats[i + c]) || !std::isfinite(number);
    }
  if (!fits) return;
  image.own = std::move(bytes);
  image.bytes = image.own;
  image.numberSize = sizeof(float);
  image.single = true;
  if (shift) image.shift = offset;
}

}  // namespace

DataExtent extentOf(const MemBase& array) {
  if (const auto* uniform = dynamic_cast<const UniformCartesianArray*>(&array))
    return uniform->extent();
  if (array.nElements() == 0 || array.getPtr() == nullptr) return {};
  std::vector<std::byte> own;
  return extentOf(array, gathered(array, own));
}

ArrayImage makeImage(const MemBaseHandle& array, const StoreRules& rules) {
  ArrayImage image;
  image.array = array;
  image.shape = array->getSize();
  image.numberSize = array->typeIndex().ComponentSize;
  if (array->nElements() == 0) return image;
  image.bytes = gathered(*array, image.own);
  if (rules.computeExtent) image.extent = extentOf(*array, image.bytes);
  const QuiltTypeIndex& type = array->typeIndex();
  if (rules.singlePrecision && type.ComponentTypeName == "double" && type.Components <= 3)
    makeSingle(image, type.Components, rules.shift);
  return image;
}

}  // namespace Quilt::Storage
