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

double lengthOf(const PhysicalSpace::vector& v) {
  return std::sqrt(v.x() * v.x() + v.y() * v.y() + v.z() * v.z());
}

PhysicalSpace::vector normalized(const PhysicalSpace::vector& v) {
  const double length = lengthOf(v);
  return {v.x() / length, v.y() / length, v.z() / length};
}

/// Normal to the plane of the second and third corner and the mean of all.
PhysicalSpace::vector meanNormal(const std::vector<PhysicalSpace::point>& face) {
  PhysicalSpace::point mean;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    double sum = 0;
    for (const auto& corner : face) sum += corner[axis];
    mean[axis] = sum / static_cast<double>(face.size());
  }
  return cross(between(mean, face[1]), between(mean, face[2]));
}

/// Twice the area of the ring, as a vector: the sum over its edges, counted from the first corner
/// so that coordinates far from the origin lose no digits. Where the parts cancel each other, what
/// is left is rounding, and the mean normal is returned.
PhysicalSpace::vector ringNormal(const std::vector<PhysicalSpace::point>& face) {
  constexpr double kRounding = 1e-7;
  PhysicalSpace::vector sum{0.0, 0.0, 0.0};
  double total = 0;
  for (std::size_t i = 1; i + 1 < face.size(); ++i) {
    const auto part = cross(between(face[0], face[i]), between(face[0], face[i + 1]));
    for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += part[axis];
    total += lengthOf(part);
  }
  return lengthOf(sum) > kRounding * total ? sum : meanNormal(face);
}

}  // namespace

PhysicalSpace::vector faceNormal(const std::vector<PhysicalSpace::point>& face) {
  return normalized(face.size() == 3 ? meanNormal(face) : ringNormal(face));
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
