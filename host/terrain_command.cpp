#include <chrono>
#include <iostream>
#include <memory>

#include "commands.h"
#include "status_text.h"

#include "recast/raster/terrain_import.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string uniformGrid;
  std::string pointGrid;
  bool append = false;
};

struct Totals {
  std::size_t tiles = 0;
  Recast::TerrainTileCount elements;
};

int importFile(Quilt::BundlePtr& bundle, const std::string& file, const Options& options,
               Totals& totals) {
  std::cout << file << std::endl;
  Recast::TerrainTileCount count;
  int status = 0;
  try {
    status = Recast::importTerrainTile(bundle, file, nullptr, options.uniformGrid,
                                       options.pointGrid, count);
  } catch (const std::out_of_range&) {
    std::cerr << "recast: " << file << ": a number is beyond the range of a float\n";
    return 11;
  }
  if (status != 0) {
    std::cerr << "recast: " << file << ": " << terrainStatusText(status) << "\n";
    return status;
  }
  ++totals.tiles;
  totals.elements.cells += count.cells;
  totals.elements.points += count.points;
  return 0;
}

int run(const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  Totals totals;
  int status = 0;
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto bound = options.append ? bundle->bindTo(options.output, nullptr, nullptr)
                                      : bundle->bindToNew(options.output);
    if (!bundle) {
      std::cerr << "recast: " << bound.text << "\n";
      return 8;
    }
    for (const std::string& file : options.files) {
      status = importFile(bundle, file, options, totals);
      if (status != 0) break;
    }
  }  // completes the file
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::cout << totals.tiles << " tiles, " << totals.elements.cells << " cells, "
            << totals.elements.points << " points in " << seconds.count() << " s\n";
  return status;
}

}  // namespace

void addTerrainCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand(
      "terrain", "Terrain files become tiles of uniform grids and point clouds in one bundle");
  const auto options = std::make_shared<Options>();
  command
      ->add_option("files", options->files,
                   "Esri ASCII rasters, text files of x y z lines, or .q8 point clouds")
      ->required();
  command->add_option("-o,--output", options->output, "The .q8 file to write")->required();
  command->add_flag("--append", options->append, "Add to the output, which must be there");
  command->add_option("--uniform-grid", options->uniformGrid,
                      "Name of the uniform grid [DGM_CellSize_ and the cell size of each file]");
  command->add_option("--point-grid", options->pointGrid,
                      "Name of the point cloud's grid [Pkt_CellSize_ and the cell size]");
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
