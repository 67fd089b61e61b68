#include "recast/refragment/point_assignment.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

#include "recast/refragment/parallel_loop.h"

namespace Recast {
namespace {

/// An entry of the assignment: the slot above, the point's index in its segment in the low 16 bits.
using Entry = std::uint64_t;
constexpr unsigned kIndexBits = 16;

std::uint32_t slotOf(Entry entry) {
  return static_cast<std::uint32_t>(entry >> kIndexBits);
}

/// The hot loop of the scan: everything it needs in plain numbers.
class CellLocator {
 public:
  CellLocator(const FragmentLattice& lattice, double overlap, const PassShare& share, Entry* out)
      : share_(share), out_(out), overlap_(overlap), upperBound_(1.0 - overlap) {
    std::uint32_t step = 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      lower_[axis] = lattice.lower[axis];
      length_[axis] = lattice.length[axis];
      count_[axis] = static_cast<double>(lattice.counts[axis]);
      last_[axis] = static_cast<std::uint32_t>(lattice.counts[axis]) - 1;
      step_[axis] = step;
      step *= static_cast<std::uint32_t>(lattice.counts[axis]);
    }
  }

  template <bool Overlapping>
  Entry* run(std::span<const Heron::PhysicalSpace::point> points) {
    for (std::size_t k = 0; k < points.size(); ++k)
      locate<Overlapping>(points[k], static_cast<std::uint32_t>(k));
    return out_;
  }

 private:
  template <bool Overlapping>
  void locate(const Heron::PhysicalSpace::point& point, std::uint32_t index) {
    const double x = (point[0] - lower_[0]) / length_[0];
    const double y = (point[1] - lower_[1]) / length_[1];
    const double z = (point[2] - lower_[2]) / length_[2];
    // Comparisons that a NaN fails.
    const bool inside =
        (x >= 0.0) & (x < count_[0]) & (y >= 0.0) & (y < count_[1]) & (z >= 0.0) & (z < count_[2]);
    if (!inside) return;
    const auto cellX = static_cast<std::uint32_t>(static_cast<std::int32_t>(x));
    const auto cellY = static_cast<std::uint32_t>(static_cast<std::int32_t>(y));
    const auto cellZ = static_cast<std::uint32_t>(static_cast<std::int32_t>(z));
    const std::uint32_t cell = cellX + cellY * step_[1] + cellZ * step_[2];
    addToTarget(index, cell);
    if constexpr (Overlapping) {
      const Sides sides = {sidesOf(x, cellX, 0), sidesOf(y, cellY, 1), sidesOf(z, cellZ, 2)};
      if ((sides[0] | sides[1] | sides[2]) != 0) addNeighbours<2>(sides, index, cell);
    }
  }

  void addToTarget(std::uint32_t index, std::uint32_t cell) {
    std::uint32_t slot = 0;
    if (share_.slotOf(cell, slot)) *out_++ = (Entry{slot} << kIndexBits) | index;
  }

  // Bits of the sides of a cell that have a neighbour which the point is near enough to.
  static constexpr unsigned kBelow = 1;
  static constexpr unsigned kAbove = 2;
  using Sides = std::array<unsigned, 3>;

  unsigned sidesOf(double place, std::uint32_t cell, std::size_t axis) const {
    const double fraction = place - static_cast<double>(static_cast<std::int32_t>(cell));
    const unsigned below = (overlap_ > fraction) & (cell > 0);
    const unsigned above = (upperBound_ < fraction) & (cell < last_[axis]);
    return below * kBelow + above * kAbove;
  }

  /// Adds the point to the neighbours of `cell` along the axes up to `Axis`, in every combination.
  template <std::size_t Axis>
  void addNeighbours(const Sides& sides, std::uint32_t index, std::uint32_t cell) {
    if ((sides[Axis] & kBelow) != 0) addNeighbour<Axis>(sides, index, cell - step_[Axis]);
    if constexpr (Axis > 0) addNeighbours<Axis - 1>(sides, index, cell);
    if ((sides[Axis] & kAbove) != 0) addNeighbour<Axis>(sides, index, cell + step_[Axis]);
  }
  template <std::size_t Axis>
  void addNeighbour(const Sides& sides, std::uint32_t index, std::uint32_t cell) {
    addToTarget(index, cell);
    if constexpr (Axis > 0) addNeighbours<Axis - 1>(sides, index, cell);
  }

  PassShare share_;
  Entry* out_;
  double overlap_;
  double upperBound_;
  double lower_[3];
  double length_[3];
  double count_[3];
  std::uint32_t last_[3];
  std::uint32_t step_[3];
};

}  // namespace

/// The entries of one segment, with room to sort them.
class PointAssignment::Entries {
 public:
  explicit Entries(double overlap)
      : room_((overlap > 0.0 ? kMostTargets : 1) * IndexLists::kSegmentPoints),
        entries_(std::make_unique_for_overwrite<Entry[]>(room_)),
        sorted_(std::make_unique_for_overwrite<Entry[]>(room_)) {}

  Entry* begin() { return entries_.get(); }
  void setEnd(const Entry* end) { size_ = static_cast<std::size_t>(end - entries_.get()); }
  std::span<const Entry> all() const { return {entries_.get(), size_}; }

  /// Sorts by slot; entries of one slot keep their order.
  void sort(std::uint32_t slots) {
    const auto bits = static_cast<unsigned>(std::bit_width(std::max(1U, slots - 1)));
    const unsigned rounds = (bits + kMostDigitBits - 1) / kMostDigitBits;
    const unsigned digitBits = (bits + rounds - 1) / rounds;
    for (unsigned round = 0; round < rounds; ++round)
      distribute(kIndexBits + round * digitBits, digitBits);
  }

 private:
  static constexpr std::size_t kMostTargets = 27;  // of a point: its cell and those around
  static constexpr unsigned kMostDigitBits = 11;

  void distribute(unsigned shift, unsigned digitBits) {
    const Entry mask = (Entry{1} << digitBits) - 1;
    std::array<std::uint32_t, std::size_t{1} << kMostDigitBits> place;
    std::fill_n(place.begin(), mask + 1, 0U);
    for (const Entry entry : all()) ++place[(entry >> shift) & mask];
    std::uint32_t begin = 0;
    for (std::size_t digit = 0; digit <= mask; ++digit) begin += std::exchange(place[digit], begin);
    for (const Entry entry : all()) sorted_[place[(entry >> shift) & mask]++] = entry;
    entries_.swap(sorted_);
  }

  std::size_t room_;
  std::unique_ptr<Entry[]> entries_;
  std::unique_ptr<Entry[]> sorted_;
  std::size_t size_ = 0;
};

PointAssignment::PointAssignment(const FragmentLattice& lattice, double overlap)
    : lattice_(lattice), overlap_(overlap) {}

PointAssignment::~PointAssignment() = default;

bool PointAssignment::mayReach(const Quilt::DataExtent& extent) const {
  if (extent.kind != Quilt::DataExtent::Kind::Box) return true;
  constexpr double kSinglePrecision = 1e-6;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double numbers[] = {extent.minimum[axis], extent.maximum[axis], lattice_.lower[axis],
                              lattice_.upper[axis]};
    double margin = 0.0;
    for (const double number : numbers)
      margin = std::max(margin, kSinglePrecision * std::abs(number));
    if (extent.maximum[axis] + margin < lattice_.lower[axis] ||
        extent.minimum[axis] - margin > lattice_.upper[axis])
      return false;
  }
  return true;
}

void PointAssignment::assign(const Points& points, std::uint32_t source, int threads,
                             IndexLists& lists) {
  constexpr std::uint64_t kMost = IndexLists::kSegmentPoints;
  std::vector<IndexLists::Segment> segments((points.count + kMost - 1) / kMost);
  forEachInParallel(threads, segments.size(), [&](std::uint64_t i) {
    const std::uint64_t first = i * kMost;
    const auto number = static_cast<std::size_t>(std::min(kMost, points.count - first));
    const auto entries = entries_.borrow(overlap_);
    const auto room = rooms_.borrow();
    segments[i] = segmentOf({points.piece(first, number, *room), number}, lists.share(), *entries);
    segments[i].source = source;
    segments[i].firstPoint = first;
  });
  for (IndexLists::Segment& segment : segments) lists.add(std::move(segment));
}

IndexLists::Segment PointAssignment::segmentOf(std::span<const Heron::PhysicalSpace::point> points,
                                               const PassShare& share, Entries& room) const {
  CellLocator locator(lattice_, overlap_, share, room.begin());
  room.setEnd(overlap_ > 0.0 ? locator.run<true>(points) : locator.run<false>(points));
  IndexLists::Segment segment{};
  const std::size_t size = room.all().size();
  if (size == 0) return segment;
  room.sort(share.slots());
  segment.indices.resize(size);
  const auto entries = room.all();
  for (std::size_t i = 0; i < size; ++i) {
    segment.indices[i] = static_cast<std::uint16_t>(entries[i]);
    if (i == 0 || slotOf(entries[i]) != slotOf(entries[i - 1]))
      segment.runs.push_back({slotOf(entries[i]), static_cast<std::uint32_t>(i), 0});
  }
  segment.runs.push_back({share.slots(), static_cast<std::uint32_t>(size), 0});
  segment.runs.shrink_to_fit();
  return segment;
}

}  // namespace Recast
