#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "recast/grid_lookups/checks.h"
#include "recast/larder/console.h"

namespace Recast {

using FragmentHandle = Larder::StrongPtr<Quilt::FragmentID>;

/// A fragment's data is stored, but its file can't be read.
class UnreadableFragment : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The fragments of a field in the order of their numbers. Undivided data counts as one more, whose
/// identifier is null.
std::vector<FragmentHandle> fragmentsOf(const Quilt::Field& field);
/// "fragment" and its name, or "undivided data": what messages call it.
std::string titleOf(const FragmentHandle& fragment);

/// The array of a fragment, null if it has none.
/// \throw UnreadableFragment; the console has the reason then.
Quilt::MemBaseHandle storedArray(const Quilt::Field& field, const FragmentHandle& fragment);

/// The elements of a fragment, as `getCABs` returns them. Where there are none, the console gets
/// `complaint` behind the messages of `getCABs`, unless it is null.
/// \throw UnreadableFragment
template <class T>
Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> readFragment(
    const Larder::StrongPtr<Quilt::Field>& field, const FragmentHandle& fragment,
    const char* complaint) {
  const auto held = storedArray(*field, fragment);  // so that the file is read once
  const auto elements = getCABs<T>(field, fragment);
  if (!elements && complaint != nullptr) Larder::Console() << complaint;
  return elements;
}

/// Reports a list of a fragment that refers to nonexistent elements. \param list what it is.
void reportBadNumber(const FragmentHandle& fragment, const char* list);

}  // namespace Recast
