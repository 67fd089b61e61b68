#include "recast/text_input/line_reader.h"

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "support/temp_folder.h"
#include "text_input/number_texts.h"
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Larder::Text::LineReader;
using TestSupport::TempFolder;

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& path) {
  LineReader reader(path);
  EXPECT_TRUE(reader.isOpen()) << reader.reason();
  Lines lines;
  for (std::string_view line; reader.next(line);) {
    lines.emplace_back(line);
    EXPECT_EQ(reader.lineNumber(), lines.size());
  }
  EXPECT_FALSE(reader.failed()) << reader.reason();
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
  const TempFolder folder;
  const auto lines = [&](const std::string& text) { return linesOf(folder.write("file", text)); };
  EXPECT_EQ(lines(""), Lines{});
  EXPECT_EQ(lines("\n"), Lines{""});
  EXPECT_EQ(lines("\r\n"), Lines{""});
  EXPECT_EQ(lines("\r"), Lines{""});
  EXPECT_EQ(lines("a\nb"), (Lines{"a", "b"}));
  EXPECT_EQ(lines("a\r\nb\r\n"), (Lines{"a", "b"}));
  EXPECT_EQ(lines("a\r\n\r\nb\r"), (Lines{"a", "", "b"}));
  EXPECT_EQ(lines("a\rb\r\r\n"), (Lines{"a\rb\r"}));
  EXPECT_EQ(lines(std::string("a\0b\n\0\n", 6)),
            (Lines{std::string("a\0b", 3), std::string(1, '\0')}));
}

TEST(LineReader, GivesLinesOfAnyLengthWhereverBlocksEnd) {
  constexpr std::uint64_t kSeed = 5;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  NumberTexts random(kSeed);
  const TempFolder folder;
  for (std::size_t power = 16; power <= 22; ++power) {
    // A line end within a few bytes of every size that a block may have, and random lines behind
    // it.
    for (std::size_t offset = 0; offset < 5; ++offset) {
      std::string text((std::size_t{1} << power) - offset, 'x');
      for (int part = 0; part < 40; ++part)
        text += random.some("\r\n", random.below(4)) +
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
  EXPECT_TRUE(reader.skip(0));
  EXPECT_FALSE(reader.skip(1));
}

TEST(LineReader, TellsWhatCannotBeOpened) {
  const TempFolder folder;
  const std::string locked = folder.write("locked", "1\n");
  chmod(locked.c_str(), 0);
  std::vector<std::pair<std::string, int>> cases = {{folder / "missing", ENOENT},
                                                    {folder.path().string(), EISDIR}};
  if (geteuid() != 0) cases.emplace_back(locked, EACCES);  // root may read all
  for (const auto& [path, error] : cases) {
    LineReader reader(path);
    std::string_view line;
    EXPECT_FALSE(reader.isOpen()) << path;
    EXPECT_TRUE(reader.failed()) << path;
    EXPECT_EQ(reader.error(), error) << path;
    EXPECT_FALSE(reader.reason().empty()) << path;
    EXPECT_FALSE(reader.next(line)) << path;
  }
}

/// The list of a child process's mappings, a file that can't be read on once the child has ended.
class FadingFile {
 public:
  FadingFile() : pages_(mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    // Every second page differs, so that each has a line: more than one reading gives.
    for (std::size_t at = 0; at < kSize; at += 2 * kPage)
      mprotect(static_cast<char*>(pages_) + at, kPage, PROT_NONE);
    child_ = fork();
    if (child_ == 0) prctl(PR_SET_PDEATHSIG, SIGKILL);
    while (child_ == 0) pause();
  }
  ~FadingFile() {
    end();
    munmap(pages_, kSize);
  }
  std::string path() const { return "/proc/" + std::to_string(child_) + "/maps"; }
  void end() {
    if (child_ > 0) {
      kill(child_, SIGKILL);
      waitpid(child_, nullptr, 0);
    }
    child_ = -1;
  }

 private:
  static constexpr std::size_t kPage = 4096;
  static constexpr std::size_t kSize = 2000 * kPage;
  void* pages_;
  pid_t child_;
};

TEST(LineReader, EndsAtAReadErrorAndTellsIt) {
  FadingFile file;
  LineReader reader(file.path());
  std::string_view line;
  ASSERT_TRUE(reader.next(line));
  EXPECT_FALSE(reader.failed());
  file.end();
  while (reader.next(line)) EXPECT_NE(line, "");
  if (!reader.failed()) GTEST_SKIP() << "This system has no file that fails in the middle";
  EXPECT_EQ(reader.error(), ESRCH);
  EXPECT_EQ(reader.reason(), "No such process");
  EXPECT_FALSE(reader.next(line));
}

}  // namespace
