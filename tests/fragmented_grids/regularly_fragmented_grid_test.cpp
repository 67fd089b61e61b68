#include "recast/fragmented_grids/regularly_fragmented_grid.h"

#include "support/bundles.h"
#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/typed_arrays/fragment_handle_array.h"

namespace {

using Counts = Quilt::MultiIndex<3>;
using LatticeField = Quilt::RegularlyFragmentedField<3>;
using LatticeGrid = Quilt::RegularlyFragmentedGridWithCartesianVertices<3>;
using TestSupport::loadBundle;
using TestSupport::TempFolder;

Larder::StrongPtr<Quilt::Grid> newGrid(const Quilt::BundlePtr& bundle) {
  return (*(*bundle)[0.0])["Cloud"];
}

Quilt::MemBaseHandle onePoint() {
  return Larder::makeStrong<Quilt::MemArray<1, Heron::PhysicalSpace::point>>(
      Quilt::MultiIndex<1>(1), nullptr);
}

TEST(RegularlyFragmentedField, FieldsOfOneDonorShareIdentifiers) {
  const auto donor = LatticeField::newField(Counts(3, 2, 1), nullptr, "Piece");
  const auto field = LatticeField::newField(Counts(2, 3, 1), donor, "unused");
  ASSERT_TRUE(field);
  EXPECT_EQ(field->getFragmentIDCollection(), donor->getFragmentIDCollection());
  EXPECT_EQ(field->getFragmentIDs()[4]->name(), "Piece[1x1x0]");
  EXPECT_FALSE(LatticeField::newField(Counts(3, 2, 2), donor, "Piece"));
  EXPECT_FALSE(LatticeField::newField(Counts(3, 1, 1), donor, "Piece"));
  EXPECT_FALSE(
      LatticeField::newField(Counts(3, 2, 1), Larder::makeStrong<Quilt::Field>(), "Piece"));
}

TEST(RegularlyFragmentedField, CountsThatCannotBeNumberedAreRefused) {
  EXPECT_FALSE(LatticeField::newField(Counts(1u << 31, 2, 1), nullptr, ""));
  EXPECT_FALSE(LatticeField::newField(Counts(1ull << 63, 2, 1), nullptr, ""));
  const auto none = LatticeField::newField(Counts(5, 0, 5), nullptr, "Piece");
  ASSERT_TRUE(none);
  EXPECT_TRUE(none->getFragmentIDs().empty());
}

TEST(GridWithCartesianVertices, IsEmptyUntilAGridHasAll) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = newGrid(bundle);
  Quilt::GridWithCartesianVertices view;
  const auto expectEmpty = [&view](const Larder::StrongPtr<Quilt::Grid>& of) {
    EXPECT_FALSE(view.assign(of));
    EXPECT_FALSE(view.vertices() || view.cartesian() || view.positions());
  };
  expectEmpty(nullptr);
  expectEmpty(grid);
  grid->makeVertices(3);
  expectEmpty(grid);
  const auto representation = grid->makeCartesianRepresentation(3, "", 0);
  expectEmpty(grid);
  (*representation)["Positions"].field()->setPersistentData(onePoint(), nullptr,
                                                            Larder::Cache::MemCache(), "");
  EXPECT_TRUE(view.assign(grid));
  EXPECT_TRUE(view.vertices() && view.cartesian() == representation && view.positions());
  expectEmpty(nullptr);
  EXPECT_EQ(view.grid(), grid);
}

TEST(RegularlyFragmentedGrid, IsCreatedOnceAndNoOtherTakesItsPlace) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = newGrid(bundle);
  const auto first = LatticeGrid::create(grid, Counts(2, 2, 1), false);
  ASSERT_TRUE(first.latticePositions());
  const auto data = first.latticePositions()->setPersistentData(
      onePoint(), first.latticePositions()->getFragmentIDs()[3], Larder::Cache::MemCache(), "");
  const std::string structure = grid->xml();
  EXPECT_FALSE(LatticeGrid::create(grid, Counts(4, 1, 1), true));
  const auto second = LatticeGrid::create(grid, Counts(2, 2, 1), false);
  EXPECT_EQ(second.latticePositions(), first.latticePositions());
  EXPECT_EQ(second.positionsData(), first.positionsData());
  EXPECT_EQ(second.latticePositions()->getCreatorByNumber(3), data);
  EXPECT_EQ(grid->xml(), structure);
}

TEST(RegularlyFragmentedGrid, PlainPositionsAreRefusedAndKept) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = newGrid(bundle);
  const auto positions = (*grid->makeCartesianRepresentation(3, "", 0))["Positions"].field();
  const std::string structure = grid->xml();
  EXPECT_FALSE(LatticeGrid::create(grid, Counts(1, 1, 1), false));
  EXPECT_FALSE(LatticeGrid(grid));
  EXPECT_FALSE(LatticeGrid::create(nullptr, Counts(1, 1, 1), false));
  EXPECT_EQ(grid->CartesianPositions(), positions);
  EXPECT_EQ(grid->xml(), structure);
}

TEST(RegularlyFragmentedGrid, TheFragmentSkeletonListsTheFragments) {
  for (const bool withRepresentation : {false, true}) {
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto view = LatticeGrid::create(newGrid(bundle), Counts(3, 2, 1), withRepresentation);
    ASSERT_TRUE(view);
    EXPECT_TRUE(view.latticeCartesian());
    EXPECT_EQ(static_cast<bool>(view.fragmentsCartesian()), withRepresentation);
    const auto list = view.positionsData().castTo<Quilt::FragmentHandleArray>();
    ASSERT_TRUE(list);
    EXPECT_EQ(list->Size(), Counts(3, 2, 1));
    EXPECT_EQ(((*list)[{1, 1, 0}])->name(), "RegularFragment[1x1x0]");
    EXPECT_EQ(list->first(), view.latticePositions()->getFragmentIDs().front());
  }
}

TEST(RegularlyFragmentedGrid, ALatticeOutlivesItsFile) {
  const TempFolder folder;
  {
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    ASSERT_EQ(bundle->bindToNew(folder / "a.q8").number, 0);
    const auto view = LatticeGrid::create(newGrid(bundle), Counts(2, 3, 1), false);
    const auto& positions = view.latticePositions();
    positions->setPersistentData(onePoint(), positions->getFragmentIDs()[4],
                                 Larder::Cache::MemCache(), "");
  }
  const auto bundle = loadBundle(folder / "a.q8");
  ASSERT_TRUE(bundle);
  const LatticeGrid view(newGrid(bundle));
  ASSERT_TRUE(view);
  ASSERT_TRUE(view.latticePositions());
  EXPECT_EQ(view.latticePositions()->counts(), Counts(2, 3, 1));
  EXPECT_TRUE(view.latticePositions()->getCreatorByName("RegularFragment[0x2x0]"));
  EXPECT_EQ(LatticeGrid::create(newGrid(bundle), Counts(2, 3, 1), false).latticePositions(),
            view.latticePositions());
}

}  // namespace
