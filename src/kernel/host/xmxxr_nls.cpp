// Default code-page conversion: there is no host converter, so every call that would need one
// reports the internal-error status 4 and every query finds nothing.
#include <cstring>

#include "marl/host.h"

namespace {
constexpr int c_noConverter = 4;
}

extern "C" {

size_t TOVASizeOfConverter(void) {
  return 0;
}

int TOVAInitConverter(void*, const TOVACodePage*, const TOVACodePage*, int) {
  return c_noConverter;
}

int TOVACopyConverter(void*, const void*) {
  return c_noConverter;
}

void TOVAShutdownConverter(void*) {}

int TOVAConvertUCS2ToORVCP(void*, const wchar_t**, const wchar_t*, unsigned char**,
                           const unsigned char*) {
  return c_noConverter;
}

int TOVAConvertORVCPToUCS2(void*, const unsigned char**, const unsigned char*, wchar_t**,
                           const wchar_t*) {
  return c_noConverter;
}

int TOVAConvertBufferUCS2toORVCP(void*, const wchar_t**, const wchar_t*, unsigned char**,
                                 const unsigned char*) {
  return c_noConverter;
}

int TOVAConvertBufferORVCPtoUCS2(void*, const unsigned char**, const unsigned char*, wchar_t**,
                                 const wchar_t*) {
  return c_noConverter;
}

void TOVAConvertGetCurrentCodePage(TOVACodePage* codePage) {
  std::memset(codePage, 0, sizeof *codePage);
}

void TOVAConvertGetInternalCodePage(TOVACodePage* codePage) {
  std::memset(codePage, 0, sizeof *codePage);
}

int TOVAConvertCpNameToOrvCp(const char*, TOVACodePage* codePage) {
  std::memset(codePage, 0, sizeof *codePage);
  return 0;
}

int TOVAConvertOrvCpToCpName(const TOVACodePage*, char* name, size_t nameSize) {
  if (name && nameSize > 0) std::memset(name, 0, nameSize);
  return 0;
}

void TOVAConvertORVUCtoUCS2(void*, const void*, size_t, wchar_t*) {}

void TOVAConvertUCS2toORVUC(void*, const wchar_t*, size_t, void*) {}

void TOVAConvertToUCS2(void*, const void*, size_t, wchar_t*) {}

void TOVAConvertFromUCS2(void*, const wchar_t*, size_t, void*) {}

}  // extern "C"
