#include "recast/raster/esri_header.h"

#include <cstdio>
#include <functional>
#include <map>
#include <memory>

#include "recast/raster/raster_status.h"
#include "recast/text_input/numbers.h"

namespace Recast {
namespace {

constexpr int kLineBytes = 1024;  // of the buffer: a line is read in pieces of at most 1023

/// Takes a value into its slot; false if it is no number or out of range.
using Take = std::function<bool(EsriHeader&, const char*)>;

template <class T>
Take into(std::optional<T> EsriHeader::*slot) {
  return [slot](EsriHeader& header, const char* text) {
    const auto number = Larder::Text::toNumber<T>(text);
    if (number.converted()) header.*slot = number.value;
    return number.converted();
  };
}

const Take* slotOf(const std::string& keyword) {
  static const std::map<std::string, Take> slots = {
      {"ncols", into(&EsriHeader::columns)},     {"nrows", into(&EsriHeader::rows)},
      {"xllcorner", into(&EsriHeader::x)},       {"yllcorner", into(&EsriHeader::y)},
      {"xllcenter", into(&EsriHeader::x)},       {"yllcenter", into(&EsriHeader::y)},
      {"cellsize", into(&EsriHeader::cellSize)}, {"nodata_value", into(&EsriHeader::noData)}};
  const auto found = slots.find(keyword);
  return found == slots.end() ? nullptr : &found->second;
}

std::string lowered(const char* text) {
  std::string lower(text);
  for (char& c : lower)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return lower;
}

bool isEmptyLine(const char* line) {
  return line[0] == '\n' || (line[0] == '\r' && line[1] == '\n');
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

int EsriHeader::firstMissing() const {
  if (!columns || !rows) return kNoDimensions;
  if (!x || !y) return kNoLowerLeft;
  return cellSize ? kRasterDone : kNoCellSize;
}

Heron::PhysicalSpace::point EsriHeader::origin() const {
  const double toCentre = isCorner ? *cellSize / 2 : 0.0;
  return {*x + toCentre, *y + toCentre, 0.0};
}

int readEsriHeader(const std::string& path, const EsriHeaderRules& rules, EsriHeader& header) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "r"));
  if (!file) return kCannotOpenInput;
  char line[kLineBytes];
  char keyword[512] = "";
  char value[512] = "";
  while (std::fgets(line, kLineBytes, file.get()) != nullptr) {
    if (rules.skipEmptyLines && isEmptyLine(line)) {
      ++header.lines;
      continue;
    }
    // A line without a word leaves both as they were and so repeats the line before it.
    if (std::sscanf(line, "%511s %511s", keyword, value) == 1) value[0] = '\0';
    const std::string lower = lowered(keyword);
    const Take* take = slotOf(lower);
    if (take == nullptr) return kRasterDone;
    if (!(*take)(header, value)) return kBadHeaderValue;
    header.isCorner |= lower == "xllcorner";
    ++header.lines;
  }
  return kHeaderNeverEnds;
}

}  // namespace Recast
