#include <algorithm>
#include <cmath>
#include <iostream>
#include <memory>

#include "commands.h"
#include "geojson_writer.h"

#include "recast/perch/fixed_array.h"
#include "recast/sheaf/bundle.h"
#include "recast/typed_arrays/mem_array.h"

namespace RecastHost {
namespace {

using Heron::PhysicalSpace;
using Line = std::vector<unsigned int>;

constexpr const char* kContourLines = "ZRK_ContourLines";
constexpr int kNoLines = 1;
constexpr int kCannotLoad = 2;
constexpr int kBadLines = 3;

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

int fail(int code, const std::string& file, const std::string& why) {
  std::cerr << "recast: " << file << ": " << why << "\n";
  return code;
}

int run(const std::string& input, const std::string& output) {
  const auto files = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{input});
  bool ok = false;
  const auto bundle =
      Quilt::Bundle::load(ok, Larder::makeStrong<Larder::LoaderParameters>(files, false), nullptr);
  if (!ok) return kCannotLoad;  // the console told why
  const auto grid = findContourLines(*bundle);
  if (!grid)
    return fail(kNoLines, input, std::string("it holds no grid \"") + kContourLines + "\"");
  const LineSetData data(*grid);
  if (!data.complete()) return fail(kNoLines, input, "its contour lines can't be read");
  GeojsonWriter writer(output);
  const std::size_t bad = writeLines(data, writer);
  writer.finish();
  if (bad == 0) return 0;
  return fail(kBadLines, input,
              std::to_string(bad) +
                  " lines are left out: they have no two vertices, or vertices "
                  "that aren't there or aren't numbers");
}

int runOrFail(const std::string& input, const std::string& output) {
  try {
    return run(input, output);
  } catch (const std::runtime_error& error) {
    std::cerr << "recast: " << error.what() << "\n";
    return kNoLines;
  }
}

}  // namespace

void addExportGeojsonCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand("export-geojson", "Contour lines become a GeoJSON file");
  const auto input = std::make_shared<std::string>();
  const auto output = std::make_shared<std::string>();
  command->add_option("input", *input, "The .q8 file with contour lines")->required();
  command->add_option("output", *output, "The GeoJSON file to write")->required();
  command->callback([input, output, &outcome] { outcome.code = runOrFail(*input, *output); });
}

}  // namespace RecastHost
