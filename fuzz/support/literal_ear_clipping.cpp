#include "support/literal_ear_clipping.h"

#include <algorithm>

namespace LiteralEarClipping {

namespace {

using Point = Heron::PhysicalSpace::point;

struct Vertex {
  Vertex* previous;
  Vertex* next;
  std::size_t index;
  float winding;
  bool reflex;
};

class Clipping {
 public:
  explicit Clipping(const TestRings::Ring& points) : points_(points), ring_(points.size()) {
    const std::size_t n = points.size();
    init(0, n - 1, 1);
    init(n - 1, n - 2, 0);
    std::size_t leftmost = 0;
    updateLeftmost(n - 1, leftmost);
    for (std::size_t i = 1; i + 1 < n; ++i) {
      init(i, i - 1, i + 1);
      updateLeftmost(i, leftmost);
    }
    counterClockwise_ = ring_[leftmost].winding > 0;
    for (Vertex& v : ring_) {
      v.reflex = isReflex(v);
      if (v.reflex) reflex_.push_back(&v);
    }
  }

  bool run(std::vector<Quilt::Triangle>& triangles) {
    std::size_t remaining = ring_.size();
    std::size_t failures = 0;
    Vertex* current = &ring_[0];
    while (true) {
      Vertex* const next = current->next;
      if (isEarTip(*current)) {
        append(*current, triangles);
        clip(*current);
        if (--remaining == 3) break;
        failures = 0;
      } else if (++failures > remaining) {
        return false;
      }
      current = next;
    }
    append(*current->next, triangles);
    return true;
  }

 private:
  void init(std::size_t i, std::size_t previous, std::size_t next) {
    ring_[i] = {&ring_[previous], &ring_[next], i, windingValue(points_, previous, i, next), false};
  }
  void updateLeftmost(std::size_t i, std::size_t& leftmost) const {
    if (points_[i].x() < points_[leftmost].x() ||
        (points_[i].x() == points_[leftmost].x() && points_[i].y() < points_[leftmost].y()))
      leftmost = i;
  }
  bool isReflex(const Vertex& v) const {
    return counterClockwise_ ? v.winding <= 0 : v.winding >= 0;
  }
  bool isEarTip(const Vertex& v) const {
    if (v.reflex) return false;
    for (const Vertex* r : reflex_)
      if (r != v.previous && r != v.next &&
          contains(points_[v.previous->index], points_[v.index], points_[v.next->index],
                   points_[r->index]))
        return false;
    return true;
  }
  void clip(Vertex& v) {
    v.previous->next = v.next;
    v.next->previous = v.previous;
    for (Vertex* neighbour : {v.previous, v.next}) {
      if (!neighbour->reflex) continue;
      neighbour->winding = windingValue(points_, neighbour->previous->index, neighbour->index,
                                        neighbour->next->index);
      if (isReflex(*neighbour)) continue;
      neighbour->reflex = false;
      reflex_.erase(std::find(reflex_.begin(), reflex_.end(), neighbour));
    }
  }
  static void append(const Vertex& v, std::vector<Quilt::Triangle>& triangles) {
    triangles.emplace_back(v.previous->index, v.index, v.next->index);
  }

  const TestRings::Ring& points_;
  std::vector<Vertex> ring_;
  std::vector<Vertex*> reflex_;
  bool counterClockwise_ = false;
};

}  // namespace

bool triangulate(const TestRings::Ring& points, std::vector<Quilt::Triangle>& triangles) {
  if (points.size() <= 2) return true;
  if (points.size() == 3) {
    triangles.emplace_back(0, 1, 2);
    return true;
  }
  return Clipping(points).run(triangles);
}

float windingValue(const TestRings::Ring& points, std::size_t previous, std::size_t index,
                   std::size_t next) {
  const Point& p = points[previous];
  const Point& q = points[index];
  const Point& r = points[next];
  return static_cast<float>((q.x() - p.x()) * (r.y() - q.y()) + (r.x() - q.x()) * (p.y() - q.y()));
}

bool contains(const Point& a, const Point& b, const Point& c, const Point& p) {
  for (const Point* corner : {&a, &b, &c})
    if (p.x() == corner->x() && p.y() == corner->y()) return false;
  const float area = static_cast<float>(
      ((c.x() - b.x()) * a.y() + b.x() * c.y() + ((b.y() - c.y()) * a.x() - c.x() * b.y())) * 0.5);
  const float sign = area < 0 ? -1.0F : 1.0F;
  const float s = static_cast<float>(
      ((c.y() - a.y()) * p.x() + c.x() * a.y() + ((a.x() - c.x()) * p.y() - c.y() * a.x())) * sign);
  const float t = static_cast<float>(
      ((b.x() - a.x()) * p.y() + a.x() * b.y() + ((a.y() - b.y()) * p.x() - b.x() * a.y())) * sign);
  if (s < 0 || t < 0) return false;
  return (area + area) * sign >= s + t;
}

}  // namespace LiteralEarClipping
