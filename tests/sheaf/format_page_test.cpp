#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
#include "support/program_run.h"

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

class FormatPage : public FileTest {
 protected:
  void SetUp() override {
    if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  }
};

TEST_F(FormatPage, ItsFirstExampleReadsPointsAndATile) {
  {
    const auto bundle = boundBundle(folder_ / "survey.q8", shifted(0));
    auto points = sampleArray<1, Point>({2});
    (*points)[0] = {4'000'000.5, 10.0, -3.0};
    (*points)[1] = {4'000'002.5, 30.0, -1.0};
    put(*vertices(*bundle, "Cloud"), "Positions", "tile 1", points);
    put(*vertices(*bundle, "Heights"), "Elevation", "[0x0x0]", sampleArray<3, float>({5, 3, 1}));
    (*vertices(*bundle, "Heights"))["Elevation"].field()->makeFragmentID("[5x0x0]");
  }
  const auto [status, output] = runPython(folder_, example(0));
  EXPECT_EQ(status, 0) << output;
  EXPECT_EQ(output, "[ 4.0000015e+06  2.0000000e+01 -2.0000000e+00] (3, 5) ['[0x0x0]']\n");
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

TEST_F(FormatPage, ItsRecipeReadsPackedFragments) {
  {
    const auto bundle = boundBundle(file_, compressed(1));
    const auto target = vertices(*bundle);
    const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
    lattice->setFragmentNames<3>({101, 100, 1}, "");
    target->makeField(target->makeFieldID("v"), lattice, nullptr);
    for (unsigned i = 0; i < 300; i += 7)
      put(*target, "v", lattice->findFragmentID(i)->name(), sampleArray<2, Point>({3, 2}, i));
  }
  folder_.write("recipe.py", example(2));
  const auto [status, output] =
      runPython(folder_,
                "field = h5py.File('a.q8')['0.000000/G/Skeleton_3_0/Cartesian/v']\n"
                "assert len(field['@fragments']) == 10100\n"
                "for row in field['@fragments'][:300:7]:\n"
                "    exec(open('recipe.py').read())\n"
                "    expected = np.arange(row['number'], row['number'] + 6) / 7\n"
                "    assert np.array_equal(array[..., 0].ravel(), expected), (row, array)\n"
                "    assert array.shape == (2, 3, 3)\n");
  EXPECT_EQ(status, 0) << output;
}

}  // namespace
