#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace Quilt::Storage {

/// A few threads that run tasks in the order in which they were given. A task may wait for one
/// given before it, never for a later one. Where the system gives no thread, the caller of `run`
/// runs the task.
class WorkPool {
 public:
  explicit WorkPool(std::size_t threads);
  /// Runs what is left, then ends the threads.
  ~WorkPool();
  WorkPool(const WorkPool&) = delete;
  WorkPool& operator=(const WorkPool&) = delete;

  std::size_t threads() const { return threads_.size(); }
  /// Runs `task` on some thread; its result or exception arrives in the future.
  template <class Task>
  auto run(Task task) -> std::future<decltype(task())> {
    auto packaged = std::make_shared<std::packaged_task<decltype(task())()>>(std::move(task));
    auto future = packaged->get_future();
    enqueue([packaged] { (*packaged)(); });
    return future;
  }

 private:
  void enqueue(std::function<void()> task);
  void work();

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> tasks_;
  bool ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace Quilt::Storage
