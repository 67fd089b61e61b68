#include <memory>

#include "commands.h"
#include "messages.h"
#include "outcome.h"
#include "status_text.h"

#include "recast/raster/esri_raster_to_q8.h"
#include "recast/raster/raster_status.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string uniformGrid;
  std::string pointGrid;
};

void convert(const std::string& file, const Options& options) {
  const auto sentence = [&](int status) {
    return (status == Recast::kCannotBindOutput ? options.output : file) + ": " +
           rasterStatusText(status);
  };
  runConversion(
      {.file = file, .sentence = sentence, .cannotWrite = Recast::kCannotBindOutput}, [&] {
        const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
        return Recast::converterEsriRasterToQ8(list, options.output, nullptr, options.uniformGrid,
                                               options.pointGrid);
      });
}

void run(const Options& options) {
  if (options.files.size() > 1)
    notify("recast: each raster replaces the one before it in " + options.output +
           "; use \"recast terrain\" to merge them");
  // One call per raster, so that a failure names its file.
  for (const std::string& file : options.files) convert(file, options);
}

}  // namespace

Command rasterCommand() {
  const auto options = std::make_shared<Options>();
  return {.name = "raster",
          .text = "An Esri ASCII raster becomes a tile of a uniform grid and a point cloud",
          .options = {inputFiles(options->files, "Esri ASCII rasters; the last one's output stays"),
                      outputFile(options->output),
                      {.names = "--uniform-grid",
                       .target = &options->uniformGrid,
                       .text = "Name of the uniform grid [DGM_CellSize_ and the cell size]"},
                      {.names = "--point-grid",
                       .target = &options->pointGrid,
                       .text = "Name of the point cloud's grid [Pkt_CellSize_ and the cell size]"}},
          .run = [options] { run(*options); }};
}

}  // namespace RecastHost
