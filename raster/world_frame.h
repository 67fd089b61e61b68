#pragma once

#include <string>

#include "recast/meadow/multi_index.h"
#include "recast/perch/fixed_array.h"

/// The fixed frame that every uniform grid of heights spans, whatever its data: a raster is placed
/// in it by a whole number of its own cells, counted from the lower corner.
namespace Recast::WorldFrame {

Heron::PhysicalSpace::point lowerCorner();
Heron::PhysicalSpace::point upperCorner();
/// Vertices along x, y and z, a unit apart.
Quilt::MultiIndex<3> vertices();

/// The place of a raster in cells from the frame's lower corner, truncated; z is 0. A raster left
/// of or below the frame has no such place: it gets 0 there.
/// \param origin the centre of the lower-left cell.
Quilt::MultiIndex<3> offsetOf(const Heron::PhysicalSpace::point& origin, double cellX,
                              double cellY);
/// Gives the run's report a notice, for the raster of that file, if it got a 0 for that reason.
void reportIfOutside(const Heron::PhysicalSpace::point& origin, double cellX, double cellY,
                     const std::string& file);

/// `name`, or if that is empty `prefix` followed by the cell size truncated to an int.
std::string gridName(const std::string& name, const char* prefix, double cellSize);
inline constexpr const char* kUniformPrefix = "DGM_CellSize_";
inline constexpr const char* kPointPrefix = "Pkt_CellSize_";

}  // namespace Recast::WorldFrame
