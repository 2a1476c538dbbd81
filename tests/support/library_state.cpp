#include "support/library_state.h"

#include "kernel/xmxxi_marl.h"

// The library holds no count on itself: a handle taken and dropped ends it.
void endLibrary() {
  if (!CMarlBase::c_pMarl) return;
  Marl last(static_cast<CMarl*>(CMarlBase::c_pMarl));
}
