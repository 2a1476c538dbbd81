#include "kernel/xmxxo_unkn.h"

#include <gtest/gtest.h>

#include "kernel/xmxxi_marl.h"
#include "support/library_state.h"

// Test kinds live in a named namespace: their handle members are external, like the library's.
namespace handle_test {

// Two kinds of test object in the pattern of the library's classes: a base kind, and a derived
// kind that also answers the base kind's identifier.
constexpr unsigned int idBaseKind = 1001;
constexpr unsigned int idDerivedKind = 1002;

class CBaseKind : public CUnknown, public AllocPolicyRollArea {
 public:
  void* _queryInterface(unsigned int id) override {
    return id == idBaseKind || id == idUnknown ? this : nullptr;
  }
  unsigned int _queryClass() const override { return idBaseKind; }
};

class CDerivedKind : public CBaseKind {
 public:
  void* _queryInterface(unsigned int id) override {
    return id == idDerivedKind ? this : CBaseKind::_queryInterface(id);
  }
  unsigned int _queryClass() const override { return idDerivedKind; }
};

class CAtomFreeKind : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  void* _queryInterface(unsigned int id) override { return id == idUnknown ? this : nullptr; }
  unsigned int _queryClass() const override { return idUnknown; }
};

class BaseHandle {
  MARL_HANDLE_MEMBERS(BaseHandle, CBaseKind)
};

class DerivedHandle {
  MARL_HANDLE_MEMBERS(DerivedHandle, CDerivedKind)
};

class AtomFreeHandle {
  MARL_HANDLE_MEMBERS(AtomFreeHandle, CAtomFreeKind)
};

MARL_DEFINE_HANDLE(BaseHandle, CBaseKind, idBaseKind)
MARL_DEFINE_HANDLE_DESTRUCTOR(BaseHandle)
MARL_DEFINE_HANDLE(DerivedHandle, CDerivedKind, idDerivedKind)
MARL_DEFINE_HANDLE_DESTRUCTOR(DerivedHandle)
MARL_DEFINE_HANDLE(AtomFreeHandle, CAtomFreeKind, idUnknown)
MARL_DEFINE_HANDLE_DESTRUCTOR(AtomFreeHandle)

}  // namespace handle_test

using namespace handle_test;

namespace {

std::uint32_t liveObjects() {
  return CMarlBase::instance().liveObjects;
}

using Handles = FreshLibrary;

}  // namespace

TEST_F(Handles, AnObjectIsBornUncountedAndTheFirstHandleCountsIt) {
  CBaseKind* object = new CBaseKind;
  EXPECT_EQ(object->getRefCount(), 0u);
  BaseHandle handle(object);
  EXPECT_EQ(object->getRefCount(), 1u);
}

TEST_F(Handles, CopiesShareThePointerAndCountIt) {
  BaseHandle first(new CBaseKind);
  BaseHandle second(first);
  EXPECT_EQ(static_cast<CUnknown*>(second), static_cast<CUnknown*>(first));
  EXPECT_EQ(first._impl()->getRefCount(), 2u);
}

TEST_F(Handles, TheLastHandleToLetGoDeletesTheObject) {
  std::uint32_t before = liveObjects();
  {
    BaseHandle handle(new CBaseKind);
    EXPECT_EQ(liveObjects(), before + 1);
  }
  EXPECT_EQ(liveObjects(), before);
}

TEST_F(Handles, AnEmptyHandleTestsAsNull) {
  BaseHandle empty;
  EXPECT_EQ(static_cast<CUnknown*>(empty), nullptr);
  EXPECT_FALSE(empty);
}

TEST_F(Handles, ConversionFromNullGivesAnEmptyHandle) {
  BaseHandle handle(static_cast<CUnknown*>(nullptr));
  EXPECT_FALSE(handle);
}

TEST_F(Handles, ConversionFromAnEmptyHandleGivesAnEmptyHandle) {
  BaseHandle empty;
  DerivedHandle derived(static_cast<CUnknown*>(empty));
  EXPECT_FALSE(derived);
}

TEST_F(Handles, ConversionToAServedInterfaceCounts) {
  DerivedHandle derived(new CDerivedKind);
  BaseHandle base(static_cast<CUnknown*>(derived));
  ASSERT_TRUE(base);
  EXPECT_EQ(derived._impl()->getRefCount(), 2u);
}

TEST_F(Handles, ConversionToAnUnservedInterfaceIsEmptyAndLeavesTheCount) {
  BaseHandle base(new CBaseKind);
  DerivedHandle derived(static_cast<CUnknown*>(base));
  EXPECT_FALSE(derived);
  EXPECT_EQ(base._impl()->getRefCount(), 1u);
}

TEST_F(Handles, SelfAssignmentLeavesTheCount) {
  BaseHandle handle(new CBaseKind);
  BaseHandle& same = handle;
  handle = same;
  EXPECT_EQ(handle._impl()->getRefCount(), 1u);
}

TEST_F(Handles, AssigningTwoHandlesOfOneObjectLeavesTheCount) {
  BaseHandle first(new CBaseKind);
  BaseHandle second(first);
  first = second;
  second = first;
  EXPECT_EQ(first._impl()->getRefCount(), 2u);
}

TEST_F(Handles, AssignmentReleasesTheOldObject) {
  std::uint32_t before = liveObjects();
  BaseHandle handle(new CBaseKind);
  BaseHandle other(new CBaseKind);
  EXPECT_EQ(liveObjects(), before + 2);
  handle = other;
  EXPECT_EQ(liveObjects(), before + 1);
  EXPECT_EQ(other._impl()->getRefCount(), 2u);
}

TEST_F(Handles, AssigningNullLetsTheObjectGo) {
  std::uint32_t before = liveObjects();
  BaseHandle handle(new CBaseKind);
  handle = static_cast<CBaseKind const*>(nullptr);
  EXPECT_FALSE(handle);
  EXPECT_EQ(liveObjects(), before);
}

TEST_F(Handles, AssigningARawPointerCountsIt) {
  BaseHandle handle;
  CBaseKind* object = new CBaseKind;
  handle = object;
  EXPECT_EQ(object->getRefCount(), 1u);
}

TEST(ObjectCounting, ConstructingAnObjectBringsTheLibraryIntoBeing) {
  endLibrary();
  ASSERT_EQ(CMarlBase::c_pMarl, nullptr);
  {
    BaseHandle handle(new CBaseKind);
    ASSERT_NE(CMarlBase::c_pMarl, nullptr);
    EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, 1u);
  }
  endLibrary();
}

TEST(ObjectCounting, AnObjectWithoutStringsIsNeverCounted) {
  endLibrary();
  std::uint32_t before = liveObjects();
  {
    AtomFreeHandle handle(new CAtomFreeKind);
    EXPECT_EQ(liveObjects(), before);
  }
  EXPECT_EQ(liveObjects(), before);
  endLibrary();
}

TEST(ObjectCounting, AnObjectOutlivingTheLibraryDiesWithoutCreatingAnother) {
  endLibrary();
  BaseHandle survivor(new CBaseKind);
  endLibrary();
  ASSERT_EQ(CMarlBase::c_pMarl, nullptr);
  survivor = static_cast<CBaseKind const*>(nullptr);
  EXPECT_EQ(CMarlBase::c_pMarl, nullptr);
}
