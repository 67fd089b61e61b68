#include "sheaf/sample_data.h"
#include "support/console_capture.h"
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
               int level = 0) {
  const auto bundle = boundBundle(file, compressed(level));
  for (const std::string& fragment : fragments) {
    put(*vertices(*bundle), "v", fragment, sampleArray<1, T>({4}, first));
    first += 10;
  }
}

Quilt::MemBaseHandle ints(unsigned first) {
  return sampleArray<1, int>({4}, first);
}

using Entry = std::pair<std::string, int>;

/// What a field of the grid "G" holds, each fragment as its first value; -1 for no data.
std::vector<Entry> contentOf(const Quilt::Bundle& bundle, const std::string& field = "v") {
  std::vector<Entry> content;
  const auto found = findField(bundle, "G", field);
  if (!found) return content;
  for (const auto& fragment : found->getFragmentIDs()) {
    const auto array = get(bundle, field, fragment->name()).castTo<Quilt::MemArray<1, int>>();
    content.emplace_back(fragment->name(), array ? array->first() : -1);
  }
  return content;
}

std::vector<Entry> contentOf(const std::string& file, const std::string& field = "v") {
  const auto bundle = loadBundle(file);
  return bundle ? contentOf(*bundle, field) : std::vector<Entry>();
}

class Merge : public FileTest {
 protected:
  std::string other_ = folder_ / "b.q8";
  Quilt::BundlePtr bundle_{new Quilt::Bundle};
  ConsoleCapture console_;
};

TEST_F(Merge, FragmentsOfEqualNamesJoinUnderNamesOfTheirOwn) {
  writeFile<int>(file_, {"x", "y"}, 1);
  writeFile<int>(other_, {"z", "y"}, 101);
  EXPECT_TRUE(loadInto(bundle_, file_));
  EXPECT_THAT(console_.messages(), ElementsAre());
  EXPECT_TRUE(loadInto(bundle_, other_));
  EXPECT_THAT(console_.messages(), ElementsAre(testing::HasSubstr("\"y\" as \"y_2\"")));
  const auto isMerged =
      ElementsAre(Entry("x", 1), Entry("y", 11), Entry("z", 101), Entry("y_2", 111));
  EXPECT_THAT(contentOf(*bundle_), isMerged);
  bundle_.save(folder_ / "c.q8", nullptr, nullptr);
  EXPECT_THAT(contentOf(folder_ / "c.q8"), isMerged);

  bool ok = false;  // without the flag the file has a bundle of its own
  const auto loaded = Quilt::Bundle::load(
      ok, Larder::makeStrong<Larder::LoaderParameters>(stringList({other_}), false), bundle_);
  EXPECT_TRUE(ok && !(loaded == bundle_));
  EXPECT_THAT(contentOf(*loaded), ElementsAre(Entry("z", 101), Entry("y", 111)));
}

TEST_F(Merge, AFragmentKeepsTheDataOfItsFieldsTogether) {
  // "y" has positions on both sides; only the file has a "w" of it. "x" complements the bundle's.
  const auto write = [](const std::string& file, unsigned first, bool withW, bool lattice) {
    const auto bundle = boundBundle(file);
    const auto target = vertices(*bundle);
    if (lattice) {
      const auto names = Larder::makeStrong<Quilt::FragmentIDCollection>();
      names->setFragmentNames<3>({2, 1, 1}, "");
      target->makeField(target->makeFieldID("v"), names, nullptr);
    }
    const std::string x = lattice ? "[0x0x0]" : "x";
    const std::string y = lattice ? "[1x0x0]" : "y";
    if (!withW) put(*target, "v", x, ints(first));
    put(*target, "v", y, ints(first + 1));
    if (withW) put(*target, "w", x, ints(first + 2));
    if (withW) put(*target, "w", y, ints(first + 3));
  };
  for (const bool lattice : {false, true}) {
    SCOPED_TRACE(lattice);
    const std::string x = lattice ? "[0x0x0]" : "x";
    const std::string y = lattice ? "[1x0x0]" : "y";
    write(file_, 1, false, lattice);
    write(other_, 101, true, lattice);
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    EXPECT_TRUE(loadInto(bundle, file_) && loadInto(bundle, other_));
    const auto isV = ElementsAre(Entry(x, 1), Entry(y, 2), Entry(y + "_2", 102));
    const auto isW = ElementsAre(Entry(x, 103), Entry(y, -1), Entry(y + "_2", 104));
    EXPECT_THAT(contentOf(*bundle, "v"), isV);
    EXPECT_THAT(contentOf(*bundle, "w"), isW);
    bundle.save(folder_ / "c.q8", nullptr, nullptr);
    EXPECT_THAT(contentOf(folder_ / "c.q8", "v"), isV);
    EXPECT_THAT(contentOf(folder_ / "c.q8", "w"), isW);
  }
}

TEST_F(Merge, UndividedDataSharesItsNameWithNoFragment) {
  writeFile<int>(file_, {"x"}, 1);
  put(*vertices(*bundle_), "v", "", ints(5));
  EXPECT_TRUE(loadInto(bundle_, file_));
  EXPECT_THAT(contentOf(*bundle_), ElementsAre(Entry("x", 1)));
  EXPECT_THAT(console_.messages(), ElementsAre());
}

TEST_F(Merge, AnotherElementTypeIsLeftOut) {
  writeFile<int>(file_, {"x"}, 1);
  writeFile<double>(other_, {"y"}, 1);
  EXPECT_TRUE(loadInto(bundle_, file_) && loadInto(bundle_, other_));
  EXPECT_TRUE(console_.contains("holds elements of double, the bundle's of int"));
  EXPECT_THAT(contentOf(*bundle_), ElementsAre(Entry("x", 1), Entry("y", -1)));
}

TEST_F(Merge, FieldsFindTheirFragmentsWhateverTheirNumbers) {
  // In the file "w" shares the fragments of "v"; in the bundle it has its own.
  {
    const auto bundle = boundBundle(file_);
    for (const char* fragment : {"p", "q", "r"}) {
      put(*vertices(*bundle), "v", fragment, ints(static_cast<unsigned>(fragment[0])));
      put(*vertices(*bundle), "w", fragment, ints(1000U + static_cast<unsigned>(fragment[0])));
    }
  }
  put(*vertices(*bundle_), "v", "r", ints(1));
  (*vertices(*bundle_))["w"] =
      Larder::makeStrong<Quilt::Field>(Larder::makeStrong<Quilt::FragmentIDCollection>());
  put(*vertices(*bundle_), "w", "q", ints(2));
  put(*vertices(*bundle_), "w", "other", ints(3));
  EXPECT_TRUE(loadInto(bundle_, file_));
  EXPECT_THAT(contentOf(*bundle_, "v"), UnorderedElementsAre(Entry("r", 1), Entry("p", 'p'),
                                                             Entry("q_2", 'q'), Entry("r_2", 'r')));
  EXPECT_THAT(contentOf(*bundle_, "w"),
              UnorderedElementsAre(Entry("q", 2), Entry("other", 3), Entry("p", 1000 + 'p'),
                                   Entry("q_2", 1000 + 'q'), Entry("r_2", 1000 + 'r')));
}

TEST_F(Merge, ADamagedFileChangesNothing) {
  writeFile<int>(file_, {"x"}, 1);
  std::filesystem::resize_file(file_, std::filesystem::file_size(file_) / 2);
  EXPECT_FALSE(loadInto(bundle_, file_));
  EXPECT_TRUE(console_.contains(file_));
  EXPECT_TRUE(bundle_->begin() == bundle_->end());
  EXPECT_TRUE(bundle_->attributes().empty());
}

/// Binds a new bundle to an existing file, which must succeed.
Quilt::BundlePtr continued(const std::string& file, int level = 0) {
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto [number, text] = bundle->bindTo(file, compressed(level));
  if (number != 0) throw std::runtime_error(text);
  return bundle;
}

class BindTo : public FileTest, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override { writeFile<int>(file_, {"x", "y"}, 1, GetParam()); }
};

TEST_P(BindTo, AddsAndReplacesFragmentsAndLeavesTheRest) {
  const auto reader = loadBundle(file_);
  {
    const auto bundle = continued(file_, GetParam());
    EXPECT_THAT(contentOf(*bundle), ElementsAre(Entry("x", 1), Entry("y", 11)));
    put(*vertices(*bundle), "v", "x", ints(500));
    put(*vertices(*bundle), "v", "z", ints(21));
    put(*vertices(*bundle), "new", "x", ints(31));
    put(*vertices(*bundle, "H"), "v", "x", ints(41));
    EXPECT_THAT(contentOf(file_), ElementsAre(Entry("x", 1), Entry("y", 11)));  // untouched so far
  }
  EXPECT_THAT(contentOf(*reader), ElementsAre(Entry("x", 1), Entry("y", 11)));  // its former file
  EXPECT_THAT(contentOf(file_), ElementsAre(Entry("x", 500), Entry("y", 11), Entry("z", 21)));
  EXPECT_THAT(contentOf(file_, "new"), ElementsAre(Entry("x", 31), Entry("y", -1), Entry("z", -1)));
  EXPECT_TRUE(sameArrays(get(*loadBundle(file_), "v", "x", "H"), ints(41)));
  EXPECT_THAT(folder_.files(), ElementsAre("a.q8"));
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
    bundle->setAttribute("kept", Larder::singleValue(5));
    bundle->setAttribute("removed", nullptr);
    findField(*bundle, "G", "v")->getCreatorByName("x")->setAttribute("r", nullptr);
    (*bundle)[0.0];  // the fragment "y" is not looked at
  }
  const auto loaded = loadBundle(file_);
  EXPECT_EQ(attributeValue<int>(*loaded, "kept"), 5);
  EXPECT_FALSE(loaded->getAttribute("removed"));
  EXPECT_FALSE(findField(*loaded, "G", "v")->getCreatorByName("x")->getAttribute("r"));
  EXPECT_TRUE(findField(*loaded, "G", "v")->getCreatorByName("y")->getAttribute("k"));
}

TEST_P(BindTo, WritesWhatTheBundleHeldBefore) {
  // "y" stands before "x" here, so that the bundle's numbers are not the file's.
  const auto isExpected = ElementsAre(Entry("w", 700), Entry("y", 800), Entry("x", 1));
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    put(*vertices(*bundle), "v", "w", ints(700));
    put(*vertices(*bundle), "v", "y", ints(800));
    const ConsoleCapture console;
    EXPECT_EQ(bundle->bindTo(file_).number, 0);
    EXPECT_TRUE(console.contains("names that the bundle has data for"));
    EXPECT_THAT(contentOf(*bundle), isExpected);
  }
  EXPECT_THAT(contentOf(file_), isExpected);
}

TEST_P(BindTo, TakesTheFieldOfAnotherFileToo) {
  writeFile<int>(folder_ / "b.q8", {"x", "q"}, 901);
  const ConsoleCapture console;
  {
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    EXPECT_TRUE(loadInto(bundle, folder_ / "b.q8"));
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

using Save = FileTest;

TEST_F(Save, OfALoadedBundleToItsOwnNameAndToAnother) {
  writeFile<int>(file_, {"x", "y"}, 1, 1);
  const auto bundle = loadBundle(file_);
  put(*vertices(*bundle), "v", "z", ints(31));
  bundle.save(folder_ / "b.q8", nullptr, compressed(9));
  bundle.save(file_, nullptr, nullptr);
  const std::vector<Entry> expected = {{"x", 1}, {"y", 11}, {"z", 31}};
  EXPECT_EQ(contentOf(file_), expected);
  EXPECT_EQ(contentOf(folder_ / "b.q8"), expected);
  EXPECT_EQ(contentOf(*bundle), expected);  // still reads what it had loaded
}

TEST_F(Save, OfABoundBundleTakesWhatWasHandedOver) {
  const ConsoleCapture console;
  const auto bundle = boundBundle(file_);
  put(*vertices(*bundle), "v", "x", ints(1));
  bundle.save(folder_ / "b.q8", nullptr, nullptr);
  EXPECT_THROW(bundle.save(file_, nullptr, nullptr), Quilt::StorageError);  // it is being written
  EXPECT_THAT(contentOf(folder_ / "b.q8"), ElementsAre(Entry("x", 1)));
}

}  // namespace
