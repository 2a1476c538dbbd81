// Default work-process memory: the global allocator, and no collector to step.
#include <new>

#include "marl/host.h"

extern "C" {

void* WorkProcessMemoryAlloc(size_t size) {
  return ::operator new(size);
}

void WorkProcessMemoryFree(void* block) {
  ::operator delete(block);
}

void* WorkProcessMemoryPlacementAlloc(size_t, void* place) {
  return place;
}

void WorkProcessMemoryPlacementFree(void*) {}

void trigger_gc_step(void) {}

}  // extern "C"
