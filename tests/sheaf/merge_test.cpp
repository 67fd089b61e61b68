#include "sheaf/file_bytes.h"
#include "sheaf/sample_data.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gmock/gmock.h>

// Several files in one bundle, and bundles that go on with a file.
namespace {

using namespace TestSupport;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// Loads a file into a bundle. \return whether it worked.
bool loadInto(const Quilt::BundlePtr& bundle, const std::string& file) {
  bool ok = false;
  const auto result = Quilt::Bundle::load(
      ok, Larder::makeStrong<Larder::LoaderParameters>(stringList({file}), true), bundle);
  EXPECT_TRUE(result == bundle);
  return ok;
}

/// A file with the field "v" of the grid "G", its fragments the named ones.
template <class T>
void writeFile(const std::string& file, const std::vector<std::string>& fragments, unsigned first,
               const Quilt::StorageHandle& rules = nullptr) {
  const auto bundle = boundBundle(file, rules);
  for (const std::string& fragment : fragments) {
    put(*vertices(*bundle), "v", fragment, sampleArray<1, T>({4}, first));
    first += 10;
  }
}

Quilt::MemBaseHandle ints(unsigned first) {
  return sampleArray<1, int>({4}, first);
}

/// What the field "v" of a file holds, each fragment as its first value; -1 for no data.
std::vector<std::pair<std::string, int>> contentOf(const Quilt::Bundle& bundle,
                                                   const std::string& field = "v") {
  std::vector<std::pair<std::string, int>> content;
  const auto found = findField(bundle, "G", field);
  if (!found) return content;
  for (const auto& fragment : found->getFragmentIDs()) {
    const auto array = get(bundle, field, fragment->name()).castTo<Quilt::MemArray<1, int>>();
    content.emplace_back(fragment->name(), array ? array->first() : -1);
  }
  return content;
}

std::vector<std::pair<std::string, int>> contentOf(const std::string& file,
                                                   const std::string& field = "v") {
  const auto bundle = loadBundle(file);
  return bundle ? contentOf(*bundle, field) : std::vector<std::pair<std::string, int>>();
}

using Entry = std::pair<std::string, int>;

TEST(Merge, NewFragmentsJoinAndOfEqualOnesTheFirstStays) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x", "y"}, 1);
  writeFile<int>(folder / "b.q8", {"z", "y"}, 101);
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const ConsoleCapture console;
  EXPECT_TRUE(loadInto(bundle, folder / "a.q8"));
  EXPECT_THAT(console.messages(), ElementsAre());
  EXPECT_TRUE(loadInto(bundle, folder / "b.q8"));
  EXPECT_THAT(console.messages(),
              ElementsAre(testing::HasSubstr("1 fragments of the field \"v\" have names that")));
  EXPECT_THAT(contentOf(*bundle), ElementsAre(Entry("x", 1), Entry("y", 11), Entry("z", 101)));
}

TEST(Merge, DataInMemoryStays) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x", "y"}, 1);
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  put(*vertices(*bundle), "v", "y", ints(900));
  const ConsoleCapture console;
  EXPECT_TRUE(loadInto(bundle, folder / "a.q8"));
  EXPECT_EQ(console.count("names that the bundle has data for"), 1U);
  EXPECT_THAT(contentOf(*bundle), ElementsAre(Entry("y", 900), Entry("x", 1)));
}

TEST(Merge, AnotherElementTypeIsLeftOut) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x"}, 1);
  writeFile<double>(folder / "b.q8", {"y"}, 1);
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const ConsoleCapture console;
  EXPECT_TRUE(loadInto(bundle, folder / "a.q8"));
  EXPECT_TRUE(loadInto(bundle, folder / "b.q8"));
  EXPECT_TRUE(console.contains("holds elements of double, the bundle's of int"));
  EXPECT_THAT(contentOf(*bundle), ElementsAre(Entry("x", 1), Entry("y", -1)));
}

TEST(Merge, FieldsFindTheirFragmentsWhateverTheirNumbers) {
  // In the file "w" shares the fragments of "v"; in the bundle it has its own.
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    for (const char* fragment : {"p", "q", "r"}) {
      put(*vertices(*bundle), "v", fragment, ints(static_cast<unsigned>(fragment[0])));
      put(*vertices(*bundle), "w", fragment, ints(1000U + static_cast<unsigned>(fragment[0])));
    }
  }
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  put(*vertices(*bundle), "v", "r", ints(1));
  auto own = Larder::makeStrong<Quilt::FragmentIDCollection>();
  (*vertices(*bundle))["w"] = Larder::makeStrong<Quilt::Field>(own);
  put(*vertices(*bundle), "w", "q", ints(2));
  put(*vertices(*bundle), "w", "other", ints(3));
  const ConsoleCapture console;
  EXPECT_TRUE(loadInto(bundle, folder / "a.q8"));
  EXPECT_THAT(contentOf(*bundle, "v"),
              UnorderedElementsAre(Entry("r", 1), Entry("p", 'p'), Entry("q", 'q')));
  EXPECT_THAT(contentOf(*bundle, "w"),
              UnorderedElementsAre(Entry("q", 2), Entry("other", 3), Entry("p", 1000 + 'p'),
                                   Entry("r", 1000 + 'r')));
}

TEST(Merge, WithoutTheFlagGivesABundleOfItsOwn) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x"}, 1);
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  bool ok = false;
  const auto loaded = Quilt::Bundle::load(
      ok, Larder::makeStrong<Larder::LoaderParameters>(stringList({folder / "a.q8"}), false),
      bundle);
  EXPECT_TRUE(ok && loaded && !(loaded == bundle));
  EXPECT_TRUE(bundle->begin() == bundle->end());
}

TEST(Merge, ADamagedFileChangesNothing) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x"}, 1);
  const std::string whole = readFile(folder / "a.q8");
  const std::string damaged = folder.write("b.q8", whole.substr(0, whole.size() / 2));
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const ConsoleCapture console;
  EXPECT_FALSE(loadInto(bundle, damaged));
  EXPECT_TRUE(console.contains(damaged));
  EXPECT_TRUE(bundle->begin() == bundle->end());
  EXPECT_TRUE(bundle->attributes().empty());
}

/// Binds a new bundle to an existing file, which must succeed.
Quilt::BundlePtr continued(const std::string& file, const Quilt::StorageHandle& rules = nullptr) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto [number, text] = bundle->bindTo(file, rules);
  if (number != 0) throw std::runtime_error(text);
  return bundle;
}

class BindTo : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { writeFile<int>(file_, {"x", "y"}, 1, compressed(GetParam())); }

  TempFolder folder_;
  std::string file_ = folder_ / "a.q8";
};

TEST_P(BindTo, AddsFragmentsAndLeavesTheRest) {
  {
    const auto bundle = continued(file_, compressed(GetParam()));
    EXPECT_THAT(contentOf(*bundle), ElementsAre(Entry("x", 1), Entry("y", 11)));
    put(*vertices(*bundle), "v", "z", ints(21));
    put(*vertices(*bundle), "new", "x", ints(31));
    put(*vertices(*bundle, "H"), "v", "x", ints(41));
    EXPECT_THAT(contentOf(file_), ElementsAre(Entry("x", 1), Entry("y", 11)));  // untouched so far
  }
  EXPECT_THAT(contentOf(file_), ElementsAre(Entry("x", 1), Entry("y", 11), Entry("z", 21)));
  EXPECT_THAT(contentOf(file_, "new"), ElementsAre(Entry("x", 31), Entry("y", -1), Entry("z", -1)));
  EXPECT_TRUE(sameArrays(get(*loadBundle(file_), "v", "x", "H"), ints(41)));
  EXPECT_THAT(folder_.files(), ElementsAre("a.q8"));
}

TEST_P(BindTo, ReplacesAFragment) {
  put(*vertices(*continued(file_, compressed(GetParam()))), "v", "x", ints(500));
  EXPECT_THAT(contentOf(file_), ElementsAre(Entry("x", 500), Entry("y", 11)));
}

TEST_P(BindTo, KeepsAndChangesAttributes) {
  {
    const auto bundle = continued(file_);
    bundle->setAttribute("kept", Larder::singleValue(1));
    bundle->setAttribute("removed", Larder::singleValue(2));
    findField(*bundle, "G", "v")->getCreatorByName("x")->setAttribute("r", Larder::singleValue(3));
    findField(*bundle, "G", "v")->getCreatorByName("y")->setAttribute("k", Larder::singleValue(4));
  }
  {
    const auto bundle = continued(file_);
    bundle->setAttribute("removed", nullptr);
    findField(*bundle, "G", "v")->getCreatorByName("x")->setAttribute("r", nullptr);
    (*bundle)[0.0];  // the fragment "y" is not looked at
  }
  const auto loaded = loadBundle(file_);
  EXPECT_TRUE(loaded->getAttribute("kept"));
  EXPECT_FALSE(loaded->getAttribute("removed"));
  EXPECT_FALSE(findField(*loaded, "G", "v")->getCreatorByName("x")->getAttribute("r"));
  EXPECT_TRUE(findField(*loaded, "G", "v")->getCreatorByName("y")->getAttribute("k"));
}

TEST_P(BindTo, WritesWhatTheBundleHeldBefore) {
  // "y" stands before "x" here, so that the bundle's numbers are not the file's.
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    put(*vertices(*bundle), "v", "w", ints(700));
    put(*vertices(*bundle), "v", "y", ints(800));
    const ConsoleCapture console;
    EXPECT_EQ(bundle->bindTo(file_).number, 0);
    EXPECT_TRUE(console.contains("names that the bundle has data for"));
    EXPECT_THAT(contentOf(*bundle), ElementsAre(Entry("w", 700), Entry("y", 800), Entry("x", 1)));
  }
  EXPECT_THAT(contentOf(file_), ElementsAre(Entry("w", 700), Entry("y", 800), Entry("x", 1)));
}

TEST_P(BindTo, TakesTheFieldOfAnotherFileToo) {
  writeFile<int>(folder_ / "b.q8", {"x", "q"}, 901);
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    EXPECT_TRUE(loadInto(bundle, folder_ / "b.q8"));
    const ConsoleCapture console;
    EXPECT_EQ(bundle->bindTo(file_).number, 0);
  }
  EXPECT_THAT(contentOf(file_), ElementsAre(Entry("x", 901), Entry("q", 911), Entry("y", 11)));
}

TEST_P(BindTo, ChangesTheElementTypeOfAFieldThatWasReplaced) {
  {
    const auto bundle = continued(file_);
    (*vertices(*bundle))["v"] =
        Larder::makeStrong<Quilt::Field>(Larder::makeStrong<Quilt::FragmentIDCollection>());
    put(*vertices(*bundle), "v", "y", sampleArray<1, double>({3}));
  }
  const auto loaded = loadBundle(file_);
  EXPECT_TRUE(sameArrays(get(*loaded, "v", "y"), sampleArray<1, double>({3})));
  EXPECT_FALSE(findField(*loaded, "G", "v")->getCreatorByName("x"));
}

INSTANTIATE_TEST_SUITE_P(Levels, BindTo, testing::Values(0, 1));

TEST(BindToExisting, DoesNotWriteToAFileThatAnotherBundleReads) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x"}, 1);
  const auto reader = loadBundle(folder / "a.q8");
  put(*vertices(*continued(folder / "a.q8")), "v", "x", ints(77));
  EXPECT_THAT(contentOf(*reader), ElementsAre(Entry("x", 1)));
  EXPECT_THAT(contentOf(folder / "a.q8"), ElementsAre(Entry("x", 77)));
}

TEST(Save, OfALoadedBundleToItsOwnNameAndToAnother) {
  const TempFolder folder;
  writeFile<int>(folder / "a.q8", {"x", "y"}, 1, compressed(1));
  const auto bundle = loadBundle(folder / "a.q8");
  put(*vertices(*bundle), "v", "z", ints(31));
  EXPECT_EQ(bundle.save(folder / "b.q8", nullptr, compressed(9)).number, 0);
  EXPECT_EQ(bundle.save(folder / "a.q8", nullptr, nullptr).number, 0);
  const std::vector<Entry> expected = {{"x", 1}, {"y", 11}, {"z", 31}};
  EXPECT_EQ(contentOf(folder / "a.q8"), expected);
  EXPECT_EQ(contentOf(folder / "b.q8"), expected);
  EXPECT_EQ(contentOf(*bundle), expected);  // still reads what it had loaded
}

TEST(Save, OfABoundBundleTakesWhatWasHandedOver) {
  const TempFolder folder;
  const auto bundle = boundBundle(folder / "a.q8");
  put(*vertices(*bundle), "v", "x", ints(1));
  EXPECT_EQ(bundle.save(folder / "b.q8", nullptr, nullptr).number, 0);
  EXPECT_NE(bundle.save(folder / "a.q8", nullptr, nullptr).number, 0);  // it is being written
  EXPECT_THAT(contentOf(folder / "b.q8"), ElementsAre(Entry("x", 1)));
}

}  // namespace
