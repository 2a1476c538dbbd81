#include "kernel/xmxxu_mem.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "support/host_memory.h"

namespace {

std::uint64_t used(CObjStack const& stack) {
  return stack.current->segmentSize - 8 - stack.current->freeBytes;
}

}  // namespace

TEST(ObjStack, PushOfNothingTakesOneHeaderWord) {
  CObjStack stack(256);
  stack.push(0);
  EXPECT_EQ(used(stack), 8u);
}

TEST(ObjStack, PushRoundsThePayloadUpToEightBytes) {
  CObjStack stack(256);
  stack.push(1);
  EXPECT_EQ(used(stack), 16u);
  stack.push(9);
  EXPECT_EQ(used(stack), 16u + 24u);
}

TEST(ObjStack, BlocksAreAlignedAndDoNotOverlap) {
  CObjStack stack(256);
  auto* first = static_cast<unsigned char*>(stack.push(3));
  auto* second = static_cast<unsigned char*>(stack.push(3));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 8, 0u);
  EXPECT_EQ(second - first, 16);
}

TEST(ObjStack, PopGivesTheTopBlockBack) {
  CObjStack stack(256);
  stack.push(16);
  void* top = stack.push(16);
  stack.pop();
  EXPECT_EQ(used(stack), 24u);
  EXPECT_EQ(stack.push(16), top);
}

TEST(ObjStack, PopOnAnEmptyStackDoesNothing) {
  CObjStack stack(256);
  CObjStackSeg* segment = stack.current;
  stack.pop();
  EXPECT_EQ(stack.current, segment);
  EXPECT_EQ(used(stack), 0u);
}

TEST(ObjStack, AFullSegmentGetsASuccessorOfTheSameSize) {
  CObjStack stack(64);
  CObjStackSeg* first = stack.current;
  for (int i = 0; i < 3; ++i) stack.push(8);  // 48 of 56 free bytes
  stack.push(8);
  EXPECT_NE(stack.current, first);
  EXPECT_EQ(stack.current->previous, first);
  EXPECT_EQ(stack.current->segmentSize, 64u);
}

TEST(ObjStack, ABigPushMakesASegmentJustLargeEnoughForItAndItsBottomMark) {
  CObjStack stack(64);
  void* payload = stack.push(1000);
  ASSERT_NE(payload, nullptr);
  EXPECT_EQ(stack.current->segmentSize, 1000u + 8u + 8u);
  EXPECT_EQ(stack.current->freeBytes, 0u);
}

TEST(ObjStack, PoppingAcrossTheBottomOfASegmentDropsItAndPopsThePrevious) {
  CObjStack stack(64);
  CObjStackSeg* first = stack.current;
  stack.push(8);
  stack.push(1000);
  CObjStackSeg* second = stack.current;
  ASSERT_NE(second, first);
  stack.pop();
  EXPECT_EQ(stack.current, second);
  stack.pop();
  EXPECT_EQ(stack.current, first);
  EXPECT_EQ(used(stack), 0u);
}

TEST(ObjStack, TheDestructorReleasesEverySegment) {
  long before = testhost::outstandingBlocks();
  {
    CObjStack stack(64);
    for (int i = 0; i < 50; ++i) stack.push(40);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST(ObjStack, PushGivesNullWhenNoNewSegmentCanBeHad) {
  CObjStack stack(64);
  testhost::AllocationFailure failure;
  EXPECT_EQ(stack.push(1000), nullptr);
  EXPECT_NE(stack.push(8), nullptr);
}
