#pragma once

#include <array>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

/// Synthetic texts like the files that users have; the same ones in every run.
namespace SampleText {

inline void appendNumber(std::string& text, const char* format, auto number) {
  std::array<char, 64> buffer;
  const int length = std::snprintf(buffer.data(), buffer.size(), format, number);
  text.append(buffer.data(), static_cast<std::size_t>(length));
}

/// Whole numbers from 0 to below a limit, exact in a double.
class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  double below(unsigned limit) { return static_cast<double>(engine_() % limit); }

 private:
  std::mt19937 engine_;
};

/// Lines of a scan: x, y and z with two decimals, intensity and colour, seven numbers each.
inline std::string scanLines(std::size_t count) {
  Random random(1);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    appendNumber(text, "%.2f ", 3512345 + random.below(100000) / 100);
    appendNumber(text, "%.2f ", 5401234 + random.below(100000) / 100);
    appendNumber(text, "%.2f ", 300 + random.below(9000) / 100);
    appendNumber(text, "%.0f ", random.below(4000));
    for (const char* format : {"%.0f ", "%.0f ", "%.0f\n"})
      appendNumber(text, format, random.below(256));
  }
  return text;
}

/// Intensity and colour alone.
inline std::string colourLines(std::size_t count) {
  Random random(5);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    appendNumber(text, "%.0f ", random.below(65536));
    for (const char* format : {"%.0f ", "%.0f ", "%.0f\n"})
      appendNumber(text, format, random.below(256));
  }
  return text;
}

/// Rows of a raster of heights with two decimals: slopes and a patch without data.
inline std::string rasterRows(std::size_t columns, std::size_t rows) {
  std::string text;
  for (std::size_t row = 0; row < rows; ++row) {
    for (std::size_t column = 0; column < columns; ++column) {
      const double x = static_cast<double>(column), y = static_cast<double>(row);
      if (std::hypot(x - 300, y - 400) < 100)
        text += "-9999 ";
      else
        appendNumber(text, "%.2f ", 250 + 200 * std::sin(x / 900) * std::cos(y / 700));
    }
    text.back() = '\n';
  }
  return text;
}

/// A number a line, with nine decimals.
inline std::string preciseNumbers(std::size_t count) {
  Random random(2);
  std::string text;
  for (std::size_t i = 0; i < count; ++i)
    appendNumber(text, "%.9f\n", 3512345 + random.below(1000000000) / 1e6);
  return text;
}

/// A number a line, with all digits of a double.
inline std::string fullDoubles(std::size_t count) {
  Random random(3);
  std::string text;
  for (std::size_t i = 0; i < count; ++i)
    appendNumber(text, "%.17g\n", 3512345 + random.below(1000000000) / 7e6);
  return text;
}

/// A number a line, of any sign, length and number of decimals: nothing to predict.
inline std::string unevenNumbers(std::size_t count) {
  Random random(4);
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const std::array<const char*, 5> formats = {"%.0f\n", "%.1f\n", "%.2f\n", "%.3f\n", "%.4f\n"};
    const double size = std::exp(random.below(10000) / 1000);
    appendNumber(text, formats[static_cast<std::size_t>(random.below(5))],
                 random.below(2) < 1 ? size : -size);
  }
  return text;
}

}  // namespace SampleText
