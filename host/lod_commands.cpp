#include <memory>

#include "commands.h"
#include "outcome.h"
#include "status_text.h"

#include "recast/buildings/building_surfaces.h"

namespace RecastHost {
namespace {

using Convert = int (*)(const Larder::StrongPtr<Larder::StringList>&, const std::string&,
                        const Recast::BuildingProgress&, const std::string&);

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid = "Surface";
};

void run(Convert convert, const Options& options) {
  const auto sentence = [&](int status) {
    return options.output + ": not written: " + buildingStatusText(status);
  };
  runConversion({.sentence = sentence}, [&] {
    return convert(Larder::makeStrong<Larder::StringList>(options.files), options.output, nullptr,
                   options.grid);
  });
}

Command command(const char* name, const char* text, Convert convert) {
  const auto options = std::make_shared<Options>();
  return {.name = name,
          .text = text,
          .options = {inputFiles(options->files, "Building models as .q8 files"),
                      outputFile(options->output),
                      {.names = "--grid",
                       .target = &options->grid,
                       .text = "Name of the surface's grid",
                       .showDefault = true}},
          .run = [options, convert] { run(convert, *options); }};
}

}  // namespace

Command lod1Command() {
  return command("lod1", "Building footprints with heights become one triangulated surface",
                 &Recast::convertLOD1toTIN);
}

Command lod2Command() {
  return command("lod2", "Building shells become one triangulated surface",
                 static_cast<Convert>(&Recast::convertLOD2toTIN));
}

}  // namespace RecastHost
