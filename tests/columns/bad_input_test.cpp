#include "column_files.h"
#include "support/file_size_limit.h"
#include "support/input_pipe.h"
#include "support/program_run.h"
#include <gmock/gmock.h>

namespace {

using testing::Contains;
using testing::ElementsAre;
using TestSupport::ColumnConversion;
using TestSupport::InputPipe;
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
      {mark + "4;5\n", 4, mark + "4;5 at nr: 2", noValue(1, mark + "4", 0, "N") + marked},
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
    EXPECT_EQ(Recast::lastRunReport().failure, progress->messages[0]);
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

TEST(BadColumnText, FilesThatCannotBeOpenedOrReadOnAreFailures) {
  const struct {
    std::string file;
    std::string failure;  // behind the path
    std::vector<int> lines;
  } cases[] = {{"missing", ": can't be opened: No such file or directory", {}},
               {"folder", ": can't be opened: Is a directory", {}},
               {"unreadable", ": can't be read behind line 0: Input/output error", {}},
               {"pipe", ": can't be read behind line 2: Is a directory", {3, 4}}};
  for (const auto& bad : cases) {
    SCOPED_TRACE(bad.file);
    ColumnConversion run;
    const auto progress = Larder::makeStrong<RecordingProgress>();
    run.progress = progress;
    run.converter.addColumn("int", "N", {0});
    run.folder.write("a.txt", "1\n");
    std::filesystem::create_directory(run.folder / "folder");
    std::filesystem::create_symlink("/proc/self/mem", run.folder / "unreadable");
    const InputPipe pipe(run.folder / "pipe", "3\n4\n56", InputPipe::End::kReadError);
    ASSERT_EQ(run.convert({"a.txt"}), 0);
    EXPECT_EQ(run.convert({"a.txt", bad.file, "a.txt"}), 1);
    EXPECT_THAT(progress->messages, ElementsAre(run.folder / bad.file + bad.failure));
    EXPECT_EQ(Recast::lastRunReport().failure, progress->messages[0]);
    EXPECT_EQ(run.console.messages().size(), 1u) << "of the first run";
    EXPECT_THAT(run.values<int>("N", "a_0"), ElementsAre(1));
    EXPECT_EQ(run.values<int>("N", bad.file + "_1"), bad.lines) << "what was read is kept";
  }
}

TEST(BadColumnText, ARunWithoutAFragmentOrThatReadsItsOutputLeavesTheFormerFile) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.folder.write("good.txt", "1\n");
  run.folder.write("out.q8", "1\nformer");
  std::filesystem::create_hard_link(run.folder / "out.q8", run.folder / "link");
  EXPECT_EQ(run.convert({"missing.txt"}), 1);
  EXPECT_EQ(run.convert({"good.txt", "link"}), 4);
  EXPECT_EQ(TestSupport::textOf(run.folder / "out.q8"), "1\nformer");
  EXPECT_EQ(run.standardOutput.find(" file name " + run.folder / "good.txt" + "\n"), 0u);
}

TEST(BadColumnNames, TwoTypesOfOneNameAreRefusedAtTheStart) {
  ColumnConversion run;
  run.folder.write("out.q8", "former");
  EXPECT_EQ(run.converter.addColumn("float", "F", {0}), "");
  EXPECT_EQ(run.converter.addColumn("double", "F", {1}), "");
  EXPECT_EQ(run.convertText("1 2\n"), 5);
  EXPECT_EQ(Recast::lastRunReport().failure,
            run.folder / "out.q8: two columns are named \"F\" and have different types");
  EXPECT_EQ(TestSupport::textOf(run.folder / "out.q8"), "former");

  // Of one type the later one counts, of which the report has a notice.
  run.converter.DoubleColumns.clear();
  EXPECT_EQ(run.converter.addColumn("float", "F", {1}), "");
  EXPECT_EQ(run.convertText("1 2\n"), 0);
  EXPECT_THAT(run.values<float>("F"), ElementsAre(2.0F));
  EXPECT_THAT(Recast::lastRunReport().notices,
              ElementsAre(run.folder / "out.q8: two columns are named \"F\"; the values of the "
                                       "later one are kept"));
}

TEST(BadColumnOutput, ThatCannotBeBoundIsReportedAndLeavesNothing) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.folder.write("a.txt", "1\n");
  const auto files = TestSupport::stringList({run.folder / "a.txt"});
  for (const std::string& output : {run.folder / "no/such.q8", std::string()}) {
    EXPECT_EQ(run.converter.convertASCIIToQ8(files, output, 0, 0, nullptr, {}), 5);
    EXPECT_EQ(run.console.messages().back(),
              "!!!!!!!! ColumnAsciiToPointCloudQ8:: cannot bindtonew: " +
                  Recast::lastRunReport().failure);
  }
  EXPECT_THAT(run.folder.files(), ElementsAre("a.txt"));
}

TEST(BadColumnOutput, AFullDiskIsThrownAndTheFormerFileStays) {
  ColumnConversion run;
  run.converter.addColumn("point", "Positions", {0, 0, 0});
  ASSERT_EQ(run.convertText("1\n"), 0);
  std::string text;
  for (int i = 0; i < 200'000; ++i) text += "2\n";
  try {
    const TestSupport::FileSizeLimit full(rlim_t{1} << 20);
    run.convertText(text);
    ADD_FAILURE();
  } catch (const Quilt::StorageError& error) {
    EXPECT_EQ(Recast::lastRunReport().failure, error.what());
  }
  run.bundle = TestSupport::loadBundle(run.folder / "out.q8");
  EXPECT_EQ(run.values<Heron::PhysicalSpace::point>("Positions").size(), 1u);
  EXPECT_THAT(run.folder.files(), testing::Not(Contains("out.q8.partial")));
}

}  // namespace
