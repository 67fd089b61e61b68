#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
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

/// Names that HDF5 or the file format could take for something else, and pairs that a careless
/// escaping would make one.
std::vector<std::string> oddNames() {
  return {"",
          ".",
          "..",
          "/",
          "a/b",
          "%",
          "%25",
          "%2F",
          "a%2Fb",
          "@x",
          "@",
          "@fragments",
          "@packed",
          "a b",
          "Höhe (m)",
          "高さ",
          "-",
          std::string(5000, 'n'),
          "%2E",
          "./.",
          "\n",
          "a\\b",
          "\"q\"",
          std::string("nul\0nul", 7),
          "Gr\xfc\xdf"
          "e"};
}

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

TEST(Names, OfEveryKindComeBackInTheirOrder) {
  const TempFolder folder;
  const auto names = oddNames();
  {
    const auto bundle = boundBundle(folder / "a.q8");
    for (const std::string& name : names) vertices(*bundle, name);
    const auto target = vertices(*bundle);
    int value = 0;
    for (const std::string& name : names) {
      put(*target, name, "", sampleArray<1, int>({2}, static_cast<unsigned>(++value)));
      put(*target, "fragments", name.empty() ? "(none)" : name,
          sampleArray<1, int>({3}, static_cast<unsigned>(value)));
      target->setAttribute(name, Larder::singleValue(value));
      (*(*bundle)[1.0])["charts"]->makeCartesianRepresentation(2, name, 0);
    }
  }
  const auto loaded = loadBundle(folder / "a.q8");
  ASSERT_TRUE(loaded);
  std::vector<std::string> grids;
  for (const auto& [id, grid] : *(*loaded)(0.0)) grids.push_back(id->name());
  auto expectedGrids = names;
  expectedGrids.push_back("G");
  EXPECT_THAT(grids, ElementsAreArray(expectedGrids));

  const auto target = (*(*loaded)(0.0))("G")->getCartesianRepresentation("");
  auto expectedFields = names;
  expectedFields.insert(expectedFields.begin() + 1, "fragments");  // made after the first name
  EXPECT_THAT(fieldNames(*target), ElementsAreArray(expectedFields));
  auto expectedFragments = names;
  expectedFragments[0] = "(none)";
  EXPECT_THAT(fragmentNames(*target->findField("fragments")), ElementsAreArray(expectedFragments));
  int value = 0;
  for (const std::string& name : names) {
    const auto v = static_cast<unsigned>(++value);
    EXPECT_TRUE(sameArrays(get(*loaded, name, ""), sampleArray<1, int>({2}, v))) << name;
    EXPECT_TRUE(sameArrays(get(*loaded, "fragments", name.empty() ? "(none)" : name),
                           sampleArray<1, int>({3}, v)))
        << name;
    EXPECT_EQ(attributeValue<int>(*target, name), value) << name;
    EXPECT_TRUE((*(*loaded)(1.0))("charts")->getCartesianRepresentation(name)) << name;
  }
}

TEST(Names, AnEmptyFragmentNameIsAFragmentNotTheUndividedData) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto field = (*vertices(*bundle))["x"].field();
    field->setPersistentData(sampleArray<1, int>({2}), field->makeFragmentID(""),
                             Larder::Cache::MemCache(), "");
    field->setPersistentData(sampleArray<1, int>({3}), nullptr, Larder::Cache::MemCache(), "");
  }
  const auto field = findField(*loadBundle(folder / "a.q8"), "G", "x");
  ASSERT_TRUE(field);
  EXPECT_EQ(field->getCreatorByName("")->get()->nElements(), 2U);
  EXPECT_EQ(field->getCreator(nullptr)->get()->nElements(), 3U);
}

TEST(Order, OfGridsRepresentationsFieldsAndFragmentsIsKept) {
  const TempFolder folder;
  const std::vector<std::string> names = {"zebra", "ant", "m", "Ant", "10", "9"};
  {
    const auto bundle = boundBundle(folder / "a.q8");
    for (const double time : {5.0, -1.0, 2.5}) (*bundle)[time];
    for (const std::string& name : names) (*(*bundle)[2.5])[name];
    const auto grid = (*(*bundle)[2.5])["G"];
    for (const std::string& name : names) grid->makeCartesianRepresentation(1, name, 0);
    const auto target = grid->makeCartesianRepresentation(1, "zebra", 0);
    for (const std::string& name : names) put(*target, name, "", sampleArray<1, int>({1}));
    for (const std::string& name : names) (*target)["zebra"].field()->makeFragmentID(name);
  }
  const auto loaded = loadBundle(folder / "a.q8");
  std::vector<double> times;
  for (const auto& [time, slice] : *loaded) times.push_back(time);
  EXPECT_THAT(times, ElementsAre(-1.0, 2.5, 5.0));
  std::vector<std::string> grids;
  for (const auto& [id, grid] : *(*loaded)(2.5)) grids.push_back(id->name());
  EXPECT_THAT(grids, ElementsAre("zebra", "ant", "m", "Ant", "10", "9", "G"));
  const auto grid = (*(*loaded)(2.5))("G");
  std::vector<std::string> charts;
  for (const auto& representation : grid->findVertices(1)->representations())
    charts.push_back(representation->name().substr(10));
  EXPECT_THAT(charts, ElementsAreArray(names));
  const auto target = grid->getCartesianRepresentation("zebra");
  EXPECT_THAT(fieldNames(*target), ElementsAreArray(names));
  EXPECT_THAT(fragmentNames(*target->findField("zebra")), ElementsAreArray(names));
}

TEST(Slices, OfCloseTimesAreKeptApartOrRefused) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "apart.q8");
    put(*vertices(*bundle, "G", 1.000001), "x", "", sampleArray<1, int>({1}));
    put(*vertices(*bundle, "G", 1.000002), "x", "", sampleArray<1, int>({2}));
    put(*vertices(*bundle, "G", 1e300), "x", "", sampleArray<1, int>({3}));
    put(*vertices(*bundle, "G", 1.0 / 3.0), "x", "", sampleArray<1, int>({4}));
  }
  const auto loaded = loadBundle(folder / "apart.q8");
  ASSERT_TRUE(loaded);
  EXPECT_TRUE((*loaded)(1.000001) && (*loaded)(1.000002) && (*loaded)(1e300));
  EXPECT_TRUE((*loaded)(1.0 / 3.0));  // to the last bit, though its name has six decimals

  const ConsoleCapture console;
  {
    const auto bundle = boundBundle(folder / "one.q8");
    put(*vertices(*bundle, "G", 1.0000001), "x", "", sampleArray<1, int>({1}));
    EXPECT_THROW(put(*vertices(*bundle, "G", 1.0000002), "x", "", sampleArray<1, int>({2})),
                 Quilt::StorageError);
  }
  EXPECT_EQ(console.count("two slices have times that agree to six decimals"), 1U);
  {
    const auto bundle = boundBundle(folder / "empty.q8");  // though neither holds anything
    (*bundle)[1.0000001];
    (*bundle)[1.0000002];
  }
  EXPECT_EQ(console.count("two slices have times that agree to six decimals"), 2U);
  EXPECT_THAT(folder.files(), ElementsAre("apart.q8"));
}
TEST(Fragments, WithoutDataLatticeLocationsAndOverlapsAreKept) {
  const TempFolder folder;
  const Quilt::MultiIndex<3> counts(3, 2, 4);
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto target = vertices(*bundle);
    const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
    lattice->setFragmentNames<3>(counts, "Frag/");
    const auto field =
        target->makeField(target->makeFieldID("Positions"), lattice, nullptr).field();
    field->setPersistentData(sampleArray<1, Point>({2}), field->getFragmentIDs()[7],
                             Larder::Cache::MemCache(), "");
    put(*target, "v", field->getFragmentIDs()[7]->name(), sampleArray<1, float>({2}));
    auto& fragment = *lattice->findFragmentID(5);
    Quilt::FragmentLocation<3, Quilt::PlaceInGrid>::make(fragment) = {1, 2, 1ULL << 60};
    Quilt::FragmentLocation<3, Quilt::LowerOverlap>::make(fragment) = {0, 0, 0};
    Quilt::FragmentLocation<3, Quilt::UpperOverlap>::make(fragment) = {7, 8, 9};
  }
  const auto loaded = loadBundle(folder / "a.q8");
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
  using Quilt::FragmentLocation;
  EXPECT_EQ((FragmentLocation<3, Quilt::PlaceInGrid>::make(fragment)),
            (Quilt::MultiIndex<3>(1, 2, 1ULL << 60)));
  EXPECT_TRUE((fragment.findInterface<FragmentLocation<3, Quilt::LowerOverlap>>()));
  EXPECT_EQ((FragmentLocation<3, Quilt::UpperOverlap>::make(fragment)),
            Quilt::MultiIndex<3>(7, 8, 9));
  EXPECT_FALSE(
      (lattice->findFragmentID(6)->findInterface<FragmentLocation<3, Quilt::LowerOverlap>>()));
}

TEST(Fragments, AddedToALatticeAreKeptWithIt) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto target = vertices(*bundle);
    const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
    lattice->setFragmentNames<3>({2, 1, 1}, "");
    target->makeField(target->makeFieldID("v"), lattice, nullptr);
    put(*target, "v", "extra", sampleArray<1, int>({1}));
  }
  const auto field = findField(*loadBundle(folder / "a.q8"), "G", "v");
  ASSERT_TRUE(field);
  EXPECT_THAT(fragmentNames(*field), ElementsAre("[0x0x0]", "[1x0x0]", "extra"));
}

TEST(Fragments, AreSharedByTheFieldsThatSharedThem) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto target = vertices(*bundle);
    put(*target, "a", "f", sampleArray<1, int>({1}));
    put(*target, "b", "g", sampleArray<1, int>({1}));
    const auto own = Larder::makeStrong<Quilt::FragmentIDCollection>();
    target->makeField(target->makeFieldID("c"), own, nullptr);
    put(*target, "c", "g", sampleArray<1, int>({1}));
  }
  const auto loaded = loadBundle(folder / "a.q8");
  const auto fragments = findField(*loaded, "G", "a")->getFragmentIDCollection();
  EXPECT_EQ(findField(*loaded, "G", "b")->getFragmentIDCollection(), fragments);
  EXPECT_NE(findField(*loaded, "G", "c")->getFragmentIDCollection(), fragments);
  EXPECT_THAT(fragmentNames(*findField(*loaded, "G", "b")), ElementsAre("f", "g"));
  EXPECT_THAT(fragmentNames(*findField(*loaded, "G", "c")), ElementsAre("g"));
  EXPECT_FALSE(findField(*loaded, "G", "b")->getCreatorByName("f"));
}

TEST(Extents, OfALoadedFileCostNoReading) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto target = vertices(*bundle);
    put(*target, "Positions", "f", sampleArray<1, Point>({15}));  // x 1/7 to 15/7, y 1 more
    put(*target, "int", "f", sampleArray<1, int>({5}));
    put(*target, "int", "g", sampleArray<1, int>({5}, 100));
    const auto nan = sampleArray<1, float>({3});
    (*nan)[0] = std::nanf("");
    put(*target, "float", "f", nan);
    (*target)["int"].field()->addInterface(
        Larder::makeStrong<Heron::BoundingBox>(Point(0, 1, 2), Point(3, 4, 5)));
  }
  const auto loaded = loadBundle(folder / "a.q8");
  const auto positions = findField(*loaded, "G", "Positions");
  const auto box = Quilt::ExpandBBox(nullptr, positions->getCreatorByName("f"), Quilt::OnlyIfKnown);
  ASSERT_TRUE(box);
  EXPECT_EQ(box->minimum(), sampleElement<Point>(1));
  EXPECT_EQ(box->maximum(), sampleElement<Point>(15));
  const auto ints = Quilt::getRange(*findField(*loaded, "G", "int"), "", false, true)
                        .castTo<Quilt::DataRange<int>>();
  ASSERT_TRUE(ints);
  EXPECT_EQ(ints->minimum(), 1);
  EXPECT_EQ(ints->maximum(), 104);
  const auto floats = Quilt::getRange(*findField(*loaded, "G", "float"), "f", false, true)
                          .castTo<Quilt::DataRange<float>>();
  ASSERT_TRUE(floats);
  EXPECT_EQ(floats->minimum(), sampleElement<float>(2));
  const auto fieldBox = findField(*loaded, "G", "int")->findInterface<Heron::BoundingBox>();
  ASSERT_TRUE(fieldBox);
  EXPECT_EQ(fieldBox->maximum(), Point(3, 4, 5));
  // None of it read an array.
  EXPECT_FALSE(positions->getCreatorByName("f")->present());
  EXPECT_FALSE(findField(*loaded, "G", "int")->getCreatorByName("g")->present());
}

TEST(Extents, OfTheLargestNumbersStayInTheirType) {
  const TempFolder folder;
  constexpr auto kMost = std::numeric_limits<unsigned long long>::max();
  {
    const auto numbers = sampleArray<1, unsigned long long>({2});
    (*numbers)[1] = kMost;
    put(*vertices(*boundBundle(folder / "a.q8")), "v", "f", numbers);
  }
  const auto range =
      Quilt::getRange(*findField(*loadBundle(folder / "a.q8"), "G", "v"), "", false, true)
          .castTo<Quilt::DataRange<unsigned long long>>();
  ASSERT_TRUE(range);
  EXPECT_EQ(range->minimum(), 1U);
  EXPECT_EQ(range->maximum(), kMost);
}

TEST(UniformPositions, AreStoredAsTheirParameters) {
  const TempFolder folder;
  const Point lower(-1.5, 2.0, 0.25);
  const Point upper(8.5, 22.0, 0.25);
  {
    const auto bundle = boundBundle(folder / "a.q8", compressed(1));
    Quilt::UniformGrid3D::create((*(*bundle)[0.0])["G"], lower, {1'000'001, 2'000'001, 1}, upper);
    const auto tile = Quilt::UniformCartesianArray::overBox(lower, {11, 21, 1}, upper);
    const auto creator = put(*vertices(*bundle), "Positions", "tile", tile);
    creator->setAttribute("origin", Larder::singleValue(7));  // a name like that of a parameter
  }
  EXPECT_LT(std::filesystem::file_size(folder / "a.q8"), 20'000U);
  const auto loaded = loadBundle(folder / "a.q8");
  const auto whole = get(*loaded, "Positions", "").castTo<Quilt::UniformCartesianArray>();
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->Size(), (Quilt::MultiIndex<3>(1'000'001, 2'000'001, 1)));
  EXPECT_EQ(whole->origin(), lower);
  const auto tile = get(*loaded, "Positions", "tile").castTo<Quilt::UniformCartesianArray>();
  ASSERT_TRUE(tile);
  EXPECT_EQ((*tile)[Quilt::MultiIndex<3>(10, 20, 0)], upper);
  const auto creator = findField(*loaded, "G", "Positions")->getCreatorByName("tile");
  EXPECT_EQ(attributeValue<int>(*creator, "origin"), 7);
  const auto box = Quilt::ExpandBBox(nullptr, creator, Quilt::OnlyIfKnown);
  ASSERT_TRUE(box);
  EXPECT_EQ(box->maximum(), upper);
  if (std::string(RECAST_H5PY).empty()) GTEST_SKIP() << "there is no Python with h5py";
  const auto [status, output] =
      run(RECAST_H5PY " -c \"import h5py; a = h5py.File('" + (folder / "a.q8") +
          "')['0.000000/G/Skeleton_3_0/Cartesian/Positions/tile'].attrs;"
          "print(list(a['@size']), list(a['@origin']), list(a['@spacing']))\"");
  EXPECT_EQ(output, "[11, 21, 1] [-1.5, 2.0, 0.25] [1.0, 1.0, 0.0]\n");
}

TEST(Rules, KeepOutWhatTheySay) {
  struct Picky : Quilt::StorageTransformations {
    bool SkipStorage(const std::string& field) const override { return field == "skipped"; }
    bool isSaveableTime(double time) const override { return time < 1.0; }
    bool isSaveableField(const Quilt::FieldID& id, const Quilt::Field&,
                         const Larder::WeakPtrImpl<Quilt::Grid>&, const std::string&, double,
                         const std::string&, const Quilt::SkeletonID&) const override {
      return id.name() != "unsaveable";
    }
    bool isSaveableFragment(const Quilt::FieldID&, const Quilt::FragmentID& f) const override {
      return f.name() != "no";
    }
    void isSaved(const Quilt::FieldID& id) const override { saved.push_back(id.name()); }
    mutable std::vector<std::string> saved;
  };
  const TempFolder folder;
  const auto rules = Larder::makeStrong<Picky>();
  {
    const auto bundle = boundBundle(folder / "a.q8", rules);
    for (const double time : {0.5, 1.5})
      for (const char* field : {"skipped", "unsaveable", "x"})
        for (const char* fragment : {"no", "yes"})
          put(*vertices(*bundle, "G", time), field, fragment, sampleArray<1, int>({1}));
  }
  EXPECT_THAT(rules->saved, ElementsAre("x"));
  const auto loaded = loadBundle(folder / "a.q8");
  EXPECT_FALSE((*loaded)(1.5));
  const auto target = (*(*loaded)(0.5))("G")->getCartesianRepresentation("");
  EXPECT_THAT(fieldNames(*target), ElementsAre("x"));
  EXPECT_THAT(fragmentNames(*target->findField("x")), ElementsAre("no", "yes"));
  EXPECT_FALSE(target->findField("x")->getCreatorByName("no"));
  EXPECT_TRUE(target->findField("x")->getCreatorByName("yes"));
}

TEST(Replacing, AFieldOrItsDataLeavesTheLastAlone) {
  const TempFolder folder;
  const auto last = sampleArray<1, double>({5}, 50);
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto target = vertices(*bundle);
    put(*target, "twice", "f", sampleArray<1, double>({3}));
    put(*target, "twice", "f", last);
    // Another field object in the place of one with data, of the same and of another element type.
    for (const char* name : {"same", "other"}) {
      put(*target, name, "f", sampleArray<1, int>({3}));
      put(*target, name, "g", sampleArray<1, int>({4}));
      const auto fresh =
          Larder::makeStrong<Quilt::Field>(Larder::makeStrong<Quilt::FragmentIDCollection>());
      (*target)[name] = fresh;
      const Quilt::MemBaseHandle array =
          name == std::string("same") ? Quilt::MemBaseHandle(sampleArray<1, int>({6}, 60)) : last;
      fresh->setPersistentData(array, fresh->makeFragmentID("h"), Larder::Cache::MemCache(), "");
    }
  }
  const auto loaded = loadBundle(folder / "a.q8");
  EXPECT_TRUE(sameArrays(get(*loaded, "twice", "f"), last));
  EXPECT_TRUE(sameArrays(get(*loaded, "same", "h"), sampleArray<1, int>({6}, 60)));
  EXPECT_TRUE(sameArrays(get(*loaded, "other", "h"), last));
  for (const char* name : {"same", "other"}) {
    EXPECT_THAT(fragmentNames(*findField(*loaded, "G", name)), ElementsAre("h"));
    EXPECT_EQ(run("h5ls " + (folder / "a.q8") + "/0.000000/G/Skeleton_3_0/Cartesian/" + name)
                  .output.find("f "),
              std::string::npos);
  }
}

TEST(Binding, TakesWhatTheBundleHoldsAlready) {
  const TempFolder folder;
  const auto early = sampleArray<1, Point>({5});
  const auto late = sampleArray<1, Point>({6}, 9);
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    put(*vertices(*bundle), "Positions", "early", early);
    EXPECT_EQ(bundle->bindToNew(folder / "a.q8").number, 0);
    put(*vertices(*bundle), "Positions", "late", late);
  }
  const auto loaded = loadBundle(folder / "a.q8");
  EXPECT_TRUE(sameArrays(get(*loaded, "Positions", "early"), early));
  EXPECT_TRUE(sameArrays(get(*loaded, "Positions", "late"), late));
}

}  // namespace
