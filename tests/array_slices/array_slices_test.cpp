#include "recast/array_slices/array_slices.h"

#include "typed_arrays/every_element.h"
#include <gtest/gtest.h>

namespace {

using Heron::PhysicalSpace;
using Larder::Chunk;
using Quilt::MemArray;
using Quilt::MemBaseHandle;
using Quilt::MultiIndex;
using TestSupport::placeOf;
using TestSupport::sample;
using TestSupport::samples;

/// An array of samples, whose chunk is longer than its shape.
template <class T, int N>
Larder::StrongPtr<MemArray<N, T>, Larder::Cacheable> sampleArray(const MultiIndex<N>& shape) {
  return Larder::makeStrong<MemArray<N, T>>(samples<T>(shape.product() + 2), shape, nullptr);
}

/// Whether each element of `array` is what `expected(position)` gives.
template <int N, class T, class Expected>
bool holds(const MemArray<N, T>& array, Expected expected) {
  MultiIndex<N> position;
  do {
    if (!(array[position] == expected(position))) return false;
  } while (position.inc(array.dims));
  return true;
}

template <int N, class T>
const MemArray<N, T>& typed(const MemBaseHandle& array) {
  return dynamic_cast<const MemArray<N, T>&>(*array);
}

TEST(Slices, ShareThePlaneOfTheLastAxis) {
  TestSupport::forEveryArray(
      []<int N, class T>(std::type_identity<MemArray<N, T>>, const MultiIndex<N>& shape) {
        const auto array = sampleArray<T>(shape);
        if constexpr (N == 1) {
          EXPECT_FALSE(array->getSlice(0, nullptr));
        } else {
          for (std::uint64_t index = 0; index < shape[N - 1]; ++index) {
            const MemBaseHandle handle = array->getSlice(index, nullptr);
            const auto& slice = typed<N - 1, T>(handle);
            EXPECT_TRUE(holds(slice, [&](const MultiIndex<N - 1>& p) {
              MultiIndex<N> position;
              for (std::size_t axis = 0; axis < N - 1; ++axis) position[axis] = p[axis];
              position[N - 1] = index;
              return (*array)[position];
            }));
            const auto lie = slice.getHyperslabParameters();
            EXPECT_EQ(lie.first + slice.nElements() + lie.tail, array->count);
            EXPECT_TRUE(slice.getChunk() == array->getChunk());
          }
        }
      });
}

TEST(Slices, KeepTheMemoryAliveAndWriteIntoIt) {
  auto array = sampleArray<float>(MultiIndex<3>(2, 3, 4));
  const auto chunk = array->getChunk();
  const MemBaseHandle plane = array->getSlice(2, nullptr);
  array = nullptr;
  const auto row = dynamic_cast<MemArray<2, float>&>(*plane).getSlice(1, nullptr);
  dynamic_cast<MemArray<1, float>&>(*row)[MultiIndex<1>(1)] = -1.0F;
  EXPECT_EQ(static_cast<const float*>(chunk->const_data_ptr())[2 * 6 + 1 * 2 + 1], -1.0F);
}

/// Gives planes of a rank 2 array of consecutive numbers, of which every second row lies in memory.
struct Numbers : Quilt::DataCreator<int> {
  Quilt::Iterator<int> iterator(int axis, std::uint64_t index) override {
    Quilt::Iterator<int> row;
    row.count = row.length = 3;
    EXPECT_EQ(axis, 1);
    for (int i = 0; i < 3; ++i) memory[i] = static_cast<int>(3 * index) + i;
    if (index % 2 == 0) row.data = memory;
    return row;
  }
  int* element(std::uint64_t index) override { return memory + index; }
  int memory[3] = {};
};

TEST(Slices, OfComputedArraysComeFromTheirCreator) {
  Numbers numbers;
  MemArray<2, int> array(Quilt::Iterator<int>(), MultiIndex<2>(3, 4), &numbers, nullptr, nullptr);
  for (const std::uint64_t row : {2U, 3U}) {
    const MemBaseHandle slice = array.getSlice(row, nullptr);
    EXPECT_EQ((typed<1, int>(slice)[MultiIndex<1>(1)]), static_cast<int>(3 * row + 1));
    EXPECT_EQ((typed<1, int>(slice).creator), &numbers);
  }
  const MemBaseHandle box =
      array.createSubMemArray(MultiIndex<2>(1, 2), MultiIndex<2>(2, 2), nullptr);
  EXPECT_TRUE(holds(typed<2, int>(box), [](const MultiIndex<2>& p) {
    return static_cast<int>(3 * (p[1] + 2) + p[0] + 1);
  }));
  const MemBaseHandle same = array.getComponentArray(0, nullptr);
  EXPECT_EQ((typed<2, int>(same)[MultiIndex<2>(1, 2)]), 7);
  EXPECT_FALSE(array.copy(nullptr));
}

TEST(Components, AreSharedElementByElement) {
  TestSupport::forEveryArray(
      []<int N, class T>(std::type_identity<MemArray<N, T>>, const MultiIndex<N>& shape) {
        using Component = typename Quilt::ElementTraits<T>::Component;
        constexpr int kComponents = Quilt::ElementTraits<T>::kComponents;
        const auto array = sampleArray<T>(shape);
        for (int c = 0; c < kComponents; ++c) {
          const MemBaseHandle handle = array->getComponentArray(c, nullptr);
          const auto& view = typed<N, Component>(handle);
          EXPECT_TRUE(view.Size() == shape && view.getChunk() == array->getChunk());
          EXPECT_EQ(view.memsize(), array->memsize());
          EXPECT_EQ(view.tail, 2U);
          EXPECT_TRUE(holds(view, [&](const MultiIndex<N>& p) {
            if constexpr (kComponents == 1)
              return (*array)[p];
            else
              return (*array)[p][static_cast<std::size_t>(c)];
          }));
        }
        EXPECT_FALSE(array->getComponentArray(kComponents, nullptr));
        EXPECT_FALSE(array->getComponentArray(-1, nullptr));
      });
}

TEST(Components, OfSlicesAndOfComponentsAreThoseOfTheirElements) {
  using Point = PhysicalSpace::point;
  const auto points = sampleArray<Point, 2>({3, 4});
  const MemBaseHandle row = points->getSlice(2, nullptr);
  const MemBaseHandle fromRow = row->getComponentArray(2, nullptr);
  const MemBaseHandle plane = points->getComponentArray(2, nullptr);
  const MemBaseHandle fromPlane = dynamic_cast<MemArray<2, double>&>(*plane).getSlice(2, nullptr);
  const MemBaseHandle again = fromPlane->getComponentArray(0, nullptr);
  const MemBaseHandle box = again->createSubArray(MultiIndex<1>(0), MultiIndex<1>(3), nullptr);
  for (const auto& view : {fromRow, fromPlane, again, box})
    EXPECT_TRUE(holds(typed<1, double>(view), [&](const MultiIndex<1>& p) {
      return (*points)[{p[0], 2}].z();
    }));
  EXPECT_FALSE(plane->copy(nullptr)) << "its chunk has points";
}

TEST(Components, OfAnArrayWithoutElementsHaveNone) {
  using Point = PhysicalSpace::point;
  for (const bool room : {false, true}) {
    const auto chunk = Larder::makeStrong<Chunk<Point>>(room ? 8U : 0U, true);
    MemArray<1, Point> array(chunk, MultiIndex<1>(0), nullptr);
    const MemBaseHandle view = array.getComponentArray(2, nullptr);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->nElements(), 0U);
    EXPECT_FALSE(array.getComponentArray(3, nullptr));
  }
}

TEST(Copies, OfABoxAndOfTheWholeHaveMemoryOfTheirOwn) {
  TestSupport::forEveryArray(
      []<int N, class T>(std::type_identity<MemArray<N, T>>, const MultiIndex<N>& shape) {
        const auto array = sampleArray<T>(shape);
        MultiIndex<N> origin;
        MultiIndex<N> size = shape;
        origin[0] = 1;
        size[0] = 2;
        size[N - 1] -= 1;
        const MemBaseHandle box = array->createSubMemArray(origin, size, nullptr);
        const MemBaseHandle whole = array->copy(nullptr);
        std::fill_n(array->data, array->count, T{});
        EXPECT_TRUE((typed<N, T>(box).Size()) == size);
        EXPECT_TRUE(holds(typed<N, T>(box), [&](MultiIndex<N> p) {
          ++p[0];
          return sample<T>(placeOf(p, shape));
        }));
        EXPECT_TRUE(holds(typed<N, T>(whole),
                          [&](const MultiIndex<N>& p) { return sample<T>(placeOf(p, shape)); }));
        EXPECT_EQ(whole->getHyperslabParameters().tail, 2U);
        size[N - 1] = 0;
        EXPECT_EQ(array->createSubMemArray(origin, size, nullptr)->nElements(), 0U);
      });
}

TEST(Copies, HaveTheChunkAsItIsNow) {
  const auto chunk = samples<int>(12);
  const auto array = Larder::makeStrong<MemArray<2, int>>(chunk, MultiIndex<2>(4, 3), nullptr);
  const MemBaseHandle row = array->getSlice(2, nullptr);
  chunk->reserve(1000);  // moves it
  chunk->insert(chunk->end(), 5, -1);
  const MemBaseHandle whole = array->copy(nullptr);
  EXPECT_TRUE(holds(typed<2, int>(whole),
                    [](const MultiIndex<2>& p) { return static_cast<int>(4 * p[1] + p[0] + 1); }));
  EXPECT_EQ(whole->getHyperslabParameters().tail, 5U);
  const MemBaseHandle start = row->copy(nullptr);
  EXPECT_TRUE(holds(typed<1, int>(start), [](const MultiIndex<1>& p) {
    return static_cast<int>(p[0] + 1);
  })) << "of a slice it begins at the start of the chunk";
}

TEST(Copies, NeedTheRankOfTheArrayAndMemory) {
  const auto array = sampleArray<int, 2>({4, 4});
  const MemBaseHandle box =
      array->createSubArray(MultiIndex<2>(1, 1), MultiIndex<2>(2, 2), nullptr);
  EXPECT_TRUE(holds(typed<2, int>(box), [](const MultiIndex<2>& p) {
    return static_cast<int>(4 * (p[1] + 1) + p[0] + 2);
  }));
  EXPECT_FALSE(array->createSubArray(MultiIndex<1>(1), MultiIndex<2>(2, 2), nullptr));
  EXPECT_FALSE(array->createSubArray(MultiIndex<2>(1, 1), MultiIndex<3>(2, 2, 1), nullptr));
  MemArray<1, int> none(nullptr, MultiIndex<1>(4), nullptr);
  EXPECT_FALSE(none.createSubMemArray(MultiIndex<1>(0), MultiIndex<1>(1), nullptr));
  EXPECT_FALSE(none.copy(nullptr));
  EXPECT_FALSE(none.copyFrom(samples<int>(4)));
}

TEST(CopySubset, ConvertsOnTheWayIntoStridedMemory) {
  const auto heights = sampleArray<float, 2>({2, 2});
  const auto points = sampleArray<PhysicalSpace::point, 2>({3, 3});
  struct Doubled {
    void copy(double& target, float source) const { target = 2.0 * static_cast<double>(source); }
  };
  const MemBaseHandle z = points->getComponentArray(2, nullptr);
  Quilt::CopySubset(
      MultiIndex<2>(2, 2),
      static_cast<Quilt::MultiArray<2, double>&>(dynamic_cast<MemArray<2, double>&>(*z)),
      MultiIndex<2>(1, 0), static_cast<const Quilt::MultiArray<2, float>&>(*heights),
      MultiIndex<2>(), Doubled());
  EXPECT_TRUE(holds(*points, [&](const MultiIndex<2>& p) {
    PhysicalSpace::point expected = sample<PhysicalSpace::point>(placeOf(p, points->dims));
    if (p[0] > 0 && p[1] < 2)
      expected.z() = 2.0 * static_cast<double>((*heights)[MultiIndex<2>(p[0] - 1, p[1])]);
    return expected;
  }));
}

TEST(Chunks, OfTheRightSizeAreWrappedAndCopiedFrom) {
  TestSupport::forEveryArray(
      []<int N, class T>(std::type_identity<MemArray<N, T>>, const MultiIndex<N>& shape) {
        const auto array = Larder::makeStrong<MemArray<N, T>>(shape, nullptr);
        const auto expected = [&](const MultiIndex<N>& p) { return sample<T>(placeOf(p, shape)); };
        const auto chunk = samples<T>(shape.product());
        const MemBaseHandle wrapped = array->createEquallySizedMemArray(chunk, nullptr);
        EXPECT_TRUE(holds(typed<N, T>(wrapped), expected) && wrapped->getChunk() == chunk);
        const auto longer = samples<T>(shape.product() + 1);
        EXPECT_FALSE(array->createEquallySizedMemArray(longer, nullptr));
        EXPECT_FALSE(array->createEquallySizedMemArray(nullptr, nullptr));

        const void* memory = array->getPtr();
        const auto texts = Larder::makeStrong<Chunk<std::string>>(shape.product());
        EXPECT_FALSE(array->copyFrom(longer));
        EXPECT_FALSE(array->copyFrom(texts));
        EXPECT_FALSE(array->copyFrom(nullptr));
        EXPECT_TRUE(array->first() == T{});
        EXPECT_TRUE(array->copyFrom(chunk));
        EXPECT_TRUE(holds(*array, expected) && array->getPtr() == memory);
      });
}

}  // namespace
