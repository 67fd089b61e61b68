#include "recast/text_input/numbers.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "text_input/comma_locale.h"
#include "text_input/number_texts.h"
#include <gtest/gtest.h>

namespace {

using Larder::Text::Number;
using Larder::Text::NumberStatus;
using Larder::Text::toNumber;
using Larder::Text::toNumberOfAnyBase;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kTexts = 100000;
#else
constexpr int kTexts = 1000000;
#endif

/// What a conversion gives; `length` counts from the text's begin, and only for a converted number.
template <class T>
struct Outcome {
  NumberStatus status = NumberStatus::kNotANumber;
  T value{};
  std::size_t length = 0;

  bool operator==(const Outcome& other) const {
    return status == other.status && length == other.length &&
           std::memcmp(&value, &other.value, sizeof(T)) == 0;
  }
  friend std::ostream& operator<<(std::ostream& stream, const Outcome& outcome) {
    return stream << "status " << int(outcome.status) << ", value " << std::hexfloat
                  << outcome.value << ", length " << std::dec << outcome.length;
  }
};

template <class T>
Outcome<T> outcomeOf(const Number<T>& number, const char* begin) {
  if (!number.converted()) return {number.status};
  return {number.status, number.value, static_cast<std::size_t>(number.reached - begin)};
}

template <class Conversion>
auto outcomeOf(const Conversion& conversion) -> Outcome<decltype(conversion(nullptr))> {
  try {
    std::size_t length = 0;
    const auto value = conversion(&length);
    return {NumberStatus::kConverted, value, length};
  } catch (const std::invalid_argument&) {
    return {NumberStatus::kNotANumber};
  } catch (const std::out_of_range&) {
    return {NumberStatus::kOutOfRange};
  }
}

/// std::stoul with a long of 32 bits.
std::uint32_t shortStoul(const std::string& text, std::size_t* length) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  const bool isSigned = start != text.npos && (text[start] == '-' || text[start] == '+');
  const std::string digits = text.substr(std::min(text.size(), start) + (isSigned ? 1 : 0));
  if (digits.empty() || digits[0] < '0' || digits[0] > '9') throw std::invalid_argument(text);
  const unsigned long long number = std::stoull(digits, length);
  if (number > 0xffffffff) throw std::out_of_range(text);
  *length += text.size() - digits.size();
  return static_cast<std::uint32_t>(text[start] == '-' ? 0 - number : number);
}

float standard(const std::string& text, std::size_t* length, float) {
  return std::stof(text, length);
}
double standard(const std::string& text, std::size_t* length, double) {
  return std::stod(text, length);
}
std::int32_t standard(const std::string& text, std::size_t* length, std::int32_t) {
  return std::stoi(text, length);
}
std::uint32_t standard(const std::string& text, std::size_t* length, std::uint32_t) {
  return shortStoul(text, length);
}

/// Our outcome for a text behind which more of a number stands, so that reading on would show.
template <class T>
Outcome<T> ours(const std::string& text) {
  const std::string longer = text + "7.25e3";
  return outcomeOf(toNumber<T>({longer.data(), text.size()}), longer.data());
}

template <class T>
class NumbersOf : public testing::Test {};
using NumberTypes = testing::Types<float, double, std::int32_t, std::uint32_t>;
TYPED_TEST_SUITE(NumbersOf, NumberTypes);

TYPED_TEST(NumbersOf, AreThoseOfTheStandardConversionWhateverTheLocale) {
  constexpr std::uint64_t kSeed = 20240611;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  NumberTexts texts(kSeed);
  CommaLocale commaLocale;
  for (int done = 0; done < kTexts; done += 1000) {
    std::vector<std::string> batch;
    std::vector<Outcome<TypeParam>> expected;
    for (int i = 0; i < 1000; ++i) {
      const std::string& text = batch.emplace_back(texts.next());
      expected.push_back(
          outcomeOf([&](std::size_t* length) { return standard(text, length, TypeParam{}); }));
      ASSERT_EQ(ours<TypeParam>(text), expected.back()) << '"' << text << '"';
    }
    if (!commaLocale.available()) continue;
    ASSERT_TRUE(commaLocale.set());
    for (std::size_t i = 0; i < batch.size(); ++i)
      ASSERT_EQ(ours<TypeParam>(batch[i]), expected[i]) << '"' << batch[i] << "\" with a comma";
    commaLocale.unset();
  }
  if (!commaLocale.available())
    GTEST_SKIP() << "Only the \"C\" locale tested: localedef is missing";
}

TEST(Numbers, TellTheirFaultsAndHowFarTheyReachAndLeaveErrnoAlone) {
  errno = EDOM;
  EXPECT_EQ(toNumber<double>("2.5m").valueOrThrow(), 2.5);
  EXPECT_THROW(toNumber<double>("word").valueOrThrow(), std::invalid_argument);
  EXPECT_THROW(toNumber<float>("1e39").valueOrThrow(), std::out_of_range);
  EXPECT_EQ(toNumber<float>("1e-60").status, NumberStatus::kOutOfRange);
  EXPECT_EQ(toNumber<float>(std::string_view()).status, NumberStatus::kNotANumber);
  EXPECT_EQ(toNumber<std::int32_t>(std::string_view()).status, NumberStatus::kNotANumber);
  const std::string huge = "1e999abc";
  EXPECT_EQ(toNumber<double>(huge).reached, huge.data() + 5);
  const std::string word = " word";
  EXPECT_EQ(toNumber<float>(word).reached, word.data());
  EXPECT_EQ(toNumber<std::int32_t>(word).reached, word.data());
  EXPECT_EQ(errno, EDOM);
}

TEST(Numbers, OfAnyBaseTellItAtTheirStart) {
  EXPECT_EQ(toNumberOfAnyBase(" -0x1fZ").valueOrThrow(), 0U - 31U);
  EXPECT_EQ(toNumberOfAnyBase("017").valueOrThrow(), 15U);
  EXPECT_EQ(toNumberOfAnyBase("08").valueOrThrow(), 0U);
  EXPECT_EQ(toNumberOfAnyBase("0xg").valueOrThrow(), 0U);
  EXPECT_EQ(toNumberOfAnyBase("4294967296").status, NumberStatus::kOutOfRange);
}

TEST(Numbers, OfTheHundredThousandthDigitCount) {
  const std::string zeros(100000, '0');
  EXPECT_EQ(toNumber<double>("0." + zeros + "1e100001").valueOrThrow(), 1.0);
  EXPECT_EQ(toNumber<float>("1" + zeros + "e-100000").valueOrThrow(), 1.0f);
  EXPECT_EQ(toNumber<std::int32_t>(zeros + "12").valueOrThrow(), 12);
  EXPECT_EQ(toNumber<std::uint32_t>("1" + zeros).status, NumberStatus::kOutOfRange);
}

}  // namespace
