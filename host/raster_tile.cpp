#include "raster_tile.h"

#include <cmath>
#include <cstdio>
#include <optional>

#include "recast/grid_lookups/string_util.h"
#include "recast/larder/console.h"

namespace RecastHost {
namespace {

constexpr const char* kGrid = "raster";

/// Passes the console's messages on, but for those on the frame that the reader places rasters in:
/// the grid of contours has no use for it.
class WithoutFrameMessages {
 public:
  WithoutFrameMessages()
      : former_(Larder::Console::setSink([](const std::string& message) {
          if (message.find("world frame") == std::string::npos)
            std::fprintf(stderr, "%s\n", message.c_str());
        })) {}
  ~WithoutFrameMessages() { Larder::Console::setSink(former_); }
  WithoutFrameMessages(const WithoutFrameMessages&) = delete;
  WithoutFrameMessages& operator=(const WithoutFrameMessages&) = delete;

 private:
  Larder::Console::Sink former_;
};

/// A distance as a whole number of cells; nothing if it is none, to a thousandth of a cell.
std::optional<std::int64_t> wholeCells(double distance, double cell) {
  constexpr double kFarthest = 1e15;
  const double cells = distance / cell;
  if (!(std::abs(cells) < kFarthest) || std::abs(cells - std::round(cells)) > 1e-3)
    return std::nullopt;
  return std::llround(cells);
}

}  // namespace

int RasterTile::read(const std::string& path) {
  const WithoutFrameMessages quiet;
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  std::string gridName = kGrid;
  const int status = Recast::readDGMAsGrd(bundle, path, nullptr, noData, spacing, origin, gridName);
  if (status != 0) return status;
  file = path;
  name = Larder::StringUtil::basename(path);
  const auto elevation = (*(*(*bundle)(0.0))(gridName))("Elevation", "");
  heights = elevation->getCreatorByName(name)->get().castTo<Recast::HeightArray>();
  return 0;
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
