#include <atomic>
#include <cmath>

#include "contours/line_sets.h"
#include <gmock/gmock.h>

#include "recast/contours/fragment_tracer.h"
#include "recast/contours/in_turns.h"

namespace contour_tests {
namespace {

using Recast::ContourOutput;
using Recast::FragmentTracer;
using Recast::Contours::inTurns;
using Recast::Contours::Turn;

TEST(ContourThreads, GiveTheLinesOfOneThreadInItsOrder) {
  constexpr int kColumns = 500;
  std::vector<float> values(kColumns * 300);
  for (std::size_t k = 0; k < values.size(); ++k)
    values[k] = static_cast<float>(20 * std::sin(static_cast<double>(k % kColumns) * 0.05) +
                                   static_cast<double>(k / kColumns % 90) * 0.3);
  const auto fragment = fragmentOf(kColumns, values);
  std::vector<float> levels;
  for (int k = 0; k < 41; ++k) levels.push_back(static_cast<float>(k * 7 % 41) - 10.5F);
  ContourOutput together;
  ContourOutput apart;
  std::size_t stitched = 0;
  {
    FragmentTracer tracer(fragment, 3);
    for (int round = 0; round < 2; ++round) stitched += tracer.trace(levels, together);
  }
  FragmentTracer tracer(fragment);
  for (int round = 0; round < 2; ++round)
    for (const float& level : levels) stitched -= tracer.trace({&level, 1}, apart);
  EXPECT_EQ(stitched, 0U);
  EXPECT_EQ(tracer.trace({}, apart), 0U);
  EXPECT_GT(together.Points.size(), 10'000U);
  EXPECT_TRUE(together.Lines == apart.Lines);
  EXPECT_TRUE(together.Points == apart.Points);
}

TEST(InTurns, HandsTheFirstFailureToTheCaller) {
  for (const bool whileWaiting : {false, true}) {
    std::atomic<int> ended = 0;
    EXPECT_THROW(inTurns(3, 100,
                         [&](std::size_t, std::size_t number, Turn& turn) {
                           if (number == 5 && !whileWaiting) throw std::length_error("5");
                           if (number == 7) throw std::runtime_error("7, later in order");
                           if (!turn.await()) return;
                           if (number == 5) throw std::length_error("5");
                           ASSERT_LT(number, 5U);
                           ++ended;
                         }),
                 std::length_error);
    EXPECT_EQ(ended, 5);
  }
}

}  // namespace
}  // namespace contour_tests
