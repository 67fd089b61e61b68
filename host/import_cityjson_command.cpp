#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "building_bundle.h"
#include "commands.h"

#include "recast/sheaf/bundle.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid = "Buildings";
  int lod = 2;
};

void tell(const std::string& file, const CityModel& model, const BuildingCount& count) {
  std::cout << file << ": " << count.buildings << " buildings and parts, " << count.rings
            << " rings\n";
  const auto note = [&file](std::size_t number, const char* what) {
    if (number > 0) std::cerr << file << ": " << number << what << "\n";
  };
  note(count.holes, " rings are holes, and became rings of their own");
  note(count.withoutBase, " objects have no level face at their lowest point, and are left out");
  note(model.badFaces, " rings are left out: too short, or of vertices that there are not");
  note(model.otherKinds, " geometries are left out: they have no faces of their own");
}

int importFile(const std::string& file, const Options& options, Quilt::Grid& grid) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) {
    std::cerr << "recast: " << file << ": the file can't be opened\n";
    return 1;
  }
  try {
    const CityModel model = readCityJson(nlohmann::json::parse(stream), options.lod);
    const std::string fragment = std::filesystem::path(file).stem().string();
    tell(
        file, model,
        options.lod == 1 ? addFootprints(grid, fragment, model) : addShells(grid, fragment, model));
    return 0;
  } catch (const nlohmann::json::exception& error) {
    std::cerr << "recast: " << file << ": " << error.what() << "\n";
  } catch (const std::runtime_error& error) {
    std::cerr << "recast: " << file << ": " << error.what() << "\n";
  }
  return 3;
}

int run(const Options& options) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = (*(*bundle)[0.0])[options.grid];
  for (const std::string& file : options.files)
    if (const int status = importFile(file, options, *grid); status != 0) return status;
  try {
    bundle.save(options.output, nullptr, nullptr);
    return 0;
  } catch (const Quilt::StorageError& error) {
    std::cerr << "recast: " << error.what() << "\n";
    return 8;
  }
}

}  // namespace

void addImportCityJsonCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand(
      "import-cityjson", "CityJSON buildings become a building model for lod1 or lod2");
  const auto options = std::make_shared<Options>();
  command->add_option("files", options->files, "CityJSON files (1.0, 1.1 or 2.0)")->required();
  command->add_option("-o,--output", options->output, "The .q8 file to write")->required();
  command->add_option("--lod", options->lod, "The level of detail to take")
      ->required()
      ->check(CLI::Range(1, 2));
  command->add_option("--grid", options->grid, "Name of the grid")->capture_default_str();
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
