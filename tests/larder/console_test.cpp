#include "recast/larder/console.h"

#include <set>
#include <stdexcept>

#include "support/console_capture.h"
#include "support/in_threads.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

TEST(Console, DeliversOneMessagePerObjectWithNumbersAsPrintfWritesThem) {
  const TestSupport::ConsoleCapture console;
  {
    Larder::Console outer;
    outer << "Have " << 3 << std::string(" ") << -7L << ' ' << 18446744073709551615ULL;
    Larder::Console() << static_cast<unsigned char>(200) << " " << -0.0 << " " << 1e-7 << " "
                      << 2.5F << " " << 1e20;
    outer << " Positions";
  }
  EXPECT_THAT(console.messages(),
              ElementsAre("200 -0.000000 0.000000 2.500000 100000000000000000000.000000",
                          "Have 3 -7 18446744073709551615 Positions"));
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

TEST(Console, SeveralThreadsSpeakOneAfterTheOther) {
  std::set<std::string> messages;  // the sink need not guard it
  const auto former =
      Larder::Console::setSink([&](const std::string& message) { messages.insert(message); });
  TestSupport::inThreads(4, [](int thread) {
    for (int i = 0; i < 500; ++i) Larder::Console() << "thread " << thread << " says " << i;
  });
  Larder::Console::setSink(former);
  EXPECT_EQ(messages.size(), 2000U);
  EXPECT_TRUE(messages.contains("thread 3 says 499"));
}

}  // namespace
