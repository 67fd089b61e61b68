#include <map>
#include <set>
#include <sstream>

#include "support/bundles.h"
#include "support/program_run.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using TestSupport::ProgramRun;
using TestSupport::TempFolder;
using TestSupport::textOf;
using Words = std::vector<std::string>;

constexpr int kUsage = 64;
constexpr int kBadInput = 65;
constexpr int kNoInput = 66;
constexpr int kOutputFailed = 73;
constexpr int kStandardOutputFailed = 74;

Words operator+(Words a, const Words& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// A folder with an input of each kind, all made once.
class Samples : public TempFolder {
 public:
  Samples() {
    write("a.asc", raster(0));
    write("b.asc", raster(8));
    write("scan.txt", "1 2 3 10\n2 3 4 20\n3 4 5 30\n");
    write("more.txt", "4 5 6 40\n5 6 7 50\n");
    write("house.json", kHouse);
    write("barn.json", kHouse);
    make({"columns", "-c", "point:Positions:0,1,2", "-c", "float:Intensity:3", "-o", "scan.q8",
          "scan.txt"});
    make({"columns", "-c", "point:Positions:0,1,2", "-c", "float:Intensity:3", "-o", "more.q8",
          "more.txt"});
    make({"grid", "-o", "tiles.q8", "a.asc"});
    make({"grid", "-o", "tiles2.q8", "b.asc"});
    make({"contours", "--step", "1", "-o", "lines.q8", "tiles.q8"});
    make({"import-cityjson", "--lod", "1", "-o", "prints.q8", "house.json"});
    make({"import-cityjson", "--lod", "1", "-o", "prints2.q8", "barn.json"});
    make({"import-cityjson", "--lod", "2", "-o", "shells.q8", "house.json"});
    make({"import-cityjson", "--lod", "2", "-o", "shells2.q8", "barn.json"});
    make({"lod1", "-o", "blocks.q8", "prints.q8"});
  }

  ProgramRun run(const Words& words) const {
    return ProgramRun(*this, Words{RECAST_PROGRAM} + words);
  }
  /// What a run prints.
  std::string outputOf(const Words& words) const {
    auto ended = run(words);
    EXPECT_EQ(ended.exitCode(), 0) << testing::PrintToString(words) << ended.errors();
    return ended.output();
  }
  /// Runs a line of the shell, in which $0 is the program.
  ProgramRun shell(const std::string& line) const {
    return ProgramRun(*this, {"/bin/sh", "-c", line, RECAST_PROGRAM});
  }
  void make(const Words& words) const {
    auto ended = run(words);
    ASSERT_EQ(ended.exitCode(), 0) << words[0] << ": " << ended.errors();
  }

 private:
  static constexpr const char* kHouse = R"({"type": "CityJSON", "version": "2.0",
    "CityObjects": {"h": {"type": "Building", "geometry": [
      {"type": "MultiSurface", "lod": "1", "boundaries": [[[0, 1, 2]]]},
      {"type": "MultiSurface", "lod": "2", "boundaries": [[[0, 1, 2]], [[0, 1, 3]]]}]}},
    "vertices": [[0, 0, 5], [9, 0, 5], [9, 9, 5], [3, 3, 8]]})";

  static std::string raster(int x) {
    return "ncols 4\nnrows 3\nxllcorner " + std::to_string(x) +
           "\nyllcorner 0\ncellsize 2\n1 2 3 4\n2 3 4 6\n1 -9999 4 8\n";
  }
};

/// A command on two files of its kind, where it takes two.
struct Row {
  const char* name;
  Words base;  ///< options that it needs
  Words inputs;
  bool isExport = false;
  /// Each of its options but for -o, --quiet and --help, with a value; flags have none.
  std::vector<Words> options = {};

  bool writes() const { return name != std::string("info") && name != std::string("verify"); }
  /// The command with all that it needs, and more options directly before the files.
  Words words(const Words& more, const Words& files, const std::string& output) const {
    const Words start = Words{name} + base;
    if (!writes()) return start + more + files;
    if (isExport) return start + more + files + Words{output};
    return start + Words{"-o", output} + more + files;
  }
};

const std::vector<Row>& rows() {
  static const std::vector<Row> table = {
      {"raster", {}, {"a.asc", "b.asc"}, false, {{"--uniform-grid", "u"}, {"--point-grid", "p"}}},
      {"terrain",
       {},
       {"a.asc", "b.asc"},
       false,
       {{"--uniform-grid", "u"}, {"--point-grid", "p"}, {"--append"}}},
      {"columns",
       {"-c", "point:Positions:0,1,2"},
       {"scan.txt", "more.txt"},
       false,
       {{"--column", "float:I:3"},
        {"--grid", "g"},
        {"--delimiter", "space"},
        {"--header-lines", "1"},
        {"--start", "1"},
        {"--stop", "4"},
        {"--compression", "-1"},
        {"--epsg", "25832"},
        {"--stripes"}}},
      {"import-cityjson",
       {"--lod", "2"},
       {"house.json", "barn.json"},
       false,
       {{"--lod", "1"}, {"--grid", "g"}}},
      {"lod1", {}, {"prints.q8", "prints2.q8"}, false, {{"--grid", "g"}}},
      {"lod2", {}, {"shells.q8", "shells2.q8"}, false, {{"--grid", "g"}}},
      {"grid",
       {},
       {"a.asc", "b.asc"},
       false,
       {{"--grid", "g"}, {"--cell-type-field"}, {"--no-cell-type-field"}}},
      {"contours",
       {"--step", "1"},
       {"tiles.q8", "tiles2.q8"},
       false,
       {{"--step", "2"},
        {"--grid", "Terrain"},
        {"--field", "Elevation"},
        {"--slice-field", "Elevation"},
        {"--range", "1.5:4"},
        {"--border-only"},
        {"--heights-from-field"}}},
      {"refragment",
       {"--fragment-length", "1,1,0"},
       {"scan.q8", "more.q8"},
       false,
       {{"--fragment-length", "2,2,0"},
        {"--lower-margin", "-1,0.5,0"},
        {"--bbox-min", "-1,0,0"},
        {"--bbox-max", "9,9,9"},
        {"--grid", "Points"},
        {"--field", "Intensity"},
        {"--time", "0"},
        {"--threads", "1"},
        {"--overlap", "0.1"},
        {"--compression", "weak"},
        {"--external", "ext"},
        {"--passes", "2"},
        {"--min-points", "1"},
        {"--plan-only"}}},
      {"export-obj", {}, {"blocks.q8"}, true},
      {"export-geojson", {}, {"lines.q8"}, true},
      {"info", {}, {"scan.q8"}, false, {{"--json"}}},
      {"verify", {}, {"scan.q8", "more.q8"}, false, {}},
  };
  return table;
}

/// What the output of a run holds, or what it printed if it has none.
std::string resultOf(const Samples& folder, const Words& words) {
  std::filesystem::remove(folder / "out");
  if (testing::Matches(testing::Contains("--append"))(words))
    std::filesystem::copy_file(folder / "tiles.q8", folder / "out");
  auto run = folder.run(words);
  EXPECT_EQ(run.exitCode(), 0) << testing::PrintToString(words) << run.errors();
  if (!std::filesystem::exists(folder / "out")) return run.output();
  return folder.outputOf({"info", "--json", "out"});
}

/// The long names of the options that a help text lists, each at the start of a line.
std::vector<std::string> optionsIn(const std::string& help) {
  std::vector<std::string> names;
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("  ")) continue;
    const std::string first = line.substr(2, line.find(' ', 2) - 2);
    const std::size_t start = first.find("--");
    if (start == std::string::npos) continue;
    const std::size_t end = first.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", start);
    names.push_back(first.substr(start, end == std::string::npos ? end : end - start));
  }
  return names;
}

TEST(Program, EveryOptionMayStandBeforeTheFiles) {
  const Samples folder;
  for (Row row : rows()) {
    std::set<std::string> tested = {"--help", "--output", "--quiet", "--preview"};
    for (const Words& option : row.options) {
      tested.insert(option[0]);
      if (!row.writes()) continue;
      Row command = row;
      if (!row.base.empty() && row.base[0] == option[0]) command.base.clear();
      const Words first = {option[0] + (option.size() > 1 ? "=" + option[1] : "")};
      EXPECT_EQ(resultOf(folder, command.words(option, row.inputs, "out")),
                resultOf(folder,
                         Words{row.name} + command.base + first + Words{"-o", "out"} + row.inputs))
          << row.name << " " << option[0];
    }
    const std::string help = folder.outputOf({row.name, "--help"});
    for (const std::string& name : optionsIn(help))
      EXPECT_TRUE(tested.contains(name)) << row.name << " " << name;
  }
}

TEST(Program, RefusesInputsByNameBeforeAnythingIsWritten) {
  const Samples folder;
  folder.write("old", "old");
  std::filesystem::create_directory(folder / "folder");
  for (const Row& row : rows())
    for (const auto& [input, reason] : std::map<std::string, std::string>{
             {"none", "none: No such file or directory"}, {"folder", "folder: Is a directory"}}) {
      Words inputs = row.inputs;
      inputs.back() = input;
      auto run = folder.run(row.words({}, inputs, "old"));
      EXPECT_EQ(run.exitCode(), kNoInput) << row.name;
      EXPECT_EQ(run.errors(), "recast: " + reason + "\n") << row.name;
      EXPECT_EQ(textOf(folder / "old"), "old") << row.name;
    }
}

TEST(Program, RefusesAnOutputThatIsAnInputUnderAnyName) {
  const Samples folder;
  for (const Row& row : rows()) {
    if (!row.writes()) continue;
    const std::string& input = row.inputs.back();
    const std::string before = textOf(folder / input);
    std::filesystem::create_hard_link(folder / input, folder / "hard");
    std::filesystem::create_symlink(input, folder / "soft");
    std::filesystem::create_hard_link(folder / input, folder / "out.partial");
    for (const std::string& output :
         {input, "./" + input, std::string("hard"), std::string("soft"), std::string("out")}) {
      auto run = folder.run(row.words({}, row.inputs, output));
      EXPECT_EQ(run.exitCode(), kUsage) << row.name << " " << output;
      EXPECT_THAT(run.errors(), HasSubstr("it is the input " + input)) << row.name;
      EXPECT_EQ(textOf(folder / input), before) << row.name << " " << output;
    }
    for (const char* name : {"hard", "soft", "out.partial"}) std::filesystem::remove(folder / name);
  }
  // Files of fields are outputs too, in a folder beside the output.
  folder.write("sub/empty", "");
  std::filesystem::create_directory(folder / "sub/ext");
  std::filesystem::rename(folder / "scan.q8", folder / "sub/ext/Intensity.q8");
  const std::string before = textOf(folder / "sub/ext/Intensity.q8");
  auto run = folder.run({"refragment", "--fragment-length", "1,1,0", "--external", "ext", "-o",
                         "sub/out.q8", "sub/ext/Intensity.q8"});
  EXPECT_EQ(run.exitCode(), kUsage) << run.errors();
  EXPECT_EQ(textOf(folder / "sub/ext/Intensity.q8"), before);
}

TEST(Program, NoticesThatItsOutputCantBeWritten) {
  const Samples folder;
  for (const char* line :
       {"\"$0\" info scan.q8 > /dev/full", "\"$0\" info --json scan.q8 > /dev/full",
        "\"$0\" info scan.q8 >&-", "\"$0\" info scan.q8 <&- >&-",
        "\"$0\" verify scan.q8 > /dev/full", "\"$0\" columns --preview scan.txt > /dev/full",
        "\"$0\" --help > /dev/full",
        "\"$0\" refragment --plan-only --fragment-length 1,1,0 -o o.q8 scan.q8 > /dev/full",
        "\"$0\" terrain -o o.q8 a.asc >&-",
        "{ sleep 0.2; \"$0\" info scan.q8; echo $? > code; } | true; wait; sleep 0.4; exit $(cat "
        "code)"}) {
    auto run = folder.shell(line);
    EXPECT_EQ(run.exitCode(), kStandardOutputFailed) << line;
    EXPECT_THAT(run.errors(), HasSubstr("recast: standard output: ")) << line;
  }
  auto full = folder.shell("\"$0\" export-obj blocks.q8 /dev/stdout > /dev/full");
  EXPECT_EQ(full.exitCode(), kOutputFailed);
  EXPECT_THAT(full.errors(), HasSubstr("/dev/stdout: No space left on device"));
}

TEST(Program, QuietPrintsFailuresAlone) {
  const Samples folder;
  for (const Row& row : rows()) {
    auto run = folder.run(row.words({"--quiet"}, row.inputs, "out"));
    EXPECT_EQ(run.exitCode(), 0) << row.name;
    EXPECT_EQ(run.errors(), "") << row.name;
    EXPECT_EQ(run.output().empty(), row.name != std::string("info")) << row.name << run.output();
  }
  auto bad = folder.run({"-q", "info", "scan.txt"});
  EXPECT_EQ(bad.exitCode(), kBadInput);
  EXPECT_THAT(bad.errors(), HasSubstr("scan.txt"));
  EXPECT_THAT(folder.outputOf({"--version"}), testing::MatchesRegex("recast [0-9.]+\n"));
}

TEST(Program, ShowsNamesFromFilesEscaped) {
  const Samples folder;
  const std::string name = "a\x1b[31m\x07\n\xC2\x9B\xFF\xE2\x80\xAE\"\\ \xC3\xB6";
  const std::string shown = R"("a\x1b[31m\x07\n\u009b\xff\u202e\"\\ )"
                            "\xC3\xB6\"";
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  const auto grid = (*(*bundle)[0.0])[name];
  grid->setAttribute(name, Larder::singleValue(name));
  (*grid->makeCartesianRepresentation(3, "", 0))[name];
  bundle.save(folder / "names.q8", nullptr, nullptr);
  auto text = folder.run({"info", "names.q8"});
  EXPECT_EQ(text.exitCode(), 0) << text.errors();
  EXPECT_THAT(text.output(), AllOf(HasSubstr("grid " + shown), HasSubstr(" = " + shown)));
  const auto json = nlohmann::json::parse(folder.outputOf({"info", "--json", "names.q8"}));
  EXPECT_EQ(json["slices"][0]["grids"][0]["name"],
            "a\x1b[31m\x07\n\xC2\x9B\xEF\xBF\xBD\xE2\x80\xAE\"\\ \xC3\xB6");
  auto missing = folder.run({"info", "no\x1b[31m\n\x9B"});
  EXPECT_EQ(missing.exitCode(), kNoInput);
  for (const auto& printed : {text.output(), missing.errors()})
    EXPECT_THAT(printed, AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr("\x9B"))));
}

std::string outputOfShell(const Samples& folder, const std::string& line) {
  auto run = folder.shell(line);
  EXPECT_EQ(run.exitCode(), 0) << line << run.errors();
  return run.output();
}

TEST(Program, TextOutputsTakeTheirPlaceInOneStep) {
  const Samples folder;
  const std::string expected = [&folder] {
    folder.make({"export-obj", "blocks.q8", "plain.obj"});
    return textOf(folder / "plain.obj");
  }();
  ASSERT_NE(expected, "");
  // Links are followed, and the mode stays.
  folder.write("deep/real.obj", "old");
  chmod((folder / "deep/real.obj").c_str(), 0640);
  std::filesystem::create_symlink("deep/real.obj", folder / "link.obj");
  folder.make({"export-obj", "blocks.q8", "link.obj"});
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "link.obj"));
  EXPECT_EQ(textOf(folder / "deep/real.obj"), expected);
  struct stat status {};
  ASSERT_EQ(stat((folder / "deep/real.obj").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0640U);
  // What is no file is written to; a redirected standard output too, even at its end.
  EXPECT_EQ(outputOfShell(folder,
                          "mkfifo pipe; cat pipe > read & \"$0\" export-obj blocks.q8 pipe; wait; "
                          "test -p pipe && cat read"),
            expected);
  EXPECT_EQ(
      outputOfShell(folder, "echo first > r; \"$0\" export-obj blocks.q8 /dev/stdout >> r; cat r"),
      "first\n" + expected);
  std::filesystem::create_symlink("deep/new.obj", folder / "dangling.obj");
  folder.make({"export-obj", "blocks.q8", "dangling.obj"});
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "dangling.obj"));
  EXPECT_EQ(textOf(folder / "deep/new.obj"), expected);
  // What can't be written stays as it is.
  folder.write("old.obj", "old");
  const struct {
    const char* line;
    const char* reason;
  } cases[] = {
      {"\"$0\" export-obj blocks.q8 none/o.obj", "none/o.obj: No such file"},
      {"\"$0\" export-obj blocks.q8 deep", "deep: Is a directory"},
      {"{ (ulimit -f 0; exec \"$0\" export-obj blocks.q8 old.obj) 2>&1; echo $? > code; } | "
       "cat >&2; exit $(cat code)",
       "old.obj: File too large"},
      {"flock old.obj.partial \"$0\" export-obj blocks.q8 old.obj", "another run is writing it"},
  };
  for (const auto& [line, reason] : cases) {
    auto run = folder.shell(line);
    EXPECT_EQ(run.exitCode(), kOutputFailed) << line;
    EXPECT_THAT(run.errors(), HasSubstr(reason)) << line;
  }
  EXPECT_EQ(textOf(folder / "old.obj"), "old");
}

TEST(Program, VerifyNamesEachFragmentThatCantBeRead) {
  const Samples folder;
  std::string lines;
  for (int n = 0; n < 4000; ++n) lines += std::to_string(n * 7919 % 1000) + " 2 3\n";
  folder.write("long.txt", lines);
  folder.make({"columns", "-c", "point:Positions:0,1,2", "--compression", "5", "-o", "long.q8",
               "long.txt"});
  EXPECT_EQ(folder.outputOf({"verify", "long.q8", "scan.q8"}),
            "3 fragments in 2 files can be read\n");
  // The compressed positions fill most of the file.
  std::string bytes = textOf(folder / "long.q8");
  const std::size_t middle = bytes.size() / 2;
  for (std::size_t at = middle; at < middle + 64; ++at) bytes[at] = static_cast<char>(~bytes[at]);
  folder.write("damaged.q8", bytes);
  auto run = folder.run({"verify", "scan.txt", "damaged.q8", "scan.q8"});
  EXPECT_EQ(run.exitCode(), kBadInput);
  EXPECT_THAT(run.errors(),
              AllOf(HasSubstr("scan.txt: it can't be loaded"),
                    HasSubstr("damaged.q8: 0/Points/Skeleton_3_0/Cartesian/Positions/long_0: "),
                    HasSubstr("1 of 3 files can't be loaded, and 1 of 3 fragments")));
}

TEST(Program, FilesOfOneNameBecomeTwoFragments) {
  const Samples folder;
  for (const char* name : {"x/house.json", "y/house.json", "house_1.json"})
    folder.write(name, textOf(folder / "house.json"));
  folder.make({"import-cityjson", "--lod", "2", "-o", "all.q8", "x/house.json", "house_1.json",
               "y/house.json"});
  EXPECT_THAT(
      folder.outputOf({"info", "all.q8"}),
      AllOf(HasSubstr("\"house\": 4"), HasSubstr("\"house_1\": 4"), HasSubstr("\"house_2\": 4")));
}

/// A name as the source of a man page writes it.
std::string inManPage(const std::string& name) {
  std::string text;
  for (const char c : name) text += c == '-' ? std::string("\\-") : std::string(1, c);
  return text;
}

TEST(Program, ManPageAndCompletionKnowAllCommandsAndOptions) {
  const Samples folder;
  const std::string page = folder.outputOf({"man-page"});
  folder.write("completion", folder.outputOf({"bash-completion"}));
  for (const Row& row : rows()) {
    EXPECT_THAT(page, HasSubstr("\n.SS " + inManPage(row.name) + "\n"));
    ProgramRun bash(folder, {"/bin/bash", "-c",
                             ". ./completion; COMP_WORDS=(recast $0 --); COMP_CWORD=2; _recast; "
                             "echo \" ${COMPREPLY[*]} \"; COMP_WORDS=(recast $0); COMP_CWORD=1; "
                             "_recast; echo \" ${COMPREPLY[*]} \"",
                             row.name});
    EXPECT_EQ(bash.exitCode(), 0);
    const std::string completed = bash.output();
    EXPECT_THAT(completed, HasSubstr(std::string(" ") + row.name + " ")) << bash.errors();
    for (const Words& option : row.options) {
      EXPECT_THAT(completed, HasSubstr(" " + option[0] + " ")) << row.name;
      EXPECT_THAT(page, HasSubstr(inManPage(option[0])));
    }
  }
  EXPECT_EQ(ProgramRun(folder, {"/bin/bash", "-n", "completion"}).exitCode(), 0);
}

}  // namespace
