#include "recast/meadow/fragment_id.h"

#include <stdexcept>

#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Quilt::FragmentIDCollection;
using Quilt::FragmentLocation;
using Quilt::MultiIndex;
using ::testing::ElementsAre;

using Collection = Larder::StrongPtr<FragmentIDCollection>;

std::vector<std::string> namesOf(const Collection& collection) {
  std::vector<std::string> names;
  for (const auto& identifier : collection->identifiers()) names.push_back(identifier->name());
  return names;
}

TEST(FragmentIDs, AreNumberedInTheOrderOfTheirMaking) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  const auto roof = collection->makeFragmentID("roof");
  const auto none = collection->makeFragmentID("");
  EXPECT_EQ(collection->makeFragmentID("roof"), roof);
  EXPECT_EQ(roof->number(), 0U);
  EXPECT_EQ(none->number(), 1U);
  EXPECT_EQ(roof->collection(), collection);
  EXPECT_EQ(collection->findFragmentID(1), none);
  EXPECT_EQ(collection->findFragmentIDByName("roof"), roof);
  EXPECT_FALSE(collection->findFragmentID(2));
  EXPECT_FALSE(collection->findFragmentIDByName("Roof"));
  EXPECT_EQ(collection->NumberOfFragmentIDs(), 2U);
}

TEST(FragmentIDs, OfALatticeAreNamedAfterTheirPlaces) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  EXPECT_EQ(collection->latticeSize().rank(), 0U) << "no lattice yet";
  collection->setFragmentNames<3>({3, 2, 1}, "RegularFragment");
  EXPECT_THAT(namesOf(collection), ElementsAre("RegularFragment[0x0x0]", "RegularFragment[1x0x0]",
                                               "RegularFragment[2x0x0]", "RegularFragment[0x1x0]",
                                               "RegularFragment[1x1x0]", "RegularFragment[2x1x0]"));
  EXPECT_EQ(collection->latticeSize(), MultiIndex<3>(3, 2, 1));
  EXPECT_EQ(collection->latticePrefix(), "RegularFragment");
}

TEST(FragmentIDs, OfALatticeHaveTheNumbersOfItsRule) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  const MultiIndex<3> counts(4, 5, 3);
  collection->setFragmentNames<3>(counts, "");
  for (std::uint64_t z = 0; z < counts[2]; ++z)
    for (std::uint64_t y = 0; y < counts[1]; ++y)
      for (std::uint64_t x = 0; x < counts[0]; ++x) {
        const auto found = collection->findFragmentIDByName(to_string(MultiIndex<3>(x, y, z)));
        ASSERT_TRUE(found);
        EXPECT_EQ(found->number(), (z * counts[1] + y) * counts[0] + x);
        EXPECT_EQ(collection->findFragmentID(found->number()), found);
      }
}

TEST(FragmentIDs, OfALatticeTakeThePlaceOfAllFormerOnes) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  const auto former = collection->makeFragmentID("former");
  const auto first = collection->makeFragmentID("[0x0x0]");
  collection->setFragmentNames<3>({2, 1, 1}, "");
  EXPECT_FALSE(collection->findFragmentIDByName("former"));
  EXPECT_FALSE(former->belongsTo(*collection));
  EXPECT_FALSE(first->belongsTo(*collection)) << "though there is one of its name and number";
  EXPECT_TRUE(collection->findFragmentID(0)->belongsTo(*collection));
  EXPECT_FALSE(collection->findFragmentID(0)->belongsTo(FragmentIDCollection()));
  EXPECT_EQ(collection->makeFragmentID("one more")->number(), 2U);
  collection->setFragmentNames<3>({2, 0, 4}, "p");
  EXPECT_EQ(collection->NumberOfFragmentIDs(), 0U);
  EXPECT_FALSE(collection->findFragmentIDByName("[0x0x0]"));
  EXPECT_EQ(former->name(), "former") << "who holds a former one still can";
}

TEST(FragmentIDs, BeyondTheirNumbersAreRefused) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  const auto kept = collection->makeFragmentID("kept");
  EXPECT_THROW(collection->setFragmentNames<3>({1ULL << 32, 1, 1}, "x"), std::length_error);
  EXPECT_THROW(collection->setFragmentNames<3>({1ULL << 32, 1ULL << 32, 2}, "x"),
               std::length_error);
  EXPECT_THAT(namesOf(collection), ElementsAre("kept"));
  EXPECT_EQ(collection->findFragmentIDByName("kept"), kept);
  EXPECT_EQ(collection->latticeSize().rank(), 0U);
}

TEST(FragmentIDs, OutliveTheirCollection) {
  auto collection = Larder::makeStrong<FragmentIDCollection>();
  const auto identifier = collection->makeFragmentID("left over");
  collection.reset();
  EXPECT_EQ(identifier->name(), "left over");
  EXPECT_FALSE(identifier->collection());
}

TEST(FragmentIDs, AreFoundFromSeveralThreads) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  collection->setFragmentNames<3>({10, 10, 1}, "");
  TestSupport::inThreads(4, [&](int) {
    for (std::uint32_t i = 0; i < 1000; ++i) {
      const auto found = collection->findFragmentID(i % 100);
      if (collection->findFragmentIDByName(found->name()) != found ||
          !found->belongsTo(*collection))
        ADD_FAILURE() << i;
    }
  });
}

TEST(FragmentLocations, AreOneTripleForEachProperty) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  const auto fragment = collection->makeFragmentID("tile");
  EXPECT_FALSE((fragment->findInterface<FragmentLocation<3, 1>>()));
  MultiIndex<3>& place = FragmentLocation<3, Quilt::PlaceInGrid>::make(*fragment);
  EXPECT_EQ(place, MultiIndex<3>(0, 0, 0));
  place = {100, 200, 0};
  FragmentLocation<3, Quilt::UpperOverlap>::make(*fragment)[0] = 1;
  EXPECT_EQ((FragmentLocation<3, 1>::make(*fragment)), MultiIndex<3>(100, 200, 0));
  const auto found = fragment->findInterface<FragmentLocation<3, 3>>();
  ASSERT_TRUE(found);
  EXPECT_EQ(static_cast<const MultiIndex<3>&>(*found), MultiIndex<3>(1, 0, 0));
  EXPECT_FALSE((fragment->findInterface<FragmentLocation<3, 2>>()));
}

}  // namespace
