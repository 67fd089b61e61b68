#include "recast/sheaf/storage/array_image.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quilt::Storage {
namespace {

/// A whole number near the middle, so that what is left is small.
double shiftBetween(double low, double high) {
  return low <= high ? std::round(low / 2 + high / 2) : 0.0;
}

/// The shift for every `components`-th number; those that are not finite are left out.
double shiftFor(const double* numbers, std::size_t count, std::size_t components) {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (std::size_t i = 0; i < count; ++i) {
    const double number = numbers[i * components];
    if (!std::isfinite(number)) continue;
    low = std::min(low, number);
    high = std::max(high, number);
  }
  return shiftBetween(low, high);
}

std::array<double, 3> shiftsFor(const ArrayImage& image, const double* numbers, std::size_t count,
                                std::size_t components) {
  std::array<double, 3> shifts{};
  for (std::size_t c = 0; c < components; ++c) {
    const DataExtent extent = image.extent.value_or(DataExtent());
    const double low = extent.minimum[c];
    const double high = extent.maximum[c];
    const bool known = extent.kind == DataExtent::Kind::Box && std::isfinite(high - low);
    shifts[c] = known ? shiftBetween(low, high) : shiftFor(numbers + c, count, components);
  }
  return shifts;
}

/// Puts `count` elements as floats, less a shift each component.
/// \return false if a number has no finite float.
template <std::size_t Components>
bool narrow(const double* numbers, std::size_t count, const std::array<double, 3>& shifts,
            float* floats) {
  bool fits = true;
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t c = 0; c < Components; ++c) {
      const double number = numbers[i * Components + c] - shifts[c];
      const auto single = static_cast<float>(number);
      floats[i * Components + c] = single;
      fits &= std::isfinite(single) || !std::isfinite(number);
    }
  return fits;
}

/// Replaces the doubles by floats, unless one of them has no finite float.
void makeSingle(ArrayImage& image, std::size_t components, bool shift) {
  const auto* numbers = reinterpret_cast<const double*>(image.bytes.data());
  const std::size_t count = image.bytes.size() / sizeof(double) / components;
  std::array<double, 3> shifts{};
  if (shift) shifts = shiftsFor(image, numbers, count, components);
  std::vector<std::byte> bytes(count * components * sizeof(float));
  auto* floats = reinterpret_cast<float*>(bytes.data());
  const bool fits = components == 3   ? narrow<3>(numbers, count, shifts, floats)
                    : components == 2 ? narrow<2>(numbers, count, shifts, floats)
                                      : narrow<1>(numbers, count, shifts, floats);
  if (!fits) return;
  image.own = std::move(bytes);
  image.bytes = image.own;
  image.numberSize = sizeof(float);
  image.single = true;
  if (shift) image.shift = shifts;
}

}  // namespace

std::vector<std::byte> withoutPadding(std::span<const std::byte> longDoubles) {
  constexpr std::size_t kUsed = std::numeric_limits<long double>::digits == 64 ? 10 : 16;
  std::vector<std::byte> bytes(longDoubles.size());
  for (std::size_t i = 0; i < bytes.size(); i += sizeof(long double))
    std::copy_n(longDoubles.begin() + static_cast<std::ptrdiff_t>(i), kUsed,
                bytes.begin() + static_cast<std::ptrdiff_t>(i));
  return bytes;
}

bool hasAllElements(const MemBase& array) {
  const HyperslabParameters lie = array.getHyperslabParameters();
  std::uint64_t elements = 0;
  std::uint64_t last = 0;
  if (!array.getSize().product(1, elements)) return false;
  return elements == 0 ||
         (!__builtin_mul_overflow(lie.first + elements - 1, lie.stride, &last) && last < lie.count);
}

ArrayImage makeImage(const MemBaseHandle& array, const StoreRules& rules, bool withExtent) {
  ArrayImage image;
  image.array = array;
  image.shape = array->getSize();
  image.numberSize = array->typeIndex().ComponentSize;
  if (array->nElements() == 0) return image;
  image.bytes = contiguousBytes(*array, image.own);
  const QuiltTypeIndex& type = array->typeIndex();
  const bool single =
      rules.singlePrecision && type.ComponentTypeName == "double" && type.Components <= 3;
  if (rules.computeExtent && (withExtent || (single && rules.shift)))
    image.extent = extentOf(*array, image.bytes);
  if (single) makeSingle(image, type.Components, rules.shift);
  if (type.ComponentTypeName == "long double") {
    image.own = withoutPadding(image.bytes);
    image.bytes = image.own;
  }
  return image;
}

}  // namespace Quilt::Storage
