#pragma once

#include <string>

namespace RecastHost {

/// What a status means, as the end of a sentence: of the raster converter, of the terrain import.
std::string rasterStatusText(int status);
std::string terrainStatusText(int status);

}  // namespace RecastHost
