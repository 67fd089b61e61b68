#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "recast/meadow/simplex_cell.h"
#include "recast/perch/fixed_array.h"

/// Rings of many kinds, the same on every machine: no library function has a say in them but sqrt,
/// which is exact to the last bit everywhere.
namespace TestRings {

using Ring = std::vector<Heron::PhysicalSpace::point>;

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t bits();
  /// At least `low` and below `high`.
  double between(double low, double high);
  std::size_t below(std::size_t n) { return static_cast<std::size_t>(bits() % n); }

 private:
  std::uint64_t state_;
};

/// A place on the unit circle; `turn` from 0 to 1 goes round once, counter-clockwise, though not
/// evenly.
Heron::PhysicalSpace::point onCircle(double turn);

/// A corner in each of n directions, at a distance of `radius` times up to 1 + noise.
Ring star(Random& random, std::size_t n, double radius, double noise);

struct Family {
  std::string name;
  std::function<Ring(Random&, std::size_t)> make;  ///< about so many corners
  bool isSimple = false;                           ///< no edge crosses or touches another
};
/// Simple rings, and shapes that no ear clipping should meet: crossing rings, lines, repeated
/// points, values that aren't numbers.
const std::vector<Family>& families();

/// The ring turned by about 53 degrees, run backwards, or moved to where national grids have their
/// numbers, by the bits of `variant` (0 to 7).
Ring varied(Ring ring, unsigned variant);

/// The area in x and y of a triangle, positive if it runs counter-clockwise.
inline double signedArea(const Heron::PhysicalSpace::point& a, const Heron::PhysicalSpace::point& b,
                         const Heron::PhysicalSpace::point& c) {
  return ((b.x() - a.x()) * (c.y() - a.y()) - (b.y() - a.y()) * (c.x() - a.x())) / 2;
}

/// A number that stands for the triangles, their order and the order of their corners.
std::uint64_t digest(const std::vector<Quilt::Triangle>& triangles, std::uint64_t before);

}  // namespace TestRings
