#include <algorithm>
#include <span>
#include <sstream>

#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/program_run.h"
#include "support/q8_samples.h"

#include "recast/sheaf/storage/checksum.h"

// The examples of docs/q8-format.md do what the page says.
namespace {

using namespace TestSupport;

/// The i-th Python block of the page.
std::string example(std::size_t i) {
  const std::string page = textOf(RECAST_DOCS "/q8-format.md");
  const std::string fence = "```python\n";
  std::size_t start = 0;
  for (std::size_t found = 0; found <= i; ++found) {
    start = page.find(fence, start);
    if (start == std::string::npos) return {};
    start += fence.size();
  }
  return page.substr(start, page.find("```", start) - start);
}

/// The page's functions without what it does with them.
std::string pageFunctions() {
  const std::string text = example(0);
  return text.substr(0, text.find("\nwith "));
}

/// Prints a line for each fragment with data, as `linesOf` makes them.
constexpr const char* kPrintFragments = R"(
import sys
with h5py.File(sys.argv[1]) as file:
    for chart in (chart for time in file.values() for grid in time.values()
                  for skeleton in grid.values() for chart in skeleton.values()):
        place = " ".join(map(unescaped, chart.name.split("/")[2:]))
        for field in map(unescaped, chart):
            assert all(row["checked"] for row in chart[escaped(field)]["@fragments"] if row["kind"]), field
            for number, name, array in read_field(chart, field):
                parts = array[1:] if isinstance(array, tuple) else array if isinstance(array, list) else [array]
                data = b"".join(part.tobytes() for part in parts)
                print(place, field, number, name or "", zlib.crc32(data))
)";

/// The lines of a bundle's fragments: where each stands, its number, name and checksum.
class Lines : public Quilt::FragmentIterator {
 public:
  explicit Lines(const Quilt::Bundle& bundle) {
    for (const auto& [time, slice] : bundle)
      for (const auto& [id, grid] : *slice)
        for (const auto& [skeletonID, skeleton] : grid->skeletons())
          for (const auto& chart : skeleton->representations())
            chart->iterate([&](const Quilt::FieldID& fieldID, const Quilt::Field& field) {
              place_ = id->name() + " " + skeletonID.name() + " " + chart->name() + " " +
                       fieldID.name() + " ";
              field.iterate(*this, nullptr);
              return true;
            });
  }
  bool apply(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
             const Quilt::CreatorHandle& creator) override {
    const auto array = creator->get();
    lines.push_back(
        place_ + (fragment ? std::to_string(fragment->number()) + " " + fragment->name() : "-1 ") +
        " " + (array ? std::to_string(checksumOf(*array)) : "missing"));
    return true;
  }

  std::vector<std::string> lines;

 private:
  static std::uint32_t checksumOf(Quilt::MemBase& array) {
    using Quilt::Storage::checksumOf;
    const auto bytes = [](const auto* first, std::size_t count) {
      return std::as_bytes(std::span(first, count));
    };
    if (array.OriginPtr() != nullptr)
      return checksumOf(bytes(array.DeltaPtr(), 3), checksumOf(bytes(array.OriginPtr(), 3)));
    if (array.getType() != typeid(Lists))
      return checksumOf(bytes(static_cast<const std::byte*>(array.getPtr()),
                              array.nElements() * array.typeIndex().ElementSize));
    std::uint32_t checksum = 0;
    for (const Lists& list :
         std::span(static_cast<const Lists*>(array.getPtr()), array.nElements()))
      checksum = checksumOf(bytes(list.data(), list.size()), checksum);
    return checksum;
  }

  std::string place_;
};

class FormatPage : public FileTest {
 protected:
  void SetUp() override {
    if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
    folder_.write("fields.py", pageFunctions() + kPrintFragments);
  }

  /// The page's function and a loaded bundle find the same in a file.
  void expectSame(const std::string& file) {
    SCOPED_TRACE(file);
    const auto bundle = loadBundle(file);
    ASSERT_TRUE(bundle);
    std::vector<std::string> expected = Lines(*bundle).lines;
    ASSERT_FALSE(expected.empty());
    const auto [status, output] = run(RECAST_H5PY " " + (folder_ / "fields.py") + " " + file);
    ASSERT_EQ(status, 0) << output;
    std::vector<std::string> lines;
    std::istringstream text(output);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    std::sort(expected.begin(), expected.end());
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, expected);
    bundle->sync();
  }
};

TEST_F(FormatPage, ItsFunctionReadsFieldsOfEveryKind) {
  for (const std::string& file : FuzzSupport::writeQ8Samples(folder_ / "samples")) expectSame(file);
  {
    const auto bundle = boundBundle(file_, Larder::makeStrong<OwnFiles>("ext"));
    const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
    lattice->setFragmentNames<3>({2, 3, 2}, "@a/b");
    const auto target = vertices(*bundle);
    target->makeField(target->makeFieldID("50%/2"), lattice, nullptr);
    for (const unsigned i : {1U, 4U, 7U}) {
      const std::string name = lattice->findFragmentID(i)->name();
      put(*target, "50%/2", name, sampleArray<2, Point>({3, 2}, i));
      put(*target, "Positions", name, sampleArray<1, float>({3}, i));
    }
    put(*target, "Positions", lattice->findFragmentID(5)->name(), sampleArray<1, float>({0}));
  }
  expectSame(file_);
  // What is carried over keeps its checksums.
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  ASSERT_EQ(bundle->bindTo(file_).number, 0);
  put(*vertices(*bundle), "Positions", "@a/b[0x0x0]", sampleArray<1, float>({7}));
  bundle->complete();
  expectSame(file_);
}

TEST_F(FormatPage, ItsFunctionReadsPackedFieldsThatWereLetGoAndContinued) {
  struct Packing : Quilt::StorageTransformations {
    bool setFieldPacking(const std::string&, std::size_t) const override { return true; }
  };
  const auto rules = Larder::makeStrong<Packing>();
  for (const int level : {0, 1}) {
    rules->compressionLevel = level;
    for (const bool again : {false, true}) {
      Quilt::BundlePtr bundle(new Quilt::Bundle);
      ASSERT_EQ((again ? bundle->bindTo(file_, rules) : bundle->bindToNew(file_, rules)).number, 0);
      const auto target = vertices(*bundle);
      if (!again) {
        const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
        lattice->setFragmentNames<3>({30, 10, 1}, "");
        target->makeField(target->makeFieldID("v"), lattice, nullptr);
      }
      const auto field = (*target)["v"].field();
      for (unsigned i = again ? 1 : 0; i < 300; i += 7) {
        const auto fragment = field->getFragmentIDCollection()->findFragmentID(i);
        put(*target, "v", fragment->name(), sampleArray<2, Point>({3, 2}, i));
        if (i % 2 == 0) field->letGo(fragment);
      }
      bundle->complete();
      expectSame(file_);
    }
  }
}

#ifdef RECAST_PROGRAM
TEST_F(FormatPage, ItsFunctionReadsWhatEachConverterWrites) {
  const std::string samples = RECAST_SAMPLES;
  for (const std::string& command :
       {"raster -o hill.q8 " + samples + "/hill-and-valley.asc",
        "terrain -o terrain.q8 " + samples + "/hill-and-valley.asc",
        "grid -o grid.q8 " + samples + "/hill-and-valley.asc",
        std::string("contours --step 25 --range 275:400 -o lines.q8 grid.q8"),
        "columns -c point:Positions:0,1,2 -c float:Intensity:3 -c rgb:Colour:4,5,6 --grid Scan "
        "--header-lines 1 -o scan.q8 " +
            samples + "/scan.txt",
        std::string("refragment --fragment-length 0.5,0.5,0 --overlap 0.1 -o lattice.q8 scan.q8"),
        std::string("refragment --fragment-length 1,1,0 --external ext -o external.q8 scan.q8"),
        "import-cityjson --lod 1 -o footprints.q8 " + samples + "/two-houses.city.json",
        std::string("lod1 --grid Houses -o blocks.q8 footprints.q8"),
        "import-cityjson --lod 2 -o shells.q8 " + samples + "/two-houses.city.json",
        std::string("lod2 --grid Houses -o houses.q8 shells.q8")}) {
    const auto [status, output] =
        run("cd " + folder_.path().string() + " && " RECAST_PROGRAM " " + command);
    ASSERT_EQ(status, 0) << command << "\n" << output;
    const std::size_t name = command.find("-o ") + 3;
    expectSame(folder_ / command.substr(name, command.find(' ', name) - name));
  }
}
#endif

TEST_F(FormatPage, ItsFirstExampleShowsTheMeanOfACloud) {
  {
    const auto bundle = boundBundle(folder_ / "survey.q8", shifted(0));
    auto points = sampleArray<1, Point>({2});
    (*points)[0] = {4'000'000.5, 10.0, -3.0};
    (*points)[1] = {4'000'002.5, 30.0, -1.0};
    put(*vertices(*bundle, "Cloud"), "Positions", "tile 1", points);
  }
  const auto [status, output] = runPython(folder_, example(0));
  EXPECT_EQ(status, 0) << output;
  EXPECT_EQ(output, "tile 1 (2, 3) [ 4.0000015e+06  2.0000000e+01 -2.0000000e+00]\n");
}

TEST_F(FormatPage, ItsSecondExampleWritesAFileThatLoads) {
  const auto [status, output] = runPython(folder_, example(1));
  ASSERT_EQ(status, 0) << output;
  const auto points = get(*loadBundle(folder_ / "written.q8"), "Positions", "tile 1", "Cloud")
                          .castTo<Quilt::MemArray<1, Point>>();
  ASSERT_TRUE(points && points->nElements() == 2);
  EXPECT_EQ((*points)[0], Point(3456789.25, 5432109.5, 98.75));
  EXPECT_EQ((*points)[1], Point(3456790.25, 5432110.5, 98.5));
}

}  // namespace
