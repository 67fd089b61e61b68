#pragma once

#include <string>

namespace RecastHost {

/// What a status means, as the end of a sentence: of the raster converter, of the terrain import,
/// of the column import, of the building conversions.
std::string rasterStatusText(int status);
std::string terrainStatusText(int status);
std::string columnStatusText(int status);
std::string buildingStatusText(int status);

}  // namespace RecastHost
