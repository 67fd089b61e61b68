#include "recast/raster/world_frame.h"

#include <cstdint>

#include "recast/larder/console.h"
#include "recast/raster/truncation.h"

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

Quilt::MultiIndex<3> offsetOf(const Heron::PhysicalSpace::point& origin, double cellX, double cellY,
                              const std::string& file) {
  const double x = (origin.x() - lowerCorner().x()) / cellX;
  const double y = (origin.y() - lowerCorner().y()) / cellY;
  if (!(x > -1.0) || !(y > -1.0))
    Larder::Console() << file << ": lies left of or below the world frame, whose lower corner is "
                      << lowerCorner().x() << " " << lowerCorner().y()
                      << "; its offset counts as 0 there.";
  return {truncated<std::uint64_t>(x), truncated<std::uint64_t>(y), std::uint64_t{0}};
}

std::string gridName(const std::string& name, const char* prefix, double cellSize) {
  return name.empty() ? prefix + std::to_string(truncated<int>(cellSize)) : name;
}

}  // namespace Recast::WorldFrame
