#include "recast/refragment/parallel_loop.h"

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Recast::forEachInParallel;

TEST(ParallelLoop, DoesEachNumberOnce) {
  for (const int threads : {0, 1, 2, 8, 1000000})
    for (const std::uint64_t count : {0U, 1U, 3U, 1000U}) {
      std::vector<std::atomic<int>> done(count);
      forEachInParallel(threads, count, [&](std::uint64_t i) { ++done[i]; });
      for (const auto& times : done) ASSERT_EQ(times, 1);
    }
}

TEST(ParallelLoop, AnExceptionArrivesOnTheCallersThreadAndEndsTheLoop) {
  for (const int threads : {1, 2, 8}) {
    std::atomic<int> done{0};
    const auto caller = std::this_thread::get_id();
    try {
      forEachInParallel(threads, 1000000, [&](std::uint64_t i) {
        if (i == 10) throw std::runtime_error("ten");
        ++done;
      });
      FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "ten");
      EXPECT_EQ(std::this_thread::get_id(), caller);
    }
    EXPECT_LT(done, 1000000);
  }
}

}  // namespace
