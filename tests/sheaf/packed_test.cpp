#include <algorithm>
#include <numeric>
#include <random>

#include "sheaf/sample_data.h"

// Fields with very many fragments, which stand one behind the other in one dataset.
namespace {

using namespace TestSupport;

constexpr std::uint64_t kFragments = 12'000;

/// Fragment i has (i * i) % 37 elements from i on, so every piece of the dataset is its own.
template <class T>
Quilt::MemBaseHandle fragmentOf(std::uint32_t i) {
  return sampleArray<1, T>({std::uint64_t{i} * i % 11}, i);
}

Larder::StrongPtr<Quilt::Field> latticeField(Quilt::Bundle& bundle, const std::string& name) {
  const auto target = vertices(bundle);
  if (!target->findSharedFragments()) {
    const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
    lattice->setFragmentNames<3>({kFragments / 100, 10, 10}, "");
    target->makeField(target->makeFieldID(name), lattice, nullptr);
  }
  return (*target)[name];
}

Quilt::CreatorHandle putNumber(Quilt::Field& field, std::uint32_t number,
                               const Quilt::MemBaseHandle& array) {
  return field.setPersistentData(array, field.getFragmentIDCollection()->findFragmentID(number),
                                 Larder::Cache::MemCache(), "");
}

template <class T>
void putRange(Quilt::Field& field, std::uint32_t from, std::uint32_t to) {
  for (std::uint32_t i = from; i < to; ++i) putNumber(field, i, fragmentOf<T>(i));
}

/// Fragments of the field that are not as `fragmentOf` makes them, looked at in a random order.
template <class T>
std::size_t differing(const Quilt::Field& field, std::uint32_t from, std::uint32_t to) {
  std::vector<std::uint32_t> order(to - from);
  std::iota(order.begin(), order.end(), from);
  std::shuffle(order.begin(), order.end(), std::mt19937(from));
  return static_cast<std::size_t>(std::count_if(order.begin(), order.end(), [&](std::uint32_t i) {
    const auto creator = field.getCreatorByNumber(i);
    return !creator || !sameArrays(creator->get(), fragmentOf<T>(i));
  }));
}

class Packed : public FileTest, public testing::WithParamInterface<int> {
 protected:
  Quilt::StorageHandle rules_ = compressed(GetParam());
};

TEST_P(Packed, FragmentsComeBackInAnyOrder) {
  {
    const auto bundle = boundBundle(file_, rules_);
    putRange<Point>(*latticeField(*bundle, "Positions"), 0, kFragments);
    putRange<unsigned short>(*latticeField(*bundle, "class"), 2000, 4000);
    putRange<Lists>(*latticeField(*bundle, "lists"), 10, 20);  // no part of a packed dataset
  }
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(differing<Point>(*findField(*loaded, "G", "Positions"), 0, kFragments), 0U);
  EXPECT_EQ(differing<unsigned short>(*findField(*loaded, "G", "class"), 2000, 4000), 0U);
  EXPECT_FALSE(findField(*loaded, "G", "class")->getCreatorByNumber(4000));
  EXPECT_EQ(differing<Lists>(*findField(*loaded, "G", "lists"), 10, 20), 0U);
}

TEST_P(Packed, FragmentsAreReadWhileMoreAreWritten) {
  const auto bundle = boundBundle(file_, rules_);
  const auto field = latticeField(*bundle, "v");
  for (std::uint32_t from = 0; from < 3000; from += 500) {
    putRange<double>(*field, from, from + 500);
    bundle->sync();  // the last chunk is in the file, unfinished
    EXPECT_EQ(differing<double>(*field, 0, from + 500), 0U);
    bundle->sync();
  }
}

/// What a creator tells beside its data.
void expectKnown(const Quilt::CreatorHandle& creator, double cellSize) {
  ASSERT_TRUE(creator);
  EXPECT_EQ(creator->extent().kind, Quilt::DataExtent::Kind::Range);
  const auto value = creator->getAttribute("CellSize").castTo<Larder::Chunk<double>>();
  ASSERT_TRUE(value);
  EXPECT_EQ((*value)[0], cellSize);
}

TEST_P(Packed, CreatorsThatAreLetGoAreMadeAgain) {
  constexpr std::uint32_t kWithMore = 7;
  const auto bundle = boundBundle(file_, rules_);
  const auto field = latticeField(*bundle, "v");
  for (std::uint32_t i = 1; i < 3000; ++i) {
    const auto creator = putNumber(*field, i, sampleArray<1, double>({1 + i % 11}, i));
    creator->setAttribute("CellSize", Larder::singleValue(0.5 * i));
    if (i == kWithMore) creator->setAttribute("more", Larder::singleValue(i));
    field->letGo(field->getFragmentIDCollection()->findFragmentID(i));
    EXPECT_EQ(static_cast<bool>(field->madeCreator(i)), i == kWithMore);
  }
  const auto expectAll = [](const Quilt::Field& seen) {
    for (const std::uint32_t i : {2999U, 1U, kWithMore, 1500U}) {  // the last one isn't written yet
      SCOPED_TRACE(i);
      const auto creator = seen.getCreatorByNumber(i);
      expectKnown(creator, 0.5 * i);
      EXPECT_TRUE(sameArrays(creator->get(), sampleArray<1, double>({1 + i % 11}, i)));
    }
    EXPECT_TRUE(seen.getCreatorByNumber(kWithMore)->getAttribute("more"));
  };
  expectAll(*field);
  putNumber(*field, 2, fragmentOf<double>(5));  // takes the place of one that was let go
  field->getCreatorByNumber(3)->setAttribute("CellSize", Larder::singleValue(9.0));
  bundle->complete();
  EXPECT_TRUE(sameArrays(field->getCreatorByNumber(4)->get(), sampleArray<1, double>({5}, 4)));
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  const auto seen = findField(*loaded, "G", "v");
  expectAll(*seen);
  EXPECT_TRUE(sameArrays(seen->getCreatorByNumber(2)->get(), fragmentOf<double>(5)));
  expectKnown(seen->getCreatorByNumber(3), 9.0);
}

TEST_P(Packed, FieldsAreContinued) {
  {
    const auto bundle = boundBundle(file_, rules_);
    putRange<double>(*latticeField(*bundle, "v"), 0, 1000);
  }
  for (std::uint32_t from = 1000; from < 4000; from += 1000) {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    ASSERT_EQ(bundle->bindTo(file_, rules_).number, 0);
    putRange<double>(*findField(*bundle, "G", "v"), from, from + 1000);
    putNumber(*findField(*bundle, "G", "v"), 17, fragmentOf<double>(from));  // replaced
    bundle->sync();
    EXPECT_EQ(differing<double>(*findField(*bundle, "G", "v"), 18, from + 1000), 0U);
  }
  const auto field = findField(*loadBundle(file_), "G", "v");
  EXPECT_EQ(differing<double>(*field, 0, 17), 0U);
  EXPECT_EQ(differing<double>(*field, 18, 4000), 0U);
  EXPECT_TRUE(sameArrays(field->getCreatorByNumber(17)->get(), fragmentOf<double>(3000)));
}

TEST_P(Packed, FragmentsKeepAttributesShapesAndExtents) {
  {
    const auto bundle = boundBundle(file_, rules_);
    const auto field = latticeField(*bundle, "v");
    const auto creator = putNumber(*field, 5, sampleArray<3, float>({4, 3, 2}));
    creator->setAttribute("CellSize", Larder::singleValue(2.5));
    creator->setAttribute("note", Larder::singleValue(std::string("fünf")));
    putNumber(*field, 6, sampleArray<1, float>({3}))
        ->setAttribute("CellSize", Larder::singleValue(-1.0));
  }
  for (int again = 0; again < 2; ++again) {
    const auto field = findField(*loadBundle(file_), "G", "v");
    const auto creator = field->getCreatorByNumber(5);
    EXPECT_EQ(creator->extent().maximum[0], double{sampleElement<float>(24)});
    EXPECT_TRUE(creator->getAttribute("CellSize") && creator->getAttribute("note"));
    EXPECT_TRUE(field->getCreatorByNumber(6)->getAttribute("CellSize"));
    EXPECT_TRUE(sameArrays(creator->get(), sampleArray<3, float>({4, 3, 2})));
    Quilt::BundlePtr bundle(new Quilt::Bundle);  // carries them over
    ASSERT_EQ(bundle->bindTo(file_, rules_).number, 0);
  }
}

TEST_P(Packed, FragmentsThatNeedAnotherPrecisionStandApart) {
  const auto large = sampleArray<1, Point>({3});
  (*large)[1] = {1e300, 0.0, -1e300};
  {
    const auto bundle = boundBundle(file_, shifted(GetParam()));
    const auto field = latticeField(*bundle, "Positions");
    putRange<Point>(*field, 0, 10);
    putNumber(*field, 10, large);
    putRange<Point>(*field, 11, 20);
  }
  const auto field = findField(*loadBundle(file_), "G", "Positions");
  EXPECT_TRUE(sameArrays(field->getCreatorByNumber(10)->get(), large));
  for (std::uint32_t i = 0; i < 20; ++i) {
    if (i == 10) continue;
    const auto read = field->getCreatorByNumber(i)->get().castTo<Quilt::MemArray<1, Point>>();
    const auto expected = fragmentOf<Point>(i).castTo<Quilt::MemArray<1, Point>>();
    ASSERT_EQ(read->nElements(), expected->nElements());
    for (std::uint64_t k = 0; k < read->nElements(); ++k)
      for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR((*read)[k][c], (*expected)[k][c], 1e-5);
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, Packed, testing::Values(0, 1));

}  // namespace
