#include <cmath>
#include <random>

#include "column_files.h"

#include "recast/columns/bad_line.h"
#include "recast/columns/column_block.h"
#include "recast/columns/column_types.h"
#include "recast/columns/string_to_value.h"

namespace {

using Heron::PhysicalSpace;
using Recast::ColumnAsciiToPointCloudQ8;
using Recast::StringToValue;
using Tokens = std::vector<std::string>;

const char* const kTypes[] = {"point", "vector", "double", "float", "int",
                              "uchar", "ushort", "uint",   "rgb"};

/// What a token is read as; 77 if it doesn't convert, since `out` must stay as it was then.
template <class T>
T valueOf(const std::string& token) {
  T value{77};
  const bool converted = StringToValue({token}, {0}, value);
  EXPECT_EQ(converted, value != T{77}) << token;
  return value;
}

// What a number is, is tested with the parser of numbers; here, which kind each type is read as.
TEST(StringToValue, EachTypeHasItsKindOfNumber) {
  EXPECT_EQ(valueOf<unsigned int>("4294967295"), 4294967295U);
  EXPECT_EQ(valueOf<unsigned int>("4294967296"), 77U);
  EXPECT_EQ(valueOf<unsigned int>("-1"), 4294967295U);
  EXPECT_EQ(valueOf<int>("-2147483648"), -2147483647 - 1);
  EXPECT_EQ(valueOf<int>("2147483648"), 77);
  EXPECT_EQ(valueOf<unsigned short>("65537"), 1);
  EXPECT_EQ(valueOf<unsigned short>("-1"), 65535);
  EXPECT_EQ(valueOf<unsigned short>("2147483648"), 77);
  EXPECT_EQ(valueOf<unsigned char>("300"), 44);
  EXPECT_EQ(valueOf<unsigned char>("7.9"), 7);
  EXPECT_EQ(valueOf<unsigned char>("2147483648"), 77);
  EXPECT_EQ(valueOf<float>("16777217"), 16777216.0F);
  EXPECT_EQ(valueOf<float>("1e39"), 77.0F);
  EXPECT_EQ(valueOf<double>("16777217"), 16777217.0);
  EXPECT_EQ(valueOf<double>("1e39"), 1e39);
}

TEST(StringToValue, PointsAndColoursTakeUpToThreePositionsAllOrNothing) {
  const Tokens tokens = {"1", "2.5", "3", "x", "300", "-1"};
  PhysicalSpace::point point(7, 8, 9);
  EXPECT_TRUE(StringToValue(tokens, {2, 1, 0}, point));
  EXPECT_EQ(point, PhysicalSpace::point(3, 2.5, 1));
  for (const std::vector<unsigned>& wrong :
       {std::vector<unsigned>{0, 1, 3}, {0, 1, 0, 1}, {0, 4294967295U}})
    EXPECT_FALSE(StringToValue(tokens, wrong, point));
  EXPECT_EQ(point, PhysicalSpace::point(3, 2.5, 1)) << "not partly written";
  PhysicalSpace::vector vector(7, 8, 9);
  EXPECT_TRUE(StringToValue(tokens, {4, 4}, vector));
  EXPECT_EQ(vector, PhysicalSpace::vector(300, 300, 0));
  Heron::Colour colour(1, 2, 3);
  EXPECT_TRUE(StringToValue(tokens, {4, 5, 1}, colour));
  EXPECT_EQ(colour, Heron::Colour(44, 255, 2));
  double number = 0.0;
  EXPECT_TRUE(StringToValue(tokens, {1, 3}, number)) << "the first position counts";
  EXPECT_FALSE(StringToValue(tokens, {}, number));
  EXPECT_FALSE(StringToValue(tokens, {6}, number));
  EXPECT_EQ(number, 2.5);
}

TEST(StringToValue, ALineThatFailedIsShownTokenByToken) {
  const TestSupport::ConsoleCapture console;
  testing::internal::CaptureStdout();
  Recast::showBadLine({"1", "", "two"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Bad line at: \n");
  EXPECT_EQ(console.messages(), (std::vector<std::string>{"-->1", "-->", "-->two"}));
}

/// Numbers from 0 to below a limit.
struct Random {
  std::mt19937 engine;
  explicit Random(unsigned seed) : engine(seed) {}
  unsigned below(unsigned limit) { return static_cast<unsigned>(engine() % limit); }
};

Tokens split(const std::string& text, char delimiter) {
  Tokens tokens(1);
  for (const char c : text)
    if (c != delimiter)
      tokens.back() += c;
    else if (!tokens.back().empty())
      tokens.emplace_back();
  if (tokens.back().empty()) tokens.pop_back();
  return tokens;
}

/// What a line of these tokens gives, column by column; the values go to `print`.
int expectedStatus(const ColumnAsciiToPointCloudQ8& converter, const Tokens& tokens,
                   std::ostream& print) {
  if (tokens.size() <= converter.MaxColumn) return Recast::kTooFewTokens;
  const auto convert = [&](const auto& column) {
    auto value = decltype(column.Value){};
    if (!StringToValue(tokens, column.Columns, value)) return false;
    print << testing::PrintToString(value);
    return true;
  };
  return Recast::allColumns(converter, convert) ? 0 : Recast::kValueNotConverted;
}

std::string randomToken(Random& random) {
  const char* const odd[] = {"x",  "-1",          "1e999", " 7", "12abc",  "0x1f",       ".5", "5.",
                             "+3", "99999999999", "nan",   "-0", "1e-400", "4294967295", "-"};
  if (random.below(8) == 0) return odd[random.below(std::size(odd))];
  return std::to_string(static_cast<int>(random.below(2000)) - 1000) +
         (random.below(2) == 0 ? "." + std::to_string(random.below(1000)) : "");
}

std::string randomLine(Random& random, char delimiter) {
  std::string line;
  for (unsigned i = random.below(9); i > 0; --i)
    line += std::string(random.below(5) / 3 + 1, delimiter) + randomToken(random);
  return line + std::string(random.below(3) == 0 ? 1 : 0, delimiter);
}

/// Mostly as they should be; now and then numbers of positions that can't be read.
void addRandomColumns(ColumnAsciiToPointCloudQ8& converter, Random& random) {
  for (unsigned i = random.below(5); i > 0; --i) {
    const std::string type = kTypes[random.below(9)];
    const bool three = type == "point" || type == "vector" || type == "rgb";
    unsigned count = three ? random.below(4) : 1 + random.below(2);
    if (random.below(50) == 0) count = three ? 4 : 0;
    std::vector<unsigned> positions(count);
    for (unsigned& position : positions) position = random.below(5);
    ASSERT_EQ(converter.addColumn(type, "field", positions), "");
  }
}

TEST(LineReading, OnePassGivesWhatTokenByTokenConversionGives) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  Random random(seed);
  for (int round = 0; round < 3000; ++round) {
    ColumnAsciiToPointCloudQ8 converter;
    converter.Delimiter = " ;\t.5-e,"[random.below(8)];
    addRandomColumns(converter, random);
    Recast::ColumnBlock block(converter);
    block.start(0);
    for (int line = 0; line < 10; ++line) {
      const std::string text = randomLine(random, converter.Delimiter);
      SCOPED_TRACE("\"" + text + "\" at " + converter.Delimiter);
      std::ostringstream expected;
      const int status = expectedStatus(converter, split(text, converter.Delimiter), expected);
      const std::size_t before = block.lines();
      ASSERT_EQ(block.append(text), status == 0);
      ASSERT_EQ(block.lines(), before + (status == 0 ? 1 : 0));
      if (status != 0) {
        ASSERT_EQ(Recast::explainBadLine(converter, text).status, status);
        continue;
      }
      std::ostringstream found;
      Recast::forEachColumn(converter, [&](const auto& column) {
        found << testing::PrintToString((*column.Data)[before]);
      });
      ASSERT_EQ(found.str(), expected.str());
    }
    block.finish();
    Recast::forEachColumn(
        converter, [&](const auto& column) { ASSERT_EQ(column.Data->size(), block.lines()); });
  }
}

TEST(ColumnModel, MaxColumnIsTheHighestPositionOfAll) {
  ColumnAsciiToPointCloudQ8 converter;
  EXPECT_EQ(converter.addColumn("point", "P", {7, 2, 3}), "");
  EXPECT_EQ(converter.addColumn("float", "F", {1, 5}), "");
  EXPECT_EQ(converter.addColumn("Point", "P", {9}), "type not supported: Point");
  EXPECT_EQ(converter.MaxColumn, 7u);
  EXPECT_EQ(converter.PointColumns.size(), 1u);
}

TEST(ColumnModel, InitColumnsGivesFullChunksOfZerosOrOfTheConstant) {
  ColumnAsciiToPointCloudQ8 converter;
  converter.addColumn("uchar", "Read", {0});
  converter.addColumn("uchar", "Constant", {});
  converter.UCharColumns[1].Constant = true;
  converter.UCharColumns[1].Value = 9;
  converter.initColumns();
  for (const auto& column : converter.UCharColumns)
    EXPECT_EQ(std::count(column.Data->begin(), column.Data->end(), column.Constant ? 9 : 0),
              10'000'000);
}

}  // namespace
