// The first byte of the input selects how columns are read, the rest is the text.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "support/byte_source.h"
#include "support/require.h"
#include "support/scratch_folder.h"

#include "recast/columns/column_run.h"
#include "recast/columns/column_status.h"
#include "recast/columns/column_types.h"
#include "recast/columns/string_to_value.h"
#include "recast/text_input/tokens.h"

namespace {

using FuzzSupport::require;
using Recast::ColumnAsciiToPointCloudQ8;
using Tokens = std::vector<std::string>;

/// Every type; a position more than once; positions in falling order; a position far behind.
void addColumns(ColumnAsciiToPointCloudQ8& converter, unsigned kind) {
  converter.addColumn("point", "Positions", {0, 1, 2});
  switch (kind) {
    case 0: break;
    case 1:
      converter.addColumn("vector", "v", {2, 1, 0});
      converter.addColumn("float", "f", {0});
      converter.addColumn("uint", "u", {1});
      break;
    case 2: converter.addColumn("rgb", "c", {9}); break;
    default: {
      unsigned position = 3;
      for (const char* type : {"double", "float", "int", "uchar", "ushort", "uint"})
        converter.addColumn(type, type, {position++});
      converter.addColumn("rgb", "rgb", {9, 10, 11});
    }
  }
}

/// The lines that count, as tokens.
std::vector<Tokens> tokensOf(std::string_view text, const ColumnAsciiToPointCloudQ8& converter) {
  std::vector<Tokens> lines;
  for (std::uint32_t number = 0; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || number < converter.HeaderLines) continue;
    line = line.substr(0, line.find('\0'));
    Tokens& tokens = lines.emplace_back();
    for (std::size_t at = 0; at < line.size();) {
      const std::size_t tokenEnd = std::min(line.find(converter.Delimiter, at), line.size());
      if (tokenEnd > at) tokens.emplace_back(line.substr(at, tokenEnd - at));
      at = tokenEnd + 1;
    }
  }
  return lines;
}

/// What the C library reads from a double's token, in place of the library's own reader.
void requireDouble(const Tokens& tokens, unsigned position, double value) {
  const double expected = std::strtod(tokens[position].c_str(), nullptr);
  require(value == expected || (std::isnan(value) && std::isnan(expected)),
          "a double is what its token says");
}

template <class T>
bool sameBytes(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class T>
bool reads(const Tokens& tokens, const Recast::myColumn<T>& column, T& value) {
  return Recast::StringToValue(tokens, column.Columns, value);
}

/// The values of all columns are those that their tokens give one by one.
void requireColumns(ColumnAsciiToPointCloudQ8& converter, const std::vector<Tokens>& lines) {
  Recast::forEachColumn(converter, [&]<class T>(const Recast::myColumn<T>& column) {
    require(column.Data->size() == lines.size(), "there is an element per line");
    for (std::size_t i = 0; i < lines.size(); ++i) {
      T value{};
      require(reads(lines[i], column, value), "a line that is accepted converts");
      require(sameBytes(value, (*column.Data)[i]), "an element has the value of its tokens");
      if constexpr (std::is_same_v<T, double>) requireDouble(lines[i], column.Columns[0], value);
    }
  });
}

/// Whether all columns of a line convert.
bool converts(ColumnAsciiToPointCloudQ8& converter, const Tokens& tokens) {
  return tokens.size() > converter.MaxColumn &&
         Recast::allColumns(converter, [&]<class T>(const Recast::myColumn<T>& column) {
           T value{};
           return reads(tokens, column, value);
         });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), true);
  static const FuzzSupport::ScratchFolder folder;
  static_cast<void>(once);
  FuzzSupport::ByteSource source(data, size);
  const unsigned choice = source.byte();
  ColumnAsciiToPointCloudQ8 converter;
  converter.Delimiter = " ,;\t"[choice % 4];
  converter.HeaderLines = choice / 16 % 2;
  addColumns(converter, choice / 4 % 4);

  const auto text = source.rest();
  const std::string path = folder.write("columns.txt", text.data(), text.size());
  const auto lines = tokensOf({reinterpret_cast<const char*>(text.data()), text.size()}, converter);
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto cloud = (*(*bundle)[0.0])[converter.GridName]->makeCartesianRepresentation(3, "", 0);
  const Quilt::ProgressHandle progress;
  const Recast::ManipulateArray manipulate;
  Recast::ColumnRun run(converter, *bundle, *cloud, 1, progress, manipulate);
  const int status = run.readFile(path).status;
  const bool allConvert = std::all_of(lines.begin(), lines.end(), [&](const Tokens& tokens) {
    return converts(converter, tokens);
  });
  require((status == Recast::kColumnsDone) == allConvert,
          "a text is accepted if each of its lines converts");
  if (status == Recast::kColumnsDone && !lines.empty()) requireColumns(converter, lines);
  return 0;
}
