#pragma once

#include <cstdint>

#include "recast/perch/fixed_array.h"

/// The arithmetic that decides what an ear is, in one place. All of it looks at x and y alone,
/// works in double in the order written and rounds to float where a float is named: another order
/// gives other triangles on rings far from the origin.
namespace Recast::Triangulation {

using Point = Heron::PhysicalSpace::point;

constexpr std::uint32_t kNoCorner = 0xFFFFFFFF;

/// The z component of the cross product of the edges p-q and q-r; positive for a left turn.
inline float windingValue(const Point& p, const Point& q, const Point& r) {
  return static_cast<float>((q.x() - p.x()) * (r.y() - q.y()) + (r.x() - q.x()) * (p.y() - q.y()));
}

/// Whether a corner of this winding is not convex in a ring of the given orientation. A straight
/// corner is reflex in either direction.
inline bool isReflexWinding(float winding, bool counterClockwise) {
  return counterClockwise ? winding <= 0 : winding >= 0;
}

/// Whether p is farther left than q, or as far left and lower.
inline bool isLeftOf(const Point& p, const Point& q) {
  return p.x() < q.x() || (p.x() == q.x() && p.y() < q.y());
}

inline bool samePlace(const Point& p, const Point& q) {
  return p.x() == q.x() && p.y() == q.y();
}

/// What a corner and its two neighbours span. Refers to the points.
struct Ear {
  const Point& a;  ///< the neighbour before
  const Point& b;  ///< the tip
  const Point& c;  ///< the neighbour after

  /// Negative if the ear runs clockwise.
  float signedArea() const {
    return static_cast<float>(
        ((c.x() - b.x()) * a.y() + b.x() * c.y() + ((b.y() - c.y()) * a.x() - c.x() * b.y())) *
        0.5);
  }
};

/// An ear that is asked about points: what depends on its corners alone is computed once.
class EarTriangle {
 public:
  explicit EarTriangle(const Ear& ear) : ear_(ear) {
    const auto& [a, b, c] = ear;
    const float area = ear.signedArea();
    const float sign = area < 0 ? -1.0F : 1.0F;
    doubleArea_ = (area + area) * sign;
    // A factor of -1 is exact, so that it can be applied before the sums rather than after.
    sx_ = (c.y() - a.y()) * sign;
    sy_ = (a.x() - c.x()) * sign;
    s1_ = c.x() * a.y() * sign;
    s2_ = c.y() * a.x() * sign;
    tx_ = (a.y() - b.y()) * sign;
    ty_ = (b.x() - a.x()) * sign;
    t1_ = a.x() * b.y() * sign;
    t2_ = b.x() * a.y() * sign;
  }

  /// Whether p lies in the triangle or on its edge, but not at the place of a corner.
  bool contains(const Point& p) const {
    const auto s = static_cast<float>(sx_ * p.x() + s1_ + (sy_ * p.y() - s2_));
    const auto t = static_cast<float>(ty_ * p.y() + t1_ + (tx_ * p.x() - t2_));
    // One branch, since a ring's shape makes each of these unpredictable.
    const bool inside = !(s < 0) & !(t < 0) & (doubleArea_ >= s + t);
    return inside && !samePlace(p, ear_.a) && !samePlace(p, ear_.b) && !samePlace(p, ear_.c);
  }

 private:
  Ear ear_;
  float doubleArea_;
  double sx_, sy_, s1_, s2_, tx_, ty_, t1_, t2_;
};

}  // namespace Recast::Triangulation
