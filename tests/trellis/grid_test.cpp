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

std::vector<std::string> fieldNames(const Quilt::Representation& representation) {
  std::vector<std::string> names;
  representation.iterate([&](const Quilt::FieldID& id, const Field&) {
    names.push_back(id.name());
    return true;
  });
  return names;
}

TEST(Grid, FindsNothingThatWasNotMade) {
  const auto grid = newGrid();
  EXPECT_EQ(grid->name(), "Terrain");
  EXPECT_FALSE(grid->findVertices(-1));
  EXPECT_FALSE(grid->findVertices(3));
  EXPECT_FALSE(grid->getSkeleton(SkeletonID(2, 1)));
  EXPECT_FALSE(grid->findCartesianChart(""));
  EXPECT_FALSE(grid->getCartesianRepresentation(""));
  EXPECT_FALSE(grid->CartesianPositions());
  EXPECT_FALSE((*grid)("Elevation", ""));
  EXPECT_TRUE(grid->skeletons().empty()) << "and finding makes nothing";
}

TEST(Grid, MakesVerticesChartAndRepresentationOnce) {
  const auto grid = newGrid();
  const auto made = grid->makeCartesianRepresentation(3, "", 0);
  EXPECT_EQ(made->name(), "Cartesian");
  EXPECT_EQ(grid->makeCartesianRepresentation(3, "", 0), made);
  EXPECT_EQ(grid->getCartesianRepresentation(""), made);
  const auto vertices = grid->findVertices(3);
  EXPECT_EQ(vertices->id(), SkeletonID(3, 0));
  EXPECT_EQ((*vertices)(*grid->findCartesianChart("")), made);
  EXPECT_EQ(grid->getCartesianRepresentation(vertices, ""), made);
  EXPECT_FALSE(grid->getCartesianRepresentation(nullptr, ""));
  EXPECT_FALSE(grid->getCartesianRepresentation("UTM"));
  const auto utm = grid->makeCartesianRepresentation(3, "UTM", 0);
  EXPECT_NE(utm, made);
  EXPECT_EQ(utm->name(), "Cartesian:UTM");
  EXPECT_EQ(grid->makeCartesianChart("UTM"), grid->findCartesianChart("UTM"));
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

TEST(Skeleton, HoldsRepresentationsByChartAndBySkeleton) {
  const auto grid = newGrid();
  const auto triangles = (*grid)[SkeletonID(2, 1)];
  const auto vertices = grid->makeVertices(2);
  EXPECT_FALSE((*triangles)(*vertices));
  const auto relative = (*triangles)[*vertices];
  EXPECT_EQ(relative->name(), "Skeleton_2_0");
  EXPECT_EQ((*triangles)[*vertices], relative);
  EXPECT_EQ((*triangles)(*vertices), relative);
  EXPECT_FALSE((*triangles)(*triangles));
  const auto cartesian = (*triangles)[*grid->makeCartesianChart("")];
  EXPECT_THAT(triangles->representations(), ElementsAre(relative, cartesian));
  EXPECT_EQ(triangles->findRepresentation("Cartesian"), cartesian);
}

TEST(Representation, TellsItsFieldsWhereTheyHang) {
  const auto grid = newGrid();
  const FieldHandle field = (*(*grid->makeVertices(3))[*grid->makeCartesianChart("")])["Height"];
  const auto place = field->placement();
  EXPECT_EQ(place->Time, 2.5);
  EXPECT_EQ(place->GridName, "Terrain");
  EXPECT_EQ(place->Skeleton, SkeletonID(3, 0));
  EXPECT_EQ(place->RepresentationName, "Cartesian");
  EXPECT_EQ(place->FieldName, "Height");
  EXPECT_EQ((*grid)("Height", ""), field);
}

TEST(Representation, MakesAFieldOnce) {
  const auto representation = newGrid()->makeCartesianRepresentation(3, "", 0);
  EXPECT_EQ(representation->Positions(), Field::NullPtrField());
  EXPECT_FALSE(representation->findFieldID("Height"));
  const auto id = representation->makeFieldID("Height");
  EXPECT_EQ(representation->makeFieldID("Height"), id);
  EXPECT_EQ(representation->findFieldID("Height"), id);
  EXPECT_FALSE(representation->findField(id)) << "a name is no field yet";
  EXPECT_EQ(representation->numberOfFields(), 0U);
  const FieldHandle field = representation->makeField(id, nullptr, nullptr);
  EXPECT_TRUE(field);
  EXPECT_EQ(representation->makeField(id, nullptr, nullptr).field(), field);
  EXPECT_EQ((*representation)["Height"].field(), field);
  EXPECT_EQ(representation->findField(id), field);
  EXPECT_EQ(representation->findField("Height"), field);
  EXPECT_FALSE(representation->findField(Larder::StrongPtr<Quilt::FieldID>()));
  EXPECT_EQ(representation->numberOfFields(), 1U);
  representation->makeField(id, nullptr, ints(3));
  EXPECT_EQ(field->getData(nullptr)->nElements(), 3U) << "data goes into the field that is there";
  EXPECT_GT(representation->age(), 0U);
}

TEST(Representation, FieldsShareFragmentsUnlessTheyAreGivenOthers) {
  const auto representation = newGrid()->makeCartesianRepresentation(3, "", 0);
  const FieldHandle height = (*representation)["Height"];
  const auto tile = height->makeFragmentID("tile");
  const FieldHandle slope = (*representation)["Slope"];
  EXPECT_EQ(slope->makeFragmentID("tile"), tile);
  const auto own = Larder::makeStrong<Quilt::FragmentIDCollection>();
  const FieldHandle apart =
      representation->makeField(representation->makeFieldID("Apart"), own, nullptr);
  EXPECT_EQ(apart->getFragmentIDCollection(), own);
  // The positions' fragments are those of the representation.
  representation->setPositions(Larder::makeStrong<Field>(own));
  EXPECT_EQ((*representation)["Late"].field()->getFragmentIDCollection(), own);
}

TEST(Representation, TakesFieldsByAssignment) {
  const auto grid = newGrid();
  const auto representation = grid->makeCartesianRepresentation(3, "", 0);
  const auto positions = Larder::makeStrong<Field>(ints(4), nullptr);
  EXPECT_FALSE(representation->setPositions(nullptr));
  EXPECT_EQ(representation->numberOfFields(), 0U);
  EXPECT_TRUE(representation->setPositions(positions));
  EXPECT_EQ(grid->CartesianPositions(), positions);
  EXPECT_EQ(positions->placement()->FieldName, "Positions");
  (*representation)["Copy"] = positions;
  (*representation)["Copy"] = nullptr;
  EXPECT_EQ(representation->findField("Copy"), positions);
  const auto other = newGrid()->makeCartesianRepresentation(3, "", 0);
  (*other)["Taken"] = (*representation)["Copy"];
  EXPECT_EQ(other->findField("Taken"), positions) << "a proxy passes its field on";
}

struct FirstField : Quilt::FieldIterator {
  bool apply(const Larder::StrongPtr<Quilt::FieldID>& id, const FieldHandle& field) override {
    name = id->name();
    EXPECT_TRUE(field);
    return false;
  }
  std::string name;
};

TEST(Representation, IsWalkedInTheOrderOfMaking) {
  const auto representation = newGrid()->makeCartesianRepresentation(3, "", 0);
  for (const char* name : {"b", "Positions", "a"}) (*representation)[name];
  representation->makeFieldID("without a field");
  EXPECT_THAT(fieldNames(*representation), ElementsAre("b", "Positions", "a"));
  int visits = 0;
  representation->iterate([&](const Quilt::FieldID& id, const Field&) {
    (*representation)["made on the way"];
    ++visits;
    return id.name() != "Positions";
  });
  EXPECT_EQ(visits, 2);
  FirstField first;
  representation->iterate(first);
  EXPECT_EQ(first.name, "b");
  EXPECT_EQ(representation->numberOfFields(), 4U);
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
