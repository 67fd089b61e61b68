#pragma once

#include <span>

#include "recast/buildings/triangulation/corner_arithmetic.h"
#include "recast/buildings/triangulation/lanes.h"

/// Rules out points and boxes of points that `EarTriangle::contains` can't say yes to, in float and
/// relative to the ring's origin, with bounds wide enough for every rounding there and here.
/// docs/ear-clipping.md derives them.
namespace Recast::Triangulation {

/// Whether the point's coordinates are small enough for products of them to be computed in float.
/// The others, among them what isn't a number, can't be filtered.
bool isTame(const Point& p);

/// Where the tame points of a ring lie, and how exact the arithmetic is there.
struct Frame {
  double originX = 0;  ///< the box's lower left corner
  double originY = 0;
  double extent = 0;    ///< the longer side of the box
  double error = 0;     ///< bounds that of the doubled area, s and t in `contains`, before floats
  bool allTame = true;  ///< whether the ring has no other points

  static Frame of(std::span<const Point> ring);
  /// The place of a tame point relative to the origin.
  float x(const Point& p) const { return static_cast<float>(p.x() - originX); }
  float y(const Point& p) const { return static_cast<float>(p.y() - originY); }
};

/// Boxes of points, one a lane.
struct Boxes {
  Lanes minX, maxX, minY, maxY;

  void clear();
  /// Sets one box to that around all of `other`.
  void set(std::uint32_t lane, const Boxes& other);
};

/// What the points that may be in an ear satisfy: s and t not below a bound, and their sum not
/// above one, where s and t are linear in x and y.
class EarSides {
 public:
  /// \pre the corners are tame
  EarSides(const Ear& ear, const Frame& frame);

  /// The lanes whose point may be inside, one bit each.
  std::uint32_t mayContain(const Lanes& x, const Lanes& y) const {
    return mayContain(x, y, 0) | mayContain(x, y, 4) << 4;
  }
  /// The lanes whose box may hold a point inside.
  std::uint32_t mayTouch(const Boxes& boxes) const;

 private:
  std::uint32_t mayContain(const Lanes& x, const Lanes& y, std::uint32_t first) const {
    const Float4 px = fourOf(x, first);
    const Float4 py = fourOf(y, first);
    const Float4 s = sx_ * px + sy_ * py;
    const Float4 t = tx_ * px + ty_ * py;
    return bitsOf((s < minS_) | (t < minT_) | (s + t > maxSum_)) ^ 0xF;
  }

  // Each value in all four lanes.
  Float4 sx_, sy_, tx_, ty_;
  Float4 minS_, minT_, maxSum_;
};

/// The box that the points which may be in an ear lie in.
class EarWindow {
 public:
  /// \pre the corners are tame
  EarWindow(const Ear& ear, const Frame& frame);

  /// The lanes whose box overlaps the window.
  std::uint32_t overlaps(const Boxes& boxes) const;

 private:
  float minX_, maxX_, minY_, maxY_;
};

}  // namespace Recast::Triangulation
