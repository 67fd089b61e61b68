#include <iostream>
#include <memory>

#include "commands.h"
#include "status_text.h"

#include "recast/raster/esri_raster_to_q8.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string uniformGrid;
  std::string pointGrid;
};

int convert(const std::string& file, const Options& options) {
  const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
  int status = 0;
  try {
    status = Recast::converterEsriRasterToQ8(list, options.output, nullptr, options.uniformGrid,
                                             options.pointGrid);
  } catch (const std::out_of_range&) {
    std::cerr << "recast: " << file << ": a height is beyond the range of a float\n";
    return 11;
  }
  if (status != 0)
    std::cerr << "recast: " << (status == 8 ? options.output : file) << ": "
              << rasterStatusText(status) << "\n";
  return status;
}

int run(const Options& options) {
  if (options.files.size() > 1)
    std::cerr << "recast: each raster replaces the one before it in " << options.output
              << "; use \"recast terrain\" to merge them\n";
  // One call per raster, so that a failure can be told of its file.
  for (const std::string& file : options.files)
    if (const int status = convert(file, options); status != 0) return status;
  return 0;
}

}  // namespace

void addRasterCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand(
      "raster", "An Esri ASCII raster becomes a tile of a uniform grid and a point cloud");
  const auto options = std::make_shared<Options>();
  command->add_option("files", options->files, "Esri ASCII rasters; the last one's output stays")
      ->required();
  command->add_option("-o,--output", options->output, "The .q8 file to write")->required();
  command->add_option("--uniform-grid", options->uniformGrid,
                      "Name of the uniform grid [DGM_CellSize_ and the cell size]");
  command->add_option("--point-grid", options->pointGrid,
                      "Name of the point cloud's grid [Pkt_CellSize_ and the cell size]");
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
