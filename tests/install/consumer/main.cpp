// A program built against an installed library.
#include <marl/marl.h>

#include <cstdio>

int main() {
  Marl marl = Marl::create();
  if (!marl) {
    std::puts("no library");
    return 1;
  }
  if (!marl.hasFeature(L"XML", L"1.0")) {
    std::puts("XML 1.0 not served");
    return 1;
  }
  if (calcStringHash(L"a") != 5381u * 65599u + 97u) {
    std::puts("unexpected string hash");
    return 1;
  }
  std::printf("marl %u serves XML 1.0\n", marl.getVersion());
  return 0;
}
