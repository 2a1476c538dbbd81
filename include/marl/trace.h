#ifndef MARL_TRACE_H
#define MARL_TRACE_H

#include "marl/export.h"

// Diagnostics go to the standard error stream. A message of level L (1 fatal, 2 error,
// 3 warning, 4 info) is written when the report level is high enough for it; 0 is silent.
MARL_API void MarlTrace__setLevel(unsigned int report, unsigned int override);
// The report level set last; 0 at start.
MARL_API unsigned int MarlTrace__getLevel();

#endif
