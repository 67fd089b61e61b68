#include <cmath>
#include <cstring>
#include <random>

#include "raster_files.h"
#include <gtest/gtest.h>

#include "recast/raster/raster_walk.h"

namespace {

using Heron::PhysicalSpace;
using TestSupport::ConvertedRaster;
using TestSupport::findField;

struct Oracle {
  std::vector<PhysicalSpace::point> points;
  std::vector<PhysicalSpace::bivector> normals;
};

/// The definition, cell by cell, without a thought for speed.
Oracle oracle(const Recast::HeightArray& heights, double noData, double cellX, double cellY,
              const PhysicalSpace::point& origin) {
  Oracle result;
  const auto shape = heights.Size();
  const auto at = [&](std::int64_t i, std::int64_t j, std::uint64_t k) {
    if (i < 0 || j < 0 || i >= static_cast<std::int64_t>(shape[0]) ||
        j >= static_cast<std::int64_t>(shape[1]))
      return static_cast<float>(noData);
    return heights[Quilt::MultiIndex<3>(i, j, k)];
  };
  const auto unit = [](PhysicalSpace::vector v) {
    const double length = std::sqrt(v.x() * v.x() + v.y() * v.y() + v.z() * v.z());
    return PhysicalSpace::vector(v.x() / length, v.y() / length, v.z() / length);
  };
  Quilt::MultiIndex<3> at3;
  if (shape.product() == 0) return result;
  do {
    const auto i = static_cast<std::int64_t>(at3[0]);
    const auto j = static_cast<std::int64_t>(at3[1]);
    const float z = at(i, j, at3[2]);
    if (!(std::fabs(static_cast<double>(z) - noData) > 0.001)) continue;
    const auto orSelf = [&](float n) {
      return std::fabs(static_cast<double>(n) - noData) < 0.001 ? z : n;
    };
    const float dzx = orSelf(at(i + 1, j, at3[2])) - orSelf(at(i - 1, j, at3[2]));
    const float dzy = orSelf(at(i, j + 1, at3[2])) - orSelf(at(i, j - 1, at3[2]));
    const auto u = unit({static_cast<float>(2 * cellX), 0.0, static_cast<double>(dzx)});
    const auto v = unit({0.0, static_cast<float>(2 * cellY), static_cast<double>(dzy)});
    result.points.emplace_back(static_cast<double>(i) * cellX + origin.x(),
                               static_cast<double>(j) * cellY + origin.y(), static_cast<double>(z));
    result.normals.emplace_back(u.y() * v.z() - u.z() * v.y(), u.z() * v.x() - u.x() * v.z(),
                                u.x() * v.y() - u.y() * v.x());
  } while (at3.inc(shape));
  return result;
}

TEST(RasterCloud, WalkIsThatOfTheDefinition) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (int round = 0; round < 200; ++round) {
    const Quilt::MultiIndex<3> shape(random() % 7, random() % 7, 1 + random() % 2);
    const double noData = round % 3 == 0 ? -9999.0 : round % 3 == 1 ? 0.1 : 12345.6789;
    const auto heights = Larder::makeStrong<Recast::HeightArray>(shape, nullptr);
    for (std::uint64_t n = 0; n < shape.product(); ++n) {
      const float near = static_cast<float>(noData) + (random() % 2 == 0 ? 0.0005F : 0.01F);
      const float height = static_cast<float>(random() % 2000) / 7.0F - 100.0F;
      heights->data[n] = random() % 4 == 0   ? static_cast<float>(noData)
                         : random() % 5 == 0 ? near
                                             : height;
      if (random() % 40 == 0) heights->data[n] = std::nanf("");
    }
    std::uniform_real_distribution<double> size(0.25, 30.0);
    const double cellX = size(random);
    const double cellY = size(random);
    const PhysicalSpace::point origin(3.5e6 + size(random), 5.4e6, 0.0);
    const auto cloud = Recast::walkRaster(*heights, noData, {cellX, cellY, 1.0}, origin);
    const Oracle expected = oracle(*heights, noData, cellX, cellY, origin);
    ASSERT_EQ(cloud.points->size(), expected.points.size());
    ASSERT_EQ(cloud.normals->size(), expected.normals.size());
    // Bytes, so that NaN equals NaN and a zero its own sign only.
    const std::size_t bytes = expected.points.size() * sizeof(PhysicalSpace::point);
    if (bytes == 0) continue;
    EXPECT_EQ(std::memcmp(cloud.points->data(), expected.points.data(), bytes), 0);
    EXPECT_EQ(std::memcmp(cloud.normals->data(), expected.normals.data(), bytes), 0);
  }
}

std::string oneRow(const std::string& noData, const std::string& cells) {
  const auto columns = 1 + std::count(cells.begin(), cells.end(), ' ');
  return "ncols " + std::to_string(columns) + "\nnrows 1\nxllcenter 3000000\nyllcenter 5000000\n" +
         "cellsize 2\n" + noData + cells + "\n";
}

TEST(RasterCloud, OnlyCellsWithAValueMakePoints) {
  const ConvertedRaster result(oneRow("", "1 -9999 3"));
  EXPECT_EQ(result.points().size(), 2u) << "the default";
  const auto creator =
      findField(*result.bundle, "points", "Positions")->getCreatorByName(result.fragmentName());
  const auto size = creator->getAttribute("CellSize").castTo<Larder::Chunk<double>>();
  ASSERT_TRUE(size);
  EXPECT_EQ(size->base_vector(), std::vector<double>{2.0});
  EXPECT_EQ(ConvertedRaster(oneRow("nodata_value 5\n", "1 -9999 5")).points().size(), 2u);
  EXPECT_EQ(ConvertedRaster(oneRow("nodata_value 5\n", "5.0005 4.9995 5.01")).points().size(), 1u);
}

TEST(RasterCloud, ARasterWithoutValuesLeavesNoData) {
  const ConvertedRaster result(oneRow("", "-9999 -9999"));
  EXPECT_EQ(result.status, 0);
  for (const char* name : {"Positions", "Normals"}) {
    const auto field = findField(*result.bundle, "points", name);
    ASSERT_TRUE(field);
    EXPECT_FALSE(field->getCreatorByName(result.fragmentName()));
  }
}

}  // namespace
