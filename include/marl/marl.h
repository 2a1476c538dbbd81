#ifndef MARL_MARL_H
#define MARL_MARL_H

// The whole public interface of the library.
#include "marl/types.h"
#include "marl/handle.h"
#include "marl/factory.h"
#include "marl/text.h"
#include "marl/trace.h"

#endif
