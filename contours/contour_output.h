#pragma once

#include <cstdint>
#include <vector>

#include "recast/larder/chunk.h"
#include "recast/perch/fixed_array.h"

namespace Recast {

/// The lines of a whole run: every call of the tracing appends to it.
///
/// A line is a list of indices into `Points`. A ring holds each of its vertices once and ends with
/// its first index; it runs with the values above the level on its right, x to the right and y up.
struct ContourOutput {
  using Line = std::vector<unsigned int>;
  using Point = Heron::PhysicalSpace::point;

  std::uint32_t NextIndex = 0;  ///< index of the next vertex, counted through all calls
  Larder::StrongPtr<Larder::Chunk<Line>> LinesChunk;  ///< owns `Lines`
  std::vector<Line>& Lines;
  Larder::StrongPtr<Larder::Chunk<Point>> PointsChunk;  ///< owns `Points`
  std::vector<Point>& Points;                           ///< in world coordinates

  ContourOutput()
      : LinesChunk(new Larder::Chunk<Line>(0, true)),
        Lines(LinesChunk->base_vector()),
        PointsChunk(new Larder::Chunk<Point>(0, true)),
        Points(PointsChunk->base_vector()) {}
  ContourOutput(const ContourOutput&) = delete;
  ContourOutput& operator=(const ContourOutput&) = delete;
};

}  // namespace Recast
