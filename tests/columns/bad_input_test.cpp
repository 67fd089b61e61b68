#include <csignal>

#include "column_files.h"
#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

using testing::Contains;
using testing::ElementsAre;
using TestSupport::ColumnConversion;
using TestSupport::RecordingProgress;

std::string tooFew(int line, int columns) {
  return "line " + std::to_string(line) + ": has only " + std::to_string(columns) +
         " of the 2 columns that are needed";
}
std::string noValue(int line, const std::string& token, int position, const std::string& name) {
  return "line " + std::to_string(line) + ": has \"" + token + "\" at position " +
         std::to_string(position) + ", which is no value for \"" + name + "\"";
}

TEST(BadColumnText, EndsTheRunWithItsStatusAndKeepsTheFilesBefore) {
  const std::string nul(1, '\0');
  const std::string mark = "\xEF\xBB\xBF";
  const std::string marked = "; the file starts with a UTF-8 byte order mark";
  const struct {
    std::string text;
    int status;
    std::string message;  // on the console
    std::string reason;   // for the host
  } cases[] = {
      {"4;5\n\n6\n", 6, "6 at nr: 3", tooFew(3, 1)},
      {"4;5\n;;;\n", 6, ";;; at nr: 3", tooFew(2, 0)},
      {"x\n", 6, "x at nr: 2", tooFew(1, 1)},
      {"4;5\n6" + nul + ";7\n", 6, "6 at nr: 3", tooFew(2, 1)},
      {"4;5\r\n\r\n6;", 6, "6; at nr: 3", tooFew(3, 1)},
      {"4;word\n", 4, "4;word at nr: 2", noValue(1, "word", 1, "F")},
      {"2147483648;1\n", 4, "2147483648;1 at nr: 2", noValue(1, "2147483648", 0, "N")},
      {"x;y\n", 4, "x;y at nr: 2", noValue(1, "y", 1, "F")},  // floats come before ints
      {mark + "4;5\n", 4, mark + "4;5 at nr: 2" + marked, noValue(1, mark + "4", 0, "N") + marked},
      {"4;5\n" + mark + "6;7\n", 4, mark + "6;7 at nr: 3", noValue(2, mark + "6", 0, "N")},
  };
  for (const auto& bad : cases) {
    SCOPED_TRACE(bad.text);
    ColumnConversion run;
    const auto progress = Larder::makeStrong<RecordingProgress>();
    run.progress = progress;
    run.converter.Delimiter = ';';
    run.converter.addColumn("int", "N", {0});
    run.converter.addColumn("float", "F", {1});
    run.folder.write("good.txt", "1;2\n3;4\n");
    run.folder.write("bad.txt", bad.text);
    EXPECT_EQ(run.convert({"good.txt", "bad.txt", "never.txt"}), bad.status);
    EXPECT_THAT(run.fragments("N"), ElementsAre("good_0"));
    EXPECT_THAT(run.values<int>("N", "good_0"), ElementsAre(1, 3));
    EXPECT_EQ(run.console.messages().back(), "Bad line is: " + bad.message);
    EXPECT_THAT(progress->messages, ElementsAre(run.folder / "bad.txt" + ", " + bad.reason));
  }
}

TEST(BadColumnText, TheTokensOfAValueThatDoesNotConvertAreShown) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {1});
  EXPECT_EQ(run.convertText("a  b c\n"), 4);
  EXPECT_EQ(run.standardOutput, " file name " + run.folder / "in.txt" + "\nBad line at: \n");
  EXPECT_THAT(run.console.messages(),
              ElementsAre("-->a", "-->b", "-->c", "Bad line is: a  b c at nr: 0"));
}

TEST(BadColumnText, TextBehindANulIsNotSeen) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  using namespace std::string_literals;
  ASSERT_EQ(run.convertText("1\0 bad\n2 3\0\0\r\n4"s), 0);
  EXPECT_THAT(run.values<int>("N"), ElementsAre(1, 2, 4));
}

TEST(BadColumnText, FilesThatCannotBeReadAreToldOf) {
  ColumnConversion run;
  const auto progress = Larder::makeStrong<RecordingProgress>();
  run.progress = progress;
  run.converter.addColumn("int", "N", {0});
  run.folder.write("a.txt", "1\n");
  std::filesystem::create_directory(run.folder / "folder");
  std::filesystem::create_symlink("/proc/self/mem", run.folder / "unreadable");
  EXPECT_EQ(run.convert({"a.txt", "unreadable", "folder", "a.txt"}), 1);
  EXPECT_THAT(run.fragments("N"), ElementsAre("a_0"));
  EXPECT_EQ(run.convert({"missing.txt"}), 1);
  EXPECT_EQ(run.standardOutput, " file name " + run.folder / "missing.txt" + "\n");
  EXPECT_THAT(
      progress->messages,
      ElementsAre(run.folder / "folder" + ": can't be opened: Is a directory",
                  run.folder / "missing.txt" + ": can't be opened: No such file or directory"));
  EXPECT_THAT(
      run.console.messages(),
      ElementsAre(run.folder / "unreadable" + ": reading ended behind line 0: Input/output error"));
}

TEST(BadColumnOutput, ThatCannotBeBoundIsToldOfAndLeavesNothing) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.folder.write("a.txt", "1\n");
  const auto files = TestSupport::stringList({run.folder / "a.txt"});
  for (const std::string& output : {run.folder / "no/such.q8", std::string()})
    EXPECT_EQ(run.converter.convertASCIIToQ8(files, output, 0, 0, nullptr, {}), 5);
  EXPECT_EQ(run.console.count("!!!!!!!! ColumnAsciiToPointCloudQ8:: cannot bindtonew: "), 2u);
  EXPECT_THAT(run.folder.files(), ElementsAre("a.txt"));
}

TEST(BadColumnOutput, AFullDiskIsThrownAndTheFormerFileStays) {
  ColumnConversion run;
  run.converter.addColumn("point", "Positions", {0, 0, 0});
  ASSERT_EQ(run.convertText("1\n"), 0);
  std::string text;
  for (int i = 0; i < 200'000; ++i) text += "2\n";
  rlimit former{};
  getrlimit(RLIMIT_FSIZE, &former);
  const rlimit small{rlim_t{1} << 20, former.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW(run.convertText(text), Quilt::StorageError);
  setrlimit(RLIMIT_FSIZE, &former);
  run.bundle = TestSupport::loadBundle(run.folder / "out.q8");
  EXPECT_EQ(run.values<Heron::PhysicalSpace::point>("Positions").size(), 1u);
  EXPECT_THAT(run.folder.files(), testing::Not(Contains("out.q8.partial")));
}

}  // namespace
