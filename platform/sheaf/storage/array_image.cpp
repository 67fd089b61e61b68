#include "recast/sheaf/storage/array_image.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quilt::Storage {
namespace {

/// Smallest and largest of every `components`-th number that isn't NaN; false if there is none.
bool minMax(const double* numbers, std::size_t count, std::size_t components, double& low,
            double& high) {
  low = std::numeric_limits<double>::infinity();
  high = -low;
  for (std::size_t i = 0; i < count; ++i) {
    low = std::fmin(low, numbers[i * components]);
    high = std::fmax(high, numbers[i * components]);
  }
  return low <= high;
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

/// The bytes of a long double that are no part of the number hold whatever memory held before.
void clearPadding(ArrayImage& image) {
  constexpr std::size_t kUsed = std::numeric_limits<long double>::digits == 64 ? 10 : 16;
  image.own.assign(image.bytes.begin(), image.bytes.end());
  for (std::size_t i = 0; i < image.own.size(); i += sizeof(long double))
    std::fill(image.own.begin() + static_cast<std::ptrdiff_t>(i + kUsed),
              image.own.begin() + static_cast<std::ptrdiff_t>(i + sizeof(long double)),
              std::byte{0});
  image.bytes = image.own;
}

}  // namespace

bool hasAllElements(const MemBase& array) {
  const HyperslabParameters lie = array.getHyperslabParameters();
  std::uint64_t elements = 0;
  std::uint64_t last = 0;
  if (!array.getSize().product(1, elements)) return false;
  return elements == 0 ||
         (!__builtin_mul_overflow(lie.first + elements - 1, lie.stride, &last) && last < lie.count);
}

ArrayImage makeImage(const MemBaseHandle& array, const StoreRules& rules) {
  ArrayImage image;
  image.array = array;
  image.shape = array->getSize();
  image.numberSize = array->typeIndex().ComponentSize;
  if (array->nElements() == 0) return image;
  image.bytes = contiguousBytes(*array, image.own);
  if (rules.computeExtent) image.extent = extentOf(*array, image.bytes);
  const QuiltTypeIndex& type = array->typeIndex();
  if (rules.singlePrecision && type.ComponentTypeName == "double" && type.Components <= 3)
    makeSingle(image, type.Components, rules.shift);
  if (type.ComponentTypeName == "long double") clearPadding(image);
  return image;
}

}  // namespace Quilt::Storage
