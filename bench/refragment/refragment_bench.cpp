// A cloud of 10 million points with six further fields in 10 source fragments, cut into 10 x 10 x 1
// fragments with an overlap of 0.05: the scan, the gathering, and the whole run beside a plain copy
// of the same arrays through the same storage.
//
//   bench_refragment --benchmark_repetitions=5 --benchmark_report_aggregates_only
//
// compare_with_numpy.py measures the same work beside a vectorised one in memory.

#include <random>

#include "support/bundles.h"
#include "support/temp_folder.h"
#include <benchmark/benchmark.h>

#include "recast/refragment/para_box.h"
#include "recast/refragment/point_assignment.h"
#include "recast/refragment/target_writing.h"

namespace {

using Point = Heron::PhysicalSpace::point;

constexpr std::size_t kSources = 10;
constexpr std::size_t kPointsPerSource = 1000000;
constexpr std::size_t kPoints = kSources * kPointsPerSource;
constexpr std::size_t kBytesPerPoint = sizeof(Point) + 8 + 4 + 4 + 1 + 2 + 3;
constexpr double kExtent = 1000.0;
constexpr double kHeight = 50.0;

template <class T, class Make>
void addFragment(const Larder::StrongPtr<Quilt::Representation>& target, const char* field,
                 std::size_t source, Make make) {
  auto chunk = Larder::makeStrong<Larder::Chunk<T>>(kPointsPerSource);
  for (std::size_t i = 0; i < kPointsPerSource; ++i) (*chunk)[i] = make(i);
  const auto held = (*target)[field].field();
  held->setPersistentData(Larder::makeStrong<Quilt::MemArray<1, T>>(
                              chunk, Quilt::MultiIndex<1>(kPointsPerSource), nullptr),
                          held->makeFragmentID("source " + std::to_string(source)),
                          Larder::Cache::MemCache(), "");
}

/// Points anywhere in a box, so that every source fragment reaches every target fragment.
void fillCloud(Quilt::Bundle& bundle) {
  const auto target = (*bundle[0.0])["Cloud"]->makeCartesianRepresentation(3, "", 0);
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> across(0.0, kExtent);
  std::uniform_real_distribution<double> up(0.0, kHeight);
  const auto number = [&](std::size_t) { return random(); };
  for (std::size_t s = 0; s < kSources; ++s) {
    addFragment<Point>(target, "Positions", s, [&](std::size_t) {
      return Point(across(random), across(random), up(random));
    });
    addFragment<double>(target, "Double", s, [&](std::size_t) { return across(random); });
    addFragment<float>(target, "Float", s,
                       [&](std::size_t) { return static_cast<float>(across(random)); });
    addFragment<int>(target, "Int", s, [&](std::size_t i) { return static_cast<int>(number(i)); });
    addFragment<unsigned char>(
        target, "Byte", s, [&](std::size_t i) { return static_cast<unsigned char>(number(i)); });
    addFragment<unsigned short>(
        target, "Short", s, [&](std::size_t i) { return static_cast<unsigned short>(number(i)); });
    addFragment<Heron::Colour>(target, "Colour", s, [&](std::size_t i) {
      return Heron::Colour(i & 255U, i >> 8U & 255U, i >> 16U & 255U);
    });
  }
}

const Quilt::BundlePtr& cloudInMemory() {
  static const Quilt::BundlePtr bundle = [] {
    Quilt::BundlePtr made(new Quilt::Bundle);
    fillCloud(*made);
    return made;
  }();
  return bundle;
}

class CloudInFile {
 public:
  CloudInFile() {
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    bundle->bindToNew(path());
    fillCloud(*bundle);
  }
  std::string path() const { return folder_ / "in.q8"; }
  std::string output() const { return folder_ / "out.q8"; }

 private:
  TestSupport::TempFolder folder_;
};

const CloudInFile& cloudInFile() {
  static const CloudInFile cloud;
  return cloud;
}

/// The plan of the run; what it reads the benchmarks set themselves.
Recast::RefragmentationPlan plan(int threads) {
  Recast::RefragmentationPlan made;
  made.parameters.overlap = 0.05;
  made.threads = threads;
  made.gridName = "Cloud";
  made.lattice = Recast::FragmentLattice::over({0, 0, 0}, {kExtent, kExtent, kHeight},
                                               {kExtent / 10, kExtent / 10, 0});
  return made;
}

Larder::StrongPtr<Quilt::Grid> gridOf(const Quilt::BundlePtr& bundle) {
  return (*(*bundle)(0.0))("Cloud");
}

void scan(Recast::ParaBox& box) {
  const auto positions = gridOf(cloudInMemory())->CartesianPositions();
  box.SourceFragments = positions->getFragmentIDs();
  box.SourcePoints.assign(box.SourceFragments.size(), kPointsPerSource);
  box.IndexLists = Recast::IndexLists(box.share());
  Recast::PointAssignment assignment(box.lattice(), box.Overlap);
  for (std::uint32_t source = 0; source < box.SourceFragments.size(); ++source) {
    const auto array = positions->getData(box.SourceFragments[source]);
    const auto* points = static_cast<const Point*>(array->getPtr());
    const auto piece = [points](std::uint64_t first, std::size_t, std::vector<std::byte>&) {
      return points + first;
    };
    assignment.assign({array->nElements(), piece}, source, box.Threads, box.IndexLists);
  }
}

/// Gathers into a bundle in memory.
void gather(Recast::ParaBox& box) {
  Quilt::BundlePtr output(new Quilt::Bundle);
  if (!writeTargetFrag(box, gridOf(cloudInMemory()), output, "Cloud").empty()) std::abort();
}

/// The entries of the assignment: 1.19 or so per point.
bool isPlausible(const Recast::ParaBox& box) {
  return box.IndexLists.points() > kPoints * 117 / 100 &&
         box.IndexLists.points() < kPoints * 121 / 100;
}

void Scan(benchmark::State& state) {
  const Larder::StrongPtr<Larder::LoaderProgress> none;
  Recast::ParaBox box(plan(1), none);
  scan(box);
  if (!isPlausible(box)) return state.SkipWithError("not the expected number of entries");
  for (auto _ : state) scan(box);
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
}

void Gather(benchmark::State& state) {
  const Larder::StrongPtr<Larder::LoaderProgress> none;
  Recast::ParaBox box(plan(static_cast<int>(state.range(0))), none);
  scan(box);
  for (auto _ : state) gather(box);
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * box.IndexLists.points() * kBytesPerPoint));
}

/// Copies as many bytes as `Gather`, in one stretch per array: the speed of the memory.
void CopyInMemory(benchmark::State& state) {
  std::vector<char> source(kPointsPerSource * kBytesPerPoint, 1);
  for (auto _ : state)
    for (std::size_t s = 0; s < kSources * 119 / 100; ++s) {
      std::vector<char> target(source);
      benchmark::DoNotOptimize(target.data());
    }
  state.SetBytesProcessed(
      static_cast<std::int64_t>(state.iterations() * (kSources * 119 / 100) * source.size()));
}

void ScanAndGather(benchmark::State& state) {
  const Larder::StrongPtr<Larder::LoaderProgress> none;
  Recast::ParaBox box(plan(static_cast<int>(state.range(0))), none);
  cloudInMemory();
  for (auto _ : state) {
    scan(box);
    gather(box);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
}

void WholeRun(benchmark::State& state) {
  Recast::RefragmentationParameters parameters;
  parameters.files = TestSupport::stringList({cloudInFile().path()});
  parameters.outFile = cloudInFile().output();
  parameters.bbox =
      Larder::makeStrong<Heron::BoundingBox>(Point(0, 0, 0), Point(kExtent, kExtent, kHeight));
  parameters.useBBoxMin = parameters.useBBoxMax = true;
  parameters.fragLength = {kExtent / 10, kExtent / 10, 0};
  parameters.overlap = 0.05;
  parameters.threads = static_cast<int>(state.range(0));
  parameters.compression = static_cast<int>(state.range(1));
  for (auto _ : state) {
    Recast::RefragmentationPlan made;
    std::string failure = planRefragmentation(parameters, made);
    if (failure.empty()) failure = runRefragmentation(made, nullptr);
    if (!failure.empty()) return state.SkipWithError(failure.c_str());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
}

/// Loads every array and stores it again, as it is.
void PlainCopy(benchmark::State& state) {
  cloudInFile();
  for (auto _ : state) {
    const auto source = TestSupport::loadBundle(cloudInFile().path());
    const Quilt::BundlePtr output(new Quilt::Bundle);
    output->bindToNew(cloudInFile().output());
    const auto target = (*(*output)[0.0])["Cloud"]->makeCartesianRepresentation(3, "", 0);
    gridOf(source)->getCartesianRepresentation("")->iterate(
        [&](const Quilt::FieldID& id, const Quilt::Field& field) {
          const auto copy = (*target)[id.name()].field();
          for (const auto& fragment : field.getFragmentIDs())
            copy->setPersistentData(field.getCreator(fragment)->produce(),
                                    copy->makeFragmentID(fragment->name()),
                                    Larder::Cache::MemCache(), "");
          return true;
        });
    output->complete();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kPoints));
}

BENCHMARK(Scan)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(CopyInMemory)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Gather)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ScanAndGather)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(PlainCopy)->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(WholeRun)
    ->ArgNames({"threads", "compression"})
    ->Args({2, -1})
    ->Args({1, 1})
    ->Args({2, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

}  // namespace

BENCHMARK_MAIN();
