#ifndef MARL_MARL_H
#define MARL_MARL_H

// The whole public interface of the library.
#include "marl/types.h"
#include "marl/handle.h"
#include "marl/factory.h"
#include "marl/encoding.h"
#include "marl/stream.h"
#include "marl/renderer.h"
#include "marl/parser.h"
#include "marl/node.h"
#include "marl/attribute.h"
#include "marl/element.h"
#include "marl/namespace.h"
#include "marl/chardata.h"
#include "marl/pi.h"
#include "marl/declarations.h"
#include "marl/doctype.h"
#include "marl/entityref.h"
#include "marl/entity.h"
#include "marl/document.h"
#include "marl/filter.h"
#include "marl/iterator.h"
#include "marl/list.h"
#include "marl/text.h"
#include "marl/trace.h"

#endif
