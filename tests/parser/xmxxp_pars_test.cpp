#include "parser/xmxxp_pars.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "dtd/xmxxu_strp.h"
#include "kernel/xmxxu_xcpt.h"
#include "parser/parse_fixture.h"
#include "streams/xmxxu_strm.h"

using namespace parsetest;

namespace {

// A wide string stream whose read fails, with an exception of the test's choice, from the
// given call on; the calls before it deliver the text as the plain stream does.
class CFailingIStream : public CMarlIStreamString {
 public:
  enum Failure { outOfMemory, unknownFailure, inputFailure };

  CFailingIStream(std::wstring const& text, int failingRead, Failure kind)
      : CMarlIStreamString(text), failAt(failingRead), failure(kind) {}

  int read(wchar_t* target, int capacity) override {
    if (++reads >= failAt) {
      switch (failure) {
        case outOfMemory:
          throw std::bad_alloc();
        case unknownFailure:
          throw std::runtime_error("boom");
        case inputFailure:
          throw XPT_IO::XPT_Any(0x50009, L"device gone", L"test", 1);
      }
    }
    return CMarlIStreamString::read(target, capacity);
  }

 private:
  int failAt;
  Failure failure;
  int reads = 0;
};

class Parser : public ParseTest {
 protected:
  void TearDown() override {
    MarlTrace__setLevel(0, 0);
    ParseTest::TearDown();
  }

  CMarlParser& impl() { return *parser._impl(); }

  MarlParser& overFailing(std::wstring const& text, int failingRead,
                          CFailingIStream::Failure failure) {
    stream = MarlIStream(new CFailingIStream(text, failingRead, failure));
    parser = marl.createParser(factory, stream, document);
    EXPECT_TRUE(parser);
    return parser;
  }
};

// ---------------------------------------------------------------------------------------
// Making a parser

TEST_F(Parser, CreateParserGivesAParserThatAnswersItsInterface) {
  MarlParser& made = over(L"<a/>");
  EXPECT_EQ(made._impl()->_queryClass(), 320u);
  EXPECT_TRUE(MarlParser(static_cast<CUnknown*>(made)));
  EXPECT_FALSE(MarlParseError(static_cast<CUnknown*>(made)));
}

TEST_F(Parser, CreateParserWithAnEmptyStreamOrDocumentGivesAnEmptyHandle) {
  MarlIStream text = factory.createIStreamString(L"<a/>");
  EXPECT_FALSE(marl.createParser(factory, MarlIStream(), document));
  EXPECT_FALSE(marl.createParser(factory, text, MarlDocument()));
}

TEST_F(Parser, TheConstructorNamesTheStreamBeforeTheDocument) {
  try {
    CMarlParser unused(factory, MarlIStream(), MarlDocument());
    FAIL() << "no exception";
  } catch (std::invalid_argument const& failure) {
    EXPECT_STREQ(failure.what(), "iStream");
  }
  try {
    CMarlParser unused(factory, factory.createIStreamString(L"<a/>"), MarlDocument());
    FAIL() << "no exception";
  } catch (std::invalid_argument const& failure) {
    EXPECT_STREQ(failure.what(), "document");
  }
}

TEST_F(Parser, AnEmptyFactoryMeansTheLibrarysOwn) {
  stream = factory.createIStreamString(L"<a/>");
  parser = marl.createParser(MarlStreamFactory(), stream, document);
  ASSERT_TRUE(parser);
  EXPECT_TRUE(impl().streamFactory);
  EXPECT_EQ(parser.parse(), 0u);
}

TEST_F(Parser, AFirstCharacterThatCannotBeDecodedLeavesNoParser) {
  stream = factory.createIStreamRawString(rawstring{0xFF, '<', 'a', '/', '>'});
  EXPECT_FALSE(marl.createParser(factory, stream, document));
}

TEST_F(Parser, CreateParserGivesAnEmptyHandleAtEveryFailingAllocation) {
  stream = factory.createIStreamString(L"<a/>");
  bool made = false;
  for (long failing = 0; !made && failing < 200; ++failing) {
    long const blocks = testhost::outstandingBlocks();
    {
      testhost::AllocationFailure failure(failing);
      parser = marl.createParser(factory, stream, document);
    }
    made = parser;
    parser = MarlParser();
    if (!made) {
      EXPECT_EQ(testhost::outstandingBlocks(), blocks) << "after failure " << failing;
    }
  }
  EXPECT_TRUE(made);
}

TEST_F(Parser, ThePartsStartAsDocumented) {
  CMarlParser& made = *over(L"<a/>")._impl();
  EXPECT_EQ(made.expansionCount, 0u);
  EXPECT_EQ(made.document._impl(), document._impl());
  EXPECT_EQ(made.documentType._impl(), document.getDocumentType()._impl());
  EXPECT_EQ(made.iStream, stream._impl());
  ASSERT_NE(made.scanner, nullptr);
  EXPECT_EQ(made.scanner->parser, static_cast<CMarlScannerHost*>(&made));
  EXPECT_EQ(made.scanner->entity.getName(), L"\"<<document>>\"");
  EXPECT_EQ(made.scanner->depth, 2);
  EXPECT_EQ(made.agents.size(), 1u);
  EXPECT_TRUE(made.parents.empty());
  EXPECT_TRUE(made.errors.empty());
  EXPECT_EQ(made.validator, nullptr);
  EXPECT_EQ(made.whitespaceStripping, nullptr);
  EXPECT_TRUE(made.idAttributes.empty());
  EXPECT_EQ(made.idAttributes.bucketCount(), primeBucketCount(9));
  EXPECT_EQ(made.documentEntityString, L"\"<<document>>\"");
  EXPECT_EQ(made.externalEntityString, L"\"<<externalentity>>\"");
  EXPECT_EQ(made.xmlNamespaceURI, L"http://www.w3.org/XML/1998/namespace");
  EXPECT_EQ(made.nullScheme, L"null://");
  EXPECT_EQ(made.pcdataString, L"#PCDATA");
}

// ---------------------------------------------------------------------------------------
// Options

TEST_F(Parser, OptionsHaveTheirDefaults) {
  over(L"<a/>");
  EXPECT_EQ(parser.isDOMGenerating(), 1);
  EXPECT_EQ(parser.isNormalizing(), 1);
  EXPECT_EQ(parser.getNamespaceMode(), MarlParser::NS_PREFIXES);
  EXPECT_EQ(parser.isSupplyAttrDefaults(), 0);
  EXPECT_EQ(parser.isXMLSpaceAware(), 0);
  EXPECT_EQ(parser.isEtagLineNumberSupport(), 0);
  EXPECT_EQ(parser.getEventSubscription(), 0u);
  EXPECT_EQ(impl().resolveMode, 0x15u);
  EXPECT_EQ(impl().mode, 0u);
  EXPECT_EQ(impl().validating, 0);
  EXPECT_EQ(impl().scanner->nameSpaces, 1);
}

TEST_F(Parser, NamespaceModesSetTheirSwitches) {
  over(L"<a/>");
  struct Row {
    MarlParser::NamespaceMode mode;
    unsigned int namespaceMode;
    unsigned int checkPrefixes;
    unsigned int nameSpaces;
  };
  for (Row const& row : {Row{MarlParser::NS_NONE, 0, 0, 0}, Row{MarlParser::NS_PREFIXES, 1, 0, 1},
                         Row{MarlParser::NS_CONTEXTS, 2, 0, 1},
                         Row{MarlParser::NS_CONTEXTS_CHECKED, 2, 1, 1}}) {
    parser.setNamespaceMode(row.mode);
    EXPECT_EQ(impl().namespaceMode, row.namespaceMode) << row.mode;
    EXPECT_EQ(impl().checkPrefixes, row.checkPrefixes) << row.mode;
    EXPECT_EQ(impl().scanner->nameSpaces, row.nameSpaces) << row.mode;
  }
}

TEST_F(Parser, NamespaceModeThreeReadsBackAsTwo) {
  over(L"<a/>").setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  EXPECT_EQ(parser.getNamespaceMode(), MarlParser::NS_CONTEXTS);
}

TEST_F(Parser, AnUnknownNamespaceModeChangesNothing) {
  over(L"<a/>").setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  parser.setNamespaceMode(static_cast<MarlParser::NamespaceMode>(4));
  EXPECT_EQ(impl().namespaceMode, 2u);
  EXPECT_EQ(impl().checkPrefixes, 1);
}

TEST_F(Parser, ModeAboveTwoIsRefusedAndChangesNothing) {
  over(L"<a/>");
  EXPECT_EQ(parser.setMode(1), 1);
  EXPECT_EQ(parser.setMode(3), 0);
  EXPECT_EQ(impl().mode, 1u);
  EXPECT_EQ(impl().scanner->mode, 1);
  EXPECT_EQ(parser.setMode(2), 1);
  EXPECT_EQ(impl().scanner->mode, 2);
}

TEST_F(Parser, ResolveModeKeepsTheFirstBitOfEachGroup) {
  over(L"<a/>");
  struct Row {
    unsigned int given;
    unsigned int kept;
  };
  for (Row const& row : {Row{0x00, 0x15}, Row{0x03, 0x15}, Row{0x02, 0x16}, Row{0x0C, 0x15},
                         Row{0x08, 0x19}, Row{0xF0, 0x15}, Row{0xE0, 0x25}, Row{0xC0, 0x45},
                         Row{0x80, 0x85}, Row{0xFF, 0x15}, Row{0x2A, 0x2A}, Row{0x100, 0x15}}) {
    EXPECT_EQ(parser.setResolveMode(row.given), 1);
    EXPECT_EQ(impl().resolveMode, row.kept) << std::hex << row.given;
  }
}

TEST_F(Parser, NormalizingReachesTheScannerAndAnswersOne) {
  over(L"<a/>");
  EXPECT_EQ(parser.setNormalizing(0), 1);
  EXPECT_EQ(parser.isNormalizing(), 0);
  EXPECT_EQ(impl().scanner->normalizing, 0);
}

TEST_F(Parser, PlainOptionsReadBackWhatWasSet) {
  over(L"<a/>");
  parser.setDOMGenerating(0);
  parser.setSupplyAttrDefaults(1);
  parser.setEtagLineNumberSupport(1);
  parser.setStreamMode(3);
  EXPECT_EQ(parser.isDOMGenerating(), 0);
  EXPECT_EQ(parser.isSupplyAttrDefaults(), 1);
  EXPECT_EQ(parser.isEtagLineNumberSupport(), 1);
  EXPECT_EQ(impl().streamMode, 3);
}

TEST_F(Parser, XmlSpaceAwarenessMakesTheWhiteSpaceTableAtTheFirstTrueArgument) {
  over(L"<a/>");
  parser.setXMLSpaceAware(0);
  EXPECT_EQ(impl().whitespaceStripping, nullptr);
  parser.setXMLSpaceAware(1);
  EXPECT_EQ(parser.isXMLSpaceAware(), 1);
  EXPECT_NE(impl().whitespaceStripping, nullptr);
  EXPECT_EQ(impl().spaceRules, 0);
}

TEST_F(Parser, SpaceRulesAreInsertedOnceEach) {
  over(L"<a/>");
  EXPECT_EQ(parser.addPreserveSpaceElement(L"pre", L""), 1);
  EXPECT_EQ(impl().spaceRules, 1);
  EXPECT_EQ(parser.addStripSpaceElement(L"pre", L""), 0);
  EXPECT_EQ(parser.addStripSpaceElement(L"*", L"*"), 1);
  EXPECT_EQ(parser.addStripSpaceElement(L"*", L"*"), 1);
}

TEST_F(Parser, SpaceRulesAnswerZeroWhenTheTableCannotBeMade) {
  over(L"<a/>");
  {
    testhost::AllocationFailure failure;
    EXPECT_EQ(parser.addPreserveSpaceElement(L"pre", L""), 0);
  }
  EXPECT_EQ(impl().whitespaceStripping, nullptr);
}

TEST_F(Parser, RegisterEntityHasNoEffect) {
  over(L"<a/>");
  MarlIStream other = factory.createIStreamString(L"text");
  EXPECT_EQ(parser.registerEntity(L"-//pub", L"sys", other), 0u);
  EXPECT_FALSE(impl().findRegisteredEntity(L"sys", L"-//pub"));
  EXPECT_EQ(parser.parse(), 0u);
}

TEST_F(Parser, ARestrictedStreamRefusesExternalEntitiesAsUnretrievable) {
  document.getDocumentType().createExtEntityDecl(0, L"ext", L"part.xml", L"", L"");
  stream = factory.createIStreamString(L"<a>&ext;</a>");
  stream.setDtdRestriction(1);
  parser = marl.createParser(factory, stream, document);
  ASSERT_TRUE(parser);
  EXPECT_EQ(parser.parse(), 0x30004u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 3013u);
  EXPECT_EQ(found.reason, L"unable to retrieve external entity 'part.xml'");
}

TEST_F(Parser, AMissingExternalEntityIsAWarningUnderResolveModeEight) {
  document.getDocumentType().createExtEntityDecl(0, L"ext", L"/nonexistent/marl/part.xml", L"",
                                                 L"");
  over(L"<a>&ext;</a>").setResolveMode(0x09);
  EXPECT_EQ(parser.parse(), 0u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 3013u);
  EXPECT_EQ(found.severity, 2u);
}

TEST_F(Parser, AnExternalEntityIsReadFromTheFactoryStream) {
  char path[] = "/tmp/marl_parser_entity_XXXXXX";
  int const descriptor = mkstemp(path);
  ASSERT_GE(descriptor, 0);
  std::string const content = "in <b>file</b>";
  ASSERT_EQ(write(descriptor, content.data(), content.size()),
            static_cast<ssize_t>(content.size()));
  close(descriptor);
  std::wstring const systemId(path, path + sizeof path - 1);
  document.getDocumentType().createExtEntityDecl(0, L"ext", systemId, L"", L"");
  EXPECT_EQ(parse(L"<a>&ext;</a>"), 0u);
  unlink(path);
  EXPECT_TRUE(findings().empty());
  EXPECT_EQ(describe(root()), L"4 a {}\n  16 #text {} [in]\n  4 b {}\n    16 #text {} [file]\n");
}

TEST_F(Parser, AReferenceToAnUnparsedEntityIsAnError) {
  document.getDocumentType().createExtEntityDecl(0, L"pic", L"pic.gif", L"", L"gif");
  EXPECT_EQ(parse(L"<a>&pic;</a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3015, 3, L"'pic' references unparsed entity", 0, 3}));
}

// ---------------------------------------------------------------------------------------
// The expansion limit of a restricted stream

class Expansion : public Parser {
 protected:
  // "<a>&e;</a>" over a restricted stream whose limit is the number of characters read: the
  // name counts 1, the entity's text its length and the entity's end 1.
  unsigned int parseWithEntityOf(std::size_t length) {
    document.getDocumentType().createIntEntityDecl(0, L"e", std::wstring(length, L'x'));
    stream = factory.createIStreamString(L"<a>&e;</a>");
    stream.setDtdRestriction(1);
    stream.setMaxExpansion(1);
    parser = marl.createParser(factory, stream, document);
    return parser.parse();
  }
};

TEST_F(Expansion, ReachingTheLimitExactlyPasses) {
  EXPECT_EQ(parseWithEntityOf(8), 0u);
  EXPECT_EQ(impl().expansionCount, 10u);
}

TEST_F(Expansion, OneCharacterBeyondTheLimitFails) {
  EXPECT_EQ(parseWithEntityOf(9), 0x30004u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4003u);
  EXPECT_EQ(found.severity, 3u);
  EXPECT_EQ(found.reason, L"XML expansion exceeds Marl configuration");
}

TEST_F(Expansion, AnEntityBombEndsOnARestrictedStream) {
  MarlDocumentType type = document.getDocumentType();
  type.createIntEntityDecl(0, L"e0", L"0123456789");
  for (int level = 1; level <= 5; ++level) {
    std::wstring const below = L"&e" + std::to_wstring(level - 1) + L";";
    std::wstring text;
    for (int copy = 0; copy < 10; ++copy) text += below;
    type.createIntEntityDecl(0, L"e" + std::to_wstring(level), text);
  }
  stream = factory.createIStreamString(L"<a>&e5;</a>");
  stream.setDtdRestriction(1);
  parser = marl.createParser(factory, stream, document);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 4003u);
}

TEST_F(Expansion, AnUnrestrictedStreamCountsNothing) {
  document.getDocumentType().createIntEntityDecl(0, L"e", std::wstring(1000, L'x'));
  stream = factory.createIStreamString(L"<a>&e;</a>");
  stream.setMaxExpansion(1);
  parser = marl.createParser(factory, stream, document);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(impl().expansionCount, 0u);
}

// ---------------------------------------------------------------------------------------
// The run and its results

TEST_F(Parser, AWellFormedDocumentGivesZeroAndNoFindings) {
  EXPECT_EQ(parse(L"<a><b/></a>"), 0u);
  EXPECT_EQ(parser.numErrors(), 0u);
  EXPECT_EQ(root().getName(), L"a");
  EXPECT_TRUE(impl().agents.empty());
  EXPECT_TRUE(impl().parents.empty());
  EXPECT_FALSE(impl().scanner->entity);
}

TEST_F(Parser, ASecondParseOnAFinishedParserIsAnInvalidParser) {
  EXPECT_EQ(parse(L"<a/>"), 0u);
  EXPECT_EQ(parser.parse(), 0x30001u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4001u);
  EXPECT_EQ(found.severity, 4u);
  EXPECT_EQ(found.reason, L"invalid parser");
}

TEST_F(Parser, AnErrorGivesThirtyThousandFourAndKeepsWhatWasBuilt) {
  EXPECT_EQ(parse(L"<a><b/><c></a>"), 0x30004u);
  EXPECT_EQ(describe(document), L"1 #document {} []\n  4 a {}\n    4 b {}\n    4 c {}\n");
  EXPECT_FALSE(impl().agents.empty());
}

TEST_F(Parser, AFatalErrorGivesThirtyThousandFive) {
  EXPECT_EQ(parse(L"]]><a/>"), 0x30005u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4000u);
  EXPECT_EQ(found.reason, L"failed to scan input");
}

TEST_F(Parser, AFurtherParseAfterAFailedRunResumesWithoutHarm) {
  EXPECT_EQ(parse(L"<a><b x=></b></a>"), 0x30004u);
  unsigned int const again = parser.parse();
  EXPECT_NE(again, 0x30001u);
  EXPECT_GE(parser.numErrors(), 2u);
}

TEST_F(Parser, ADecodingFailureGivesTheStreamsCodeAndAnInputError) {
  EXPECT_EQ(parseBytes("<?xml version='1.0' encoding='usascii'?><a>ok \xE9</a>"), 0x50004u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4002u);
  EXPECT_EQ(found.severity, 4u);
  EXPECT_EQ(found.reason.rfind(L"I/O error: A codepage conversion problem has occured", 0), 0u)
      << std::string(found.reason.begin(), found.reason.end());
}

TEST_F(Parser, AnInputFailureOfTheStreamGivesItsCode) {
  EXPECT_EQ(overFailing(L"<a>text</a>", 4, CFailingIStream::inputFailure).parse(), 0x50009u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4002u);
  EXPECT_EQ(found.reason, L"I/O error: device gone");
}

TEST_F(Parser, WantOfMemoryGivesThirtyThousandOneAndItsFinding) {
  EXPECT_EQ(overFailing(L"<a>text</a>", 4, CFailingIStream::outOfMemory).parse(), 0x30001u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4001u);
  EXPECT_EQ(found.severity, 4u);
  EXPECT_EQ(found.reason, L"internal error, memory allocation failed");
}

TEST_F(Parser, AnyOtherFailureIsAnUnspecifiedInternalError) {
  EXPECT_EQ(overFailing(L"<a>text</a>", 4, CFailingIStream::unknownFailure).parse(), 0x30001u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4001u);
  EXPECT_EQ(found.reason, L"unspecified internal error");
}

TEST_F(Parser, TheSubscriptionReadsTheSameAfterTheRunAndNothingWasDelivered) {
  over(L"<a x='1'><b/>t</a>").setEventSubscription(0xFFFFFFFF);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(parser.getEventSubscription(), 0xFFFFFFFFu);
  EXPECT_EQ(parser.hasEventSubscription(0x40), 1);
  EXPECT_EQ(root().numChildren(), 2u);
}

TEST_F(Parser, HasEventSubscriptionTestsAnyBit) {
  over(L"<a/>").setEventSubscription(0x10);
  EXPECT_EQ(parser.hasEventSubscription(0x30), 1);
  EXPECT_EQ(parser.hasEventSubscription(0x20), 0);
}

TEST_F(Parser, TheSubscriptionComesBackAfterAnErrorAndAnUnknownFailure) {
  over(L"<a>").setEventSubscription(0x40);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(parser.getEventSubscription(), 0x40u);
  overFailing(L"<a>text</a>", 4, CFailingIStream::unknownFailure).setEventSubscription(0x40);
  EXPECT_EQ(parser.parse(), 0x30001u);
  EXPECT_EQ(parser.getEventSubscription(), 0x40u);
}

// The handler for want of memory alone does not put the subscription back.
TEST_F(Parser, TheSubscriptionStaysOffAfterWantOfMemory) {
  overFailing(L"<a>text</a>", 4, CFailingIStream::outOfMemory).setEventSubscription(0x40);
  EXPECT_EQ(parser.parse(), 0x30001u);
  EXPECT_EQ(parser.getEventSubscription(), 0u);
}

TEST_F(Parser, TheHandlersWriteTheirTraceLinesAtTheErrorLevel) {
  MarlTrace__setLevel(2, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(parse(L"<a>"), 0x30004u);
  std::string written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("marl xpt caught: any A parse error has occured. (code=0x30004)"),
            std::string::npos)
      << written;

  testing::internal::CaptureStderr();
  EXPECT_EQ(overFailing(L"<a>text</a>", 4, CFailingIStream::outOfMemory).parse(), 0x30001u);
  written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("marl xpt caught: bad_alloc"), std::string::npos) << written;

  testing::internal::CaptureStderr();
  EXPECT_EQ(overFailing(L"<a>text</a>", 4, CFailingIStream::inputFailure).parse(), 0x50009u);
  written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("marl xpt caught: i/o err device gone"), std::string::npos) << written;

  testing::internal::CaptureStderr();
  EXPECT_EQ(overFailing(L"<a>text</a>", 4, CFailingIStream::unknownFailure).parse(), 0x30001u);
  written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("marl xpt caught: unspecified internal error"), std::string::npos)
      << written;
  EXPECT_NE(written.find("(xmxxp_pars:"), std::string::npos) << written;
}

TEST_F(Parser, NoHandlerTraceAtTheFatalLevel) {
  MarlTrace__setLevel(1, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(parse(L"<a>"), 0x30004u);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Parser, ParsingIntoADocumentWithContentAppendsToIt) {
  MarlComment note = document.createComment(L"before");
  document.appendChild(note);
  EXPECT_EQ(parse(L"<a/>"), 0u);
  EXPECT_EQ(document.numChildren(), 2u);
  EXPECT_EQ(document.getFirstChild().getType(), MarlNode::nodeComment);
}

TEST_F(Parser, TheDocumentOutlivesTheParserAndTheParserTheCallersDocumentHandle) {
  MarlDocument target = marl.createDocument();
  stream = factory.createIStreamString(L"<a/>");
  parser = marl.createParser(factory, stream, target);
  target = MarlDocument();
  EXPECT_EQ(parser.parse(), 0u);
  MarlDocument kept = parser._impl()->document;
  parser = MarlParser();
  EXPECT_EQ(kept.getRootElement().getName(), L"a");
}

TEST_F(Parser, AParserLeftInTheMiddleOfARunLetsGoOfEverything) {
  EXPECT_EQ(parse(L"<a><b><c>text &amp; more<!-- open"), 0x30004u);
  EXPECT_FALSE(impl().agents.empty());
  parser = MarlParser();
}

// ---------------------------------------------------------------------------------------
// Bad input of every kind ends with its finding, never with a crash, a hang or a leak.

TEST_F(Parser, TenThousandNestedElementsAreRead) {
  std::wstring text;
  for (int level = 0; level < 10000; ++level) text += L"<e>";
  for (int level = 0; level < 10000; ++level) text += L"</e>";
  EXPECT_EQ(parse(text), 0u);
  MarlNode deepest = root();
  unsigned int depth = 1;
  while (deepest.getFirstChild()) {
    deepest = deepest.getFirstChild();
    ++depth;
  }
  EXPECT_EQ(depth, 10000u);
}

TEST_F(Parser, TenThousandUnclosedElementsEndWithTheContentError) {
  std::wstring text;
  for (int level = 0; level < 10000; ++level) text += L"<e>";
  EXPECT_EQ(parse(text), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3007u);
}

TEST_F(Parser, AOneMegabyteNameIsASyntaxError) {
  std::wstring const name(1 << 20, L'n');
  EXPECT_EQ(parse(L"<" + name + L"/>"), 0x30004u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 3000u);
  EXPECT_EQ(found.reason.rfind(L"unexpected symbol: 'nnn", 0), 0u);
}

TEST_F(Parser, OneMegabyteOfTextValueAndCommentArrivesWhole) {
  std::wstring const bulk(1 << 20, L'v');
  EXPECT_EQ(parse(L"<a x='" + bulk + L"'>" + bulk + L"<!--" + bulk + L"--><![CDATA[" + bulk +
                  L"]]><?pi " + bulk + L"?></a>"),
            0u);
  EXPECT_EQ(root().getAttribute(L"x", L""), bulk);
  MarlNode child = root().getFirstChild();
  for (int kind = 0; kind < 4; ++kind, child = child.getNext()) {
    ASSERT_TRUE(child);
    std::wstring const& value = child.getValue();
    EXPECT_EQ(value.size(), bulk.size() + (kind == 3 ? 1 : 0)) << kind;
  }
}

TEST_F(Parser, NulBytesEndTheInputWhereTheyStand) {
  EXPECT_EQ(parseBytes(std::string("<a>x\0y</a>", 10)), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3007u);
}

// UTF-16 input refuses characters beyond the basic plane.
TEST_F(Parser, ASurrogatePairInUtf16EndsWithAnInputError) {
  EXPECT_EQ(parseBytes(std::string("\xFF\xFE<\0a\0>\0\x3D\xD8\x00\xDE<\0/\0a\0>\0", 20)),
            0x50004u);
  EXPECT_EQ(onlyFinding().number, 4002u);
}

TEST_F(Parser, AnOddByteAtTheEndOfLongUtf16InputEndsWithAnInputError) {
  std::string bytes("\xFF\xFE<\0a\0>\0", 8);
  while (bytes.size() < 9000) bytes += std::string("t\0", 2);
  bytes += std::string("<\0/\0a\0>\0x", 9);
  EXPECT_EQ(parseBytes(bytes), 0x50004u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4002u);
  EXPECT_EQ(found.reason, L"I/O error: source exhaused and EOF!");
}

// Every conversion of short input with an odd byte fails, the first character's too, and the
// parser cannot be made.
TEST_F(Parser, ShortUtf16InputWithAnOddByteLeavesNoParser) {
  stream =
      factory.createIStreamRawString(rawstring{0xFF, 0xFE, '<', 0, 'a', 0, '/', 0, '>', 0, 'x'});
  EXPECT_FALSE(marl.createParser(factory, stream, document));
}

TEST_F(Parser, EveryPrefixOfADocumentEndsWithAResult) {
  std::wstring const text =
      L"<?xml version='1.0' encoding='utf-8' standalone='yes'?>\n<!-- c --><?pi d?>"
      L"<p:a xmlns:p='u' x=\"1&amp;&#65;\">t&lt;<b/><![CDATA[c]]>&#x42;</p:a>\n<!-- e -->";
  std::size_t const rootEnd = text.find(L"</p:a>") + 6;
  for (std::size_t length = 0; length <= text.size(); ++length) {
    document = marl.createDocument();
    unsigned int const result = parse(text.substr(0, length));
    bool const complete = length == rootEnd || length == rootEnd + 1 || length == text.size();
    if (complete)
      EXPECT_EQ(result, 0u) << length;
    else
      EXPECT_TRUE(result == 0x30004u || result == 0x30005u) << length << " gives " << std::hex
                                                            << result;
  }
}

TEST_F(Parser, RandomInputNeverCrashesHangsOrLeaks) {
  static wchar_t const* const pieces[] = {
      L"<", L">", L"/", L"a", L"b:c", L"=", L"'", L"\"", L"&", L"&amp;", L"&#", L"x41", L";",
      L"<!--", L"-->", L"<![CDATA[", L"]]>", L"<?", L"?>", L"<?xml", L" ", L"\n", L"\r", L"\t",
      L"xmlns", L"xmlns:p", L"--", L"<!DOCTYPE ", L"\x00E9", L"\xD800", L"\xFFFE", L"0",
      L"version='1.0'", L"&e;", L"</"};
  document.getDocumentType().createIntEntityDecl(0, L"e", L"<q>&amp;</q>");
  std::mt19937 random(20240611);
  for (int round = 0; round < 3000; ++round) {
    std::wstring text;
    std::size_t const count = random() % 40;
    for (std::size_t index = 0; index < count; ++index)
      text += pieces[random() % (sizeof pieces / sizeof pieces[0])];
    MarlDocument target = marl.createDocument();
    target.getDocumentType().createIntEntityDecl(0, L"e", L"<q>&amp;</q>");
    stream = factory.createIStreamString(text);
    parser = marl.createParser(factory, stream, target);
    ASSERT_TRUE(parser);
    parser.setResolveMode(round % 2 ? 0x21 : 0x15);
    parser.setNamespaceMode(static_cast<MarlParser::NamespaceMode>(round % 4));
    unsigned int const result = parser.parse();
    EXPECT_TRUE(result == 0 || result == 0x30004u || result == 0x30005u) << std::hex << result;
    EXPECT_EQ(parser.numErrors(MarlParseError::SEVERITY_ERROR), result == 0 ? 0u : 1u);
  }
}

// ---------------------------------------------------------------------------------------
// Want of memory at every point of a run

TEST_F(Parser, WantOfMemoryAtEveryPointOfARunGivesThirtyThousandOneWithoutLeaks) {
  std::wstring const text =
      L"<?xml version='1.0'?><!--c--><p:a xmlns:p='u' x='1' y='&lt;'>t&amp;<b>x</b><!--c-->"
      L"<?p d?><![CDATA[z]]>&e;</p:a>";
  bool finished = false;
  for (long failing = 0; !finished && failing < 1000; ++failing) {
    {
      MarlDocument target = marl.createDocument();
      target.getDocumentType().createIntEntityDecl(0, L"e", L"<q>in</q>");
      stream = factory.createIStreamString(text);
      parser = marl.createParser(factory, stream, target);
      ASSERT_TRUE(parser);
      parser.setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
      unsigned int result;
      {
        testhost::AllocationFailure failure(failing);
        result = parser.parse();
      }
      finished = result == 0;
      if (!finished) {
        EXPECT_EQ(result, 0x30001u) << "failing allocation " << failing;
      }
      parser = MarlParser();
      stream = MarlIStream();
    }
  }
  EXPECT_TRUE(finished);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// External subsets and external entities, in a folder tree written for the test

namespace {

class ExternalEntities : public Parser {
 protected:
  void SetUp() override {
    Parser::SetUp();
    char pattern[] = "/tmp/marl_external_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder = pattern;
  }
  void TearDown() override {
    Parser::TearDown();
    for (auto it = written.rbegin(); it != written.rend(); ++it) std::remove(it->c_str());
    for (auto it = folders.rbegin(); it != folders.rend(); ++it) rmdir(it->c_str());
    rmdir(folder.c_str());
  }
  // Writes the bytes to the path below the folder, making its folders.
  void write(std::string const& relative, std::string const& bytes) {
    std::size_t slash = 0;
    while ((slash = relative.find('/', slash)) != std::string::npos) {
      std::string const sub = folder + "/" + relative.substr(0, slash++);
      if (mkdir(sub.c_str(), 0700) == 0) folders.push_back(sub);
    }
    std::string const path = folder + "/" + relative;
    FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    written.push_back(path);
  }
  std::wstring path(std::string const& relative) const {
    std::string const full = folder + "/" + relative;
    return std::wstring(full.begin(), full.end());
  }
  // Parses the file, with the restriction set on its stream.
  unsigned int parseFile(std::string const& relative, unsigned int restriction = 0) {
    stream = factory.createIStreamURI(path(relative), L"");
    EXPECT_TRUE(stream);
    if (!stream) return 0xFFFFFFFFu;
    stream.setDtdRestriction(restriction);
    parser = marl.createParser(factory, stream, document);
    return parser.parse();
  }
  std::wstring rendered() {
    std::wstring text;
    {
      MarlOStream out = factory.createOStreamString(text);
      EXPECT_EQ(marl.createRenderer(out, document).render(), 0);
    }
    return text;
  }
  std::wstring text() const {
    MarlNode child = root().getFirstChild();
    return child ? child.getValue() : L"<none>";
  }

  std::string folder;
  std::vector<std::string> written;
  std::vector<std::string> folders;
};

}  // namespace

// A parameter entity resolves against the subset that references it; a general entity against
// the document, where it is referenced, whatever declared it.
TEST_F(ExternalEntities, RelativeIdentifiersResolveAgainstTheEntityBeingRead) {
  write("doc/d.xml", "<!DOCTYPE a SYSTEM 'dtd/main.dtd' [<!ENTITY i 'inner'>]><a>&i;&t;</a>");
  write("doc/dtd/main.dtd",
        "<?xml version='1.0' encoding='utf-8'?>\n<!ENTITY % m SYSTEM 'mod/m.ent'>%m;"
        "<!ENTITY i 'outer'>");
  write("doc/dtd/mod/m.ent", "<!ENTITY t SYSTEM 'text/t.xml'><!ELEMENT a ANY>");
  write("doc/text/t.xml", "<?xml encoding='utf-8'?>-t\xC3\xA9xt");
  ASSERT_EQ(parseFile("doc/d.xml"), 0u);
  EXPECT_TRUE(findings().empty()) << findings().size();
  // The text declaration is read and leaves no node; the entity's text follows as a node of
  // its own.
  ASSERT_EQ(root().numChildren(), 2u);
  EXPECT_EQ(text(), L"inner");
  EXPECT_EQ(root().getLastChild().getValue(), L"-t\x00E9xt");
  MarlDocumentType type = document.getDocumentType();
  EXPECT_EQ(type.getSystemId(), L"dtd/main.dtd");
  MarlEntityDecl declared(type.getEntities().getNamedItem(L"t", L""));
  ASSERT_TRUE(declared);
  EXPECT_EQ(declared.isExternal(), 1u);
}

TEST_F(ExternalEntities, FileIdentifiersWorkWithAndWithoutTheScheme) {
  std::wstring const schemed = L"file://" + path("sub/schemed.ent");
  write("sub/plain.dtd", "<!ENTITY % s SYSTEM '" + std::string(schemed.begin(), schemed.end()) +
                             "'>%s;");
  write("sub/schemed.ent", "<!ENTITY e 'from the scheme'>");
  write("d.xml", "<!DOCTYPE a SYSTEM 'sub/plain.dtd'><a>&e;</a>");
  ASSERT_EQ(parseFile("d.xml"), 0u) << ::testing::PrintToString(findings());
  EXPECT_EQ(text(), L"from the scheme");
}

// Only the scheme marks an identifier as absolute: a path from the root without it is joined
// to the folder of the entity being read.
TEST_F(ExternalEntities, AnAbsolutePathWithoutTheSchemeIsJoinedToTheBase) {
  std::wstring const absolute = path("x.dtd");
  write("x.dtd", "<!ELEMENT a ANY>");
  write("d.xml", "<!DOCTYPE a SYSTEM '" + std::string(absolute.begin(), absolute.end()) +
                     "'><a/>");
  ASSERT_EQ(parseFile("d.xml"), 0u);
  EXPECT_EQ(onlyFinding().number, 3013u);
}

TEST_F(ExternalEntities, AMissingExternalSubsetIsAWarningAndTheDocumentIsRead) {
  write("d.xml", "<!DOCTYPE a SYSTEM 'none.dtd'><a/>");
  ASSERT_EQ(parseFile("d.xml"), 0u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3013, 2, L"unable to retrieve external entity 'none.dtd'", 0, 29}));
  EXPECT_TRUE(root());
}

TEST_F(ExternalEntities, AMissingExternalEntityInContentIsAnError) {
  write("d.xml", "<!DOCTYPE a [<!ENTITY x SYSTEM 'none.xml'>]><a>&x;</a>");
  EXPECT_EQ(parseFile("d.xml"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"unable to retrieve external entity 'none.xml'");
}

TEST_F(ExternalEntities, TheExternalSubsetIsReadAfterTheInternalOne) {
  write("d.dtd", "<!ENTITY e 'external'><!ENTITY f 'only external'><!ELEMENT a ANY>");
  write("d.xml", "<!DOCTYPE a SYSTEM 'd.dtd' [<!ENTITY e 'internal'>]><a>&e;&f;</a>");
  ASSERT_EQ(parseFile("d.xml"), 0u);
  EXPECT_EQ(text(), L"internalonly external");
}

TEST_F(ExternalEntities, RenderingWritesTheInternalSubsetAndNeverTheExternalOne) {
  write("d.dtd", "<!ELEMENT a ANY><!-- outside --><![IGNORE[ x ]]><![INCLUDE[<!ENTITY o 'o'>]]>");
  write("d.xml", "<!DOCTYPE a SYSTEM 'd.dtd' [<!ENTITY e 'x'>]><a>&e;</a>");
  ASSERT_EQ(parseFile("d.xml"), 0u);
  std::wstring const out = rendered();
  EXPECT_NE(out.find(L"<!ENTITY e"), std::wstring::npos);
  EXPECT_EQ(out.find(L"ELEMENT"), std::wstring::npos) << std::string(out.begin(), out.end());
  EXPECT_EQ(out.find(L"outside"), std::wstring::npos);
  EXPECT_EQ(out.find(L"IGNORE"), std::wstring::npos);
  EXPECT_EQ(out.find(L"INCLUDE"), std::wstring::npos);
}

TEST_F(ExternalEntities, ATextDeclarationMustNameItsEncoding) {
  write("d.dtd", "<?xml version='1.0'?><!ELEMENT a ANY>");
  write("d.xml", "<!DOCTYPE a SYSTEM 'd.dtd'><a/>");
  EXPECT_EQ(parseFile("d.xml"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3020u);
}

TEST_F(ExternalEntities, ARestrictedStreamReadsNothingFromOutside) {
  write("d.dtd", "<!ENTITY e 'external'>");
  write("d.xml", "<!DOCTYPE a SYSTEM 'd.dtd' [<!ENTITY i 'internal'>]><a>&i;</a>");
  ASSERT_EQ(parseFile("d.xml", 1), 0u);
  EXPECT_EQ(onlyFinding().reason, L"unable to retrieve external entity 'd.dtd'");
  EXPECT_EQ(text(), L"internal");
  document = marl.createDocument();
  write("e.xml", "<!DOCTYPE a [<!ENTITY x SYSTEM 'd.dtd'>]><a>&x;</a>");
  EXPECT_EQ(parseFile("e.xml", 1), 0x30004u);
  EXPECT_EQ(findings().back().number, 3013u);
}

TEST_F(ExternalEntities, AProhibitedStreamEndsAtTheDocumentType) {
  write("d.xml", "<!DOCTYPE a [<!ENTITY i 'internal'>]><a>&i;</a>");
  EXPECT_EQ(parseFile("d.xml", 2), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{4003, 3, L"Marl configuration has prohibited the usage of DTDs", 0, 12}));
}

// ---------------------------------------------------------------------------------------
// Entity bombs on restricted streams

namespace {

std::wstring exponentialBomb(bool inAttribute) {
  std::wstring text = L"<!DOCTYPE a [<!ENTITY e0 '" + std::wstring(inAttribute ? L"" : L"lol") +
                      L"'>";
  for (int level = 1; level <= 12; ++level) {
    std::wstring const below = L"&e" + std::to_wstring(level - 1) + L";";
    text += L"<!ENTITY e" + std::to_wstring(level) + L" '";
    for (int copy = 0; copy < 10; ++copy) text += below;
    text += L"'>";
  }
  return text + (inAttribute ? L"]><a v='&e12;'/>" : L"]><a>&e12;</a>");
}

}  // namespace

class EntityBombs : public Parser {
 protected:
  unsigned int parseRestricted(std::wstring const& text) {
    stream = factory.createIStreamString(text);
    stream.setDtdRestriction(1);
    parser = marl.createParser(factory, stream, document);
    return parser.parse();
  }
  void expectStoppedEarly(std::wstring const& text) {
    auto const start = std::chrono::steady_clock::now();
    EXPECT_EQ(parseRestricted(text), 0x30004u);
    auto const spent = std::chrono::steady_clock::now() - start;
    EXPECT_LT(std::chrono::duration_cast<std::chrono::seconds>(spent).count(), 5);
    EXPECT_EQ(onlyFinding().reason, L"XML expansion exceeds Marl configuration");
    EXPECT_EQ(findings().back().number, 4003u);
  }
};

TEST_F(EntityBombs, AnExponentialBombInContentStopsEarly) {
  expectStoppedEarly(exponentialBomb(false));
}

// Entities of nothing but references still count their ends.
TEST_F(EntityBombs, AnExponentialBombOfEmptyEntitiesInAnAttributeStopsEarly) {
  expectStoppedEarly(exponentialBomb(true));
}

TEST_F(EntityBombs, AQuadraticBombStopsEarly) {
  std::wstring text = L"<!DOCTYPE a [<!ENTITY big '" + std::wstring(20000, L'x') + L"'>]><a>";
  for (int copy = 0; copy < 20000; ++copy) text += L"&big;";
  expectStoppedEarly(text + L"</a>");
}

TEST_F(EntityBombs, ModestUseOfEntitiesPassesOnARestrictedStream) {
  EXPECT_EQ(parseRestricted(L"<!DOCTYPE a [<!ENTITY e 'abc'>]><a>&e;&e;&e;</a>"), 0u);
  EXPECT_EQ(root().getFirstChild().getValue(), L"abcabcabc");
}
