#include "recast/contours/line_stitcher.h"

#include <limits>
#include <numeric>
#include <stdexcept>

namespace Recast::Contours {
namespace {

using Point = ContourOutput::Point;
using Vector = Heron::PhysicalSpace::vector;
using Number = EdgeNet::Number;

/// Takes lines off a net, one at a time.
class Stitcher {
 public:
  Stitcher(EdgeNet& net, const Point& origin, const Vector& spacing, ContourOutput& output)
      : net_(net), origin_(origin), spacing_(spacing), output_(output) {}

  void stitchFrom(Number start) {
    const std::size_t first = output_.Points.size();
    const bool closed = walk(start);
    const std::size_t vertices = output_.Points.size() - first;
    if (vertices > std::numeric_limits<std::uint32_t>::max() - output_.NextIndex) {
      output_.Points.resize(first);
      throw std::length_error("Contour: more vertices than 32 bits can number");
    }
    addLine(vertices, closed);
  }

 private:
  /// Appends the crossings from `start` to the line's end. \return true if it came back to `start`.
  bool walk(Number start) {
    Number current = start;
    do {
      output_.Points.push_back(toWorld(net_.crossing(current)));
      current = net_.takeAhead(current);
    } while (current != EdgeNet::kNone && current != start);
    return current == start;
  }

  Point toWorld(const Crossing& crossing) const {
    return {origin_.x() + static_cast<double>(crossing.alongI) * spacing_.x(),
            origin_.y() + static_cast<double>(crossing.alongJ) * spacing_.y(),
            static_cast<double>(crossing.height)};
  }

  void addLine(std::size_t vertices, bool closed) {
    const std::uint32_t firstIndex = output_.NextIndex;
    ContourOutput::Line& line = output_.Lines.emplace_back(vertices + (closed ? 1 : 0));
    std::iota(line.begin(), line.end(), firstIndex);
    if (closed) line.back() = firstIndex;
    output_.NextIndex += static_cast<std::uint32_t>(vertices);
  }

  EdgeNet& net_;
  const Point origin_;
  const Vector spacing_;
  ContourOutput& output_;
};

}  // namespace

void stitchLines(EdgeNet& net, const Point& origin, const Vector& spacing, ContourOutput& output) {
  Stitcher stitcher(net, origin, spacing, output);
  const auto edges = static_cast<Number>(net.size());
  for (Number edge = 0; edge < edges; ++edge)
    if (net.ahead(edge) != EdgeNet::kNone && !net.follows(edge)) stitcher.stitchFrom(edge);
  // What is left are rings, which may start anywhere.
  for (Number edge = 0; edge < edges; ++edge)
    if (net.ahead(edge) != EdgeNet::kNone) stitcher.stitchFrom(edge);
}

}  // namespace Recast::Contours
