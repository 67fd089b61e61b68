#include <map>
#include <memory>

#include "column_description.h"
#include "column_preview.h"
#include "commands.h"
#include "outcome.h"
#include "progress_line.h"
#include "standard_output.h"
#include "status_text.h"

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/columns/column_status.h"

namespace RecastHost {
namespace {

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
  throw Failure(kUsage, option + ": " + reason);
}

std::string typeNames(const Recast::ColumnAsciiToPointCloudQ8& converter) {
  std::vector<std::string> names(converter.TypeCodes.size());
  for (const auto& [name, code] : converter.TypeCodes) names[static_cast<std::size_t>(code)] = name;
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

/// \param types of the columns so far, by their names
void addColumn(Recast::ColumnAsciiToPointCloudQ8& converter,
               std::map<std::string, std::string>& types, const std::string& text) {
  ColumnDescription column;
  if (!parseColumn(text, column)) refuse("--column " + text, "is not TYPE:NAME:POS[,POS...]");
  const std::string error = converter.addColumn(column.type, column.name, column.positions);
  if (!error.empty()) refuse("--column", error + "; types are " + typeNames(converter));
  const auto [first, isNew] = types.try_emplace(column.name, column.type);
  if (!isNew && first->second != column.type)
    refuse("--column " + text, "a column of that name has the type " + first->second);
  const bool three = column.type == "point" || column.type == "vector" || column.type == "rgb";
  if (column.positions.size() > (three ? 3 : 1))
    refuse("--column " + text, three ? "takes at most three positions" : "takes one position");
  converter.ParseString += (converter.ParseString.empty() ? "" : " ") + text;
}

void convert(Options& options) {
  const auto progress = Larder::makeStrong<ProgressLine>();
  const auto sentence = [&](int status) {
    return progress->lastMessage().empty() ? options.output + ": " + columnStatusText(status)
                                           : progress->lastMessage();
  };
  runConversion({.sentence = sentence, .cannotWrite = Recast::kNotBoundOrSaved}, [&] {
    const int status = options.converter.convertASCIIToQ8(
        Larder::makeStrong<Larder::StringList>(options.files), options.output, options.compression,
        options.epsg, progress, {});
    if (status == Recast::kColumnsStopped)
      throw Failure(status, "interrupted; " + options.output +
                                " has what was saved until then, or is as it was if nothing was");
    return status;
  });
}

void run(Options& options) {
  auto& converter = options.converter;
  if (!parseDelimiter(options.delimiter, converter.Delimiter))
    refuse("--delimiter", "must be one character, \"tab\" or \"space\"");
  if (!options.preview.empty()) {
    StandardOutput::setMuted(false);
    previewColumns(options.preview, converter.Delimiter, converter.HeaderLines);
    return;
  }
  if (options.columns.empty()) refuse("--column", "is required; types are " + typeNames(converter));
  if (options.output.empty()) refuse("--output", "is required");
  if (options.files.empty()) refuse("files", "are required");
  std::map<std::string, std::string> types;
  for (const std::string& column : options.columns) addColumn(converter, types, column);
  convert(options);
}

}  // namespace

Command columnsCommand() {
  const auto options = std::make_shared<Options>();
  auto& converter = options->converter;
  return {
      .name = "columns",
      .text = "Text files with a point a line become a point cloud",
      .options =
          {{.names = "files",
            .target = &options->files,
            .text = "Text files, read one after the other",
            .role = Role::Input},
           {.names = "-c,--column",
            .target = &options->columns,
            .text = "TYPE:NAME:POS[,POS...], a field of the points and the positions in a line "
                    "that it is read from, counted from 0; types are " +
                    typeNames(converter)},
           {.names = "-o,--output",
            .target = &options->output,
            .text = "The .q8 file to write",
            .role = Role::Output},
           {.names = "--grid", .target = &converter.GridName, .text = "Name of the grid [Points]"},
           {.names = "--delimiter",
            .target = &options->delimiter,
            .text = "What separates the columns: one character, \"tab\" or \"space\" [space]"},
           {.names = "--header-lines",
            .target = &converter.HeaderLines,
            .text = "Lines to pass over at the start of every file"},
           {.names = "--start",
            .target = &converter.StartReadingAt,
            .text = "The first line to read, counted from 0 over all files, without header lines "
                    "and empty ones"},
           {.names = "--stop",
            .target = &converter.StopReadingAt,
            .text = "The first line not to read"},
           {.names = "--compression",
            .target = &options->compression,
            .text = "-1 keeps doubles as they are; 0 (fast) to 12 (small) compress, and store "
                    "positions in single precision with a shift [-1]"},
           {.names = "--epsg",
            .target = &options->epsg,
            .text = "EPSG code of the coordinate system"},
           {.names = "--stripes",
            .target = &converter.DoStripeList,
            .text = "Note for every point which file it is from, as the field StripeInfoID"},
           {.names = "--preview",
            .target = &options->preview,
            .text = "Only show the first lines of this file, each column with its position",
            .role = Role::Input}},
      .run = [options] { run(*options); }};
}

}  // namespace RecastHost
