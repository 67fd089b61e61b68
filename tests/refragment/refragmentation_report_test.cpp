#include <mutex>
#include <thread>

#include "clouds.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/refragment/spatial_refragmentation.h"

using namespace RefragmentTest;

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

/// Notes all that is reported; tells if two threads do it at once.
class Reports : public Larder::LoaderProgress {
 public:
  bool reportProgress(const std::string& text, int current, int total) override {
    const std::unique_lock alone(mutex_, std::try_to_lock);
    EXPECT_TRUE(alone.owns_lock());
    EXPECT_EQ(current, steps);
    lastTotal = total;
    ++steps;
    ++stepsOf[text];
    return false;  // can't stop the run
  }
  void reportMessage(const std::string& text) override { messages.push_back(text); }

  std::vector<std::string> messages;
  std::map<std::string, int> stepsOf;
  int steps = 0;
  int lastTotal = 0;

 private:
  std::mutex mutex_;
};

/// 100 points along x from 10.2 to 19.7 in two fragments, with two fields.
void writeLine(const std::string& path) {
  const CloudFile file(path);
  for (const int part : {0, 1}) {
    std::vector<Point> points;
    std::vector<int> numbers;
    for (int i = 0; i < 50; ++i) {
      points.emplace_back(10.2 + 9.5 * (50 * part + i) / 99, 0.0, 0.0);
      numbers.push_back(50 * part + i);
    }
    file.add("Positions", "part " + std::to_string(part), points);
    file.add("Number", "part " + std::to_string(part), numbers);
    file.add("Unlisted", "part " + std::to_string(part), numbers);
  }
}

class RefragmentationReport : public ::testing::Test {
 protected:
  TempFolder folder;
  ConsoleCapture console;
};

std::string run(const TempFolder& folder, unsigned loops, const Quilt::ProgressHandle& progress,
                const std::vector<std::string>& fields = {}, double overlap = 0.1) {
  return Recast::spatialRefragmentation(
      TestSupport::stringList({folder / "in.q8"}), fields, "", 0.0, 2, {0, 0.5, 0}, nullptr, false,
      false, folder / "out.q8", {5, 0, 0}, overlap, 0, "", loops, 0, progress);
}

TEST_F(RefragmentationReport, TellsThePlanAndEachPass) {
  writeLine(folder / "in.q8");
  const auto reports = Larder::makeStrong<Reports>();
  ASSERT_EQ(run(folder, 2, reports, {"Number", "Number"}), "");
  EXPECT_THAT(reports->messages,
              ElementsAre("Final BBox:          {9.000000,-1.500000,-1.000000} "
                          "{24.000000,1.000000,1.000000}",
                          "Do this field:       Number", "Number of threads:   2",
                          "Number of fragments: [3x1x1]",
                          "Fragment length:     {5.000000,2.500000,2.000000}",
                          "Normalized overlap:  0.100000", "Loops:  2\n\n",
                          StartsWith("Number of points for current loop: "),
                          StartsWith("      Time for IndexList [s]:   "),
                          StartsWith("      Time for writing data [s]:   "),
                          StartsWith("Number of points for current loop: "),
                          StartsWith("      Time for IndexList [s]:   "),
                          StartsWith("      Time for writing data [s]:   ")));
  // Two passes of two source fragments; three target fragments of two fields.
  EXPECT_EQ(reports->stepsOf["IdxList"], 4);
  EXPECT_EQ(reports->stepsOf["Write"], 12);
  EXPECT_EQ(reports->lastTotal, (3 * 3 + 2) * 2 - 1);
}

TEST_F(RefragmentationReport, CountsOverlapsOnceEachHoweverManyPasses) {
  writeLine(folder / "in.q8");
  std::string first;
  for (const unsigned loops : {1U, 2U, 5U}) {
    ASSERT_EQ(run(folder, loops, nullptr), "");
    const std::string closing = console.messages().back();
    if (first.empty()) first = closing;
    EXPECT_EQ(closing, first);
  }
  // 14 of the 100 points lie within 0.5 of a face that has a fragment beyond it.
  EXPECT_EQ(first, "\n\nHave points refragmented: " + std::to_string(1.2e-4) + " [Mio].");
}

TEST_F(RefragmentationReport, TheOutputTellsHowItWasMade) {
  writeLine(folder / "in.q8");
  ASSERT_EQ(run(folder, 1, nullptr), "");
  const auto output = TestSupport::loadBundle(folder / "out.q8");
  const auto text = [&](const char* name) {
    const auto chunk = output->getAttribute(name).castTo<Larder::Chunk<std::string>>();
    return chunk && chunk->size() == 1 ? (*chunk)[0] : std::string("none");
  };
  EXPECT_EQ(text("Version:"), "0.99");
  EXPECT_EQ(text("Refragmentation: "),
            "BBoxMin: {9.000000,-1.500000,-1.000000} BBoxMax: {24.000000,1.000000,1.000000} "
            "TargetFrag# [3x1x1] FragLenght: {5.000000,2.500000,2.000000} Overlap: 0.100000 "
            "Weak Compression ExtLink: OutFile: " +
                (folder / "out.q8") + " Time: 0.000000 LoopsOverFrags: 1 FragLow# 0");
  const auto positions = TestSupport::findField(*output, kGrid, "Positions");
  const auto creator = positions->getCreatorByName("RegularFragment[1x0x0]");
  const auto size = creator->getAttribute("CellSize").castTo<Larder::Chunk<double>>();
  ASSERT_TRUE(size);
  EXPECT_EQ((*size)[0], -1.0);
  const auto box = positions->findInterface<Heron::BoundingBox>();
  ASSERT_TRUE(box);
  EXPECT_EQ(box->maximum()[0], 24.0);
}

TEST_F(RefragmentationReport, CellsWithoutPointsKeepTheirIdentifiers) {
  {
    const CloudFile file(folder / "in.q8");
    file.add<Point>("Positions", "a", {{0.5, 0.5, 0.5}, {9.5, 0.5, 0.5}});
    file.add<Heron::PhysicalSpace::bivector>("Normals", "a",
                                             std::vector<Heron::PhysicalSpace::bivector>(2));
  }
  auto parameters = parametersFor({folder / "in.q8"}, folder / "out.q8");
  fixBox(parameters, {0, 0, 0}, {10, 1, 1});
  parameters.fragLength = {1, 0, 0};
  ASSERT_EQ(refragment(parameters), "");
  const auto output = TestSupport::loadBundle(folder / "out.q8");
  const auto positions = TestSupport::findField(*output, kGrid, "Positions");
  EXPECT_EQ(positions->getFragmentIDs().size(), 10u);
  EXPECT_FALSE(positions->getCreatorByName("RegularFragment[5x0x0]"));
  EXPECT_EQ(valuesOf<Point>(output, "Positions").size(), 2u);
  // A field of a type that is not carried over is there, and empty.
  const auto normals = TestSupport::findField(*output, kGrid, "Normals");
  ASSERT_TRUE(normals);
  EXPECT_FALSE(normals->getCreatorByName("RegularFragment[0x0x0]"));
  EXPECT_EQ(normals->getFragmentIDs().size(), 10u);
}

TEST_F(RefragmentationReport, FieldsThatAreNotListedStayBehind) {
  writeLine(folder / "in.q8");
  const struct {
    std::vector<std::string> wanted;
    std::size_t fields;
  } cases[] = {{{}, 3}, {{"Number"}, 2}, {{"Positions", "Unlisted"}, 2}, {{"There is none"}, 1}};
  for (const auto& [wanted, fields] : cases) {
    ASSERT_EQ(run(folder, 1, nullptr, wanted), "");
    const auto output = TestSupport::loadBundle(folder / "out.q8");
    const auto representation = (*(*output)(0.0))(kGrid)->getCartesianRepresentation("");
    EXPECT_EQ(representation->numberOfFields(), fields);
    EXPECT_EQ(valuesOf<Point>(output, "Positions").size(), 3u);
  }
}

TEST_F(RefragmentationReport, WithoutPassesOnlyTheAttributesAreWritten) {
  writeLine(folder / "in.q8");
  ASSERT_EQ(run(folder, 0, nullptr), "");
  const auto output = TestSupport::loadBundle(folder / "out.q8");
  EXPECT_TRUE(output->getGridIdentifiers().empty());
  EXPECT_TRUE(output->getAttribute("Version:"));
}

TEST_F(RefragmentationReport, ALatticeCanBeCutAnewTogetherWithAnotherFile) {
  writeLine(folder / "in.q8");
  ASSERT_EQ(run(folder, 1, nullptr, {}, 0.0), "");
  {
    const CloudFile other(folder / "other.q8");
    other.add<Point>("Positions", "other", {{10.2, 0, 0}});
    other.add<int>("Number", "other", {0});
  }
  const auto parameters =
      parametersFor({folder / "out.q8", folder / "other.q8"}, folder / "again.q8");
  ASSERT_EQ(refragment(parameters), "");
  const auto output = TestSupport::loadBundle(folder / "again.q8");
  const auto points = valuesOf<Point>(output, "Positions").at("RegularFragment[0x0x0]");
  const auto numbers = valuesOf<int>(output, "Number").at("RegularFragment[0x0x0]");
  ASSERT_EQ(points.size(), 101u);
  for (std::size_t i = 0; i < 101; ++i) EXPECT_EQ(points[i][0], 10.2 + 9.5 * numbers[i] / 99);
}

}  // namespace
