#ifndef MARL_KERNEL_XMXXU_ALLO_H
#define MARL_KERNEL_XMXXU_ALLO_H

#include <cstddef>
#include <new>

#include "marl/host.h"

// Memory from the host's roll area. A host allocator may signal exhaustion by throwing
// std::bad_alloc or by returning null; either way the library sees bad_alloc.
void* rollAreaAllocate(std::size_t size);

// Gives a class the host allocator as its class-level operator new and delete.
struct AllocPolicyRollArea {
  static void* operator new(std::size_t size) { return rollAreaAllocate(size); }
  static void operator delete(void* block) noexcept { RollAreaUnregisteredFree(block); }
};

// The allocator of every container of the library. Wide strings are the exception and use
// the global allocator.
template <class T>
struct tova_alloc {
  using value_type = T;

  tova_alloc() noexcept = default;
  template <class U>
  tova_alloc(tova_alloc<U> const&) noexcept {}

  T* allocate(std::size_t n) {
    if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_alloc();
    return static_cast<T*>(rollAreaAllocate(n * sizeof(T)));
  }
  void deallocate(T* p, std::size_t) noexcept { RollAreaUnregisteredFree(p); }

  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    ::new (RollAreaUnregisteredPlacementAlloc(sizeof(U), p)) U(static_cast<Args&&>(args)...);
  }
  template <class U>
  void destroy(U* p) noexcept {
    p->~U();
    RollAreaUnregisteredPlacementFree(p);
  }

  friend bool operator==(tova_alloc const&, tova_alloc const&) noexcept { return true; }
  friend bool operator!=(tova_alloc const&, tova_alloc const&) noexcept { return false; }
};

#endif
