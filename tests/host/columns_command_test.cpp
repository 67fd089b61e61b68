#include <csignal>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/program_run.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using TestSupport::ProgramRun;
using TestSupport::TempFolder;

std::vector<std::string> columns(std::vector<std::string> words) {
  words.insert(words.begin(), {RECAST_PROGRAM, "columns"});
  return words;
}

TEST(ColumnsCommand, ConvertsFilesWithAllItsOptions) {
  const TempFolder folder;
  folder.write("a.txt", "head\n1;2;3;40000;r\n4;5;6;-1;r\n");
  folder.write("b.txt", "head\n7;8;9;1;r\n10;11;12;2;r\n");
  ProgramRun run(folder, columns({"--column=point:Positions:0,1,2", "-c", "ushort:a:b:3",
                                  "--grid=Scan", "--delimiter=;", "--header-lines=1", "--start=1",
                                  "--stop=3", "--compression=1", "--epsg=25832", "--stripes", "-o",
                                  "out.q8", "a.txt", "b.txt"}));
  ASSERT_EQ(run.exitCode(), 0) << run.errors();
  const auto bundle = TestSupport::loadBundle(folder / "out.q8");
  const auto number = TestSupport::findField(*bundle, "Scan", "a:b");
  EXPECT_THAT(TestSupport::fragmentValues<unsigned short>(number, "a_0"),
              testing::ElementsAre(65535));
  EXPECT_THAT(TestSupport::fragmentValues<unsigned short>(number, "b_1"), testing::ElementsAre(1));
  EXPECT_TRUE(TestSupport::findField(*bundle, "Scan", "StripeInfoID"));
  const auto grid = (*(*bundle)(0.0))("Scan");
  EXPECT_EQ((*grid->getAttribute("EPSG").castTo<Larder::Chunk<int>>())[0], 25832);
  EXPECT_THAT((*grid->getAttribute("AsciiToQ8").castTo<Larder::Chunk<std::string>>())[0],
              HasSubstr("Parse string: point:Positions:0,1,2 ushort:a:b:3\n"));
}

TEST(ColumnsCommand, EndsWithTheStatusAndOneSentence) {
  const struct {
    std::vector<std::string> words;
    int code;
    std::string sentence;
  } cases[] = {
      {{"-c", "int:N:1", "-o", "out.q8", "good.txt"},
       4,
       "recast: good.txt, line 1: has \"x\" at position 1, which is no value for \"N\"\n"},
      {{"-c", "number:N:0", "-o", "out.q8", "good.txt"},
       64,
       "recast: --column: type not supported: number; types are point, vector, double, float, int, "
       "uchar, ushort, uint, rgb\n"},
      {{"-c", "point:P:0,1,1,1", "-o", "out.q8", "good.txt"},
       64,
       "takes at most three positions\n"},
  };
  for (const auto& [words, code, sentence] : cases) {
    const TempFolder folder;
    folder.write("good.txt", "1 x\n");
    ProgramRun run(folder, columns(words));
    EXPECT_EQ(run.exitCode(), code);
    EXPECT_THAT(run.errors(), HasSubstr(sentence));
  }
}

TEST(ColumnsCommand, CtrlCStopsItWithAWholeFileOfWhatWasSaved) {
  const TempFolder folder;
  folder.write("a.txt", "1\n2\n");
  ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
  ProgramRun run(folder, columns({"-c", "int:N:0", "-o", "out.q8", "a.txt", "pipe"}));
  {
    std::ofstream pipe(folder / "pipe");  // opens when the run has come to the second file
    run.signal(SIGINT);
    pipe << "3\n";
  }
  EXPECT_EQ(run.exitCode(), 7);
  EXPECT_THAT(run.errors(), HasSubstr("recast: interrupted; out.q8 has what was saved"));
  const auto bundle = TestSupport::loadBundle(folder / "out.q8");
  ASSERT_TRUE(bundle);
  const auto field = TestSupport::findField(*bundle, "Points", "N");
  EXPECT_THAT(TestSupport::fragmentValues<int>(field, "a_0"), testing::ElementsAre(1, 2));
  EXPECT_FALSE(field->getCreatorByName("pipe_1"));
}

TEST(ColumnsCommand, PreviewShowsTokensWithTheirPositions) {
  const TempFolder folder;
  folder.write("a.txt", "\xEF\xBB\xBFx,y\r\n\r\n1,,2\t3\r\n" + std::string(60, '7'));
  ProgramRun run(folder, columns({"--preview", "a.txt", "--delimiter", ","}));
  EXPECT_EQ(run.exitCode(), 0);
  EXPECT_EQ(run.output(),
            "The file starts with a UTF-8 byte order mark, which belongs to its first token.\n"
            "line 1:  [0] \xEF\xBB\xBFx  [1] y\nline 3:  [0] 1  [1] 2\\t3\nline 4:  [0] " +
                std::string(40, '7') + "...\n");
  ProgramRun other(folder, columns({"--preview", "a.txt", "--header-lines", "1"}));
  EXPECT_EQ(other.exitCode(), 0);
  EXPECT_THAT(other.output(), EndsWith("is the delimiter the right one?\n"));
}

}  // namespace
