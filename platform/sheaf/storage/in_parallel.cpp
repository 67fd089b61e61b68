#include "recast/sheaf/storage/in_parallel.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Quilt::Storage {
namespace {

// A thread costs some ten microseconds, a task of ours a millisecond.
constexpr std::size_t kTasksPerThread = 2;

}  // namespace

void inParallel(std::size_t tasks, const std::function<void(Counter&)>& work) {
  Counter counter(tasks);
  std::mutex mutex;
  std::exception_ptr error;
  const auto guarded = [&] {
    try {
      work(counter);
    } catch (...) {
      const std::lock_guard lock(mutex);
      if (!error) error = std::current_exception();
    }
  };
  const std::size_t most = std::max(1U, std::thread::hardware_concurrency());
  const std::size_t helpers = std::clamp<std::size_t>(tasks / kTasksPerThread, 1, most) - 1;
  std::vector<std::jthread> threads;
  threads.reserve(helpers);
  try {
    for (std::size_t i = 0; i < helpers; ++i) threads.emplace_back(guarded);
  } catch (const std::system_error&) {  // no thread to be had: this one does it all
  }
  guarded();
  threads.clear();
  if (error) std::rethrow_exception(error);
}

}  // namespace Quilt::Storage
