#include <random>

#include "column_files.h"

#include "recast/columns/bad_line.h"
#include "recast/columns/column_block.h"
#include "recast/columns/column_types.h"
#include "recast/columns/string_to_value.h"

namespace {

using Recast::ColumnAsciiToPointCloudQ8;
using Tokens = std::vector<std::string>;

/// Numbers from 0 to below a limit.
struct Random {
  std::mt19937 engine;
  explicit Random(unsigned seed) : engine(seed) {}
  unsigned below(unsigned limit) { return static_cast<unsigned>(engine() % limit); }
};

Tokens split(const std::string& text, char delimiter) {
  Tokens tokens;
  std::string token;
  for (const char c : text + delimiter) {
    if (c != delimiter) {
      token += c;
    } else if (!token.empty()) {
      tokens.push_back(token);
      token.clear();
    }
  }
  return tokens;
}

/// What a line of these tokens gives, column by column; the values go to `print`.
int expectedStatus(const ColumnAsciiToPointCloudQ8& converter, const Tokens& tokens,
                   std::ostream& print) {
  if (tokens.size() <= converter.MaxColumn) return Recast::kTooFewTokens;
  const auto convert = [&](const auto& column) {
    auto value = decltype(column.Value){};
    if (!Recast::StringToValue(tokens, column.Columns, value)) return false;
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
  for (unsigned i = random.below(9); i > 0; --i) {
    line += std::string(random.below(5) / 3 + 1, delimiter);
    line += randomToken(random);
  }
  if (random.below(3) == 0) line += delimiter;
  return line;
}

void addRandomColumns(ColumnAsciiToPointCloudQ8& converter, Random& random) {
  const char* const types[] = {"point", "vector", "double", "float", "int",
                               "uchar", "ushort", "uint",   "rgb"};
  for (unsigned i = random.below(5); i > 0; --i) {
    const std::string type = types[random.below(9)];
    const bool three = type == "point" || type == "vector" || type == "rgb";
    std::vector<unsigned> positions(three ? random.below(4) : 1 + random.below(2));
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

TEST(LineReading, ColumnsThatCannotBeReadFailEveryLine) {
  for (const bool tooMany : {false, true}) {
    ColumnAsciiToPointCloudQ8 converter;
    if (tooMany)
      converter.addColumn("rgb", "Colour", {0, 0, 0, 0});
    else
      converter.addColumn("int", "Number", {});
    Recast::ColumnBlock block(converter);
    block.start(1);
    EXPECT_FALSE(block.append("1 2 3"));
    EXPECT_EQ(Recast::explainBadLine(converter, "1 2 3").status, Recast::kValueNotConverted);
  }
}

}  // namespace
