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

/// True if the text has eight digits at `at`, whose number then comes in `number`.
/// `end` - `at` must be at least 8.
inline bool eightDigits(const char* at, std::uint64_t& number) {
  if constexpr (std::endian::native != std::endian::little) return false;
  std::uint64_t x;
  std::memcpy(&x, at, 8);
  x ^= 0x3030303030303030;  // digits become 0 to 9, all else more
  if ((((x & 0x7f7f7f7f7f7f7f7f) + 0x7676767676767676) | x) & 0x8080808080808080) return false;
  // Pairs of digits, then of pairs, then of fours; the first digit is in the lowest byte.
  x = x * 10 + (x >> 8);
  constexpr std::uint64_t kEveryFourth = 0x000000ff000000ff;
  x = (x & kEveryFourth) * (100 + (std::uint64_t{1000000} << 32)) +
      ((x >> 16) & kEveryFourth) * (1 + (std::uint64_t{10000} << 32));
  number = x >> 32;
  return true;
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
