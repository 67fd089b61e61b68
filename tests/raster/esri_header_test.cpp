#include "recast/raster/esri_header.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>

#include "support/temp_folder.h"
#include <gtest/gtest.h>

#include "recast/raster/raster_status.h"

namespace {

using Recast::EsriHeader;

/// A pass over the header with nothing but the C library.
class PlainHeader {
 public:
  PlainHeader(const std::string& path, bool skipEmptyLines) {
    std::FILE* const file = std::fopen(path.c_str(), "r");
    char line[1024];
    char keyword[512] = "";
    char value[512] = "";
    while (status == Recast::kHeaderNeverEnds && std::fgets(line, sizeof line, file) != nullptr) {
      const bool isEmpty = line[0] == '\n' || (line[0] == '\r' && line[1] == '\n');
      if (!skipEmptyLines || !isEmpty) {
        if (std::sscanf(line, "%511s %511s", keyword, value) == 1) value[0] = '\0';
        take(keyword, value);
      }
      if (status == Recast::kHeaderNeverEnds) ++lines;
    }
    std::fclose(file);
  }

  int status = Recast::kHeaderNeverEnds;
  std::uint64_t lines = 0;
  std::map<int, double> slots;
  bool isCorner = false;

 private:
  /// std::stoul where a long has 32 bits.
  static double unsigned32(const char* value) {
    const long long number = std::stoll(value);
    if (std::abs(number) > 4294967295LL) throw std::out_of_range("stoul");
    return static_cast<std::uint32_t>(number);
  }
  void take(std::string keyword, const char* value) {
    static const std::map<std::string, int> known = {
        {"ncols", 0},     {"nrows", 1},     {"xllcorner", 2}, {"yllcorner", 3},
        {"xllcenter", 2}, {"yllcenter", 3}, {"cellsize", 4},  {"nodata_value", 5}};
    std::transform(keyword.begin(), keyword.end(), keyword.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto found = known.find(keyword);
    if (found == known.end()) {
      status = Recast::kRasterDone;
      return;
    }
    try {
      slots[found->second] = found->second < 2 ? unsigned32(value) : std::stod(value);
      isCorner = isCorner || keyword == "xllcorner";
    } catch (const std::exception&) {
      status = Recast::kBadHeaderValue;
    }
  }
};

class RandomHeader {
 public:
  explicit RandomHeader(unsigned seed) : random_(seed) {}

  std::string text() {
    std::string result;
    for (unsigned lines = below(12); lines > 0; --lines) result += line() + lineEnd();
    return result + (below(3) == 0 ? "" : "1 2 3") + (below(3) == 0 ? "\n" : "");
  }

 private:
  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }
  std::string oneOf(std::initializer_list<std::string> texts) {
    return texts.begin()[below(static_cast<unsigned>(texts.size()))];
  }
  std::string space() {
    const std::string odd(below(40) == 0 ? 1020 + below(8) : 1, below(2) == 0 ? ' ' : '\t');
    return oneOf({" ", "  ", "\t", "\v", "\f", "\r", odd});
  }
  std::string lineEnd() { return oneOf({"\n", "\n", "\r\n", "\n\n", " \n", "\r\r\n"}); }
  std::string keyword() {
    return oneOf({"ncols", "NROWS", "xllcorner", "yllcorner", "XllCenter", "yllcenter", "cellsize",
                  "NODATA_value", "ncols", "nrows", "nodata_value"});
  }
  std::string value() {
    return oneOf({"3", "2.5", "12abc", "-1", "+7", "1e3", "0x10", "4294967295", "-9999.0", "5"});
  }
  std::string line() {
    switch (below(24)) {
      case 0: return "";
      case 1: return space();
      case 2: return keyword();
      case 3: return std::string(1, '\0') + keyword() + " 1";
      case 4: return keyword() + " 8" + std::string(1, '\0') + "9";
      case 5: return keyword() + " 6" + space() + std::string(500 + below(1200), 'y');
      case 6: return std::string(508 + below(6), 'x') + " 1";
      case 7: return keyword() + " " + std::string(508 + below(6), '0') + "7";
      case 8: return oneOf({"abc 1", "ncols abc", "cellsize 1e999", "nrows 4294967296"});
      default: return (below(9) == 0 ? space() : "") + keyword() + space() + value();
    }
  }

  std::mt19937 random_;
};

TEST(EsriHeader, IsReadAsByTheStandardLibrary) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  RandomHeader random(seed);
  const TestSupport::TempFolder folder;
  int accepted = 0;
  for (int round = 0; round < 1000; ++round) {
    const std::string text = random.text();
    SCOPED_TRACE(testing::PrintToString(text));
    const std::string path = folder.write("in.asc", text);
    const bool skipEmptyLines = round % 2 == 0;
    const PlainHeader expected(path, skipEmptyLines);
    Larder::Text::LineReader input(path);
    EsriHeader header;
    const auto outcome = Recast::readEsriHeader(input, {skipEmptyLines}, header);
    ASSERT_EQ(outcome.status, expected.status) << outcome.failure;
    ASSERT_EQ(outcome.failure.empty(), outcome.isDone());
    ASSERT_EQ(header.lines, expected.lines);
    ASSERT_EQ(header.isCorner, expected.isCorner);
    const auto same = [&expected](int slot, const auto& value) {
      const auto found = expected.slots.find(slot);
      return found == expected.slots.end() ? !value
                                           : value && static_cast<double>(*value) == found->second;
    };
    ASSERT_TRUE(same(0, header.columns) && same(1, header.rows) && same(2, header.x) &&
                same(3, header.y) && same(4, header.cellSize) && same(5, header.noData));
    accepted += outcome.isDone() ? 1 : 0;
  }
  EXPECT_GT(accepted, 100);
}

}  // namespace
