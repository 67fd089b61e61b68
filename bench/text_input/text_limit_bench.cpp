// How fast a text file can become numbers at all: the limit that converters are compared with.
//
//     bench_text_limit [<benchmark options>] [<file>]
//
// Without a file it makes two in the folder for temporary files: a scan of 180 MB and a raster of
// 175 MB.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "text_input/sample_text.h"
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "recast/text_input/line_reader.h"
#include "recast/text_input/tokens.h"

namespace {

namespace fs = std::filesystem;
using Larder::Text::LineReader;
using Larder::Text::Number;
using Larder::Text::TokenList;
using Larder::Text::TokenWalk;
using Larder::Text::toNumber;
using Larder::Text::untilNul;

struct Result {
  std::int64_t numbers = 0;
  double sum = 0;
  void add(double number) {
    ++numbers;
    sum += number;
  }
  bool operator==(const Result&) const = default;
};

/// A whole file in memory, by the system's paging.
class MappedFile {
 public:
  explicit MappedFile(const std::string& path) : size_(fs::file_size(path)) {
    const int descriptor = open(path.c_str(), O_RDONLY);
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

template <class T>
void addTokens(std::string_view line, Result& result) {
  TokenWalk walk(line, ' ');
  for (Number<T> number; walk.next(number);) result.add(number.value);
}

/// The bare loop: nothing but the conversion of every token of a mapped file.
template <class T>
Result mapped(const std::string& path) {
  Result result;
  const MappedFile file(path);
  std::string_view rest = file.text();
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    addTokens<T>(line, result);
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  return result;
}

/// The way of the converters: lines from the reader, numbers in one pass over each.
template <class T>
Result lineReader(const std::string& path) {
  Result result;
  LineReader reader(path);
  for (std::string_view line; reader.next(line);) addTokens<T>(untilNul(line), result);
  return result;
}

/// Tokens first, then numbers.
template <class T>
Result tokenList(const std::string& path) {
  Result result;
  LineReader reader(path);
  TokenList tokens;
  for (std::string_view line; reader.next(line);) {
    tokens.split(untilNul(line), ' ');
    for (std::string_view token : tokens) result.add(toNumber<T>(token).value);
  }
  return result;
}

/// The lines alone.
Result linesOnly(const std::string& path) {
  Result result;
  LineReader reader(path);
  for (std::string_view line; reader.next(line);) result.add(static_cast<double>(line.size()));
  return result;
}

/// The standard library's way.
template <class T>
Result standard(const std::string& path) {
  Result result;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    TokenWalk walk(line, ' ');
    for (std::string_view token; walk.next(token);) {
      const std::string copy(token);
      if constexpr (std::is_same_v<T, float>)
        result.add(std::stof(copy));
      else
        result.add(std::stod(copy));
    }
  }
  return result;
}

void measure(benchmark::State& state, Result (*run)(const std::string&), const std::string& path) {
  Result result;
  for (auto _ : state) benchmark::DoNotOptimize(result = run(path));
  state.SetItemsProcessed(state.iterations() * result.numbers);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(fs::file_size(path)));
}

template <class T>
void registerFor(const std::string& path, const std::string& name) {
  const std::pair<const char*, Result (*)(const std::string&)> ways[] = {
      {"mapped", mapped<T>},
      {"line_reader", lineReader<T>},
      {"token_list", tokenList<T>},
      {"standard", standard<T>}};
  const Result expected = standard<T>(path);
  for (const auto& [way, run] : ways) {
    if (!(run(path) == expected)) throw std::logic_error(name + " differs by " + way);
    benchmark::RegisterBenchmark((name + "/" + way).c_str(), measure, run, path)
        ->Unit(benchmark::kMillisecond);
  }
  benchmark::RegisterBenchmark((name + "/lines_only").c_str(), measure, linesOnly, path)
      ->Unit(benchmark::kMillisecond);
}

/// A file in the folder for temporary files, removed at the end.
struct TemporaryFile {
  std::string path;
  TemporaryFile(const std::string& name, const std::string& text)
      : path(fs::temp_directory_path() / (name + "_" + std::to_string(getpid()))) {
    if (!(std::ofstream(path, std::ios::binary) << text))
      throw std::runtime_error("can't write " + path);
  }
  ~TemporaryFile() { fs::remove(path); }
};

}  // namespace

int main(int count, char** arguments) try {
  benchmark::Initialize(&count, arguments);
  if (count > 1) {
    registerFor<double>(arguments[1], arguments[1]);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
  }
  const TemporaryFile scan("recast_scan", SampleText::scanLines(4000000));
  const TemporaryFile raster("recast_raster", SampleText::rasterRows(5000, 5000));
  registerFor<double>(scan.path, "scan");
  registerFor<float>(raster.path, "raster");
  benchmark::RunSpecifiedBenchmarks();
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
