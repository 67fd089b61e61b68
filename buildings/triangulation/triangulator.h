#pragma once

#include <span>
#include <vector>

#include "recast/buildings/triangulation/ear_candidates.h"
#include "recast/buildings/triangulation/reflex_index.h"
#include "recast/buildings/triangulation/reflex_list.h"
#include "recast/meadow/simplex_cell.h"

namespace Recast::Triangulation {

/// Ear clipping for many rings one after another: the working memory is kept from ring to ring, so
/// that once it has grown to the largest ring nothing is allocated but for the result.
/// An object serves one thread at a time.
class Triangulator {
 public:
  /// Appends the triangles of the ring to `triangles`, as `polygonToTriangle` tells.
  /// \pre fewer than 2^31 corners
  /// \return false if the ring can't be cut to its end; the triangles up to there are appended.
  bool triangulate(std::span<const Point> ring, std::vector<Quilt::Triangle>& triangles);

 private:
  bool runsCounterClockwise() const;
  bool turnsReflex(std::uint32_t previous, std::uint32_t corner, std::uint32_t next) const;
  void linkCorners();
  // The rest for the reflex corners as a list and as an index.
  template <class Reflex>
  bool clip(Reflex& reflex, std::vector<Quilt::Triangle>& triangles);
  template <class Reflex>
  std::uint32_t findBlocker(Reflex& reflex, std::uint32_t tip) const;
  template <class Reflex>
  void cut(Reflex& reflex, std::uint32_t tip);
  template <class Reflex>
  void earChanged(Reflex& reflex, std::uint32_t corner);
  Quilt::Triangle triangleAt(std::uint32_t tip) const;

  std::span<const Point> ring_;
  bool counterClockwise_ = false;
  // Per corner. Apart from each other, since a link is often read right after it was set, alone.
  std::vector<std::uint32_t> previous_, next_;
  std::vector<std::uint8_t> isReflex_;
  EarCandidates candidates_;
  ReflexList list_;
  ReflexIndex index_;
};

}  // namespace Recast::Triangulation
