#pragma once

#include <memory>
#include <span>

#include "recast/contours/contour_fragment.h"
#include "recast/contours/contour_output.h"

namespace Recast {
namespace Contours {
class LevelSweep;
}

/// Traces the contour lines of one fragment.
///
///     FragmentTracer tracer(fragment);
///     tracer.trace(levels, output);
///
/// Marching squares with a fixed table: a vertex is above the level if its value is greater,
/// without any tolerance; NaN never is. The two corners of a saddle above the level stay apart.
///
/// An index made at construction tells which levels pass which part of the fragment. Several levels
/// are taken through the fragment together, so that a part is read once for all that pass it: the
/// cost is that of the vertices and the pieces of lines, and not of vertices times levels.
class FragmentTracer {
 public:
  /// Keeps the arrays alive; they must not change. Arrays that are missing, or heights or cell
  /// types that don't cover the slice values, are reported on the console, and no level is traced
  /// then. Of several layers only the first is traced, with a message. \param threads that trace at
  /// most; with 1 the calling thread traces alone. Messages are sent by the calling thread in any
  /// case, in the order of one thread.
  explicit FragmentTracer(const ContourFragment& fragment, std::size_t threads = 1);
  ~FragmentTracer();

  /// Appends the lines of the levels, level by level in the order given. A level that touches fewer
  /// than two of the fragment's own cells has none.
  /// \return the number of levels whose pieces were stitched, which says nothing about whether a
  /// line came out. \throw std::bad_alloc; std::length_error beyond 2^32 vertices
  std::size_t trace(std::span<const float> levels, ContourOutput& output);

 private:
  std::unique_ptr<Contours::LevelSweep> sweep_;  // null if there is nothing to trace
};

}  // namespace Recast
