#include "recast/contours/contour_tracing.h"

#include <limits>

#include "contours/line_sets.h"
#include <gmock/gmock.h>

#include "recast/contours/fragment_tracer.h"

namespace contour_tests {
namespace {

using Recast::ContourFragment;
using Recast::ContourOutput;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Point = Heron::PhysicalSpace::point;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

int trace(const ContourFragment& f, float level, ContourOutput& output) {
  Quilt::MultiIndex<3> lower = f.lowerOverlap;
  Quilt::MultiIndex<3> upper = f.upperOverlap;
  return Recast::traceContourLevel(f.heights, f.sliceValues, f.cellTypes, level, lower, upper,
                                   f.onlyBorderLine, f.useSliceField, f.origin, f.spacing, output);
}

/// The lines of one level, each by its points.
std::vector<std::vector<Point>> linesOf(const ContourFragment& fragment, float level) {
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

TEST(ContourTracing, KeepsTheTwoHighCornersOfASaddleApart) {
  const ContourFragment saddle = fragmentOf(3, {1, 0, 0,  //
                                                0, 1, 0});
  EXPECT_THAT(
      linesOf(saddle, 0.5F),
      UnorderedElementsAre(ElementsAre(Point(0, .5, .5), Point(.5, 0, .5)),
                           ElementsAre(Point(1.5, 1, .5), Point(1, .5, .5), Point(.5, 1, .5))));
}

TEST(ContourTracing, GivesAnOpenLineWhereTheLevelLeavesTheFragment) {
  const ContourFragment slope = fragmentOf(3, {0, 1, 2,  //
                                               0, 1, 2,  //
                                               0, 1, 2});
  EXPECT_THAT(linesOf(slope, 1.5F),
              ElementsAre(ElementsAre(Point(1.5, 0, 1.5), Point(1.5, 1, 1.5), Point(1.5, 2, 1.5))));
  // A vertex at the level is not above it, and the crossing falls on it.
  EXPECT_THAT(linesOf(slope, 1.0F),
              ElementsAre(ElementsAre(Point(1, 0, 1), Point(1, 1, 1), Point(1, 2, 1))));
  EXPECT_THAT(linesOf(slope, 2.0F), IsEmpty());
  EXPECT_THAT(linesOf(slope, kNaN), IsEmpty());
}

TEST(ContourTracing, NeedsTwoActiveCells) {
  ContourOutput output;
  EXPECT_EQ(trace(fragmentOf(2, {0, 0, 0, 1}), 0.5F, output), 0);
  EXPECT_EQ(trace(fragmentOf(3, {1, 0, 0, 0, 0, 0}), 0.5F, output), 0);
  EXPECT_EQ(trace(fragmentOf(3, {1, 1, 1, 1, 1, 1}), 0.5F, output), 0);
  EXPECT_THAT(output.Lines, IsEmpty());
  EXPECT_THAT(output.Points, IsEmpty());
}

TEST(ContourTracing, BreaksLinesAtBlockedVerticesAndFollowsTheirBorder) {
  ContourFragment slope = fragmentOf(3, {0, 0, 0,  //
                                         0, 0, 0,  //
                                         1, 1, 1,  //
                                         1, 1, 1});
  slope.cellTypes->data[3 * 2 + 2] = 2;
  EXPECT_THAT(linesOf(slope, 0.5F), ElementsAre(ElementsAre(Point(1, 1.5, .5), Point(0, 1.5, .5))));
  slope.onlyBorderLine = true;
  EXPECT_THAT(linesOf(slope, 0.5F), IsEmpty());
  for (const std::size_t vertex : {6U, 7U, 9U, 10U, 11U}) slope.cellTypes->data[vertex] = 1;
  EXPECT_THAT(linesOf(slope, 0.5F), ElementsAre(testing::SizeIs(3)));
}

TEST(ContourTracing, TakesHeightsFromTheFieldOnRequest) {
  ContourFragment slope = fragmentOf(2, {1, 2,  //
                                         1, 2,  //
                                         1, 2});
  slope.heights = fragmentOf(2, {20, 40, 20, 40, 20, 40}).heights;
  slope.useSliceField = true;
  slope.origin = {100, 200, 300};
  slope.spacing = {2, 3, 4};
  const double z = static_cast<float>(20 + 0.001) + 5.0F;
  EXPECT_THAT(
      linesOf(slope, 1.25F),
      ElementsAre(ElementsAre(Point(100.5, 200, z), Point(100.5, 203, z), Point(100.5, 206, z))));
}

TEST(ContourTracing, TellsWhereAHeightCanNotBeInterpolated) {
  ContourFragment slope = fragmentOf(3, {0, 0, kNaN,  //
                                         1, 1, 1});
  slope.useSliceField = true;
  const ConsoleCapture console;
  EXPECT_THAT(linesOf(slope, 0.5F), ElementsAre(testing::SizeIs(2)));
  EXPECT_THAT(console.messages, ElementsAre("Contour: Division by zero in calcRealHeight: "
                                            "1.000000 nan returning"));
}

TEST(ContourTracing, NumbersVerticesThroughAllCalls) {
  const ContourFragment slope = fragmentOf(3, {0, 1, 2, 0, 1, 2, 0, 1, 2});
  ContourOutput output;
  trace(slope, 0.5F, output);
  trace(slope, 1.5F, output);
  EXPECT_THAT(output.Lines, ElementsAre(ElementsAre(0, 1, 2), ElementsAre(3, 4, 5)));
  EXPECT_EQ(output.NextIndex, 6U);
}

TEST(ContourTracing, GivesBackTheCellsLeftToTheNeighbours) {
  const ContourFragment slope = fragmentOf(3, {0, 1, 2, 0, 1, 2});
  Quilt::MultiIndex<3> lower(5, 1, 0);
  Quilt::MultiIndex<3> upper(5, 1, 0);
  ContourOutput output;
  Recast::traceContourLevel(slope.heights, slope.sliceValues, slope.cellTypes, 0.5F, lower, upper,
                            false, false, slope.origin, slope.spacing, output);
  EXPECT_EQ(lower, Quilt::MultiIndex<3>(2, 0, 0));
  EXPECT_EQ(upper, Quilt::MultiIndex<3>(2, 0, 0));
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
    EXPECT_THAT(console.messages, ElementsAre(HasSubstr(message)));
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
  const auto expected = linesOf(plain, 0.25F);
  EXPECT_EQ(expected.size(), 3U);
  EXPECT_EQ(linesOf(ofExtent({4, 4, 1}, {5, 9, 2}), 0.25F), expected);

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
  EXPECT_EQ(linesOf(strided, 0.25F), expected);
}

TEST(ContourTracing, TakesTheFirstOfSeveralLayers) {
  const ConsoleCapture console;
  ContourFragment layers = ofExtent({4, 4, 3}, {4, 4, 3});
  const auto expected = linesOf(ofExtent({4, 4, 1}, {4, 4, 1}), 0.25F);
  EXPECT_EQ(linesOf(layers, 0.25F), expected);
  EXPECT_THAT(console.messages, ElementsAre(HasSubstr("only the first layer")));
  layers.lowerOverlap[2] = 2;  // the first layer belongs to the neighbour below
  EXPECT_THAT(linesOf(layers, 0.25F), IsEmpty());
}

}  // namespace
}  // namespace contour_tests
