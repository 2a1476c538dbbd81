#include "kernel/xmxxo_unkn.h"

#include "kernel/xmxxi_marl.h"

CUnknown::CUnknown() : refCount(0) {
  ++CMarlBase::instance().liveObjects;
}

CUnknown::CUnknown(NotCounted) noexcept : refCount(0) {}

// Never creates the singleton: an object that outlives it has nothing left to count.
CUnknown::~CUnknown() {
  if (CMarlBase::c_pMarl) --CMarlBase::c_pMarl->liveObjects;
}

CUnknownWithoutStrings::CUnknownWithoutStrings() {
  if (CMarlBase::c_pMarl) --CMarlBase::c_pMarl->liveObjects;
}

CUnknownWithoutStrings::~CUnknownWithoutStrings() {
  if (CMarlBase::c_pMarl) ++CMarlBase::c_pMarl->liveObjects;
}
