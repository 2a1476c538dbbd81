#include "support/host_memory.h"

#include <new>

#include "marl/host.h"

namespace {

long g_outstanding = 0;
long g_allocations = 0;
long g_failAfter = -1;

}  // namespace

namespace testhost {

long outstandingBlocks() {
  return g_outstanding;
}

long allocationsMade() {
  return g_allocations;
}

void failAllocationAfter(long count) {
  g_failAfter = count;
}

}  // namespace testhost

extern "C" {

void* RollAreaUnregisteredAlloc(size_t size) {
  if (g_failAfter == 0) throw std::bad_alloc();
  if (g_failAfter > 0) --g_failAfter;
  void* block = ::operator new(size);
  ++g_allocations;
  ++g_outstanding;
  return block;
}

void RollAreaUnregisteredFree(void* block) {
  if (block) --g_outstanding;
  ::operator delete(block);
}

void* RollAreaUnregisteredPlacementAlloc(size_t, void* place) {
  return place;
}

void RollAreaUnregisteredPlacementFree(void*) {}

void* RollAreaMemoryAlloc(size_t size) {
  return ::operator new(size);
}

void RollAreaMemoryFree(void* block) {
  ::operator delete(block);
}

void* RollAreaMemoryPlacementAlloc(size_t, void* place) {
  return place;
}

void RollAreaMemoryPlacementFree(void*) {}

}  // extern "C"
