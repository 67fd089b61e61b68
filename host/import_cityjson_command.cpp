#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>

#include "building_bundle.h"
#include "commands.h"
#include "messages.h"
#include "outcome.h"

#include "recast/sheaf/bundle.h"

namespace RecastHost {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid = "Buildings";
  int lod = 2;
};

/// Names fragments after their files, each name once: of two files of one name the later one gets a
/// number behind it.
class FragmentNames {
 public:
  std::string nameFor(const std::string& file) {
    const std::string stem = std::filesystem::path(file).stem().string();
    std::string name = stem;
    for (int number = 1; !used_.insert(name).second; ++number)
      name = stem + "_" + std::to_string(number);
    return name;
  }

 private:
  std::set<std::string> used_;
};

void report(const std::string& file, const CityModel& model, const BuildingCount& count) {
  std::cout << file << ": " << count.buildings << " buildings and parts, " << count.rings
            << " rings\n";
  const auto note = [&file](std::size_t number, const char* what) {
    if (number > 0) notify(file + ": " + std::to_string(number) + what);
  };
  note(count.holes, " rings are holes, and became rings of their own");
  note(count.withoutBase, " objects have no level face at their lowest point, and are left out");
  note(model.badFaces, " rings are left out: too short, or of nonexistent vertices");
  note(model.otherKinds, " geometries are left out: they have no faces of their own");
}

CityModel readFile(const std::string& file, int lod) {
  std::ifstream stream(file, std::ios::binary);
  try {
    CityModel model = readCityJson(nlohmann::json::parse(stream), lod);
    if (!stream.bad()) return model;
  } catch (const nlohmann::json::exception& error) {
    throw Failure(kBadInput, file + ": " + error.what());
  } catch (const std::runtime_error& error) {
    throw Failure(kBadInput, file + ": " + error.what());
  }
  throw Failure(kNoInput, file + ": reading it failed");
}

void run(const Options& options) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = (*(*bundle)[0.0])[options.grid];
  FragmentNames names;
  for (const std::string& file : options.files) {
    const CityModel model = readFile(file, options.lod);
    const std::string fragment = names.nameFor(file);
    report(file, model,
           options.lod == 1 ? addFootprints(*grid, fragment, model)
                            : addShells(*grid, fragment, model));
  }
  bundle.save(options.output, nullptr, nullptr);
}

}  // namespace

Command importCityJsonCommand() {
  const auto options = std::make_shared<Options>();
  return {.name = "import-cityjson",
          .text = "CityJSON buildings become a building model for lod1 or lod2",
          .options = {inputFiles(options->files, "CityJSON files (1.0, 1.1 or 2.0)"),
                      outputFile(options->output),
                      {.names = "--lod",
                       .target = &options->lod,
                       .text = "The level of detail to take, 1 or 2",
                       .required = true,
                       .choices = {"1", "2"}},
                      {.names = "--grid",
                       .target = &options->grid,
                       .text = "Name of the grid",
                       .showDefault = true}},
          .run = [options] { run(*options); }};
}

}  // namespace RecastHost
