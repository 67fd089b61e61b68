#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <vector>

#include "recast/contours/contour_fragment.h"
#include "recast/contours/contour_output.h"
#include "recast/larder/console.h"

namespace contour_tests {

/// The bits of x, y and z; all NaN alike.
using PointBits = std::array<std::uint64_t, 3>;
PointBits bitsOf(const Heron::PhysicalSpace::point& point);

/// A line whose direction and starting place are taken out where they are free: a ring starts at
/// the place that makes it smallest, an open line runs in the direction that does.
struct Line {
  bool closed;
  std::vector<PointBits> points;  // of a ring, each once
  auto operator<=>(const Line&) const = default;
};
Line canonical(Line line);

struct Piece {
  PointBits from;
  PointBits to;
  auto operator<=>(const Piece&) const = default;
};

/// What lines are made of, in sorted order, so that sets can be compared.
struct LineSet {
  std::vector<Line> lines;
  std::vector<Piece> pieces;  // in the direction of the lines
  void add(const LineSet& other);
  void sort();
  bool operator==(const LineSet&) const = default;
};

/// Reads the output and checks on the way that its lists are sound: vertices are numbered one
/// behind the other, each belongs to one line, and a line has at least two.
LineSet lineSetOf(const Recast::ContourOutput& output);

/// A fragment of `columns` vertices along x whose heights and slice values are `values`, row by row
/// upwards, with all vertices open.
Recast::ContourFragment fragmentOf(std::size_t columns, const std::vector<float>& values);

/// Catches what goes to the console while it lives.
class ConsoleCapture {
 public:
  ConsoleCapture();
  ~ConsoleCapture();
  std::vector<std::string> messages;

 private:
  Larder::Console::Sink before_;
};

}  // namespace contour_tests
