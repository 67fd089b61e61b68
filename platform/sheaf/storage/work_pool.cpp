#include "recast/sheaf/storage/work_pool.h"

#include <exception>

namespace Quilt::Storage {

WorkPool::WorkPool(std::size_t threads) {
  threads_.reserve(threads);
  try {
    for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
  } catch (const std::exception&) {  // those that could be had do it all
  }
}

WorkPool::~WorkPool() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void WorkPool::enqueue(std::function<void()> task) {
  if (threads_.empty()) {
    task();
    return;
  }
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  wake_.notify_one();
}

void WorkPool::work() {
  for (;;) {
    std::function<void()> task;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
      if (tasks_.empty()) return;
      task = std::move(tasks_.front());
      tasks_.pop_front();
    }
    task();
  }
}

}  // namespace Quilt::Storage
