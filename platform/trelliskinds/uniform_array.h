#pragma once

#include "recast/meadow/creative_array.h"
#include "recast/meadow/mem_base.h"
#include "recast/perch/fixed_array.h"

namespace Quilt {

/// An array whose element at (i, j, k) is put together from one value per axis. Holds no memory.
template <class Element, class Axis, int N>
class RECAST_API DirectProductMemArrayBase : public MemArrayBase<N> {};

template <class Element, class Axis, int N>
class RECAST_API DirectProductMemArray
    : public DirectProductMemArrayBase<Heron::FixedArray<double, 3>, Axis, N> {};

/// One axis of equal steps: value i is start + i * step.
struct RECAST_API LinearCoordinateAxisArray {
  double start = 0.0;
  double step = 0.0;
  double operator[](std::uint64_t i) const { return start + static_cast<double>(i) * step; }
};

template <class Point, class Vector, int N>
class RECAST_API LinearDirectProductMemArray
    : public DirectProductMemArray<Point, LinearCoordinateAxisArray, N> {};

/// The vertices of a uniform Cartesian grid as an array of points that is computed from a corner
/// and a spacing: element (i, j, k) is origin + (i, j, k) * spacing, axis by axis. Index order x,
/// y, z; lengths in the unit of the data.
class RECAST_API UniformCartesianArray final
    : public LinearDirectProductMemArray<Heron::PhysicalSpace::point, Heron::PhysicalSpace::vector,
                                         3> {
 public:
  UniformCartesianArray(const MultiIndex<3>& size, const Heron::PhysicalSpace::point& origin,
                        const Heron::PhysicalSpace::vector& spacing);
  /// The array over a box whose corners are the first and the last vertex; an axis of one vertex
  /// has a spacing of 0.
  static Larder::StrongPtr<UniformCartesianArray, Larder::Cacheable> overBox(
      const Heron::PhysicalSpace::point& lower, const MultiIndex<3>& size,
      const Heron::PhysicalSpace::point& upper);

  const Heron::PhysicalSpace::point& origin() const { return origin_; }
  const Heron::PhysicalSpace::vector& spacing() const { return spacing_; }
  Heron::PhysicalSpace::point operator[](const MultiIndex<3>& position) const;
  LinearCoordinateAxisArray axis(std::size_t i) const { return {origin_[i], spacing_[i]}; }

  std::size_t memsize() const override { return sizeof(*this); }
  std::uint64_t nElements() const override { return size_.product(); }
  MultiIndex<3> Size() const override { return size_; }
  const std::type_info& getType() const override { return typeid(Heron::PhysicalSpace::point); }
  HyperslabParameters getHyperslabParameters() const override { return {}; }
  const void* getPtr() const override { return nullptr; }
  Larder::StrongPtr<Larder::ChunkBase> getChunk() const override { return nullptr; }
  const double* OriginPtr() const override { return origin_.values; }
  const double* DeltaPtr() const override { return spacing_.values; }
  /// An array of rank 3 with memory of its own. \throw std::bad_alloc, std::length_error
  MemBaseHandle makeMemArray(const WeakCreator& creator) override;

 private:
  MultiIndex<3> size_;
  Heron::PhysicalSpace::point origin_;
  Heron::PhysicalSpace::vector spacing_;
};

}  // namespace Quilt
