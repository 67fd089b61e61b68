#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "recast/contours/contour_fragment.h"

namespace terrain {

/// A random number from -1 to 1 for each corner of a lattice.
inline double cornerValue(std::uint64_t column, std::uint64_t row, std::uint64_t salt) {
  std::uint64_t x = (column << 40) ^ (row << 16) ^ salt;
  x = (x ^ (x >> 31)) * 0xBF58476D1CE4E5B9U;
  x = (x ^ (x >> 27)) * 0x94D049BB133111EBU;
  return static_cast<double>((x ^ (x >> 31)) >> 11) * 0x1.0p-52 - 1.0;
}

/// From 0 to 1 without a kink at either end.
inline double smoothStep(double t) {
  return t * t * t * (t * (6.0 * t - 15.0) + 10.0);
}

/// The values along row `row` of a lattice of `wavelength` vertices.
inline std::vector<double> latticeRow(std::size_t side, double wavelength, std::uint64_t row) {
  std::vector<double> values(side);
  for (std::size_t i = 0; i < side; ++i) {
    const double x = static_cast<double>(i) / wavelength;
    const auto column = static_cast<std::uint64_t>(x);
    const auto salt = static_cast<std::uint64_t>(wavelength);
    values[i] = std::lerp(cornerValue(column, row, salt), cornerValue(column + 1, row, salt),
                          smoothStep(x - std::floor(x)));
  }
  return values;
}

/// Adds hills of `wavelength` vertices to `heights`, row by row, `side` vertices each way.
inline void addHills(float* heights, std::size_t side, double wavelength, double amplitude) {
  std::uint64_t row = 0;
  std::vector<double> low = latticeRow(side, wavelength, 0);
  std::vector<double> high = latticeRow(side, wavelength, 1);
  for (std::size_t j = 0; j < side; ++j) {
    const double y = static_cast<double>(j) / wavelength;
    for (; row < static_cast<std::uint64_t>(y); ++row) {
      low = std::move(high);
      high = latticeRow(side, wavelength, row + 2);
    }
    const double v = smoothStep(y - std::floor(y));
    for (std::size_t i = 0; i < side; ++i)
      heights[j * side + i] += static_cast<float>(amplitude * std::lerp(low[i], high[i], v));
  }
}

/// A rough terrain of `side` x `side` vertices, with hills from 1600 vertices wide down to 3; all
/// vertices are open.
inline Recast::ContourFragment make(std::size_t side) {
  const Quilt::MultiIndex<3> extent(side, side, 1);
  Recast::ContourFragment fragment;
  fragment.heights = Larder::makeStrong<Quilt::MemArray<3, float>>(extent, nullptr);
  fragment.sliceValues = fragment.heights;
  fragment.cellTypes = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(extent, nullptr);
  double amplitude = 200.0;
  for (double wavelength = 1600.0; wavelength > 3.0; wavelength /= 2.0) {
    addHills(fragment.heights->data, side, wavelength, amplitude);
    amplitude *= 0.62;
  }
  return fragment;
}

}  // namespace terrain
