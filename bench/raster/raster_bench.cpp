// The raster import on a synthetic terrain of 5000 x 5000 cells with two decimals (175 MB of text),
// beside the bare loop that bounds it and gdal_translate, if that is installed.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "recast/larder/console.h"
#include "recast/raster/esri_body.h"
#include "recast/raster/esri_raster_to_q8.h"
#include "recast/raster/height_tile.h"
#include "recast/raster/raster_walk.h"
#include "recast/sheaf/bundle.h"
#include "recast/text_input/tokens.h"

namespace {

constexpr std::uint32_t kSide = 5000;
constexpr std::size_t kCells = std::size_t{kSide} * kSide;

float heightAt(std::uint32_t column, std::uint32_t row) {
  const double x = column;
  const double y = row;
  const double z =
      450 + 200 * std::sin(x * 0.003) * std::cos(y * 0.002) + 20 * std::sin(x * 0.05 + y * 0.03);
  return static_cast<float>(std::round(z * 100) / 100);
}

/// The raster's file in a folder that lives as long as the program.
class Terrain {
 public:
  static const Terrain& get() {
    static const Terrain terrain;
    return terrain;
  }
  ~Terrain() { std::filesystem::remove_all(folder_); }

  std::string path(const char* name) const { return (folder_ / name).string(); }
  std::size_t bytes() const { return std::filesystem::file_size(path("in.asc")); }

 private:
  Terrain() {
    std::string pattern = (std::filesystem::temp_directory_path() / "recast-bench-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    std::FILE* file = std::fopen(path("in.asc").c_str(), "w");
    std::fprintf(file, "ncols %u\nnrows %u\nxllcorner 3500000\nyllcorner 5400000\ncellsize 1\n",
                 kSide, kSide);
    for (std::uint32_t line = 0; line < kSide; ++line)
      for (std::uint32_t column = 0; column < kSide; ++column)
        std::fprintf(file, "%.2f%c", static_cast<double>(heightAt(column, kSide - 1 - line)),
                     column + 1 < kSide ? ' ' : '\n');
    std::fclose(file);
  }

  std::filesystem::path folder_;
};

void countWork(benchmark::State& state) {
  state.counters["cells/s"] = benchmark::Counter(static_cast<double>(kCells * state.iterations()),
                                                 benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(Terrain::get().bytes()) * state.iterations());
}

bool isTheTerrain(const Recast::HeightArray& heights) {
  for (std::uint32_t row = 0; row < kSide; row += 7)
    for (std::uint32_t column = 0; column < kSide; column += 11)
      if (heights[Quilt::MultiIndex<3>(column, row, 0)] != heightAt(column, row)) return false;
  return true;
}

Recast::HeightHandle readTerrain() {
  Recast::EsriHeader header;
  Larder::Text::LineReader input(Terrain::get().path("in.asc"));
  Recast::HeightHandle heights;
  if (!Recast::readEsriHeader(input, {}, header).isDone() ||
      !Recast::makeEsriHeights(input, header, heights).isDone() ||
      !Recast::readEsriBody(input, header, *heights).isDone())
    return nullptr;
  return heights;
}

/// The limit: every token of the mapped file through the number parser into an array.
void bareLoop(benchmark::State& state) {
  const std::string path = Terrain::get().path("in.asc");
  for (auto _ : state) {
    const int descriptor = open(path.c_str(), O_RDONLY);
    const std::size_t size = Terrain::get().bytes();
    void* mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    std::string_view text(static_cast<const char*>(mapped), size);
    for (int line = 0; line < 5; ++line) text.remove_prefix(text.find('\n') + 1);
    std::vector<float> heights(kCells);
    std::size_t n = 0;
    Larder::Text::Number<float> number;
    while (!text.empty()) {
      const std::size_t end = text.find('\n');
      Larder::Text::TokenWalk walk(text.substr(0, end), ' ');
      while (walk.next(number)) heights[n++] = number.value;
      text.remove_prefix(end + 1);
    }
    benchmark::DoNotOptimize(heights.data());
    munmap(mapped, size);
    close(descriptor);
    if (n != kCells) state.SkipWithError("not all cells were read");
  }
  countWork(state);
}

void readText(benchmark::State& state) {
  if (!isTheTerrain(*readTerrain())) state.SkipWithError("wrong heights");
  for (auto _ : state) benchmark::DoNotOptimize(readTerrain());
  countWork(state);
}

void storeTile(const Recast::HeightHandle& heights) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  bundle->bindToNew(Terrain::get().path("stage.q8"));
  const auto tiles = Recast::ElevationGrid::in(*(*bundle)[0.0], "heights");
  tiles.store("tile", {0, 0, 0}, heights);
}

/// From the text to the stored field "Elevation", without the point cloud.
void rasterStage(benchmark::State& state) {
  for (auto _ : state) storeTile(readTerrain());
  countWork(state);
}

void storeAlone(benchmark::State& state) {
  const auto heights = readTerrain();
  for (auto _ : state) storeTile(heights);
  countWork(state);
}

void wholeConversion(benchmark::State& state) {
  const auto former = Larder::Console::setSink([](const std::string&) {});
  const auto files = Larder::makeStrong<Larder::StringList>(
      std::vector<std::string>{Terrain::get().path("in.asc")});
  for (auto _ : state)
    if (Recast::converterEsriRasterToQ8(files, Terrain::get().path("whole.q8"), nullptr, "", "") !=
        0)
      state.SkipWithError("conversion failed");
  Larder::Console::setSink(former);
  countWork(state);
}

void gdalTranslate(benchmark::State& state) {
  const std::string command = "gdal_translate -q " + Terrain::get().path("in.asc") + " " +
                              Terrain::get().path("out.tif") + " 2>/dev/null";
  for (auto _ : state)
    if (std::system(command.c_str()) != 0) {
      state.SkipWithError("gdal_translate is not installed");
      break;
    }
  countWork(state);
}

/// \param state argument 1: the clouds' memory (1.2 GB) is kept between two walks, so that it is
/// there; 0: it comes fresh from the system each time, a page fault for every 4 KiB.
void walk(benchmark::State& state) {
  const auto heights = readTerrain();
  constexpr int kMost = 2000000000;
  const bool keep = state.range(0) == 1;
  mallopt(M_MMAP_THRESHOLD, keep ? kMost : 1 << 20);
  mallopt(M_TRIM_THRESHOLD, keep ? kMost : 1 << 20);
  for (auto _ : state) {
    const auto cloud = Recast::walkRaster(*heights, -9999.0, {1.0, 1.0, 1.0}, {0.0, 0.0, 0.0});
    if (cloud.points->size() != kCells) state.SkipWithError("points are missing");
  }
  state.counters["points/s"] = benchmark::Counter(static_cast<double>(kCells * state.iterations()),
                                                  benchmark::Counter::kIsRate);
}

#define RECAST_STAGE(function) \
  BENCHMARK(function)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime()
RECAST_STAGE(bareLoop);
RECAST_STAGE(readText);
RECAST_STAGE(storeAlone);
RECAST_STAGE(rasterStage);
RECAST_STAGE(gdalTranslate);
RECAST_STAGE(walk)->ArgName("memoryIsThere")->Arg(1)->Arg(0);
RECAST_STAGE(wholeConversion);

}  // namespace
