#include <gtest/gtest.h>

#include <cstring>

#include "marl/host.h"

TEST(DefaultRollArea, AllocatesAndFreesWithTheGlobalAllocator) {
  void* block = RollAreaUnregisteredAlloc(64);
  ASSERT_NE(block, nullptr);
  std::memset(block, 0xAB, 64);
  RollAreaUnregisteredFree(block);
}

TEST(DefaultRollArea, PlacementGivesThePlaceBack) {
  int place = 0;
  EXPECT_EQ(RollAreaUnregisteredPlacementAlloc(sizeof place, &place), &place);
  RollAreaUnregisteredPlacementFree(&place);
  EXPECT_EQ(RollAreaMemoryPlacementAlloc(sizeof place, &place), &place);
  RollAreaMemoryPlacementFree(&place);
}

TEST(DefaultRollArea, SecondKindOfMemoryBehavesTheSame) {
  void* block = RollAreaMemoryAlloc(16);
  ASSERT_NE(block, nullptr);
  RollAreaMemoryFree(block);
}

TEST(DefaultRollArea, ExhaustionRaisesBadAlloc) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "AddressSanitizer ends the process on an impossible allocation";
#endif
  EXPECT_THROW(RollAreaUnregisteredAlloc(static_cast<size_t>(-1) / 2), std::bad_alloc);
}
