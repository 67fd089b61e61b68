#pragma once

#include <string>

#include "cityjson.h"

#include "recast/trellis/grid.h"

namespace RecastHost {

/// What of a model went into a bundle.
struct BuildingCount {
  std::size_t buildings = 0;
  std::size_t rings = 0;
  std::size_t holes = 0;        ///< inner rings, which became rings of their own
  std::size_t withoutBase = 0;  ///< objects without a level face at their lowest point
};

/// Adds a model as one fragment of a grid, as `Recast::convertLOD1toTIN` reads it: of each object
/// the level faces at its lowest point, with the z of the ground and the height above it.
BuildingCount addFootprints(Quilt::Grid& grid, const std::string& fragment, const CityModel& model);

/// Adds a model as one fragment of a grid, as `Recast::convertLOD2toTIN` reads it: all faces, with
/// the number of their building. The attribute "Buildings" of the grid lists the buildings'
/// identifiers; numbers count from 1 and go on from those that are there.
BuildingCount addShells(Quilt::Grid& grid, const std::string& fragment, const CityModel& model);

}  // namespace RecastHost
