#include <cfenv>
#include <cmath>
#include <functional>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "recast/contours/contour_levels.h"
#include "recast/contours/create_contour_lines.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace {

using Heron::PhysicalSpace;
using Recast::CreateContourLinesFromUniform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::ConsoleCapture;
using TestSupport::TempFolder;

using Heights = std::function<float(std::uint64_t i, std::uint64_t j)>;

/// Adds a fragment of `columns` x `rows` vertices to a grid, a unit apart.
void addFragment(const Larder::StrongPtr<Quilt::Grid>& grid, const std::string& name, double x,
                 std::uint64_t columns, std::uint64_t rows, const Heights& heights,
                 const std::string& field = "Elevation", const std::string& chart = "",
                 bool withPositions = true) {
  const Quilt::MultiIndex<3> size(columns, rows, 1);
  const auto values = Larder::makeStrong<Quilt::MemArray<3, float>>(size, nullptr);
  const auto types = Larder::makeStrong<Quilt::MemArray<3, unsigned char>>(size, nullptr);
  for (std::uint64_t j = 0; j < rows; ++j)
    for (std::uint64_t i = 0; i < columns; ++i) values->data[j * columns + i] = heights(i, j);
  const auto representation = grid->makeCartesianRepresentation(3, chart, 0);
  const auto store = [&](const std::string& fieldName, const Quilt::MemBaseHandle& array) {
    (*representation)[fieldName].field()->createCreator(array, name, Quilt::OnExistingData::Replace,
                                                        Larder::Cache::MemCache());
  };
  if (withPositions)
    store("Positions",
          Larder::makeStrong<Quilt::UniformCartesianArray>(
              size, PhysicalSpace::point(x, 100.0, 0.0), PhysicalSpace::vector(1.0, 1.0, 1.0)));
  store(field, values);
  store("CellType", types);
}

/// A run on a bundle in memory, and what it wrote.
struct Contouring {
  TempFolder folder;
  ConsoleCapture console;
  CreateContourLinesFromUniform contours;
  Larder::StrongPtr<Quilt::Bundle> input = Larder::makeStrong<Quilt::Bundle>();

  Contouring() {
    contours.Bundle = input;
    contours.FieldNames = {"Elevation"};
    contours.OutputFile = folder / "lines.q8";
  }
  Larder::StrongPtr<Quilt::Grid> grid(const std::string& name, double time = 0.0) const {
    return (*(*input)[time])[name];
  }
  bool wrote() const { return std::filesystem::exists(contours.OutputFile); }
  /// The heights of the vertices of all lines.
  std::vector<double> levels(double time = 0.0) const {
    std::vector<double> result;
    const auto bundle = TestSupport::loadBundle(contours.OutputFile);
    const auto slice = bundle ? (*bundle)(time) : nullptr;
    const auto lines = slice ? (*slice)("ZRK_ContourLines") : nullptr;
    if (!lines) return result;
    const auto data = lines->CartesianPositions()->getData(nullptr);
    for (const auto& point :
         data->getChunk().castTo<Larder::Chunk<PhysicalSpace::point>>()->base_vector())
      if (result.empty() || result.back() != point.z()) result.push_back(point.z());
    return result;
  }
};

const Heights kSlope = [](std::uint64_t i, std::uint64_t) { return static_cast<float>(i); };

TEST(ContourLevels, RunFromTheMinimumBelowTheMaximum) {
  const auto levels = [](float minimum, float maximum, float step, float from, float to) {
    const auto all = Recast::ContourLevels::over(Quilt::DataRange<float>(minimum, maximum), step);
    if (!all) return std::vector<float>{-1};
    const auto within = all->within(Quilt::DataRange<float>(from, to));
    std::vector<float> list;
    for (std::size_t k = 0; k < within.size(); ++k) list.push_back(within[k]);
    return list;
  };
  EXPECT_THAT(levels(0, 10, 3, 0, 10), ElementsAre(0, 3, 6, 9));
  EXPECT_THAT(levels(0, 9, 3, 0, 10), ElementsAre(0, 3, 6)) << "the maximum is no level";
  EXPECT_THAT(levels(0, 10, 3, 3, 6), ElementsAre(3, 6)) << "bounds of the fragment count";
  EXPECT_THAT(levels(0, 10, 3, 3.5F, 5.5F), IsEmpty());
  EXPECT_THAT(levels(2, 3, 5, 0, 10), ElementsAre(2));
  EXPECT_THAT(levels(0, 10, 20, 1, 9), IsEmpty());
  EXPECT_THAT(levels(10, 0, -3, 2, 7.5F), ElementsAre(7, 4)) << "downwards";
  for (const float step : {0.0F, -1.0F, 1e-30F, std::nanf("")})
    EXPECT_THAT(levels(0, 10, step, 0, 10), ElementsAre(-1)) << step;
  EXPECT_THAT(levels(4, 4, 1, 0, 10), ElementsAre(-1));
  const Quilt::DataRange<float> wide(0.0F, 1e9F);
  EXPECT_EQ(Recast::ContourLevels::over(wide, 1.0F)->within(wide).size(), 1'000'000'000U)
      << "no list of them";
}

TEST(ContourRun, CutsTheContouredFieldOfAllFragments) {
  Contouring run;
  addFragment(run.grid("terrain"), "left", 20.0, 4, 3, kSlope);
  addFragment(run.grid("terrain"), "right", 23.0, 4, 3,
              [](std::uint64_t i, std::uint64_t) { return static_cast<float>(i + 3); });
  run.contours.Step = 1.5F;
  EXPECT_EQ(run.contours.Run(), 1);
  EXPECT_THAT(run.contours.Errors, IsEmpty());
  EXPECT_THAT(run.levels(), ElementsAre(0, 1.5, 3, 4.5));
  EXPECT_EQ(run.contours.SliceField, "Elevation");
  ASSERT_TRUE(run.contours.GlobalSlice);
  EXPECT_EQ(run.contours.GlobalSlice->maximum(), 6.0F);
  const auto grid = (*(*TestSupport::loadBundle(run.contours.OutputFile))(0.0))("ZRK_ContourLines");
  const auto lines = (*grid->getSkeleton({1, 2}))(*grid->findVertices(1))->Positions();
  EXPECT_EQ(lines->getData(nullptr)->nElements(), 4u);
  const auto points = grid->CartesianPositions()->getData(nullptr);
  EXPECT_EQ((points.castTo<Quilt::MemArray<1, PhysicalSpace::point>>()->last().x()), 24.5)
      << "in world coordinates";
}

TEST(ContourRun, HeightsMayFollowAnotherField) {
  Contouring run;
  addFragment(run.grid("terrain"), "f", 0.0, 4, 3,
              [](std::uint64_t, std::uint64_t) { return 50.0F; });
  addFragment(run.grid("terrain"), "f", 0.0, 4, 3, kSlope, "Moisture");
  run.contours.SliceField = "Moisture";
  run.contours.UseSliceField = true;
  run.contours.GlobalSlice = Larder::makeStrong<Quilt::DataRange<float>>(0.5F, 1.0F);
  run.contours.Run();
  EXPECT_THAT(run.levels(), ElementsAre(::testing::DoubleNear(50.001, 1e-5)));
}

TEST(ContourRun, OnlyTheFirstSelectedSliceGridAndFieldCount) {
  Contouring run;
  addFragment(run.grid("b", 1.0), "f", 0.0, 4, 3, kSlope);
  addFragment(run.grid("later", 2.0), "f", 0.0, 9, 3, kSlope);
  run.grid("not fragmented", 1.0)->makeCartesianRepresentation(3, "", 0);
  addFragment(run.grid("second", 1.0), "f", 0.0, 9, 3, kSlope);
  run.contours.GridNames = {"b", "not fragmented", "later"};
  run.contours.Run();
  EXPECT_THAT(run.levels(1.0), ElementsAre(0, 1, 2));

  Contouring nothing;
  addFragment(nothing.grid("a", 1.0), "f", 0.0, 4, 3, kSlope);
  addFragment(nothing.grid("wanted", 2.0), "f", 0.0, 4, 3, kSlope);
  nothing.contours.GridNames = {"wanted"};
  EXPECT_EQ(nothing.contours.Run(), 1) << "the first slice is the only one";
  EXPECT_FALSE(nothing.wrote());
  nothing.contours.Times = {2.0};
  nothing.contours.Run();
  EXPECT_TRUE(nothing.wrote());
}

TEST(ContourRun, ProblemsAreListed) {
  {
    CreateContourLinesFromUniform contours;
    EXPECT_EQ(contours.Run(), 0);
    EXPECT_THAT(contours.Errors, ElementsAre("bundleptr is null"));
  }
  const struct {
    const char* error;
    std::function<void(Contouring&)> prepare;
  } cases[] = {
      {"This is not a fragmented uniform cartesian grid",
       [](Contouring& run) { run.grid("first")->makeCartesianRepresentation(3, "", 0); }},
      {"No positions field",
       [](Contouring& run) {
         addFragment(run.grid("first"), "f", 0.0, 4, 3, kSlope, "Elevation", "", false);
       }},
      {"No representation",
       [](Contouring& run) {
         addFragment(run.grid("first"), "f", 0.0, 4, 3, kSlope, "Elevation", "another chart");
       }},
      {"the output bundle is null or not valid",
       [](Contouring& run) { run.contours.OutBundle = Quilt::BundlePtr(); }},
      {"No slice field", [](Contouring& run) { run.contours.SliceField = "Moisture"; }},
      {"Slice steps are zero ", [](Contouring& run) { run.contours.Step = 0.0F; }},
      {"Have no global range", [](Contouring& run) { run.contours.SliceField = "Positions"; }},
  };
  for (const auto& [error, prepare] : cases) {
    SCOPED_TRACE(error);
    Contouring run;
    prepare(run);
    addFragment(run.grid("terrain"), "f", 0.0, 4, 3, kSlope);
    EXPECT_EQ(run.contours.Run(), 1);
    EXPECT_THAT(run.contours.Errors, ElementsAre(error));
    EXPECT_EQ(run.wrote(), std::string(error).starts_with("This is not"))
        << "only a grid of another kind is passed over";
  }
}

/// A run on a file with one fragment of 300 x 300 vertices.
struct ContouringOfFile : Contouring {
  ContouringOfFile() {
    addFragment(grid("terrain"), "f", 0.0, 300, 300, kSlope);
    input->save(folder / "in.q8", nullptr, nullptr);
    contours.InputFiles = {folder / "in.q8"};
    contours.Step = 100.0F;
    EXPECT_TRUE(contours.loadFilesIntoBundle(Recast::myReadType::Replace));
  }
  Quilt::CreatorHandle elevations() const {
    return TestSupport::findField(*contours.Bundle, "terrain", "Elevation")->getCreatorByName("f");
  }
};

TEST(ContourRun, LeavesTheInputsCacheAsItWas) {
  for (const bool inMemory : {false, true}) {
    ContouringOfFile file;
    if (inMemory) file.elevations()->get();
    file.contours.Run();
    EXPECT_TRUE(file.wrote());
    EXPECT_EQ(static_cast<bool>(file.elevations()->present()), inMemory);
    file.elevations()->get();
    EXPECT_TRUE(file.elevations()->present()) << "later users' data is still cached";
  }
}

TEST(ContourRun, DataThatCannotBeReadOrSavedIsNoSuccess) {
  for (const bool withRange : {false, true}) {
    ContouringOfFile file;
    if (withRange)
      file.contours.GlobalSlice = Larder::makeStrong<Quilt::DataRange<float>>(0.0F, 100.0F);
    std::filesystem::resize_file(file.folder / "in.q8", 4096);
    EXPECT_EQ(file.contours.Run(), 1);
    ASSERT_EQ(file.contours.Errors.size(), 1U);
    EXPECT_THAT(file.contours.Errors[0], ::testing::HasSubstr("fragment \"f\""));
    EXPECT_FALSE(file.wrote());
  }
  ContouringOfFile file;
  file.contours.OutputFile = file.folder / "missing" + "/lines.q8";
  EXPECT_THROW(file.contours.Run(), Quilt::StorageError);
}

TEST(ContourRun, AFragmentWithoutDataIsPassedOver) {
  Contouring run;
  addFragment(run.grid("terrain"), "f", 0.0, 4, 3, kSlope);
  run.grid("terrain")->CartesianPositions()->createCreator(
      Larder::makeStrong<Quilt::UniformCartesianArray>(
          Quilt::MultiIndex<3>(4, 3, 1), PhysicalSpace::point(), PhysicalSpace::vector(1, 1, 1)),
      "without heights", Quilt::OnExistingData::Replace, Larder::Cache::MemCache());
  run.contours.Run();
  EXPECT_THAT(run.contours.Errors, IsEmpty());
  EXPECT_THAT(run.levels(), ElementsAre(0, 1, 2));
}

TEST(ContourRun, ComputesNothingThatTrapsOnFlatGround) {
  Contouring run;
  addFragment(run.grid("terrain"), "f", 0.0, 40, 40, [](std::uint64_t i, std::uint64_t j) {
    return i / 5 % 2 == 0 || j / 7 % 2 == 0 ? 1.0F : 5.0F;
  });
  run.contours.GlobalSlice = Larder::makeStrong<Quilt::DataRange<float>>(2.0F, 3.0F);
  std::feclearexcept(FE_ALL_EXCEPT);
  feenableexcept(FE_DIVBYZERO | FE_INVALID);
  run.contours.Run();
  fedisableexcept(FE_ALL_EXCEPT);
  EXPECT_TRUE(run.wrote());
}

TEST(ContourRun, WithoutLinesNothingIsWritten) {
  Contouring run;
  addFragment(run.grid("terrain"), "f", 0.0, 4, 3, kSlope);
  run.contours.GlobalSlice = Larder::makeStrong<Quilt::DataRange<float>>(100.0F, 200.0F);
  EXPECT_EQ(run.contours.Run(), 1);
  EXPECT_TRUE(run.console.contains("No countour lines are found."));
  EXPECT_FALSE(run.wrote());
  EXPECT_TRUE(run.contours.OutBundle->getGridIdentifiers().empty());
}

TEST(ContourRun, ParametersAreToldAsText) {
  CreateContourLinesFromUniform contours;
  contours.Step = 2.5F;
  contours.UseSliceField = true;
  contours.SliceField = "Elevation";
  contours.OnlyBorderLine = true;
  contours.GlobalSlice = Larder::makeStrong<Quilt::DataRange<float>>(1.0F, 2.0F);
  EXPECT_EQ(contours.printSecondary(),
            "\nStep: 2.500000 \nSlice Field: Elevation \nGlobalSlice(s) From: 1.000000 to: "
            "2.000000\nOnly extract border line .");
}

}  // namespace
