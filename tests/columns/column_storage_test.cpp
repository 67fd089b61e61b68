#include <cmath>
#include <random>

#include "column_files.h"

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

TEST(ColumnStorage, TheLevelTellsWhatIsDoneToPoints) {
  const auto points = chunkOf<PhysicalSpace::point>();
  const auto vectors = chunkOf<PhysicalSpace::vector>();
  for (const auto& [level, filterLevel] :
       {std::pair{-7, 0}, {-1, 0}, {0, 1}, {1, 1}, {12, 12}, {13, 12}}) {
    SCOPED_TRACE(level);
    const MyStorage storage(level);
    EXPECT_EQ(storage.getFilterSettings("Positions").level, filterLevel);
    EXPECT_EQ(storage.WriteAsSinglePrecision("Positions", points), level >= 0);
    EXPECT_FALSE(storage.WriteAsSinglePrecision("positions", points));
    EXPECT_FALSE(storage.WriteAsSinglePrecision("Positions", vectors));
    EXPECT_EQ(storage.EnableNumericalShift("Other", points), level >= 0);
    EXPECT_FALSE(storage.EnableNumericalShift("Other", vectors));
  }
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
  for (const int level : {-1, 0, 12}) {
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
    EXPECT_LE(largestError, level < 0 ? 0.0 : 0.001);
  }
}

}  // namespace
