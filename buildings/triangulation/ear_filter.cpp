#include "recast/buildings/triangulation/ear_filter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Recast::Triangulation {

namespace {

constexpr double kTame = 1e15;
constexpr double kDoubleRounding = 4.5e-16;  // of s, t and the area, relative to their terms
constexpr double kFloatRounding = 1e-6;      // of s, t and s + t in float lanes, likewise
constexpr double kUnderflow = 1e-28;         // bounds what is lost by underflow in float

}  // namespace

bool isTame(const Point& p) {
  return std::abs(p.x()) <= kTame && std::abs(p.y()) <= kTame;
}

Frame Frame::of(std::span<const Point> ring) {
  Frame frame;
  double minX = kTame;
  double maxX = -kTame;
  double minY = kTame;
  double maxY = -kTame;
  for (const Point& p : ring) {
    if (!isTame(p)) {
      frame.allTame = false;
      continue;
    }
    minX = std::min(minX, p.x());
    maxX = std::max(maxX, p.x());
    minY = std::min(minY, p.y());
    maxY = std::max(maxY, p.y());
  }
  frame.originX = minX;
  frame.originY = minY;
  const double width = maxX - minX;
  const double height = maxY - minY;
  const double farX = std::max(std::abs(minX), std::abs(maxX));
  const double farY = std::max(std::abs(minY), std::abs(maxY));
  frame.extent = std::max(width, height);
  frame.error = kDoubleRounding * (height * farX + width * farY + 2 * farX * farY) + kUnderflow;
  return frame;
}

void Boxes::clear() {
  constexpr float inf = std::numeric_limits<float>::infinity();
  minX.fill(inf);
  maxX.fill(-inf);
  minY.fill(inf);
  maxY.fill(-inf);
}

void Boxes::set(std::uint32_t lane, const Boxes& other) {
  minX[lane] = *std::min_element(other.minX.begin(), other.minX.end());
  maxX[lane] = *std::max_element(other.maxX.begin(), other.maxX.end());
  minY[lane] = *std::min_element(other.minY.begin(), other.minY.end());
  maxY[lane] = *std::max_element(other.maxY.begin(), other.maxY.end());
}

EarSides::EarSides(const Ear& ear, const Frame& frame) {
  const auto& [a, b, c] = ear;
  const double area = ear.signedArea();
  const double sign = area < 0 ? -1 : 1;
  const double sx = (c.y() - a.y()) * sign;
  const double sy = (a.x() - c.x()) * sign;
  const double tx = (a.y() - b.y()) * sign;
  const double ty = (b.x() - a.x()) * sign;
  const double ax = a.x() - frame.originX;
  const double ay = a.y() - frame.originY;
  const double s0 = sx * ax + sy * ay;
  const double t0 = tx * ax + ty * ay;
  const double steepness = std::abs(sx) + std::abs(sy) + std::abs(tx) + std::abs(ty);
  const double slack = 4 * frame.error + kFloatRounding * frame.extent * steepness;
  const auto spread = [](double v) { return all(static_cast<float>(v)); };
  sx_ = spread(sx);
  sy_ = spread(sy);
  tx_ = spread(tx);
  ty_ = spread(ty);
  minS_ = spread(s0 - slack);
  minT_ = spread(t0 - slack);
  maxSum_ = spread(s0 + t0 + 2 * area * sign + slack);
}

/// A box is outside if its corner farthest into the triangle is, for any one side.
std::uint32_t EarSides::mayTouch(const Boxes& boxes) const {
  const auto& [minX, maxX, minY, maxY] = boxes;
  const Float4 sumX = sx_ + tx_;
  const Float4 sumY = sy_ + ty_;
  const Lanes& xs = sx_[0] > 0 ? maxX : minX;
  const Lanes& ys = sy_[0] > 0 ? maxY : minY;
  const Lanes& xt = tx_[0] > 0 ? maxX : minX;
  const Lanes& yt = ty_[0] > 0 ? maxY : minY;
  const Lanes& xSum = sumX[0] > 0 ? minX : maxX;
  const Lanes& ySum = sumY[0] > 0 ? minY : maxY;
  const auto outside = [&](std::uint32_t i) {
    return bitsOf((sx_ * fourOf(xs, i) + sy_ * fourOf(ys, i) < minS_) |
                  (tx_ * fourOf(xt, i) + ty_ * fourOf(yt, i) < minT_) |
                  (sumX * fourOf(xSum, i) + sumY * fourOf(ySum, i) > maxSum_));
  };
  return 0xFF ^ (outside(0) | outside(4) << 4);
}

/// A flat ear's rounding errors reach far beyond its corners: then there is no window.
EarWindow::EarWindow(const Ear& ear, const Frame& frame) {
  minX_ = minY_ = -std::numeric_limits<float>::max();
  maxX_ = maxY_ = std::numeric_limits<float>::max();
  const auto& [a, b, c] = ear;
  const double doubleArea = 2 * std::abs(static_cast<double>(ear.signedArea()));
  if (!(doubleArea > 2 * frame.error)) return;
  const double relative = 2e-6 + 16 * frame.error / doubleArea;
  const auto [minX, maxX] = std::minmax({a.x(), b.x(), c.x()});
  const auto [minY, maxY] = std::minmax({a.y(), b.y(), c.y()});
  const double marginX = (maxX - minX) * relative;
  const double marginY = (maxY - minY) * relative;
  minX_ = static_cast<float>(minX - marginX - frame.originX);
  maxX_ = static_cast<float>(maxX + marginX - frame.originX);
  minY_ = static_cast<float>(minY - marginY - frame.originY);
  maxY_ = static_cast<float>(maxY + marginY - frame.originY);
}

std::uint32_t EarWindow::overlaps(const Boxes& boxes) const {
  const auto outside = [&](std::uint32_t i) {
    return bitsOf((fourOf(boxes.maxX, i) < all(minX_)) | (fourOf(boxes.minX, i) > all(maxX_)) |
                  (fourOf(boxes.maxY, i) < all(minY_)) | (fourOf(boxes.minY, i) > all(maxY_)));
  };
  return 0xFF ^ (outside(0) | outside(4) << 4);
}

}  // namespace Recast::Triangulation
