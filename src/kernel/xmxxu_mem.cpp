#include "kernel/xmxxu_mem.h"

#include <cstring>

namespace {

constexpr std::uint64_t c_wordSize = 8;

std::uint64_t readWord(unsigned char const* at) noexcept {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

void writeWord(unsigned char* at, std::uint64_t word) noexcept {
  std::memcpy(at, &word, sizeof word);
}

std::uint64_t blockSize(unsigned long size) noexcept {
  return ((static_cast<std::uint64_t>(size) + c_wordSize - 1) & ~(c_wordSize - 1)) + c_wordSize;
}

}  // namespace

CObjStackSeg::CObjStackSeg(CObjStack* owner, std::uint64_t size)
    : stack(owner),
      previous(owner->current),
      segmentSize(size),
      freeBytes(size - c_wordSize),
      top(static_cast<unsigned char*>(rollAreaAllocate(size))) {
  writeWord(top, 0);
  stack->current = this;
}

CObjStackSeg::~CObjStackSeg() {
  // The segment keeps no pointer to its base: the chain of header words leads there.
  unsigned char* base = top;
  for (std::uint64_t back = readWord(base); back != 0; back = readWord(base)) base -= back;
  RollAreaUnregisteredFree(base);
  if (stack->current == this) stack->current = previous;
}

CObjStack::CObjStack(unsigned long segmentSize) : current(nullptr) {
  new CObjStackSeg(this, segmentSize);
}

CObjStack::~CObjStack() {
  while (current) delete current;
}

void* CObjStack::push(unsigned long size) {
  std::uint64_t needed = blockSize(size);
  if (needed > current->freeBytes) {
    // A new segment holds the block and its own bottom mark.
    std::uint64_t segmentBytes = needed + c_wordSize;
    if (segmentBytes < current->segmentSize) segmentBytes = current->segmentSize;
    try {
      new CObjStackSeg(this, segmentBytes);
    } catch (std::bad_alloc const&) {
      return nullptr;
    }
  }
  CObjStackSeg& segment = *current;
  unsigned char* payload = segment.top + c_wordSize;
  segment.top += needed;
  writeWord(segment.top, needed);
  segment.freeBytes -= needed;
  return payload;
}

void CObjStack::pop() {
  CObjStackSeg* segment = current;
  std::uint64_t back = readWord(segment->top);
  if (back != 0) {
    segment->freeBytes += back;
    segment->top -= back;
    return;
  }
  if (!segment->previous) return;
  current = segment->previous;
  pop();
  delete segment;
}
