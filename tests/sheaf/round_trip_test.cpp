#include <random>

#include "sheaf/file_bytes.h"
#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

// What was written comes back to the last bit, and is what h5py and h5dump show.
namespace {

using namespace TestSupport;

template <int N, class T>
void putSample(Quilt::Representation& target) {
  Quilt::MultiIndex<N> shape;
  constexpr int kShape[] = {5, 3, 2, 4};
  for (std::size_t i = 0; i < N; ++i) shape[i] = static_cast<std::uint64_t>(kShape[i]);
  put(target, Larder::Typename(typeid(T)) + " of rank " + std::to_string(N), "f",
      sampleArray<N, T>(shape));
}

/// Every element type at every rank, a field each.
void putSamples(Quilt::Representation& target) {
#define RECAST_PUT(T)      \
  putSample<1, T>(target); \
  putSample<2, T>(target); \
  putSample<3, T>(target); \
  putSample<4, T>(target);
  RECAST_ALL_ELEMENTS(RECAST_PUT)
#undef RECAST_PUT
}

class AllTypesAtLevel : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    file_ = folder_ / "all.q8";
    const auto rules = compressed(GetParam());
    putSamples(*vertices(*boundBundle(file_, rules)));
    putSamples(*vertices(*expected_));
  }

  TempFolder folder_;
  std::string file_;
  Quilt::BundlePtr expected_{new Quilt::Bundle};
};

TEST_P(AllTypesAtLevel, LoadEqualToTheLastBit) {
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  std::size_t fields = 0;
  vertices(*expected_)->iterate([&](const Quilt::FieldID& id, const Quilt::Field&) {
    EXPECT_TRUE(sameArrays(get(*loaded, id.name(), "f"), get(*expected_, id.name(), "f")))
        << id.name();
    return ++fields > 0;
  });
  EXPECT_EQ(fields, 64U);
}

TEST_P(AllTypesAtLevel, AreWhatH5pyShows) {
  if (std::string(RECAST_H5PY).empty()) GTEST_SKIP() << "there is no Python with h5py";
  const auto [status, output] =
      run(RECAST_H5PY " " RECAST_TEST_SOURCES "/read_samples.py " + file_ + " 64");
  EXPECT_EQ(status, 0) << output;
}

INSTANTIATE_TEST_SUITE_P(Levels, AllTypesAtLevel, testing::Values(0, 1, 6, 9, 12));

struct Coordinates : Quilt::StorageTransformations {
  bool WriteAsSinglePrecision(const std::string&,
                              const Larder::StrongPtr<Larder::ChunkBase>&) const override {
    return singlePrecision;
  }
  bool EnableNumericalShift(const std::string&,
                            const Larder::StrongPtr<Larder::ChunkBase>&) const override {
    return numericalShift;
  }
};

Quilt::StorageHandle precision(bool single, bool shift, int level) {
  auto rules = Larder::makeStrong<Coordinates>();
  rules->singlePrecision = single;
  rules->numericalShift = shift;
  rules->compressionLevel = level;
  return rules;
}

/// Points in a box of 10 km around a place with the coordinates of a national grid.
Larder::StrongPtr<Quilt::MemArray<1, Point>> scatteredPoints(std::size_t count, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> inFragment(-5000.0, 5000.0);
  auto array = Larder::makeStrong<Quilt::MemArray<1, Point>>(Quilt::MultiIndex<1>(count), nullptr);
  for (std::size_t i = 0; i < count; ++i)
    (*array)[i] = {4'567'890.5 + inFragment(random), 5'432'109.25 + inFragment(random),
                   1'234.75 + inFragment(random)};
  return array;
}

double largestDifference(const Quilt::MemArray<1, Point>& a, const Quilt::MemArray<1, Point>& b) {
  double largest = 0.0;
  for (std::size_t i = 0; i < a.nElements(); ++i)
    for (std::size_t c = 0; c < 3; ++c) largest = std::max(largest, std::abs(a[i][c] - b[i][c]));
  return largest;
}

TEST(ShiftedFloats, StayWithinAMillimetreOverTenKilometres) {
  for (const int level : {0, 1, 9}) {
    SCOPED_TRACE(level);
    const TempFolder folder;
    const auto points = scatteredPoints(200'000, 7);  // several blocks, the last one not full
    put(*vertices(*boundBundle(folder / "a.q8", precision(true, true, level))), "Positions", "f",
        points);
    const auto back =
        get(*loadBundle(folder / "a.q8"), "Positions", "f").castTo<Quilt::MemArray<1, Point>>();
    ASSERT_TRUE(back && back->Size() == points->Size());
    EXPECT_LT(largestDifference(*back, *points), 0.001);
    EXPECT_GT(largestDifference(*back, *points), 0.0);  // they were floats in between
  }
}

TEST(ShiftedFloats, AreDoublesToTheLastBitWithoutSinglePrecision) {
  const TempFolder folder;
  const auto points = scatteredPoints(1000, 8);
  put(*vertices(*boundBundle(folder / "a.q8", precision(false, true, 6))), "Positions", "f",
      points);
  EXPECT_TRUE(sameArrays(get(*loadBundle(folder / "a.q8"), "Positions", "f"), points));
}

TEST(ShiftedFloats, KeepDoublesThatNoFloatCanHold) {
  const TempFolder folder;
  auto points = scatteredPoints(10, 9);
  (*points)[4] = {1e200, 0.0, 0.0};
  put(*vertices(*boundBundle(folder / "a.q8", precision(true, true, 1))), "Positions", "f", points);
  EXPECT_TRUE(sameArrays(get(*loadBundle(folder / "a.q8"), "Positions", "f"), points));
}

TEST(ShiftedFloats, KeepNumbersThatAreNone) {
  const TempFolder folder;
  auto points = scatteredPoints(10, 10);
  const double infinity = std::numeric_limits<double>::infinity();
  (*points)[3] = {std::nan(""), infinity, -infinity};
  put(*vertices(*boundBundle(folder / "a.q8", precision(true, true, 1))), "Positions", "f", points);
  const auto back =
      get(*loadBundle(folder / "a.q8"), "Positions", "f").castTo<Quilt::MemArray<1, Point>>();
  ASSERT_TRUE(back);
  EXPECT_TRUE(std::isnan((*back)[3].x()));
  EXPECT_EQ((*back)[3].y(), infinity);
  EXPECT_EQ((*back)[3].z(), -infinity);
}

TEST(RoundTrip, ArraysOfManyBlocksComeBack) {
  // Shapes that don't divide into blocks, along every axis that a block can end in.
  const TempFolder folder;
  const auto line = sampleArray<1, double>({300'001});
  const auto plane = sampleArray<2, unsigned short>({1001, 1203});
  const auto cube = sampleArray<3, float>({7, 400'003, 2});
  const auto colours = sampleArray<3, Heron::Colour>({401, 11, 101});
  for (const int level : {0, 1}) {
    SCOPED_TRACE(level);
    {
      const auto bundle = boundBundle(folder / "a.q8", compressed(level));
      const auto target = vertices(*bundle);
      put(*target, "line", "f", line);
      put(*target, "plane", "f", plane);
      put(*target, "cube", "f", cube);
      put(*target, "colours", "f", colours);
    }
    const auto loaded = loadBundle(folder / "a.q8");
    EXPECT_TRUE(sameArrays(get(*loaded, "line", "f"), line));
    EXPECT_TRUE(sameArrays(get(*loaded, "plane", "f"), plane));
    EXPECT_TRUE(sameArrays(get(*loaded, "cube", "f"), cube));
    EXPECT_TRUE(sameArrays(get(*loaded, "colours", "f"), colours));
  }
}

TEST(RoundTrip, EmptyArraysKeepTheirShape) {
  const TempFolder folder;
  const auto none = sampleArray<1, Point>({0});
  const auto flat = sampleArray<3, float>({4, 0, 2});
  const auto lists = sampleArray<1, Lists>({0});
  {
    const auto bundle = boundBundle(folder / "a.q8", compressed(1));
    const auto target = vertices(*bundle);
    put(*target, "Positions", "f", none);
    put(*target, "flat", "f", flat);
    put(*target, "lists", "f", lists);
  }
  const auto loaded = loadBundle(folder / "a.q8");
  EXPECT_TRUE(sameArrays(get(*loaded, "Positions", "f"), none));
  EXPECT_TRUE(sameArrays(get(*loaded, "flat", "f"), flat));
  EXPECT_TRUE(sameArrays(get(*loaded, "lists", "f"), lists));
}

TEST(RoundTrip, ViewsOfLargerMemoryAreWrittenAsWhatTheyShow) {
  const TempFolder folder;
  const auto memory = sampleArray<1, int>({20});
  Quilt::Iterator<int> everySecond;
  everySecond.count = 20;
  everySecond.stride = 2;
  everySecond.length = 10;
  everySecond.first = 3;
  everySecond.data = static_cast<int*>(memory->getChunk()->data_ptr());
  const auto view = Larder::makeStrong<Quilt::MemArray<1, int>>(
      everySecond, Quilt::MultiIndex<1>(5), nullptr, memory->myChunk(), nullptr);
  put(*vertices(*boundBundle(folder / "a.q8", compressed(1))), "view", "f", view);
  const auto back =
      get(*loadBundle(folder / "a.q8"), "view", "f").castTo<Quilt::MemArray<1, int>>();
  ASSERT_TRUE(back && back->nElements() == 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ((*back)[static_cast<std::uint64_t>(i)], 7 + 2 * i);
}

TEST(RoundTrip, AnArrayWithLessMemoryThanItsShapeIsRefused) {
  const TempFolder folder;
  const auto bundle = boundBundle(folder / "a.q8");
  const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<double>(3));
  const auto array =
      Larder::makeStrong<Quilt::MemArray<1, double>>(chunk, Quilt::MultiIndex<1>(4), nullptr);
  EXPECT_THROW(put(*vertices(*bundle), "short", "f", array), Quilt::StorageError);
}

TEST(RoundTrip, EqualContentMakesEqualBytes) {
  const TempFolder folder;
  std::string content[2];
  for (std::string& bytes : content) {
    putSamples(*vertices(*boundBundle(folder / "a.q8", compressed(1))));
    bytes = readFile(folder / "a.q8");
  }
  EXPECT_FALSE(content[0].empty());
  EXPECT_TRUE(content[0] == content[1]);
}

std::string h5dump(const std::string& file, const std::string& dataset) {
  return run("h5dump --no-compact-subset -y -w 0 -d '" + dataset + "' " + file).output;
}

TEST(H5dump, ShowsTheNumbersInTheOrderOfTheAxes) {
  if (run("h5dump --version").status != 0) GTEST_SKIP() << "there is no h5dump";
  const TempFolder folder;
  const std::string file = folder / "a.q8";
  {
    const auto bundle = boundBundle(file, compressed(6));
    const auto target = vertices(*bundle);
    // A tile of 4 columns and 3 rows: element (column, row, 0).
    put(*target, "Elevation", "[0x0x0]", sampleArray<3, unsigned int>({4, 3, 1}));
    put(*target, "Edges", "e", sampleArray<1, Quilt::Edge>({3}));
  }
  const std::string field = "/0.000000/G/Skeleton_3_0/Cartesian/";
  const std::string tile = h5dump(file, field + "Elevation/[0x0x0]");
  EXPECT_NE(tile.find("( 1, 3, 4 )"), std::string::npos) << tile;
  EXPECT_NE(tile.find("1, 2, 3, 4,\n      5, 6, 7, 8,\n      9, 10, 11, 12\n"), std::string::npos)
      << tile;
  const std::string edges = h5dump(file, field + "Edges/e");
  EXPECT_NE(edges.find("( 3, 2 )"), std::string::npos) << edges;
  EXPECT_NE(edges.find("1, 2,\n      2, 3,\n      3, 4\n"), std::string::npos) << edges;
}

}  // namespace
