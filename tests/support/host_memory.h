#ifndef MARL_TESTS_SUPPORT_HOST_MEMORY_H
#define MARL_TESTS_SUPPORT_HOST_MEMORY_H

#include <cstddef>

// The roll-area memory of the internal test programs: it counts the blocks the library takes
// and gives back, and can be told to fail an allocation.
namespace testhost {

// Blocks allocated and not yet freed.
long outstandingBlocks();
// Allocations made so far.
long allocationsMade();
// Makes the allocation that comes `count` allocations from now fail (0: the next one);
// a negative count lets all succeed.
void failAllocationAfter(long count);

// Fails allocations for as long as it lives.
class AllocationFailure {
 public:
  explicit AllocationFailure(long after = 0) { failAllocationAfter(after); }
  ~AllocationFailure() { failAllocationAfter(-1); }
  AllocationFailure(AllocationFailure const&) = delete;
  AllocationFailure& operator=(AllocationFailure const&) = delete;
};

}  // namespace testhost

#endif
