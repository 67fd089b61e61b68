#pragma once

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "support/bundles.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/sheaf/bundle.h"
#include "recast/typed_arrays/mem_array.h"

namespace TestSupport {

using Point = Heron::PhysicalSpace::point;
using Lists = std::vector<unsigned int>;

/// The element that stands for the number `v`: v itself, or v / 7 where that has all its digits; of
/// a compound one, component c has c more. A list holds v % 4 numbers from v on. The same rule
/// stands in read_samples.py.
template <class T>
T sampleElement(unsigned v) {
  if constexpr (std::is_same_v<T, Lists>) {
    Lists list(v % 4);
    for (unsigned i = 0; i < list.size(); ++i) list[i] = v + i;
    return list;
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(v) / T{7};
  } else if constexpr (std::is_integral_v<T>) {
    return static_cast<T>(v);
  } else {
    T element;
    using Number = std::remove_cvref_t<decltype(element[0])>;
    for (unsigned c = 0; c < sizeof(T) / sizeof(Number); ++c)
      element[c] = static_cast<Number>(sampleElement<Number>(v) + Number(c));
    return element;
  }
}

/// An array whose elements stand for 1, 2, 3, ... in the order of memory, the first index fastest.
template <int N, class T>
Larder::StrongPtr<Quilt::MemArray<N, T>> sampleArray(const Quilt::MultiIndex<N>& shape,
                                                     unsigned first = 1) {
  auto array = Larder::makeStrong<Quilt::MemArray<N, T>>(shape, nullptr);
  if (shape.product() == 0) return array;
  Quilt::MultiIndex<N> place;
  unsigned v = first;
  do {
    (*array)[place] = sampleElement<T>(v++);
  } while (place.inc(shape));
  return array;
}

template <class T>
bool sameElements(const Quilt::MemBase& a, const Quilt::MemBase& b) {
  const auto* left = static_cast<const T*>(a.getPtr());
  return std::equal(left, left + a.nElements(), static_cast<const T*>(b.getPtr()));
}

/// Whether two arrays have one type, one shape and the same elements to the last bit.
inline bool sameArrays(const Quilt::MemBaseHandle& a, const Quilt::MemBaseHandle& b) {
  if (!a || !b || a->getType() != b->getType() || a->getSize() != b->getSize()) return false;
  if (a->getType() == typeid(Lists)) return sameElements<Lists>(*a, *b);
  if (a->getType() == typeid(long double))  // has bytes that say nothing
    return sameElements<long double>(*a, *b);
  const std::size_t bytes = a->nElements() * a->typeIndex().ElementSize;
  return bytes == 0 || std::memcmp(a->getPtr(), b->getPtr(), bytes) == 0;
}

/// The representation of a grid's vertices in the slice at `time`, made if missing.
inline Larder::StrongPtr<Quilt::Representation> vertices(Quilt::Bundle& bundle,
                                                         const std::string& grid = "G",
                                                         double time = 0.0) {
  return (*bundle[time])[grid]->makeCartesianRepresentation(3, "", 0);
}

/// Hands an array over as a fragment of a field, or as its undivided data if the name is empty.
inline Quilt::CreatorHandle put(Quilt::Representation& representation, const std::string& field,
                                const std::string& fragment, const Quilt::MemBaseHandle& array) {
  const auto target = representation[field].field();
  return target->setPersistentData(array,
                                   fragment.empty() ? nullptr : target->makeFragmentID(fragment),
                                   Larder::Cache::MemCache(), "");
}

/// The array of a fragment of a field of the grid "G", or its undivided data; null if there is
/// none.
inline Quilt::MemBaseHandle get(const Quilt::Bundle& bundle, const std::string& field,
                                const std::string& fragment, const std::string& grid = "G") {
  const auto found = findField(bundle, grid, field);
  if (!found) return nullptr;
  const auto creator =
      fragment.empty() ? found->getCreator(nullptr) : found->getCreatorByName(fragment);
  return creator ? creator->get() : nullptr;
}

/// A new bundle bound to a new file, which must succeed.
inline Quilt::BundlePtr boundBundle(const std::string& file,
                                    const Quilt::StorageHandle& rules = nullptr) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto [number, text] = bundle->bindToNew(file, rules);
  if (number != 0) throw std::runtime_error(text);
  return bundle;
}

/// Rules with a level of compression, 0 for none.
inline Quilt::StorageHandle compressed(int level) {
  auto rules = Larder::makeStrong<Quilt::StorageTransformations>();
  rules->compressionLevel = level;
  return rules;
}

/// Rules that may make floats of the field "Positions".
struct PositionRules : Quilt::StorageTransformations {
  using Chunk = Larder::StrongPtr<Larder::ChunkBase>;
  explicit PositionRules(int level) { compressionLevel = level; }
  bool WriteAsSinglePrecision(const std::string& field, const Chunk&) const override {
    return singlePrecision && field == "Positions";
  }
  bool EnableNumericalShift(const std::string&, const Chunk&) const override {
    return numericalShift;
  }
};

/// Rules that shift positions and make them floats, or only shift them.
inline Quilt::StorageHandle shifted(int level, bool single = true) {
  auto rules = Larder::makeStrong<PositionRules>(level);
  rules->singlePrecision = single;
  rules->numericalShift = true;
  return rules;
}

/// Every field but "Positions" goes to `<folder>/<field>.q8`, at the place with the names as they
/// are or at the one place `inside`.
struct OwnFiles : Quilt::StorageTransformations {
  explicit OwnFiles(std::string where) : folder(std::move(where)) {}
  std::pair<std::string, std::string> getExternalLocation(double time, const std::string& grid,
                                                          const Quilt::SkeletonID& skeleton,
                                                          const std::string& representation,
                                                          const std::string& field) const override {
    if (field == "Positions") return {};
    const std::string place =
        std::to_string(time) + "/" + grid + "/" + skeleton.name() + "/" + representation;
    return {folder + "/" + field + ".q8", inside.empty() ? place : inside};
  }
  std::string folder;
  std::string inside;
};

/// A test that writes files into a folder of its own.
class FileTest : public testing::Test {
 protected:
  TempFolder folder_;
  std::string file_ = folder_ / "a.q8";
};

/// The one element of an attribute. \throw std::runtime_error if there is none
template <class T>
T attributeValue(const Larder::Attributes& attributes, const std::string& name) {
  const auto chunk = attributes.getAttribute(name).castTo<Larder::Chunk<T>>();
  if (!chunk || chunk->size() != 1) throw std::runtime_error("no attribute " + name);
  return (*chunk)[0];
}

}  // namespace TestSupport
