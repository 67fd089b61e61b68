#include "recast/typed_arrays/multi_array.h"

#include <numeric>
#include <random>
#include <utility>

#include "typed_arrays/every_element.h"
#include <gtest/gtest.h>

namespace {

using Quilt::DataCreator;
using Quilt::Iterator;
using Quilt::MultiArray;
using Quilt::MultiIndex;

template <int N>
void expectAddresses(std::mt19937& random) {
  MultiIndex<N> dims;
  for (std::size_t axis = 0; axis < N; ++axis) dims[axis] = 1 + random() % 5;
  Iterator<int> iterator;
  iterator.first = random() % 7;
  iterator.stride = 1 + random() % 4;
  iterator.length = iterator.first + dims.product() + random() % 3;
  iterator.count = iterator.length * iterator.stride;
  std::vector<int> memory(iterator.count);
  iterator.data = memory.data();
  MultiArray<N, int> array(iterator, dims, nullptr);
  MultiIndex<N> position;
  do {
    int* const expected =
        memory.data() + (TestSupport::placeOf(position, dims) + iterator.first) * iterator.stride;
    ASSERT_EQ(&array[position], expected);
    ASSERT_EQ(&std::as_const(array)[position], expected);
  } while (position.inc(dims));
}

TEST(MultiArray, ElementsLieWhereTheFormulaSays) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (int round = 0; round < 50; ++round) {
    expectAddresses<1>(random);
    expectAddresses<2>(random);
    expectAddresses<3>(random);
    expectAddresses<4>(random);
  }
}

TEST(MultiArray, CountsAsTailWhatLiesBehindItsShape) {
  struct Case {
    std::uint64_t count, stride, length, first, tail, elements, expectedTail;
  };
  const Case cases[] = {
      {10, 1, 10, 0, 0, 10, 0},   // all of the memory
      {10, 1, 10, 0, 0, 6, 4},    //
      {10, 1, 10, 3, 0, 5, 2},    // from the middle
      {10, 1, 10, 0, 0, 12, 0},   // a shape beyond the memory
      {10, 1, 10, 0, 4, 6, 4},    // a tail that fits already
      {10, 1, 10, 0, 5, 3, 7},    // grows when the shape is smaller
      {10, 1, 10, 0, 9, 12, 9},   // and never shrinks for a larger one,
      {10, 1, 10, 0, 12, 20, 0},  // unless it exceeds the memory
      {10, 1, 10, 0, 12, 4, 6},   //
      {30, 3, 0, 0, 0, 4, 6},     // with a stride, the places are counted from `count`
      {30, 3, 0, 2, 0, 8, 0},     //
      {10, 1, 10, 0, 0, 0, 10},   // no element at all
  };
  for (const Case& c : cases) {
    Iterator<int> iterator;
    iterator.count = c.count;
    iterator.stride = c.stride;
    iterator.length = c.length;
    iterator.first = c.first;
    iterator.tail = c.tail;
    const MultiArray<1, int> array(iterator, {c.elements}, nullptr);
    EXPECT_EQ(array.tail, c.expectedTail) << "case " << &c - cases;
  }
}

/// Has memory for one axis, or for single elements only; writes down what it is asked for.
class Computed : public DataCreator<int> {
 public:
  explicit Computed(int axis) : axisWithMemory_(axis) {
    std::iota(memory.begin(), memory.end(), 0);
  }
  Iterator<int> iterator(int axis, std::uint64_t index) override {
    asked.emplace_back(axis, index);
    Iterator<int> result;
    if (axis != axisWithMemory_) return result;
    result.data = memory.data();
    result.stride = 2;
    result.first = 5;
    return result;
  }
  int* element(std::uint64_t index) override {
    asked.emplace_back(-1, index);
    return &memory[index];
  }
  std::vector<int> memory = std::vector<int>(100);
  std::vector<std::pair<int, std::uint64_t>> asked;

 private:
  int axisWithMemory_;
};

TEST(MultiArray, WithoutMemoryAsksItsCreatorAxisByAxis) {
  const struct {
    int axisWithMemory;
    int expected;
    std::vector<std::pair<int, std::uint64_t>> asked;
  } cases[] = {{2, ((1 * 3 + 2) + 5) * 2, {{2, 4}}},  // the rest of the position in the plane
               {1, (2 + 5) * 2, {{2, 4}, {1, 1}}},
               {-1, 2, {{2, 4}, {1, 1}, {-1, 2}}}};
  for (const auto& [axis, expected, asked] : cases) {
    Computed computed(axis);
    const MultiArray<3, int> array({}, {3, 4, 5}, &computed);
    EXPECT_EQ((array[{2, 1, 4}]), expected);
    EXPECT_EQ(computed.asked, asked);
  }
  Computed computed(0);
  MultiArray<1, int> line({}, {50}, &computed);
  line[{33}] = -1;
  EXPECT_EQ(computed.memory[33], -1) << "elements of a line are asked for one by one";
}

}  // namespace
