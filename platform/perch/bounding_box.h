#pragma once

#include <string>

#include "recast/larder/interfaces.h"
#include "recast/perch/fixed_array.h"

namespace Heron {

/// The smallest ball around a box.
struct BoundingBall {
  PhysicalSpace::point center{0.0, 0.0, 0.0};
  double radius = 0.0;
};

/// A box along the axes with the ball around it, in the unit of the data. Can be attached to a
/// field or to a fragment's creator. Empty until it is first expanded or set.
class RECAST_API BoundingBox : public Larder::Interface<BoundingBox> {
 public:
  BoundingBox() = default;
  BoundingBox(const PhysicalSpace::point& minimum, const PhysicalSpace::point& maximum);

  bool empty() const { return empty_; }
  const PhysicalSpace::point& minimum() const { return box_.minimum; }
  const PhysicalSpace::point& maximum() const { return box_.maximum; }
  const PhysicalSpace::AABB& box() const { return box_; }
  const BoundingBall& ball() const { return ball_; }

  void set(const PhysicalSpace::point& minimum, const PhysicalSpace::point& maximum);
  /// Widens the box to hold `other`.
  void expand(const BoundingBox& other);
  /// Takes the ball anew from the corners.
  void updateBall();

 private:
  BoundingBall ball_;
  PhysicalSpace::AABB box_{};
  bool empty_ = true;
};

/// "{" x "," y "," z "}", each component as by "%f".
RECAST_API std::string to_string(const FixedArray<double, 3>& values);

}  // namespace Heron
