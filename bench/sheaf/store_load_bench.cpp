// Storing and loading 10 million points of a scanned terrain, as doubles and as floats with a
// shift, by level of compression, beside HDF5's own filter pipeline on the same data, and beside
// loading a file without checksums:
//
//   bench_sheaf --benchmark_repetitions=5 --benchmark_report_aggregates_only
//
// "Time" is what the caller waits, the end on the disk included; "CPU" is that of all threads.
// Before anything is timed, it is made sure that what is stored comes back.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <hdf5.h>
#include <unistd.h>

#include "recast/sheaf/bundle.h"
#include "recast/typed_arrays/mem_array.h"

namespace {

using Point = Heron::PhysicalSpace::point;
using PointArray = Quilt::MemArray<1, Point>;

constexpr std::size_t kFragments = 10;
constexpr std::size_t kPerFragment = 1'000'000;
constexpr double kShift[3] = {3'456'500.0, 5'432'500.0, 120.0};

/// Points along scan lines 30 cm apart, with noise, in whole millimetres.
Larder::StrongPtr<PointArray> scannedFragment(std::size_t fragment) {
  std::mt19937 random(static_cast<unsigned>(fragment));
  std::normal_distribution<double> noise(0.0, 0.05);
  const auto array = Larder::makeStrong<PointArray>(Quilt::MultiIndex<1>(kPerFragment), nullptr);
  const auto millimetres = [](double metres) { return std::round(metres * 1000) / 1000; };
  for (std::size_t i = 0; i < kPerFragment; ++i) {
    const double x = 0.3 * static_cast<double>(i % 1000) + noise(random);
    const double y = 0.3 * static_cast<double>(i / 1000) + noise(random);
    const double z = 20 * std::sin(x * 0.02) * std::cos(y * 0.03) + noise(random);
    (*array)[i] = {millimetres(3'456'350.0 + x),
                   millimetres(5'432'350.0 + 300.0 * static_cast<double>(fragment) + y),
                   millimetres(120.0 + z)};
  }
  return array;
}

const std::vector<Larder::StrongPtr<PointArray>>& fragments() {
  static const auto all = [] {
    std::vector<Larder::StrongPtr<PointArray>> made;
    for (std::size_t i = 0; i < kFragments; ++i) made.push_back(scannedFragment(i));
    return made;
  }();
  return all;
}

/// A folder that lives as long as the program.
const std::string& folder() {
  struct Folder {
    Folder() {
      std::string pattern =
          (std::filesystem::temp_directory_path() / "recast-bench-XXXXXX").string();
      if (mkdtemp(pattern.data()) == nullptr) std::abort();
      path = pattern;
    }
    ~Folder() { std::filesystem::remove_all(path); }
    std::string path;
  };
  static const Folder instance;
  return instance.path;
}

struct Rules : Quilt::StorageTransformations {
  bool WriteAsSinglePrecision(const std::string&,
                              const Larder::StrongPtr<Larder::ChunkBase>&) const override {
    return singlePrecision;
  }
  bool EnableNumericalShift(const std::string&,
                            const Larder::StrongPtr<Larder::ChunkBase>&) const override {
    return singlePrecision;
  }
};

void store(const std::string& file, bool floats, int level) {
  const auto rules = Larder::makeStrong<Rules>();
  rules->singlePrecision = floats;
  rules->compressionLevel = level;
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  if (bundle->bindToNew(file, rules).number != 0) std::abort();
  const auto field =
      (*(*(*bundle)[0.0])["Cloud"]->makeCartesianRepresentation(3, "", 0))["Positions"].field();
  for (std::size_t i = 0; i < kFragments; ++i)
    field->setPersistentData(fragments()[i], field->makeFragmentID(std::to_string(i)),
                             Larder::Cache::MemCache(), "");
}

/// Reads all fragments. \return the sum of the first coordinates, so that nothing is read in vain.
double load(const std::string& file, double allowed) {
  const auto names = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
  bool ok = false;
  const auto bundle =
      Quilt::Bundle::load(ok, Larder::makeStrong<Larder::LoaderParameters>(names, false), nullptr);
  if (!ok) std::abort();
  const auto field = (*(*(*bundle)(0.0))("Cloud"))("Positions", "");
  double sum = 0.0;
  for (std::size_t i = 0; i < kFragments; ++i) {
    const auto array = field->getCreatorByName(std::to_string(i))->get().castTo<PointArray>();
    if (!array || array->nElements() != kPerFragment) std::abort();
    sum += array->first().x();
    for (std::size_t k = 0; allowed >= 0 && k < kPerFragment; ++k)
      for (std::size_t c = 0; c < 3; ++c)
        if (std::abs((*array)[k][c] - (*fragments()[i])[k][c]) > allowed) std::abort();
  }
  return sum;
}

/// The same data through HDF5's filters: the same chunks and filters, one thread.
void storeWithLibrary(const std::string& file, bool floats, unsigned level) {
  const hid_t out = H5Fcreate(file.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
  const hsize_t axes[] = {kPerFragment, 3};
  const hid_t space = H5Screate_simple(2, axes, nullptr);
  const hid_t properties = H5Pcreate(H5P_DATASET_CREATE);
  const hsize_t chunk[] = {(1U << 20) / 3 / (floats ? sizeof(float) : sizeof(double)), 3};
  if (level > 0) {
    H5Pset_chunk(properties, 2, chunk);
    H5Pset_shuffle(properties);
    H5Pset_deflate(properties, level);
  }
  std::vector<float> shifted;
  for (std::size_t i = 0; i < kFragments; ++i) {
    const hid_t dataset =
        H5Dcreate2(out, std::to_string(i).c_str(), floats ? H5T_IEEE_F32LE : H5T_IEEE_F64LE, space,
                   H5P_DEFAULT, properties, H5P_DEFAULT);
    const auto* numbers = static_cast<const double*>(fragments()[i]->getPtr());
    const void* data = numbers;
    if (floats) {
      shifted.resize(kPerFragment * 3);
      for (std::size_t k = 0; k < shifted.size(); ++k)
        shifted[k] = static_cast<float>(numbers[k] - kShift[k % 3]);
      data = shifted.data();
    }
    if (H5Dwrite(dataset, floats ? H5T_NATIVE_FLOAT : H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL,
                 H5P_DEFAULT, data) < 0)
      std::abort();
    H5Dclose(dataset);
  }
  H5Pclose(properties);
  H5Sclose(space);
  H5Fclose(out);
  const int descriptor = open(file.c_str(), O_RDONLY);
  fsync(descriptor);
  close(descriptor);
}

double loadWithLibrary(const std::string& file, bool floats) {
  const hid_t in = H5Fopen(file.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
  double sum = 0.0;
  for (std::size_t i = 0; i < kFragments; ++i) {
    std::vector<double> numbers(kPerFragment * 3);  // an array of its own, as ours have
    const hid_t dataset = H5Dopen2(in, std::to_string(i).c_str(), H5P_DEFAULT);
    if (H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()) < 0)
      std::abort();
    for (std::size_t k = 0; floats && k < numbers.size(); ++k) numbers[k] += kShift[k % 3];
    sum += numbers[0];
    H5Dclose(dataset);
  }
  H5Fclose(in);
  return sum;
}

/// Takes the checksums out of a file's table.
void dropChecksums(const std::string& file) {
  const hid_t access = H5Pcreate(H5P_FILE_ACCESS);
  H5Pset_libver_bounds(access, H5F_LIBVER_V110, H5F_LIBVER_V110);
  const hid_t out = H5Fopen(file.c_str(), H5F_ACC_RDWR, access);
  const hid_t field = H5Gopen2(out, "0.000000/Cloud/Skeleton_3_0/Cartesian/Positions", H5P_DEFAULT);
  const hid_t table = H5Dopen2(field, "@fragments", H5P_DEFAULT);
  const hid_t full = H5Dget_type(table);
  const hid_t row = H5Tcreate(H5T_COMPOUND, H5Tget_size(full));
  for (unsigned i = 0; i < static_cast<unsigned>(H5Tget_nmembers(full)); ++i) {
    char* name = H5Tget_member_name(full, i);
    if (std::string(name) != "checked" && std::string(name) != "checksum")
      H5Tinsert(row, name, H5Tget_member_offset(full, i), H5Tget_member_type(full, i));
    H5free_memory(name);
  }
  std::vector<char> rows(kFragments * H5Tget_size(full));
  if (H5Dread(table, row, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()) < 0) std::abort();
  const hid_t space = H5Dget_space(table);
  H5Dclose(table);
  H5Ldelete(field, "@fragments", H5P_DEFAULT);
  const hid_t fresh =
      H5Dcreate2(field, "@fragments", row, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  if (H5Dwrite(fresh, row, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()) < 0) std::abort();
  H5Dclose(fresh);
  H5Gclose(field);
  H5Fclose(out);
}

void report(benchmark::State& state, const std::string& file) {
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(kFragments * kPerFragment));
  state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(file)) / 1e6;
}

void Store(benchmark::State& state) {
  const bool floats = state.range(0) != 0;
  const auto level = static_cast<int>(state.range(1));
  const std::string file = folder() + "/store.q8";
  store(file, floats, level);
  load(file, floats ? 0.001 : 0.0);
  for (auto _ : state) store(file, floats, level);
  report(state, file);
}

void StoreWithLibrary(benchmark::State& state) {
  const bool floats = state.range(0) != 0;
  const std::string file = folder() + "/library.h5";
  fragments();
  for (auto _ : state) storeWithLibrary(file, floats, static_cast<unsigned>(state.range(1)));
  report(state, file);
}

void Load(benchmark::State& state) {
  const bool floats = state.range(0) != 0;
  const std::string file = folder() + "/store.q8";
  store(file, floats, static_cast<int>(state.range(1)));
  for (auto _ : state) benchmark::DoNotOptimize(load(file, -1));
  report(state, file);
}

void LoadUnchecked(benchmark::State& state) {
  const bool floats = state.range(0) != 0;
  const std::string file = folder() + "/unchecked.q8";
  store(file, floats, static_cast<int>(state.range(1)));
  dropChecksums(file);
  load(file, floats ? 0.001 : 0.0);
  for (auto _ : state) benchmark::DoNotOptimize(load(file, -1));
  report(state, file);
}

void LoadWithLibrary(benchmark::State& state) {
  const bool floats = state.range(0) != 0;
  const std::string file = folder() + "/library.h5";
  storeWithLibrary(file, floats, static_cast<unsigned>(state.range(1)));
  for (auto _ : state) benchmark::DoNotOptimize(loadWithLibrary(file, floats));
  report(state, file);
}

/// One form and level after the other, ours and the library's side by side.
void registerAll() {
  const struct {
    const char* name;
    void (*run)(benchmark::State&);
  } kinds[] = {{"Store", Store},
               {"StoreWithLibrary", StoreWithLibrary},
               {"Load", Load},
               {"LoadUnchecked", LoadUnchecked},
               {"LoadWithLibrary", LoadWithLibrary}};
  for (const bool floats : {false, true})
    for (const int level : {0, 1, 6, 9})
      for (const auto& kind : kinds)
        benchmark::RegisterBenchmark(kind.name, kind.run)
            ->Args({floats ? 1 : 0, level})
            ->ArgNames({"floats", "level"})
            ->Unit(benchmark::kMillisecond)
            ->Iterations(1)
            ->UseRealTime()
            ->MeasureProcessCPUTime();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  registerAll();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
