// Default host strings: there are none, so content is neither stored nor delivered.
#include "marl/host.h"

extern "C" {

void TOVAStringFirstInitRoll(void*) {}

void TOVAStringFirstInitFromTabh(void*, const void*) {}

void TOVAStringMove(void*, void*) {}

void TOVAStringDiscard(void*) {}

void TOVAStringCreate(void*, size_t) {}

void TOVAStringSetContent(void*, const wchar_t*, size_t, void*) {}

void TOVAStringGetContent(void*, const wchar_t** data, size_t* length, void*) {
  if (data) *data = nullptr;
  if (length) *length = 0;
}

void TOVAStringAppend(void*, const wchar_t*, size_t, void*) {}

void TOVAXStringSetContent(void*, const unsigned char*, size_t) {}

int TOVAXStringGetContent(void*, const unsigned char** data, size_t* length) {
  if (data) *data = nullptr;
  if (length) *length = 0;
  return 1;
}

void TOVAXStringAppend(void*, const unsigned char*, size_t) {}

}  // extern "C"
