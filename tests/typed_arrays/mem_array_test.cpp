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

template <class T>
using ChunkHandle = Larder::StrongPtr<Chunk<T>, Larder::ChunkBase>;

template <class T>
ChunkHandle<T> samples(std::size_t n) {
  const auto chunk = Larder::makeStrong<Chunk<T>>(n);
  for (std::size_t i = 0; i < n; ++i) (*chunk)[i] = sample<T>(i);
  return chunk;
}

void expectParameters(const MemBase& array, std::uint64_t count, std::uint64_t tail) {
  const Quilt::HyperslabParameters lie = array.getHyperslabParameters();
  EXPECT_EQ(lie.count, count);
  EXPECT_EQ(lie.stride, 1U);
  EXPECT_EQ(lie.length, count);
  EXPECT_EQ(lie.first, 0U);
  EXPECT_EQ(lie.tail, tail);
}

TEST(MemArray, StartsWithZerosInMemoryOfItsOwn) {
  TestSupport::forEveryArray([]<class Array, class T, int N>(std::type_identity<Array>,
                                                             std::type_identity<T>,
                                                             const MultiIndex<N>& shape) {
    const auto array = Larder::makeStrong<Array>(shape, nullptr);
    const std::uint64_t elements = shape.product();
    EXPECT_EQ(array->rank(), N);
    EXPECT_EQ(array->Size(), shape);
    EXPECT_EQ(array->getSize(), DynamicSize(shape));
    EXPECT_EQ(array->nElements(), elements);
    EXPECT_EQ(array->memsize(), elements * sizeof(T));
    EXPECT_EQ(array->getType(), typeid(T));
    EXPECT_EQ(array->typeIndex().TypeName, Larder::Typename(typeid(T)));
    expectParameters(*array, elements, 0);
    EXPECT_EQ(array->getPtr(), array->getChunk()->const_data_ptr());
    EXPECT_EQ(array->OriginPtr(), nullptr);
    EXPECT_EQ(array->DeltaPtr(), nullptr);
    EXPECT_EQ(array->creator, nullptr);
    EXPECT_FALSE(array->dataCreator());
    EXPECT_TRUE(array->first() == T{} && array->last() == T{});
    EXPECT_TRUE(Array::TypeIsRegistered);
    const auto like = array->newMemArraynD(shape, nullptr).template castTo<Array>();
    ASSERT_TRUE(like);
    (*like)[MultiIndex<N>()] = sample<T>(1);
    EXPECT_TRUE(array->first() == T{}) << "each has its own chunk";
    EXPECT_EQ(&array->creativeIterator(), &std::as_const(*array).creativeIterator());
  });
}

TEST(MemArray, WrapsAChunkWithoutCopyFirstIndexFastest) {
  TestSupport::forEveryArray([]<class Array, class T, int N>(std::type_identity<Array>,
                                                             std::type_identity<T>,
                                                             const MultiIndex<N>& shape) {
    const auto chunk = samples<T>(shape.product());
    const auto array = Larder::makeStrong<Array>(chunk, shape, nullptr);
    EXPECT_EQ(array->myChunk(), chunk);
    EXPECT_EQ(array->getChunk(), chunk);
    MultiIndex<N> position;
    do {
      const std::uint64_t place = TestSupport::placeOf(position, shape);
      ASSERT_TRUE((*array)[position] == sample<T>(place)) << place;
      ASSERT_EQ(&(*array)[position], chunk->data() + place);
    } while (position.inc(shape));
    EXPECT_TRUE(array->first() == sample<T>(0));
    EXPECT_TRUE(array->last() == sample<T>(shape.product() - 1));
    EXPECT_EQ(array->makeMemArray(nullptr), array) << "the same object, no copy";
  });
}

TEST(MemArray, CountsTheRestOfALongerChunkAsTail) {
  TestSupport::forEveryArray([]<class Array, class T, int N>(std::type_identity<Array>,
                                                             std::type_identity<T>,
                                                             const MultiIndex<N>& shape) {
    const std::size_t longer = shape.product() + 5;
    const auto array = Larder::makeStrong<Array>(samples<T>(longer), shape, nullptr);
    EXPECT_EQ(array->nElements(), shape.product());
    EXPECT_EQ(array->memsize(), longer * sizeof(T)) << "the bytes of the chunk, not of the shape";
    expectParameters(*array, longer, 5);
    EXPECT_TRUE(array->last() == sample<T>(shape.product() - 1));
  });
}

TEST(MemArray, HasNoMemoryWithoutAChunkOfItsType) {
  TestSupport::forEveryArray([]<class Array, class T, int N>(std::type_identity<Array>,
                                                             std::type_identity<T>,
                                                             const MultiIndex<N>& shape) {
    const Larder::StrongPtr<Larder::ChunkBase> sources[] = {
        nullptr, Larder::makeStrong<Chunk<std::string>>(std::size_t{100})};
    for (const auto& source : sources) {
      const auto array = Larder::makeStrong<Array>(source, shape, nullptr);
      expectParameters(*array, 0, 0);
      EXPECT_EQ(array->getPtr(), nullptr);
      EXPECT_EQ(array->memsize(), 0U);
      EXPECT_EQ(array->Size(), shape);
      EXPECT_TRUE(array->first() == T{} && array->last() == T{});
      EXPECT_THROW((*array)[MultiIndex<N>()], std::logic_error);
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
  const MemArray<3, int> empty(MultiIndex<3>(0, 3, 4), nullptr);
  EXPECT_EQ(empty.memsize(), 0U);
  EXPECT_EQ(empty.first(), 0);
  EXPECT_EQ(empty.last(), 0);
}

TEST(MemArray, SharesItsChunkAndKeepsItAlive) {
  auto chunk = samples<double>(12);
  const auto line = Larder::makeStrong<MemArray<1, double>>(chunk, MultiIndex<1>(12), nullptr);
  const auto plane = Larder::makeStrong<MemArray<2, double>>(chunk, MultiIndex<2>(3, 4), nullptr);
  const Larder::WeakPtrImpl<Chunk<double>, Larder::ChunkBase> seen = chunk;
  (*plane)[{2, 3}] = -1;
  EXPECT_EQ(line->last(), -1);
  chunk.reset();
  EXPECT_TRUE(seen);
  // A view that starts in the middle and takes each third element.
  Quilt::Iterator<double> iterator = *plane;
  iterator.first = 1;
  iterator.stride = 3;
  const MemArray<1, double> view(iterator, {2}, nullptr, plane->myChunk(), nullptr);
  EXPECT_EQ(view.first(), sample<double>(3));
  EXPECT_EQ(view.last(), sample<double>(6));
  EXPECT_EQ(view.memsize(), 12 * sizeof(double));
  EXPECT_EQ(view.tail, 1U);
}

TEST(MemArray, DoesNotSeeItsChunkGrow) {
  const auto chunk = samples<int>(3);
  const MemArray<1, int> array(chunk, {3}, nullptr);
  chunk->push_back(9);
  EXPECT_EQ(array.count, 3U);
  EXPECT_EQ(array.nElements(), 3U);
  EXPECT_EQ(array.memsize(), 4 * sizeof(int)) << "memory is counted as it is now";
}

TEST(MemArray, RefusesAnElementCountBeyondMemory) {
  const std::uint64_t half = 1ULL << 32;
  EXPECT_THROW((MemArray<2, double>(MultiIndex<2>(half + 1, half), nullptr)), std::length_error);
  EXPECT_THROW((MemArray<1, double>(MultiIndex<1>(1ULL << 62), nullptr)), std::length_error);
  EXPECT_THROW(Quilt::newMemArray<int>(DynamicSize({half, half, half, half}), nullptr),
               std::length_error);
}

TEST(ArrayAllocators, MakeArraysOfAnyTypeAndRank) {
  TestSupport::forEveryArray([]<class Array, class T, int N>(std::type_identity<Array>,
                                                             std::type_identity<T>,
                                                             const MultiIndex<N>& shape) {
    const auto typed = Quilt::newMemArray<T>(shape, nullptr);
    ASSERT_TRUE(typed.template castTo<Array>());
    const auto byName = MemBase::newArray(Larder::Typename(typeid(T)), shape);
    ASSERT_TRUE(byName.template castTo<Array>());
    EXPECT_EQ(byName->getSize(), DynamicSize(shape));
    EXPECT_NE(byName->getPtr(), nullptr);
  });
}

TEST(ArrayAllocators, GiveNullForOtherRanksAndTypes) {
  TestSupport::forEveryElement([]<class T>(std::type_identity<T>) {
    EXPECT_FALSE(Quilt::newMemArray<T>(DynamicSize({1, 1, 1, 1, 1}), nullptr));
    EXPECT_FALSE(Quilt::newMemArray<T>(DynamicSize(), nullptr));
    EXPECT_FALSE(MemBase::newArray(Larder::Typename(typeid(T)), DynamicSize()));
  });
  EXPECT_FALSE(MemBase::newArray("std::string", MultiIndex<1>(1)));
}

TEST(ArrayAllocators, AreRegisteredOnceAtLoad) {
  TestSupport::forEveryElement([]<class T>(std::type_identity<T>) {
    EXPECT_FALSE(Quilt::MemArrayAllocator<T>::registerMe()) << "there is one already";
    EXPECT_TRUE(Quilt::MemArrayAllocator<T>::isRegistered());
  });
  EXPECT_FALSE(MemBase::registerCreator(nullptr, Quilt::QuiltType<int>::getQuiltType()));
  const std::uint32_t before = MemBase::RegisteredTypes;
  const MemArray<2, float> array(MultiIndex<2>(1, 1), nullptr);
  EXPECT_EQ(MemBase::RegisteredTypes, before + 1);
}

TEST(ArrayAllocators, PassTheCreatorOn) {
  const Quilt::CreatorHandle creator(
      new Quilt::CreativeArrayBase(MemBase::newArray("int", MultiIndex<1>(1))));
  EXPECT_EQ(Quilt::newMemArray<double>(MultiIndex<2>(2, 2), creator)->dataCreator().lock(),
            creator);
}

TEST(ArrayAllocators, WrapFilledChunksAsLists) {
  const auto points = samples<Heron::PhysicalSpace::point>(7);
  const auto array = Quilt::makeMemArray1D(points, nullptr);
  EXPECT_EQ(array->getSize(), MultiIndex<1>(7));
  EXPECT_EQ(array->getPtr(), points->data());
  EXPECT_EQ(Quilt::makeMemArray1D(samples<Quilt::Triangle>(0), nullptr)->nElements(), 0U);
  EXPECT_FALSE(Quilt::makeMemArray1D(ChunkHandle<Quilt::Triangle>(), nullptr));
}

TEST(ArrayAllocators, WorkInSeveralThreads) {
  TestSupport::inThreads(4, [](int thread) {
    for (std::uint64_t i = 1; i < 100; ++i) {
      const auto array = MemBase::newArray(
          thread % 2 == 0 ? "double" : "Heron::PhysicalSpace::point", MultiIndex<3>(i, 2, 1));
      if (array->nElements() != 2 * i) ADD_FAILURE() << i;
    }
  });
}

struct Mark : Larder::Interface<Mark> {};

/// Marks each new array, as what saves it would be attached.
class Marker : public Larder::SaveInterfaceCreator<MemBase> {
 public:
  bool addTo(MemBase& array) override {
    ++called;
    array.addInterface(Larder::makeStrong<Mark>());
    return true;
  }
  int called = 0;
};

TEST(MemArray, GetsItsSaveInterfacesWithItsFirstHandle) {
  const auto marker = Larder::makeStrong<Marker>();
  Larder::SaveRegistryBase::registerCreator(typeid(MemBase), marker);
  auto* made = new MemArray<1, float>(MultiIndex<1>(1), nullptr);
  EXPECT_FALSE(made->findInterface<Mark>());
  const MemBaseHandle handle(made);
  const MemBaseHandle again(made);
  EXPECT_TRUE(made->findInterface<Mark>());
  EXPECT_EQ(marker->called, 1);
}

}  // namespace
