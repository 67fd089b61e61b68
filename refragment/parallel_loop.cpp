#include "recast/refragment/parallel_loop.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <latch>
#include <mutex>
#include <thread>
#include <vector>

// GCC's OpenMP runtime is a closed book to ThreadSanitizer, which then takes every hand-over
// through it for a race. In such a build the same loop runs on plain threads; clang's runtime tells
// the sanitizer what it does.
#if defined(__SANITIZE_THREAD__) && !defined(__clang__)
#define RECAST_PLAIN_THREADS 1
#else
#define RECAST_PLAIN_THREADS 0
#include <omp.h>
#endif

namespace Recast {
namespace {

/// More threads than this help nobody.
constexpr int kMostThreads = 256;

/// Keeps the first exception of several threads.
class FirstException {
 public:
  bool isThere() const { return there_.load(std::memory_order_acquire); }
  void keepCurrent() {
    const std::lock_guard lock(mutex_);
    if (!exception_) exception_ = std::current_exception();
    there_.store(true, std::memory_order_release);
  }
  void rethrow() const {
    if (exception_) std::rethrow_exception(exception_);
  }

 private:
  std::mutex mutex_;
  std::exception_ptr exception_;
  std::atomic<bool> there_{false};
};

int threadsFor(int wanted, int byDefault, std::uint64_t count) {
  const int most = std::min(wanted > 0 ? wanted : byDefault, kMostThreads);
  return static_cast<int>(std::clamp<std::uint64_t>(count, 1, static_cast<std::uint64_t>(most)));
}

/// How many threads the system gives at this moment, up to `wanted`, this one among them.
int creatableThreads(int wanted) {
  std::latch allMade(1);
  std::vector<std::jthread> probes;
  try {
    for (int i = 1; i < wanted; ++i) probes.emplace_back([&allMade] { allMade.wait(); });
  } catch (const std::exception&) {  // no more threads, or no memory for them
  }
  allMade.count_down();
  return 1 + static_cast<int>(probes.size());
}

#if RECAST_PLAIN_THREADS

template <class Step>
void runOnThreads(int wanted, std::uint64_t count, Step step) {
  const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  std::atomic<std::uint64_t> next{0};
  const auto work = [&] {
    for (std::uint64_t i = next++; i < count; i = next++) step(i);
  };
  const int threads = creatableThreads(threadsFor(wanted, cores, count));
  std::vector<std::jthread> others;
  for (int i = 1; i < threads; ++i) others.emplace_back(work);
  work();
}

#else

template <class Step>
void runOnThreads(int wanted, std::uint64_t count, Step step) {
  // The OpenMP runtime ends the process where it can't create a thread.
  const int threads = creatableThreads(threadsFor(wanted, omp_get_max_threads(), count));
#pragma omp parallel for num_threads(threads) schedule(dynamic, 1)
  for (std::uint64_t i = 0; i < count; ++i) step(i);
}

#endif

}  // namespace

void forEachInParallel(int threads, std::uint64_t count,
                       const std::function<void(std::uint64_t)>& body) {
  FirstException first;
  runOnThreads(threads, count, [&](std::uint64_t i) {
    if (first.isThere()) return;
    try {
      body(i);
    } catch (...) {
      first.keepCurrent();
    }
  });
  first.rethrow();
}

}  // namespace Recast
