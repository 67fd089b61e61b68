// Access to the elements of an array of 200 x 200 x 200 floats: by position, beside a bare loop
// over the memory, and through slices and a component view, which cost an object each.
#include <memory>

#include <benchmark/benchmark.h>

#include "recast/array_slices/array_slices.h"

namespace {

using Quilt::MemArray;
using Quilt::MultiIndex;
using Point = Heron::PhysicalSpace::point;

constexpr std::uint64_t kSide = 200;
constexpr std::uint64_t kElements = kSide * kSide * kSide;

template <class T>
Larder::StrongPtr<MemArray<3, T>, Larder::Cacheable> cube() {
  return Larder::makeStrong<MemArray<3, T>>(MultiIndex<3>(kSide, kSide, kSide), nullptr);
}

void setRate(benchmark::State& state, std::uint64_t elements) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(elements));
}

void bareLoop(benchmark::State& state) {
  const std::unique_ptr<float[]> memory(new float[kElements]());
  for (auto _ : state) {
    for (std::uint64_t i = 0; i < kElements; ++i) memory[i] += 1.0F;
    benchmark::ClobberMemory();
  }
  setRate(state, kElements);
}

void byPosition(benchmark::State& state) {
  const auto array = cube<float>();
  for (auto _ : state) {
    for (std::uint64_t k = 0; k < kSide; ++k)
      for (std::uint64_t j = 0; j < kSide; ++j)
        for (std::uint64_t i = 0; i < kSide; ++i) (*array)[{i, j, k}] += 1.0F;
    benchmark::ClobberMemory();
  }
  setRate(state, kElements);
}

void byRunningPosition(benchmark::State& state) {
  const auto array = cube<float>();
  for (auto _ : state) {
    MultiIndex<3> position;
    do {
      (*array)[position] += 1.0F;
    } while (position.inc(array->dims));
    benchmark::ClobberMemory();
  }
  setRate(state, kElements);
}

void throughSlices(benchmark::State& state) {
  const auto array = cube<float>();
  for (auto _ : state) {
    for (std::uint64_t k = 0; k < kSide; ++k) {
      const auto handle = array->getSlice(k, nullptr);
      auto& plane = dynamic_cast<MemArray<2, float>&>(*handle);
      for (std::uint64_t j = 0; j < kSide; ++j)
        for (std::uint64_t i = 0; i < kSide; ++i) plane[{i, j}] += 1.0F;
    }
    benchmark::ClobberMemory();
  }
  setRate(state, kElements);
}

void throughAComponentView(benchmark::State& state) {
  const auto array = cube<Point>();
  for (auto _ : state) {
    const auto handle = array->getComponentArray(2, nullptr);
    auto& heights = dynamic_cast<MemArray<3, double>&>(*handle);
    for (std::uint64_t k = 0; k < kSide; ++k)
      for (std::uint64_t j = 0; j < kSide; ++j)
        for (std::uint64_t i = 0; i < kSide; ++i) heights[{i, j, k}] += 1.0;
    benchmark::ClobberMemory();
  }
  setRate(state, kElements);
}

void makeASlice(benchmark::State& state) {
  const auto array = cube<float>();
  for (auto _ : state) benchmark::DoNotOptimize(array->getSlice(7, nullptr));
  setRate(state, 1);
}

BENCHMARK(bareLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(byPosition)->Unit(benchmark::kMillisecond);
BENCHMARK(byRunningPosition)->Unit(benchmark::kMillisecond);
BENCHMARK(throughSlices)->Unit(benchmark::kMillisecond);
BENCHMARK(throughAComponentView)->Unit(benchmark::kMillisecond);
BENCHMARK(makeASlice);

}  // namespace
