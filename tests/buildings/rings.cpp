#include "buildings/rings.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TestRings {

namespace {

using Point = Heron::PhysicalSpace::point;

/// There along one side of a band round the origin, back along the other.
Ring spiral(std::size_t n, double turns, double pitch, double width) {
  Ring ring;
  const std::size_t half = std::max<std::size_t>(n / 2, 2);
  for (std::size_t k = 0; k < 2 * half; ++k) {
    const std::size_t step = k < half ? k : 2 * half - 1 - k;
    const double turn = turns * static_cast<double>(step) / static_cast<double>(half);
    const double radius = 1 + pitch * turn + (k < half ? 0 : width);
    const Point p = onCircle(turn - std::floor(turn));
    ring.emplace_back(radius * p.x(), radius * p.y(), 0.0);
  }
  return ring;
}

Ring comb(Random& random, std::size_t n) {
  Ring ring;
  const double length = random.between(0.1, 1000);
  for (std::size_t i = 0; i < n / 2; ++i) {
    ring.emplace_back(static_cast<double>(i), 0.0, 0.0);
    ring.emplace_back(static_cast<double>(i) + 0.5, length * random.between(0.5, 1), 0.0);
  }
  ring.emplace_back(static_cast<double>(n), -1.0, 0.0);
  ring.emplace_back(-1.0, -1.0, 0.0);
  return ring;
}

Ring stairs(std::size_t n) {
  Ring ring;
  const double steps = static_cast<double>(n / 2);
  for (std::size_t i = 0; i < n / 2; ++i) {
    ring.emplace_back(static_cast<double>(i), static_cast<double>(i), 0.0);
    ring.emplace_back(static_cast<double>(i + 1), static_cast<double>(i), 0.0);
  }
  ring.emplace_back(steps, steps, 0.0);
  ring.emplace_back(0.0, steps, 0.0);
  return ring;
}

/// Whole coordinates below `places`: repeated points, straight corners, edges upon each other.
Ring lattice(Random& random, std::size_t n, std::size_t places) {
  Ring ring;
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t x = random.below(places);
    ring.emplace_back(static_cast<double>(x), static_cast<double>(random.below(places)), 0.0);
  }
  return ring;
}

/// A star some of whose coordinates are what no map has.
Ring withWildValues(Random& random, std::size_t n) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const double wild[] = {kNaN, kInfinity, -kInfinity, 1e300, -1e200, 1e16, -1e15, 5e-324, -0.0};
  Ring ring = star(random, n, 10, 0.5);
  for (std::size_t k = 0; k <= random.below(1 + n / 8); ++k) {
    const std::size_t corner = random.below(n);
    const std::size_t axis = random.below(2);
    ring[corner][axis] = wild[random.below(std::size(wild))];
  }
  return ring;
}

Ring scaled(Ring ring, double factor) {
  for (Point& p : ring) p = Point(p.x() * factor, p.y() * factor, 0.0);
  return ring;
}

}  // namespace

std::uint64_t Random::bits() {
  std::uint64_t z = state_ += 0x9E3779B97F4A7C15;
  z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
  z = (z ^ z >> 27) * 0x94D049BB133111EB;
  return z ^ z >> 31;
}

double Random::between(double low, double high) {
  const double unit = static_cast<double>(bits() >> 11) * 0x1p-53;
  return low + (high - low) * unit;
}

Point onCircle(double turn) {
  const double side = turn * 4;
  const double along = (side - std::floor(side)) * 2 - 1;
  const double length = std::sqrt(1 + along * along);
  if (side < 1) return {1 / length, along / length, 0.0};
  if (side < 2) return {-along / length, 1 / length, 0.0};
  if (side < 3) return {-1 / length, -along / length, 0.0};
  return {along / length, -1 / length, 0.0};
}

Ring star(Random& random, std::size_t n, double radius, double noise) {
  Ring ring;
  for (std::size_t i = 0; i < n; ++i) {
    const Point p = onCircle(static_cast<double>(i) / static_cast<double>(n));
    const double distance = radius * (1 + noise * random.between(-1, 1));
    ring.emplace_back(p.x() * distance, p.y() * distance, 0.0);
  }
  return ring;
}

const std::vector<Family>& families() {
  static const std::vector<Family> all{
      {"star", [](Random& r, std::size_t n) { return star(r, n, 10, r.between(0, 0.95)); }, true},
      {"smooth star", [](Random& r, std::size_t n) { return star(r, n, 1000, 1e-6); }},
      {"circle", [](Random& r, std::size_t n) { return star(r, n, 50, 0); }},
      {"spiral", [](Random& r, std::size_t n) { return spiral(n, r.between(1, 5), 2, 1); }, true},
      {"tight spiral",
       [](Random&, std::size_t n) { return spiral(n, 1 + static_cast<double>(n) / 20, 2, 1.5); },
       true},
      {"comb", comb, true},
      {"stairs", [](Random&, std::size_t n) { return stairs(n); }, true},
      {"few places", [](Random& r, std::size_t n) { return lattice(r, n, 3); }},
      {"many places", [](Random& r, std::size_t n) { return lattice(r, n, 40); }},
      {"line",
       [](Random& r, std::size_t n) {
         Ring ring = lattice(r, n, 30);
         for (Point& p : ring) p.y() = 2 * p.x();
         return ring;
       }},
      {"wild values", withWildValues},
      {"tiny", [](Random& r, std::size_t n) { return scaled(star(r, n, 1, 0.5), 1e-25); }},
      {"huge", [](Random& r, std::size_t n) { return scaled(star(r, n, 1, 0.5), 1e17); }},
  };
  return all;
}

Ring varied(Ring ring, unsigned variant) {
  for (Point& p : ring) {
    if (variant & 1) p = Point(0.6 * p.x() - 0.8 * p.y(), 0.8 * p.x() + 0.6 * p.y(), 0.0);
    if (variant & 4) p = Point(p.x() + 3.5e6, p.y() + 5.4e6, 0.0);
  }
  if (variant & 2) std::reverse(ring.begin(), ring.end());
  return ring;
}

std::uint64_t digest(const std::vector<Quilt::Triangle>& triangles, std::uint64_t before) {
  std::uint64_t hash = before;
  for (const Quilt::Triangle& triangle : triangles)
    for (const unsigned int corner : triangle.values) hash = (hash ^ corner) * 0x100000001B3;
  return (hash ^ triangles.size()) * 0x100000001B3;
}

}  // namespace TestRings
