#include "recast/text_input/numbers.h"

#include <cerrno>
#include <charconv>
#include <clocale>
#include <stdexcept>
#include <string>

#include <locale.h>
#include <stdlib.h>

namespace Larder::Text {
namespace {

template <class T>
Number<T> notANumber(std::string_view text) {
  return {T{}, NumberStatus::kNotANumber, text.data()};
}

locale_t classicLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

float standardConversion(const char* text, char** reached, float) {
  return strtof_l(text, reached, classicLocale());
}

double standardConversion(const char* text, char** reached, double) {
  return strtod_l(text, reached, classicLocale());
}

/// What the standard conversion makes of `text`, which has a NUL at its end.
template <class T>
Number<T> convertByStandard(const char* text, std::string_view original) {
  const int kept = errno;
  errno = 0;
  char* reached = nullptr;
  const T value = standardConversion(text, &reached, T{});
  const bool outOfRange = errno == ERANGE;
  errno = kept;
  if (reached == text) return notANumber<T>(original);
  const char* const behind = original.data() + (reached - text);
  if (outOfRange) return {T{}, NumberStatus::kOutOfRange, behind};
  return {value, NumberStatus::kConverted, behind};
}

template <class T>
Number<T> convertCopyByStandard(std::string_view text) {
  char copy[128];
  if (text.size() >= sizeof copy) return convertByStandard<T>(std::string(text).c_str(), text);
  copy[text.copy(copy, text.size())] = '\0';
  return convertByStandard<T>(copy, text);
}

/// Leaves all results that the standard conversions might call out of range to them.
template <class T>
bool convertLong(std::string_view decimal, T& value) {
  const auto result = std::from_chars(decimal.data(), decimal.data() + decimal.size(), value);
  return result.ec == std::errc() && value > std::numeric_limits<T>::min();
}

/// The base that the start of the digits tells, which it then passes over.
unsigned baseOf(const char*& at, const char* end) {
  if (at == end || *at != '0') return 10;
  std::uint64_t ignored = 0;
  if (end - at < 3 || (at[1] | 0x20) != 'x' ||
      Detail::scanInteger(at + 2, at + 3, 16, ignored) == at + 2)
    return 8;
  at += 2;
  return 16;
}

}  // namespace

void throwNumberError(NumberStatus status) {
  if (status == NumberStatus::kOutOfRange) throw std::out_of_range("number out of range");
  throw std::invalid_argument("not a number");
}

namespace Detail {

bool nearestToLong(std::string_view decimal, double& value) {
  return convertLong(decimal, value);
}
bool nearestToLong(std::string_view decimal, float& value) {
  return convertLong(decimal, value);
}

template <NumberType T>
Number<T> otherNumber(std::string_view text) {
  if constexpr (std::floating_point<T>) return convertCopyByStandard<T>(text);
  return notANumber<T>(text);  // plainNumber reads all integers
}
template Number<float> otherNumber(std::string_view text);
template Number<double> otherNumber(std::string_view text);
template Number<std::int32_t> otherNumber(std::string_view text);
template Number<std::uint32_t> otherNumber(std::string_view text);

}  // namespace Detail

Number<std::uint32_t> toNumberOfAnyBase(std::string_view text) {
  const char* const end = text.data() + text.size();
  const char* first = Detail::skipSpaces(text.data(), end);
  const bool negative = first != end && *first == '-';
  if (first != end && (*first == '-' || *first == '+')) ++first;
  const unsigned base = baseOf(first, end);
  std::uint64_t magnitude = 0;
  const char* const last = Detail::scanInteger(first, end, base, magnitude);
  if (last == first) return notANumber<std::uint32_t>(text);
  Number<std::uint32_t> number{0, NumberStatus::kNotANumber, last};
  Detail::setInteger(magnitude, negative, number);
  return number;
}

}  // namespace Larder::Text
