#include "parser/xmxxs_ent.h"

#include <gtest/gtest.h>

#include <memory>

#include "dom/xmxxo_node.h"
#include "dtd/xmxxo_entd.h"
#include "marl/marl.h"
#include "parser/parser_fixture.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// The characters a parsed external entity holds: its buffer keeps its full size behind them.
std::size_t validLength(CMarlGEntityExtParsed const* entity) {
  return static_cast<std::size_t>(entity->end - entity->buffer.data());
}

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

// =======================================================================================
// Cursors

using namespace parsertest;

namespace {

class EntityCursor : public ParserTest {};
class EntityBuffer : public ParserTest {
 protected:
  // An external entity over a source of the test's own, which it can inspect.
  MarlGEntityExtParsed scripted(std::wstring const& text, CScriptedIStream*& source,
                                std::size_t readAgainAt = std::wstring::npos) {
    source = new CScriptedIStream(text, readAgainAt);
    MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"e", L"e.xml", L""));
    entity.attachIStream(MarlIStream(static_cast<CMarlIStream*>(source)));
    return entity;
  }
  static std::wstring valid(CMarlGEntityExtParsed const* entity) {
    return std::wstring(entity->buffer.data(), static_cast<std::size_t>(entity->end - entity->buffer.data()));
  }
};
class EntityLookup : public ParserTest {};
class ExpansionLimit : public ParserTest {};

}  // namespace

TEST(EntityCursorDefaults, ADefaultCursorStandsNowhereAtLineOneColumnOne) {
  CMarlGEntityIterator cursor;
  EXPECT_EQ(cursor.entity, nullptr);
  EXPECT_EQ(cursor.pos, nullptr);
  EXPECT_EQ(cursor.line, 1u);
  EXPECT_EQ(cursor.column, 1u);
  EXPECT_EQ(cursor.status, 0u);
}

TEST_F(EntityCursor, RegisteringBindsBothCursorsToTheStartAtLineZeroColumnZero) {
  MarlGEntityIntParsed entity = internal(L"i", L"abc");
  CMarlGEntityIterator start;
  CMarlGEntityIterator end;
  start.status = 7;
  entity._impl()->registerIterators(start, end);
  for (CMarlGEntityIterator* cursor : {&start, &end}) {
    EXPECT_EQ(cursor->entity, entity._impl());
    EXPECT_EQ(cursor->pos, entity._impl()->buffer.data());
    EXPECT_EQ(cursor->line, 0u);
    EXPECT_EQ(cursor->column, 0u);
    EXPECT_EQ(cursor->status, 0u);
  }
  EXPECT_EQ(entity._impl()->startIterator, &start);
  EXPECT_EQ(entity._impl()->endIterator, &end);
  entity._impl()->unregisterIterators();
  EXPECT_EQ(entity._impl()->startIterator, nullptr);
  EXPECT_EQ(entity._impl()->endIterator, nullptr);
}

TEST_F(EntityCursor, AStepCountsColumnsAndALineFeedIsColumnOneOfTheNextLine) {
  MarlGEntityIntParsed entity = internal(L"i", L"a\nb\rc");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  ++cursor;
  EXPECT_EQ(*cursor.pos, L'\n');
  EXPECT_EQ(cursor.line, 1u);
  EXPECT_EQ(cursor.column, 1u);
  ++cursor;
  EXPECT_EQ(*cursor.pos, L'b');
  EXPECT_EQ(cursor.line, 1u);
  EXPECT_EQ(cursor.column, 2u);
  ++cursor;
  EXPECT_EQ(*cursor.pos, L'\r');
  EXPECT_EQ(cursor.column, 3u);
  ++cursor;
  EXPECT_EQ(*cursor.pos, L'c');
  EXPECT_EQ(cursor.line, 1u);
  EXPECT_EQ(cursor.column, 4u);
}

TEST_F(EntityCursor, AStepOntoTheEndOfAnInternalEntityCountsNothingAndTellsTheEnd) {
  MarlGEntityIntParsed entity = internal(L"i", L"a");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  EXPECT_EQ(cursor.step(), CMarlGEntity::ENTITY_END);
  EXPECT_EQ(*cursor.pos, L'\0');
  EXPECT_EQ(cursor.column, 0u);
  EXPECT_EQ(cursor.status, CMarlGEntity::ENTITY_END);
}

TEST_F(EntityCursor, AStepNeverMovesBeyondTheClosingZero) {
  MarlGEntityIntParsed entity = internal(L"i", L"a");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  ++cursor;
  wchar_t* const endMark = cursor.pos;
  for (int i = 0; i < 3; ++i) EXPECT_NE(cursor.step(), 0u);
  EXPECT_EQ(cursor.pos, endMark);
  EXPECT_EQ(cursor.pos, entity._impl()->endMark());
}

TEST_F(EntityCursor, AnInnerZeroIsSteppedOverLikeACharacter) {
  MarlGEntityIntParsed entity = internal(L"i", L"a");
  entity._impl()->append(L"b", 1);
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  ++cursor;
  EXPECT_EQ(*cursor.pos, L'\0');
  ++cursor;
  EXPECT_EQ(*cursor.pos, L'b');
}

TEST_F(EntityCursor, LookAheadReadsWithoutMoving) {
  MarlGEntityIntParsed entity = internal(L"i", L"abc");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  EXPECT_EQ(cursor[0], L'a');
  EXPECT_EQ(cursor[2], L'c');
  EXPECT_EQ(cursor.status, 0u);
  EXPECT_EQ(cursor.pos, entity._impl()->buffer.data());
  EXPECT_EQ(cursor.column, 0u);
}

TEST_F(EntityCursor, LookAheadBehindTheEndGivesZeroAndTheReason) {
  MarlGEntityIntParsed entity = internal(L"i", L"abc");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  EXPECT_EQ(cursor[3], L'\0');
  EXPECT_EQ(cursor[100], L'\0');
  EXPECT_EQ(cursor.status, CMarlGEntity::ENTITY_END);
}

TEST_F(EntityCursor, LookAheadReadsOnFromTheStream) {
  MarlGEntityExtParsed entity = external(L"abcdef", false);
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  EXPECT_EQ(validLength(entity._impl()), 1u);
  EXPECT_EQ(cursor[4], L'e');
  EXPECT_EQ(cursor[5], L'f');
  EXPECT_EQ(cursor[6], L'\0');
  EXPECT_EQ(cursor.pos, entity._impl()->buffer.data());
}

TEST_F(EntityCursor, LookAheadGivesUpOnAStreamThatAnswersNothing) {
  CScriptedIStream* source = new CScriptedIStream(L"ab");
  MarlIStream stream(static_cast<CMarlIStream*>(source));
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"e", L"", L""));
  entity.attachIStream(stream);
  entity.setEncoding(encoding(L"utf-8"));
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  EXPECT_EQ(cursor[5], L'\0');
  EXPECT_LT(source->capacities.size(), 5u);
}

TEST_F(EntityCursor, PlusEqualsStepsSeveralTimesAndStopsAtTheEnd) {
  MarlGEntityIntParsed entity = internal(L"i", L"abcd");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  cursor += 2;
  EXPECT_EQ(*cursor.pos, L'c');
  EXPECT_EQ(cursor.column, 2u);
  cursor += 10;
  EXPECT_EQ(cursor.pos, entity._impl()->endMark());
}

TEST_F(EntityCursor, PlusEqualsIsNotStoppedByAnEarlierLookAheadAtTheEnd) {
  MarlGEntityIntParsed entity = internal(L"i", L"</");
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  entity._impl()->registerIterators(start, cursor);
  EXPECT_EQ(cursor[4], L'\0');
  cursor += 2;
  EXPECT_EQ(cursor.pos, entity._impl()->endMark());
}

// =======================================================================================
// Buffers

TEST_F(EntityBuffer, ThePlainEntityHoldsOnlyItsClosingZeroAndNothingToRead) {
  MarlGEntity entity(new CMarlGEntity(L"e"));
  ASSERT_EQ(entity._impl()->buffer.size(), 1u);
  EXPECT_EQ(entity._impl()->buffer[0], L'\0');
  EXPECT_EQ(entity._impl()->advance(), CMarlGEntity::ENTITY_END);
}

TEST_F(EntityBuffer, AnInternalEntityHasNothingToRead) {
  MarlGEntityIntParsed entity = internal(L"i", L"text");
  EXPECT_EQ(entity._impl()->advance(), CMarlGEntity::ENTITY_END);
  EXPECT_EQ(entity.getValue(), L"text");
}

TEST_F(EntityBuffer, AppendKeepsTheOldEndMarkAsAnInnerZero) {
  MarlGEntityIntParsed entity = internal(L"i", L"ab");
  entity._impl()->append(L"cd", 2);
  CMarlGEntity::Buffer const& buffer = entity._impl()->buffer;
  ASSERT_EQ(buffer.size(), 6u);
  EXPECT_EQ(buffer[2], L'\0');
  EXPECT_EQ(buffer[5], L'\0');
  EXPECT_EQ(entity.getValue(), std::wstring(L"ab\0cd", 5));
}

TEST_F(EntityBuffer, AnAppendThatRunsOutOfMemoryLeavesTheTextAsItWas) {
  MarlGEntityIntParsed entity = internal(L"i", L"ab");
  std::wstring more(1000, L'x');
  {
    testhost::AllocationFailure failure;
    EXPECT_THROW(entity._impl()->append(more.data(), 1000), std::bad_alloc);
  }
  EXPECT_EQ(entity.getValue(), L"ab");
  EXPECT_EQ(entity._impl()->buffer.back(), L'\0');
}

TEST_F(EntityBuffer, ANewExternalEntityHasAnEmptyBufferWithRoomForTheMaximum) {
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"e", L"", L""));
  CMarlGEntityExtParsed* impl = entity._impl();
  ASSERT_EQ(validLength(impl), 0u);
  EXPECT_EQ(impl->buffer[0], L'\0');
  EXPECT_GE(impl->buffer.capacity(), 8193u);
  EXPECT_EQ(impl->end, impl->buffer.data());
  EXPECT_EQ(impl->base, 0u);
  EXPECT_EQ(CMarlGEntityExtParsed::uiMaxBufferSize, 8192u);
}

TEST_F(EntityBuffer, WithoutAStreamThereIsNothingToRead) {
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"e", L"", L""));
  EXPECT_EQ(entity._impl()->advance(), CMarlGEntity::ENTITY_END);
  EXPECT_FALSE(entity.getIStream());
}

TEST_F(EntityBuffer, AttachingReadsTheFirstCharacterAtOnce) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"xyz", source);
  EXPECT_EQ(valid(entity._impl()), L"x");
  EXPECT_EQ(validLength(entity._impl()), 1u);
  EXPECT_EQ(*entity._impl()->end, L'\0');
  EXPECT_EQ(source->capacities, std::vector<int>{1});
  EXPECT_EQ(entity._impl()->base, 0u);
  EXPECT_EQ(static_cast<CUnknown*>(entity.getIStream()), static_cast<CUnknown*>(source));
}

TEST_F(EntityBuffer, UntilTheEncodingIsKnownEachAdvanceReadsOneCharacter) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"xyz", source);
  EXPECT_EQ(entity._impl()->advance(), 0u);
  EXPECT_EQ(entity._impl()->advance(), 0u);
  EXPECT_EQ(valid(entity._impl()), L"xyz");
  EXPECT_EQ(source->capacities, (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(validLength(entity._impl()), 3u);
}

TEST_F(EntityBuffer, WithAnEncodingAdvanceAsksForAllTheRoomLeft) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"xyz", source);
  entity.setEncoding(encoding(L"utf-8"));
  EXPECT_EQ(entity._impl()->advance(), 0u);
  EXPECT_EQ(valid(entity._impl()), L"xyz");
  EXPECT_EQ(source->capacities, (std::vector<int>{1, 8191}));
  EXPECT_EQ(validLength(entity._impl()), 3u);
  EXPECT_EQ(entity._impl()->buffer.back(), L'\0');
}

TEST_F(EntityBuffer, TheEncodingGoesToTheStreamAndACopyStaysWithTheEntity) {
  MarlIStream stream = factory.createIStreamRawString(bytes("abc"));
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"e", L"", L""));
  entity.attachIStream(stream);
  MarlEncoding latin = encoding(L"ISO-8859-1");
  entity.setEncoding(latin);
  ASSERT_TRUE(entity.getEncoding());
  EXPECT_NE(static_cast<CUnknown*>(entity.getEncoding()), static_cast<CUnknown*>(latin));
  EXPECT_EQ(entity.getEncoding().getCharacterSet(), L"ISO-8859-1");
  ASSERT_TRUE(stream.getEncoding());
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"ISO-8859-1");
}

TEST_F(EntityBuffer, AnEncodingTheStreamCannotTakeForWantOfMemoryIsRefusedWithBadAlloc) {
  MarlIStream stream = factory.createIStreamRawString(bytes("abc"));
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(L"e", L"", L""));
  entity.attachIStream(stream);
  MarlEncoding latin = encoding(L"ISO-8859-1");
  {
    testhost::AllocationFailure failure;
    EXPECT_THROW(entity.setEncoding(latin), std::bad_alloc);
  }
  EXPECT_FALSE(entity.getEncoding());
  EXPECT_FALSE(stream.getEncoding());
}

TEST_F(EntityBuffer, ANullEncodingGivesANullCopyAndCharactersStillComeOneByOne) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"xyz", source);
  entity.setEncoding(MarlEncoding());
  EXPECT_FALSE(entity.getEncoding());
  entity._impl()->advance();
  EXPECT_EQ(source->capacities.back(), 1);
}

TEST_F(EntityBuffer, AFullBufferAnswersBufferFullWhileTheTokenStartsAtItsFront) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(std::wstring(9000, L'a'), source);
  entity.setEncoding(encoding(L"utf-8"));
  CMarlGEntityExtParsed* impl = entity._impl();
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  impl->registerIterators(start, cursor);
  EXPECT_EQ(impl->advance(), 0u);
  EXPECT_EQ(valid(impl).size(), 8192u);
  std::size_t reads = source->capacities.size();
  EXPECT_EQ(impl->advance(), CMarlGEntity::ENTITY_BUFFER_FULL);
  EXPECT_EQ(source->capacities.size(), reads);
  EXPECT_EQ(validLength(impl), 8192u);
  EXPECT_EQ(impl->buffer.back(), L'\0');
}

TEST_F(EntityBuffer, CompactionDropsWhatLiesBeforeTheTokenStartAndCorrectsBothCursors) {
  std::wstring text;
  for (int i = 0; i < 9000; ++i) text += static_cast<wchar_t>(L'a' + i % 26);
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(text, source);
  entity.setEncoding(encoding(L"utf-8"));
  CMarlGEntityExtParsed* impl = entity._impl();
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  impl->registerIterators(start, cursor);
  impl->advance();
  start.pos += 100;
  cursor.pos += 150;
  EXPECT_EQ(impl->advance(), 0u);
  EXPECT_EQ(impl->base, 100u);
  EXPECT_EQ(start.pos, impl->buffer.data());
  EXPECT_EQ(cursor.pos, impl->buffer.data() + 50);
  EXPECT_EQ(*start.pos, text[100]);
  EXPECT_EQ(*cursor.pos, text[150]);
  EXPECT_EQ(valid(impl), text.substr(100, 8192));
  EXPECT_LE(validLength(impl), 8192u);
  EXPECT_EQ(impl->buffer.capacity(), 8193u);
}

TEST_F(EntityBuffer, CompactionLeavesCursorsOfAnotherReadingAlone) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"abcdef", source);
  CMarlGEntityExtParsed* impl = entity._impl();
  CMarlGEntityIterator start;
  CMarlGEntityIterator cursor;
  impl->registerIterators(start, cursor);
  impl->advance();
  start.entity = nullptr;
  start.pos = impl->buffer.data() + 1;
  impl->advance();
  EXPECT_EQ(impl->base, 0u);
  EXPECT_EQ(valid(impl), L"abc");
}

TEST_F(EntityBuffer, TheEndOfTheStreamIsTheEndOfTheEntity) {
  MarlGEntityExtParsed entity = external(L"ab");
  CMarlGEntityExtParsed* impl = entity._impl();
  EXPECT_EQ(impl->advance(), 0u);
  EXPECT_EQ(impl->advance(), CMarlGEntity::ENTITY_END);
  EXPECT_EQ(valid(impl), L"ab");
  EXPECT_EQ(validLength(impl), 2u);
  EXPECT_EQ(*impl->end, L'\0');
}

TEST_F(EntityBuffer, AStreamThatAnswersNothingLeavesTheBufferClosedAndReportsNoFailure) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"a", source);
  entity.setEncoding(encoding(L"utf-8"));
  EXPECT_EQ(entity._impl()->advance(), 0u);
  EXPECT_EQ(valid(entity._impl()), L"a");
  EXPECT_EQ(*entity._impl()->end, L'\0');
}

TEST_F(EntityBuffer, NothingAtTheMomentIsReadAgain) {
  CScriptedIStream* source = nullptr;
  MarlGEntityExtParsed entity = scripted(L"abcd", source, 2);
  entity.setEncoding(encoding(L"utf-8"));
  CMarlGEntityExtParsed* impl = entity._impl();
  EXPECT_EQ(impl->advance(), 0u);
  EXPECT_EQ(valid(impl), L"ab");
  EXPECT_EQ(impl->advance(), CMarlGEntity::ENTITY_READ_AGAIN);
  EXPECT_EQ(valid(impl), L"ab");
  EXPECT_EQ(*impl->end, L'\0');
  EXPECT_EQ(validLength(impl), 2u);
  EXPECT_EQ(impl->advance(), 0u);
  EXPECT_EQ(valid(impl), L"abcd");
}

TEST_F(EntityBuffer, AReadThatFailsToDecodeLeavesTheBufferAsItWas) {
  MarlGEntityExtParsed entity = externalBytes(bytes("ab\xE9"), false);
  entity.setEncoding(encoding(L"usascii"));
  CMarlGEntityExtParsed* impl = entity._impl();
  std::wstring const before = valid(impl);
  EXPECT_THROW(impl->advance(), XPT_IO::XPT_ConvProblem);
  EXPECT_EQ(valid(impl), before);
  EXPECT_EQ(*impl->end, L'\0');
  EXPECT_EQ(impl->buffer.back(), L'\0');
}

TEST_F(EntityBuffer, DetachingKeepsWhatWasReadAndEndsTheReading) {
  MarlGEntityExtParsed entity = external(L"abc", false);
  entity.detachIStream();
  EXPECT_FALSE(entity.getIStream());
  EXPECT_EQ(entity._impl()->advance(), CMarlGEntity::ENTITY_END);
  EXPECT_EQ(valid(entity._impl()), L"a");
}

TEST_F(EntityBuffer, AttachingAnotherStreamStartsOver) {
  MarlGEntityExtParsed entity = external(L"abc");
  entity._impl()->advance();
  entity._impl()->base = 40;
  entity.attachIStream(factory.createIStreamString(L"xyz"));
  EXPECT_EQ(entity._impl()->base, 0u);
  EXPECT_EQ(valid(entity._impl()), L"xyz");
}

TEST_F(EntityBuffer, AnUnparsedEntityKeepsItsStreamAndReadsNothing) {
  MarlGEntityExtUnparsed entity(new CMarlGEntityExtUnparsed(L"u", L"u.gif", L"", L"gif"));
  MarlIStream stream = factory.createIStreamString(L"data");
  entity.attachIStream(stream);
  EXPECT_EQ(static_cast<CUnknown*>(entity.getIStream()), static_cast<CUnknown*>(stream));
  EXPECT_EQ(entity._impl()->buffer.size(), 1u);
  EXPECT_EQ(entity._impl()->advance(), CMarlGEntity::ENTITY_END);
  entity.detachIStream();
  EXPECT_FALSE(entity.getIStream());
}

TEST_F(EntityBuffer, TheDocumentEntityIsNamedInQuotesAfterItsStream) {
  MarlIStream stream = factory.createIStreamString(L"<a/>");
  stream.setSystemId(L"file:///doc.xml");
  MarlGEntityExtParsed entity = createDocumentEntity(stream);
  EXPECT_EQ(entity.getName(), L"\"<<document>>\"");
  EXPECT_EQ(entity.getSystemId(), L"file:///doc.xml");
  EXPECT_EQ(entity.getPublicId(), L"");
  EXPECT_EQ(valid(entity._impl()), L"<");
  EXPECT_FALSE(entity.getEncoding());
  EXPECT_EQ(std::wstring(CMarlGEntityExtParsed::c_externalEntityName),
            L"\"<<externalentity>>\"");
}

TEST_F(EntityBuffer, TheDocumentEntityOfAStreamWithoutIdentifierHasAnEmptySystemId) {
  MarlGEntityExtParsed entity = createDocumentEntity(factory.createIStreamString(L"x"));
  EXPECT_EQ(entity.getSystemId(), L"");
}

// =======================================================================================
// Entities by name

TEST_F(EntityLookup, TheFivePredefinedEntitiesAreOrdinaryDeclarationsOfTheDocument) {
  wchar_t const* const names[] = {L"lt", L"gt", L"amp", L"apos", L"quot"};
  for (wchar_t const* name : names) {
    MarlEntityDecl declaration = lookupEntityDecl(document.getDocumentType(), name, 0);
    ASSERT_TRUE(declaration) << name;
    EXPECT_TRUE(MarlGEntityIntParsed(declaration._impl()->getGEntity())) << name;
  }
  EXPECT_EQ(lookupEntityDecl(document.getDocumentType(), L"amp", 0).getEntityValue(), L"&#38;");
}

TEST_F(EntityLookup, ParameterAndGeneralEntitiesLiveInSeparateMaps) {
  document.getDocumentType().createIntEntityDecl(1, L"p", L"x");
  EXPECT_TRUE(lookupEntityDecl(document.getDocumentType(), L"p", 1));
  EXPECT_FALSE(lookupEntityDecl(document.getDocumentType(), L"p", 0));
  EXPECT_FALSE(lookupEntityDecl(document.getDocumentType(), L"amp", 1));
}

TEST_F(EntityLookup, NothingIsFoundWithoutADocumentType) {
  EXPECT_FALSE(lookupEntityDecl(MarlDocumentType(), L"amp", 0));
  EXPECT_FALSE(lookupEntityDecl(document.getDocumentType(), L"nothing", 0));
}

TEST_F(EntityLookup, AnInternalEntityIsPushedOntoTheScanner) {
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  MarlGEntityExtParsed doc = external(L"x");
  scanner->pushEntity(doc, CMarlScanner::STATE_NONE);
  scanner->literalFlags = 5;
  EXPECT_EQ(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"amp",
                             CMarlScanner::STATE_NONE, 0x15, 0),
            1u);
  EXPECT_EQ(scanner->entity.getName(), L"amp");
  ++*scanner;
  EXPECT_EQ(seen(scanner->token).id, CToken::TOK_CHARREF);
  EXPECT_EQ(seen(scanner->token).text, L"&#38;");
  EXPECT_TRUE(host.findings.empty());
}

TEST_F(EntityLookup, AnUndefinedEntityIsAnErrorUnderResolveModeFour) {
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  EXPECT_THROW(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"nope",
                                CMarlScanner::STATE_NONE, 0x15, 0),
               XPT_Parser::XPT_Error);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].severity, 3u);
  EXPECT_EQ(host.findings[0].number, 3014u);
  EXPECT_EQ(host.findings[0].reason, L"undefined entity 'nope' referenced");
}

TEST_F(EntityLookup, AnUndefinedEntityIsAWarningWithoutResolveModeFour) {
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  EXPECT_EQ(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"nope",
                             CMarlScanner::STATE_NONE, 0x19, 0),
            0u);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].severity, 2u);
  EXPECT_EQ(host.findings[0].number, 3014u);
  EXPECT_FALSE(scanner->entity);
}

TEST_F(EntityLookup, AnUndefinedEntityInAnIgnoreSectionIsAWarningEvenUnderResolveModeFour) {
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  EXPECT_EQ(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"nope",
                             CMarlScanner::STATE_NONE, 0x15, 1),
            0u);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].severity, 2u);
}

TEST_F(EntityLookup, AnExternalEntityGoesToThePushByIdentifiers) {
  document.getDocumentType().createExtEntityDecl(0, L"ext", L"e.xml", L"-//E", L"");
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  EXPECT_EQ(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"ext",
                             CMarlScanner::STATE_DTD, 0x15, 0),
            0u);
  EXPECT_EQ(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"ext", 14, 0x15, 1),
            0u);
  EXPECT_EQ(host.externalRequests,
            (std::vector<std::wstring>{L"e.xml|-//E|1|4", L"e.xml|-//E|0|14"}));
  EXPECT_TRUE(host.findings.empty());
}

TEST_F(EntityLookup, AnUnparsedEntityCannotBeReferenced) {
  document.getDocumentType().createExtEntityDecl(0, L"pic", L"p.gif", L"", L"gif");
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  EXPECT_THROW(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"pic",
                                CMarlScanner::STATE_NONE, 0x15, 0),
               XPT_Parser::XPT_Error);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].number, 3015u);
  EXPECT_EQ(host.findings[0].reason, L"'pic' references unparsed entity");
  EXPECT_TRUE(host.externalRequests.empty());
}

TEST_F(EntityLookup, AnExternalEntityWithOnlyAPublicIdentifierCountsAsABrokenInternalOne) {
  document.getDocumentType().createExtEntityDecl(0, L"pub", L"", L"-//P", L"");
  std::unique_ptr<CMarlScanner> scanner(new CMarlScanner(&host, nullptr, factory));
  host.scanner = scanner.get();
  EXPECT_THROW(pushEntityByName(*scanner, host, document.getDocumentType(), 0, L"pub",
                                CMarlScanner::STATE_NONE, 0x15, 0),
               XPT_Parser::XPT_Error);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].number, 3016u);
  EXPECT_EQ(host.findings[0].reason, L"undefined internal entity 'pub' (parser error)");
}

// =======================================================================================
// Expansion limit

namespace {

// A restricted stream that has delivered `delivered` characters.
MarlIStream restrictedStream(std::size_t delivered) {
  CScriptedIStream* source = new CScriptedIStream(std::wstring(delivered, L'x'));
  MarlIStream stream(static_cast<CMarlIStream*>(source));
  std::vector<wchar_t> target(delivered + 1);
  if (delivered) stream.read(target.data(), static_cast<int>(delivered));
  stream.setDtdRestriction(CMarlIStream::dtdRestricted);
  return stream;
}

}  // namespace

TEST_F(ExpansionLimit, WithoutAStreamNothingIsCounted) {
  std::uint32_t count = 5;
  checkExpansion(host, nullptr, count, 1000);
  EXPECT_EQ(count, 5u);
  EXPECT_TRUE(host.findings.empty());
}

TEST_F(ExpansionLimit, AnUnrestrictedStreamHasNoLimit) {
  MarlIStream stream = factory.createIStreamString(L"ab");
  std::uint32_t count = 0;
  checkExpansion(host, stream._impl(), count, 1000000);
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(host.findings.empty());
}

TEST_F(ExpansionLimit, ReachingTheLimitExactlyPassesAndOneMoreFails) {
  MarlIStream stream = restrictedStream(10);
  ASSERT_EQ(stream.getNumRead(), 10u);
  ASSERT_EQ(stream.getMaxExpansion(), 10u);
  std::uint32_t count = 0;
  checkExpansion(host, stream._impl(), count, 100);
  EXPECT_EQ(count, 100u);
  EXPECT_TRUE(host.findings.empty());
  EXPECT_THROW(checkExpansion(host, stream._impl(), count, 1), XPT_Parser::XPT_Error);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].severity, 3u);
  EXPECT_EQ(host.findings[0].number, 4003u);
  EXPECT_EQ(host.findings[0].reason, L"XML expansion exceeds Marl configuration");
}

TEST_F(ExpansionLimit, TheLimitFollowsTheConfiguredMaximum) {
  MarlIStream stream = restrictedStream(10);
  stream.setMaxExpansion(2);
  std::uint32_t count = 0;
  checkExpansion(host, stream._impl(), count, 20);
  EXPECT_THROW(checkExpansion(host, stream._impl(), count, 1), XPT_Parser::XPT_Error);
}

TEST_F(ExpansionLimit, TheCountWrapsAtThirtyTwoBits) {
  MarlIStream stream = restrictedStream(10);
  std::uint32_t count = 0xFFFFFFFFu;
  checkExpansion(host, stream._impl(), count, 2);
  EXPECT_EQ(count, 1u);
  EXPECT_TRUE(host.findings.empty());
}
