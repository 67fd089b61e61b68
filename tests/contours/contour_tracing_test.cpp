#include "recast/contours/contour_tracing.h"

#include "contours/line_sets.h"
#include "support/console_capture.h"
#include <gmock/gmock.h>

namespace contour_tests {
namespace {

using Recast::ContourFragment;
using Recast::ContourOutput;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using TestSupport::ConsoleCapture;
using Point = Heron::PhysicalSpace::point;

int trace(const ContourFragment& f, float level, ContourOutput& output) {
  Quilt::MultiIndex<3> lower = f.lowerOverlap;
  Quilt::MultiIndex<3> upper = f.upperOverlap;
  return Recast::traceContourLevel(f.heights, f.sliceValues, f.cellTypes, level, lower, upper,
                                   f.onlyBorderLine, f.useSliceField, f.origin, f.spacing, output);
}

/// The lines of one level, each by its points.
std::vector<std::vector<Point>> tracedLines(const ContourFragment& fragment, float level) {
  ContourOutput output;
  trace(fragment, level, output);
  std::vector<std::vector<Point>> lines;
  for (const auto& indices : output.Lines) {
    lines.emplace_back();
    for (const unsigned int index : indices) lines.back().push_back(output.Points.at(index));
  }
  return lines;
}

TEST(ContourTracing, RunsClockwiseAroundAPeak) {
  const ContourFragment peak = fragmentOf(3, {0, 0, 0,  //
                                              0, 1, 0,  //
                                              0, 0, 0});
  ContourOutput output;
  EXPECT_EQ(trace(peak, 0.5F, output), 1);
  ASSERT_EQ(output.Lines.size(), 1U);
  EXPECT_THAT(output.Lines[0], ElementsAre(0, 1, 2, 3, 0));
  ASSERT_EQ(output.Points.size(), 4U);
  double doubledArea = 0.0;
  for (std::size_t k = 0; k < 4; ++k) {
    const Point& a = output.Points[k];
    const Point& b = output.Points[(k + 1) % 4];
    doubledArea += a.x() * b.y() - b.x() * a.y();
  }
  EXPECT_EQ(doubledArea, -1.0);
}

TEST(ContourTracing, StandsInWorldCoordinatesAndGivesBackTheCellsLeftToNeighbours) {
  ContourFragment slope = fragmentOf(2, {1, 2,  //
                                         1, 2,  //
                                         1, 2,  //
                                         1, 2});
  slope.heights = fragmentOf(2, {20, 40, 20, 40, 20, 40, 20, 40}).heights;
  Quilt::MultiIndex<3> lower(1, 2, 0);
  Quilt::MultiIndex<3> upper(1, 2, 0);
  ContourOutput output;
  Recast::traceContourLevel(slope.heights, slope.sliceValues, slope.cellTypes, 1.25F, lower, upper,
                            false, true, {100, 200, 300}, {2, 3, 4}, output);
  const double z = static_cast<float>(20 + 0.001) + 5.0F;
  EXPECT_THAT(output.Points,
              ElementsAre(Point(100.5, 203, z), Point(100.5, 206, z), Point(100.5, 209, z)));
  EXPECT_EQ(lower, Quilt::MultiIndex<3>(0, 1, 0));
  EXPECT_EQ(upper, Quilt::MultiIndex<3>(0, 0, 0));
}

ContourFragment ofExtent(const Quilt::MultiIndex<3>& values, const Quilt::MultiIndex<3>& others) {
  ContourFragment fragment;
  fragment.sliceValues = Larder::makeStrong<Quilt::MemArray<3, float>>(values, nullptr);
  fragment.heights = Larder::makeStrong<Quilt::MemArray<3, float>>(others, nullptr);
  fragment.cellTypes = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(others, nullptr);
  for (std::uint64_t k = 0; k < fragment.sliceValues->nElements(); ++k)
    fragment.sliceValues->data[k] = static_cast<float>(k % 2);
  return fragment;
}

TEST(ContourTracing, RefusesArraysThatDoNotFit) {
  const auto refuse = [](const ContourFragment& fragment, const std::string& message) {
    const ConsoleCapture console;
    ContourOutput output;
    EXPECT_EQ(trace(fragment, 0.5F, output), 0);
    EXPECT_THAT(console.messages(), ElementsAre(HasSubstr(message)));
    EXPECT_THAT(output.Lines, IsEmpty());
  };
  refuse({}, "heights of a fragment are missing");
  refuse(ofExtent({4, 4, 1}, {4, 3, 1}), "don't cover the slice values [4x4x1]");
  refuse(ofExtent({4, 4, 1}, {3, 9, 1}), "don't cover the slice values [4x4x1]");
  refuse(ofExtent({4, 4, 1}, {4, 4, 0}), "don't cover the slice values [4x4x1]");
  refuse(ofExtent({0, 4, 1}, {4, 4, 1}), "Can not create condition mem");
  ContourFragment tooShort = ofExtent({4, 4, 1}, {4, 4, 1});
  const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<unsigned char>(15));
  tooShort.cellTypes = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(
      chunk, Quilt::MultiIndex<3>(4, 4, 1), nullptr);
  refuse(tooShort, "cell types of a fragment are missing");
}

TEST(ContourTracing, ServesLargerHeightsAndStridedValues) {
  const ContourFragment plain = ofExtent({4, 4, 1}, {4, 4, 1});
  const auto expected = tracedLines(plain, 0.25F);
  EXPECT_EQ(expected.size(), 3U);
  EXPECT_EQ(tracedLines(ofExtent({4, 4, 1}, {5, 9, 2}), 0.25F), expected);

  ContourFragment strided = plain;
  const Larder::StrongPtr<Larder::Chunk<float>, Larder::ChunkBase> chunk(
      new Larder::Chunk<float>(36));
  Quilt::Iterator<float> everySecond;
  everySecond.data = chunk->data();
  everySecond.count = 36;
  everySecond.stride = 2;
  everySecond.length = 18;
  everySecond.first = 1;
  for (std::size_t k = 0; k < 16; ++k) (*chunk)[2 * (k + 1)] = plain.sliceValues->data[k];
  strided.sliceValues = Larder::makeStrong<Quilt::MemArray<3, float>>(
      everySecond, Quilt::MultiIndex<3>(4, 4, 1), nullptr, chunk, nullptr);
  EXPECT_EQ(tracedLines(strided, 0.25F), expected);
}

TEST(ContourTracing, TakesTheFirstOfSeveralLayers) {
  const ConsoleCapture console;
  ContourFragment layers = ofExtent({4, 4, 3}, {4, 4, 3});
  const auto expected = tracedLines(ofExtent({4, 4, 1}, {4, 4, 1}), 0.25F);
  EXPECT_EQ(tracedLines(layers, 0.25F), expected);
  EXPECT_THAT(console.messages(), ElementsAre(HasSubstr("only the first layer")));
  layers.lowerOverlap[2] = 2;  // the first layer belongs to the neighbour below
  EXPECT_THAT(tracedLines(layers, 0.25F), IsEmpty());
}

}  // namespace
}  // namespace contour_tests
