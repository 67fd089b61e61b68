#include "tile_writer.h"

#include <algorithm>
#include <limits>

#include "recast/trelliskinds/grid_kinds.h"

namespace RecastHost {
namespace {

using CellTypes = Quilt::MemArray<3, unsigned char>;
constexpr unsigned char kValue = 0;
constexpr unsigned char kNoValue = 1;

/// The heights of one fragment and which of them are values.
struct FragmentHeights {
  Recast::HeightHandle heights;
  Larder::StrongPtr<CellTypes> types;
  float smallest = std::numeric_limits<float>::infinity();
  float greatest = -std::numeric_limits<float>::infinity();

  FragmentHeights(const RasterTile& tile, const Rectangle& place)
      : heights(new Recast::HeightArray(sizeOf(place), nullptr)),
        types(new CellTypes(sizeOf(place), nullptr)) {
    std::fill_n(heights->data, heights->nElements(), static_cast<float>(tile.noData));
    std::fill_n(types->data, types->nElements(), kNoValue);
  }
  /// Takes a vertex over from a raster.
  void take(std::uint64_t vertex, const RasterTile& tile, float height) {
    heights->data[vertex] = height;
    if (!tile.isValue(height)) return;
    types->data[vertex] = kValue;
    smallest = std::min(smallest, height);
    greatest = std::max(greatest, height);
  }
  bool hasGaps() const {
    return std::find(types->data, types->data + types->nElements(), kNoValue) !=
           types->data + types->nElements();
  }

 private:
  static Quilt::MultiIndex<3> sizeOf(const Rectangle& place) {
    return {place.extent(0), place.extent(1), 1};
  }
};

/// Takes over those vertices of a fragment that a raster has and `skip` does not.
void takeFrom(const RasterTile& tile, const Rectangle& place, const Rectangle& fragment,
              const Rectangle& skip, FragmentHeights& target) {
  const Rectangle common = intersection(place, fragment);
  for (std::int64_t y = common.first[1]; y < common.end[1]; ++y)
    for (std::int64_t x = common.first[0]; x < common.end[0]; ++x) {
      if (skip.holds(x, y)) {
        x = skip.end[0] - 1;
        continue;
      }
      const auto vertex = static_cast<std::uint64_t>((y - fragment.first[1]) * fragment.extent(0) +
                                                     x - fragment.first[0]);
      target.take(vertex, tile,
                  tile.height(static_cast<std::uint64_t>(x - place.first[0]),
                              static_cast<std::uint64_t>(y - place.first[1])));
    }
}

FragmentHeights heightsOf(const RasterLattice& lattice, const Rectangle& fragment,
                          std::size_t number) {
  FragmentHeights result(lattice.tiles[number], fragment);
  const Rectangle& raster = lattice.places[number];
  takeFrom(lattice.tiles[number], raster, fragment, Rectangle(), result);
  for (std::size_t other = 0; other < lattice.tiles.size(); ++other)
    if (other != number)
      takeFrom(lattice.tiles[other], lattice.places[other], fragment, raster, result);
  return result;
}

}  // namespace

TileWriter::TileWriter(Quilt::Bundle& bundle, const std::string& gridName, bool withCellTypes) {
  const auto representation = (*bundle[0.0])[gridName]->makeCartesianRepresentation(3, "", 0);
  positions_ = (*representation)[Quilt::Representation::kPositions];
  elevation_ = (*representation)["Elevation"];
  if (withCellTypes) cellTypes_ = (*representation)["CellType"];
}

void TileWriter::write(const RasterLattice& lattice, const TilePlan& plan,
                       std::size_t number) const {
  const RasterTile& raster = lattice.tiles[number];
  const Tile& tile = plan.tiles[number];
  const auto fragment = positions_->makeFragmentID(raster.name);
  Quilt::FragmentLocation<3, Quilt::LowerOverlap>::make(*fragment) = tile.lowerOverlap;
  Quilt::FragmentLocation<3, Quilt::UpperOverlap>::make(*fragment) = tile.upperOverlap;
  const FragmentHeights data = heightsOf(lattice, tile.vertices, number);
  auto& cache = Larder::Cache::MemCache();
  positions_->setPersistentData(Quilt::MemBaseHandle(new Quilt::UniformCartesianArray(
                                    data.heights->dims, raster.origin, raster.spacing)),
                                fragment, cache, "");
  const auto creator = elevation_->setPersistentData(data.heights, fragment, cache, "");
  if (cellTypes_) cellTypes_->setPersistentData(data.types, fragment, cache, "")->letGo();
  if (data.hasGaps())
    creator->setAttribute(kValueRange,
                          Larder::StrongPtr<Larder::ChunkBase>(new Larder::Chunk<float>(
                              std::vector<float>{data.smallest, data.greatest})));
  creator->letGo();
}

}  // namespace RecastHost
