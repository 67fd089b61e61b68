#include "recast/columns/string_to_value.h"

#include <cmath>

#include "support/console_capture.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Heron::PhysicalSpace;
using Recast::StringToValue;

/// The value of one token, or nothing if it doesn't convert; `out` must stay as it was then.
template <class T>
std::optional<T> converted(const std::string& token, T before) {
  T value = before;
  if (StringToValue({token}, {0}, value)) return value;
  EXPECT_EQ(value, before) << token;
  return std::nullopt;
}

template <class T>
struct Case {
  const char* token;
  std::optional<T> value;
};

template <class T>
void expectAll(const std::vector<Case<T>>& cases) {
  for (const auto& [token, value] : cases)
    EXPECT_EQ(converted<T>(token, T(77)), value) << "\"" << token << "\"";
}

constexpr std::nullopt_t kFails = std::nullopt;

TEST(StringToValue, NumbersAreThoseOfTheStandardConversionsOn32Bits) {
  expectAll<unsigned int>({{"4294967295", 4294967295U},
                           {"4294967296", kFails},
                           {"-1", 4294967295U},
                           {"-4294967295", 1U},
                           {" +12abc", 12U},
                           {"0x10", 0U},
                           {"010", 10U},
                           {"x", kFails},
                           {"", kFails}});
  expectAll<unsigned short>({{"65536", static_cast<unsigned short>(0)},
                             {"-1", static_cast<unsigned short>(65535)},
                             {"2147483647", static_cast<unsigned short>(65535)},
                             {"2147483648", kFails},
                             {"-2147483648", static_cast<unsigned short>(0)},
                             {"-2147483649", kFails}});
  expectAll<unsigned char>({{"300", static_cast<unsigned char>(44)},
                            {"-1", static_cast<unsigned char>(255)},
                            {"7.9", static_cast<unsigned char>(7)},
                            {"2147483648", kFails},
                            {"abc", kFails}});
  expectAll<int>({{"-2147483648", -2147483647 - 1},
                  {"-2147483649", kFails},
                  {"\t\v 12", 12},
                  {"- 1", kFails},
                  {"1e3", 1}});
  expectAll<float>({{"1.5", 1.5F},
                    {"0x1p3", 8.0F},
                    {"1e39", kFails},
                    {"1e-46", kFails},
                    {"-inf", -HUGE_VALF},
                    {"16777217", 16777216.0F},
                    {"1,5", 1.0F},
                    {"word", kFails}});
  expectAll<double>({{"3512741.615", 3512741.615},
                     {"1e999", kFails},
                     {".", kFails},
                     {"5.e-1m", 0.5},
                     {"infinity", HUGE_VAL}});
}

TEST(StringToValue, TheFirstPositionCountsForNumbers) {
  double value = 0.0;
  EXPECT_TRUE(StringToValue({"1", "2", "x"}, {1, 2}, value));
  EXPECT_EQ(value, 2.0);
}

TEST(StringToValue, PointsAndColoursTakeUpToThreePositionsAllOrNothing) {
  const std::vector<std::string> tokens = {"1", "2.5", "3", "x", "300", "-1"};
  PhysicalSpace::point point(7, 8, 9);
  EXPECT_TRUE(StringToValue(tokens, {2, 1, 0}, point));
  EXPECT_EQ(point, PhysicalSpace::point(3, 2.5, 1));
  EXPECT_FALSE(StringToValue(tokens, {0, 1, 3}, point));
  EXPECT_EQ(point, PhysicalSpace::point(3, 2.5, 1)) << "not partly written";
  PhysicalSpace::vector vector(7, 8, 9);
  EXPECT_TRUE(StringToValue(tokens, {4, 4}, vector));
  EXPECT_EQ(vector, PhysicalSpace::vector(300, 300, 0));
  Heron::Colour colour(1, 2, 3);
  EXPECT_TRUE(StringToValue(tokens, {4, 5, 1}, colour));
  EXPECT_EQ(colour, Heron::Colour(44, 255, 2));
  EXPECT_TRUE(StringToValue(tokens, {}, colour));
  EXPECT_EQ(colour, Heron::Colour(0, 0, 0));
}

TEST(StringToValue, PositionsThatCannotBeReadFail) {
  const std::vector<std::string> tokens = {"1", "2"};
  int number = 7;
  EXPECT_FALSE(StringToValue(tokens, {}, number));
  EXPECT_FALSE(StringToValue(tokens, {2}, number));
  EXPECT_EQ(number, 7);
  PhysicalSpace::point point(7, 8, 9);
  EXPECT_FALSE(StringToValue(tokens, {0, 1, 0, 1}, point));
  EXPECT_FALSE(StringToValue(tokens, {0, 4294967295U}, point));
  EXPECT_EQ(point, PhysicalSpace::point(7, 8, 9));
}

TEST(ShowBadLine, GivesEveryTokenAsAMessage) {
  const TestSupport::ConsoleCapture console;
  testing::internal::CaptureStdout();
  Recast::showBadLine({"1", "", "two"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Bad line at: \n");
  EXPECT_THAT(console.messages(), testing::ElementsAre("-->1", "-->", "-->two"));
}

}  // namespace
