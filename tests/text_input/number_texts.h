#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>

/// Makes texts that start with a number, nearly do, or don't at all: of every form that the
/// standard conversions know, and around every border between their outcomes.
class NumberTexts {
 public:
  explicit NumberTexts(std::uint64_t seed) : random_(seed) {}

  std::string next() {
    std::string text = number();
    if (oneIn(8)) change(text);
    if (oneIn(6)) text.insert(0, some(" \t\n\v\f\r", 1 + below(3)));
    if (oneIn(50)) text.insert(0, some("\x1c\xa0+-0", 1));
    using namespace std::string_view_literals;  // for the NUL
    if (oneIn(4)) text += some("abcxXeEpP.+-,_; \t\r\0#\xe4(n9"sv, 1 + below(4));
    return text;
  }

  std::size_t below(std::size_t limit) { return random_() % limit; }
  bool oneIn(std::size_t n) { return below(n) == 0; }
  /// `count` characters out of `from`.
  std::string some(std::string_view from, std::size_t count) {
    std::string text;
    while (text.size() < count) text += from[below(from.size())];
    return text;
  }

 private:
  std::string sign() { return oneIn(3) ? some("+-", 1) : ""; }
  std::string digits(std::size_t count) { return some("0123456789", count); }
  std::string exponent() {
    static constexpr int kBorders[] = {0, 22, -22, 38, -38, -45, 308, -308, -324, 5000};
    const int number = oneIn(2) ? static_cast<int>(below(50)) - 25
                                : kBorders[below(10)] + static_cast<int>(below(7)) - 3;
    return some("eE", 1) + (number >= 0 && oneIn(2) ? "+" : "") + std::to_string(number);
  }

  std::string number() {
    switch (below(9)) {
      case 0: return sign() + digits(1 + below(9));
      case 1: return aroundIntegerBorder();
      case 2: return sign() + digits(below(8)) + "." + digits(below(5));
      case 3: return sign() + digits(below(12)) + "." + digits(below(14)) + exponent();
      case 4: return longNumber();
      case 5: return printed();
      case 6: return between();
      case 7: return hexadecimal();
      default: return word();
    }
  }

  std::string aroundIntegerBorder() {
    static constexpr std::uint64_t kBorders[] = {0,          16777216,         2147483647,
                                                 4294967295, 9007199254740992, ~std::uint64_t{0}};
    return sign() + std::string(below(4), '0') + std::to_string(kBorders[below(6)] + below(5) - 2);
  }

  std::string longNumber() {
    std::string text = digits(below(oneIn(20) ? 900 : 40)) + (oneIn(3) ? "" : ".");
    if (oneIn(3)) text += std::string(below(oneIn(9) ? 400 : 30), '0');
    text += digits(below(oneIn(20) ? 900 : 40));
    return sign() + text + (oneIn(2) ? exponent() : "");
  }

  /// A number of random bits as programs print it.
  std::string printed() {
    const double value = oneIn(2) ? randomFloat() : std::bit_cast<double>(random_());
    const int precision = static_cast<int>(below(20));
    return print(oneIn(4) ? "%.*e" : "%.*g", precision, value);
  }

  /// The point halfway between two floats or doubles, or very near to it.
  std::string between() {
    long double middle;
    if (oneIn(2)) {
      const float value = randomFloat();
      middle = (static_cast<long double>(value) + std::nextafter(value, INFINITY)) / 2;
    } else {
      const double value = oneIn(2) ? static_cast<double>(random_() >> 11) / std::pow(10, below(12))
                                    : std::bit_cast<double>(random_());
      middle = (static_cast<long double>(value) + std::nextafter(value, INFINITY)) / 2;
    }
    // With 16 digits or so it mostly becomes the same double, from one side or the other.
    const int precision = oneIn(2) ? 13 + static_cast<int>(below(5)) : oneIn(4) ? 1100 : 60;
    std::string text = print(oneIn(2) ? "%.*Lg" : "%.*Le", precision, middle);
    const auto mantissaEnd = std::min(text.find('e'), text.size());
    if (oneIn(2) && mantissaEnd > 0) text[mantissaEnd - 1] = digits(1)[0];
    if (oneIn(4) && text.find('.') < mantissaEnd) text.insert(mantissaEnd, "0000000000000000001");
    return text;
  }

  /// Of random bits, or of a size that measured values have.
  float randomFloat() {
    if (oneIn(2)) return std::bit_cast<float>(static_cast<std::uint32_t>(random_()));
    return std::ldexp(static_cast<float>(below(1 << 24)), -static_cast<int>(below(45)));
  }

  std::string hexadecimal() {
    std::string text =
        sign() + some("0", 1) + some("xX", 1) + some("0123456789abcdefABCDEF", below(20));
    if (oneIn(2)) text += "." + some("0123456789abcdef", below(18));
    if (oneIn(2)) text += some("pP", 1) + sign() + std::to_string(below(oneIn(2) ? 20 : 1200));
    return text;
  }

  std::string word() {
    static constexpr const char* kWords[] = {
        "",    "-",     "+",     ".",         "-.",     "+.e1",
        "e5",  "inf",   "INF",   "infinity",  "infi",   "iNFinit",
        "nan", "nan()", "nan(",  "NaN(12_x)", "nan(-)", "0x",
        "0x.", "0xp1",  "1e",    "1e+",       "1e-x",   "--1",
        "+-1", "abc",   "1.5.2", "1,5",       "017",    "1e18446744073709551617",
        "0b11"};
    return sign() + kWords[below(std::size(kWords))];
  }

  /// Replaces, doubles or drops a character.
  void change(std::string& text) {
    if (text.empty()) return;
    const std::size_t at = below(text.size());
    const std::string by = oneIn(3) ? std::string(2, text[at]) : some("0159.eE+-xX ,", below(2));
    text.replace(at, 1, by);
  }

  template <class T>
  std::string print(const char* format, int precision, T value) {
    std::string text(2000, '\0');
    text.resize(static_cast<std::size_t>(
        std::snprintf(text.data(), text.size(), format, precision, value)));
    return text;
  }

  std::mt19937_64 random_;
};
