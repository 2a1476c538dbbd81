#ifndef MARL_KERNEL_XMXXU_MEM_H
#define MARL_KERNEL_XMXXU_MEM_H

#include <cstdint>

#include "kernel/xmxxu_allo.h"

class CObjStack;

// One block of stack memory. Its first word is 0, the bottom mark; every pushed block is the
// payload, rounded up to 8 bytes, followed by a header word holding the distance back to the
// previous header word.
class CObjStackSeg : public AllocPolicyRollArea {
 public:
  // Allocates `size` bytes and becomes the stack's current segment.
  CObjStackSeg(CObjStack* stack, std::uint64_t size);
  CObjStackSeg(CObjStackSeg const&) = delete;
  CObjStackSeg& operator=(CObjStackSeg const&) = delete;
  virtual ~CObjStackSeg();

  CObjStack* stack;
  CObjStackSeg* previous;
  std::uint64_t segmentSize;
  std::uint64_t freeBytes;
  unsigned char* top;
};

// A last-in, first-out allocator for objects of any size, one host allocation per segment.
// It does not run destructors: the user destroys an object before popping it.
class CObjStack {
 public:
  explicit CObjStack(unsigned long segmentSize);
  CObjStack(CObjStack const&) = delete;
  CObjStack& operator=(CObjStack const&) = delete;
  ~CObjStack();

  // Room for `size` bytes, 8-byte aligned; null when memory is out.
  void* push(unsigned long size);
  // Drops the topmost block; nothing happens on an empty stack.
  void pop();

  CObjStackSeg* current;
};

#endif
