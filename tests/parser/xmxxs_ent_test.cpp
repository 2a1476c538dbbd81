#include "parser/xmxxs_ent.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_node.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

class GeneralEntity : public FreshLibrary {
 protected:
  static bool answers(MarlGEntity const& entity, unsigned int id) {
    return entity._impl()->_queryInterface(id) == entity._impl();
  }

  static MarlGEntityIntParsed internal(std::wstring const& name, std::wstring const& text) {
    return MarlGEntityIntParsed(
        new CMarlGEntityIntParsed(name, text.data(), static_cast<unsigned int>(text.size())));
  }
};

}  // namespace

TEST_F(GeneralEntity, ThePlainEntityAnswersItsIdentifierAndTheRootOnly) {
  MarlGEntity entity(new CMarlGEntity(L"e"));
  EXPECT_EQ(entity._impl()->_queryClass(), 390u);
  EXPECT_TRUE(answers(entity, 390));
  EXPECT_TRUE(answers(entity, 1));
  EXPECT_FALSE(answers(entity, 440));
  EXPECT_FALSE(answers(entity, 20));
  EXPECT_EQ(entity.getType(), 3u);
  EXPECT_EQ(entity.getType(), MarlGEntity::entityGeneral);
}

TEST_F(GeneralEntity, EachKindAnswersItsOwnIdentifierTheEntityAndTheRoot) {
  MarlGEntity kinds[] = {
      internal(L"i", L"text"),
      MarlGEntityExtParsed(new CMarlGEntityExtParsed(L"p", L"p.xml", L"")),
      MarlGEntityExtUnparsed(new CMarlGEntityExtUnparsed(L"u", L"u.gif", L"", L"gif"))};
  unsigned int const ids[] = {440, 420, 430};
  unsigned int const types[] = {2, 0, 1};
  for (int kind = 0; kind < 3; ++kind) {
    EXPECT_EQ(kinds[kind]._impl()->_queryClass(), ids[kind]);
    EXPECT_TRUE(answers(kinds[kind], ids[kind]));
    EXPECT_TRUE(answers(kinds[kind], 390));
    EXPECT_TRUE(answers(kinds[kind], 1));
    EXPECT_EQ(kinds[kind].getType(), types[kind]);
    for (int other = 0; other < 3; ++other) {
      if (other == kind) continue;
      EXPECT_FALSE(answers(kinds[kind], ids[other]));
    }
  }
}

TEST_F(GeneralEntity, HandlesConvertBetweenKindsOnlyWhenTheKindMatches) {
  MarlGEntity entity = internal(L"i", L"text");
  std::uint32_t count = entity._impl()->getRefCount();
  EXPECT_TRUE(MarlGEntityIntParsed(entity));
  EXPECT_FALSE(MarlGEntityExtParsed(entity));
  EXPECT_FALSE(MarlGEntityExtUnparsed(entity));
  EXPECT_EQ(entity._impl()->getRefCount(), count);
  EXPECT_FALSE(MarlGEntity(static_cast<CUnknown*>(nullptr)));
  EXPECT_FALSE(MarlGEntityIntParsed(MarlGEntity()));
}

TEST_F(GeneralEntity, HandlesCountTheirHolders) {
  MarlGEntity first = internal(L"i", L"text");
  EXPECT_EQ(first._impl()->getRefCount(), 1u);
  MarlGEntity second = first;
  EXPECT_EQ(first._impl()->getRefCount(), 2u);
  second = first;
  EXPECT_EQ(first._impl()->getRefCount(), 2u);
  second = static_cast<CMarlGEntity const*>(nullptr);
  EXPECT_EQ(first._impl()->getRefCount(), 1u);
}

TEST_F(GeneralEntity, ANewEntityHasItsNameNoCursorsAndBaseZero) {
  MarlGEntity entity(new CMarlGEntity(L"e"));
  EXPECT_EQ(entity.getName(), L"e");
  EXPECT_EQ(entity._impl()->startIterator, nullptr);
  EXPECT_EQ(entity._impl()->endIterator, nullptr);
  EXPECT_EQ(entity._impl()->base, 0u);
  entity.setName(L"renamed");
  EXPECT_EQ(entity.getName(), L"renamed");
}

TEST_F(GeneralEntity, AnInternalEntityHoldsItsTextClosedByAZero) {
  MarlGEntityIntParsed entity = internal(L"i", L"a&b");
  CMarlGEntity::Buffer const& buffer = entity._impl()->buffer;
  ASSERT_EQ(buffer.size(), 4u);
  EXPECT_EQ(buffer[0], L'a');
  EXPECT_EQ(buffer[2], L'b');
  EXPECT_EQ(buffer[3], L'\0');
  EXPECT_EQ(entity.getValue(), L"a&b");
  EXPECT_EQ(entity._impl()->base, 0u);
}

TEST_F(GeneralEntity, AnInternalEntityTakesTheGivenLengthOfTheText) {
  std::wstring text = L"abcdef";
  MarlGEntityIntParsed entity(new CMarlGEntityIntParsed(L"i", text.data(), 3));
  EXPECT_EQ(entity.getValue(), L"abc");
}

TEST_F(GeneralEntity, AnEmptyInternalEntityHasTheEmptyValue) {
  MarlGEntityIntParsed entity = internal(L"i", L"");
  EXPECT_EQ(entity._impl()->buffer.size(), 1u);
  EXPECT_EQ(entity.getValue(), L"");
}

TEST_F(GeneralEntity, AnInnerZeroIsPartOfTheValue) {
  std::wstring text(L"a\0b", 3);
  MarlGEntityIntParsed entity = internal(L"i", text);
  EXPECT_EQ(entity.getValue(), text);
}

TEST_F(GeneralEntity, AParsedExternalEntityKeepsItsIdentifiers) {
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"p", L"p.xml", L"-//P"));
  EXPECT_EQ(entity.getName(), L"p");
  EXPECT_EQ(entity.getSystemId(), L"p.xml");
  EXPECT_EQ(entity.getPublicId(), L"-//P");
  entity.setSystemId(L"q.xml");
  entity.setPublicId(L"");
  EXPECT_EQ(entity.getSystemId(), L"q.xml");
  EXPECT_EQ(entity.getPublicId(), L"");
}

TEST_F(GeneralEntity, AnUnparsedEntityKeepsItsIdentifiersAndNotation) {
  MarlGEntityExtUnparsed entity(new CMarlGEntityExtUnparsed(L"u", L"u.gif", L"-//U", L"gif"));
  EXPECT_EQ(entity.getSystemId(), L"u.gif");
  EXPECT_EQ(entity.getPublicId(), L"-//U");
  EXPECT_EQ(entity.getNotationName(), L"gif");
  entity.setNotationName(L"png");
  entity.setSystemId(L"u.png");
  entity.setPublicId(L"-//V");
  EXPECT_EQ(entity.getNotationName(), L"png");
  EXPECT_EQ(entity.getSystemId(), L"u.png");
  EXPECT_EQ(entity.getPublicId(), L"-//V");
}

TEST_F(GeneralEntity, EntitiesAreCountedAsLiveObjects) {
  CMarlBase::instance();
  std::uint32_t before = CMarlBase::c_pMarl->liveObjects;
  {
    MarlGEntity entity = internal(L"i", L"t");
    EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, before + 1);
  }
  EXPECT_EQ(CMarlBase::c_pMarl->liveObjects, before);
}

TEST_F(GeneralEntity, AnInternalEntityThatRunsOutOfMemoryIsNotMadeAndLeaksNothing) {
  CMarlBase::instance();
  std::wstring text(100, L't');
  for (long failAt = 0; failAt < 2; ++failAt) {
    long before = testhost::outstandingBlocks();
    {
      testhost::AllocationFailure failure(failAt);
      MarlGEntityIntParsed entity = createObject<MarlGEntityIntParsed, CMarlGEntityIntParsed>(
          std::wstring(L"i"), text.data(), static_cast<unsigned int>(text.size()));
      EXPECT_FALSE(entity) << "allocation " << failAt;
    }
    EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
  }
}
