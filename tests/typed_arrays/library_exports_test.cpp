// Built against librecast.so alone, as a host is: what the library hides makes the link fail.

#include <gtest/gtest.h>

#include "recast/typed_arrays/mem_array_allocator.h"

namespace {

template <class T>
void expectUsableFromOutside() {
  SCOPED_TRACE(Larder::Typename(typeid(T)));
  const auto array = Quilt::newMemArray<T>(Quilt::MultiIndex<3>(2, 3, 4), nullptr);
  ASSERT_TRUE(array);
  EXPECT_EQ(array->memsize(), 24 * sizeof(T));
  // Casts meet type information of both sides.
  EXPECT_TRUE((array.template castTo<Quilt::MemArray<3, T>>()));
  EXPECT_TRUE(array->getChunk().template castTo<Larder::Chunk<T>>());
  const auto byName =
      Quilt::MemBase::newArray(Larder::Typename(typeid(T)), Quilt::MultiIndex<1>(5));
  EXPECT_TRUE((byName.template castTo<Quilt::MemArray<1, T>>()));
  EXPECT_EQ(Quilt::QuiltType<T>::getQuiltType(), Quilt::QuiltTypeBase::find(typeid(T)));
  EXPECT_TRUE((Quilt::MemArray<1, T>::TypeIsRegistered && Quilt::MemArray<2, T>::TypeIsRegistered &&
               Quilt::MemArray<3, T>::TypeIsRegistered && Quilt::MemArray<4, T>::TypeIsRegistered));
}

TEST(LibraryExports, EveryArrayTypeWorksFromOutsideTheLibrary) {
#define RECAST_CASE(T) expectUsableFromOutside<T>();
  RECAST_ALL_ELEMENTS(RECAST_CASE)
#undef RECAST_CASE
}

}  // namespace
