#include <iostream>
#include <map>
#include <memory>

#include "commands.h"
#include "file_checks.h"
#include "outcome.h"
#include "progress_line.h"
#include "standard_output.h"

#include "recast/refragment/refragmentation_plan.h"

namespace RecastHost {
namespace {

constexpr int kRefused = 1;

struct Options {
  Recast::RefragmentationParameters parameters;
  std::vector<std::string> files;
  std::optional<Triple> lowerMargin;
  std::optional<Triple> boxMinimum;
  std::optional<Triple> boxMaximum;
  std::optional<Triple> fragmentLength;
  std::string compression = "none";
  bool planOnly = false;
};

template <class Tuple>
Tuple tupleOf(const std::optional<Triple>& option) {
  const Triple triple = option.value_or(Triple());
  return {triple.x, triple.y, triple.z};
}

Recast::RefragmentationParameters parametersOf(const Options& options) {
  static const std::map<std::string, int> modes = {{"weak", 0}, {"strong", 1}, {"none", -1}};
  Recast::RefragmentationParameters parameters = options.parameters;
  parameters.files = Larder::makeStrong<Larder::StringList>(options.files);
  parameters.lowerMargin = tupleOf<Heron::PhysicalSpace::vector>(options.lowerMargin);
  parameters.fragLength = tupleOf<Heron::PhysicalSpace::vector>(options.fragmentLength);
  parameters.compression = modes.at(options.compression);
  parameters.useBBoxMin = options.boxMinimum.has_value();
  parameters.useBBoxMax = options.boxMaximum.has_value();
  if (parameters.useBBoxMin || parameters.useBBoxMax)
    parameters.bbox = Quilt::BoxHandle(
        new Heron::BoundingBox(tupleOf<Heron::PhysicalSpace::point>(options.boxMinimum),
                               tupleOf<Heron::PhysicalSpace::point>(options.boxMaximum)));
  return parameters;
}

/// Refuses files to be written that are inputs, or hold fields of one.
void checkOutputs(const Recast::RefragmentationPlan& plan) {
  std::vector<std::string> outputs = Recast::externalFilesOf(plan);
  outputs.push_back(plan.parameters.outFile);
  refuseInputAsOutput(outputs, plan.source->sourceFiles());
}

void run(const Options& options) {
  Recast::RefragmentationPlan plan;
  std::string failure;
  const auto sentence = [&](int) { return options.parameters.outFile + ": " + failure; };
  runConversion({.sentence = sentence}, [&] {
    failure = Recast::planRefragmentation(parametersOf(options), plan);
    return failure.empty() ? 0 : kRefused;
  });
  if (options.planOnly) StandardOutput::setMuted(false);
  for (const std::string& line : plan.description()) std::cout << line << "\n";
  std::cout << std::flush;
  if (options.planOnly) return;
  checkOutputs(plan);
  runConversion({.sentence = sentence}, [&] {
    failure = Recast::runRefragmentation(plan, Larder::makeStrong<ProgressLine>());
    return failure.empty() ? 0 : kRefused;
  });
}

}  // namespace

Command refragmentCommand() {
  const auto options = std::make_shared<Options>();
  auto& parameters = options->parameters;
  return {
      .name = "refragment",
      .text = "A point cloud becomes a regular lattice of overlapping fragments",
      .options = {inputFiles(options->files, "Point clouds as .q8 files"),
                  outputFile(parameters.outFile),
                  {.names = "--grid",
                   .target = &parameters.gridName,
                   .text = "The grid, if there are several"},
                  {.names = "--field",
                   .target = &parameters.fieldNames,
                   .text = "A field to carry over; may be given several times [all]"},
                  {.names = "--time",
                   .target = &parameters.time,
                   .text = "Time of the slice",
                   .showDefault = true},
                  {.names = "--threads",
                   .target = &parameters.threads,
                   .text = "Workers [as many as the machine has]"},
                  {.names = "--fragment-length",
                   .target = &options->fragmentLength,
                   .text = "Edge lengths of the fragments; 0 for one fragment along that axis",
                   .required = true},
                  {.names = "--lower-margin",
                   .target = &options->lowerMargin,
                   .text = "Taken off the lower corner of the box of the data"},
                  {.names = "--bbox-min",
                   .target = &options->boxMinimum,
                   .text = "Lower corner, in place of the data's"},
                  {.names = "--bbox-max",
                   .target = &options->boxMaximum,
                   .text = "Upper corner, in place of the data's"},
                  {.names = "--overlap",
                   .target = &parameters.overlap,
                   .text = "By this fraction of its length a fragment reaches beyond its faces",
                   .showDefault = true},
                  {.names = "--compression",
                   .target = &options->compression,
                   .text = "weak, strong or none",
                   .showDefault = true,
                   .choices = {"weak", "strong", "none"}},
                  {.names = "--external",
                   .target = &parameters.extLink,
                   .text =
                       "Folder, relative to that of the output, for a file per field beside the "
                       "positions"},
                  {.names = "--passes",
                   .target = &parameters.loopsOverFrags,
                   .text = "Passes over the data; more take less memory",
                   .showDefault = true},
                  {.names = "--min-points",
                   .target = &parameters.fragLow,
                   .text = "Fragments of so many points or fewer are not written",
                   .showDefault = true},
                  {.names = "--plan-only",
                   .target = &options->planOnly,
                   .text = "Show the plan and write nothing"}},
      .run = [options] { run(*options); }};
}

}  // namespace RecastHost
