#include "recast/fragmented_grids/regularly_fragmented_field.h"

#include <algorithm>
#include <limits>

#include "recast/typed_arrays/fragment_handle_array.h"

namespace Quilt {
namespace {

/// The number of fragments of a lattice. \return false if they can't be numbered.
template <int N>
bool fragmentsOf(const MultiIndex<N>& counts, std::uint64_t& fragments) {
  return DynamicSize(counts).product(1, fragments) &&
         fragments <= std::numeric_limits<std::uint32_t>::max();
}

/// Whether there is exactly one identifier for each of `fragments`.
bool holds(const FragmentIDCollection* identifiers, std::uint64_t fragments) {
  return identifiers != nullptr && identifiers->NumberOfFragmentIDs() == fragments;
}

/// Fields that are loaded over a lattice of three axes come to know their counts.
Larder::StrongPtr<Field> latticeField(const Larder::StrongPtr<FragmentIDCollection>& fragments) {
  const DynamicSize& size = fragments->latticeSize();
  if (size.rank() != 3) return Larder::makeStrong<Field>(fragments);
  return Larder::makeStrong<RegularlyFragmentedField<3>>(fragments, size.toMultiIndex<3>());
}

[[maybe_unused]] const bool makerIsSet = (Field::setLatticeFieldMaker(latticeField), true);

}  // namespace

template <int N>
RegularlyFragmentedField<N>::RegularlyFragmentedField(
    const Larder::StrongPtr<FragmentIDCollection>& fragments, const MultiIndex<N>& counts)
    : Field(fragments), counts_(counts) {}

template <int N>
typename RegularlyFragmentedField<N>::Handle RegularlyFragmentedField<N>::newField(
    const MultiIndex<N>& counts, const Larder::WeakPtrImpl<Field, Field>& donor,
    const std::string& prefix) {
  std::uint64_t fragments = 0;
  if (!fragmentsOf(counts, fragments)) return nullptr;
  Larder::StrongPtr<FragmentIDCollection> identifiers;
  if (const auto lender = donor.lock()) {
    identifiers = lender->getFragmentIDCollection();
    if (!holds(identifiers.rawptr(), fragments)) return nullptr;
  } else {
    identifiers = Larder::makeStrong<FragmentIDCollection>();
    identifiers->template setFragmentNames<N>(counts, prefix);
  }
  return Larder::makeStrong<RegularlyFragmentedField<N>>(identifiers, counts);
}

template <int N>
MemBaseHandle RegularlyFragmentedField<N>::newFragmentationArray() const {
  const auto identifiers = getFragmentIDCollection();
  if (!holds(identifiers.rawptr(), counts_.product())) return nullptr;
  const auto array = Larder::makeStrong<FragmentHandleArray>(counts_, nullptr);
  const auto& source = identifiers->identifiers();
  std::copy(source.begin(), source.end(), array->data);
  return array;
}

template class RegularlyFragmentedField<3>;

}  // namespace Quilt
