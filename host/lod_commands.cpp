#include <filesystem>
#include <iostream>
#include <memory>

#include "commands.h"

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

std::filesystem::file_time_type writeTime(const std::string& file) {
  std::error_code missing;
  const auto time = std::filesystem::last_write_time(file, missing);
  return missing ? std::filesystem::file_time_type::min() : time;
}

int run(Convert convert, const Options& options) {
  const auto before = writeTime(options.output);
  const int status = convert(Larder::makeStrong<Larder::StringList>(options.files), options.output,
                             nullptr, options.grid);
  if (status == 2) std::cerr << "recast: a file can't be loaded; nothing was written\n";
  if (status == 3)
    std::cerr << "recast: a grid doesn't have the shape of a building model; nothing was written\n";
  if (status != 0 || writeTime(options.output) != before) return status;
  std::cerr << "recast: " << options.output << ": the surface could not be written\n";
  return 8;
}

void addCommand(CLI::App& program, Outcome& outcome, const char* name, const char* description,
                Convert convert) {
  auto* command = program.add_subcommand(name, description);
  const auto options = std::make_shared<Options>();
  command->add_option("files", options->files, "Building models as .q8 files")->required();
  command->add_option("-o,--output", options->output, "The .q8 file to write")->required();
  command->add_option("--grid", options->grid, "Name of the surface's grid")->capture_default_str();
  command->callback([options, convert, &outcome] { outcome.code = run(convert, *options); });
}

}  // namespace

void addLodCommands(CLI::App& program, Outcome& outcome) {
  addCommand(program, outcome, "lod1",
             "Building footprints with heights become one triangulated surface",
             &Recast::convertLOD1toTIN);
  addCommand(program, outcome, "lod2", "Building shells become one triangulated surface",
             static_cast<Convert>(&Recast::convertLOD2toTIN));
}

}  // namespace RecastHost
