#include <iostream>
#include <memory>
#include <set>

#include "commands.h"
#include "status_text.h"
#include "tile_writer.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid = "Terrain";
  bool cellTypes = true;
};

int fail(int status, const std::string& file, const std::string& why) {
  std::cerr << "recast: " << file << ": " << why << "\n";
  return status;
}

/// \return a RasterStatus, told if it isn't 0.
int read(const std::string& file, RasterTile& tile) {
  try {
    if (const int status = tile.read(file); status != 0)
      return fail(status, file, rasterStatusText(status));
  } catch (const std::out_of_range&) {
    return fail(11, file, "a height is beyond the range of a float");
  }
  if (!tile.heights || tile.heights->nElements() == 0)
    return fail(5, file, "the raster holds no cells");
  if (!(tile.spacing.x() > 0.0)) return fail(3, file, "\"cellsize\" isn't above 0");
  return 0;
}

int readAll(const Options& options, std::vector<RasterLattice>& lattices) {
  std::set<std::string> names;
  for (const std::string& file : options.files) {
    RasterTile tile;
    if (const int status = read(file, tile); status != 0) return status;
    if (!names.insert(tile.name).second)
      return fail(3, file, "another raster is called \"" + tile.name + "\" too");
    bool placed = false;
    for (RasterLattice& lattice : lattices) placed = placed || lattice.add(tile);
    if (!placed) lattices.emplace_back().add(tile);
  }
  return 0;
}

void warn(const RasterLattice& lattice, const TilePlan& plan) {
  for (const auto& [a, b] : plan.doubled)
    std::cerr << "recast: " << lattice.tiles[a].file << " and " << lattice.tiles[b].file
              << " overlap in another way than their neighbours; contour lines in common cells are "
                 "doubled\n";
}

int run(const Options& options) {
  std::vector<RasterLattice> lattices;
  if (const int status = readAll(options, lattices); status != 0) return status;
  if (lattices.size() > 1)
    std::cerr << "recast: the rasters lie on " << lattices.size()
              << " lattices; contour lines break, or are doubled, where those meet\n";
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto bound = bundle->bindToNew(options.output);
  if (!bundle) return fail(8, options.output, bound.text);
  const TileWriter writer(*bundle, options.grid, options.cellTypes);
  for (const RasterLattice& lattice : lattices) {
    const TilePlan plan = planTiles(lattice.places);
    warn(lattice, plan);
    for (std::size_t tile = 0; tile < lattice.tiles.size(); ++tile)
      writer.write(lattice, plan, tile);
  }
  return 0;
}

}  // namespace

void addGridCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand(
      "grid", "Esri ASCII rasters become a fragmented uniform grid, ready for contour lines");
  const auto options = std::make_shared<Options>();
  command->add_option("files", options->files, "Esri ASCII rasters; each becomes a fragment")
      ->required();
  command->add_option("-o,--output", options->output, "The .q8 file to write")->required();
  command->add_option("--grid", options->grid, "Name of the grid")->capture_default_str();
  command->add_flag("--cell-type-field,!--no-cell-type-field", options->cellTypes,
                    "Write the field \"CellType\", which tells where there is no data [yes]");
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
