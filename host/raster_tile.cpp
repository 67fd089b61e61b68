#include "raster_tile.h"

#include <cmath>
#include <optional>

#include "outcome.h"
#include "status_text.h"

#include "recast/grid_lookups/string_util.h"

namespace RecastHost {
namespace {

constexpr const char* kGrid = "raster";

/// The reader places rasters in a frame, for which the grid of contours has no use.
bool isWanted(const std::string& notice) {
  return notice.find(": lies left of or below the world frame") == std::string::npos;
}

/// A distance as a whole number of cells; nothing if it is none, to a thousandth of a cell.
std::optional<std::int64_t> wholeCells(double distance, double cell) {
  constexpr double kFarthest = 1e15;
  const double cells = distance / cell;
  if (!(std::abs(cells) < kFarthest) || std::abs(cells - std::round(cells)) > 1e-3)
    return std::nullopt;
  return std::llround(cells);
}

}  // namespace

RasterTile::RasterTile(const std::string& path)
    : file(path), name(Larder::StringUtil::basename(path)) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  std::string gridName = kGrid;
  const auto sentence = [&](int status) { return path + ": " + rasterStatusText(status); };
  runConversion({.file = path, .sentence = sentence, .isWanted = isWanted}, [&] {
    return Recast::readDGMAsGrd(bundle, path, nullptr, noData, spacing, origin, gridName);
  });
  const auto elevation = (*(*(*bundle)(0.0))(gridName))("Elevation", "");
  const auto creator = elevation->getCreatorByName(name);
  if (creator) heights = creator->get().castTo<Recast::HeightArray>();
  if (!heights || heights->nElements() == 0)
    throw Failure(kBadInput, path + ": the raster holds no cells");
  if (!(spacing.x() > 0.0)) throw Failure(kBadInput, path + ": \"cellsize\" isn't above 0");
}

bool RasterTile::isValue(float height) const {
  // As near as this counts as the number, since a float does not hold each double.
  return std::isfinite(height) && !(std::abs(static_cast<double>(height) - noData) <= 0.001);
}

bool RasterLattice::add(const RasterTile& tile) {
  Rectangle place;
  if (!tiles.empty()) {
    const RasterTile& base = tiles.front();
    if (tile.spacing.x() != base.spacing.x()) return false;
    for (const std::size_t axis : {0U, 1U}) {
      const auto cells = wholeCells(tile.origin[axis] - base.origin[axis], base.spacing.x());
      if (!cells) return false;
      place.first[axis] = *cells;
    }
  }
  for (const std::size_t axis : {0U, 1U})
    place.end[axis] = place.first[axis] + static_cast<std::int64_t>(tile.heights->dims[axis]);
  tiles.push_back(tile);
  places.push_back(place);
  return true;
}

}  // namespace RecastHost
