#include "recast/buildings/face_projection.h"

#include <cmath>

namespace Recast {
namespace {

using Heron::PhysicalSpace;

PhysicalSpace::vector cross(const PhysicalSpace::vector& a, const PhysicalSpace::vector& b) {
  return {a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
          a.x() * b.y() - a.y() * b.x()};
}

PhysicalSpace::vector between(const PhysicalSpace::point& from, const PhysicalSpace::point& to) {
  return {to.x() - from.x(), to.y() - from.y(), to.z() - from.z()};
}

PhysicalSpace::vector normalized(const PhysicalSpace::vector& v) {
  const double length = std::sqrt(v.x() * v.x() + v.y() * v.y() + v.z() * v.z());
  return {v.x() / length, v.y() / length, v.z() / length};
}

/// Twice the area of the triangle, as a vector, from two corners and the mean of the three.
PhysicalSpace::vector triangleNormal(const std::vector<PhysicalSpace::point>& face) {
  PhysicalSpace::point mean;
  for (std::size_t i = 0; i < 3; ++i) mean[i] = (face[0][i] + face[1][i] + face[2][i]) / 3.0;
  return cross(between(mean, face[1]), between(mean, face[2]));
}

/// Twice the area of the ring, as a vector: the sum over its edges, counted from the first corner
/// so that coordinates far from the origin lose no digits.
PhysicalSpace::vector ringNormal(const std::vector<PhysicalSpace::point>& face) {
  PhysicalSpace::vector sum{0.0, 0.0, 0.0};
  for (std::size_t i = 1; i + 1 < face.size(); ++i) {
    const auto part = cross(between(face[0], face[i]), between(face[0], face[i + 1]));
    for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += part[axis];
  }
  return sum;
}

}  // namespace

PhysicalSpace::vector faceNormal(const std::vector<PhysicalSpace::point>& face) {
  return normalized(face.size() == 3 ? triangleNormal(face) : ringNormal(face));
}

void projectAlong(const PhysicalSpace::vector& n, std::vector<PhysicalSpace::point>& face) {
  constexpr double kSquaredNothing = 1e-16;
  const double squared = n.x() * n.x() + n.y() * n.y() + (n.z() + 1) * (n.z() + 1);
  if (!(squared > kSquaredNothing)) return;
  const double length = std::sqrt(squared);
  const double a = n.y() / length;
  const double b = n.x() / length;
  const double s = (n.z() + 1) / length;
  for (auto& p : face) {
    const double x = (s * s + a * a - b * b) * p.x() - 2 * a * b * p.y() - 2 * s * b * p.z();
    const double y = -2 * a * b * p.x() + (s * s - a * a + b * b) * p.y() - 2 * s * a * p.z();
    p = {x, y, 0.0};
  }
}

}  // namespace Recast
