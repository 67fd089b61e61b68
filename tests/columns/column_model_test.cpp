#include "column_files.h"

namespace {

using Recast::ColumnAsciiToPointCloudQ8;

const char* const kTypesByCode[] = {"point", "vector", "double", "float", "int",
                                    "uchar", "ushort", "uint",   "rgb"};

TEST(ColumnModel, EveryTypeNameAddsToTheListOfItsCode) {
  ColumnAsciiToPointCloudQ8 converter;
  ASSERT_EQ(converter.TypeCodes.size(), 9u);
  for (int code = 0; code < 9; ++code) {
    EXPECT_EQ(converter.TypeCodes.at(kTypesByCode[code]), code);
    EXPECT_EQ(converter.addColumn(kTypesByCode[code], std::string("field of ") + kTypesByCode[code],
                                  {static_cast<unsigned>(code)}),
              "");
  }
  const auto expect = [](const auto& columns, int code) {
    ASSERT_EQ(columns.size(), 1u) << kTypesByCode[code];
    EXPECT_EQ(columns[0].Name, std::string("field of ") + kTypesByCode[code]);
    EXPECT_EQ(columns[0].Columns, std::vector<unsigned>{static_cast<unsigned>(code)});
    EXPECT_FALSE(columns[0].Data);
    EXPECT_FALSE(columns[0].Constant);
    EXPECT_EQ(columns[0].Value, decltype(columns[0].Value){});
  };
  expect(converter.PointColumns, 0);
  expect(converter.VectorColumns, 1);
  expect(converter.DoubleColumns, 2);
  expect(converter.FloatColumns, 3);
  expect(converter.IntColumns, 4);
  expect(converter.UCharColumns, 5);
  expect(converter.UShortColumns, 6);
  expect(converter.UIntColumns, 7);
  expect(converter.RGBColumns, 8);
  EXPECT_EQ(converter.MaxColumn, 8u);
}

TEST(ColumnModel, MaxColumnIsTheHighestPositionOfAll) {
  ColumnAsciiToPointCloudQ8 converter;
  EXPECT_EQ(converter.addColumn("point", "P", {7, 2, 3}), "");
  EXPECT_EQ(converter.addColumn("float", "F", {1, 5}), "");
  EXPECT_EQ(converter.MaxColumn, 7u);
  EXPECT_EQ(converter.addColumn("Point", "P", {9}), "type not supported: Point");
  EXPECT_EQ(converter.addColumn("", "P", {9}), "type not supported: ");
  EXPECT_EQ(converter.MaxColumn, 7u);
  EXPECT_EQ(converter.PointColumns.size(), 1u);
}

TEST(ColumnModel, OutStringTellsTheParametersOfReading) {
  ColumnAsciiToPointCloudQ8 converter;
  converter.ParseString = "x y z";
  converter.HeaderLines = 2;
  converter.Delimiter = '\t';
  converter.StopReadingAt = 18446744073709551615U;
  converter.StartReadingAt = 5;
  const std::string expected =
      "Parse string: x y z\nHeader lines: 2\nDelimiter: \t\nStopReadingAt: 18446744073709551615\n"
      "StartReadingAt: 5\n";
  EXPECT_EQ(converter.createOutString(), expected);
  converter.DoStripeList = true;
  EXPECT_EQ(converter.createOutString(), expected + "DoStripeList \n");
}

TEST(ColumnModel, InitColumnsGivesFullChunksOfZerosOrOfTheConstant) {
  ColumnAsciiToPointCloudQ8 converter;
  converter.addColumn("uchar", "Read", {0});
  converter.addColumn("uchar", "Constant", {});
  converter.UCharColumns[1].Constant = true;
  converter.UCharColumns[1].Value = 9;
  converter.initColumns();
  const auto former = converter.UCharColumns[0].Data;
  ASSERT_EQ(former->size(), 10'000'000u);
  EXPECT_EQ(former->elements(), 10'000'000u);
  EXPECT_EQ(std::count(former->begin(), former->end(), 0), 10'000'000);
  const auto& constant = *converter.UCharColumns[1].Data;
  EXPECT_EQ(std::count(constant.begin(), constant.end(), 9), 10'000'000);
  converter.UCharColumns[0].ini();
  EXPECT_NE(converter.UCharColumns[0].Data, former);
}

}  // namespace
