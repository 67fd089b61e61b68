#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "recast/text_input/numbers.h"

namespace Larder::Text {

/// A walk over the tokens of a text, the pieces between delimiters that aren't empty. Delimiters in
/// a row count as one, at the start and end of the text they count for nothing; no white space is
/// trimmed. Allocates nothing; the text must outlive the walk. A copy is a bookmark.
///
///     TokenWalk walk(untilNul(line), ' ');
///     for (Number<float> height; walk.next(height);) ...
class TokenWalk {
 public:
  TokenWalk(std::string_view text, char delimiter)
      : at_(text.data()),
        end_(text.data() + text.size()),
        delimiter_(delimiter),
        endsNumbers_(!mayStandInDecimal(delimiter)),
        isLong_(text.size() >= 8) {}

  /// Gives the next token. \return false if there is none.
  bool next(std::string_view& token) {
    if (!atToken()) return false;
    const char* const begin = at_;
    toTokenEnd();
    token = {begin, static_cast<std::size_t>(at_ - begin)};
    return true;
  }

  /// Gives the next token as a number, as toNumber(token) does, in one pass where possible.
  /// \return false if there is no token; `number` tells whether the token is one.
  template <NumberType T>
  [[gnu::always_inline]] bool next(Number<T>& number) {
    if (!atToken()) return false;
    if constexpr (std::integral<T>)
      if (endsNumbers_ && isLong_ && nextOfFewDigits(number)) return true;
    if (endsNumbers_ && Detail::plainNumber(at_, end_, number)) {
      at_ = number.reached;
      if (at_ != end_ && *at_ != delimiter_) toTokenEnd();
      return true;
    }
    std::string_view token;
    next(token);
    number = toNumber<T>(token);
    return true;
  }

  /// Passes over a token. \return false if there is none.
  bool skip() {
    std::string_view token;
    return next(token);
  }

 private:
  /// A decimal number ends at its token's end unless the delimiter could be part of it.
  static constexpr bool mayStandInDecimal(char c) {
    return Detail::digitOf(c) <= 9 || c == '+' || c == '-' || c == '.' || c == 'e' || c == 'E';
  }
  template <NumberType T>
  bool nextOfFewDigits(Number<T>& number) {
    std::uint64_t digits = 0;
    const char* const last = Detail::readFewDigits(at_, end_, digits);
    if (last == nullptr) return false;
    number = {static_cast<T>(digits), NumberStatus::kConverted, last};
    at_ = last;
    if (at_ != end_ && *at_ != delimiter_) toTokenEnd();
    return true;
  }
  bool atToken() {
    while (at_ != end_ && *at_ == delimiter_) ++at_;
    return at_ != end_;
  }
  void toTokenEnd() {
    while (at_ != end_ && *at_ != delimiter_) ++at_;
  }

  const char* at_;
  const char* end_;
  char delimiter_;
  bool endsNumbers_;
  bool isLong_;  ///< eight characters or more
};

inline std::size_t countTokens(std::string_view text, char delimiter) {
  std::size_t count = 0;
  for (TokenWalk walk(text, delimiter); walk.skip();) ++count;
  return count;
}

/// The `n`-th token, counted from 0; empty if there is none. Costs a walk to it.
inline std::string_view nthToken(std::string_view text, char delimiter, std::size_t n) {
  TokenWalk walk(text, delimiter);
  std::string_view token;
  for (std::size_t i = 0; i <= n; ++i)
    if (!walk.next(token)) return {};
  return token;
}

/// The tokens of one line after the other, for access in any order. Where numbers are wanted in
/// their order, a TokenWalk needs two thirds of the time. The text must outlive the use of its
/// tokens.
class TokenList {
 public:
  /// Takes the tokens of `text` in place of the former ones. Allocates only until the list has held
  /// the longest line.
  void split(std::string_view text, char delimiter) {
    tokens_.clear();
    TokenWalk walk(text, delimiter);
    for (std::string_view token; walk.next(token);) tokens_.push_back(token);
  }

  std::size_t size() const { return tokens_.size(); }
  /// \pre n < size()
  std::string_view operator[](std::size_t n) const { return tokens_[n]; }
  auto begin() const { return tokens_.begin(); }
  auto end() const { return tokens_.end(); }

 private:
  std::vector<std::string_view> tokens_;
};

}  // namespace Larder::Text
