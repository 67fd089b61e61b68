#include "recast/text_input/tokens.h"

#include <cstring>
#include <string>
#include <vector>

#include "text_input/number_texts.h"
#include <gtest/gtest.h>

#include "recast/text_input/line_reader.h"

namespace {

using Larder::Text::countTokens;
using Larder::Text::nthToken;
using Larder::Text::Number;
using Larder::Text::NumberStatus;
using Larder::Text::TokenList;
using Larder::Text::TokenWalk;
using Larder::Text::toNumber;
using Larder::Text::untilNul;

using Tokens = std::vector<std::string>;

Tokens walked(std::string_view text, char delimiter) {
  Tokens tokens;
  TokenWalk walk(text, delimiter);
  for (std::string_view token; walk.next(token);) tokens.emplace_back(token);
  return tokens;
}

Tokens listed(std::string_view text, char delimiter) {
  static TokenList list;  // used again for every text
  list.split(text, delimiter);
  return {list.begin(), list.end()};
}

/// Character by character.
Tokens expectedTokens(const std::string& text, char delimiter) {
  Tokens tokens;
  bool inToken = false;
  for (char c : text) {
    if (c != delimiter && !inToken) tokens.emplace_back();
    inToken = c != delimiter;
    if (inToken) tokens.back() += c;
  }
  return tokens;
}

TEST(Tokens, EndAtANul) {
  EXPECT_EQ(walked(untilNul(std::string_view("1 2\0 3", 6)), ' '), (Tokens{"1", "2"}));
  EXPECT_EQ(walked(untilNul(std::string_view("\0 3", 3)), ' '), Tokens{});
  EXPECT_EQ(walked({}, ' '), Tokens{});
}

TEST(Tokens, OfListCountAndWalkAgree) {
  NumberTexts random(11);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = random.some("ab;;; ", random.below(70));
    const Tokens expected = expectedTokens(text, ';');
    ASSERT_EQ(walked(text, ';'), expected) << text;
    ASSERT_EQ(listed(text, ';'), expected) << text;
    ASSERT_EQ(countTokens(text, ';'), expected.size()) << text;
    for (std::size_t n = 0; n < expected.size(); ++n)
      ASSERT_EQ(nthToken(text, ';', n), expected[n]) << text;
    ASSERT_EQ(nthToken(text, ';', expected.size()), "") << text;
  }
}

template <class T>
void expectNumbersOfTokens(const std::string& line, char delimiter) {
  TokenWalk walk(line, delimiter);
  Number<T> number;
  for (const std::string& token : expectedTokens(line, delimiter)) {
    ASSERT_TRUE(walk.next(number)) << '"' << line << '"';
    const Number<T> expected = toNumber<T>(token);
    ASSERT_EQ(number.status, expected.status) << '"' << token << "\" in \"" << line << '"';
    ASSERT_EQ(std::memcmp(&number.value, &expected.value, sizeof(T)), 0) << token;
  }
  ASSERT_FALSE(walk.next(number)) << '"' << line << '"';
}

TEST(Tokens, AreTheSameNumbersInOnePass) {
  constexpr std::uint64_t kSeed = 12;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  NumberTexts random(kSeed);
  for (int i = 0; i < 30000 && !testing::Test::HasFatalFailure(); ++i) {
    // Delimiters that may stand in a number are the hard ones.
    const char delimiter = random.some("  ;\t,x.-+eE05", 1)[0];
    std::string line;
    for (std::size_t n = random.below(6); n > 0; --n)
      line += (random.below(2) == 0 ? random.next()
                                    : std::to_string(random.below(5) << 7 * random.below(5))) +
              std::string(random.below(3), delimiter);
    expectNumbersOfTokens<float>(line, delimiter);
    expectNumbersOfTokens<double>(line, delimiter);
    expectNumbersOfTokens<std::int32_t>(line, delimiter);
    expectNumbersOfTokens<std::uint32_t>(line, delimiter);
  }
}

}  // namespace
