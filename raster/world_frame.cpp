#include "recast/raster/world_frame.h"

#include <array>
#include <cstdint>

#include "recast/raster/truncation.h"
#include "recast/recastbase/run_report.h"

namespace Recast::WorldFrame {
Heron::PhysicalSpace::point lowerCorner() {
  return {3000000.0, 5000000.0, 0.0};
}
Heron::PhysicalSpace::point upperCorner() {
  return {34000000.0, 34000000.0, 0.0};
}
Quilt::MultiIndex<3> vertices() {
  return {31000001, 29000001, 1};
}

namespace {

/// Cells from the lower corner.
std::array<double, 2> distances(const Heron::PhysicalSpace::point& origin, double cellX,
                                double cellY) {
  return {(origin.x() - lowerCorner().x()) / cellX, (origin.y() - lowerCorner().y()) / cellY};
}

}  // namespace

Quilt::MultiIndex<3> offsetOf(const Heron::PhysicalSpace::point& origin, double cellX,
                              double cellY) {
  const auto [x, y] = distances(origin, cellX, cellY);
  return {truncated<std::uint64_t>(x), truncated<std::uint64_t>(y), std::uint64_t{0}};
}

void reportIfOutside(const Heron::PhysicalSpace::point& origin, double cellX, double cellY,
                     const std::string& file) {
  const auto [x, y] = distances(origin, cellX, cellY);
  if (x > -1.0 && y > -1.0) return;
  reportNotice(file + ": lies left of or below the world frame, whose lower corner is " +
               std::to_string(lowerCorner().x()) + " " + std::to_string(lowerCorner().y()) +
               "; its offset counts as 0 there");
}

std::string gridName(const std::string& name, const char* prefix, double cellSize) {
  return name.empty() ? prefix + std::to_string(truncated<int>(cellSize)) : name;
}

}  // namespace Recast::WorldFrame
