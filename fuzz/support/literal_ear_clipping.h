#pragma once

#include <vector>

#include "buildings/rings.h"

/// Ear clipping word for word: a linked ring, a list of the reflex corners that every test walks,
/// and no thought of speed.
namespace LiteralEarClipping {

/// \return whether the ring was cut to its end.
bool triangulate(const TestRings::Ring& points, std::vector<Quilt::Triangle>& triangles);

float windingValue(const TestRings::Ring& points, std::size_t previous, std::size_t index,
                   std::size_t next);
bool contains(const Heron::PhysicalSpace::point& a, const Heron::PhysicalSpace::point& b,
              const Heron::PhysicalSpace::point& c, const Heron::PhysicalSpace::point& p);

}  // namespace LiteralEarClipping
