#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "recast/meadow/data_extent.h"
#include "recast/refragment/fragment_lattice.h"
#include "recast/refragment/index_lists.h"
#include "recast/refragment/spares.h"

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
  /// The points of one source fragment.
  struct Points {
    std::uint64_t count = 0;
    /// Gives `number` points from number `first` on. May be called by several threads at once.
    /// \param room for the points if they have to be read; stays as it is until they were used.
    std::function<const Heron::PhysicalSpace::point*(std::uint64_t first, std::size_t number,
                                                     std::vector<std::byte>& room)>
        piece;
  };

  PointAssignment(const FragmentLattice& lattice, double overlap);
  ~PointAssignment();

  /// False if no point of a fragment with this extent can get into the lattice. An extent may be
  /// off by as much as single precision is.
  bool mayReach(const Quilt::DataExtent& extent) const;
  /// Adds the points of a source fragment to the lists of a pass.
  /// \param source the place of the fragment in the list of all.
  /// \param threads that look at the points, as for `forEachInParallel`; the lists don't depend on
  /// it.
  void assign(const Points& points, std::uint32_t source, int threads, IndexLists& lists);

 private:
  class Entries;

  IndexLists::Segment segmentOf(std::span<const Heron::PhysicalSpace::point> points,
                                const PassShare& share, Entries& room) const;

  FragmentLattice lattice_;
  double overlap_;
  Spares<Entries> entries_;
  Spares<std::vector<std::byte>> rooms_;
};

}  // namespace Recast
