#pragma once

#include <latch>
#include <thread>
#include <vector>

namespace TestSupport {

/// Calls `work(i)` for i from 0 to `threads` - 1, each in a thread of its own and all at once.
template <class Work>
void inThreads(int threads, Work work) {
  std::latch start(threads);
  std::vector<std::thread> running;
  for (int i = 0; i < threads; ++i)
    running.emplace_back([&, i] {
      start.arrive_and_wait();
      work(i);
    });
  for (auto& thread : running) thread.join();
}

}  // namespace TestSupport
