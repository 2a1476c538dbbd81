// A host that brings its own roll-area allocator: defining the function replaces the
// library's default for every object the library makes.
#include <gtest/gtest.h>

#include <new>

#include "marl/host.h"
#include "marl/marl.h"

namespace {
long g_hostAllocations = 0;
long g_hostFrees = 0;
}  // namespace

extern "C" void* RollAreaUnregisteredAlloc(size_t size) {
  ++g_hostAllocations;
  return ::operator new(size);
}

extern "C" void RollAreaUnregisteredFree(void* block) {
  if (block) ++g_hostFrees;
  ::operator delete(block);
}

TEST(HostAllocator, CreatingTheLibraryAllocatesThroughTheHost) {
  long before = g_hostAllocations;
  Marl marl = Marl::create();
  ASSERT_TRUE(marl);
  EXPECT_GT(g_hostAllocations, before);
}

TEST(HostAllocator, EndingTheLibraryFreesThroughTheHost) {
  long freesBefore;
  {
    Marl marl = Marl::create();
    ASSERT_TRUE(marl);
    freesBefore = g_hostFrees;
  }
  EXPECT_GT(g_hostFrees, freesBefore);
  EXPECT_EQ(g_hostAllocations, g_hostFrees);
}
