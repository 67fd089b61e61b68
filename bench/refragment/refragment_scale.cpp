// One refragmentation of any size: time, memory and bytes of the file.
//
//   bench_refragment_scale <million points> <fragments along x and y> <passes> [threads] [bytes of
//   memory for the cache]
//
// The cloud has six fields beside the positions and a million points in each source fragment; it is
// written first, in a process of its own, so that the memory told is that of the run alone.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "support/bundles.h"
#include "support/temp_folder.h"
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "recast/refragment/refragmentation_plan.h"

namespace {

using Point = Heron::PhysicalSpace::point;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPointsPerSource = 1000000;
constexpr double kExtent = 1000.0;
constexpr int kFields = 7;

template <class T, class Make>
void addFragment(const Larder::StrongPtr<Quilt::Representation>& target, const char* field,
                 const std::string& name, Make make) {
  auto chunk = Larder::makeStrong<Larder::Chunk<T>>(kPointsPerSource);
  for (T& value : *chunk) value = make();
  const auto held = (*target)[field].field();
  held->setPersistentData(Larder::makeStrong<Quilt::MemArray<1, T>>(
                              chunk, Quilt::MultiIndex<1>(kPointsPerSource), nullptr),
                          held->makeFragmentID(name), Larder::Cache::MemCache(), "");
}

void writeCloud(const std::string& path, std::size_t sources) {
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  bundle->bindToNew(path);
  const auto target = (*(*bundle)[0.0])["Cloud"]->makeCartesianRepresentation(3, "", 0);
  std::mt19937_64 random(1);
  const auto unit = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
  for (std::size_t s = 0; s < sources; ++s) {
    const std::string name = "source " + std::to_string(s);
    addFragment<Point>(target, "Positions", name,
                       [&] { return Point(kExtent * unit(), kExtent * unit(), 50 * unit()); });
    addFragment<double>(target, "Double", name, unit);
    addFragment<float>(target, "Float", name, [&] { return static_cast<float>(unit()); });
    addFragment<int>(target, "Int", name, [&] { return static_cast<int>(random()); });
    addFragment<unsigned char>(target, "Byte", name,
                               [&] { return static_cast<unsigned char>(random()); });
    addFragment<unsigned short>(target, "Short", name,
                                [&] { return static_cast<unsigned short>(random()); });
    addFragment<Heron::Colour>(target, "Colour", name, [&] {
      const auto bits = random();
      return Heron::Colour(bits & 255U, bits >> 8U & 255U, bits >> 16U & 255U);
    });
  }
}

struct Messages : Larder::LoaderProgress {
  bool reportProgress(const std::string&, int, int) override { return true; }
  void reportMessage(const std::string& text) override { std::printf("  %s\n", text.c_str()); }
};

struct Cost {
  double seconds;
  double cpuSeconds;  // of all threads, user and system
  double peakMiB;
};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

/// Runs `work` in a process of its own.
template <class Work>
Cost inAProcess(Work work) {
  const auto start = Clock::now();
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    work();
    std::fflush(stdout);
    _exit(0);
  }
  rusage usage{};
  int status = 0;
  wait4(child, &status, 0, &usage);
  if (status != 0) std::exit(1);
  return {std::chrono::duration<double>(Clock::now() - start).count(),
          seconds(usage.ru_utime) + seconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) / 1024};
}

void refragment(const TestSupport::TempFolder& folder, double fragments, unsigned passes,
                int threads) {
  Recast::RefragmentationParameters parameters;
  parameters.files = TestSupport::stringList({folder / "in.q8"});
  parameters.outFile = folder / "out.q8";
  parameters.bbox =
      Larder::makeStrong<Heron::BoundingBox>(Point(0, 0, 0), Point(kExtent, kExtent, 50));
  parameters.useBBoxMin = parameters.useBBoxMax = true;
  parameters.fragLength = {kExtent / fragments, kExtent / fragments, 0};
  parameters.overlap = 0.05;
  parameters.loopsOverFrags = passes;
  parameters.threads = threads;
  Recast::RefragmentationPlan plan;
  std::string failure = planRefragmentation(parameters, plan);
  if (failure.empty()) failure = runRefragmentation(plan, Larder::makeStrong<Messages>());
  if (!failure.empty()) std::printf("%s\n", failure.c_str());
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) return 2;
  const auto sources = static_cast<std::size_t>(std::atoi(arguments[1]));
  const double fragments = std::atof(arguments[2]);
  const auto passes = static_cast<unsigned>(std::atoi(arguments[3]));
  const int threads = count > 4 ? std::atoi(arguments[4]) : -1;
  if (count > 5)
    Larder::Cache::MemCache().setBudget(static_cast<std::size_t>(std::atoll(arguments[5])));
  const TestSupport::TempFolder folder;
  inAProcess([&] { writeCloud(folder / "in.q8", sources); });
  const Cost run = inAProcess([&] { refragment(folder, fragments, passes, threads); });
  const Cost load = inAProcess([&] { TestSupport::loadBundle(folder / "out.q8"); });
  const auto bytesIn = static_cast<double>(std::filesystem::file_size(folder / "in.q8"));
  const auto bytesOut = static_cast<double>(std::filesystem::file_size(folder / "out.q8"));
  const double arrays = fragments * fragments * kFields;
  std::printf("run:  %.2f s, CPU %.2f s, %.0f MiB; %.2f us of CPU per fragment and field\n",
              run.seconds, run.cpuSeconds, run.peakMiB, 1e6 * run.cpuSeconds / arrays);
  std::printf("load: %.2f s, CPU %.2f s, %.0f MiB\n", load.seconds, load.cpuSeconds, load.peakMiB);
  std::printf("file: %.1f MB from %.1f MB\n", bytesOut / 1e6, bytesIn / 1e6);
}
