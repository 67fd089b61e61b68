#pragma once

#include <string>

namespace RecastHost {

/// What a status of the raster and terrain functions means, as the end of a sentence.
std::string rasterStatusText(int status);

}  // namespace RecastHost
