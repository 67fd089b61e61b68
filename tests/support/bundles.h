#pragma once

#include <string>
#include <vector>

#include "recast/sheaf/bundle.h"
#include "recast/typed_arrays/mem_array.h"

namespace TestSupport {

inline Larder::StrongPtr<Larder::StringList> stringList(std::vector<std::string> strings) {
  return Larder::makeStrong<Larder::StringList>(std::move(strings));
}

/// The bundle of a file; not valid if it does not load.
inline Quilt::BundlePtr loadBundle(const std::string& path) {
  bool ok = false;
  const auto bundle = Quilt::Bundle::load(
      ok, Larder::makeStrong<Larder::LoaderParameters>(stringList({path}), false), nullptr);
  return ok ? Quilt::BundlePtr(bundle) : Quilt::BundlePtr();
}

/// The field of the vertices of a grid in the slice at time 0; null if anything is missing.
inline Larder::StrongPtr<Quilt::Field> findField(const Quilt::Bundle& bundle,
                                                 const std::string& grid,
                                                 const std::string& field) {
  const auto slice = bundle(0.0);
  const auto found = slice ? (*slice)(grid) : nullptr;
  return found ? (*found)(field, "") : nullptr;
}

/// The array of a field's fragment as `MemArray<N, T>`; null if there is none of that kind.
template <int N, class T>
Larder::StrongPtr<Quilt::MemArray<N, T>> fragmentArray(const Larder::StrongPtr<Quilt::Field>& field,
                                                       const std::string& fragment) {
  const auto creator = field ? field->getCreatorByName(fragment) : nullptr;
  return creator ? creator->get().castTo<Quilt::MemArray<N, T>>() : nullptr;
}

/// The elements of a rank-1 fragment; empty if there is no such array.
template <class T>
std::vector<T> fragmentValues(const Larder::StrongPtr<Quilt::Field>& field,
                              const std::string& fragment) {
  const auto array = fragmentArray<1, T>(field, fragment);
  if (!array) return {};
  return array->getChunk().template castTo<Larder::Chunk<T>>()->base_vector();
}

}  // namespace TestSupport
