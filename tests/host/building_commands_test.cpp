#include <algorithm>

#include "support/program_run.h"
#include <gtest/gtest.h>

namespace {

using TestSupport::ProgramRun;
using TestSupport::TempFolder;

TEST(BuildingCommands, HolesBecomeRingsOfTheirOwnAndBadRingsAreToldOf) {
  const TempFolder folder;
  folder.write("court.json", R"({
    "type": "CityJSON", "version": "2.0",
    "CityObjects": {"court": {"type": "Building", "geometry": [
      {"type": "MultiSurface", "lod": "1", "boundaries": [
        [[0, 1, 2, 3], [4, 5, 6, 7]], [[0, 1]], [[0, 1, 99]], [[8, 9, 10]]]}]}},
    "vertices": [[0, 0, 5], [9, 0, 5], [9, 9, 5], [0, 9, 5], [3, 3, 5], [6, 3, 5], [6, 6, 5],
                 [3, 6, 5], [0, 0, 8], [9, 0, 8], [9, 9, 8]]})");
  const auto run = [&folder](const std::vector<std::string>& arguments) {
    std::vector<std::string> words = {RECAST_PROGRAM};
    words.insert(words.end(), arguments.begin(), arguments.end());
    ProgramRun program(folder, words);
    EXPECT_EQ(program.exitCode(), 0) << program.errors();
    return program.output() + program.errors();
  };
  EXPECT_EQ(run({"import-cityjson", "--lod", "1", "-o", "prints.q8", "court.json"}),
            "court.json: 1 buildings and parts, 2 rings\n"
            "court.json: 1 rings are holes, and became rings of their own\n"
            "court.json: 2 rings are left out: too short, or of nonexistent vertices\n");
  run({"lod1", "-o", "blocks.q8", "prints.q8"});
  run({"export-obj", "blocks.q8", "blocks.obj"});
  const std::string surface = TestSupport::textOf(folder / "blocks.obj");
  EXPECT_EQ(std::count(surface.begin(), surface.end(), 'f'), 20) << surface;
}

}  // namespace
