#include <filesystem>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>

#include "commands.h"
#include "tile_writer.h"

#include "recast/contours/create_contour_lines.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace RecastHost {
namespace {

using Recast::CreateContourLinesFromUniform;
using FloatRange = Quilt::DataRange<float>;

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid;
  std::string field;
  std::string sliceField;
  float step = 0.0F;
  std::optional<std::pair<float, float>> range;
  bool onlyBorder = false;
  bool heightsFromField = false;
};

/// The representation of the grid that the run is going to choose; null if there is none.
Larder::StrongPtr<Quilt::Representation> chosenGrid(const CreateContourLinesFromUniform& run) {
  if (run.Bundle->begin() == run.Bundle->end()) return nullptr;
  const auto& slice = *run.Bundle->begin()->second;
  for (const auto& [id, grid] : slice)
    if (run.UseThisGrid(id->name()) && Quilt::isFragmentedUniformCartesianGrid().checkGrid(*grid))
      return grid->getCartesianRepresentation("");
  return nullptr;
}

std::string firstFloatField(const Quilt::Representation& representation) {
  std::string name;
  representation.iterate([&name](const Quilt::FieldID& id, const Quilt::Field& field) {
    const auto type = field.getElementType();
    if (type && type->getType() == typeid(float)) name = id.name();
    return name.empty();
  });
  return name;
}

/// The range of a field's values, without those that stand for none where that is known; null if
/// there are no values.
Larder::StrongPtr<FloatRange> rangeOfValues(const Quilt::Field& field) {
  float low = std::numeric_limits<float>::infinity();
  float high = -low;
  for (const auto& fragment : field.getFragmentIDs()) {
    const auto creator = field.getCreator(fragment);
    if (!creator) continue;
    const auto known = creator->getAttribute(kValueRange).castTo<Larder::Chunk<float>>();
    if (known && known->size() == 2) {
      low = std::min(low, (*known)[0]);
      high = std::max(high, (*known)[1]);
    } else if (const auto range =
                   Quilt::getRange(field, fragment, false, false).castTo<FloatRange>()) {
      low = std::min(low, range->minimum());
      high = std::max(high, range->maximum());
    }
  }
  return low <= high ? Larder::makeStrong<FloatRange>(low, high) : nullptr;
}

/// Fills in what the options leave to the grid.
void setUp(CreateContourLinesFromUniform& run, const Options& options) {
  if (!options.grid.empty()) run.GridNames = {options.grid};
  run.SliceField = options.sliceField;
  run.Step = options.step;
  run.OnlyBorderLine = options.onlyBorder;
  run.UseSliceField = options.heightsFromField;
  run.OutputFile = options.output;
  run.Threads = -1;
  const auto representation = chosenGrid(run);
  const std::string field =
      options.field.empty() && representation ? firstFloatField(*representation) : options.field;
  if (!field.empty()) run.FieldNames = {field};
  if (options.range) {
    run.GlobalSlice = Larder::makeStrong<FloatRange>(options.range->first, options.range->second);
  } else if (representation) {
    const auto slice = representation->findField(run.SliceField.empty() ? field : run.SliceField);
    if (slice) run.GlobalSlice = rangeOfValues(*slice);
  }
}

/// Tells a file from the one that replaces it.
std::optional<std::filesystem::file_time_type> timeOf(const std::string& file) {
  std::error_code missing;
  const auto time = std::filesystem::last_write_time(file, missing);
  return missing ? std::nullopt : std::optional(time);
}

int tellErrors(const CreateContourLinesFromUniform& run, int code) {
  for (const std::string& error : run.Errors) std::cerr << "recast: " << error << "\n";
  return code;
}

int run(const Options& options) {
  CreateContourLinesFromUniform contours;
  contours.InputFiles = options.files;
  if (!contours.loadFilesIntoBundle(Recast::myReadType::Replace)) return tellErrors(contours, 2);
  setUp(contours, options);
  const auto before = timeOf(options.output);
  contours.Run();
  tellErrors(contours, 0);
  const bool found = !contours.OutBundle->getGridIdentifiers().empty();
  const auto after = timeOf(options.output);
  if (found && after && after != before) return 0;
  std::cerr << "recast: " << options.output
            << (found ? ": it can't be written\n"
                      : ": not written, since no contour lines were found\n");
  return 1;
}

std::pair<float, float> parseRange(const std::string& text) {
  const std::size_t colon = text.find(':');
  std::pair<float, float> range;
  if (colon == std::string::npos ||
      !CLI::detail::lexical_cast(text.substr(0, colon), range.first) ||
      !CLI::detail::lexical_cast(text.substr(colon + 1), range.second))
    throw CLI::ValidationError("--range", "\"" + text + "\" isn't of the form MIN:MAX");
  return range;
}

}  // namespace

void addContoursCommand(CLI::App& program, Outcome& outcome) {
  auto* command =
      program.add_subcommand("contours", "A fragmented uniform grid becomes contour lines");
  const auto options = std::make_shared<Options>();
  command->add_option("files", options->files, ".q8 files that together hold the grid")->required();
  command->add_option("-o,--output", options->output, "The .q8 file to write")->required();
  command->add_option("--grid", options->grid,
                      "The grid [the first that is fragmented and uniform]");
  command->add_option("--field", options->field, "The field [the first of 32-bit floats]");
  command->add_option("--slice-field", options->sliceField,
                      "The field that the levels cut [that of --field]");
  command->add_option("--step", options->step, "Distance of two levels")->required();
  command->add_option_function<std::string>(
      "--range", [options](const std::string& text) { options->range = parseRange(text); },
      "MIN:MAX, the levels are MIN and whole steps above it, below MAX [that of the values]");
  command->add_flag("--border-only", options->onlyBorder,
                    "Only lines between vertices with and without data");
  command->add_flag("--heights-from-field", options->heightsFromField,
                    "The lines' heights are those of --field, not their levels");
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
