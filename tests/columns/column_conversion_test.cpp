#include "column_files.h"
#include "support/input_pipe.h"
#include "support/program_run.h"
#include <gmock/gmock.h>

namespace {

using Heron::PhysicalSpace;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using TestSupport::ColumnConversion;
using TestSupport::RecordingProgress;

TEST(ColumnConversion, LinesBecomeOneFragmentOfEveryField) {
  ColumnConversion run;
  run.converter.HeaderLines = 1;
  run.converter.StopReadingAt = 18446744073709551615U;
  run.converter.GridName = "Scan";
  run.converter.ParseString = "x y z i";
  run.converter.addColumn("point", "Positions", {0, 1, 2});
  run.converter.addColumn("float", "Intensity", {3});
  run.folder.write("scan1.txt", "x y z i\n1 2 3 0.5\n4.5 5 6 1\n\n7 8 9e1 -2 more\n");
  ASSERT_EQ(run.convert({"scan1.txt"}), 0);
  EXPECT_THAT(run.fragments("Positions"), ElementsAre("scan1_0"));
  EXPECT_THAT(run.values<PhysicalSpace::point>("Positions", "scan1_0"),
              ElementsAre(PhysicalSpace::point(1, 2, 3), PhysicalSpace::point(4.5, 5, 6),
                          PhysicalSpace::point(7, 8, 90)));
  EXPECT_THAT(run.values<float>("Intensity", "scan1_0"), ElementsAre(0.5F, 1.0F, -2.0F));
  const auto grid = run.grid();
  EXPECT_EQ(grid->getAttribute("EPSG").castTo<Larder::Chunk<int>>()->base_vector(),
            std::vector<int>{4711});
  const auto text = grid->getAttribute("AsciiToQ8").castTo<Larder::Chunk<std::string>>();
  ASSERT_TRUE(text);
  EXPECT_EQ((*text)[0],
            "Parse string: x y z i\nHeader lines: 1\nDelimiter:  \n"
            "StopReadingAt: 18446744073709551615\nStartReadingAt: 0\n");
  EXPECT_EQ(run.standardOutput, " file name " + run.folder / "scan1.txt" + "\n");
  EXPECT_THAT(run.console.messages(), ElementsAre("Done ASCIItoQ8: Elapsed time: 0s\n"));
}

TEST(ColumnConversion, AllNineTypesLandInFieldsOfTheirType) {
  ColumnConversion run;
  const char* const types[] = {"point", "vector", "double", "float", "int",
                               "uchar", "ushort", "uint",   "rgb"};
  for (const char* type : types) run.converter.addColumn(type, type, {1});
  ASSERT_EQ(run.convertText("x 300\n"), 0);
  EXPECT_THAT(run.values<PhysicalSpace::point>("point"),
              ElementsAre(PhysicalSpace::point(300, 0, 0)));
  EXPECT_THAT(run.values<PhysicalSpace::vector>("vector"),
              ElementsAre(PhysicalSpace::vector(300, 0, 0)));
  EXPECT_THAT(run.values<double>("double"), ElementsAre(300.0));
  EXPECT_THAT(run.values<float>("float"), ElementsAre(300.0F));
  EXPECT_THAT(run.values<int>("int"), ElementsAre(300));
  EXPECT_THAT(run.values<unsigned char>("uchar"), ElementsAre(44));
  EXPECT_THAT(run.values<unsigned short>("ushort"), ElementsAre(300));
  EXPECT_THAT(run.values<unsigned int>("uint"), ElementsAre(300));
  EXPECT_THAT(run.values<Heron::Colour>("rgb"), ElementsAre(Heron::Colour(44, 0, 0)));
}

TEST(ColumnConversion, OnlyPointColumnsArePositionsCellSizedAndBoxed) {
  ColumnConversion run;
  run.converter.addColumn("point", "my positions 2", {0, 1, 2});
  run.converter.addColumn("point", "Other", {2, 1, 0});
  run.converter.addColumn("vector", "positions", {0, 1, 2});
  ASSERT_EQ(run.convertText("1 2 3\n-4 5 6\n"), 0);
  EXPECT_EQ(run.converter.PointColumns[0].Name, "Positions");
  EXPECT_TRUE(run.grid()->CartesianPositions());
  for (const char* name : {"Positions", "Other"}) {
    const auto creator = run.field(name)->getCreatorByName("in_0");
    const auto size = creator->getAttribute("CellSize").castTo<Larder::Chunk<double>>();
    ASSERT_TRUE(size) << name;
    EXPECT_THAT(size->base_vector(), ElementsAre(-1.0));
    EXPECT_EQ(creator->extent().kind, Quilt::DataExtent::Kind::Box) << name;
  }
  EXPECT_EQ(run.field("Positions")->getCreatorByName("in_0")->extent().minimum[0], -4.0);
  EXPECT_FALSE(run.field("positions")->getCreatorByName("in_0")->getAttribute("CellSize"));
}

TEST(ColumnConversion, FragmentNumbersCountOnOverFilesWithLines) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.converter.HeaderLines = 1;
  run.folder.write("sub/a.b.txt", "h\n1\n2\n");
  run.folder.write("empty.txt", "");
  run.folder.write("header.txt", "h");
  run.folder.write("blank.txt", "h\n\n\r\n\n");
  run.folder.write("c.txt", "h\n3");
  ASSERT_EQ(run.convert({"sub/a.b.txt", "empty.txt", "header.txt", "blank.txt", "c.txt"}), 0);
  EXPECT_THAT(run.fragments("N"), ElementsAre("a.b_0", "c_1"));
  EXPECT_THAT(run.values<int>("N", "a.b_0"), ElementsAre(1, 2));
  EXPECT_THAT(run.values<int>("N", "c_1"), ElementsAre(3));
}

TEST(ColumnConversion, StartAndStopCountTheLinesOfAllFiles) {
  using Values = std::vector<int>;
  const struct {
    std::uint64_t start, stop;
    std::map<std::string, Values> fragments;
  } cases[] = {{0, 6, {{"a_0", {0, 1, 2}}, {"b_1", {3, 4, 5}}}},
               {1, 5, {{"a_0", {1, 2}}, {"b_1", {3, 4}}}},
               {4, 5, {{"b_0", {4}}}},
               {0, 2, {{"a_0", {0, 1}}}},
               {2, 2, {}},
               {9, 99, {}}};
  for (const auto& [start, stop, expected] : cases) {
    SCOPED_TRACE(std::to_string(start) + " to " + std::to_string(stop));
    ColumnConversion run;
    run.converter.addColumn("int", "N", {0});
    run.converter.StartReadingAt = start;
    run.converter.StopReadingAt = stop;
    run.folder.write("a.txt", "0\n\n1\n2\n");
    run.folder.write("b.txt", "3\n4\n\n5\nbad, and never parsed\n");
    ASSERT_EQ(run.convert({"a.txt", "b.txt"}), 0);
    std::map<std::string, Values> found;
    for (const auto& name : run.fragments("N")) found[name] = run.values<int>("N", name);
    EXPECT_EQ(found, expected);
  }
}

TEST(ColumnConversion, WithoutFilesThereIsAGridWithoutFields) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  ASSERT_EQ(run.convert({}), 0);
  ASSERT_TRUE(run.grid());
  EXPECT_TRUE(run.grid()->getAttribute("EPSG"));
  EXPECT_FALSE(run.field("N"));
}

TEST(ColumnConversion, StripesNumberTheFilesAndListThem) {
  ColumnConversion run;
  std::filesystem::current_path(run.folder.path());
  run.converter.addColumn("int", "N", {0});
  run.converter.DoStripeList = true;
  run.converter.StopReadingAt = 3;
  run.folder.write("a.txt", "1\n2\n");
  run.folder.write("b.txt", "3\n4\n");
  run.folder.write("c.txt", "5\n");
  ASSERT_EQ(run.convert({"a.txt", "b.txt", "c.txt"}), 0);
  EXPECT_THAT(run.values<unsigned short>("StripeInfoID", "a_0"), ElementsAre(0, 0));
  EXPECT_THAT(run.values<unsigned short>("StripeInfoID", "b_1"), ElementsAre(1));
  const auto list = [&run] { return TestSupport::textOf(run.folder / "StripeInfoID.zrk"); };
  const std::string once =
      run.folder / "a.txt" + " 0\n" + run.folder / "b.txt" + " 1\n" + run.folder / "c.txt" + " 2\n";
  EXPECT_EQ(list(), once) << "also for files without lines to read";
  // A file that can't be opened isn't listed; a second run has two such columns.
  EXPECT_EQ(run.convert({"missing.txt"}), 1);
  EXPECT_EQ(list(), once);
  EXPECT_EQ(run.converter.UShortColumns.size(), 2u);
  EXPECT_TRUE(run.converter.createOutString().ends_with("\nDoStripeList \n"));
}

TEST(ColumnConversion, PipesAreReadOnce) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.converter.HeaderLines = 1;
  std::string text = "header\n";
  std::vector<int> values(100'000);
  for (int& value : values) {
    value = static_cast<int>(&value - values.data());
    text += std::to_string(value) + "\n";
  }
  const TestSupport::InputPipe pipe(run.folder / "pipe", text);
  ASSERT_EQ(run.convert({"pipe"}), 0);
  EXPECT_EQ(run.values<int>("N", "pipe_0"), values);
}

TEST(ColumnProgress, ReportsEveryLineOfFewAndEveryThousandthPartOfMany) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  const auto progress = Larder::makeStrong<RecordingProgress>();
  run.progress = progress;
  // Five bytes a line, and a tenth on top: the estimate is 5500 of one file, 11000 of two.
  std::string text;
  for (int i = 0; i < 5000; ++i) text += std::to_string(1000 + i) + "\n";
  run.folder.write("a.txt", text);
  run.folder.write("b.txt", text.substr(0, 5000));
  ASSERT_EQ(run.convert({"a.txt", "b.txt"}), 0);
  ASSERT_EQ(progress->reports.size(), 546u);
  for (std::size_t i = 0; i < progress->reports.size(); ++i)
    ASSERT_EQ(progress->reports[i],
              (RecordingProgress::Report{"Read line nr.:", static_cast<int>(11 * i), 11000}));

  progress->reports.clear();
  ASSERT_EQ(run.convertText("1\n2\n\n3"), 0);
  const std::vector<RecordingProgress::Report> few = {
      {"Read line nr.:", 0, 3}, {"Read line nr.:", 1, 3}, {"Read line nr.:", 2, 3}};
  EXPECT_EQ(progress->reports, few);
  EXPECT_THAT(progress->messages, IsEmpty());
}

TEST(ColumnProgress, StoppingDropsTheRunningBlockAndKeepsTheFilesBefore) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  const auto progress = Larder::makeStrong<RecordingProgress>();
  progress->stopAt = 3;
  run.progress = progress;
  run.folder.write("a.txt", "1\n2\n");
  run.folder.write("b.txt", "3\nnever parsed\n");
  EXPECT_EQ(run.convert({"a.txt", "b.txt"}), 7);
  EXPECT_THAT(run.fragments("N"), ElementsAre("a_0"));

  progress->reports.clear();
  progress->stopAt = 0;
  EXPECT_EQ(run.convertText("not parsed either\n"), 7) << "asked before the first line";
  EXPECT_THAT(run.fragments("N"), ElementsAre("a_0")) << "nothing was stored in its place";
  EXPECT_EQ(Recast::lastRunReport().failure,
            run.folder / "in.txt, line 1: the run was stopped before this line");
}

TEST(ColumnManipulate, TheHookMayReplaceRenameAndLeaveOut) {
  ColumnConversion run;
  run.converter.addColumn("int", "Kept", {0});
  run.converter.addColumn("int", "Doubled", {0});
  run.converter.addColumn("int", "Dropped", {0});
  run.converter.addColumn("int", "Renamed", {0});
  std::vector<std::string> files;
  run.manipulate = [&files](Quilt::MemBase& array, std::string& name, Quilt::Field&,
                            std::string file) -> Quilt::MemBaseHandle {
    files.push_back(file);
    const Quilt::MemBaseHandle same(&array);
    if (name == "Dropped") return nullptr;
    if (name == "Renamed") name = "Later";
    if (name != "Doubled") return same;
    const auto values = array.getChunk().castTo<Larder::Chunk<int>>();
    const auto doubled = Larder::makeStrong<Larder::Chunk<int>>(values->base_vector());
    for (int& value : *doubled) value *= 2;
    return Quilt::MemBaseHandle(
        new Quilt::MemArray<1, int>(doubled, Quilt::MultiIndex<1>(doubled->size()), nullptr));
  };
  run.folder.write("a.txt", "1\n2\n");
  run.folder.write("b.txt", "3\n");
  ASSERT_EQ(run.convert({"a.txt", "b.txt"}), 0);
  EXPECT_THAT(run.values<int>("Kept", "a_0"), ElementsAre(1, 2));
  EXPECT_THAT(run.values<int>("Doubled", "b_1"), ElementsAre(6));
  EXPECT_THAT(run.fragments("Dropped"), IsEmpty());
  EXPECT_THAT(run.fragments("Renamed"), ElementsAre("a_0"));
  EXPECT_THAT(run.fragments("Later"), ElementsAre("b_1"));
  EXPECT_EQ(files.size(), 8u);
  EXPECT_EQ(files.front(), run.folder / "a.txt");
  EXPECT_EQ(run.console.count("convertASCIItoQ8: Warning! Can not save FieldName within "
                              "manipulate-lambdafunc: Dropped"),
            2u);
}

TEST(ColumnManipulate, WhatTheHookThrowsReachesTheCallerAndTheFileIsWhole) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.manipulate = [](Quilt::MemBase& array, std::string&, Quilt::Field&,
                      std::string file) -> Quilt::MemBaseHandle {
    if (file.ends_with("b.txt")) throw std::runtime_error("enough");
    return Quilt::MemBaseHandle(&array);
  };
  run.folder.write("a.txt", "1\n");
  run.folder.write("b.txt", "2\n");
  EXPECT_THROW(run.convert({"a.txt", "b.txt"}), std::runtime_error);
  run.bundle = TestSupport::loadBundle(run.folder / "out.q8");
  EXPECT_THAT(run.values<int>("N", "a_0"), ElementsAre(1));
}

TEST(ColumnManipulate, AColumnThatLosesItsValuesEndsTheRun) {
  ColumnConversion run;
  run.converter.addColumn("int", "N", {0});
  run.converter.addColumn("float", "F", {0});
  run.manipulate = [&run](Quilt::MemBase& array, std::string& name, Quilt::Field&,
                          std::string) -> Quilt::MemBaseHandle {
    if (name == "F") run.converter.IntColumns[0].Data->clear();
    return Quilt::MemBaseHandle(&array);
  };
  EXPECT_EQ(run.convertText("1\n2\n"), 5);
  EXPECT_THAT(run.values<float>("F"), ElementsAre(1.0F, 2.0F));
  EXPECT_THAT(run.fragments("N"), IsEmpty());
}

}  // namespace
