// Default data sets: there is no host file system; the streams fall back on the system's files.
#include "marl/host.h"

namespace {
constexpr int c_failed = -1;
}

extern "C" {

int TOVA_DsetOpen(const char*, int, void** dataset) {
  if (dataset) *dataset = nullptr;
  return c_failed;
}

int TOVA_DsetClose(void*) {
  return c_failed;
}

long TOVA_DsetRead(void*, void*, size_t) {
  return c_failed;
}

long TOVA_DsetWrite(void*, const void*, size_t) {
  return c_failed;
}

}  // extern "C"
