#include <csignal>

#include "column_files.h"
#include <gmock/gmock.h>
#include <sys/resource.h>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::ColumnConversion;
using TestSupport::RecordingProgress;

struct BadFile {
  std::string name;
  std::string text;
  int status;
  std::string message;  // on the console; empty for none
  std::string reason;   // for the host
};

TEST(BadColumnText, EndsTheRunWithItsStatusAndKeepsTheFilesBefore) {
  const std::string nul(1, '\0');
  const std::string mark = "\xEF\xBB\xBF";
  const std::string marked = "; the file starts with a UTF-8 byte order mark";
  const BadFile cases[] = {
      {"short line", "4;5\n\n6\n", 6, "Bad line is: 6 at nr: 3",
       "line 3: has only 1 of the 2 columns that are needed"},
      {"delimiters alone", "4;5\n;;;\n", 6, "Bad line is: ;;; at nr: 3",
       "line 2: has only 0 of the 2 columns that are needed"},
      {"missing value", "4;;\n", 6, "Bad line is: 4;; at nr: 2",
       "line 1: has only 1 of the 2 columns that are needed"},
      {"short before bad", "x\n", 6, "Bad line is: x at nr: 2",
       "line 1: has only 1 of the 2 columns that are needed"},
      {"bad value", "4;word\n", 4, "Bad line is: 4;word at nr: 2",
       "line 1: has \"word\" at position 1, which is no value for \"F\""},
      {"out of range", "2147483648;1\n", 4, "Bad line is: 2147483648;1 at nr: 2",
       "line 1: has \"2147483648\" at position 0, which is no value for \"N\""},
      {"floats come before ints", "x;y\n", 4, "Bad line is: x;y at nr: 2",
       "line 1: has \"y\" at position 1, which is no value for \"F\""},
      {"NUL at the start", nul + "4;5\n", 6, "Bad line is:  at nr: 2",
       "line 1: has only 0 of the 2 columns that are needed"},
      {"NUL inside", "4;5\n6" + nul + ";7\n", 6, "Bad line is: 6 at nr: 3",
       "line 2: has only 1 of the 2 columns that are needed"},
      {"byte order mark", mark + "4;5\n", 4, "Bad line is: " + mark + "4;5 at nr: 2" + marked,
       "line 1: has \"" + mark + "4\" at position 0, which is no value for \"N\"" + marked},
      {"mark elsewhere", "4;5\n" + mark + "6;7\n", 4, "Bad line is: " + mark + "6;7 at nr: 3",
       "line 2: has \"" + mark + "6\" at position 0, which is no value for \"N\""},
      {"carriage returns", "4;5\r\n\r\n6\r\n", 6, "Bad line is: 6 at nr: 3",
       "line 3: has only 1 of the 2 columns that are needed"},
      {"no last line end", "4;5\n6;", 6, "Bad line is: 6; at nr: 3",
       "line 2: has only 1 of the 2 columns that are needed"},
  };
  for (const BadFile& bad : cases) {
    SCOPED_TRACE(bad.name);
    ColumnConversion run;
    const auto progress = Larder::makeStrong<RecordingProgress>();
    run.progress = progress;
    run.converter.Delimiter = ';';
    run.converter.addColumn("int", "N", {0});
    run.converter.addColumn("float", "F", {1});
    run.folder.write("good.txt", "1;2\n3;4\n");
    run.folder.write("bad.txt", bad.text);
    run.folder.write("never.txt", "5;6\n");
    EXPECT_EQ(run.convert({"good.txt", "bad.txt", "never.txt"}), bad.status);
    EXPECT_THAT(run.fragments("N"), ElementsAre("good_0"));
    EXPECT_THAT(run.values<int>("N", "good_0"), ElementsAre(1, 3));
    EXPECT_EQ(run.console.messages().back(), bad.message);
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

TEST(BadColumnText, LinesOfAnyLengthAreRead) {
  ColumnConversion run;
  const std::string longLine =
      std::string(3'000'000, ' ') + "5" + std::string(2'000'000, ' ') + std::string(3'000'000, '7');
  run.converter.addColumn("int", "N", {0});
  run.converter.addColumn("double", "Huge", {1});
  EXPECT_EQ(run.convertText("1 2\n" + longLine + "\n3 4\n"), 4) << "a number out of range";
  EXPECT_EQ(run.console.messages().back(), "Bad line is: " + longLine + " at nr: 1");
  run.converter.DoubleColumns[0].Columns = {0};
  ASSERT_EQ(run.convertText("1 2\n" + longLine + "\n3 4"), 0);
  EXPECT_THAT(run.values<int>("N"), ElementsAre(1, 5, 3));
}

TEST(BadColumnText, FilesThatCannotBeReadAreToldOfByTheHost) {
  ColumnConversion run;
  const auto progress = Larder::makeStrong<RecordingProgress>();
  run.progress = progress;
  run.converter.addColumn("int", "N", {0});
  run.folder.write("a.txt", "1\n");
  std::filesystem::create_directory(run.folder / "folder");
  EXPECT_EQ(run.convert({"missing.txt"}), 1);
  EXPECT_EQ(run.standardOutput, " file name " + run.folder / "missing.txt" + "\n");
  EXPECT_EQ(run.convert({"a.txt", "folder", "a.txt"}), 1);
  EXPECT_THAT(run.fragments("N"), ElementsAre("a_0"));
  EXPECT_THAT(
      progress->messages,
      ElementsAre(run.folder / "missing.txt" + ": can't be opened: No such file or directory",
                  run.folder / "folder" + ": can't be opened: Is a directory"));
  EXPECT_THAT(run.console.messages(), IsEmpty());
}

TEST(BadColumnText, AReadErrorEndsTheFileAndIsToldOf) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  std::filesystem::create_symlink("/proc/self/mem", run.folder / "unreadable");
  EXPECT_EQ(run.convert({"unreadable"}), 0);
  EXPECT_TRUE(run.console.contains("unreadable: reading ended behind line 0: Input/output error"));
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
  run.folder.write("many.txt", text);
  const rlimit former = [] {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    return limit;
  }();
  const rlimit small{rlim_t{1} << 20, former.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_THROW(run.convert({"many.txt"}), Quilt::StorageError);
  setrlimit(RLIMIT_FSIZE, &former);
  run.bundle = TestSupport::loadBundle(run.folder / "out.q8");
  EXPECT_EQ(run.values<Heron::PhysicalSpace::point>("Positions").size(), 1u);
  EXPECT_THAT(run.folder.files(), testing::Not(Contains("out.q8.partial")));
}

}  // namespace
