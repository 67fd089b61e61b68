#include <memory>
#include <set>

#include "commands.h"
#include "messages.h"
#include "outcome.h"
#include "tile_writer.h"

#include "recast/recastbase/run_output.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid = "Terrain";
  bool cellTypes = true;
};

std::vector<RasterLattice> readAll(const std::vector<std::string>& files) {
  std::vector<RasterLattice> lattices;
  std::set<std::string> names;
  for (const std::string& file : files) {
    const RasterTile tile(file);
    if (!names.insert(tile.name).second)
      throw Failure(kBadInput, file + ": another raster is called \"" + tile.name + "\" too");
    bool placed = false;
    for (RasterLattice& lattice : lattices) placed = placed || lattice.add(tile);
    if (!placed) lattices.emplace_back().add(tile);
  }
  return lattices;
}

void warn(const RasterLattice& lattice, const TilePlan& plan) {
  for (const auto& [a, b] : plan.doubled)
    notify("recast: " + lattice.tiles[a].file + " and " + lattice.tiles[b].file +
           " overlap in another way than their neighbours; contour lines in common cells are "
           "doubled");
}

void run(const Options& options) {
  const std::vector<RasterLattice> lattices = readAll(options.files);
  if (lattices.size() > 1)
    notify("recast: the rasters lie on " + std::to_string(lattices.size()) +
           " lattices; contour lines break, or are doubled, where those meet");
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto bound = bundle->bindToNew(options.output);
  if (!bundle) throw Failure(kOutputFailed, bound.text);
  Recast::RunOutput output(bundle, options.output, options.files);
  const TileWriter writer(*bundle, options.grid, options.cellTypes);
  for (const RasterLattice& lattice : lattices) {
    const TilePlan plan = planTiles(lattice.places);
    warn(lattice, plan);
    for (std::size_t tile = 0; tile < lattice.tiles.size(); ++tile)
      writer.write(lattice, plan, tile);
  }
  output.complete();
}

}  // namespace

Command gridCommand() {
  const auto options = std::make_shared<Options>();
  return {
      .name = "grid",
      .text = "Esri ASCII rasters become a fragmented uniform grid, ready for contour lines",
      .options = {inputFiles(options->files, "Esri ASCII rasters; each becomes a fragment"),
                  outputFile(options->output),
                  {.names = "--grid",
                   .target = &options->grid,
                   .text = "Name of the grid",
                   .showDefault = true},
                  {.names = "--cell-type-field,!--no-cell-type-field",
                   .target = &options->cellTypes,
                   .text =
                       "Write the field \"CellType\", which marks where there is no data [yes]"}},
      .run = [options] { run(*options); }};
}

}  // namespace RecastHost
