#include "recast/refragment/fragment_lattice.h"

#include <cmath>

#include "recast/refragment/run_end.h"

namespace Recast {
namespace {

/// The fragments of length `wanted` that cover `length`. More than can be counted are as many as
/// can; where the quotient is no positive number there are none.
std::uint64_t fragmentsAlong(double length, double wanted) {
  constexpr double kMost = 9e18;
  const double number = std::ceil(length / wanted);
  if (!(number >= 1.0)) return 0;
  return static_cast<std::uint64_t>(number < kMost ? number : kMost);
}

}  // namespace

void FragmentLattice::requireUsable() const {
  if (counts[0] == 0 || counts[1] == 0 || counts[2] == 0)
    throw RunEnd("Number of fragments is zero!");
  std::uint64_t product = 0;
  if (!Quilt::DynamicSize(counts).product(1, product) || product > kMostFragments)
    throw RunEnd("Number of fragments is over 1 Million!");
}

FragmentLattice FragmentLattice::over(Heron::PhysicalSpace::point lower,
                                      Heron::PhysicalSpace::point upper,
                                      const Heron::PhysicalSpace::vector& wanted) {
  if (lower.z() == upper.z()) {
    lower.z() = -1.0;
    upper.z() = 1.0;
  }
  FragmentLattice lattice;
  lattice.lower = lower;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double length = upper[axis] - lower[axis];
    if (!(length > 0.0) || !std::isfinite(length))
      throw RunEnd("Lenght for bounding box is negativ. Wrong input");
    const bool cut = wanted[axis] != 0.0;
    lattice.counts[axis] = cut ? fragmentsAlong(length, wanted[axis]) : 1;
    lattice.length[axis] = cut ? wanted[axis] : length;
  }
  lattice.requireUsable();
  for (std::size_t axis = 0; axis < 3; ++axis)
    lattice.upper[axis] =
        lower[axis] + static_cast<double>(lattice.counts[axis]) * lattice.length[axis];
  return lattice;
}

}  // namespace Recast
