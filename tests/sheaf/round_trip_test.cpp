#include <cmath>
#include <random>

#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"

// What was written comes back to the last bit, and is what h5py shows.
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

class AllTypesAtLevel : public FileTest, public testing::WithParamInterface<int> {
 protected:
  AllTypesAtLevel() { putSamples(*vertices(*boundBundle(file_, compressed(GetParam())))); }
};

TEST_P(AllTypesAtLevel, LoadEqualToTheLastBit) {
  Quilt::BundlePtr expected{new Quilt::Bundle};
  putSamples(*vertices(*expected));
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  std::size_t fields = 0;
  vertices(*expected)->iterate([&](const Quilt::FieldID& id, const Quilt::Field&) {
    EXPECT_TRUE(sameArrays(get(*loaded, id.name(), "f"), get(*expected, id.name(), "f")))
        << id.name();
    return ++fields > 0;
  });
  EXPECT_EQ(fields, 64U);
}

TEST_P(AllTypesAtLevel, AreWhatH5pyShows) {
  if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  const auto [status, output] =
      run(RECAST_H5PY " " RECAST_TEST_SOURCES "/read_samples.py " + file_ + " 64");
  EXPECT_EQ(status, 0) << output;
}

INSTANTIATE_TEST_SUITE_P(Levels, AllTypesAtLevel, testing::Values(0, 1, 6, 9, 12));

using PointArray = Quilt::MemArray<1, Point>;

/// Points in a box of 10 km around a place with the coordinates of a national grid.
Larder::StrongPtr<PointArray> scatteredPoints(std::size_t count, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> inFragment(-5000.0, 5000.0);
  auto array = Larder::makeStrong<PointArray>(Quilt::MultiIndex<1>(count), nullptr);
  for (std::size_t i = 0; i < count; ++i)
    (*array)[i] = {4'567'890.5 + inFragment(random), 5'432'109.25 + inFragment(random),
                   1'234.75 + inFragment(random)};
  return array;
}

class ShiftedFloats : public FileTest {
 protected:
  Quilt::MemBaseHandle comeBack(const Quilt::MemBaseHandle& points,
                                const Quilt::StorageHandle& rules) {
    put(*vertices(*boundBundle(file_, rules)), "Positions", "f", points);
    return get(*loadBundle(file_), "Positions", "f");
  }
};

TEST_F(ShiftedFloats, StayWithinAMillimetreOverTenKilometres) {
  for (const int level : {0, 1, 9}) {
    SCOPED_TRACE(level);
    const auto points = scatteredPoints(200'000, 7);  // several blocks, the last one not full
    const auto back = comeBack(points, shifted(level)).castTo<PointArray>();
    ASSERT_TRUE(back && back->Size() == points->Size());
    double largest = 0.0;
    for (std::size_t i = 0; i < points->nElements(); ++i)
      for (std::size_t c = 0; c < 3; ++c)
        largest = std::max(largest, std::abs((*back)[i][c] - (*points)[i][c]));
    EXPECT_LT(largest, 0.001);
    EXPECT_GT(largest, 0.0);  // they were floats in between
  }
}

TEST_F(ShiftedFloats, StayDoublesWithoutSinglePrecisionOrIfNoFloatCanHoldThem) {
  const auto points = scatteredPoints(1000, 8);
  EXPECT_TRUE(sameArrays(comeBack(points, shifted(6, false)), points));
  (*points)[4] = {1e200, 0.0, 0.0};
  EXPECT_TRUE(sameArrays(comeBack(points, shifted(1)), points));
}

TEST_F(ShiftedFloats, KeepNumbersThatAreNone) {
  const auto points = scatteredPoints(10, 10);
  const double infinity = std::numeric_limits<double>::infinity();
  (*points)[3] = {std::nan(""), infinity, -infinity};
  const auto back = comeBack(points, shifted(1)).castTo<PointArray>();
  ASSERT_TRUE(back);
  EXPECT_TRUE(std::isnan((*back)[3].x()));
  EXPECT_EQ((*back)[3].y(), infinity);
  EXPECT_EQ((*back)[3].z(), -infinity);
  for (const std::uint64_t i : {0U, 1U, 2U, 4U, 5U})
    for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR((*back)[i][c], (*points)[i][c], 0.001);
}

using RoundTrip = FileTest;

TEST_F(RoundTrip, ArraysOfManyBlocksAndOfNoneComeBack) {
  // Shapes that don't divide into blocks, along every axis that a block can end in.
  const std::map<std::string, Quilt::MemBaseHandle> arrays = {
      {"line", sampleArray<1, double>({300'001})},
      {"plane", sampleArray<2, unsigned short>({1001, 1203})},
      {"cube", sampleArray<3, float>({7, 400'003, 2})},
      {"colours", sampleArray<3, Heron::Colour>({401, 11, 101})},
      {"no points", sampleArray<1, Point>({0})},
      {"flat", sampleArray<3, float>({4, 0, 2})},
      {"no lists", sampleArray<1, Lists>({0})}};
  for (const int level : {0, 1}) {
    {
      const auto bundle = boundBundle(file_, compressed(level));
      for (const auto& [name, array] : arrays) put(*vertices(*bundle), name, "f", array);
    }
    const auto loaded = loadBundle(file_);
    for (const auto& [name, array] : arrays)
      EXPECT_TRUE(sameArrays(get(*loaded, name, "f"), array)) << name << " at level " << level;
  }
}

TEST_F(RoundTrip, BlocksThatSkippedFiltersComeBack) {
  std::mt19937 random(4);
  const auto noise = sampleArray<1, unsigned int>({65536});  // deflating makes it no smaller
  for (std::uint64_t i = 0; i < noise->nElements(); ++i)
    (*noise)[i] = static_cast<unsigned int>(random());
  put(*vertices(*boundBundle(file_, compressed(1))), "noise", "f", noise);
  EXPECT_TRUE(sameArrays(get(*loadBundle(file_), "noise", "f"), noise));
  if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  const auto [status, output] =
      runPython(folder_,
                "g = h5py.File('a.q8', 'r+')['0.000000/G/Skeleton_3_0/Cartesian/noise']\n"
                "numbers = g['f'][...]\n"
                "del g['f']\n"
                "f = g.create_dataset('f', numbers.shape, 'u4', chunks=numbers.shape,\n"
                "                     compression=1, shuffle=True)\n"
                "f.id.write_direct_chunk((0,), numbers.tobytes(), filter_mask=3)\n");
  ASSERT_EQ(status, 0) << output;
  EXPECT_TRUE(sameArrays(get(*loadBundle(file_), "noise", "f"), noise));
}

TEST_F(RoundTrip, ViewsOfLargerMemoryAreWrittenAsWhatTheyShow) {
  const auto memory = sampleArray<1, int>({20});
  Quilt::Iterator<int> everySecond;
  everySecond.count = 20;
  everySecond.stride = 2;
  everySecond.length = 10;
  everySecond.first = 3;
  everySecond.data = static_cast<int*>(memory->getChunk()->data_ptr());
  const auto view = Larder::makeStrong<Quilt::MemArray<1, int>>(
      everySecond, Quilt::MultiIndex<1>(5), nullptr, memory->myChunk(), nullptr);
  put(*vertices(*boundBundle(file_, compressed(1))), "view", "f", view);
  const auto back = get(*loadBundle(file_), "view", "f").castTo<Quilt::MemArray<1, int>>();
  ASSERT_TRUE(back && back->nElements() == 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ((*back)[static_cast<std::uint64_t>(i)], 7 + 2 * i);
}

TEST_F(RoundTrip, AnArrayWithLessMemoryThanItsShapeIsRefused) {
  const ConsoleCapture console;
  const auto bundle = boundBundle(file_);
  const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<double>(3));
  const auto array =
      Larder::makeStrong<Quilt::MemArray<1, double>>(chunk, Quilt::MultiIndex<1>(4), nullptr);
  EXPECT_THROW(put(*vertices(*bundle), "short", "f", array), Quilt::StorageError);
}

}  // namespace
