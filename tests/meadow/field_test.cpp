#include "recast/meadow/field.h"

#include "support/console_capture.h"
#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/typed_arrays/mem_array.h"

namespace {

using Larder::Cache;
using Quilt::Field;
using Quilt::MemBaseHandle;
using Quilt::OnExistingData;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

using FieldHandle = Larder::StrongPtr<Field>;
using Fragment = Larder::StrongPtr<Quilt::FragmentID>;

/// An array of one int, by which arrays are told apart.
MemBaseHandle arrayOf(int value) {
  auto array = Larder::makeStrong<Quilt::MemArray<1, int>>(Quilt::MultiIndex<1>(1), nullptr);
  (*array)[{0}] = value;
  return array;
}

int valueOf(const MemBaseHandle& array) {
  const auto typed = array.castTo<Quilt::MemArray<1, int>>();
  return typed ? (*typed)[{0}] : -1;
}

int valueOf(const Quilt::CreatorHandle& creator) {
  return creator ? valueOf(creator->create(false)) : -1;
}

Quilt::CreatorHandle put(const FieldHandle& field, int value, const Fragment& fragment,
                         const std::string& text = "") {
  return field->setPersistentData(arrayOf(value), fragment, Cache::MemCache(), text);
}

/// Visits a field and writes down what it meets; ends after `most` visits.
struct Walk : Quilt::FragmentIterator {
  bool apply(const Fragment& fragment, const Quilt::CreatorHandle& creator) override {
    seen.push_back((fragment ? fragment->name() : "whole") + "=" +
                   std::to_string(valueOf(creator)));
    return seen.size() < most;
  }
  std::vector<std::string> seen;
  std::size_t most = 100;
};

TEST(Field, KeepsOneArrayPerFragmentAndOneUndivided) {
  const auto field = Larder::makeStrong<Field>();
  EXPECT_TRUE(field->getFragmentIDs().empty());
  const auto north = field->makeFragmentID("north");
  const auto creator = put(field, 1, north, "points.txt");
  put(field, 2, nullptr);
  EXPECT_EQ(field->getCreatorByName("north"), creator);
  EXPECT_EQ(creator->getAttribute("Source").castTo<Larder::Chunk<std::string>>()->at(0),
            "points.txt");
  EXPECT_FALSE(field->getCreator(nullptr)->getAttribute("Source")) << "no text, no attribute";
  EXPECT_EQ(valueOf(field->getData(nullptr)), 2);
  EXPECT_FALSE(field->getCreator(field->makeFragmentID("south"))) << "a name alone is no data";
  EXPECT_FALSE(field->getCreatorByName("west"));
  EXPECT_EQ(field->getElementType()->TypeName, "int");
  const std::uint64_t age = field->age();
  put(field, 3, north);
  EXPECT_EQ(valueOf(field->getData(north)), 3) << "new data takes the place of former";
  EXPECT_GT(field->age(), age);
  EXPECT_EQ(valueOf(creator), 1) << "who holds the former creator still has its data";
  EXPECT_FALSE(field->setPersistentData(nullptr, north, Cache::MemCache(), ""));
  EXPECT_EQ(valueOf(field->getData(north)), 3);
}

TEST(Field, FindsDataOfAnotherCollectionsFragmentByNameOnly) {
  const auto field = Larder::makeStrong<Field>();
  put(field, 1, field->makeFragmentID("a"));
  put(field, 2, field->makeFragmentID("b"));
  const auto sharing = Larder::makeStrong<Field>(field->getFragmentIDCollection());
  EXPECT_EQ(sharing->makeFragmentID("b"), field->makeFragmentID("b"));
  EXPECT_FALSE(sharing->getCreatorByName("b"));
  const auto other = Larder::makeStrong<Field>();
  const auto foreign = other->makeFragmentID("b");  // number 0 there, 1 here
  EXPECT_FALSE(field->getData(foreign));
  EXPECT_EQ(valueOf(field->getCompatibleCreator(foreign)), 2);
  EXPECT_FALSE(field->getCompatibleCreator(other->makeFragmentID("c")));
  EXPECT_FALSE(field->getCompatibleCreator(nullptr)) << "there is no undivided data";
  put(field, 4, foreign);
  EXPECT_EQ(valueOf(field->getCreatorByName("b")), 4) << "stored under the field's own identifier";
  EXPECT_EQ(field->getFragmentIDs().size(), 2U);
  put(field, 5, other->makeFragmentID("c"));
  EXPECT_EQ(field->getFragmentIDs().size(), 3U);
}

TEST(Field, CreateCreatorMeetsExistingDataAsItIsTold) {
  for (const std::string name : {"tile", ""}) {
    const auto field = Larder::makeStrong<Field>();
    const auto create = [&](int value, OnExistingData onExisting) {
      return field->createCreator(value < 0 ? nullptr : arrayOf(value), name, onExisting,
                                  Cache::MemCache());
    };
    TestSupport::ConsoleCapture console;
    EXPECT_FALSE(create(-1, OnExistingData::Replace));
    EXPECT_TRUE(field->getFragmentIDs().empty()) << "no array, no identifier";
    const auto first = create(1, OnExistingData::Refuse);
    EXPECT_EQ(valueOf(first), 1);
    EXPECT_FALSE(create(2, OnExistingData::Refuse));
    EXPECT_EQ(create(3, OnExistingData::Keep), first);
    EXPECT_EQ(valueOf(first), 1);
    EXPECT_TRUE(console.messages().empty());
    const auto second = create(4, static_cast<OnExistingData>(2));
    EXPECT_NE(second, first);
    EXPECT_EQ(valueOf(second), 4);
    ASSERT_EQ(console.messages().size(), 1U);
    EXPECT_THAT(console.messages()[0], HasSubstr(name.empty() ? "undivided" : "tile"));
  }
}

TEST(Field, IsWalkedInTheOrderOfNumbersWithUndividedDataLast) {
  const auto field = Larder::makeStrong<Field>();
  put(field, 9, nullptr);
  for (const char* name : {"c", "a", "empty", "b"}) {
    const auto fragment = field->makeFragmentID(name);
    if (fragment->name() != "empty") put(field, static_cast<int>(fragment->number()), fragment);
  }
  Walk some;
  EXPECT_TRUE(field->iterate(some, [](const Quilt::FragmentID& id) { return id.name() != "a"; }));
  EXPECT_THAT(some.seen, ElementsAre("c=0", "b=3", "whole=9"));
  Walk brief;
  brief.most = 2;
  EXPECT_FALSE(field->iterate(brief, nullptr));
  EXPECT_THAT(brief.seen, ElementsAre("c=0", "a=1"));
}

/// Meets every fragment by making a new one.
struct Doubling : Quilt::FragmentIterator {
  explicit Doubling(const FieldHandle& f) : field(f) {}
  bool apply(const Fragment& fragment, const Quilt::CreatorHandle&) override {
    put(field, 1, field->makeFragmentID(fragment->name() + "'"));
    return true;
  }
  FieldHandle field;
};

TEST(Field, AWalkEndsThoughItsVisitorMakesFragments) {
  const auto field = Larder::makeStrong<Field>();
  for (const char* name : {"a", "b"}) put(field, 1, field->makeFragmentID(name));
  Doubling doubling(field);
  EXPECT_TRUE(field->iterate(doubling, nullptr));
  EXPECT_EQ(field->getFragmentIDs().size(), 4U);
}

/// Stands for a file: gives fresh arrays.
struct Stored : Quilt::StoredFragment {
  explicit Stored(int v) : value(v) {}
  MemBaseHandle read() override { return arrayOf(value); }
  Quilt::DynamicSize size() const override { return arrayOf(value)->getSize(); }
  const int value;
};

/// Stands for a field of a file, with data for the even numbers.
struct EvenNumbers : Quilt::FieldSource {
  Quilt::CreatorHandle makeCreator(std::uint32_t number) override {
    ++asked;
    if (number % 2 != 0) return nullptr;
    return Quilt::CreatorHandle(
        new Quilt::CreativeArrayBase(Larder::makeStrong<Stored>(static_cast<int>(number)), "int"));
  }
  Quilt::CreatorHandle makeWholeCreator() override { return nullptr; }
  bool holds(std::uint32_t number) const override { return number % 2 == 0; }
  std::atomic<int> asked{0};
};

TEST(Field, MakesTheCreatorsOfAFileOnRequest) {
  const auto field = Larder::makeStrong<Field>();
  for (const char* name : {"0", "1", "2", "3"}) field->makeFragmentID(name);
  const auto source = Larder::makeStrong<EvenNumbers>();
  field->setSource(source, "int");
  EXPECT_EQ(field->getElementType()->TypeName, "int") << "known without data";
  EXPECT_FALSE(field->madeCreator(2));
  const auto creator = field->getCreatorByName("2");
  EXPECT_EQ(field->madeCreator(2), creator);
  EXPECT_EQ(field->getCreatorByName("2"), creator);
  EXPECT_EQ(source->asked, 1);
  EXPECT_FALSE(creator->create(true)) << "nothing is read before somebody asks for it";
  put(field, 50, field->makeFragmentID("0"));
  Walk walk;
  field->iterate(walk, nullptr);
  EXPECT_THAT(walk.seen, ElementsAre("0=50", "2=2")) << "new data goes before the file's";
}

/// Stands for a bound file: writes down what it is given.
struct Sink : Quilt::FragmentSink {
  void store(const Quilt::Placement& place, const Field&, const Fragment& fragment,
             const Quilt::CreatorHandle&, const MemBaseHandle& array, Cache&) override {
    const std::lock_guard lock(mutex);
    given.push_back(place.FieldName + "/" + (fragment ? fragment->name() : "whole") + "=" +
                    std::to_string(valueOf(array)));
  }
  std::mutex mutex;
  std::vector<std::string> given;
};

TEST(Field, HandsItsDataToTheFileOfItsBundle) {
  const auto sink = Larder::makeStrong<Sink>();
  const auto place = Larder::makeStrong<Quilt::Placement>();
  place->FieldName = "Height";
  place->Anchor = Larder::makeStrong<Quilt::BundleAnchor>();
  place->Anchor->setSink(sink);
  const auto field = Larder::makeStrong<Field>();
  put(field, 1, field->makeFragmentID("a"));
  field->makeFragmentID("empty");
  put(field, 2, nullptr);
  EXPECT_TRUE(sink->given.empty());
  field->processOwnership(place);
  EXPECT_EQ(field->placement(), place);
  EXPECT_THAT(sink->given, ElementsAre("Height/whole=2", "Height/a=1"));
  put(field, 3, field->makeFragmentID("a"));
  EXPECT_EQ(sink->given.back(), "Height/a=3");
  place->Anchor->setSink(nullptr);
  put(field, 4, field->makeFragmentID("a"));
  EXPECT_EQ(sink->given.size(), 3U) << "a field that outlives the binding keeps its data itself";
}

TEST(Field, TakesAndFindsDataInSeveralThreads) {
  const auto collection = Larder::makeStrong<Quilt::FragmentIDCollection>();
  collection->setFragmentNames<3>({20, 10, 1}, "");
  const auto field = Larder::makeStrong<Field>(collection);
  TestSupport::inThreads(4, [&](int thread) {
    for (std::uint32_t i = static_cast<std::uint32_t>(thread); i < 200; i += 4)
      put(field, static_cast<int>(i), collection->findFragmentID(i));
    for (std::uint32_t i = 0; i < 200; ++i)
      if (const auto creator = field->getCreatorByNumber(i); creator && valueOf(creator) < 0)
        ADD_FAILURE() << i;
  });
  for (std::uint32_t i = 0; i < 200; ++i)
    EXPECT_EQ(valueOf(field->getData(collection->findFragmentID(i))), static_cast<int>(i));
}

}  // namespace
