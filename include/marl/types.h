#ifndef MARL_TYPES_H
#define MARL_TYPES_H

#include <string>

#include "marl/export.h"

// Text crosses the interface as wide strings of 16-bit code units, one per wchar_t;
// bytes cross it only at streams, as raw strings.
using rawstring = std::basic_string<unsigned char>;

// Roots of the implementation classes; handles only ever point at them.
class CUnknown;

#endif
