#include <cmath>
#include <random>

#include "column_files.h"
#include <gmock/gmock.h>

#include "recast/columns/my_storage.h"

namespace {

using Heron::PhysicalSpace;
using Recast::MyStorage;
using TestSupport::ColumnConversion;
using TestSupport::stringList;

template <class T>
Larder::StrongPtr<Larder::ChunkBase> chunkOf() {
  return Larder::makeStrong<Larder::Chunk<T>>(std::size_t{1});
}

TEST(ColumnStorage, TheLevelSetsFlagsAndCompression) {
  const struct {
    int level;
    bool single;
    int filterLevel;
  } cases[] = {{-7, false, 0}, {-1, false, 0}, {0, true, 1},
               {1, true, 1},   {12, true, 12}, {13, true, 12}};
  for (const auto& [level, single, filterLevel] : cases) {
    SCOPED_TRACE(level);
    const MyStorage storage(level);
    EXPECT_EQ(storage.singlePrecision, single);
    EXPECT_EQ(storage.numericalShift, single);
    EXPECT_EQ(storage.getFilterSettings("Positions").level, filterLevel);
  }
}

TEST(ColumnStorage, PrecisionGoesByNameAndTypeTheShiftByTypeAlone) {
  MyStorage storage(0);
  const auto points = chunkOf<PhysicalSpace::point>();
  const auto floatPoints = chunkOf<Heron::Coordinates<Heron::Cartesian3D, float>::point>();
  for (const auto& chunk : {points, floatPoints}) {
    EXPECT_TRUE(storage.WriteAsSinglePrecision("Positions", chunk));
    EXPECT_FALSE(storage.WriteAsSinglePrecision("positions", chunk));
    EXPECT_TRUE(storage.EnableNumericalShift("Other", chunk));
  }
  for (const auto& chunk : {chunkOf<float>(), chunkOf<PhysicalSpace::vector>(),
                            Larder::StrongPtr<Larder::ChunkBase>()}) {
    EXPECT_FALSE(storage.WriteAsSinglePrecision("Positions", chunk));
    EXPECT_FALSE(storage.EnableNumericalShift("Positions", chunk));
  }
  storage.singlePrecision = false;
  EXPECT_FALSE(storage.WriteAsSinglePrecision("Positions", points));
  EXPECT_TRUE(storage.EnableNumericalShift("Positions", points));
  storage.numericalShift = false;
  EXPECT_FALSE(storage.EnableNumericalShift("Positions", points));
}

TEST(ColumnStorage, AListNamesTheFieldsToSave) {
  MyStorage storage;
  const auto saved = [&storage](const std::string& name) {
    return storage.isSaveableField(Quilt::FieldID(name), Quilt::Field(), nullptr, "", 0.0, "",
                                   Quilt::SkeletonID(0, 3));
  };
  EXPECT_TRUE(saved("Any"));
  storage.FieldsToSave = stringList({"Positions"});
  EXPECT_TRUE(saved("Positions"));
  EXPECT_FALSE(saved("Any"));
  storage.FieldsToSave = stringList({});
  EXPECT_FALSE(saved("Positions"));
}

TEST(ColumnStorage, LevelsKeepAllButPositionsToTheLastBit) {
  std::mt19937 random(5);
  std::string text;
  std::vector<double> x;
  for (int i = 0; i < 5000; ++i) {
    x.push_back(3512000 + static_cast<double>(random() % 10'000'000) / 1000);
    char line[80];
    std::snprintf(line, sizeof line, "%.3f 5401234.5 %.17g\n", x.back(), x.back() / 7);
    text += line;
  }
  for (const int level : {-1, 0, 1, 12, 99}) {
    SCOPED_TRACE(level);
    ColumnConversion run;
    run.compression = level;
    run.converter.addColumn("point", "Positions", {0, 1});
    run.converter.addColumn("point", "Other", {0, 1});
    run.converter.addColumn("double", "D", {2});
    ASSERT_EQ(run.convertText(text), 0);
    const auto positions = run.values<PhysicalSpace::point>("Positions");
    const auto other = run.values<PhysicalSpace::point>("Other");
    const auto doubles = run.values<double>("D");
    ASSERT_EQ(positions.size(), x.size());
    double largestError = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i) {
      largestError = std::max(largestError, std::fabs(positions[i].x() - x[i]));
      ASSERT_EQ(other[i], PhysicalSpace::point(x[i], 5401234.5, 0.0));
      ASSERT_EQ(doubles[i], x[i] / 7);
    }
    if (level < 0)
      EXPECT_EQ(largestError, 0.0);
    else
      EXPECT_LT(largestError, 0.001);
  }
}

}  // namespace
