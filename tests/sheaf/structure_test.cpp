#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"
#include <gmock/gmock.h>

#include "recast/patchbase/bounding_boxes.h"
#include "recast/patchops/data_range.h"
#include "recast/perch/bounding_box.h"
#include "recast/trelliskinds/grid_kinds.h"

// Names, order, identifiers and everything else about the data comes back.
namespace {

using namespace TestSupport;
using testing::ElementsAre;
using testing::ElementsAreArray;

std::vector<std::string> fieldNames(const Quilt::Representation& representation) {
  std::vector<std::string> names;
  representation.iterate([&names](const Quilt::FieldID& id, const Quilt::Field&) {
    names.push_back(id.name());
    return true;
  });
  return names;
}

std::vector<std::string> fragmentNames(const Quilt::Field& field) {
  std::vector<std::string> names;
  for (const auto& fragment : field.getFragmentIDs()) names.push_back(fragment->name());
  return names;
}

/// A fragment of a field, which may have the empty name.
void putFragment(Quilt::Field& field, const std::string& name, const Quilt::MemBaseHandle& array) {
  field.setPersistentData(array, field.makeFragmentID(name), Larder::Cache::MemCache(), "");
}

using Structure = FileTest;

TEST_F(Structure, NamesOfEveryKindComeBackInTheirOrder) {
  // In no order but that of their making.
  const std::vector<std::string> names = {"zebra",
                                          "10",
                                          "9",
                                          "",
                                          ".",
                                          "a/b",
                                          "a%2Fb",
                                          "%",
                                          "@fragments",
                                          "Höhe (m)",
                                          "\n",
                                          std::string(5000, 'n'),
                                          std::string("nul\0nul", 7)};
  const auto ints = [](unsigned value) { return sampleArray<1, int>({3}, value); };
  {
    const auto bundle = boundBundle(file_);
    for (const std::string& name : names) vertices(*bundle, name);
    const auto target = vertices(*bundle);
    unsigned value = 0;
    for (const std::string& name : names) {
      put(*target, name, "", ints(++value));
      putFragment(*(*target)["fragments"].field(), name, ints(value));
      target->setAttribute(name, Larder::singleValue(value));
      (*(*bundle)[5.0])["charts"]->makeCartesianRepresentation(2, "x" + name, 0);
    }
    put(*target, "fragments", "", ints(++value));  // the undivided data has no name at all
  }
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  std::vector<std::string> found;
  for (const auto& [id, grid] : *(*loaded)(0.0)) found.push_back(id->name());
  auto expectedGrids = names;
  expectedGrids.push_back("G");
  EXPECT_THAT(found, ElementsAreArray(expectedGrids));
  found.clear();
  for (const auto& chart : (*(*loaded)(5.0))("charts")->findVertices(2)->representations())
    found.push_back(chart->name().substr(11));
  EXPECT_THAT(found, ElementsAreArray(names));

  const auto target = (*(*loaded)(0.0))("G")->getCartesianRepresentation("");
  auto expectedFields = names;
  expectedFields.insert(expectedFields.begin() + 1, "fragments");  // made after the first name
  EXPECT_THAT(fieldNames(*target), ElementsAreArray(expectedFields));
  const auto divided = target->findField("fragments");
  EXPECT_THAT(fragmentNames(*divided), ElementsAreArray(names));
  unsigned value = 0;
  for (const std::string& name : names) {
    EXPECT_TRUE(sameArrays(get(*loaded, name, ""), ints(++value))) << name;
    EXPECT_TRUE(sameArrays(divided->getCreatorByName(name)->get(), ints(value))) << name;
    EXPECT_EQ(attributeValue<unsigned>(*target, name), value);
  }
  EXPECT_TRUE(sameArrays(divided->getCreator(nullptr)->get(), ints(++value)));
}

TEST_F(Structure, SlicesOfCloseTimesAreKeptApartOrRefused) {
  const double apart[] = {1.000001, 1.000002, 1e300, 1.0 / 3.0};  // kept to the last bit
  {
    const auto bundle = boundBundle(file_);
    for (const double time : apart) (*bundle)[time];
  }
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  for (const double time : apart) EXPECT_TRUE((*loaded)(time)) << time;

  const ConsoleCapture console;
  for (const bool empty : {true, false}) {
    const auto bundle = boundBundle(folder_ / "b.q8");
    const auto first = vertices(*bundle, "G", 1.0000001);
    const auto second = vertices(*bundle, "G", 1.0000002);
    if (empty) continue;  // the release finds them
    put(*first, "x", "", sampleArray<1, int>({1}));
    EXPECT_THROW(put(*second, "x", "", sampleArray<1, int>({1})), Quilt::StorageError);
  }
  EXPECT_EQ(console.count("two slices have times that agree to six decimals"), 2U);
  EXPECT_THAT(folder_.files(), ElementsAre("a.q8"));
}

TEST_F(Structure, LatticesLocationsAndOverlapsAreKept) {
  using Place = Quilt::FragmentLocation<3, Quilt::PlaceInGrid>;
  using Lower = Quilt::FragmentLocation<3, Quilt::LowerOverlap>;
  using Upper = Quilt::FragmentLocation<3, Quilt::UpperOverlap>;
  const Quilt::MultiIndex<3> counts(3, 2, 4);
  {
    const auto bundle = boundBundle(file_);
    const auto target = vertices(*bundle);
    const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
    lattice->setFragmentNames<3>(counts, "Frag/");
    target->makeField(target->makeFieldID("Positions"), lattice, nullptr);
    put(*target, "Positions", "Frag/[1x0x1]", sampleArray<1, Point>({2}));
    put(*target, "v", "Frag/[1x0x1]", sampleArray<1, float>({2}));
    auto& fragment = *lattice->findFragmentID(5);
    Place::make(fragment) = {1, 2, 1ULL << 60};
    Lower::make(fragment) = {0, 0, 0};
    Upper::make(fragment) = {7, 8, 9};
    // One that has more fragments than its lattice has places.
    const auto longer = Larder::makeStrong<Quilt::FragmentIDCollection>();
    longer->setFragmentNames<3>({2, 1, 1}, "");
    target->makeField(target->makeFieldID("more"), longer, nullptr);
    put(*target, "more", "extra", sampleArray<1, int>({1}));
  }
  const auto loaded = loadBundle(file_);
  const auto positions = findField(*loaded, "G", "Positions");
  ASSERT_TRUE(positions);
  const auto lattice = positions->getFragmentIDCollection();
  EXPECT_EQ(lattice->latticeSize(), Quilt::DynamicSize(counts));
  EXPECT_EQ(lattice->latticePrefix(), "Frag/");
  ASSERT_EQ(lattice->NumberOfFragmentIDs(), 24U);
  EXPECT_EQ(lattice->findFragmentID(7)->name(), "Frag/[1x0x1]");
  for (std::uint32_t i = 0; i < 24; ++i)
    EXPECT_EQ(bool(positions->getCreatorByNumber(i)), i == 7) << i;
  EXPECT_EQ(findField(*loaded, "G", "v")->getFragmentIDCollection(), lattice);

  auto& fragment = *lattice->findFragmentID(5);
  EXPECT_EQ(Place::make(fragment), Quilt::MultiIndex<3>(1, 2, 1ULL << 60));
  EXPECT_TRUE(fragment.findInterface<Lower>());
  EXPECT_EQ(Upper::make(fragment), Quilt::MultiIndex<3>(7, 8, 9));
  EXPECT_FALSE(lattice->findFragmentID(6)->findInterface<Lower>());
  EXPECT_THAT(fragmentNames(*findField(*loaded, "G", "more")),
              ElementsAre("[0x0x0]", "[1x0x0]", "extra"));
}

TEST_F(Structure, ExtentsOfALoadedFileCostNoReading) {
  constexpr auto kMost = std::numeric_limits<unsigned long long>::max();
  {
    const auto bundle = boundBundle(file_);
    const auto target = vertices(*bundle);
    put(*target, "Positions", "f", sampleArray<1, Point>({15}));  // x 1/7 to 15/7, y 1 more
    put(*target, "int", "f", sampleArray<1, int>({5}));
    put(*target, "int", "g", sampleArray<1, int>({5}, 100));
    const auto nan = sampleArray<1, float>({4});
    for (const std::uint64_t i : {0U, 3U}) (*nan)[i] = std::nanf("");
    put(*target, "float", "f", nan);
    const auto large = sampleArray<1, unsigned long long>({2});
    (*large)[1] = kMost;
    put(*target, "large", "f", large);
    (*target)["int"].field()->addInterface(
        Larder::makeStrong<Heron::BoundingBox>(Point(0, 1, 2), Point(3, 4, 5)));
  }
  const auto loaded = loadBundle(file_);
  const auto positions = findField(*loaded, "G", "Positions");
  const auto box = Quilt::ExpandBBox(nullptr, positions->getCreatorByName("f"), Quilt::OnlyIfKnown);
  ASSERT_TRUE(box);
  EXPECT_EQ(box->minimum(), sampleElement<Point>(1));
  EXPECT_EQ(box->maximum(), sampleElement<Point>(15));
  const auto expectRange = [&]<class T>(const std::string& field, T least, T most) {
    SCOPED_TRACE(field);
    const auto range = Quilt::getRange(*findField(*loaded, "G", field), "", false, true)
                           .template castTo<Quilt::DataRange<T>>();
    ASSERT_TRUE(range);
    EXPECT_EQ(range->minimum(), least);
    EXPECT_EQ(range->maximum(), most);
  };
  expectRange("int", 1, 104);
  expectRange("float", sampleElement<float>(2), sampleElement<float>(3));  // the rest is no number
  expectRange("large", 1ULL, kMost);
  const auto fieldBox = findField(*loaded, "G", "int")->findInterface<Heron::BoundingBox>();
  ASSERT_TRUE(fieldBox);
  EXPECT_EQ(fieldBox->maximum(), Point(3, 4, 5));
  // None of it read an array.
  EXPECT_FALSE(positions->getCreatorByName("f")->present());
  EXPECT_FALSE(findField(*loaded, "G", "int")->getCreatorByName("g")->present());
}

TEST_F(Structure, UniformPositionsAreStoredAsTheirParameters) {
  const Point lower(-1.5, 2.0, 0.25);
  const Point upper(8.5, 22.0, 0.25);
  {
    const auto bundle = boundBundle(file_, compressed(1));
    Quilt::UniformGrid3D::create((*(*bundle)[0.0])["G"], lower, {1'000'001, 2'000'001, 1}, upper);
    const auto tile = Quilt::UniformCartesianArray::overBox(lower, {11, 21, 1}, upper);
    const auto creator = put(*vertices(*bundle), "Positions", "tile", tile);
    creator->setAttribute("origin", Larder::singleValue(7));  // a name like that of a parameter
  }
  EXPECT_LT(std::filesystem::file_size(file_), 20'000U);
  const auto loaded = loadBundle(file_);
  const auto whole = get(*loaded, "Positions", "").castTo<Quilt::UniformCartesianArray>();
  const auto tile = get(*loaded, "Positions", "tile").castTo<Quilt::UniformCartesianArray>();
  ASSERT_TRUE(whole && tile);
  EXPECT_EQ(whole->Size(), Quilt::MultiIndex<3>(1'000'001, 2'000'001, 1));
  EXPECT_EQ(whole->origin(), lower);
  EXPECT_EQ((*tile)[Quilt::MultiIndex<3>(10, 20, 0)], upper);
  const auto creator = findField(*loaded, "G", "Positions")->getCreatorByName("tile");
  EXPECT_EQ(attributeValue<int>(*creator, "origin"), 7);
  EXPECT_EQ(Quilt::ExpandBBox(nullptr, creator, Quilt::OnlyIfKnown)->maximum(), upper);
  if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  const auto [status, output] =
      runPython(folder_,
                "a = h5py.File('a.q8')['0.000000/G/Skeleton_3_0/Cartesian/Positions/tile'].attrs\n"
                "print(list(a['@size']), list(a['@origin']), list(a['@spacing']))\n");
  EXPECT_EQ(output, "[11, 21, 1] [-1.5, 2.0, 0.25] [1.0, 1.0, 0.0]\n");
}

TEST_F(Structure, RulesKeepOutWhatTheySay) {
  struct Picky : Quilt::StorageTransformations {
    bool SkipStorage(const std::string& field) const override { return field == "skipped"; }
    bool isSaveableTime(double time) const override { return time < 1.0; }
    bool isSaveableField(const Quilt::FieldID& id, const Quilt::Field&,
                         const Larder::WeakPtrImpl<Quilt::Grid>& grid, const std::string& name,
                         double, const std::string&, const Quilt::SkeletonID&) const override {
      EXPECT_EQ(grid.lock()->name(), name);
      return id.name() != "unsaveable";
    }
    bool isSaveableFragment(const Quilt::FieldID&, const Quilt::FragmentID& f) const override {
      return f.name() != "no";
    }
    void isSaved(const Quilt::FieldID& id) const override { saved.push_back(id.name()); }
    mutable std::vector<std::string> saved;
  };
  const auto rules = Larder::makeStrong<Picky>();
  {
    const auto bundle = boundBundle(file_, rules);
    for (const double time : {0.5, 1.5})
      for (const char* field : {"skipped", "unsaveable", "x"})
        for (const char* fragment : {"no", "yes"})
          put(*vertices(*bundle, "G", time), field, fragment, sampleArray<1, int>({1}));
  }
  EXPECT_THAT(rules->saved, ElementsAre("x"));
  const auto loaded = loadBundle(file_);
  EXPECT_FALSE((*loaded)(1.5));
  const auto target = (*(*loaded)(0.5))("G")->getCartesianRepresentation("");
  EXPECT_THAT(fieldNames(*target), ElementsAre("x"));
  const auto field = target->findField("x");
  EXPECT_THAT(fragmentNames(*field), ElementsAre("no", "yes"));
  EXPECT_TRUE(!field->getCreatorByName("no") && field->getCreatorByName("yes"));
}

TEST_F(Structure, ReplacingAFieldOrItsDataLeavesTheLastAlone) {
  const auto last = sampleArray<1, double>({5}, 50);
  {
    const auto bundle = boundBundle(file_);
    const auto target = vertices(*bundle);
    put(*target, "twice", "f", sampleArray<1, double>({3}));
    put(*target, "twice", "f", last);
    // Another field object takes the place of one with data, of the same and of another type.
    for (const char* name : {"same", "other"}) {
      put(*target, name, "f", sampleArray<1, int>({3}));
      (*target)[name] =
          Larder::makeStrong<Quilt::Field>(Larder::makeStrong<Quilt::FragmentIDCollection>());
    }
    put(*target, "same", "h", sampleArray<1, int>({6}, 60));
    put(*target, "other", "h", last);
  }
  const auto loaded = loadBundle(file_);
  EXPECT_TRUE(sameArrays(get(*loaded, "twice", "f"), last));
  EXPECT_TRUE(sameArrays(get(*loaded, "same", "h"), sampleArray<1, int>({6}, 60)));
  EXPECT_TRUE(sameArrays(get(*loaded, "other", "h"), last));
  for (const char* name : {"same", "other"}) {
    EXPECT_THAT(fragmentNames(*findField(*loaded, "G", name)), ElementsAre("h"));
    const std::string path = file_ + "/0.000000/G/Skeleton_3_0/Cartesian/" + name;
    EXPECT_EQ(run("h5ls " + path).output.find("f "), std::string::npos) << "it is in the way";
  }
}

}  // namespace
