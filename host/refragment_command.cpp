#include <array>
#include <iostream>
#include <map>
#include <memory>

#include "commands.h"
#include "progress_line.h"

#include "recast/refragment/refragmentation_plan.h"

namespace RecastHost {
namespace {

using Triple = std::vector<double>;

struct Options {
  Recast::RefragmentationParameters parameters;
  std::vector<std::string> files;
  Triple lowerMargin = {0, 0, 0};
  Triple boxMinimum;
  Triple boxMaximum;
  Triple fragmentLength;
  std::string compression = "none";
  bool planOnly = false;
};

Heron::PhysicalSpace::point pointOf(const Triple& t, double otherwise) {
  return t.empty() ? Heron::PhysicalSpace::point(otherwise, otherwise, otherwise)
                   : Heron::PhysicalSpace::point(t[0], t[1], t[2]);
}

Recast::RefragmentationParameters parametersOf(const Options& options) {
  static const std::map<std::string, int> modes = {{"weak", 0}, {"strong", 1}, {"none", -1}};
  Recast::RefragmentationParameters parameters = options.parameters;
  parameters.files = Larder::makeStrong<Larder::StringList>(options.files);
  parameters.lowerMargin = {options.lowerMargin[0], options.lowerMargin[1], options.lowerMargin[2]};
  parameters.fragLength = {options.fragmentLength[0], options.fragmentLength[1],
                           options.fragmentLength[2]};
  parameters.compression = modes.at(options.compression);
  parameters.useBBoxMin = !options.boxMinimum.empty();
  parameters.useBBoxMax = !options.boxMaximum.empty();
  if (parameters.useBBoxMin || parameters.useBBoxMax)
    parameters.bbox = Quilt::BoxHandle(
        new Heron::BoundingBox(pointOf(options.boxMinimum, 0.0), pointOf(options.boxMaximum, 0.0)));
  return parameters;
}

int run(const Options& options) {
  Recast::RefragmentationPlan plan;
  std::string failure = Recast::planRefragmentation(parametersOf(options), plan);
  if (failure.empty()) {
    for (const std::string& line : plan.description()) std::cout << line << "\n";
    std::cout << std::flush;
    if (options.planOnly) return 0;
    failure = Recast::runRefragmentation(plan, Larder::makeStrong<ProgressLine>());
  }
  if (failure.empty()) return 0;
  std::cerr << "recast: " << options.parameters.outFile << ": " << failure << "\n";
  return 1;
}

CLI::Option* addTriple(CLI::App& command, const char* name, Triple& target, const char* text) {
  return command.add_option(name, target, text)->delimiter(',')->expected(3)->type_name("X,Y,Z");
}

void addBoxOptions(CLI::App& command, Options& options) {
  addTriple(command, "--fragment-length", options.fragmentLength,
            "Edge lengths of the fragments; 0 for one fragment along that axis")
      ->required();
  addTriple(command, "--lower-margin", options.lowerMargin,
            "Taken off the lower corner of the box of the data");
  addTriple(command, "--bbox-min", options.boxMinimum, "Lower corner, in place of the data's");
  addTriple(command, "--bbox-max", options.boxMaximum, "Upper corner, in place of the data's");
}

}  // namespace

void addRefragmentCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand(
      "refragment", "A point cloud becomes a regular lattice of overlapping fragments");
  const auto options = std::make_shared<Options>();
  auto& parameters = options->parameters;
  command->add_option("files", options->files, "Point clouds as .q8 files")->required();
  command->add_option("-o,--output", parameters.outFile, "The .q8 file to write")->required();
  command->add_option("--grid", parameters.gridName, "The grid, if there are several");
  command->add_option("--field", parameters.fieldNames, "A field to carry over [all]")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command->add_option("--time", parameters.time, "Time of the slice")->capture_default_str();
  command->add_option("--threads", parameters.threads, "Workers [as many as the machine has]");
  addBoxOptions(*command, *options);
  command
      ->add_option("--overlap", parameters.overlap,
                   "By this fraction of its length a fragment reaches beyond its faces")
      ->capture_default_str();
  command->add_option("--compression", options->compression, "weak, strong or none")
      ->check(CLI::IsMember({"weak", "strong", "none"}))
      ->capture_default_str();
  command->add_option("--external", parameters.extLink,
                      "Folder for a file per field beside the positions");
  command
      ->add_option("--passes", parameters.loopsOverFrags,
                   "Passes over the data; more take less memory")
      ->capture_default_str();
  command
      ->add_option("--min-points", parameters.fragLow,
                   "Fragments of so many points or fewer are not written")
      ->capture_default_str();
  command->add_flag("--plan-only", options->planOnly, "Show the plan and write nothing");
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
