// Ear clipping of star-shaped rings with noise: corners at even angles, at distances of 7 to 13.
// `corner` is the time for one corner. The rings of a size are several, 40,000 corners together, so
// that the branch predictor can't learn them by heart. compare_earcut.py beside this file sets the
// figures against those of another program in the same run.
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <random>

#include <benchmark/benchmark.h>

#include "recast/buildings/polygon_triangulation.h"

namespace {

using Ring = std::vector<Heron::PhysicalSpace::point>;
using Triangles = std::vector<Quilt::Triangle>;

std::vector<Ring> stars(std::size_t corners) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> distance(7, 13);
  std::vector<Ring> rings(std::max<std::size_t>(40'000 / corners, 1));
  for (Ring& ring : rings) {
    for (std::size_t i = 0; i < corners; ++i) {
      const double angle = 2 * M_PI * static_cast<double>(i) / static_cast<double>(corners);
      const double r = distance(random);
      ring.emplace_back(r * std::cos(angle), r * std::sin(angle), 0.0);
    }
  }
  return rings;
}

double cross(const Heron::PhysicalSpace::point& p, const Heron::PhysicalSpace::point& q) {
  return p.x() * q.y() - p.y() * q.x();
}

/// The triangles must have the ring's orientation, number and area.
void check(Ring& ring) {
  Triangles triangles;
  const std::string text = Recast::polygonToTriangle(ring, triangles);
  double area = 0;
  for (std::size_t i = 0; i < ring.size(); ++i) area += cross(ring[i], ring[(i + 1) % ring.size()]);
  bool turned = false;
  for (const Quilt::Triangle& t : triangles) {
    const double part = cross(ring[t[0]], ring[t[1]]) + cross(ring[t[1]], ring[t[2]]) +
                        cross(ring[t[2]], ring[t[0]]);
    area -= part;
    turned |= part < -1e-9;
  }
  if (text.empty() && triangles.size() == ring.size() - 2 && !turned && std::abs(area) < 1e-6)
    return;
  std::cerr << "A ring of " << ring.size() << " corners was cut wrongly\n";
  std::exit(1);
}

void starShapedRings(benchmark::State& state) {
  std::vector<Ring> rings = stars(static_cast<std::size_t>(state.range(0)));
  for (Ring& ring : rings) check(ring);
  Triangles triangles;
  for (auto _ : state) {
    for (Ring& ring : rings) {
      triangles.clear();
      benchmark::DoNotOptimize(Recast::polygonToTriangle(ring, triangles));
    }
  }
  const auto corners = static_cast<double>(rings.size() * rings.front().size());
  state.counters["corner"] = benchmark::Counter(
      corners, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

BENCHMARK(starShapedRings)
    ->ArgName("corners")
    ->ArgsProduct({{4, 6, 10, 50, 100, 1000, 10'000, 100'000, 1'000'000}});

}  // namespace

BENCHMARK_MAIN();
