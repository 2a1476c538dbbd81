#include "kernel/xmxxu_hash.h"

#include <algorithm>
#include <iterator>

namespace {

// Roughly doubling primes; tables sized from them keep chains short without rehashing often.
const std::uint32_t c_primeList[] = {
    53u,        97u,        193u,       389u,       769u,        1543u,       3079u,
    6151u,      12289u,     24593u,     49157u,     98317u,      196613u,     393241u,
    786433u,    1572869u,   3145739u,   6291469u,   12582917u,   25165843u,   50331653u,
    100663319u, 201326611u, 402653189u, 805306457u, 1610612741u, 3221225473u, 4294967291u,
};

}  // namespace

std::size_t primeBucketCount(std::size_t wanted) {
  auto first = std::lower_bound(std::begin(c_primeList), std::end(c_primeList), wanted);
  return first == std::end(c_primeList) ? c_primeList[std::size(c_primeList) - 1] : *first;
}
