#pragma once

#include "recast/meadow/multi_index.h"
#include "recast/perch/fixed_array.h"

namespace Recast {

/// The lattice of equal cuboid fragments that a cloud is cut into; lengths are in the unit of the
/// data. The fragment at (x, y, z) spans `lower` + (x, y, z) * `length` to one `length` further and
/// has the running number (z * Ny + y) * Nx + x.
struct FragmentLattice {
  /// The most fragments of a lattice.
  static constexpr std::uint64_t kMostFragments = 1'000'000;

  Heron::PhysicalSpace::point lower{};
  Heron::PhysicalSpace::point upper{};
  Heron::PhysicalSpace::vector length{};
  Quilt::MultiIndex<3> counts;

  /// \throw RunEnd for no or too many fragments.
  void requireUsable() const;
  std::uint32_t fragments() const { return static_cast<std::uint32_t>(counts.product()); }

  /// The lattice over the box from `lower` to `upper`. The upper corner moves out until whole
  /// fragments fill the box; a box without height gets the z range -1 to 1.
  /// \param wanted the fragments' edge lengths; 0 makes one fragment along that axis.
  /// \throw RunEnd for a box with a length that is not positive and finite, and for no or too many
  /// fragments.
  static FragmentLattice over(Heron::PhysicalSpace::point lower, Heron::PhysicalSpace::point upper,
                              const Heron::PhysicalSpace::vector& wanted);
};

}  // namespace Recast
