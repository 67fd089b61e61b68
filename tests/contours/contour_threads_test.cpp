#include <atomic>
#include <cmath>
#include <thread>

#include "contours/line_sets.h"
#include "support/console_capture.h"
#include <gmock/gmock.h>

#include "recast/contours/fragment_tracer.h"
#include "recast/contours/in_turns.h"
#include "recast/larder/console.h"

namespace contour_tests {
namespace {

using Recast::ContourFragment;
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

/// Values where missing ones leave gaps, of which the console hears, and more cells than one thread
/// is given.
ContourFragment noiseWithGaps() {
  std::vector<float> values(512 * 300);
  for (std::size_t k = 0; k < values.size(); ++k)
    values[k] = k % 977 == 0 ? std::nanf("") : static_cast<float>(k * 7919 % 101);
  ContourFragment fragment = fragmentOf(512, values);
  fragment.useSliceField = true;
  return fragment;
}

TEST(ContourThreads, SendMessagesOnTheCallingThreadInTheOrderOfOne) {
  std::vector<float> levels;
  for (int k = 0; k < 40; ++k) levels.push_back(static_cast<float>(k) + 30.5F);
  const auto messagesWith = [&](std::size_t threads) {
    std::vector<std::string> messages;
    const auto caller = std::this_thread::get_id();
    const auto former = Larder::Console::setSink([&](const std::string& message) {
      EXPECT_EQ(std::this_thread::get_id(), caller);
      messages.push_back(message);
    });
    ContourOutput output;
    FragmentTracer(noiseWithGaps(), threads).trace(levels, output);
    Larder::Console::setSink(former);
    return messages;
  };
  const auto ofOne = messagesWith(1);
  EXPECT_GT(ofOne.size(), 1000U);
  EXPECT_TRUE(messagesWith(3) == ofOne);
}

TEST(ContourMemory, PointsTakeRoomForTheirLinesAlone) {
  const TestSupport::ConsoleCapture console;
  const std::vector<float> levels = {30.5F, 50.5F, 70.5F};
  ContourFragment fragment = noiseWithGaps();
  ContourOutput noise;
  FragmentTracer(fragment).trace(levels, noise);
  EXPECT_GT(noise.Points.size(), 100'000U);
  EXPECT_LT(noise.Points.capacity(), noise.Points.size() / 2 * 3);
  fragment.onlyBorderLine = true;
  for (const std::size_t blocked : {60'000U, 60'001U}) fragment.cellTypes->data[blocked] = 1;
  ContourOutput border;
  FragmentTracer(fragment).trace(levels, border);
  EXPECT_GT(border.Points.size(), 0U);
  EXPECT_LT(border.Points.capacity(), 10'000U) << "the filter drops the rest";
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
