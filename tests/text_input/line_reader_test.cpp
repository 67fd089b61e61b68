#include "recast/text_input/line_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "support/input_pipe.h"
#include "support/temp_folder.h"
#include "text_input/number_texts.h"
#include <gtest/gtest.h>

#include "recast/text_input/quoted.h"

namespace {

using Larder::Text::LineReader;
using TestSupport::TempFolder;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& path) {
  LineReader reader(path);
  EXPECT_TRUE(reader.isOpen()) << reader.failure();
  Lines lines;
  for (std::string_view line; reader.next(line);) {
    lines.emplace_back(line);
    EXPECT_EQ(reader.lineNumber(), lines.size());
    EXPECT_EQ(reader.untilNul(line), Larder::Text::untilNul(line));
  }
  EXPECT_FALSE(reader.failed()) << reader.failure();
  return lines;
}

/// Character by character.
Lines expectedLines(const std::string& text) {
  Lines lines;
  std::string line;
  const auto endLine = [&] {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::exchange(line, {}));
  };
  for (char c : text) {
    if (c == '\n')
      endLine();
    else
      line += c;
  }
  if (!text.empty() && text.back() != '\n') endLine();
  return lines;
}

TEST(LineReader, GivesLinesWithoutTheirEnds) {
  using namespace std::string_view_literals;  // for the NUL
  NumberTexts random(4);
  const TempFolder folder;
  for (int round = 0; round < 2000; ++round) {
    const std::string text = random.some("ab\r\n\0\r\n"sv, random.below(10));
    ASSERT_EQ(linesOf(folder.write("file", text)), expectedLines(text))
        << testing::PrintToString(text);
  }
}

TEST(LineReader, GivesLinesOfAnyLengthWhereverBlocksEnd) {
  NumberTexts random(5);
  const TempFolder folder;
  for (std::size_t power = 16; power <= 22; ++power) {
    // A line end within a few bytes of every size that a block may have, and random lines behind
    // it.
    for (std::size_t offset = 0; offset < 5; ++offset) {
      std::string text((std::size_t{1} << power) - offset, 'x');
      for (int part = 0; part < 40; ++part)
        text += random.some("\r\n", random.below(4)) + std::string(random.oneIn(8) ? 1 : 0, '\0') +
                std::string(random.below(random.oneIn(20) ? 200000 : 30), 'y');
      const std::string path = folder.write("file", text);
      ASSERT_TRUE(linesOf(path) == expectedLines(text)) << power << ' ' << offset;
    }
  }
}

TEST(LineReader, PiecesAreThoseOfFgets) {
  using namespace std::string_view_literals;
  constexpr std::size_t kMost = 7;
  NumberTexts random(6);
  const TempFolder folder;
  for (int round = 0; round < 500; ++round) {
    const std::string path =
        folder.write("file", random.some("abcd\r\n\0"sv, random.below(60)) +
                                 std::string(round % 50 == 0 ? LineReader::kBlockSize : 0, 'x'));
    LineReader reader(path);
    std::FILE* const file = std::fopen(path.c_str(), "r");
    char buffer[kMost + 1];
    std::string_view piece;
    for (;;) {
      std::fill_n(buffer, sizeof buffer, '\x7F');  // shows where fgets has put its NUL
      const bool isThere = std::fgets(buffer, sizeof buffer, file) != nullptr;
      ASSERT_EQ(reader.nextPiece(kMost, piece), isThere);
      if (!isThere) break;
      ASSERT_EQ(std::memcmp(piece.data(), buffer, piece.size()), 0);
      ASSERT_EQ(buffer[piece.size()], '\0');
    }
    std::fclose(file);
  }
}

TEST(LineReader, RewindsAFileAlwaysAndAPipeWithinItsFirstBlock) {
  const TempFolder folder;
  std::string text = "first\n\nthird\n";
  const auto expectFromStart = [](LineReader& reader) {
    std::string_view line;
    ASSERT_TRUE(reader.rewind());
    ASSERT_TRUE(reader.skip(2));
    ASSERT_TRUE(reader.next(line));
    EXPECT_EQ(line, "third");
    EXPECT_EQ(reader.place(), reader.path() + ", line 3");
    ASSERT_TRUE(reader.rewind());
    ASSERT_TRUE(reader.nextPiece(100, line));
    EXPECT_EQ(line, "first\n");
    ASSERT_TRUE(reader.rewind());
  };
  {
    const TestSupport::InputPipe pipe(folder / "short", text);
    LineReader reader(pipe);
    expectFromStart(reader);
    while (reader.skip(1)) {
    }
    expectFromStart(reader);
  }
  while (text.size() <= LineReader::kBlockSize) text += "a further line\n";
  LineReader file(folder.write("file", text));
  const TestSupport::InputPipe pipe(folder / "long", text);
  LineReader reader(pipe);
  for (LineReader* each : {&file, &reader}) {
    expectFromStart(*each);
    while (each->skip(1)) {
    }
  }
  expectFromStart(file);
  EXPECT_FALSE(reader.rewind());
  EXPECT_TRUE(reader.failed());
  EXPECT_NE(reader.failure().find("long: can't be read a second time"), std::string::npos);
}

TEST(LineReader, EndsAtAReadErrorForGood) {
  const TempFolder folder;
  const TestSupport::InputPipe pipe(folder / "pipe", "1\nhalf a line",
                                    TestSupport::InputPipe::End::kReadError);
  LineReader reader(pipe);
  std::string_view line;
  for (int pass = 0; pass < 2; ++pass) {
    ASSERT_TRUE(reader.next(line));
    EXPECT_EQ(line, "1");
    EXPECT_FALSE(reader.next(line)) << "half a line is none";
    EXPECT_EQ(reader.error(), EISDIR);
    EXPECT_EQ(reader.failure(), folder / "pipe: can't be read behind line 1: Is a directory");
    ASSERT_TRUE(reader.rewind());
  }
  ASSERT_TRUE(reader.nextPiece(10, line));
  EXPECT_FALSE(reader.nextPiece(100, line)) << "half a piece is none";
  EXPECT_EQ(LineReader(folder / "none").failure(),
            folder / "none: can't be opened: No such file or directory");
}

TEST(Quoted, ShowsControlCharactersAndCutsLongTexts) {
  EXPECT_EQ(Larder::Text::quoted("\x1b[2J \x7f\xC3\xA9"), "\"\\x1b[2J \\x7f\xC3\xA9\"");
  EXPECT_EQ(Larder::Text::quoted(std::string(41, 'x')), '"' + std::string(40, 'x') + "...\"");
}

}  // namespace
