// Default roll-area memory: the global allocator. A host hands out its own roll area instead.
#include <new>

#include "marl/host.h"

extern "C" {

void* RollAreaUnregisteredAlloc(size_t size) {
  return ::operator new(size);
}

void RollAreaUnregisteredFree(void* block) {
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
