#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "recast/contours/contour_fragment.h"
#include "recast/contours/contour_output.h"

namespace contour_tests {

/// The bits of x, y and z; all NaN alike.
using PointBits = std::array<std::uint64_t, 3>;
PointBits bitsOf(const Heron::PhysicalSpace::point& point);

struct Line {
  bool closed;
  std::vector<PointBits> points;  // of a ring, each once
  auto operator<=>(const Line&) const = default;
};
/// A ring that starts at the place that makes it smallest; an open line as it is.
Line canonical(Line line);

using Lines = std::vector<Line>;

/// Reads the output, in sorted order, and checks on the way that its lists are sound: vertices are
/// numbered one behind the other, each belongs to one line, and a line has at least two.
Lines linesOf(const Recast::ContourOutput& output);

/// A fragment of `columns` vertices along x whose heights and slice values are `values`, row by row
/// upwards, with all vertices open.
Recast::ContourFragment fragmentOf(std::size_t columns, const std::vector<float>& values);

}  // namespace contour_tests
