#include "recast/meadow/fragment_id.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Quilt::FragmentIDCollection;
using Quilt::MultiIndex;
using ::testing::ElementsAre;

using Collection = Larder::StrongPtr<FragmentIDCollection>;

std::vector<std::string> namesOf(const Collection& collection) {
  std::vector<std::string> names;
  for (const auto& identifier : collection->identifiers()) names.push_back(identifier->name());
  return names;
}

TEST(FragmentIDs, AreNumberedInTheOrderOfTheirMaking) {
  auto collection = Larder::makeStrong<FragmentIDCollection>();
  const auto roof = collection->makeFragmentID("roof");
  const auto none = collection->makeFragmentID("");
  EXPECT_EQ(collection->makeFragmentID("roof"), roof);
  EXPECT_EQ(roof->number(), 0U);
  EXPECT_EQ(roof->collection(), collection);
  EXPECT_EQ(collection->findFragmentID(1), none);
  EXPECT_EQ(collection->findFragmentIDByName("roof"), roof);
  EXPECT_FALSE(collection->findFragmentID(2) || collection->findFragmentIDByName("Roof"));
  collection.reset();
  EXPECT_EQ(roof->name(), "roof") << "identifiers outlive their collection";
  EXPECT_FALSE(roof->collection());
}

TEST(FragmentIDs, OfALatticeAreNamedAfterTheirPlacesXFastest) {
  const auto collection = Larder::makeStrong<FragmentIDCollection>();
  EXPECT_EQ(collection->latticeSize().rank(), 0U) << "no lattice yet";
  collection->setFragmentNames<3>({3, 2, 2}, "Tile");
  EXPECT_THAT(namesOf(collection),
              ElementsAre("Tile[0x0x0]", "Tile[1x0x0]", "Tile[2x0x0]", "Tile[0x1x0]", "Tile[1x1x0]",
                          "Tile[2x1x0]", "Tile[0x0x1]", "Tile[1x0x1]", "Tile[2x0x1]", "Tile[0x1x1]",
                          "Tile[1x1x1]", "Tile[2x1x1]"));
  EXPECT_EQ(collection->findFragmentIDByName("Tile[1x1x0]")->number(), 4U);
  EXPECT_EQ(collection->latticeSize(), MultiIndex<3>(3, 2, 2));
  EXPECT_EQ(collection->latticePrefix(), "Tile");
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

}  // namespace
