#include <limits>
#include <memory>

#include "commands.h"
#include "outcome.h"
#include "tile_writer.h"

#include "recast/contours/create_contour_lines.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace RecastHost {
namespace {

using Recast::CreateContourLinesFromUniform;
using FloatRange = Quilt::DataRange<float>;
constexpr int kNoLines = 1;

struct Options {
  std::vector<std::string> files;
  std::string output;
  std::string grid;
  std::string field;
  std::string sliceField;
  float step = 0.0F;
  std::optional<Interval> range;
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
    run.GlobalSlice = Larder::makeStrong<FloatRange>(options.range->low, options.range->high);
  } else if (representation) {
    const auto slice = representation->findField(run.SliceField.empty() ? field : run.SliceField);
    if (slice) run.GlobalSlice = rangeOfValues(*slice);
  }
}

void run(const Options& options) {
  CreateContourLinesFromUniform contours;
  contours.InputFiles = options.files;
  if (!contours.loadFilesIntoBundle(Recast::myReadType::Replace))
    throw Failure(kBadInput, contours.Errors.back());
  setUp(contours, options);
  const std::uint64_t unreadBefore = Quilt::failedReads();
  const auto sentence = [&](int) {
    return options.output + ": not written, since no contour lines were found";
  };
  runConversion({.sentence = sentence}, [&] {
    contours.Run();
    if (contours.hasLines()) return 0;
    return Quilt::failedReads() == unreadBefore ? kNoLines : int{kBadInput};
  });
}

}  // namespace

Command contoursCommand() {
  const auto options = std::make_shared<Options>();
  return {
      .name = "contours",
      .text = "A fragmented uniform grid becomes contour lines",
      .options = {inputFiles(options->files, ".q8 files that together hold the grid"),
                  outputFile(options->output),
                  {.names = "--grid",
                   .target = &options->grid,
                   .text = "The grid [the first that is fragmented and uniform]"},
                  {.names = "--field",
                   .target = &options->field,
                   .text = "The field [the first of 32-bit floats]"},
                  {.names = "--slice-field",
                   .target = &options->sliceField,
                   .text = "The field that the levels cut [that of --field]"},
                  {.names = "--step",
                   .target = &options->step,
                   .text = "Distance of two levels",
                   .required = true},
                  {.names = "--range",
                   .target = &options->range,
                   .text = "The levels are MIN and whole steps above it, below MAX [that of the "
                           "values]"},
                  {.names = "--border-only",
                   .target = &options->onlyBorder,
                   .text = "Only lines between vertices with and without data"},
                  {.names = "--heights-from-field",
                   .target = &options->heightsFromField,
                   .text = "The lines' heights are those of --field, not their levels"}},
      .run = [options] { run(*options); }};
}

}  // namespace RecastHost
