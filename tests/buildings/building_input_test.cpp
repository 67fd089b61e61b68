// What both conversions read, and in which order, from the same building models.

#include <fstream>

#include "building_grids.h"
#include <gtest/gtest.h>

#include "recast/recastbase/run_report.h"
#include "recast/sheaf/storage_error.h"

namespace {

using TestSupport::BuildingGrid;
using TestSupport::ConsoleCapture;
using TestSupport::IndexList;
using TestSupport::loadBundle;
using TestSupport::Point;
using TestSupport::put;
using TestSupport::stringList;
using TestSupport::Surface;
using TestSupport::TempFolder;

/// Buildings that all differ, and the surfaces that they should give.
class Buildings {
 public:
  Quilt::BundlePtr bundle{new Quilt::Bundle};
  std::vector<Point> extruded;  // the vertices of the first conversion
  std::vector<Point> corners;   // those of the second one

  /// A fragment of two shapes of `rings` level rings each.
  void addFragment(double time, const std::string& gridName, const std::string& fragment,
                   unsigned int rings) {
    std::vector<Point> vertices;
    std::vector<IndexList> lines;
    std::vector<IndexList> shapes;
    std::vector<double> ground;
    std::vector<double> height;
    for (int shape = 0; shape < 2; ++shape) {
      ground.push_back(100.0 * ++count_);
      height.push_back(count_);
      shapes.emplace_back();
      for (unsigned int k = 0; k < rings; ++k) {
        shapes.back().push_back(static_cast<unsigned int>(lines.size()));
        lines.push_back(addRing(vertices, 10.0 * k, ground.back(), height.back()));
      }
    }
    const BuildingGrid grid((*(*bundle)[time])[gridName]);
    put(grid.vertices, "Positions", vertices, fragment);
    put(grid.lines, "Positions", lines, fragment);
    put(grid.shapes, "Positions", shapes, fragment);
    put(grid.shapes, "HOEHEGRUND", ground, fragment);
    put(grid.shapes, "HOEHEGEB", height, fragment);
  }

 private:
  /// Its second corner is 0.12 behind the first, which is far enough.
  IndexList addRing(std::vector<Point>& vertices, double x, double ground, double height) {
    const Point ring[] = {{x, 0, ground + 1},
                          {x + 0.12, 0, ground + 1},
                          {x + 5, 0, ground + 1},
                          {x + 5, 5, ground + 1},
                          {x, 0, ground + 1}};
    IndexList line;
    for (const Point& p : ring) {
      line.push_back(static_cast<unsigned int>(vertices.size()));
      vertices.push_back(p);
      extruded.emplace_back(p.x(), p.y(), ground);
      extruded.emplace_back(p.x(), p.y(), ground + height);
    }
    corners.insert(corners.end(), ring, ring + 4);
    return line;
  }

  int count_ = 0;
};

using Convert = int (*)(const Larder::StrongPtr<Larder::StringList>&, const std::string&,
                        const Recast::BuildingProgress&, const std::string&);
const Convert kLod1 = &Recast::convertLOD1toTIN;
const Convert kLod2 = &Recast::convertLOD2toTIN;

TEST(BuildingInput, EverySliceGridFragmentShapeAndRingIsConvertedAtItsOwnHeight) {
  const TempFolder folder;
  const ConsoleCapture console;
  Buildings first;
  for (const double time : {0.0, 1.0}) {
    first.addFragment(time, "a", "f", 2);
    first.addFragment(time, "a", "g", 2);
    first.addFragment(time, "b", "", 2);  // not divided
  }
  Buildings second;
  second.addFragment(0.0, "a", "f", 1);
  first.bundle.save(folder / "first.q8", nullptr, nullptr);
  second.bundle.save(folder / "second.q8", nullptr, nullptr);
  const auto verticesOf = [&](Convert convert) {
    EXPECT_EQ(convert(stringList({folder / "first.q8", folder / "second.q8"}), folder / "out.q8",
                      nullptr, "surface"),
              0);
    return Surface(folder / "out.q8").vertices;
  };
  first.extruded.insert(first.extruded.end(), second.extruded.begin(), second.extruded.end());
  first.corners.insert(first.corners.end(), second.corners.begin(), second.corners.end());
  EXPECT_EQ(verticesOf(kLod1), first.extruded);
  EXPECT_EQ(verticesOf(kLod2), first.corners);
  EXPECT_FALSE(console.contains("No CAB"));
}

TEST(BuildingInput, AStoppedProgressLeavesTheRestOfAShapeOrOfAFragmentOut) {
  struct Stop : Larder::LoaderProgress {
    bool reportProgress(const std::string& text, int current, int total) override {
      seen.push_back(text + std::to_string(current) + "/" + std::to_string(total));
      return false;
    }
    void reportMessage(const std::string&) override {}
    std::vector<std::string> seen;
  };
  const TempFolder folder;
  const ConsoleCapture console;
  Buildings buildings;
  buildings.addFragment(0.0, "a", "f", 20);
  buildings.addFragment(0.0, "a", "g", 20);
  buildings.bundle.save(folder / "in.q8", nullptr, nullptr);
  const struct {
    Convert convert;
    std::size_t vertices;
    std::vector<std::string> seen;
  } cases[] = {{kLod1, 4u * 15 * 10, std::vector<std::string>(4, "Read line nr.:15/20")},
               {kLod2, 2u * 15 * 4, std::vector<std::string>(2, "Read line nr.:15/40")}};
  for (const auto& [convert, vertices, seen] : cases) {
    const auto stop = Larder::makeStrong<Stop>();
    EXPECT_EQ(convert(stringList({folder / "in.q8"}), folder / "out.q8", stop, "surface"), 0);
    EXPECT_EQ(Surface(folder / "out.q8").vertices.size(), vertices);
    EXPECT_EQ(stop->seen, seen);
  }
}

TEST(BuildingInput, DataThatCannotBeReadEndsWithNothingWritten) {
  const TempFolder folder;
  const ConsoleCapture console;
  const std::string file = folder / "in.q8";
  Buildings buildings;
  buildings.addFragment(0.0, "a", "f", 5000);
  const auto storage = Larder::makeStrong<Quilt::StorageTransformations>();
  storage->compressionMode = 1;
  buildings.bundle.save(file, nullptr, storage);
  // The vertices fill most of the file.
  std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
  bytes.seekp(static_cast<std::streamoff>(std::filesystem::file_size(file) / 2));
  bytes << std::string(200, '\xFF');
  bytes.close();
  std::ofstream(folder / "out.q8") << "old";
  for (const Convert convert : {kLod1, kLod2}) {
    EXPECT_EQ(convert(stringList({file}), folder / "out.q8", nullptr, "surface"), 2);
    EXPECT_EQ(Recast::lastRunReport().failure, file + ": the fragment \"f\" can't be read");
    EXPECT_EQ(console.messages().back(), Recast::lastRunReport().failure + "; nothing is written.");
    EXPECT_EQ(std::filesystem::file_size(folder / "out.q8"), 3u);
  }
  const auto bundle = loadBundle(file);
  const Quilt::BundlePtr output(new Quilt::Bundle);
  const auto target = (*(*output)[0.0])["surface"];
  EXPECT_EQ(Recast::convertLOD2toTIN(*(*(*bundle)(0.0))("a"), *target, nullptr), 2);
  EXPECT_TRUE(target->skeletons().empty());
}

TEST(BuildingInput, AnOutputThatCannotBeWrittenThrows) {
  const TempFolder folder;
  const ConsoleCapture console;
  const std::string file = folder / "missing/out.q8";
  for (const Convert convert : {kLod1, kLod2}) {
    EXPECT_THROW(convert(stringList({}), file, nullptr, "surface"), Quilt::StorageError);
    EXPECT_NE(Recast::lastRunReport().failure.find(file), std::string::npos);
  }
}

}  // namespace
