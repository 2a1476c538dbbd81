#include "kernel/xmxxi_marl.h"

#include <gtest/gtest.h>

#include <string>

#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// An object that holds atoms, as a node does.
class CAtomHolder : public CUnknown, public AllocPolicyRollArea {
 public:
  void* _queryInterface(unsigned int id) override { return id == idUnknown ? this : nullptr; }
  unsigned int _queryClass() const override { return idUnknown; }
};

class CAtomFree : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  void* _queryInterface(unsigned int id) override { return id == idUnknown ? this : nullptr; }
  unsigned int _queryClass() const override { return idUnknown; }
};

void internDistinctNames(CMarlBase& marl, int count) {
  for (int i = 0; i < count; ++i) marl.intern(L"name" + std::to_wstring(i));
}

std::uint32_t murmurReference(std::wstring const& text) {
  // The same algorithm written out over bytes, as the 32-bit reference does it.
  std::uint32_t h = 0;
  for (wchar_t c : text) {
    std::uint32_t k = static_cast<std::uint32_t>(c) * 0xcc9e2d51;
    k = (k << 15) | (k >> 17);
    k *= 0x1b873593;
    h ^= k;
    h = (h << 13) | (h >> 19);
    h = h * 5 + 0xe6546b64;
  }
  h ^= static_cast<std::uint32_t>(text.size() * 4);
  h ^= h >> 16;
  h *= 0x85ebca6b;
  h ^= h >> 13;
  h *= 0xc2b2ae35;
  h ^= h >> 16;
  return h;
}

using Library = FreshLibrary;

}  // namespace

TEST_F(Library, CreateMakesTheSingletonWithACleanSetup) {
  Marl marl = Marl::create();
  ASSERT_TRUE(marl);
  CMarl* impl = marl._impl();
  EXPECT_EQ(static_cast<CMarlBase*>(impl), CMarlBase::c_pMarl);
  EXPECT_EQ(impl->nextGID, 1u);
  EXPECT_EQ(impl->staleGID, 0u);
  EXPECT_EQ(impl->setupObjects, 0u);
  EXPECT_EQ(impl->liveObjects, 0u);
}

TEST_F(Library, ACleanStartSizesTheCacheForADocumentAndTheStaticTableSmall) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl._impl()->atomCache->bucketCount(), 12289u);
  EXPECT_EQ(marl._impl()->staticAtoms->bucketCount(), 53u);
}

TEST_F(Library, ARestoringSetupKeepsTheCacheSmallAndMarksOldNodesStale) {
  CMarl* marl = CMarlBase::createCMarl(CMarlBase::Setup{5, 100});
  ASSERT_NE(marl, nullptr);
  Marl holder(marl);
  EXPECT_EQ(marl->atomCache->bucketCount(), 53u);
  EXPECT_EQ(marl->liveObjects, 5u);
  EXPECT_EQ(marl->nextGID, 101u);
  EXPECT_TRUE(marl->isStale(100));
  EXPECT_FALSE(marl->isStale(101));
  EXPECT_FALSE(marl->hasFeature(L"CLEAN", L""));
}

TEST_F(Library, CreateOnAnExistingSingletonIgnoresItsSetup) {
  Marl marl = Marl::create();
  CMarl* again = CMarl::create(2, CMarlBase::Setup{7, 7});
  EXPECT_EQ(again, marl._impl());
  EXPECT_EQ(again->setupObjects, 0u);
  EXPECT_EQ(again->nextGID, 1u);
}

TEST_F(Library, TheSingletonAnswersItsOwnIdentifierAndItsUnknownPart) {
  Marl marl = Marl::create();
  CMarl* impl = marl._impl();
  EXPECT_EQ(impl->_queryClass(), 10u);
  EXPECT_EQ(impl->_queryInterface(10), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(1), static_cast<void*>(static_cast<CUnknown*>(impl)));
  EXPECT_NE(impl->_queryInterface(1), impl->_queryInterface(10));
  EXPECT_EQ(impl->_queryInterface(20), nullptr);
}

TEST_F(Library, AMarlHandleFromTheUnknownPartFindsTheSingleton) {
  Marl marl = Marl::create();
  Marl again(static_cast<CUnknown*>(marl));
  EXPECT_EQ(again._impl(), marl._impl());
  EXPECT_EQ(static_cast<CUnknown*>(marl._impl())->getRefCount(), 2u);
}

TEST_F(Library, TheLastMarlHandleEndsTheLibrary) {
  { Marl marl = Marl::create(); }
  EXPECT_EQ(CMarlBase::c_pMarl, nullptr);
}

TEST_F(Library, AHandleOfAFormerLibraryLeavesTheNewOneAlone) {
  Marl old = Marl::create();
  Marl current;
  {
    // `old` is ended through a second handle that is then reset; `old` still points at it.
    Marl copy = old;
    old = static_cast<CMarl const*>(nullptr);
    EXPECT_NE(CMarlBase::c_pMarl, nullptr);
    copy = static_cast<CMarl const*>(nullptr);
    EXPECT_EQ(CMarlBase::c_pMarl, nullptr);
    current = Marl::create();
  }
  EXPECT_TRUE(current);
  EXPECT_EQ(static_cast<CMarlBase*>(current._impl()), CMarlBase::c_pMarl);
}

TEST_F(Library, ObjectsThatCreatedTheSingletonHoldNoCountOnIt) {
  CAtomHolder* object = new CAtomHolder;
  ASSERT_NE(CMarlBase::c_pMarl, nullptr);
  EXPECT_EQ(static_cast<CUnknown*>(static_cast<CMarl*>(CMarlBase::c_pMarl))->getRefCount(), 0u);
  delete object;
}

TEST_F(Library, TheSingletonItselfIsNotALiveObject) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl._impl()->liveObjects, 0u);
}

TEST_F(Library, InterningTheSameTextGivesTheSameAtom) {
  Marl marl = Marl::create();
  Atom first = marl._impl()->intern(L"element");
  Atom second = marl._impl()->intern(std::wstring(L"elem") + L"ent");
  EXPECT_EQ(first, second);
  EXPECT_EQ(*first, L"element");
  EXPECT_NE(marl._impl()->intern(L"Element"), first);
}

TEST_F(Library, TheEmptyStringIsTheEmptyAtomAndStaysOutOfTheCache) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl._impl()->intern(L""), marl._impl()->emptyAtom);
  EXPECT_TRUE(marl._impl()->atomCache->empty());
  EXPECT_EQ(*marl._impl()->unknownAtom, L"?");
}

TEST_F(Library, AtomsSurviveGrowthOfTheCache) {
  Marl marl = Marl::create();
  CMarl& impl = *marl._impl();
  Atom early = impl.intern(L"early");
  internDistinctNames(impl, 13000);
  EXPECT_EQ(impl.atomCache->bucketCount(), 24593u);
  EXPECT_EQ(impl.intern(L"early"), early);
  EXPECT_EQ(*early, L"early");
}

TEST_F(Library, AtomHashIsMurmurOverWideCharacters) {
  EXPECT_EQ(atomHash(L""), 0u);
  for (std::wstring text : {L"a", L"name", L"#document", L"\u00e9l\u00e9ment"})
    EXPECT_EQ(atomHash(text), murmurReference(text)) << std::string(text.begin(), text.end());
}

TEST_F(Library, StaticStringsAreTheNamesOfUnnamedNodeKinds) {
  const wchar_t* expected[] = {L"#character-data", L"#cdata-section",      L"#cond-dtd-section",
                               L"#comment",        L"#document-fragment", L"#text"};
  EXPECT_EQ(*CMarl::staticString(0), expected[0]);
  EXPECT_EQ(*CMarl::staticString(1), expected[1]);
  EXPECT_EQ(*CMarl::staticString(2), expected[2]);
  EXPECT_EQ(*CMarl::staticString(3), expected[3]);
  EXPECT_EQ(*CMarl::staticString(4), L"#document");
  EXPECT_EQ(*CMarl::staticString(5), expected[4]);
  EXPECT_EQ(*CMarl::staticString(6), expected[5]);
}

TEST_F(Library, StaticStringsLiveInTheTableThatIsNeverPurged) {
  Marl marl = Marl::create();
  EXPECT_TRUE(marl._impl()->atomCache->empty());
  EXPECT_EQ(marl._impl()->staticAtoms->size(), 9u);
  EXPECT_EQ(marl._impl()->internStatic(L"#text"), CMarl::staticString(6));
}

TEST_F(Library, ASecondIncarnationGivesStaticStringsOfTheSameText) {
  std::wstring firstText;
  {
    Marl marl = Marl::create();
    firstText = *CMarl::staticString(3);
  }
  Marl marl = Marl::create();
  EXPECT_EQ(*CMarl::staticString(3), firstText);
  EXPECT_EQ(*CMarl::staticString(3), L"#comment");
}

TEST_F(Library, HasFeatureServesXmlOneZeroExactly) {
  Marl marl = Marl::create();
  EXPECT_TRUE(marl.hasFeature(L"XML", L"1.0"));
  EXPECT_FALSE(marl.hasFeature(L"XML", L""));
  EXPECT_FALSE(marl.hasFeature(L"XML", L"1.1"));
  EXPECT_FALSE(marl.hasFeature(L"xml", L"1.0"));
  EXPECT_FALSE(marl.hasFeature(L"Core", L"2.0"));
}

TEST_F(Library, AFreshLibraryIsCleanWithAnEmptyCacheUntilANameIsInterned) {
  Marl marl = Marl::create();
  EXPECT_TRUE(marl.hasFeature(L"CLEAN", L""));
  EXPECT_TRUE(marl.hasFeature(L"CLEAN", L"anything"));
  EXPECT_TRUE(marl.hasFeature(L"STRING_CACHE", L"EMPTY"));
  marl._impl()->intern(L"");
  EXPECT_TRUE(marl.hasFeature(L"STRING_CACHE", L"EMPTY"));
  marl._impl()->intern(L"a");
  EXPECT_FALSE(marl.hasFeature(L"STRING_CACHE", L"EMPTY"));
  EXPECT_FALSE(marl.hasFeature(L"STRING_CACHE", L"OTHER"));
}

TEST_F(Library, PurgedFeatureNeedsNoLiveObjectAndASmallCache) {
  Marl marl = Marl::create();
  internDistinctNames(*marl._impl(), 999);
  EXPECT_TRUE(marl.hasFeature(L"STRING_CACHE", L"PURGED"));
  {
    CAtomHolder* holder = new CAtomHolder;
    EXPECT_FALSE(marl.hasFeature(L"STRING_CACHE", L"PURGED"));
    delete holder;
  }
  marl._impl()->intern(L"one more");
  EXPECT_FALSE(marl.hasFeature(L"STRING_CACHE", L"PURGED"));
}

TEST_F(Library, PurgeOfAnEmptyCacheSucceeds) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl._impl()->purgeCache(), 1);
}

TEST_F(Library, PurgeIsRefusedWhileAnObjectMayHoldAtoms) {
  Marl marl = Marl::create();
  internDistinctNames(*marl._impl(), 1000);
  CAtomHolder* holder = new CAtomHolder;
  EXPECT_EQ(marl._impl()->purgeCache(), 0);
  EXPECT_EQ(marl._impl()->atomCache->size(), 1000u);
  delete holder;
}

TEST_F(Library, PurgeKeepsASmallCache) {
  Marl marl = Marl::create();
  internDistinctNames(*marl._impl(), 999);
  EXPECT_EQ(marl._impl()->purgeCache(), 1);
  EXPECT_EQ(marl._impl()->atomCache->size(), 999u);
}

TEST_F(Library, PurgeClearsALargeCacheAndKeepsItsBuckets) {
  Marl marl = Marl::create();
  internDistinctNames(*marl._impl(), 1000);
  std::size_t buckets = marl._impl()->atomCache->bucketCount();
  EXPECT_EQ(marl._impl()->purgeCache(), 1);
  EXPECT_TRUE(marl._impl()->atomCache->empty());
  EXPECT_EQ(marl._impl()->atomCache->bucketCount(), buckets);
  EXPECT_TRUE(marl.hasFeature(L"STRING_CACHE", L"PURGED"));
  EXPECT_EQ(*CMarl::staticString(6), L"#text");
}

TEST_F(Library, ObjectsWithoutStringsDoNotBlockThePurge) {
  Marl marl = Marl::create();
  internDistinctNames(*marl._impl(), 1000);
  CAtomFree* stream = new CAtomFree;
  EXPECT_EQ(marl._impl()->purgeCache(), 1);
  EXPECT_TRUE(marl._impl()->atomCache->empty());
  delete stream;
}

TEST_F(Library, MemSizeCountsOnTheFirstCallAndHandsTheCountOutOnTheSecond) {
  Marl marl = Marl::create();
  marl._impl()->intern(L"abc");
  // Static atoms: "", "?" and the seven names; 4 bytes a character and 24 an entry.
  std::uint32_t expected = (3 * 4 + 24) + (0 + 24) + (1 * 4 + 24);
  for (int i = 0; i < 7; ++i)
    expected += static_cast<std::uint32_t>(CMarl::staticString(i)->size() * 4 + 24);
  EXPECT_EQ(CMarl::miMemSize(), expected);
  EXPECT_EQ(CMarl::miMemSize(), expected);
  EXPECT_EQ(CMarl::miMemSize(), expected);
}

TEST_F(Library, TakingGidsNumbersNodesFromOne) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl._impl()->takeGID(), 1u);
  EXPECT_EQ(marl._impl()->takeGID(), 2u);
  EXPECT_EQ(marl._impl()->nextGID, 3u);
}

TEST_F(Library, GetVersionIsTen) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl.getVersion(), 10u);
}

TEST_F(Library, ConversionBehaviourChangesNothing) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl.setConversionBehaviour(0, L'x', L"replacement"), 0);
  EXPECT_EQ(marl._impl()->queryTOVAClass(3), nullptr);
}

TEST_F(Library, CreateGivesAnEmptyHandleWhenMemoryRunsOut) {
  // Every allocation of the construction fails once, until one index is past them all.
  constexpr long c_failurePoints = 500;
  bool created = false;
  for (long failAt = 0; failAt < c_failurePoints && !created; ++failAt) {
    long blocksBefore = testhost::outstandingBlocks();
    {
      testhost::AllocationFailure failure(failAt);
      Marl marl = Marl::create();
      if (marl) {
        EXPECT_EQ(static_cast<CMarlBase*>(marl._impl()), CMarlBase::c_pMarl);
        created = true;
        continue;
      }
    }
    EXPECT_EQ(CMarlBase::c_pMarl, nullptr) << "allocation " << failAt;
    EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore) << "allocation " << failAt;
  }
  EXPECT_TRUE(created);
}

TEST_F(Library, ImplicitCreationReportsMemoryExhaustionAsBadAlloc) {
  testhost::AllocationFailure failure;
  EXPECT_THROW(CMarlBase::instance(), std::bad_alloc);
}
