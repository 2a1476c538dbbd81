// Creates the library and prints what it tells about itself.
#include <marl/marl.h>

#include <cstdio>

namespace {

char const* yesNo(unsigned char answer) {
  return answer ? "yes" : "no";
}

}  // namespace

int main() {
  Marl marl = Marl::create();
  if (!marl) {
    std::fputs("marl: the library could not be created\n", stderr);
    return 1;
  }
  std::printf("marl library version %u\n", marl.getVersion());
  std::printf("serves XML 1.0:           %s\n", yesNo(marl.hasFeature(L"XML", L"1.0")));
  std::printf("clean start:              %s\n", yesNo(marl.hasFeature(L"CLEAN", L"")));
  std::printf("string cache empty:       %s\n", yesNo(marl.hasFeature(L"STRING_CACHE", L"EMPTY")));
  std::printf("string cache purgeable:   %s\n", yesNo(marl.hasFeature(L"STRING_CACHE", L"PURGED")));
  for (wchar_t const* name : {L"document", L"element", L"attribute"})
    std::printf("hash of %-10ls          %u\n", name, static_cast<unsigned>(calcStringHash(name)));
  return 0;
}
