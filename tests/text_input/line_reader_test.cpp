#include "recast/text_input/line_reader.h"

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_folder.h"
#include "text_input/number_texts.h"
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

TEST(LineReader, SkipsLines) {
  const TempFolder folder;
  LineReader reader(folder.write("file", "1\n2\n3\n"));
  std::string_view line;
  EXPECT_TRUE(reader.skip(2));
  ASSERT_TRUE(reader.next(line));
  EXPECT_EQ(line, "3");
  EXPECT_EQ(reader.lineNumber(), 3u);
  EXPECT_FALSE(reader.skip(1));
}

TEST(LineReader, EndsAtAReadErrorAndTellsIt) {
  const TempFolder folder;
  const std::string path = folder.write("file", "1\n" + std::string(1'000'000, 'x') + "\n3\n");
  const int unreadable = open(folder.path().c_str(), O_RDONLY | O_DIRECTORY);
  const int readersDescriptor = dup(unreadable);
  close(readersDescriptor);  // so that the reader gets it
  LineReader reader(path);
  std::string_view line;
  ASSERT_TRUE(reader.next(line));
  EXPECT_FALSE(reader.failed());
  ASSERT_EQ(dup2(unreadable, readersDescriptor), readersDescriptor);
  close(unreadable);
  EXPECT_FALSE(reader.next(line)) << "half a line is none";
  EXPECT_TRUE(reader.failed());
  EXPECT_EQ(reader.error(), EISDIR);
  EXPECT_EQ(reader.failure(), "Is a directory");
}

}  // namespace
