// The places of virtual operations in the tables of their classes, on which hosts that were built
// earlier depend.

#include <cstring>

#include <gtest/gtest.h>

#include "recast/typed_arrays/mem_array_allocator.h"

namespace {

using namespace Quilt;

/// As the C++ ABI of GCC and clang has it: one more than the offset in the table.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
  std::ptrdiff_t words[2];
  static_assert(sizeof(operation) == sizeof(words));
  std::memcpy(words, &operation, sizeof(words));
  return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// Whether the operations have the slots from `first` on.
template <class... Operations>
void expectSlots(std::ptrdiff_t first, Operations... operations) {
  std::vector<std::ptrdiff_t> expected;
  for (std::size_t i = 0; i < sizeof...(operations); ++i)
    expected.push_back(first + static_cast<std::ptrdiff_t>(i));
  EXPECT_EQ(std::vector<std::ptrdiff_t>({slotOf(operations)...}), expected);
}

// Slots 0 to 2 of counted classes: extremeUnction and two destructors.
constexpr std::ptrdiff_t kCounted = 3;

TEST(SlotOrder, OfChunks) {
  using Chunk = Larder::Chunk<double>;
  expectSlots(kCounted, &Chunk::elements, &Chunk::element_size, &Chunk::const_data_ptr,
              &Chunk::data_ptr, &Chunk::getType, &Chunk::getBaseType, &Chunk::createNewChunk,
              &Chunk::copy, static_cast<std::vector<double>& (Chunk::*)()>(&Chunk::base_vector),
              static_cast<const std::vector<double>& (Chunk::*)() const>(&Chunk::base_vector),
              &Chunk::newChunk);
}

TEST(SlotOrder, OfArrays) {
  using Array = MemArray<3, float>;
  using Iterator = CreativeIterator<float>;
  expectSlots(2, &Array::rank, &Array::Size, &Array::newMemArraynD, &Array::createSubMemArray,
              &Array::createSubArray, &Array::getSize, &Array::getSlice, &Array::copyFrom,
              &Array::myChunk, &Array::memsize, &Array::nElements, &Array::DeferredConstructor,
              &Array::getType, &Array::getHyperslabParameters, &Array::getPtr, &Array::OriginPtr,
              &Array::DeltaPtr, &ReferencingMemArray<3, float>::first, &Array::last,
              static_cast<Iterator& (Array::*)()>(&Array::creativeIterator),
              static_cast<const Iterator& (Array::*)() const>(&Array::creativeIterator),
              &Array::makeMemArray, &Array::createEquallySizedMemArray, &Array::copy,
              &Array::getComponentArray);
  using Typed = TypedArray<float>;
  expectSlots(0, &Typed::first, &Typed::last,
              static_cast<Iterator& (Typed::*)()>(&Typed::creativeIterator),
              static_cast<const Iterator& (Typed::*)() const>(&Typed::creativeIterator),
              &Typed::myChunk, &Typed::getChunk, &Typed::getType);
  expectSlots(kCounted, &MemBase::memsize, &MemBase::DeferredConstructor, &MemBase::DomainType,
              &MemBase::CreatorType, &MemBase::rank, &MemBase::getSize, &MemBase::nElements,
              &MemBase::getType, &MemBase::getHyperslabParameters, &MemBase::getPtr,
              &MemBase::getChunk, &MemBase::OriginPtr, &MemBase::DeltaPtr, &MemBase::makeMemArray,
              &MemBase::getComponentArray, &MemBase::createSubArray,
              &MemBase::createEquallySizedMemArray, &MemBase::copyFrom, &MemBase::copy);
}

TEST(SlotOrder, OfElementTypesAndAllocators) {
  using Type = QuiltType<float>;
  expectSlots(kCounted, &Type::getType, &Type::isType, &Type::newChunk, &Type::element_index,
              &Type::element_type, &Type::coordinate_component_name, &Type::chart_type,
              &Type::indexing_scheme, &Type::nontensor);
  using Allocator = MemArrayAllocator<float>;
  expectSlots(kCounted, &Allocator::getInterfaceDomain, &Allocator::apply_const, &Allocator::apply,
              &Allocator::create);
}

}  // namespace
