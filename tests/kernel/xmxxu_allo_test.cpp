#include "kernel/xmxxu_allo.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/host_memory.h"

namespace {

struct Allocated : AllocPolicyRollArea {
  int value = 7;
};

}  // namespace

TEST(AllocPolicy, ObjectsComeFromAndReturnToTheHostAllocator) {
  long before = testhost::outstandingBlocks();
  Allocated* object = new Allocated;
  EXPECT_EQ(testhost::outstandingBlocks(), before + 1);
  delete object;
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST(AllocPolicy, AFailingHostAllocatorRaisesBadAlloc) {
  testhost::AllocationFailure failure;
  EXPECT_THROW(new Allocated, std::bad_alloc);
}

TEST(TovaAlloc, ContainersAllocateThroughTheHost) {
  long allocationsBefore = testhost::allocationsMade();
  long before = testhost::outstandingBlocks();
  {
    std::vector<int, tova_alloc<int>> numbers;
    for (int i = 0; i < 100; ++i) numbers.push_back(i);
    EXPECT_GT(testhost::allocationsMade(), allocationsBefore);
    EXPECT_EQ(numbers[99], 99);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST(TovaAlloc, AFailingHostAllocatorLeavesTheContainerUnchanged) {
  std::vector<int, tova_alloc<int>> numbers{1, 2, 3};
  numbers.shrink_to_fit();
  testhost::AllocationFailure failure;
  EXPECT_THROW(numbers.push_back(4), std::bad_alloc);
  EXPECT_EQ(numbers.size(), 3u);
}

TEST(TovaAlloc, AllInstancesAreInterchangeable) {
  EXPECT_TRUE(tova_alloc<int>() == tova_alloc<int>(tova_alloc<char>()));
}
