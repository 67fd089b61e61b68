#pragma once

#include <cfloat>
#include <cmath>
#include <concepts>
#include <limits>
#include <string_view>

#include "recast/text_input/decimal_scan.h"

/// Reading of text files: lines, tokens and numbers.
namespace Larder::Text {

enum class NumberStatus : unsigned char {
  kConverted,
  kNotANumber,  ///< where the standard conversions throw std::invalid_argument
  kOutOfRange,  ///< where the standard conversions throw std::out_of_range
};

/// Throws what the standard conversions throw for `status`, which isn't kConverted.
[[noreturn]] void throwNumberError(NumberStatus status);

/// What became of a text that should start with a number.
template <class T>
struct Number {
  T value{};  ///< 0 unless converted
  NumberStatus status = NumberStatus::kNotANumber;
  const char* reached = nullptr;  ///< behind the number; the text's begin if there is none

  bool converted() const { return status == NumberStatus::kConverted; }
  /// \throw std::invalid_argument, std::out_of_range as the standard conversions
  T valueOrThrow() const {
    if (!converted()) throwNumberError(status);
    return value;
  }
};

template <class T>
concept NumberType = std::same_as<T, float> || std::same_as<T, double> ||
    std::same_as<T, std::int32_t> || std::same_as<T, std::uint32_t>;

namespace Detail {

static_assert(FLT_EVAL_METHOD == 0 && std::numeric_limits<double>::is_iec559,
              "conversions rely on arithmetic in double precision");

/// The powers of ten that a double holds exactly.
inline constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr int kLargestExactPower = 22;
inline constexpr std::uint64_t kLargestExactInteger = std::uint64_t{1} << 53;

/// The double nearest to `decimal`, without its sign. With factors that are exact the one rounding
/// of the product or quotient is that of the result (Clinger, "How to read floating point numbers
/// accurately", 1990). False if a factor isn't exact.
inline bool nearest(const PlainDecimal& decimal, double& value) {
  const std::ptrdiff_t exponent = decimal.exponent;
  if (!decimal.complete || decimal.digits > kLargestExactInteger ||
      exponent < -kLargestExactPower || exponent > kLargestExactPower)
    return false;
  const auto digits = static_cast<double>(static_cast<std::int64_t>(decimal.digits));
  value = exponent <= 0 ? digits / kPowersOfTen[-exponent] : digits * kPowersOfTen[exponent];
  return true;
}

/// True if rounding `value`, the double nearest to `decimal`, gives the float nearest to it. Only a
/// double halfway between two floats can err: the decimal may lie on either side of it.
inline bool roundsToNearestFloat(double value, const PlainDecimal& decimal) {
  constexpr std::uint64_t kBelowFloat = (std::uint64_t{1} << 29) - 1;
  if ((std::bit_cast<std::uint64_t>(value) & kBelowFloat) != (kBelowFloat + 1) / 2) return true;
  // Halfway itself it has 25 bits, five to the 12th has 28: their product is exact.
  if (decimal.exponent > 0 || decimal.exponent < -12) return false;
  return value * kPowersOfTen[-decimal.exponent] == static_cast<double>(decimal.digits);
}

/// As for double. The exact factors keep it far from overflow and underflow.
inline bool nearest(const PlainDecimal& decimal, float& value) {
  double wide;
  if (!nearest(decimal, wide) || !roundsToNearestFloat(wide, decimal)) return false;
  value = static_cast<float>(wide);
  return true;
}

/// The number nearest to an unsigned decimal of any length. False if it overflows or underflows or
/// comes near to that.
bool nearestToLong(std::string_view decimal, double& value);
bool nearestToLong(std::string_view decimal, float& value);

template <class T>
T withSign(T value, bool negative) {
  return std::copysign(value, negative ? T{-1} : T{1});
}

/// Digits of `base`, up to 36, at `at`. A number beyond 32 bits comes as some number beyond them.
/// \return the place behind the last digit.
inline const char* scanInteger(const char* at, const char* end, unsigned base,
                               std::uint64_t& number) {
  for (; at != end; ++at) {
    unsigned digit = digitOf(*at);
    if (digit > 9) digit = static_cast<unsigned char>((*at | 0x20) - 'a') + 10u;
    if (digit >= base) break;
    if (number <= std::numeric_limits<std::uint32_t>::max()) number = number * base + digit;
  }
  return at;
}

/// The integer of sign and magnitude; as strtoul has it, the sign of an unsigned one wraps around.
template <class T>
void setInteger(std::uint64_t magnitude, bool negative, Number<T>& number) {
  constexpr auto kLargest = static_cast<std::uint64_t>(std::numeric_limits<T>::max());
  const std::uint64_t largest = kLargest + (std::is_signed_v<T> && negative ? 1 : 0);
  const bool fits = magnitude <= largest;
  number.status = fits ? NumberStatus::kConverted : NumberStatus::kOutOfRange;
  number.value = fits ? static_cast<T>(negative ? 0 - magnitude : magnitude) : 0;
}

/// Converts the decimal number at the start of the text as the standard conversions do. False, with
/// `number` unchanged, for all else: white space, hexadecimal digits, "inf", overflow and underflow
/// of floating-point numbers, no number.
template <std::floating_point T>
[[gnu::always_inline]] inline bool plainNumber(const char* begin, const char* end,
                                               Number<T>& number) {
  PlainDecimal decimal;
  if (!scanPlainDecimal(begin, end, decimal)) return false;
  T value;
  if (!nearest(decimal, value) && !nearestToLong(decimal.withoutSign(), value)) return false;
  number = {withSign(value, decimal.negative), NumberStatus::kConverted, decimal.end};
  return true;
}

template <std::integral T>
[[gnu::always_inline]] inline bool plainNumber(const char* begin, const char* end,
                                               Number<T>& number) {
  if (begin == end) return false;
  const bool negative = *begin == '-';
  const char* const first = begin + (*begin == '-' || *begin == '+');
  std::uint64_t magnitude = 0;
  const char* const last = scanInteger(first, end, 10, magnitude);
  if (last == first) return false;
  number.reached = last;
  setInteger(magnitude, negative, number);
  return true;
}

/// The conversion of all that plainNumber refuses.
template <NumberType T>
Number<T> otherNumber(std::string_view text);
extern template Number<float> otherNumber(std::string_view text);
extern template Number<double> otherNumber(std::string_view text);
extern template Number<std::int32_t> otherNumber(std::string_view text);
extern template Number<std::uint32_t> otherNumber(std::string_view text);

}  // namespace Detail

/// Converts the number that `text` starts with, exactly as a standard conversion does in the "C"
/// locale, whatever locale is set: float as std::stof, double as std::stod, std::int32_t as
/// std::stoi and as std::stol of a 32-bit long, std::uint32_t as std::stoul of a 32-bit long (so
/// that -1 gives 4294967295), the integers in base 10. Leading white space is skipped and what
/// follows the number isn't looked at. Floating-point numbers are out of range where strtof and
/// strtod set ERANGE, also if they are too small. Rounding is to nearest.
///
/// The text needs no NUL at its end. Only texts of 128 characters and more that are no plain
/// decimals allocate memory.
template <NumberType T>
inline Number<T> toNumber(std::string_view text) {
  const char* const end = text.data() + text.size();
  Number<T> number;
  if (Detail::plainNumber(Detail::skipSpaces(text.data(), end), end, number)) return number;
  return Detail::otherNumber<T>(text);
}

/// As toNumber<std::uint32_t>, but with "0x" before hexadecimal digits and "0" before octal ones:
/// as std::stoul of a 32-bit long in base 0.
Number<std::uint32_t> toNumberOfAnyBase(std::string_view text);

}  // namespace Larder::Text
