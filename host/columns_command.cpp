#include <filesystem>
#include <iostream>
#include <memory>

#include "column_description.h"
#include "column_preview.h"
#include "commands.h"
#include "output_watch.h"
#include "progress_line.h"
#include "status_text.h"

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/columns/column_status.h"

namespace RecastHost {
namespace {

constexpr int kNotCompleted = 100;

struct Options {
  std::vector<std::string> files;
  std::vector<std::string> columns;
  std::string delimiter = "space";
  std::string output;
  std::string preview;
  Recast::ColumnAsciiToPointCloudQ8 converter;
  int compression = -1;
  int epsg = 0;
};

[[noreturn]] void refuse(const std::string& option, const std::string& reason) {
  throw CLI::ValidationError(option, reason);
}

std::string typeNames(const Recast::ColumnAsciiToPointCloudQ8& converter) {
  std::vector<std::string> names(converter.TypeCodes.size());
  for (const auto& [name, code] : converter.TypeCodes) names[static_cast<std::size_t>(code)] = name;
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

void addColumn(Recast::ColumnAsciiToPointCloudQ8& converter, const std::string& text) {
  ColumnDescription column;
  if (!parseColumn(text, column)) refuse("--column " + text, "is not TYPE:NAME:POS[,POS...]");
  const std::string error = converter.addColumn(column.type, column.name, column.positions);
  if (!error.empty()) refuse("--column", error + "; types are " + typeNames(converter));
  const bool three = column.type == "point" || column.type == "vector" || column.type == "rgb";
  if (column.positions.size() > (three ? 3 : 1))
    refuse("--column " + text, three ? "takes at most three positions" : "takes one position");
  converter.ParseString += (converter.ParseString.empty() ? "" : " ") + text;
}

/// Reading a file that is being replaced would end badly.
void refuseInputAsOutput(const Options& options) {
  std::error_code ignored;
  for (const std::string& file : options.files)
    if (std::filesystem::equivalent(file, options.output, ignored))
      refuse("--output", options.output + " is one of the files to read");
}

std::string failure(int status, const std::string& output, const std::string& reason) {
  if (status == Recast::kColumnsStopped)
    return "interrupted; " + output + " holds what was saved before";
  if (!reason.empty()) return reason;
  return output + ": " + columnStatusText(status);
}

int convert(Options& options) {
  const OutputWatch watch(options.output);
  const auto progress = Larder::makeStrong<ProgressLine>();
  const int status = options.converter.convertASCIIToQ8(
      Larder::makeStrong<Larder::StringList>(options.files), options.output, options.compression,
      options.epsg, progress, {});
  if (status != Recast::kColumnsDone)
    Larder::Console() << "recast: " << failure(status, options.output, progress->lastMessage());
  if (status == Recast::kNotBoundOrSaved || watch.wasReplaced()) return status;
  Larder::Console() << "recast: " << options.output << " was not completed";
  return status != Recast::kColumnsDone ? status : kNotCompleted;
}

int run(Options& options) {
  auto& converter = options.converter;
  if (!parseDelimiter(options.delimiter, converter.Delimiter))
    refuse("--delimiter", "must be one character, \"tab\" or \"space\"");
  if (!options.preview.empty())
    return previewColumns(options.preview, converter.Delimiter, converter.HeaderLines);
  if (options.columns.empty()) refuse("--column", "is required; types are " + typeNames(converter));
  if (options.output.empty()) refuse("--output", "is required");
  if (options.files.empty()) refuse("files", "are required");
  for (const std::string& column : options.columns) addColumn(converter, column);
  refuseInputAsOutput(options);
  return convert(options);
}

}  // namespace

void addColumnsCommand(CLI::App& program, Outcome& outcome) {
  auto* command =
      program.add_subcommand("columns", "Text files with a point a line become a point cloud");
  const auto options = std::make_shared<Options>();
  auto& converter = options->converter;
  command->add_option("files", options->files, "Text files, read one after the other");
  command
      ->add_option(
          "-c,--column", options->columns,
          "TYPE:NAME:POS[,POS...], a field of the points and the positions in a line that it "
          "is read from, counted from 0; types are " +
              typeNames(converter))
      ->allow_extra_args(false);
  command->add_option("-o,--output", options->output, "The .q8 file to write");
  command->add_option("--grid", converter.GridName, "Name of the grid [Points]");
  command->add_option("--delimiter", options->delimiter,
                      "What separates the columns: one character, \"tab\" or \"space\" [space]");
  command->add_option("--header-lines", converter.HeaderLines,
                      "Lines to pass over at the start of every file");
  command->add_option("--start", converter.StartReadingAt,
                      "The first line to read, counted from 0 over all files, without header lines "
                      "and empty ones");
  command->add_option("--stop", converter.StopReadingAt, "The first line not to read");
  command->add_option("--compression", options->compression,
                      "-1 keeps doubles as they are; 0 (fast) to 12 (small) compress, and store "
                      "positions in single precision with a shift [-1]");
  command->add_option("--epsg", options->epsg, "EPSG code of the coordinate system");
  command->add_flag("--stripes", converter.DoStripeList,
                    "Note for every point which file it is from, as the field StripeInfoID");
  command->add_option("--preview", options->preview,
                      "Only show the first lines of this file, each column with its position");
  command->callback([options, &outcome] { outcome.code = run(*options); });
}

}  // namespace RecastHost
