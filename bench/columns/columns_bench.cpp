// The conversion of a text file to a stored point cloud, beside two bare loops over the mapped
// file: one that only converts its tokens, and one that also puts the values into arrays.
//
//     bench_columns [<benchmark options>] [FILE]
//
// FILE holds lines `x y z intensity r g b`, at most 10,000,000; without it one of 2,000,000 is made
// in the folder for temporary files.

#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>

#include "columns/scan_file.h"
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/larder/console.h"
#include "recast/sheaf/bundle.h"
#include "recast/text_input/line_reader.h"
#include "recast/text_input/tokens.h"

namespace {

namespace fs = std::filesystem;
using Heron::PhysicalSpace;
using Larder::Text::Number;
using Larder::Text::TokenWalk;

struct Sum {
  std::uint64_t points = 0;
  double x = 0.0;
};

class MappedFile {
 public:
  explicit MappedFile(const std::string& path) : size_(fs::file_size(path)) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    start_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, descriptor, 0);
    close(descriptor);
    if (start_ == MAP_FAILED) throw std::runtime_error("can't map " + path);
  }
  ~MappedFile() { munmap(start_, size_); }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  std::string_view text() const { return {static_cast<const char*>(start_), size_}; }

 private:
  std::size_t size_;
  void* start_;
};

/// Calls `visit` with a walk over the tokens of every line. \return the number of lines.
template <class Visit>
std::uint64_t forEachLine(const std::string& path, Visit visit) {
  const MappedFile file(path);
  std::uint64_t lines = 0;
  for (std::string_view rest = file.text(); !rest.empty(); ++lines) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    visit(TokenWalk(line, ' '), lines);
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  return lines;
}

Sum bareLoop(const std::string& path) {
  Sum sum;
  sum.points = forEachLine(path, [&sum](TokenWalk walk, std::uint64_t) {
    Number<double> number;
    if (walk.next(number)) sum.x += number.value;
    while (walk.next(number)) benchmark::DoNotOptimize(number.value);
  });
  return sum;
}

template <class T>
bool read(TokenWalk& walk, T& value) {
  Number<std::conditional_t<sizeof(T) == 1, std::int32_t, T>> number;
  if (!walk.next(number) || !number.converted()) return false;
  value = static_cast<T>(number.value);
  return true;
}

Sum bareLoopIntoArrays(const std::string& path, std::uint64_t lines) {
  const auto points = std::make_unique_for_overwrite<PhysicalSpace::point[]>(lines);
  const auto intensities = std::make_unique_for_overwrite<float[]>(lines);
  const auto colours = std::make_unique_for_overwrite<Heron::Colour[]>(lines);
  Sum sum;
  sum.points = forEachLine(path, [&](TokenWalk walk, std::uint64_t i) {
    bool good = true;
    for (double& coordinate : points[i].values) good &= read(walk, coordinate);
    good &= read(walk, intensities[i]);
    for (unsigned char& component : colours[i].values) good &= read(walk, component);
    if (!good) throw std::runtime_error("a bad line");
  });
  sum.x = points[lines - 1].x();
  return sum;
}

void convert(const std::string& path, const std::string& output, int level) {
  Recast::ColumnAsciiToPointCloudQ8 converter;
  converter.addColumn("point", "Positions", {0, 1, 2});
  converter.addColumn("float", "Intensity", {3});
  converter.addColumn("rgb", "Colour", {4, 5, 6});
  const auto files = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{path});
  // The names of the files that it reads would stand between the lines of the report.
  std::ostringstream names;
  auto* const standardOutput = std::cout.rdbuf(names.rdbuf());
  const int status = converter.convertASCIIToQ8(files, output, level, 0, nullptr, {});
  std::cout.rdbuf(standardOutput);
  if (status != 0) throw std::runtime_error("status " + std::to_string(status));
}

Sum sumOf(const std::string& output) {
  bool ok = false;
  const auto files = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{output});
  const auto bundle =
      Quilt::Bundle::load(ok, Larder::makeStrong<Larder::LoaderParameters>(files, false), nullptr);
  if (!ok) throw std::runtime_error(output + " doesn't load");
  const auto positions = (*(*(*bundle)(0.0))("Points"))("Positions", "");
  Sum sum;
  for (const auto& fragment : positions->getFragmentIDs()) {
    const auto points =
        positions->getData(fragment)->getChunk().castTo<Larder::Chunk<PhysicalSpace::point>>();
    for (const auto& point : *points) sum.x += point.x();
    sum.points += points->size();
  }
  return sum;
}

void setRates(benchmark::State& state, const std::string& path, const Sum& sum) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(fs::file_size(path)));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(sum.points));
}

void measureBareLoop(benchmark::State& state, const std::string& path) {
  Sum sum;
  for (auto _ : state) benchmark::DoNotOptimize(sum = bareLoop(path));
  setRates(state, path, sum);
}

void measureBareLoopIntoArrays(benchmark::State& state, const std::string& path) {
  const Sum sum = bareLoop(path);
  for (auto _ : state) benchmark::DoNotOptimize(bareLoopIntoArrays(path, sum.points));
  setRates(state, path, sum);
}

void measureConversion(benchmark::State& state, const std::string& path,
                       const std::string& output) {
  const int level = static_cast<int>(state.range(0));
  convert(path, output, level);
  const Sum expected = bareLoop(path);
  const Sum found = sumOf(output);
  if (found.points != expected.points || std::fabs(found.x / expected.x - 1.0) > 1e-9)
    throw std::logic_error("the conversion lost something");
  for (auto _ : state) {
    state.PauseTiming();
    fs::remove(output);  // to free what it takes is no part of the conversion
    state.ResumeTiming();
    convert(path, output, level);
  }
  setRates(state, path, expected);
  state.counters["stored_MB"] = static_cast<double>(fs::file_size(output)) / 1e6;
}

/// Removed at the end.
struct TemporaryFile {
  std::string path;
  explicit TemporaryFile(const std::string& name)
      : path(fs::temp_directory_path() / (name + "-" + std::to_string(getpid()))) {}
  ~TemporaryFile() { fs::remove(path); }
};

}  // namespace

int main(int count, char** arguments) try {
  benchmark::Initialize(&count, arguments);
  Larder::Console::setSink([](const std::string&) {});
  const TemporaryFile scan("recast-scan"), output("recast-scan.q8");
  const std::string input = count > 1 ? arguments[1] : scan.path;
  if (count == 1) writeScan(scan.path, 2'000'000);
  benchmark::RegisterBenchmark("bare_loop", measureBareLoop, input)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark("bare_loop_into_arrays", measureBareLoopIntoArrays, input)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark("conversion", measureConversion, input, output.path)
      ->Arg(-1)
      ->Arg(0)
      ->Arg(1)
      ->Arg(6)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << "\n";
  return 1;
}
