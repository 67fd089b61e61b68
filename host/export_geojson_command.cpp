#include <algorithm>
#include <cmath>
#include <memory>

#include "bundle_files.h"
#include "commands.h"
#include "geojson_writer.h"
#include "outcome.h"

#include "recast/perch/fixed_array.h"
#include "recast/typed_arrays/mem_array.h"

namespace RecastHost {
namespace {

using Heron::PhysicalSpace;
using Line = std::vector<unsigned int>;

constexpr const char* kContourLines = "ZRK_ContourLines";

/// The arrays of a set of lines.
struct LineSetData {
  Larder::StrongPtr<Quilt::MemArray<1, PhysicalSpace::point>> vertices;
  Larder::StrongPtr<Quilt::MemArray<1, Line>> lines;

  explicit LineSetData(const Quilt::Grid& grid) {
    const auto base = grid.findVertices(1);
    const auto skeleton = grid.getSkeleton({1, 2});
    const auto relative = base && skeleton ? (*skeleton)(*base) : nullptr;
    const auto lists = relative ? relative->Positions() : nullptr;
    const auto positions = grid.CartesianPositions();
    if (!lists || !positions) return;
    vertices = positions->getData(nullptr).castTo<Quilt::MemArray<1, PhysicalSpace::point>>();
    lines = lists->getData(nullptr).castTo<Quilt::MemArray<1, Line>>();
  }
  bool complete() const { return vertices && lines && holdsAll(*vertices) && holdsAll(*lines); }
  /// Whether the line has two vertices or more, and all of them are there and finite.
  bool isGood(const Line& line) const {
    return line.size() > 1 && std::ranges::all_of(line, [this](unsigned int number) {
             if (number >= vertices->nElements()) return false;
             const PhysicalSpace::point& p = vertices->data[number];
             return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z());
           });
  }

 private:
  template <class Array>
  static bool holdsAll(const Array& array) {
    return array.nElements() == 0 || (array.data != nullptr && array.stride == 1);
  }
};

Larder::StrongPtr<Quilt::Grid> findContourLines(const Quilt::Bundle& bundle) {
  for (const auto& [time, slice] : bundle)
    if (slice)
      if (const auto grid = (*slice)(kContourLines)) return grid;
  return nullptr;
}

/// \return the number of lines that were left out.
std::size_t writeLines(const LineSetData& data, GeojsonWriter& writer) {
  std::size_t bad = 0;
  for (std::uint64_t n = 0; n < data.lines->nElements(); ++n) {
    const Line& line = data.lines->data[n];
    if (!data.isGood(line)) {
      ++bad;
      continue;
    }
    writer.beginLine(data.vertices->data[line[0]].z());
    for (const unsigned int number : line) {
      const PhysicalSpace::point& p = data.vertices->data[number];
      writer.addPosition(p.x(), p.y(), p.z());
    }
    writer.endLine();
  }
  return bad;
}

struct Options {
  std::string input;
  std::string output;
};

void run(const Options& options) {
  const auto bundle = loadBundle(options.input);
  const auto grid = findContourLines(*bundle);
  if (!grid)
    throw Failure(kBadInput, options.input + ": it holds no grid \"" + kContourLines + "\"");
  const LineSetData data(*grid);
  if (!data.complete())
    throw Failure(kBadInput, options.input + ": its contour lines can't be read");
  GeojsonWriter writer(options.output);
  const std::size_t bad = writeLines(data, writer);
  writer.finish();
  if (bad > 0)
    throw Failure(kBadInput, options.input + ": " + std::to_string(bad) +
                                 " lines are left out: they have less than two vertices, or "
                                 "vertices that are nonexistent or no numbers");
}

}  // namespace

Command exportGeojsonCommand() {
  const auto options = std::make_shared<Options>();
  return {.name = "export-geojson",
          .text = "Contour lines become a GeoJSON file",
          .options = {inputArgument("input", options->input, "The .q8 file with contour lines"),
                      outputArgument(options->output, "The GeoJSON file to write")},
          .run = [options] { run(*options); }};
}

}  // namespace RecastHost
