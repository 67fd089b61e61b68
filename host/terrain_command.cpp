#include <chrono>
#include <iostream>
#include <memory>

#include "commands.h"
#include "file_checks.h"
#include "outcome.h"
#include "status_text.h"

#include "recast/raster/terrain_import.h"
#include "recast/recastbase/run_output.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string uniformGrid;
  std::string pointGrid;
  bool append = false;
};

Quilt::BundlePtr bind(const Options& options) {
  if (options.append) requireReadable({options.output});
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto bound = options.append ? bundle->bindTo(options.output, nullptr, nullptr)
                                    : bundle->bindToNew(options.output);
  if (!bundle) throw Failure(kOutputFailed, bound.text);
  return bundle;
}

void importFile(Quilt::BundlePtr& bundle, const std::string& file, const Options& options,
                Recast::TerrainTileCount& total) {
  std::cout << file << std::endl;
  Recast::TerrainTileCount count;
  const auto sentence = [&](int status) { return file + ": " + terrainStatusText(status); };
  runConversion({.file = file, .sentence = sentence}, [&] {
    return Recast::importTerrainTile(bundle, file, nullptr, options.uniformGrid, options.pointGrid,
                                     count);
  });
  total.cells += count.cells;
  total.points += count.points;
}

void run(const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  Recast::TerrainTileCount total;
  Quilt::BundlePtr bundle = bind(options);
  Recast::RunOutput output(bundle, options.output, options.files);
  for (const std::string& file : options.files) importFile(bundle, file, options, total);
  output.complete();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::cout << options.files.size() << " tiles, " << total.cells << " cells, " << total.points
            << " points in " << seconds.count() << " s\n";
}

}  // namespace

Command terrainCommand() {
  const auto options = std::make_shared<Options>();
  return {
      .name = "terrain",
      .text = "Terrain files become tiles of uniform grids and point clouds in one bundle",
      .options = {inputFiles(options->files,
                             "Esri ASCII rasters, text files of x y z lines, or .q8 point clouds"),
                  outputFile(options->output),
                  {.names = "--append",
                   .target = &options->append,
                   .text = "Add to the output, which must be there"},
                  {.names = "--uniform-grid",
                   .target = &options->uniformGrid,
                   .text =
                       "Name of the uniform grid [DGM_CellSize_ and the cell size of each file]"},
                  {.names = "--point-grid",
                   .target = &options->pointGrid,
                   .text = "Name of the point cloud's grid [Pkt_CellSize_ and the cell size]"}},
      .run = [options] { run(*options); }};
}

}  // namespace RecastHost
