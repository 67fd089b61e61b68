// Conversion of tokens to numbers: ours, std::from_chars and the C library's, on the same tokens.

#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "text_input/sample_text.h"
#include <benchmark/benchmark.h>

#include "recast/text_input/tokens.h"

namespace {

using Larder::Text::Number;
using Larder::Text::TokenWalk;

/// A text with every token ended by one blank, and its tokens.
struct Sample {
  std::string text;
  std::vector<std::string_view> tokens;
  explicit Sample(std::string lines) : text(std::move(lines)) {
    for (char& c : text)
      if (c == '\n') c = ' ';
    TokenWalk walk(text, ' ');
    for (std::string_view token; walk.next(token);) tokens.push_back(token);
  }
  Sample(const Sample&) = delete;
  Sample& operator=(const Sample&) = delete;
};

const Sample& sample(std::int64_t number) {
  static const Sample samples[] = {
      Sample(SampleText::scanLines(50000)),       Sample(SampleText::rasterRows(1000, 400)),
      Sample(SampleText::preciseNumbers(300000)), Sample(SampleText::fullDoubles(300000)),
      Sample(SampleText::unevenNumbers(300000)),  Sample(SampleText::colourLines(100000))};
  return samples[number];
}
constexpr const char* kSampleNames[] = {"scan",         "raster", "nine_decimals",
                                        "full_doubles", "uneven", "colours"};

template <class T>
T byOurs(std::string_view token) {
  return Larder::Text::toNumber<T>(token).value;
}

template <class T>
T byFromChars(std::string_view token) {
  T value{};
  std::from_chars(token.data(), token.data() + token.size(), value);
  return value;
}

template <class T>
T byStandard(std::string_view token) {
  if constexpr (std::is_same_v<T, float>) return std::strtof(token.data(), nullptr);
  if constexpr (std::is_same_v<T, double>) return std::strtod(token.data(), nullptr);
  return static_cast<T>(std::strtol(token.data(), nullptr, 10));
}

void report(benchmark::State& state, const Sample& data) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(data.tokens.size()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(data.text.size()));
  state.SetLabel(kSampleNames[state.range(0)]);
}

/// Tokens that are known already.
template <class T, T (*convert)(std::string_view)>
void tokens(benchmark::State& state) {
  const Sample& data = sample(state.range(0));
  for (std::string_view token : data.tokens)
    if (convert(token) != byStandard<T>(token)) throw std::logic_error(std::string(token));
  for (auto _ : state) {
    double sum = 0;
    for (std::string_view token : data.tokens) sum += convert(token);
    benchmark::DoNotOptimize(sum);
  }
  report(state, data);
}

/// Finding the tokens and converting them in one pass.
template <class T>
void walk(benchmark::State& state) {
  const Sample& data = sample(state.range(0));
  TokenWalk checked(data.text, ' ');
  Number<T> found;
  for (std::string_view token : data.tokens)
    if (!checked.next(found) || found.value != byStandard<T>(token))
      throw std::logic_error(std::string(token));
  for (auto _ : state) {
    double sum = 0;
    TokenWalk walk(data.text, ' ');
    for (Number<T> number; walk.next(number);) sum += number.value;
    benchmark::DoNotOptimize(sum);
  }
  report(state, data);
}

BENCHMARK(walk<double>)->DenseRange(0, 4);
BENCHMARK(walk<float>)->DenseRange(0, 4);
BENCHMARK(tokens<double, byOurs<double>>)->DenseRange(0, 4);
BENCHMARK(tokens<double, byFromChars<double>>)->DenseRange(0, 4);
BENCHMARK(tokens<double, byStandard<double>>)->DenseRange(0, 4);
BENCHMARK(tokens<float, byOurs<float>>)->DenseRange(0, 4);
BENCHMARK(tokens<float, byFromChars<float>>)->DenseRange(0, 4);
BENCHMARK(tokens<float, byStandard<float>>)->DenseRange(0, 4);
BENCHMARK(walk<std::int32_t>)->Arg(5);
BENCHMARK(tokens<std::int32_t, byOurs<std::int32_t>>)->Arg(5);
BENCHMARK(tokens<std::int32_t, byFromChars<std::int32_t>>)->Arg(5);
BENCHMARK(tokens<std::int32_t, byStandard<std::int32_t>>)->Arg(5);

}  // namespace

BENCHMARK_MAIN();
