#include <cstdlib>
#include <new>
#include <thread>

#include "buildings/rings.h"
#include <gtest/gtest.h>

#include "recast/buildings/polygon_triangulation.h"

namespace {

std::size_t allocations = 0;
std::size_t failingAllocation = 0;  // by its number; 0 for none

/// Counts an allocation. \throw std::bad_alloc if it is the one to fail
void count() {
  if (++allocations == failingAllocation) throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  count();
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  count();
  const auto unit = static_cast<std::size_t>(alignment);
  if (void* memory = std::aligned_alloc(unit, (size + unit - 1) / unit * unit)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  std::free(memory);
}

namespace {

TEST(TriangulationMemory, IsNotAllocatedOnceItHasGrown) {
  std::vector<TestRings::Ring> rings;
  TestRings::Random random(3);
  for (const std::size_t n : {4U, 10U, 50U, 400U, 3000U, 9U, 3500U})
    for (const auto& family : TestRings::families()) rings.push_back(family.make(random, n));
  std::vector<Quilt::Triangle> triangles;
  triangles.reserve(10'000);
  const auto triangulateAll = [&] {
    const std::size_t before = allocations;
    for (TestRings::Ring& ring : rings) {
      triangles.clear();
      Recast::polygonToTriangle(ring, triangles);
    }
    return allocations - before;
  };
  EXPECT_GT(triangulateAll(), 0U);
  EXPECT_EQ(triangulateAll(), 0U);
}

TEST(TriangulationMemory, CanRunOutAtAnyAllocationAndTheNextRingIsCutAsEver) {
  for (const auto& family : TestRings::families()) {
    TestRings::Random random(5);
    TestRings::Ring ring = family.make(random, 700);
    std::vector<Quilt::Triangle> expected;
    const std::string text = Recast::polygonToTriangle(ring, expected);
    bool failed = true;
    for (std::size_t n = 1; failed; ++n)
      std::thread([&] {  // whose triangulator is a new one
        std::vector<Quilt::Triangle> triangles;
        triangles.reserve(ring.size());
        failingAllocation = allocations + n;
        failed = false;
        try {
          Recast::polygonToTriangle(ring, triangles);
        } catch (const std::bad_alloc&) {
          failed = true;
        }
        failingAllocation = 0;
        triangles.clear();
        EXPECT_EQ(Recast::polygonToTriangle(ring, triangles), text);
        EXPECT_TRUE(triangles == expected) << family.name << ", allocation " << n;
      })
          .join();
  }
}

}  // namespace
