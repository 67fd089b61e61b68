#pragma once

#include <string>

#include "recast/meadow/field.h"

/// Grids whose data is cut along a lattice of Nx x Ny x Nz fragments. Exists for three dimensions.
namespace Quilt {

/// A field over the fragments of a lattice. The one at (x, y, z) has the running number
/// (z * Ny + y) * Nx + x.
template <int N>
class RECAST_API RegularlyFragmentedField : public Field {
 public:
  using Handle = Larder::StrongPtr<RegularlyFragmentedField<N>, Field>;

  /// \param fragments the identifiers of the lattice, in the order of their numbers.
  RegularlyFragmentedField(const Larder::StrongPtr<FragmentIDCollection>& fragments,
                           const MultiIndex<N>& counts);

  /// A field over a lattice of `counts` fragments.
  /// \param donor a field whose identifiers the new one shares. If null, identifiers are made,
  /// called `prefix` + "[xxyxz]".
  /// \return null if the donor has not as many identifiers as the lattice fragments, or if those
  /// are more than 2^32 - 1.
  static Handle newField(const MultiIndex<N>& counts,
                         const Larder::WeakPtrImpl<Field, Field>& donor, const std::string& prefix);

  /// Fragments along each axis.
  const MultiIndex<N>& counts() const { return counts_; }
  /// A `FragmentHandleArray` of the lattice's shape; null if the identifiers don't fill it.
  MemBaseHandle newFragmentationArray() const override;

 private:
  MultiIndex<N> counts_;
};

extern template class RegularlyFragmentedField<3>;

}  // namespace Quilt
