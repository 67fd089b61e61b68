#include "recast/trelliskinds/grid_kinds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/typed_arrays/mem_array.h"

namespace {

using Heron::PhysicalSpace;
using Quilt::MultiIndex;
using Quilt::SkeletonID;
using Quilt::UniformCartesianArray;

using GridHandle = Larder::StrongPtr<Quilt::Grid>;

GridHandle newGrid() {
  return Larder::makeStrong<Quilt::Grid>(Larder::makeStrong<Quilt::Placement>());
}

template <class T>
Quilt::MemBaseHandle listOf(std::uint64_t n) {
  return Larder::makeStrong<Quilt::MemArray<1, T>>(MultiIndex<1>(n), nullptr);
}

TEST(UniformArray, ReachesFromCornerToCornerAsMemoryDoesThatItTakes) {
  const PhysicalSpace::point lower(100, -8, 5);
  const PhysicalSpace::point upper(104, -2, 5);
  const MultiIndex<3> size(5, 4, 1);
  const auto array = UniformCartesianArray::overBox(lower, size, upper);
  EXPECT_EQ(array->spacing(), PhysicalSpace::vector(1, 2, 0)) << "one vertex has no step";
  EXPECT_EQ((*array)[MultiIndex<3>(0, 0, 0)], lower);
  EXPECT_EQ((*array)[MultiIndex<3>(4, 3, 0)], upper);
  EXPECT_EQ((*array)[MultiIndex<3>(1, 2, 0)], PhysicalSpace::point(101, -4, 5));
  EXPECT_FALSE(array->getChunk() || array->getPtr());
  EXPECT_EQ(array->OriginPtr()[1], -8);
  EXPECT_EQ(array->DeltaPtr()[1], 2);
  const auto memory =
      array->makeMemArray(nullptr).castTo<Quilt::MemArray<3, PhysicalSpace::point>>();
  ASSERT_TRUE(memory && memory->getSize() == array->getSize());
  MultiIndex<3> position;
  do {
    EXPECT_EQ((*memory)[position], (*array)[position]) << to_string(position);
  } while (position.inc(size));
  EXPECT_EQ(UniformCartesianArray::overBox({}, {3, 0, 4}, {})->makeMemArray(nullptr)->nElements(),
            0U);
}

TEST(UniformArray, KnowsItsExtentWithoutItsElements) {
  using Kind = Quilt::DataExtent::Kind;
  // Steps may be negative: rows that run from north to south.
  const UniformCartesianArray array({3, 2, 1}, {0, 50, 7}, {10, -5, 99});
  const Quilt::DataExtent extent = Quilt::extentOf(array);
  EXPECT_EQ(extent.kind, Kind::Box);
  EXPECT_THAT(extent.minimum, ::testing::ElementsAre(0, 45, 7));
  EXPECT_THAT(extent.maximum, ::testing::ElementsAre(20, 50, 7));
  EXPECT_EQ(Quilt::extentOf(UniformCartesianArray({3, 0, 1}, {}, {})).kind, Kind::None);
}

TEST(UniformGrid, IsMadeOfComputedPositionsAndKeepsThoseItHas) {
  const auto grid = newGrid();
  EXPECT_TRUE(*Quilt::UniformGrid3D::create(grid, {0, 0, 0}, {11, 11, 1}, {100, 100, 0}));
  const auto array = grid->CartesianPositions()->getData(nullptr);
  ASSERT_TRUE(array.castTo<UniformCartesianArray>());
  Quilt::UniformGrid3D::create(grid, {5, 5, 5}, {2, 2, 2}, {6, 6, 6});
  EXPECT_EQ(grid->CartesianPositions()->getData(nullptr), array);
}

TEST(GridKinds, HaveCellsRelativeToTheirVertices) {
  const auto vertices = listOf<PhysicalSpace::point>(4);
  const auto triangles = listOf<Quilt::Triangle>(2);
  const auto lines = listOf<std::vector<unsigned int>>(2);
  const auto tangents = listOf<PhysicalSpace::vector>(4);
  const auto expectCells = [&](const GridHandle& grid, const SkeletonID& id, const auto& cells) {
    EXPECT_EQ(grid->CartesianPositions()->getData(nullptr), vertices);
    const auto representation = (*grid->getSkeleton(id))(*grid->findVertices(id.Dimension));
    EXPECT_EQ(representation->Positions()->getData(nullptr), cells);
  };
  const auto surface =
      Quilt::TriangularSurface::create(newGrid(), vertices, triangles, false, false);
  expectCells(surface->grid(), SkeletonID(2, 1), triangles);
  const auto set = Larder::makeStrong<Quilt::LineSet>(newGrid(), vertices, lines, tangents);
  expectCells(set->grid(), SkeletonID(1, 2), lines);
  EXPECT_EQ((*set->grid())("Tangents", "")->getData(nullptr), tangents);
}

TEST(FragmentedUniformGrid, HasUniformPositionsInEveryFragment) {
  const Quilt::isFragmentedUniformCartesianGrid predicate;
  const auto grid = newGrid();
  EXPECT_FALSE(predicate.checkGrid(*grid));
  const Larder::StrongPtr<Quilt::Field> positions =
      (*grid->makeCartesianRepresentation(3, "", 0))["Positions"];
  const auto put = [&](const Quilt::MemBaseHandle& array, const char* name) {
    positions->setPersistentData(array, name == nullptr ? nullptr : positions->makeFragmentID(name),
                                 Larder::Cache::MemCache(), "");
  };
  const auto uniform = UniformCartesianArray::overBox({}, {2, 2, 1}, {1, 1, 0});
  put(uniform, nullptr);
  EXPECT_FALSE(predicate.checkGrid(*grid)) << "it is not cut into fragments";
  positions->makeFragmentID("without data");
  EXPECT_FALSE(predicate.checkGrid(*grid));
  put(uniform, "[0x0x0]");
  put(uniform, "[1x0x0]");
  EXPECT_TRUE(predicate.checkGrid(*grid));
  put(listOf<PhysicalSpace::point>(4), "[2x0x0]");
  EXPECT_FALSE(predicate.checkGrid(*grid));
}

}  // namespace
