#include "recast/larder/console.h"

#include <algorithm>
#include <stdexcept>

#include "support/console_capture.h"
#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

TEST(Console, DeliversOneMessagePerObjectWhenItEnds) {
  const TestSupport::ConsoleCapture console;
  {
    Larder::Console outer;
    outer << "Have " << std::string("no ");
    Larder::Console() << "a message of its own";
    outer << "Positions";
    EXPECT_EQ(console.messages().size(), 1U);
  }
  { const Larder::Console silent; }
  EXPECT_THAT(console.messages(), ElementsAre("a message of its own", "Have no Positions", ""));
}

TEST(Console, WritesNumbersAsPrintfDoes) {
  const TestSupport::ConsoleCapture console;
  Larder::Console() << 3 << ' ' << -7L << ' ' << 18446744073709551615ULL << ' '
                    << static_cast<unsigned char>(200);
  Larder::Console() << 1.5 << " " << -0.0 << " " << 1e-7 << " " << 2.5F << " " << 1e20;
  EXPECT_THAT(console.messages(),
              ElementsAre("3 -7 18446744073709551615 200",
                          "1.500000 -0.000000 0.000000 2.500000 100000000000000000000.000000"));
}

TEST(Console, ASinkThatFailsDoesNotEndTheProgram) {
  const auto former = Larder::Console::setSink(
      [](const std::string&) { throw std::runtime_error("the host's window is closed"); });
  Larder::Console() << "lost";
  Larder::Console::setSink(former);
}

TEST(Console, WritesALineToStandardErrorWithoutASink) {
  const auto former = Larder::Console::setSink(nullptr);
  ::testing::internal::CaptureStderr();
  Larder::Console() << "Warning " << 1;
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Warning 1\n");
  Larder::Console::setSink(former);
}

TEST(Console, MessagesOfSeveralThreadsStayWhole) {
  TestSupport::ConsoleCapture console;
  TestSupport::inThreads(4, [](int thread) {
    for (int i = 0; i < 500; ++i) Larder::Console() << "thread " << thread << " says " << i;
  });
  std::vector<std::string> expected;
  for (int thread = 0; thread < 4; ++thread)
    for (int i = 0; i < 500; ++i)
      expected.push_back("thread " + std::to_string(thread) + " says " + std::to_string(i));
  std::sort(expected.begin(), expected.end());
  std::vector<std::string> messages = console.messages();
  std::sort(messages.begin(), messages.end());
  EXPECT_EQ(messages, expected);
}

}  // namespace
