#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "recast/meadow/data_extent.h"
#include "recast/refragment/fragment_lattice.h"
#include "recast/refragment/index_lists.h"

namespace Recast {

/// Decides which target fragments get a point: the one whose cell it lies in and, with an overlap,
/// those whose cells it lies near.
///
/// A cell holds its lower faces. With `overlap` (a fraction of the fragment's length) above 0, a
/// point less than `overlap` above the lower face of its cell goes to the cell below too, one less
/// than `overlap` below the upper face to the cell above; along all three axes in combination, but
/// never further than to an adjacent cell. Points outside the lattice, and such with a NaN, go
/// nowhere.
class PointAssignment {
 public:
  using Points = std::span<const Heron::PhysicalSpace::point>;

  PointAssignment(const FragmentLattice& lattice, double overlap);
  ~PointAssignment();

  /// False if no point of a fragment with this extent can get into the lattice. An extent may be
  /// off by as much as single precision is.
  bool mayReach(const Quilt::DataExtent& extent) const;
  /// Adds the points of a source fragment to the lists of a pass.
  /// \param source the place of the fragment in the list of all.
  void assign(Points points, std::uint32_t source, IndexLists& lists);

 private:
  class Entries;

  IndexLists::Segment segmentOf(Points points, const PassShare& share);

  FragmentLattice lattice_;
  double overlap_;
  std::unique_ptr<Entries> entries_;
};

}  // namespace Recast
