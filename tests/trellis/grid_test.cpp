#include "recast/trellis/grid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/typed_arrays/mem_array.h"

namespace {

using Quilt::Field;
using Quilt::SkeletonID;
using ::testing::ElementsAre;

using GridHandle = Larder::StrongPtr<Quilt::Grid>;
using FieldHandle = Larder::StrongPtr<Field>;

GridHandle newGrid(const std::string& name = "Terrain") {
  auto place = Larder::makeStrong<Quilt::Placement>();
  place->Time = 2.5;
  place->GridName = name;
  return Larder::makeStrong<Quilt::Grid>(place);
}

Quilt::MemBaseHandle ints(std::uint64_t n) {
  return Larder::makeStrong<Quilt::MemArray<1, int>>(Quilt::MultiIndex<1>(n), nullptr);
}

TEST(Grid, MakesChartsAndRepresentationsOnceAndNoneByFinding) {
  const auto grid = newGrid();
  EXPECT_FALSE(grid->findVertices(-1) || grid->getCartesianRepresentation(""));
  EXPECT_FALSE(grid->CartesianPositions() || (*grid)("Elevation", ""));
  EXPECT_TRUE(grid->skeletons().empty());
  const auto made = grid->makeCartesianRepresentation(3, "", 0);
  EXPECT_EQ(grid->makeCartesianRepresentation(3, "", 0), made);
  EXPECT_FALSE(grid->getCartesianRepresentation("UTM"));
  EXPECT_EQ(grid->makeCartesianRepresentation(3, "UTM", 0)->name(), "Cartesian:UTM");
  EXPECT_EQ(grid->getCartesianRepresentation(""), made);
}

TEST(Grid, PrefersTheVerticesOfTheHighestDimension) {
  const auto grid = newGrid();
  grid->makeVertices(1);
  const auto solid = grid->makeVertices(3);
  (*grid)[SkeletonID(3, 2)];  // fragments, no vertices
  EXPECT_EQ(grid->findVertices(-1), solid);
  EXPECT_EQ(grid->findVertices(1)->id(), SkeletonID(1, 0));
  EXPECT_FALSE(grid->findVertices(2));
}

class Representation : public testing::Test {
 protected:
  const GridHandle grid_ = newGrid();
  Quilt::Representation& representation_ = *grid_->makeCartesianRepresentation(3, "", 0);
};

TEST_F(Representation, MakesAFieldOnceAndPutsDataIntoIt) {
  const auto id = representation_.makeFieldID("Height");
  EXPECT_FALSE(representation_.findField(id)) << "a name is no field yet";
  const FieldHandle field = representation_.makeField(id, nullptr, nullptr);
  EXPECT_EQ(representation_.makeField(id, nullptr, ints(3)).field(), field);
  EXPECT_EQ(field->getData(nullptr)->nElements(), 3U);
  EXPECT_EQ(representation_.numberOfFields(), 1U);
}

TEST_F(Representation, FieldsShareFragmentsUnlessTheyAreGivenOthers) {
  const FieldHandle height = representation_["Height"];
  const auto tile = height->makeFragmentID("tile");
  EXPECT_EQ(representation_["Slope"].field()->makeFragmentID("tile"), tile);
  const auto own = Larder::makeStrong<Quilt::FragmentIDCollection>();
  const FieldHandle apart =
      representation_.makeField(representation_.makeFieldID("Apart"), own, nullptr);
  EXPECT_EQ(apart->getFragmentIDCollection(), own);
  // The positions' fragments are those of the representation.
  representation_.setPositions(Larder::makeStrong<Field>(own));
  EXPECT_EQ(representation_["Late"].field()->getFragmentIDCollection(), own);
}

TEST_F(Representation, TakesFieldsByAssignment) {
  const auto positions = Larder::makeStrong<Field>(ints(4), nullptr);
  EXPECT_FALSE(representation_.setPositions(nullptr));
  EXPECT_TRUE(representation_.setPositions(positions));
  EXPECT_EQ(grid_->CartesianPositions(), positions);
  EXPECT_EQ(positions->placement()->FieldName, "Positions");
  representation_["Copy"] = positions;
  representation_["Copy"] = nullptr;
  EXPECT_EQ(representation_.findField("Copy"), positions);
  representation_["Taken"] = representation_["Copy"];
  EXPECT_EQ(representation_.findField("Taken"), positions) << "a proxy passes its field on";
}

TEST_F(Representation, IsWalkedInTheOrderOfMaking) {
  for (const char* name : {"b", "Positions", "a"}) representation_[name];
  representation_.makeFieldID("without a field");
  std::vector<std::string> names;
  representation_.iterate([&](const Quilt::FieldID& id, const Field&) {
    representation_["made on the way"];
    names.push_back(id.name());
    return id.name() != "Positions";
  });
  EXPECT_THAT(names, ElementsAre("b", "Positions"));
}

TEST(Grid, IsWrittenAsXml) {
  const auto grid = newGrid("a \"b\" <c> & d");
  const auto representation = grid->makeCartesianRepresentation(2, "", 0);
  representation->makeField(representation->makeFieldID("Ids"), nullptr, ints(1));
  (*representation)["Empty"].field()->makeFragmentID("x");
  EXPECT_EQ(grid->xml(),
            "<Grid name=\"a &quot;b&quot; &lt;c&gt; &amp; d\">\n"
            "  <Skeleton dimension=\"2\" depth=\"0\">\n"
            "    <Representation name=\"Cartesian\">\n"
            "      <Field name=\"Ids\" type=\"int\" fragments=\"1\"/>\n"
            "      <Field name=\"Empty\" type=\"\" fragments=\"1\"/>\n"
            "    </Representation>\n"
            "  </Skeleton>\n"
            "</Grid>\n");
}

}  // namespace
