#include "kernel/xmxxu_allo.h"

void* rollAreaAllocate(std::size_t size) {
  void* block = RollAreaUnregisteredAlloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
