// Default internal tables: there are none, so no line is ever delivered or appended.
#include "marl/host.h"

namespace {
// The table type the host reports for a table it does not know.
constexpr int c_unknownTableType = 120;
}

extern "C" {

void TOVAPreprocITAB(void*) {}

size_t TOVAItLeng(void*) {
  return 0;
}

int TOVAItType(void*) {
  return c_unknownTableType;
}

void* TOVAItGetLine(void*, size_t) {
  return nullptr;
}

void* TOVAItAppLine(void*) {
  return nullptr;
}

void TOVAItFree(void*) {}

void* TOVAItAccess(void*, size_t) {
  return nullptr;
}

size_t TOVAItGetRecord(void*) {
  return 0;
}

}  // extern "C"
