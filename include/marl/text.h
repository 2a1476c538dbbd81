#ifndef MARL_TEXT_H
#define MARL_TEXT_H

#include <cstdint>

#include "marl/types.h"

// The library's hash of a wide string: 5381, then hash * 65599 + element for each element,
// in unsigned 32-bit arithmetic. The empty string hashes to 5381.
MARL_API std::uint32_t calcStringHash(std::wstring const& text);

#endif
