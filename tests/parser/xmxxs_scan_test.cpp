#include "parser/xmxxs_scan.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kernel/xmxxi_marl.h"
#include "parser/parser_fixture.h"

using namespace parsertest;

namespace {

using T = CToken;

struct Expected {
  CToken::TokenID id;
  std::wstring text;
};

class Scanner : public ParserTest {
 protected:
  void TearDown() override {
    scanner.reset();
    ParserTest::TearDown();
  }

  // A scanner reading `entity` in `state`, with the literal flags the agents would set.
  CMarlScanner& start(MarlGEntity const& entity,
                      CMarlScanner::StateId state = CMarlScanner::STATE_NONE,
                      std::uint32_t literalFlags = 0x05) {
    scanner.reset(new CMarlScanner(&host, nullptr, factory));
    host.scanner = scanner.get();
    scanner->literalFlags = literalFlags;
    scanner->pushEntity(entity, state);
    return *scanner;
  }

  CMarlScanner& startText(std::wstring const& text,
                          CMarlScanner::StateId state = CMarlScanner::STATE_NONE,
                          std::uint32_t literalFlags = 0x05) {
    return start(external(text), state, literalFlags);
  }

  // Every token up to the end of the last entity, the final TOK_EOF included. A scanner that
  // does not come to an end within `limit` tokens fails the test.
  std::vector<Seen> drain(std::size_t limit = 100000) {
    std::vector<Seen> tokens;
    while (tokens.size() < limit) {
      ++*scanner;
      tokens.push_back(seen(scanner->token));
      if (scanner->token.id == T::TOK_EOF && !scanner->entity) return tokens;
    }
    ADD_FAILURE() << "no end after " << limit << " tokens";
    return tokens;
  }

  // As drain, and every general entity reference is expanded as the content agents do it.
  std::vector<Seen> drainExpanding(std::size_t limit = 100000) {
    std::vector<Seen> tokens;
    ++*scanner;
    while (tokens.size() < limit) {
      tokens.push_back(seen(scanner->token));
      if (scanner->token.id == T::TOK_EOF && !scanner->entity) return tokens;
      if (scanner->token.id == T::TOK_GEREF) {
        std::wstring name(scanner->token.text + 1, scanner->token.length - 2);
        host.pushEntity(0, name,
                        static_cast<CMarlScanner::StateId>(CMarlScanner::c_stateTableSize +
                                                           scanner->depth));
      }
      ++*scanner;
    }
    ADD_FAILURE() << "no end after " << limit << " tokens";
    return tokens;
  }

  static void expectTokens(std::vector<Seen> const& got, std::vector<Expected> const& wanted) {
    ASSERT_EQ(got.size(), wanted.size()) << describe(got);
    for (std::size_t i = 0; i < got.size(); ++i) {
      EXPECT_EQ(got[i].id, wanted[i].id) << "token " << i << "\n" << describe(got);
      EXPECT_EQ(got[i].text, wanted[i].text) << "token " << i;
    }
  }

  static std::string describe(std::vector<Seen> const& tokens) {
    std::string text;
    for (Seen const& token : tokens) {
      text += std::to_string(token.id) + " '";
      for (wchar_t c : token.text) text += c < 128 && c >= 32 ? static_cast<char>(c) : '?';
      text += "'\n";
    }
    return text;
  }

  static std::wstring joined(std::vector<Seen> const& tokens, CToken::TokenID id) {
    std::wstring text;
    for (Seen const& token : tokens)
      if (token.id == id) text += token.text;
    return text;
  }

  static std::size_t count(std::vector<Seen> const& tokens, CToken::TokenID id) {
    std::size_t n = 0;
    for (Seen const& token : tokens) n += token.id == id;
    return n;
  }

  std::unique_ptr<CMarlScanner> scanner;
};

Expected const eof{T::TOK_EOF, L""};

}  // namespace

// =======================================================================================
// Construction and the stacks

TEST_F(Scanner, ANewScannerReadsNothingAndStandsOnCharacterDataAboveTheInvalidBottom) {
  CMarlScanner bare(&host, nullptr, factory);
  EXPECT_FALSE(bare.entity);
  EXPECT_EQ(bare.depth, 1);
  EXPECT_TRUE(bare.states[CMarlScanner::c_stateTableSize] == &CMarlScanner::scanInvalid);
  EXPECT_TRUE(bare.topState() == &CMarlScanner::scanData);
  EXPECT_EQ(bare.mode, 0);
  EXPECT_EQ(bare.nameSpaces, 1u);
  EXPECT_EQ(bare.literalFlags, 0u);
  EXPECT_EQ(bare.primed, 0u);
  EXPECT_EQ(bare.piNameSeen, 0u);
  // The copies of the parser's switches start as the parser's own do.
  EXPECT_EQ(bare.normalizing, 1u);
  EXPECT_EQ(bare.normalizingAtt, 0u);
  EXPECT_GE(bare.entityStack.capacity(), 32u);
  EXPECT_GE(bare.cursorStack.capacity(), 32u);
  EXPECT_EQ(static_cast<CUnknown*>(bare.streamFactory), static_cast<CUnknown*>(factory));
}

TEST_F(Scanner, TheStateTableHoldsTheScanMethodsInTheirOrder) {
  CMarlScanner bare(&host, nullptr, factory);
  CMarlScanner::ScanMethod const methods[] = {
      &CMarlScanner::scanInvalid,   &CMarlScanner::scanData,          &CMarlScanner::scanCData,
      &CMarlScanner::scanComment,   &CMarlScanner::scanDtd,           &CMarlScanner::scanIgnoreSection,
      &CMarlScanner::scanElement,   &CMarlScanner::scanLiteralDq,     &CMarlScanner::scanLiteralSq,
      &CMarlScanner::scanPi,        &CMarlScanner::scanXmlDecl};
  for (int state = 0; state < 11; ++state)
    EXPECT_TRUE(bare.states[state] == methods[state]) << state;
}

TEST_F(Scanner, WithoutAFactoryTheScannerTakesTheLibrarysOwn) {
  CMarlScanner bare(&host, nullptr, MarlStreamFactory());
  EXPECT_EQ(static_cast<CUnknown*>(bare.streamFactory),
            static_cast<CUnknown*>(CMarlBase::instance().getStreamFactory()));
}

TEST_F(Scanner, AnEntityGivenToTheConstructorIsReadInTheStateOfTheBottom) {
  MarlGEntityExtParsed doc = external(L"x");
  CMarlScanner reading(&host, doc._impl(), factory);
  EXPECT_EQ(reading.entity._impl(), doc._impl());
  EXPECT_EQ(reading.depth, 2);
  EXPECT_TRUE(reading.topState() == &CMarlScanner::scanData);
  ++reading;
  EXPECT_EQ(reading.token.id, T::TOK_CHARDATA);
}

TEST_F(Scanner, WithNothingToReadTheTokenStaysAsItIs) {
  CMarlScanner bare(&host, nullptr, factory);
  bare.token.id = T::TOK_GT;
  ++bare;
  EXPECT_EQ(bare.token.id, T::TOK_GT);
}

TEST_F(Scanner, PushingAnEntityInStateNoneCopiesTheTopState) {
  CMarlScanner& s = start(external(L"x"));
  EXPECT_EQ(s.depth, 2);
  EXPECT_TRUE(s.topState() == &CMarlScanner::scanData);
  EXPECT_EQ(s.tokenStart.line, 0u);
  EXPECT_EQ(s.cursor.column, 0u);
  EXPECT_TRUE(s.entityStack.empty());
}

TEST_F(Scanner, PushingAnEntityInATableStateMakesThatStateTheTop) {
  CMarlScanner& s = start(external(L"x"), CMarlScanner::STATE_DTD);
  EXPECT_TRUE(s.topState() == &CMarlScanner::scanDtd);
}

TEST_F(Scanner, PushingWithElevenPlusDepthKeepsTheCurrentState) {
  CMarlScanner& s = start(external(L"<a "));
  ++s;
  ASSERT_TRUE(s.topState() == &CMarlScanner::scanElement);
  s.pushEntity(internal(L"e", L"b"),
               static_cast<CMarlScanner::StateId>(CMarlScanner::c_stateTableSize + s.depth));
  EXPECT_TRUE(s.topState() == &CMarlScanner::scanElement);
  EXPECT_EQ(s.entityStack.size(), 1u);
  EXPECT_EQ(s.cursorStack.size(), 2u);
  EXPECT_EQ(s.tokenStack.size(), 1u);
  EXPECT_EQ(s.tokenStack[0].id, T::TOK_LT);
}

TEST_F(Scanner, PoppingReturnsToTheEntityBelowWithItsCursorsAndToken) {
  CMarlScanner& s = start(external(L"ab<c/>"));
  ++s;
  CMarlGEntityIterator const cursorBefore = s.cursor;
  CMarlGEntityIterator const startBefore = s.tokenStart;
  int const depthBefore = s.depth;
  s.pushEntity(internal(L"e", L"zz"), CMarlScanner::STATE_NONE);
  ++s;
  EXPECT_EQ(s.popEntity(), 1u);
  EXPECT_EQ(s.cursor.pos, cursorBefore.pos);
  EXPECT_EQ(s.tokenStart.pos, startBefore.pos);
  EXPECT_EQ(s.depth, depthBefore);
  EXPECT_EQ(s.token.id, T::TOK_CHARDATA);
  EXPECT_EQ(seen(s.token).text, L"ab");
}

TEST_F(Scanner, PoppingTheLastEntityLeavesAnEmptyScanner) {
  CMarlScanner& s = start(external(L"a"));
  EXPECT_EQ(s.popEntity(), 0u);
  EXPECT_FALSE(s.entity);
  EXPECT_EQ(s.cursor.entity, nullptr);
  EXPECT_EQ(s.cursor.line, 1u);
  EXPECT_EQ(s.tokenStart.column, 1u);
  EXPECT_EQ(s.token.id, T::TOK_INVALID);
  EXPECT_EQ(s.popEntity(), 0u);
}

TEST_F(Scanner, AnEntityThatOutlivesTheScannerKeepsNoPointerToItsCursors) {
  MarlGEntityIntParsed kept = internal(L"e", L"x");
  {
    CMarlScanner& s = start(external(L"a"));
    s.pushEntity(kept, CMarlScanner::STATE_NONE);
    EXPECT_NE(kept._impl()->startIterator, nullptr);
    scanner.reset();
  }
  EXPECT_EQ(kept._impl()->startIterator, nullptr);
  EXPECT_EQ(kept._impl()->endIterator, nullptr);
}

TEST_F(Scanner, AnEntityLeftBehindKeepsNoPointerToTheCursors) {
  MarlGEntityIntParsed kept = internal(L"e", L"x");
  CMarlScanner& s = start(external(L"a"));
  s.pushEntity(kept, CMarlScanner::STATE_NONE);
  s.popEntity();
  EXPECT_EQ(kept._impl()->startIterator, nullptr);
  EXPECT_EQ(s.entity._impl()->startIterator, &s.tokenStart);
  EXPECT_EQ(s.entity._impl()->endIterator, &s.cursor);
}

TEST_F(Scanner, AFailedPushLeavesTheStacksInStepAndTheReadingGoesOn) {
  CMarlScanner& s = start(external(L"ab<c/>"));
  ++s;
  MarlGEntityIntParsed other = internal(L"e", L"x");
  {
    testhost::AllocationFailure failure;
    EXPECT_THROW(s.pushEntity(other, CMarlScanner::STATE_NONE), std::bad_alloc);
  }
  EXPECT_EQ(s.entityStack.size(), 0u);
  EXPECT_EQ(s.cursorStack.size(), 0u);
  EXPECT_EQ(s.tokenStack.size(), 0u);
  EXPECT_EQ(s.depth, 2);
  expectTokens(drain(), {{T::TOK_LT, L"<"}, {T::TOK_NAME, L"c"}, {T::TOK_EMPTY_END, L"/>"}, eof});
}

TEST_F(Scanner, AScannerThatRunsOutOfMemoryIsNotMadeAndLeaksNothing) {
  for (long failAt = 0; failAt < 4; ++failAt) {
    long before = testhost::outstandingBlocks();
    {
      testhost::AllocationFailure failure(failAt);
      try {
        std::unique_ptr<CMarlScanner> made(new CMarlScanner(&host, nullptr, factory));
      } catch (std::bad_alloc const&) {
      }
    }
    EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
  }
}

TEST_F(Scanner, ScanStatePushesAndPopsStayInsideTheStack) {
  CMarlScanner bare(&host, nullptr, factory);
  for (int i = 0; i < 200; ++i) bare.pushState(CMarlScanner::STATE_ELEMENT);
  EXPECT_EQ(bare.depth, CMarlScanner::c_stateSlots - 1);
  for (int i = 0; i < 400; ++i) bare.popState();
  EXPECT_EQ(bare.depth, 0);
  EXPECT_TRUE(bare.topState() == &CMarlScanner::scanInvalid);
}

// =======================================================================================
// Positions

// Long runs of data and of literal text are passed in one go; the positions behind them are
// those that a step per character counts, line feeds and a lone ']' included.
TEST_F(Scanner, PositionsBehindLongRunsOfDataAndLiteralTextAreCountedPerCharacter) {
  startText(L"<a b='" + std::wstring(30, L'v') + L"\nww' c='1'>" + std::wstring(20, L'x') +
            L"\n" + std::wstring(10, L'y') + L"]" + std::wstring(5, L'z') + L"</a>");
  std::vector<Seen> tokens = drain();
  auto const first = [&tokens](CToken::TokenID id, std::wstring const& text) {
    for (Seen const& token : tokens)
      if (token.id == id && token.text == text) return token;
    ADD_FAILURE() << "no such token";
    return Seen{};
  };
  Seen const attribute = first(T::TOK_NAME, L"c");
  EXPECT_EQ(attribute.line, 1u);
  EXPECT_EQ(attribute.column, 6u);
  Seen const data = first(T::TOK_CHARDATA, std::wstring(20, L'x') + L"\n" +
                                               std::wstring(10, L'y') + L"]" +
                                               std::wstring(5, L'z'));
  EXPECT_EQ(data.line, 1u);
  EXPECT_EQ(data.column, 12u);
  Seen const endTag = first(T::TOK_ETAG_START, L"</");
  EXPECT_EQ(endTag.line, 2u);
  EXPECT_EQ(endTag.column, 18u);
  EXPECT_EQ(endTag.offset, 84u);
}

TEST_F(Scanner, TheFirstCharacterStandsAtLineZeroColumnZero) {
  startText(L"a\n<b/>");
  std::vector<Seen> tokens = drain();
  ASSERT_EQ(tokens.size(), 5u);
  EXPECT_EQ(tokens[0].text, L"a\n");
  EXPECT_EQ(tokens[0].line, 0u);
  EXPECT_EQ(tokens[0].column, 0u);
  EXPECT_EQ(tokens[0].offset, 0u);
  EXPECT_EQ(tokens[1].id, T::TOK_LT);
  EXPECT_EQ(tokens[1].line, 1u);
  EXPECT_EQ(tokens[1].column, 2u);
  EXPECT_EQ(tokens[1].offset, 2u);
  EXPECT_EQ(tokens[2].column, 3u);
  EXPECT_EQ(tokens[3].column, 4u);
  EXPECT_EQ(tokens[3].offset, 4u);
}

TEST_F(Scanner, ALineFeedIsTheFirstColumnOfTheNextLine) {
  startText(L"x\n\n<a/>");
  std::vector<Seen> tokens = drain();
  ASSERT_GE(tokens.size(), 2u);
  EXPECT_EQ(tokens[1].id, T::TOK_LT);
  EXPECT_EQ(tokens[1].line, 2u);
  EXPECT_EQ(tokens[1].column, 2u);
}

TEST_F(Scanner, ALineFeedFirstInTheEntityStaysOnLineZero) {
  startText(L"\n<a/>");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[1].line, 0u);
  EXPECT_EQ(tokens[1].column, 1u);
}

TEST_F(Scanner, ACarriageReturnIsAnOrdinaryCharacter) {
  startText(L"a\r<b/>");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[1].line, 0u);
  EXPECT_EQ(tokens[1].column, 2u);
  startText(L"a\r\n<b/>");
  tokens = drain();
  EXPECT_EQ(tokens[1].line, 1u);
  EXPECT_EQ(tokens[1].column, 2u);
}

TEST_F(Scanner, EveryFilledTokenHasAPosition) {
  startText(L"<a/>");
  ++*scanner;
  EXPECT_EQ(scanner->token.hasPosition, 1u);
}

TEST_F(Scanner, TokensPointIntoTheEntitysBuffer) {
  MarlGEntityExtParsed doc = external(L"<abc/>");
  start(doc);
  ++*scanner;
  ++*scanner;
  CMarlGEntity::Buffer const& buffer = doc._impl()->buffer;
  EXPECT_GE(scanner->token.text, buffer.data());
  EXPECT_LT(scanner->token.text, buffer.data() + buffer.size());
  EXPECT_EQ(scanner->token.text, buffer.data() + 1);
}

// =======================================================================================
// Content

TEST_F(Scanner, AnEmptyDocumentEndsAtOnce) {
  startText(L"");
  expectTokens(drain(), {eof});
}

TEST_F(Scanner, TheEndTokenHasNoTextAndTheScannerStaysEmpty) {
  startText(L"a");
  drain();
  EXPECT_EQ(scanner->token.text, nullptr);
  EXPECT_EQ(scanner->token.colon, nullptr);
  EXPECT_EQ(scanner->token.length, 0u);
  ++*scanner;
  EXPECT_EQ(scanner->token.id, T::TOK_EOF);
  EXPECT_FALSE(scanner->entity);
}

TEST_F(Scanner, ATagWithAttributesInBothQuotes) {
  startText(L"<a x=\"1\" y='2'>t</a >");
  std::vector<Seen> tokens = drain();
  expectTokens(tokens, {{T::TOK_LT, L"<"},
                        {T::TOK_NAME, L"a"},
                        {T::TOK_NAME, L"x"},
                        {T::TOK_EQ, L"="},
                        {T::TOK_DQ_OPEN, L"\""},
                        {T::TOK_LITERAL, L"1"},
                        {T::TOK_DQ_CLOSE, L"\""},
                        {T::TOK_NAME, L"y"},
                        {T::TOK_EQ, L"="},
                        {T::TOK_SQ_OPEN, L"'"},
                        {T::TOK_LITERAL, L"2"},
                        {T::TOK_SQ_CLOSE, L"'"},
                        {T::TOK_GT, L">"},
                        {T::TOK_CHARDATA, L"t"},
                        {T::TOK_ETAG_START, L"</"},
                        {T::TOK_NAME, L"a"},
                        {T::TOK_GT, L">"},
                        eof});
  std::uint32_t const columns[] = {0, 1, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16, 18, 20};
  for (std::size_t i = 0; i < 17; ++i) {
    EXPECT_EQ(tokens[i].column, columns[i]) << i;
    EXPECT_EQ(tokens[i].offset, columns[i]) << i;
    EXPECT_EQ(tokens[i].line, 0u) << i;
  }
}

TEST_F(Scanner, TheStateDepthFollowsTagsAndLiterals) {
  CMarlScanner& s = startText(L"<a b='c'>");
  EXPECT_EQ(s.depth, 2);
  ++s;
  EXPECT_EQ(s.depth, 3);
  ++s;
  ++s;
  ++s;
  ++s;
  EXPECT_EQ(s.token.id, T::TOK_SQ_OPEN);
  EXPECT_EQ(s.depth, 4);
  EXPECT_EQ(s.literalEntity._impl(), s.entity._impl());
  ++s;
  ++s;
  EXPECT_EQ(s.depth, 3);
  ++s;
  EXPECT_EQ(s.token.id, T::TOK_GT);
  EXPECT_EQ(s.depth, 2);
}

TEST_F(Scanner, AnEmptyElementTag) {
  startText(L"<a/><b />");
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_EMPTY_END, L"/>"},
                         {T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"b"},
                         {T::TOK_EMPTY_END, L"/>"},
                         eof});
}

TEST_F(Scanner, ASlashNotFollowedByGreaterThanIsInvalidAndSkipped) {
  startText(L"<a / >");
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_INVALID, L"/"},
                         {T::TOK_GT, L">"},
                         eof});
}

TEST_F(Scanner, AnythingElseInATagIsInvalid) {
  startText(L"<a !x \x01>");
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_INVALID, L"!"},
                         {T::TOK_NAME, L"x"},
                         {T::TOK_INVALID, L"\x01"},
                         {T::TOK_GT, L">"},
                         eof});
}

TEST_F(Scanner, AQualifiedNameSplitsAtItsColon) {
  startText(L"<p:a q:b='v'/>");
  ++*scanner;
  ++*scanner;
  EXPECT_EQ(scanner->token.id, T::TOK_QNAME);
  EXPECT_EQ(seen(scanner->token).text, L"p:a");
  ASSERT_NE(scanner->token.colon, nullptr);
  EXPECT_EQ(scanner->token.colon - scanner->token.text, 1);
  ++*scanner;
  EXPECT_EQ(scanner->token.id, T::TOK_QNAME);
  EXPECT_EQ(scanner->token.colon - scanner->token.text, 1);
  ++*scanner;
  EXPECT_EQ(scanner->token.id, T::TOK_EQ);
  EXPECT_EQ(scanner->token.colon, nullptr);
}

TEST_F(Scanner, TheLastColonOfANameWins) {
  startText(L"<a:b:c/>");
  ++*scanner;
  ++*scanner;
  EXPECT_EQ(scanner->token.id, T::TOK_QNAME);
  EXPECT_EQ(seen(scanner->token).text, L"a:b:c");
  EXPECT_EQ(scanner->token.colon - scanner->token.text, 3);
}

TEST_F(Scanner, ALeadingOrTrailingColonAloneMakesNoQualifiedName) {
  startText(L"<:a b: c/>");
  std::vector<Seen> tokens = drain();
  expectTokens(tokens, {{T::TOK_LT, L"<"},
                        {T::TOK_NAME, L":a"},
                        {T::TOK_NAME, L"b:"},
                        {T::TOK_NAME, L"c"},
                        {T::TOK_EMPTY_END, L"/>"},
                        eof});
}

TEST_F(Scanner, WithoutNamespacesAColonIsAnOrdinaryNameCharacter) {
  startText(L"<p:a/>");
  scanner->nameSpaces = 0;
  ++*scanner;
  ++*scanner;
  EXPECT_EQ(scanner->token.id, T::TOK_NAME);
  EXPECT_EQ(seen(scanner->token).text, L"p:a");
  EXPECT_EQ(scanner->token.colon, nullptr);
}

TEST_F(Scanner, ALoneGreaterThanIsData) {
  startText(L"a>b");
  expectTokens(drain(), {{T::TOK_CHARDATA, L"a>b"}, eof});
}

TEST_F(Scanner, ASectionEndInContentIsInvalidOnTheBracketThenData) {
  startText(L"]]>x");
  expectTokens(drain(), {{T::TOK_INVALID, L"]"}, {T::TOK_CHARDATA, L"]>x"}, eof});
}

// The check stands at every character of the run, so the text before the sequence goes
// into the invalid token as well.
TEST_F(Scanner, ASectionEndInsideTextMakesTheRunSoFarInvalid) {
  startText(L"ab]]>cd");
  expectTokens(drain(), {{T::TOK_INVALID, L"ab]"}, {T::TOK_CHARDATA, L"]>cd"}, eof});
}

TEST_F(Scanner, ABracketThatEndsNoSectionIsData) {
  startText(L"a]]b]>");
  expectTokens(drain(), {{T::TOK_CHARDATA, L"a]]b]>"}, eof});
}

TEST_F(Scanner, AFirstCharacterThatIsNoContentIsTakenAsData) {
  std::wstring text = L"\xD83D\xDE00x<a/>";
  startText(text);
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[0].id, T::TOK_CHARDATA);
  EXPECT_EQ(tokens[0].text, L"\xD83D");
  EXPECT_EQ(tokens[1].id, T::TOK_CHARDATA);
  EXPECT_EQ(tokens[1].text, L"\xDE00x");
}

TEST_F(Scanner, CharacterReferences) {
  startText(L"&#65;&#x4a;&#x4A;");
  expectTokens(drain(), {{T::TOK_CHARREF, L"&#65;"},
                         {T::TOK_CHARREF, L"&#x4a;"},
                         {T::TOK_CHARREF, L"&#x4A;"},
                         eof});
}

TEST_F(Scanner, TheHexadecimalMarkerIsLowerCaseOnly) {
  startText(L"&#X41;");
  expectTokens(drain(), {{T::TOK_INVALID, L"&#X"}, {T::TOK_CHARDATA, L"41;"}, eof});
}

TEST_F(Scanner, BrokenCharacterReferencesAreInvalid) {
  startText(L"&#;");
  expectTokens(drain(), {{T::TOK_INVALID, L"&#;"}, eof});
  startText(L"&#x;");
  expectTokens(drain(), {{T::TOK_INVALID, L"&#x;"}, eof});
  startText(L"&#6a;");
  expectTokens(drain(), {{T::TOK_INVALID, L"&#6a"}, {T::TOK_CHARDATA, L";"}, eof});
  startText(L"&#65");
  expectTokens(drain(), {{T::TOK_INVALID, L"&#65"}, eof});
}

TEST_F(Scanner, GeneralEntityReferences) {
  startText(L"&amp;&a.b-c;&p:q;");
  expectTokens(drain(), {{T::TOK_GEREF, L"&amp;"},
                         {T::TOK_GEREF, L"&a.b-c;"},
                         {T::TOK_GEREF, L"&p:q;"},
                         eof});
}

TEST_F(Scanner, BrokenGeneralEntityReferencesAreInvalid) {
  startText(L"&a b;");
  expectTokens(drain(), {{T::TOK_INVALID, L"&a "}, {T::TOK_CHARDATA, L"b;"}, eof});
  startText(L"&1;");
  expectTokens(drain(), {{T::TOK_INVALID, L"&1"}, {T::TOK_CHARDATA, L";"}, eof});
  startText(L"&am");
  expectTokens(drain(), {{T::TOK_INVALID, L"&am"}, eof});
}

TEST_F(Scanner, WithoutReferenceFlagsAnAmpersandIsDataOnItsOwn) {
  startText(L"a&amp;b", CMarlScanner::STATE_NONE, 0);
  expectTokens(drain(), {{T::TOK_CHARDATA, L"a"},
                         {T::TOK_CHARDATA, L"&"},
                         {T::TOK_CHARDATA, L"amp;b"},
                         eof});
}

TEST_F(Scanner, AComment) {
  startText(L"<!-- a - b -->x");
  expectTokens(drain(), {{T::TOK_COMMENT_START, L"<!--"},
                         {T::TOK_DATA, L" a - b "},
                         {T::TOK_COMMENT_END, L"-->"},
                         {T::TOK_CHARDATA, L"x"},
                         eof});
}

TEST_F(Scanner, AnEmptyComment) {
  startText(L"<!---->");
  expectTokens(drain(), {{T::TOK_COMMENT_START, L"<!--"}, {T::TOK_COMMENT_END, L"-->"}, eof});
}

TEST_F(Scanner, ADoubleHyphenInsideACommentIsInvalid) {
  startText(L"<!--a--b-->");
  expectTokens(drain(), {{T::TOK_COMMENT_START, L"<!--"},
                         {T::TOK_INVALID, L"a-"},
                         {T::TOK_DATA, L"-b"},
                         {T::TOK_COMMENT_END, L"-->"},
                         eof});
}

TEST_F(Scanner, ThreeHyphensBeforeTheEndCountAsADoubleHyphenInside) {
  startText(L"<!--a--->");
  expectTokens(drain(), {{T::TOK_COMMENT_START, L"<!--"},
                         {T::TOK_INVALID, L"a-"},
                         {T::TOK_COMMENT_END, L"-->"},
                         eof});
}

TEST_F(Scanner, ACommentLetsEveryCharacterThrough) {
  startText(L"<!--<&\x01]]>-->");
  expectTokens(drain(), {{T::TOK_COMMENT_START, L"<!--"},
                         {T::TOK_DATA, L"<&\x01]]>"},
                         {T::TOK_COMMENT_END, L"-->"},
                         eof});
}

TEST_F(Scanner, ACDataSection) {
  startText(L"<![CDATA[a<b&c]d]]e]]>x");
  expectTokens(drain(), {{T::TOK_CDATA_START, L"<![CDATA["},
                         {T::TOK_DATA, L"a<b&c]d]]e"},
                         {T::TOK_SECT_END, L"]]>"},
                         {T::TOK_CHARDATA, L"x"},
                         eof});
}

TEST_F(Scanner, AnEmptyCDataSection) {
  startText(L"<![CDATA[]]>");
  expectTokens(drain(), {{T::TOK_CDATA_START, L"<![CDATA["}, {T::TOK_SECT_END, L"]]>"}, eof});
}

TEST_F(Scanner, AProcessingInstructionKeepsTheWhiteSpaceBehindItsTarget) {
  startText(L"<?pi  some?data?>");
  expectTokens(drain(), {{T::TOK_PI_START, L"<?"},
                         {T::TOK_NAME, L"pi"},
                         {T::TOK_DATA, L"  some?data"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, AProcessingInstructionWithoutData) {
  startText(L"<?pi?>");
  expectTokens(drain(), {{T::TOK_PI_START, L"<?"},
                         {T::TOK_NAME, L"pi"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, DataThatDoesNotBeginWithWhiteSpaceIsInvalid) {
  startText(L"<?pi!x?>");
  expectTokens(drain(), {{T::TOK_PI_START, L"<?"},
                         {T::TOK_NAME, L"pi"},
                         {T::TOK_INVALID, L"!"},
                         {T::TOK_INVALID, L"x"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, AnUpperCaseXmlTargetIsAnOrdinaryProcessingInstruction) {
  startText(L"<?XML?>");
  expectTokens(drain(), {{T::TOK_PI_START, L"<?"},
                         {T::TOK_NAME, L"XML"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, AnXmlDeclaration) {
  startText(L"<?xml version='1.0' encoding=\"utf-8\" ?>");
  expectTokens(drain(), {{T::TOK_XML_PI_START, L"<?"},
                         {T::TOK_NAME, L"xml"},
                         {T::TOK_NAME, L"version"},
                         {T::TOK_EQ, L"="},
                         {T::TOK_SQ_OPEN, L"'"},
                         {T::TOK_LITERAL, L"1.0"},
                         {T::TOK_SQ_CLOSE, L"'"},
                         {T::TOK_NAME, L"encoding"},
                         {T::TOK_EQ, L"="},
                         {T::TOK_DQ_OPEN, L"\""},
                         {T::TOK_LITERAL, L"utf-8"},
                         {T::TOK_DQ_CLOSE, L"\""},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, TheXmlTestLooksAtNoFurtherCharacter) {
  startText(L"<?xml-stylesheet href='s.css'?>");
  expectTokens(drain(), {{T::TOK_XML_PI_START, L"<?"},
                         {T::TOK_NAME, L"xml-stylesheet"},
                         {T::TOK_NAME, L"href"},
                         {T::TOK_EQ, L"="},
                         {T::TOK_SQ_OPEN, L"'"},
                         {T::TOK_LITERAL, L"s.css"},
                         {T::TOK_SQ_CLOSE, L"'"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, AQuestionMarkAloneInAnXmlDeclarationIsInvalid) {
  startText(L"<?xml ? \x01?>");
  expectTokens(drain(), {{T::TOK_XML_PI_START, L"<?"},
                         {T::TOK_NAME, L"xml"},
                         {T::TOK_INVALID, L"?"},
                         {T::TOK_INVALID, L"\x01"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, ADocumentTypeDeclarationWithAnInternalSubset) {
  startText(L"<!DOCTYPE a [<!ELEMENT a ANY>]>x");
  expectTokens(drain(), {{T::TOK_DOCTYPE, L"<!DOCTYPE "},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_LBRACKET, L"["},
                         {T::TOK_ELEMENT, L"<!ELEMENT "},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_NAME, L"ANY"},
                         {T::TOK_GT, L">"},
                         {T::TOK_RBRACKET, L"]"},
                         {T::TOK_GT, L">"},
                         {T::TOK_CHARDATA, L"x"},
                         eof});
}

TEST_F(Scanner, TheDoctypeKeywordTakesAnyWhiteSpaceCharacter) {
  startText(L"<!DOCTYPE\ta>");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[0].id, T::TOK_DOCTYPE);
  EXPECT_EQ(tokens[0].text, L"<!DOCTYPE\t");
}

TEST_F(Scanner, AnUnknownMarkupDeclarationInContentIsATag) {
  startText(L"<!DOCTYPEa>");
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_INVALID, L"!"},
                         {T::TOK_NAME, L"DOCTYPEa"},
                         {T::TOK_GT, L">"},
                         eof});
}

// =======================================================================================
// Literals

TEST_F(Scanner, InAnAttributeValueReferencesAndLessThanStopTheText) {
  startText(L"<a b=\"x&amp;y&#49;<z%q;\">", CMarlScanner::STATE_NONE, 0x0B);
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_NAME, L"b"},
                         {T::TOK_EQ, L"="},
                         {T::TOK_DQ_OPEN, L"\""},
                         {T::TOK_LITERAL, L"x"},
                         {T::TOK_GEREF, L"&amp;"},
                         {T::TOK_LITERAL, L"y"},
                         {T::TOK_CHARREF, L"&#49;"},
                         {T::TOK_LT, L"<"},
                         {T::TOK_LITERAL, L"z%q;"},
                         {T::TOK_DQ_CLOSE, L"\""},
                         {T::TOK_GT, L">"},
                         eof});
}

TEST_F(Scanner, UnderLiteralFlagsZeroAnAmpersandInALiteralIsText) {
  startText(L"<a b='x&amp;<y%z;&#1;'>", CMarlScanner::STATE_NONE, 0);
  std::vector<Seen> tokens = drain();
  ASSERT_GE(tokens.size(), 7u);
  EXPECT_EQ(tokens[5].id, T::TOK_LITERAL);
  EXPECT_EQ(tokens[5].text, L"x&amp;<y%z;&#1;");
  EXPECT_EQ(tokens[6].id, T::TOK_SQ_CLOSE);
}

TEST_F(Scanner, TheOtherQuoteIsTextInALiteral) {
  startText(L"<a b='say \"hi\"'>");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[5].text, L"say \"hi\"");
  EXPECT_EQ(tokens[6].id, T::TOK_SQ_CLOSE);
}

TEST_F(Scanner, AnUnclosedLiteralEndsWithTextAndThenTheEnd) {
  startText(L"<a b='xyz");
  std::vector<Seen> tokens = drain();
  ASSERT_EQ(tokens.size(), 7u);
  EXPECT_EQ(tokens[5].id, T::TOK_LITERAL);
  EXPECT_EQ(tokens[5].text, L"xyz");
  EXPECT_EQ(tokens[6].id, T::TOK_EOF);
}

TEST_F(Scanner, AQuoteFromReplacementTextDoesNotCloseTheLiteral) {
  document.getDocumentType().createIntEntityDecl(0, L"e", L"it's");
  startText(L"<a b='x&e;y'>", CMarlScanner::STATE_NONE, 0x0B);
  expectTokens(drainExpanding(), {{T::TOK_LT, L"<"},
                                  {T::TOK_NAME, L"a"},
                                  {T::TOK_NAME, L"b"},
                                  {T::TOK_EQ, L"="},
                                  {T::TOK_SQ_OPEN, L"'"},
                                  {T::TOK_LITERAL, L"x"},
                                  {T::TOK_GEREF, L"&e;"},
                                  {T::TOK_LITERAL, L"it's"},
                                  {T::TOK_ENTITY_END, L"&e;"},
                                  {T::TOK_LITERAL, L"y"},
                                  {T::TOK_SQ_CLOSE, L"'"},
                                  {T::TOK_GT, L">"},
                                  eof});
}

TEST_F(Scanner, APlainLiteralInTheDtdTakesEverything) {
  startText(L"'a&b<c%d;'", CMarlScanner::STATE_DTD, 0);
  expectTokens(drain(), {{T::TOK_SQ_OPEN, L"'"},
                         {T::TOK_LITERAL, L"a&b<c%d;"},
                         {T::TOK_SQ_CLOSE, L"'"},
                         eof});
}

// =======================================================================================
// General entities

TEST_F(Scanner, AnEmptyGeneralEntityEndsAtOnce) {
  document.getDocumentType().createIntEntityDecl(0, L"e", L"");
  startText(L"a&e;b");
  expectTokens(drainExpanding(), {{T::TOK_CHARDATA, L"a"},
                                  {T::TOK_GEREF, L"&e;"},
                                  {T::TOK_ENTITY_END, L"&e;"},
                                  {T::TOK_CHARDATA, L"b"},
                                  eof});
}

TEST_F(Scanner, TheTextOfAGeneralEntityHasPositionsOfItsOwn) {
  document.getDocumentType().createIntEntityDecl(0, L"e", L"x\n<b/>y");
  startText(L"<a>&e;</a>");
  std::vector<Seen> tokens = drainExpanding();
  expectTokens(tokens, {{T::TOK_LT, L"<"},
                        {T::TOK_NAME, L"a"},
                        {T::TOK_GT, L">"},
                        {T::TOK_GEREF, L"&e;"},
                        {T::TOK_CHARDATA, L"x\n"},
                        {T::TOK_LT, L"<"},
                        {T::TOK_NAME, L"b"},
                        {T::TOK_EMPTY_END, L"/>"},
                        {T::TOK_CHARDATA, L"y"},
                        {T::TOK_ENTITY_END, L"&e;"},
                        {T::TOK_ETAG_START, L"</"},
                        {T::TOK_NAME, L"a"},
                        {T::TOK_GT, L">"},
                        eof});
  EXPECT_EQ(tokens[4].column, 0u);
  EXPECT_EQ(tokens[4].offset, 0u);
  EXPECT_EQ(tokens[5].line, 1u);
  EXPECT_EQ(tokens[5].column, 2u);
  EXPECT_EQ(tokens[5].offset, 2u);
  EXPECT_EQ(tokens[9].line, 0u);
  EXPECT_EQ(tokens[9].column, 3u);
  EXPECT_EQ(tokens[9].offset, 3u);
  EXPECT_EQ(tokens[10].column, 6u);
}

TEST_F(Scanner, ThePredefinedEntitiesExpandThroughTheirDeclarations) {
  startText(L"a&lt;b&amp;");
  expectTokens(drainExpanding(), {{T::TOK_CHARDATA, L"a"},
                                  {T::TOK_GEREF, L"&lt;"},
                                  {T::TOK_CHARREF, L"&#60;"},
                                  {T::TOK_ENTITY_END, L"&lt;"},
                                  {T::TOK_CHARDATA, L"b"},
                                  {T::TOK_GEREF, L"&amp;"},
                                  {T::TOK_CHARREF, L"&#38;"},
                                  {T::TOK_ENTITY_END, L"&amp;"},
                                  eof});
}

TEST_F(Scanner, AReferenceReachedAgainStartsAtTheFrontOfTheText) {
  document.getDocumentType().createIntEntityDecl(0, L"e", L"xy");
  startText(L"&e;&e;");
  std::vector<Seen> tokens = drainExpanding();
  EXPECT_EQ(joined(tokens, T::TOK_CHARDATA), L"xyxy");
  EXPECT_EQ(count(tokens, T::TOK_ENTITY_END), 2u);
}

TEST_F(Scanner, NestedEntitiesEndInTurn) {
  document.getDocumentType().createIntEntityDecl(0, L"outer", L"[&inner;]");
  document.getDocumentType().createIntEntityDecl(0, L"inner", L"in");
  startText(L"&outer;.");
  expectTokens(drainExpanding(), {{T::TOK_GEREF, L"&outer;"},
                                  {T::TOK_CHARDATA, L"["},
                                  {T::TOK_GEREF, L"&inner;"},
                                  {T::TOK_CHARDATA, L"in"},
                                  {T::TOK_ENTITY_END, L"&inner;"},
                                  {T::TOK_CHARDATA, L"]"},
                                  {T::TOK_ENTITY_END, L"&outer;"},
                                  {T::TOK_CHARDATA, L"."},
                                  eof});
}

TEST_F(Scanner, ARecursiveEntityEndsWithTheFatalErrorOfTheNestingLimit) {
  document.getDocumentType().createIntEntityDecl(0, L"a", L"&a;");
  startText(L"&a;");
  EXPECT_THROW(drainExpanding(), XPT_Parser::XPT_FatalError);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].severity, 4u);
  EXPECT_EQ(host.findings[0].number, 4003u);
  EXPECT_EQ(host.findings[0].reason,
            L"too many entities referenced, most likely recursion (entity 'a')");
  EXPECT_EQ(host.namedRequests.size(), 30u);
  EXPECT_EQ(scanner->entityStack.size(), 29u);
  EXPECT_EQ(scanner->depth, 31);
}

TEST_F(Scanner, TheNestingErrorStandsAtTheReference) {
  document.getDocumentType().createIntEntityDecl(0, L"a", L"x\n &a;");
  startText(L"&a;");
  EXPECT_THROW(drainExpanding(), XPT_Parser::XPT_FatalError);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].line, 1u);
  EXPECT_EQ(host.findings[0].column, 3u);
}

TEST_F(Scanner, TheScannerCanBeReadOnAfterTheNestingError) {
  document.getDocumentType().createIntEntityDecl(0, L"a", L"&a;");
  startText(L"&a;");
  EXPECT_THROW(drainExpanding(), XPT_Parser::XPT_FatalError);
  std::vector<Seen> rest = drain();
  EXPECT_EQ(count(rest, T::TOK_ENTITY_END), 29u);
}

// =======================================================================================
// Parameter entities

TEST_F(Scanner, AParameterEntityReferenceIsNeverSeen) {
  document.getDocumentType().createIntEntityDecl(1, L"p", L"<!ELEMENT a ANY>");
  startText(L"<!DOCTYPE d [%p;]>");
  expectTokens(drain(), {{T::TOK_DOCTYPE, L"<!DOCTYPE "},
                         {T::TOK_NAME, L"d"},
                         {T::TOK_LBRACKET, L"["},
                         {T::TOK_ELEMENT, L"<!ELEMENT "},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_NAME, L"ANY"},
                         {T::TOK_GT, L">"},
                         {T::TOK_RBRACKET, L"]"},
                         {T::TOK_GT, L">"},
                         eof});
  EXPECT_EQ(host.namedRequests, std::vector<std::wstring>{L"p"});
  EXPECT_EQ(scanner->entityName, L"p");
}

TEST_F(Scanner, AnEmptyParameterEntityGivesNothing) {
  document.getDocumentType().createIntEntityDecl(1, L"p", L"");
  startText(L"(%p;)", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_LPAREN, L"("}, {T::TOK_RPAREN, L")"}, eof});
}

TEST_F(Scanner, AParameterEntityInAnEntityValueContinuesTheLiteral) {
  document.getDocumentType().createIntEntityDecl(1, L"p", L"P\"Q");
  startText(L"\"a%p;b\"", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_DQ_OPEN, L"\""},
                         {T::TOK_LITERAL, L"a"},
                         {T::TOK_LITERAL, L"P\"Q"},
                         {T::TOK_LITERAL, L"b"},
                         {T::TOK_DQ_CLOSE, L"\""},
                         eof});
}

TEST_F(Scanner, AnUndefinedParameterEntityStaysVisibleAfterTheWarning) {
  host.resolveMode = 0x19;
  startText(L"(%q;)", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_LPAREN, L"("},
                         {T::TOK_PEREF, L"%q;"},
                         {T::TOK_RPAREN, L")"},
                         eof});
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].severity, 2u);
  EXPECT_EQ(host.findings[0].reason, L"undefined entity 'q' referenced");
}

TEST_F(Scanner, WithoutAParserAParameterEntityReferenceIsReturned) {
  MarlGEntityExtParsed doc = external(L"%q;");
  scanner.reset(new CMarlScanner(nullptr, nullptr, factory));
  scanner->pushEntity(doc, CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_PEREF, L"%q;"}, eof});
}

TEST_F(Scanner, ARecursiveParameterEntityEndsWithTheNestingError) {
  document.getDocumentType().createIntEntityDecl(1, L"p", L"%p;");
  startText(L"%p;", CMarlScanner::STATE_DTD);
  EXPECT_THROW(++*scanner, XPT_Parser::XPT_FatalError);
  ASSERT_EQ(host.findings.size(), 1u);
  EXPECT_EQ(host.findings[0].number, 4003u);
  EXPECT_EQ(host.findings[0].reason,
            L"too many entities referenced, most likely recursion (entity 'p')");
}

// =======================================================================================
// The declaration states

TEST_F(Scanner, TheSingleCharacterTokensOfTheDtd) {
  startText(L"# ( ) * + , = ? [ | ] ]]> % 12 .5 @", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_HASH, L"#"},
                         {T::TOK_LPAREN, L"("},
                         {T::TOK_RPAREN, L")"},
                         {T::TOK_STAR, L"*"},
                         {T::TOK_PLUS, L"+"},
                         {T::TOK_COMMA, L","},
                         {T::TOK_EQ, L"="},
                         {T::TOK_QUESTION, L"?"},
                         {T::TOK_LBRACKET, L"["},
                         {T::TOK_BAR, L"|"},
                         {T::TOK_RBRACKET, L"]"},
                         {T::TOK_SECT_END, L"]]>"},
                         {T::TOK_PERCENT, L"%"},
                         {T::TOK_NMTOKEN, L"12"},
                         {T::TOK_NMTOKEN, L".5"},
                         {T::TOK_INVALID, L"@"},
                         eof});
}

TEST_F(Scanner, TheMarkupDeclarationsOfTheDtd) {
  startText(L"<!ATTLIST a><!ELEMENT\nb><!ENTITY c><!NOTATION d><!--x--><?xml?><?pi?>",
            CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_ATTLIST, L"<!ATTLIST "},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_GT, L">"},
                         {T::TOK_ELEMENT, L"<!ELEMENT\n"},
                         {T::TOK_NAME, L"b"},
                         {T::TOK_GT, L">"},
                         {T::TOK_ENTITY, L"<!ENTITY "},
                         {T::TOK_NAME, L"c"},
                         {T::TOK_GT, L">"},
                         {T::TOK_NOTATION, L"<!NOTATION "},
                         {T::TOK_NAME, L"d"},
                         {T::TOK_GT, L">"},
                         {T::TOK_COMMENT_START, L"<!--"},
                         {T::TOK_DATA, L"x"},
                         {T::TOK_COMMENT_END, L"-->"},
                         {T::TOK_XML_PI_START, L"<?"},
                         {T::TOK_NAME, L"xml"},
                         {T::TOK_PI_END, L"?>"},
                         {T::TOK_PI_START, L"<?"},
                         {T::TOK_NAME, L"pi"},
                         {T::TOK_PI_END, L"?>"},
                         eof});
}

TEST_F(Scanner, AnUnknownDeclarationInTheDtdIsInvalidAndItsLessThanSkipped) {
  startText(L"<!FOO <!ATTLISTa x", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_INVALID, L"<"},
                         {T::TOK_INVALID, L"!"},
                         {T::TOK_NAME, L"FOO"},
                         {T::TOK_INVALID, L"<"},
                         {T::TOK_INVALID, L"!"},
                         {T::TOK_NAME, L"ATTLISTa"},
                         {T::TOK_NAME, L"x"},
                         eof});
}

TEST_F(Scanner, ReferencesInTheDtd) {
  host.resolveMode = 0x19;
  startText(L"&#65; &a; %z; % x", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_CHARREF, L"&#65;"},
                         {T::TOK_GEREF, L"&a;"},
                         {T::TOK_PEREF, L"%z;"},
                         {T::TOK_PERCENT, L"%"},
                         {T::TOK_NAME, L"x"},
                         eof});
}

TEST_F(Scanner, WhiteSpaceInTheDtdMovesTheTokenStartAlong) {
  startText(L"  \n  a", CMarlScanner::STATE_DTD);
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[0].text, L"a");
  EXPECT_EQ(tokens[0].line, 1u);
  EXPECT_EQ(tokens[0].column, 4u);
  EXPECT_EQ(tokens[0].offset, 5u);
}

TEST_F(Scanner, AConditionalSectionOpensAnotherDeclarationState) {
  CMarlScanner& s = startText(L"<![INCLUDE[", CMarlScanner::STATE_DTD);
  int const before = s.depth;
  ++s;
  EXPECT_EQ(s.token.id, T::TOK_COND_START);
  EXPECT_EQ(seen(s.token).text, L"<![");
  EXPECT_EQ(s.depth, before + 1);
  ++s;
  EXPECT_EQ(seen(s.token).text, L"INCLUDE");
  ++s;
  EXPECT_EQ(s.token.id, T::TOK_LBRACKET);
}

TEST_F(Scanner, AnIgnoredSectionIsDataUpToItsOwnEnd) {
  CMarlScanner& s = startText(L"<![IGNORE[a<![b]]>c]]>>", CMarlScanner::STATE_DTD);
  ++s;
  ++s;
  ++s;
  ASSERT_EQ(s.token.id, T::TOK_LBRACKET);
  s.pushState(CMarlScanner::STATE_IGNORE);
  expectTokens(drain(), {{T::TOK_DATA, L"a<![b]]>c"},
                         {T::TOK_SECT_END, L"]]>"},
                         {T::TOK_GT, L">"},
                         eof});
}

TEST_F(Scanner, AnIgnoredSectionStopsAtAnIllegalCharacterAndAtTheEnd) {
  CMarlScanner& s = startText(L"ab\x02<![", CMarlScanner::STATE_DTD);
  s.pushState(CMarlScanner::STATE_IGNORE);
  expectTokens(drain(), {{T::TOK_INVALID, L"ab\x02"}, eof});
}

// =======================================================================================
// Mode 1

TEST_F(Scanner, TheSgmlFormsOfTheDtdInModeOne) {
  startText(L"+(a) -(b) - o --a comment-- & ,", CMarlScanner::STATE_DTD);
  scanner->mode = 1;
  std::vector<Seen> tokens = drain();
  expectTokens(tokens, {{T::TOK_PLUS_PAREN, L"+("},
                        {T::TOK_NAME, L"a"},
                        {T::TOK_RPAREN, L")"},
                        {T::TOK_MINUS_PAREN, L"-("},
                        {T::TOK_NAME, L"b"},
                        {T::TOK_RPAREN, L")"},
                        {T::TOK_MINUS, L"-"},
                        {T::TOK_NAME, L"o"},
                        {T::TOK_AMP, L"&"},
                        {T::TOK_COMMA, L","},
                        eof});
  EXPECT_EQ(tokens[8].column, 28u);
}

TEST_F(Scanner, ADeclarationCommentThatNeverEndsEndsTheInput) {
  startText(L"-- open", CMarlScanner::STATE_DTD);
  scanner->mode = 1;
  expectTokens(drain(), {eof});
}

TEST_F(Scanner, InModeZeroTheSgmlFormsAreOrdinaryTokens) {
  startText(L"+( -( --x", CMarlScanner::STATE_DTD);
  expectTokens(drain(), {{T::TOK_PLUS, L"+"},
                         {T::TOK_LPAREN, L"("},
                         {T::TOK_NMTOKEN, L"-"},
                         {T::TOK_LPAREN, L"("},
                         {T::TOK_NMTOKEN, L"--x"},
                         eof});
}

TEST_F(Scanner, ABareAttributeValueInModeOneIsALiteral) {
  startText(L"<a b=12.5 c=x>");
  scanner->mode = 1;
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_NAME, L"b"},
                         {T::TOK_EQ, L"="},
                         {T::TOK_LITERAL, L"12.5"},
                         {T::TOK_NAME, L"c"},
                         {T::TOK_EQ, L"="},
                         {T::TOK_NAME, L"x"},
                         {T::TOK_GT, L">"},
                         eof});
}

TEST_F(Scanner, ABareAttributeValueInModeZeroIsInvalid) {
  startText(L"<a b=1>");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens[4].id, T::TOK_INVALID);
  EXPECT_EQ(tokens[4].text, L"1");
}

// =======================================================================================
// The buffer edge

TEST_F(Scanner, LongCharacterDataArrivesInSeveralTokens) {
  std::wstring const text(9000, L'a');
  startText(text);
  std::vector<Seen> tokens = drain();
  ASSERT_EQ(tokens.size(), 3u);
  EXPECT_EQ(tokens[0].id, T::TOK_CHARDATA);
  EXPECT_EQ(tokens[0].text.size(), 8192u);
  EXPECT_EQ(tokens[1].id, T::TOK_CHARDATA);
  EXPECT_EQ(tokens[1].offset, 8192u);
  EXPECT_EQ(joined(tokens, T::TOK_CHARDATA), text);
}

// The step that found the buffer full counted nothing, and the refill before the next token
// does not make up for it: the token behind the edge stands one column short.
TEST_F(Scanner, TheStepOntoAFullBufferCountsNoColumn) {
  startText(std::wstring(9000, L'a'));
  std::vector<Seen> tokens = drain();
  ASSERT_EQ(tokens.size(), 3u);
  EXPECT_EQ(tokens[1].line, 0u);
  EXPECT_EQ(tokens[1].column, 8191u);
}

TEST_F(Scanner, ALongNameArrivesAsANameAndAFollowingToken) {
  startText(L"<" + std::wstring(9000, L'n') + L"/>");
  std::vector<Seen> tokens = drain();
  expectTokens(tokens, {{T::TOK_LT, L"<"},
                        {T::TOK_NAME, std::wstring(8192, L'n')},
                        {T::TOK_NAME, std::wstring(808, L'n')},
                        {T::TOK_EMPTY_END, L"/>"},
                        eof});
  EXPECT_EQ(tokens[2].offset, 1u + 8192u);
}

TEST_F(Scanner, AMegabyteNameComesInPiecesOfTheBufferSize) {
  std::size_t const size = 1000000;
  startText(L"<" + std::wstring(size, L'n') + L">");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens.front().id, T::TOK_LT);
  EXPECT_EQ(joined(tokens, T::TOK_NAME).size(), size);
  for (Seen const& token : tokens) EXPECT_LE(token.text.size(), 8192u);
  EXPECT_EQ(count(tokens, T::TOK_NAME), (size + 8191) / 8192);
  EXPECT_EQ(tokens[tokens.size() - 2].id, T::TOK_GT);
}

TEST_F(Scanner, LongCommentCDataAndLiteralTextArriveInPiecesThatJoinUp) {
  std::wstring const body(20000, L'c');
  startText(L"<!--" + body + L"-->");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(joined(tokens, T::TOK_DATA), body);
  EXPECT_EQ(count(tokens, T::TOK_COMMENT_END), 1u);
  EXPECT_EQ(count(tokens, T::TOK_INVALID), 0u);

  startText(L"<![CDATA[" + body + L"]]>");
  tokens = drain();
  EXPECT_EQ(joined(tokens, T::TOK_DATA), body);
  EXPECT_EQ(count(tokens, T::TOK_SECT_END), 1u);

  startText(L"<a b='" + body + L"'/>");
  tokens = drain();
  EXPECT_EQ(joined(tokens, T::TOK_LITERAL), body);
  EXPECT_EQ(count(tokens, T::TOK_SQ_CLOSE), 1u);
}

TEST_F(Scanner, LongProcessingInstructionDataArrivesInPiecesThatJoinUp) {
  std::wstring const body(20000, L'd');
  startText(L"<?pi " + body + L"?>");
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(joined(tokens, T::TOK_DATA), L" " + body);
  EXPECT_EQ(count(tokens, T::TOK_INVALID), 0u);
  EXPECT_EQ(count(tokens, T::TOK_PI_END), 1u);
}

TEST_F(Scanner, LongWhiteSpaceInATagIsDroppedAsItGoes) {
  startText(L"<a" + std::wstring(20000, L' ') + L"b='1'/>");
  std::vector<Seen> tokens = drain();
  expectTokens(tokens, {{T::TOK_LT, L"<"},
                        {T::TOK_NAME, L"a"},
                        {T::TOK_NAME, L"b"},
                        {T::TOK_EQ, L"="},
                        {T::TOK_SQ_OPEN, L"'"},
                        {T::TOK_LITERAL, L"1"},
                        {T::TOK_SQ_CLOSE, L"'"},
                        {T::TOK_EMPTY_END, L"/>"},
                        eof});
  EXPECT_EQ(tokens[2].offset, 20002u);
}

TEST_F(Scanner, AMarkupTokenAcrossTheEdgeComesWhole) {
  for (std::size_t lead : {8188u, 8189u, 8190u, 8191u, 8192u}) {
    startText(std::wstring(lead, L'x') + L"<![CDATA[y]]><!--z--><?pi d?>");
    std::vector<Seen> tokens = drain();
    EXPECT_EQ(count(tokens, T::TOK_CDATA_START), 1u) << lead;
    EXPECT_EQ(count(tokens, T::TOK_COMMENT_START), 1u) << lead;
    EXPECT_EQ(count(tokens, T::TOK_PI_START), 1u) << lead;
    EXPECT_EQ(joined(tokens, T::TOK_CHARDATA), std::wstring(lead, L'x')) << lead;
  }
}

TEST_F(Scanner, TheBufferNeverGrowsBeyondItsMaximumAndTheBaseCountsWhatWasDropped) {
  std::wstring text;
  for (int i = 0; i < 3000; ++i) text += L"<e a='v'>text</e>\n";
  MarlGEntityExtParsed doc = external(text);
  start(doc);
  std::size_t tokens = 0;
  while (scanner->entity) {
    ++*scanner;
    ++tokens;
    EXPECT_LE(doc._impl()->end - doc._impl()->buffer.data(), 8192);
    if (tokens > 100000) break;
  }
  EXPECT_EQ(doc._impl()->buffer.capacity(), 8193u);
  EXPECT_GE(doc._impl()->base + 8192u, text.size());
  EXPECT_GT(doc._impl()->base, 0u);
}

TEST_F(Scanner, OffsetsCountFromTheStartOfTheEntityAcrossRefills) {
  std::wstring text;
  for (int i = 0; i < 2000; ++i) text += L"<e>" + std::to_wstring(i) + L"</e>";
  startText(text);
  std::vector<Seen> tokens = drain();
  for (Seen const& token : tokens) {
    if (token.id == T::TOK_EOF) continue;
    ASSERT_LE(token.offset + token.text.size(), text.size());
    EXPECT_EQ(text.compare(token.offset, token.text.size(), token.text), 0) << token.offset;
  }
}

// =======================================================================================
// The one-character trickle

TEST_F(Scanner, UntilTheEncodingIsKnownCharactersAreReadOneByOne) {
  CScriptedIStream* source = new CScriptedIStream(L"<?xml version='1.0'?><a>text</a>");
  MarlGEntityExtParsed doc(new CMarlGEntityExtParsed(L"d", L"", L""));
  doc.attachIStream(MarlIStream(static_cast<CMarlIStream*>(source)));
  start(doc);
  do {
    ++*scanner;
  } while (scanner->token.id != T::TOK_PI_END);
  for (int capacity : source->capacities) EXPECT_EQ(capacity, 1);
  EXPECT_LE(doc._impl()->end - doc._impl()->buffer.data(), 7);
  doc.setEncoding(encoding(L"utf-8"));
  std::vector<Seen> rest = drain();
  EXPECT_GT(source->capacities.back(), 1);
  EXPECT_EQ(joined(rest, T::TOK_CHARDATA), L"text");
}

TEST_F(Scanner, TheEncodingDeclaredInTheTextDecodesTheBytesBehindTheDeclaration) {
  MarlGEntityExtParsed doc = externalBytes(
      bytes("<?xml version='1.0' encoding='ISO-8859-1'?><a>caf\xE9</a>"), false);
  start(doc);
  do {
    ++*scanner;
  } while (scanner->token.id != T::TOK_PI_END && scanner->entity);
  doc.setEncoding(encoding(L"ISO-8859-1"));
  std::vector<Seen> rest = drain();
  EXPECT_EQ(joined(rest, T::TOK_CHARDATA), L"caf\u00E9");
}

TEST_F(Scanner, ReadingAheadInTheWrongEncodingWouldHaveDecodedTheTextWrongly) {
  MarlGEntityExtParsed doc = externalBytes(
      bytes("<?xml version='1.0' encoding='ISO-8859-1'?><a>caf\xE9</a>"), true);
  start(doc);
  std::vector<Seen> tokens = drain();
  EXPECT_NE(joined(tokens, T::TOK_CHARDATA), L"caf\u00E9");
}

// =======================================================================================
// Bad input

TEST_F(Scanner, AZeroCharacterEndsTheDocument) {
  startText(std::wstring(L"ab\0<c/>", 7));
  expectTokens(drain(), {{T::TOK_CHARDATA, L"ab"}, eof});
  EXPECT_FALSE(scanner->entity);
}

TEST_F(Scanner, AZeroByteEndsTheDocument) {
  start(externalBytes(rawstring(reinterpret_cast<unsigned char const*>("<a>b\0c</a>"), 10)));
  expectTokens(drain(), {{T::TOK_LT, L"<"},
                         {T::TOK_NAME, L"a"},
                         {T::TOK_GT, L">"},
                         {T::TOK_CHARDATA, L"b"},
                         eof});
}

TEST_F(Scanner, AZeroCharacterEndsAnInternalEntity) {
  document.getDocumentType().createIntEntityDecl(0, L"e", std::wstring(L"a\0b", 3));
  startText(L"&e;c");
  expectTokens(drainExpanding(), {{T::TOK_GEREF, L"&e;"},
                                  {T::TOK_CHARDATA, L"a"},
                                  {T::TOK_ENTITY_END, L"&e;"},
                                  {T::TOK_CHARDATA, L"c"},
                                  eof});
}

TEST_F(Scanner, AZeroCharacterInsideMarkupEndsTheInputThere) {
  wchar_t const* const prefixes[] = {L"<a b='x", L"<!--x", L"<![CDATA[x",
                                     L"<?pi x",  L"<a",    L"<?xml "};
  for (wchar_t const* prefix : prefixes) {
    startText(std::wstring(prefix) + std::wstring(1, L'\0') + L"y rest");
    std::vector<Seen> tokens = drain();
    EXPECT_EQ(tokens.back().id, T::TOK_EOF);
    for (Seen const& token : tokens) EXPECT_EQ(token.text.find(L"rest"), std::wstring::npos);
  }
}

TEST_F(Scanner, InvalidBytesRaiseTheStreamsConversionProblemAndNothingBreaks) {
  MarlGEntityExtParsed doc = externalBytes(bytes("<a>ok\xE9</a>"), false);
  doc.setEncoding(encoding(L"usascii"));
  start(doc);
  bool raised = false;
  for (int call = 0; call < 20 && scanner->entity; ++call) {
    try {
      ++*scanner;
    } catch (XPT_IO::XPT_ConvProblem const& problem) {
      raised = true;
      EXPECT_EQ(problem.code, 0x50004);
    }
  }
  EXPECT_TRUE(raised);
}

TEST_F(Scanner, AnOddByteInUtf16RaisesTheConversionProblemWhenTheEntityIsOpened) {
  rawstring const odd(reinterpret_cast<unsigned char const*>("\xFF\xFE<\0a\0>\0b"), 9);
  try {
    createDocumentEntity(factory.createIStreamRawString(odd));
    ADD_FAILURE() << "no conversion problem";
  } catch (XPT_IO::XPT_ConvProblem const& problem) {
    EXPECT_EQ(problem.reason, L"source exhaused and EOF!");
  }
}

TEST_F(Scanner, AStreamThatFailsLaterRaisesWhileScanning) {
  MarlGEntityExtParsed doc = externalBytes(bytes("<a>ok</a>\xFF"), false);
  doc.setEncoding(encoding(L"usascii"));
  start(doc);
  EXPECT_THROW(drain(), XPT_IO::XPT_ConvProblem);
}

TEST_F(Scanner, AStreamWithNothingAtTheMomentEndsTheEntity) {
  CScriptedIStream* source = new CScriptedIStream(L"ab<c/>", 2);
  MarlGEntityExtParsed doc(new CMarlGEntityExtParsed(L"d", L"", L""));
  doc.attachIStream(MarlIStream(static_cast<CMarlIStream*>(source)));
  doc.setEncoding(encoding(L"utf-8"));
  start(doc);
  expectTokens(drain(), {{T::TOK_CHARDATA, L"ab"}, eof});
}

TEST_F(Scanner, WideCharactersBeyondSixteenBitsDoNotBreakTheScanner) {
  std::wstring text = L"<a b='";
  text += static_cast<wchar_t>(0x1003C);
  text += L"'>";
  text += static_cast<wchar_t>(0x10026);
  text += L"</a>";
  startText(text);
  std::vector<Seen> tokens = drain();
  EXPECT_EQ(tokens.back().id, T::TOK_EOF);
}

TEST_F(Scanner, EveryPrefixOfADocumentComesToAnEnd) {
  std::wstring const full =
      L"<?xml version='1.0'?><!DOCTYPE d [<!ENTITY e 'v'><!ATTLIST d a CDATA #IMPLIED>"
      L"<!--c-->]><d a='1' b=\"&amp;\"><!--c--><![CDATA[x]]><?p d?>t&#65;&e;<e/></d>";
  for (std::size_t length = 0; length <= full.size(); ++length) {
    startText(full.substr(0, length));
    std::vector<Seen> tokens = drain(1000);
    ASSERT_FALSE(tokens.empty());
    EXPECT_EQ(tokens.back().id, T::TOK_EOF) << length;
  }
}

TEST_F(Scanner, UnterminatedConstructsEndWithTheEndToken) {
  wchar_t const* const inputs[] = {L"<a",    L"<a b=",        L"<a b='x",    L"<!--x",
                                   L"<!--",  L"<![CDATA[x",   L"<?pi x",     L"<?",
                                   L"</a",   L"<!DOCTYPE a [", L"&#6",        L"&am",
                                   L"<?xml", L"<?xml v='1'",  L"<!DOCTYPE a '"};
  for (wchar_t const* input : inputs) {
    startText(input);
    std::vector<Seen> tokens = drain(100);
    ASSERT_FALSE(tokens.empty());
    EXPECT_EQ(tokens.back().id, T::TOK_EOF) << std::string(input, input + wcslen(input));
  }
}

// Random text over the characters that matter to the scanner, from every state, in every
// mode, under every literal flag: each run must come to its end.
TEST_F(Scanner, ArbitraryInputAlwaysComesToAnEnd) {
  wchar_t const* const pieces[] = {
      L"<",       L">",     L"/",       L"?",         L"!",       L"=",     L"'",      L"\"",
      L"&",       L"#",     L";",       L"%",         L"[",       L"]",     L"-",      L"x",
      L":",       L"a",     L" ",       L"\n",        L"\x01",    L"\xD800", L"\xFFFE", L"\xFFFF",
      L"DOCTYPE", L"CDATA", L"ELEMENT", L"ATTLIST",   L"ENTITY",  L"xml",   L"--",     L"]]>",
      L"<!",      L"<?",    L"</",      L"<![CDATA[", L"&#x41;",  L"&a;",   L"%p;",    L"+(",
      L"9",       L"(",     L"|",       L"\0"};
  CMarlScanner::StateId const states[] = {
      CMarlScanner::STATE_DATA,       CMarlScanner::STATE_CDATA,      CMarlScanner::STATE_COMMENT,
      CMarlScanner::STATE_DTD,        CMarlScanner::STATE_IGNORE,     CMarlScanner::STATE_ELEMENT,
      CMarlScanner::STATE_LITERAL_DQ, CMarlScanner::STATE_LITERAL_SQ, CMarlScanner::STATE_PI,
      CMarlScanner::STATE_XMLDECL};
  std::uint32_t const flags[] = {0, 0x05, 0x0B, 0x0F};
  host.resolveMode = 0x19;
  std::mt19937 random(20240611u);
  for (int run = 0; run < 400; ++run) {
    std::wstring text;
    std::size_t const length = random() % 300;
    for (std::size_t i = 0; i < length; ++i) {
      wchar_t const* piece = pieces[random() % (sizeof pieces / sizeof *pieces)];
      text += piece[0] == 0 ? std::wstring(1, L'\0') : std::wstring(piece);
    }
    CMarlScanner::StateId const state = states[run % 10];
    startText(text, state, flags[(run / 10) % 4]);
    scanner->mode = (run / 40) % 3;
    scanner->nameSpaces = static_cast<std::uint8_t>(run % 2);
    std::vector<Seen> tokens = drain(10000);
    ASSERT_FALSE(tokens.empty());
    ASSERT_EQ(tokens.back().id, T::TOK_EOF) << "run " << run;
  }
}
