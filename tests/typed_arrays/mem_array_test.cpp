#include "recast/typed_arrays/mem_array.h"

#include <stdexcept>

#include "support/in_threads.h"
#include "typed_arrays/every_element.h"
#include <gtest/gtest.h>

#include "recast/larder/save_registry.h"

namespace {

using Larder::Chunk;
using Quilt::DynamicSize;
using Quilt::MemArray;
using Quilt::MemBase;
using Quilt::MemBaseHandle;
using Quilt::MultiIndex;
using TestSupport::sample;
using TestSupport::samples;

// What can be told without the element type and the rank stands in plain functions: the templates
// below have 64 instances each.

void expectParameters(const MemBase& array, std::uint64_t count, std::uint64_t tail) {
  const Quilt::HyperslabParameters lie = array.getHyperslabParameters();
  EXPECT_EQ(lie.count, count);
  EXPECT_EQ(lie.stride, 1U);
  EXPECT_EQ(lie.length, count);
  EXPECT_EQ(lie.first, 0U);
  EXPECT_EQ(lie.tail, tail);
}

TEST(MemArray, IsMadeByItsTypeAndRank) {
  const MemBaseHandle plane = MemBase::newArray("int", MultiIndex<2>(3, 2));
  EXPECT_TRUE((plane.castTo<MemArray<2, int>>()));
  EXPECT_EQ(plane->makeMemArray(nullptr), plane) << "the same object, no copy";
  EXPECT_FALSE(Quilt::newMemArray<int>(DynamicSize({1, 1, 1, 1, 1}), nullptr));
  EXPECT_FALSE(MemBase::newArray("int", DynamicSize()));
  EXPECT_FALSE(MemBase::newArray("std::string", MultiIndex<1>(1)));
}

/// The elements of `array`, which lies in `chunk` from its start, that are not where they should
/// be.
template <int N, class T>
std::uint64_t misplaced(const MemArray<N, T>& array, const Chunk<T>& chunk) {
  std::uint64_t wrong = 0;
  MultiIndex<N> position;
  do {
    const std::uint64_t place = TestSupport::placeOf(position, array.dims);
    const bool right = &array[position] == chunk.data() + place && chunk[place] == sample<T>(place);
    wrong += right ? 0 : 1;
  } while (position.inc(array.dims));
  return wrong;
}

TEST(MemArray, WrapsAChunkWithoutCopyAndCountsItsRestAsTail) {
  TestSupport::forEveryArray(
      []<int N, class T>(std::type_identity<MemArray<N, T>>, const MultiIndex<N>& shape) {
        const std::uint64_t elements = shape.product();
        const auto chunk = samples<T>(elements + 5);
        const MemArray<N, T> array(chunk, shape, nullptr);
        EXPECT_TRUE(array.nElements() == elements && array.Size() == shape);
        expectParameters(array, elements + 5, 5);
        EXPECT_EQ(array.memsize(), (elements + 5) * sizeof(T)) << "that of the chunk";
        EXPECT_EQ(misplaced(array, *chunk), 0U);
        EXPECT_TRUE(array.first() == sample<T>(0) && array.last() == sample<T>(elements - 1));
        EXPECT_TRUE(array.myChunk() == chunk && array.getChunk() == chunk);
      });
}

template <int N, class T>
bool throwsForItsElements(const MemArray<N, T>& array) {
  try {
    return array[array.dims] == T{} && false;
  } catch (const std::logic_error&) {
    return true;
  }
}

TEST(MemArray, HasNoMemoryWithoutAChunkOfItsType) {
  const Larder::StrongPtr<Larder::ChunkBase> texts(new Chunk<std::string>(100));
  TestSupport::forEveryArray(
      [&]<int N, class T>(std::type_identity<MemArray<N, T>>, const MultiIndex<N>& shape) {
        for (const auto& source : {Larder::StrongPtr<Larder::ChunkBase>(), texts}) {
          const MemArray<N, T> array(source, shape, nullptr);
          expectParameters(array, 0, 0);
          EXPECT_TRUE(array.getPtr() == nullptr && array.memsize() == 0 && !array.getChunk());
          EXPECT_TRUE(array.first() == T{} && array.last() == T{} && array.Size() == shape);
          EXPECT_TRUE(throwsForItsElements(array));
        }
      });
}

TEST(MemArray, CountsAnExtentOfZeroAsIndexZeroForItsLastElement) {
  const auto chunk = samples<int>(24);
  const struct {
    MultiIndex<3> shape;
    std::size_t last;
  } cases[] = {{{0, 3, 4}, 0}, {{2, 0, 4}, 1}, {{2, 3, 0}, 5}, {{0, 0, 0}, 0}};
  for (const auto& [shape, last] : cases) {
    const MemArray<3, int> array(chunk, shape, nullptr);
    EXPECT_EQ(array.nElements(), 0U);
    EXPECT_EQ(array.last(), sample<int>(last)) << to_string(shape);
    expectParameters(array, 24, 24);
  }
  EXPECT_EQ((MemArray<3, int>(MultiIndex<3>(0, 3, 4), nullptr).last()), 0);
}

TEST(MemArray, SharesItsChunkAndKeepsItAlive) {
  auto chunk = samples<double>(12);
  const auto line = Larder::makeStrong<MemArray<1, double>>(chunk, MultiIndex<1>(12), nullptr);
  const auto plane = Larder::makeStrong<MemArray<2, double>>(chunk, MultiIndex<2>(3, 4), nullptr);
  const Larder::WeakPtrImpl<Chunk<double>, Larder::ChunkBase> seen = chunk;
  (*plane)[{2, 3}] = -1;
  EXPECT_EQ(line->last(), -1);
  chunk->push_back(9);
  EXPECT_EQ(line->nElements(), 12U) << "it does not see its chunk grow";
  EXPECT_EQ(line->memsize(), 13 * sizeof(double)) << "though memory is counted as it is now";
  chunk.reset();
  EXPECT_TRUE(seen);
}

TEST(MemArray, RefusesAnElementCountBeyondMemory) {
  const std::uint64_t half = 1ULL << 32;
  EXPECT_THROW((MemArray<2, double>(MultiIndex<2>(half + 1, half), nullptr)), std::length_error);
  EXPECT_THROW((MemArray<1, double>(MultiIndex<1>(1ULL << 62), nullptr)), std::length_error);
}

struct Mark : Larder::Interface<Mark> {};

/// Marks each new array, as what saves it would be attached; makes one itself the first time.
class Marker : public Larder::SaveInterfaceCreator<MemBase> {
 public:
  bool addTo(MemBase& array) override {
    if (called++ == 0) {
      const auto inner = MemBase::newArray("int", MultiIndex<1>(1));
      innerHadMark = static_cast<bool>(inner->findInterface<Mark>());
      Larder::SaveRegistryBase::registerCreator(typeid(Mark), Larder::makeStrong<Marker>());
    }
    array.addInterface(Larder::makeStrong<Mark>());
    return true;
  }
  std::atomic<int> called{0};
  bool innerHadMark = false;
};

TEST(MemArray, GetsItsSaveInterfacesWithItsFirstHandle) {
  const auto marker = Larder::makeStrong<Marker>();
  Larder::SaveRegistryBase::registerCreator(typeid(MemBase), marker);
  Larder::SaveRegistryBase::registerCreator(typeid(MemBase), nullptr);
  auto* made = new MemArray<1, float>(MultiIndex<1>(1), nullptr);
  EXPECT_FALSE(made->findInterface<Mark>());
  const MemBaseHandle handle(made);
  const MemBaseHandle again(made);
  EXPECT_TRUE(made->findInterface<Mark>());
  EXPECT_TRUE(marker->innerHadMark);
  EXPECT_EQ(marker->called, 2);
  TestSupport::inThreads(4, [&](int thread) {
    for (std::uint64_t i = 1; i < 100; ++i) {
      const auto array = MemBase::newArray(thread % 2 == 0 ? "double" : "int", MultiIndex<1>(i));
      if (!array->findInterface<Mark>()) ADD_FAILURE() << "no mark";
      if (thread == 0) Larder::SaveRegistryBase::registerCreator(typeid(Chunk<int>), marker);
    }
  });
}

}  // namespace
