#include <gtest/gtest.h>

#include "marl/host.h"

TEST(DefaultWorkProcessMemory, AllocatesAndFreesWithTheGlobalAllocator) {
  void* block = WorkProcessMemoryAlloc(32);
  ASSERT_NE(block, nullptr);
  WorkProcessMemoryFree(block);
}

TEST(DefaultWorkProcessMemory, PlacementGivesThePlaceBack) {
  long place = 0;
  EXPECT_EQ(WorkProcessMemoryPlacementAlloc(sizeof place, &place), &place);
  WorkProcessMemoryPlacementFree(&place);
}

TEST(DefaultWorkProcessMemory, TheCollectorHookIsCallable) {
  trigger_gc_step();
  SUCCEED();
}
