#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// The digits of numbers in text: what the conversions of numbers.h are made of.
namespace Larder::Text::Detail {

/// White space as the "C" locale has it.
constexpr bool isSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr const char* skipSpaces(const char* at, const char* end) {
  while (at != end && isSpace(*at)) ++at;
  return at;
}

constexpr unsigned digitOf(char c) {
  return static_cast<unsigned char>(c - '0');
}

/// Eight characters of a text, the first one in the lowest byte, with digits as 0 to 9 and all else
/// as more. For little-endian machines alone.
inline std::uint64_t eightCharacters(const char* at) {
  std::uint64_t x;
  std::memcpy(&x, at, 8);
  return x ^ 0x3030303030303030;
}

/// The highest bit of each of the eight characters that is no digit.
inline std::uint64_t markedNoDigits(std::uint64_t eight) {
  return (((eight & 0x7f7f7f7f7f7f7f7f) + 0x7676767676767676) | eight) & 0x8080808080808080;
}

/// The number of eight digits.
inline std::uint64_t numberOfDigits(std::uint64_t eight) {
  // Pairs of digits, then of pairs, then of fours.
  eight = eight * 10 + (eight >> 8);
  constexpr std::uint64_t kEveryFourth = 0x000000ff000000ff;
  eight = (eight & kEveryFourth) * (100 + (std::uint64_t{1000000} << 32)) +
          ((eight >> 16) & kEveryFourth) * (1 + (std::uint64_t{10000} << 32));
  return eight >> 32;
}

/// True if the text has eight digits at `at`, whose number then comes in `number`.
/// `end` - `at` must be at least 8.
inline bool eightDigits(const char* at, std::uint64_t& number) {
  if constexpr (std::endian::native != std::endian::little) return false;
  const std::uint64_t eight = eightCharacters(at);
  if (markedNoDigits(eight) != 0) return false;
  number = numberOfDigits(eight);
  return true;
}

/// Reads one to seven digits at `at` without a branch on how many there are, which can't be
/// foreseen where small numbers of one to three digits follow each other. At least 8 characters
/// before `end` must be the text's. \return the place behind the last digit; null for no or more
/// digits.
inline const char* readFewDigits(const char* at, const char* end, std::uint64_t& number) {
  if constexpr (std::endian::native != std::endian::little) return nullptr;
  const char* const from = end - at < 8 ? end - 8 : at;
  const auto behind = 8 * static_cast<unsigned>(at - from);
  // What is behind the end comes as characters that are no digits.
  std::uint64_t eight = eightCharacters(from);
  if (behind != 0) eight = (eight >> behind) | (~std::uint64_t{0} << (64 - behind));
  const std::uint64_t marked = markedNoDigits(eight);
  if (marked == 0) return nullptr;
  const auto digits = static_cast<unsigned>(std::countr_zero(marked)) / 8;
  if (digits == 0) return nullptr;
  number = numberOfDigits(eight << (64 - 8 * digits));
  return at + digits;
}

/// Appends the digits at `at` to `number`, which wraps around behind the 19th.
/// \return the place behind the last digit.
inline const char* readDigits(const char* at, const char* end, std::uint64_t& number) {
  for (; at != end && digitOf(*at) <= 9; ++at) number = number * 10 + digitOf(*at);
  return at;
}

/// As readDigits, faster for eight digits and more.
inline const char* readManyDigits(const char* at, const char* end, std::uint64_t& number) {
  for (std::uint64_t eight; end - at >= 8 && eightDigits(at, eight); at += 8)
    number = number * 100000000 + eight;
  return readDigits(at, end, number);
}

/// A number as digits, point and exponent tell it: `digits` times ten to the `exponent`.
struct PlainDecimal {
  std::uint64_t digits = 0;
  std::ptrdiff_t exponent = 0;
  bool complete = true;  ///< false if `digits` and `exponent` don't hold all that the text says
  bool negative = false;
  const char* begin = nullptr;  ///< behind the sign
  const char* end = nullptr;

  std::string_view withoutSign() const { return {begin, static_cast<std::size_t>(end - begin)}; }
};

/// Reads the exponent behind an "e" into `decimal`; without digits there the number ends before it.
inline void scanExponent(const char* at, const char* end, PlainDecimal& decimal) {
  const bool negative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) ++at;
  std::uint64_t number = 0;
  const char* const last = readDigits(at, end, number);
  if (last == at) return;
  decimal.end = last;
  if (last - at > 4)
    decimal.complete = false;
  else
    decimal.exponent += static_cast<std::ptrdiff_t>(negative ? 0 - number : number);
}

/// Reads the decimal number at the start of the text, without white space before it. False if there
/// is none, or a hexadecimal one.
///
/// Digit by digit: where numbers have similar lengths, as in most files, the branches are predicted
/// and the next number's start is known early; reading the integer part by words is slower there.
[[gnu::always_inline]] inline bool scanPlainDecimal(const char* at, const char* end,
                                                    PlainDecimal& decimal) {
  if (at == end) return false;
  decimal.negative = *at == '-';
  if (*at == '-' || *at == '+') ++at;
  decimal.begin = at;
  at = readDigits(at, end, decimal.digits);
  auto count = at - decimal.begin;
  if (at != end && *at == '.') {
    const char* const fraction = ++at;
    at = readManyDigits(at, end, decimal.digits);
    decimal.exponent = fraction - at;
    count += at - fraction;
  }
  if (count == 0) return false;
  decimal.complete = count <= 19;
  decimal.end = at;
  if (at == end) return true;
  const char lower = static_cast<char>(*at | 0x20);
  if (lower == 'e') scanExponent(at + 1, end, decimal);
  return lower != 'x';
}

}  // namespace Larder::Text::Detail
