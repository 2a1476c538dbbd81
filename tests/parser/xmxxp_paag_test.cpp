#include "parser/xmxxp_paag.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dom/xmxxo_doc.h"
#include "dtd/xmxxu_strp.h"
#include "parser/parse_fixture.h"

using namespace parsetest;

namespace {

class Agents : public ParseTest {
 protected:
  CMarlParser& impl() { return *parser._impl(); }

  // The text of the first child of the root element.
  std::wstring firstText() {
    MarlNode child = root().getFirstChild();
    return child ? child.getValue() : L"<none>";
  }

  void declareEntity(std::wstring const& name, std::wstring const& text) {
    document.getDocumentType().createIntEntityDecl(0, name, text);
  }
};

// ---------------------------------------------------------------------------------------
// The helpers that work on strings

TEST(AgentHelpers, EndOfLineHandlingTurnsEveryLineEndIntoALineFeed) {
  std::wstring text = L"a\r\nb\rc\n\rd\r\r\ne";
  CMarlParseAgent::endOfLineHandling(text);
  EXPECT_EQ(text, L"a\nb\nc\n\nd\n\ne");
}

TEST(AgentHelpers, NormalizeCollapsesWhiteSpaceRunsAndTrimsBothEnds) {
  std::wstring text = L" \t a \r\n b\tc  ";
  CMarlParseAgent::normalize(text);
  EXPECT_EQ(text, L"a b c");
  std::wstring blank = L" \n ";
  CMarlParseAgent::normalize(blank);
  EXPECT_EQ(blank, L"");
}

TEST(AgentHelpers, SpaceStrippingLooksAtBlanksOnly) {
  std::wstring text = L"  a   b\t\tc \n ";
  CMarlParseAgent::spaceStripping(text);
  EXPECT_EQ(text, L"a b\t\tc \n");
}

// ---------------------------------------------------------------------------------------
// Document and prolog

TEST_F(Agents, AnEmptyDocumentEndsAtTheMissingRootWithAnEmptySymbol) {
  EXPECT_EQ(parse(L""), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3000, 3, L"unexpected symbol: ''", 1, 1}));
}

TEST_F(Agents, AnEndOfInputThatWasNotExpectedReadsAsAnEmptySymbol) {
  EXPECT_EQ(parse(L"<a><!-- open"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"unexpected symbol: ''");
}

TEST_F(Agents, AFirstTokenThatCannotBeScannedIsAFatalError) {
  EXPECT_EQ(parse(L"]]>"), 0x30005u);
  EXPECT_EQ(onlyFinding(), (Finding{4000, 4, L"failed to scan input", 0, 0}));
}

TEST_F(Agents, TheXmlDeclarationSetsVersionStandaloneAndEncoding) {
  EXPECT_EQ(parse(L"<?xml version=\"1.1\" encoding='ISO-8859-1' standalone='yes'?><a/>"), 0u);
  EXPECT_EQ(document.getVersion(), L"1.1");
  EXPECT_EQ(document.getStandalone(), 1);
  ASSERT_TRUE(document.getEncoding());
  EXPECT_EQ(document.getEncoding().getCharacterSet(), L"iso-8859-1");
  EXPECT_EQ(document.numChildren(), 1u);
}

// The failures are lasting here, so a run that meets one ends in want of memory; where it
// ended tells whether a copy of the encoding that could not be made was let pass.
TEST_F(Agents, ARunGoesPastTheDeclarationOnlyWithTheDeclaredEncodingOnTheDocument) {
  std::string const bytes = "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>";
  overBytes(bytes);
  long const allocationsBefore = testhost::allocationsMade();
  ASSERT_EQ(parser.parse(), 0u);
  long const needed = testhost::allocationsMade() - allocationsBefore;
  for (long failing = 0; failing < needed; ++failing) {
    document = marl.createDocument();
    overBytes(bytes);
    unsigned int result;
    {
      testhost::AllocationFailure failure(failing);
      result = parser.parse();
    }
    if (!document.getEncoding()) {
      EXPECT_EQ(result, 0x30001u) << "failing allocation " << failing;
      EXPECT_EQ(impl().scanner->token.id, CToken::TOK_PI_END) << "failing allocation " << failing;
    }
  }
}

TEST_F(Agents, StandaloneNoClearsTheFlagAndAnythingElseIsAnError) {
  document.setStandalone(1);
  EXPECT_EQ(parse(L"<?xml version='1.0' standalone='no'?><a/>"), 0u);
  EXPECT_EQ(document.getStandalone(), 0);
  document = marl.createDocument();
  EXPECT_EQ(parse(L"<?xml version='1.0' standalone='maybe'?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason,
            L"unexpected symbol; expected 'yes' or 'no' for standalone document declaration");
}

TEST_F(Agents, TheVersionComesFirstInTheDeclaration) {
  EXPECT_EQ(parse(L"<?xml encoding='utf-8'?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3021, 3, L"unexpected name 'encoding'; expected 'version'", 0, 6}));
}

TEST_F(Agents, ADeclarationWithoutPseudoAttributesWantsAName) {
  EXPECT_EQ(parse(L"<?xml?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3020, 3, L"unexpected symbol: '?>'; name expected", 0, 5}));
}

TEST_F(Agents, VersionAndEncodingNamesAreChecked) {
  EXPECT_EQ(parse(L"<?xml version='1 0'?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"invalid xml version num: 1 0");
  document = marl.createDocument();
  EXPECT_EQ(parse(L"<?xml version='1.0' encoding='8bit'?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"invalid encoding name: 8bit");
  document = marl.createDocument();
  EXPECT_EQ(parse(L"<?xml version='1.0' encoding=''?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"invalid encoding name: ");
}

TEST_F(Agents, AnEmptyVersionPasses) {
  EXPECT_EQ(parse(L"<?xml version=''?><a/>"), 0u);
  EXPECT_EQ(document.getVersion(), L"");
}

TEST_F(Agents, AnUnquotedVersionIsRefused) {
  EXPECT_EQ(parse(L"<?xml version=1.0?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3005u);
  EXPECT_EQ(findings()[0].reason, L"literal delimited by \" or ' expected");
}

TEST_F(Agents, ReferencesInTheDeclarationAreNotExpanded) {
  EXPECT_EQ(parse(L"<?xml version='1&amp;0'?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"invalid xml version num: 1&amp;0");
}

TEST_F(Agents, AStylesheetInstructionInFirstPlaceIsRefused) {
  EXPECT_EQ(parse(L"<?xml-stylesheet href='s.xsl'?><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3021, 3, L"unexpected name 'xml-stylesheet'; expected 'xml'", 0, 2}));
}

TEST_F(Agents, AStylesheetInstructionAfterTheDeclarationIsAParsedPI) {
  EXPECT_EQ(parse(L"<?xml version='1.0'?>\n<?xml-stylesheet href='s.xsl'?><a/>"), 0u);
  MarlPIParsed stylesheet(document.getFirstChild());
  ASSERT_TRUE(stylesheet);
  EXPECT_EQ(stylesheet.getTarget(), L"xml-stylesheet");
  EXPECT_EQ(stylesheet.getAttribute(L"href"), L"s.xsl");
  EXPECT_EQ(stylesheet.getLine(), 1u);
  EXPECT_EQ(stylesheet.getColumn(), 4u);
}

TEST_F(Agents, AParsedPIHoldsAllItsPseudoAttributesAndNoText) {
  EXPECT_EQ(parse(L"<a><?xml-model href='m.rng' type=\"application/xml\"?></a>"), 0u);
  MarlPIParsed model(root().getFirstChild());
  ASSERT_TRUE(model);
  EXPECT_EQ(model.getAttribute(L"href"), L"m.rng");
  EXPECT_EQ(model.getAttribute(L"type"), L"application/xml");
}

TEST_F(Agents, WithoutDeclarationAStreamWithoutEncodingGetsUtf8) {
  EXPECT_EQ(parseBytes("<doc/>"), 0u);
  ASSERT_TRUE(stream.getEncoding());
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"utf-8");
  EXPECT_FALSE(document.getEncoding());
}

TEST_F(Agents, TheDeclaredEncodingDecodesTheRest) {
  EXPECT_EQ(parseBytes("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9t\xE9</a>"), 0u);
  EXPECT_EQ(firstText(), L"\x00E9t\x00E9");
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"iso-8859-1");
}

TEST_F(Agents, Utf8IsReadWithoutDeclaration) {
  EXPECT_EQ(parseBytes("<a>\xC3\xA9\xE2\x82\xAC</a>"), 0u);
  EXPECT_EQ(firstText(), L"\x00E9\x20AC");
}

TEST_F(Agents, AByteStreamCannotSwitchToUtf16) {
  EXPECT_EQ(parseBytes("<?xml version='1.0' encoding='UTF-16'?><a>\xC3\xA9</a>"), 0u);
  EXPECT_EQ(onlyFinding(), (Finding{6900, 2, L"ignore encoding decl", 0, 37}));
  EXPECT_EQ(firstText(), L"\x00E9");
}

// The web name of "utf-16le" is "utf-16": a stream set to it keeps it.
TEST_F(Agents, AStreamSetToUtf16KeepsItAgainstAnotherDeclaration) {
  std::wstring const text = L"<?xml version='1.0' encoding='ISO-8859-1'?><a>\x00E9\x20AC</a>";
  std::string bytes;
  for (wchar_t c : text) {
    bytes.push_back(static_cast<char>(c & 0xFF));
    bytes.push_back(static_cast<char>((c >> 8) & 0xFF));
  }
  stream = factory.createIStreamRawString(rawstring(bytes.begin(), bytes.end()));
  stream.setEncoding(marl.createEncoding(L"UTF-16LE", MarlEncoding::BYTEORDER_NONE));
  parser = marl.createParser(factory, stream, document);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(onlyFinding(), (Finding{6900, 2, L"ignore encoding decl", 0, 41}));
  EXPECT_EQ(firstText(), L"\x00E9\x20AC");
  EXPECT_EQ(document.getEncoding().getCharacterSet(), L"UTF-16LE");
}

// A mark gives the encoding "utf-16", which has no web name: the declaration of UTF-16 is then
// dropped like any declaration of it on a byte stream, and the stream reads on as it did.
TEST_F(Agents, AUtf16DocumentDeclaringUtf16ReadsOnWithAWarning) {
  std::wstring const text = L"<?xml version='1.0' encoding='UTF-16'?><a>\x20AC</a>";
  std::string bytes = "\xFE\xFF";
  for (wchar_t c : text) {
    bytes.push_back(static_cast<char>((c >> 8) & 0xFF));
    bytes.push_back(static_cast<char>(c & 0xFF));
  }
  EXPECT_EQ(parseBytes(bytes), 0u);
  EXPECT_EQ(onlyFinding(), (Finding{6900, 2, L"ignore encoding decl", 0, 37}));
  EXPECT_EQ(firstText(), L"\x20AC");
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"utf-16");
}

// A stream with a host code page named exactly "orv-" keeps it whatever the document says.
TEST_F(Agents, AHostCodePageOnTheStreamOutranksTheDeclaration) {
  stream = factory.createIStreamString(L"<?xml version='1.0' encoding='ISO-8859-1'?><a/>");
  stream.setEncoding(marl.createEncoding(L"orv-", MarlEncoding::BYTEORDER_NONE));
  parser = marl.createParser(factory, stream, document);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_TRUE(findings().empty());
  EXPECT_EQ(document.getEncoding().getCharacterSet(), L"orv-");
}

TEST_F(Agents, AByteOrderMarkCharacterAtTheStartIsSkipped) {
  EXPECT_EQ(parse(L"\xFEFF<a/>"), 0u);
  EXPECT_TRUE(findings().empty());
  EXPECT_EQ(parseBytes("\xEF\xBB\xBF<?xml version='1.0'?><a/>"), 0u);
}

TEST_F(Agents, TextAroundTheRootCostsOneWarningPerTokenAndNoNode) {
  EXPECT_EQ(parse(L"a&b<r/>tail"), 0u);
  std::vector<Finding> all = findings();
  ASSERT_EQ(all.size(), 4u);
  for (Finding const& found : all) {
    EXPECT_EQ(found.number, 2000u);
    EXPECT_EQ(found.severity, 2u);
    EXPECT_EQ(found.reason, L"only whitespace allowed; ignoring characters");
  }
  EXPECT_EQ(all[1].column, 1u);
  EXPECT_EQ(document.numChildren(), 1u);
}

TEST_F(Agents, WhiteSpaceAroundTheRootIsDroppedSilently) {
  EXPECT_EQ(parse(L" \n\t<a/>\r\n "), 0u);
  EXPECT_TRUE(findings().empty());
  EXPECT_EQ(document.numChildren(), 1u);
}

TEST_F(Agents, CommentsAndInstructionsAroundTheRootAreChildrenOfTheDocument) {
  EXPECT_EQ(parse(L"<?xml version='1.0'?><!--a--><?p x?><r/><!--b--><?q?>"), 0u);
  EXPECT_EQ(describe(document),
            L"1 #document {} []\n  512 #comment {} [a]\n  128 p {} [ x]\n  4 r {}\n"
            L"  512 #comment {} [b]\n  128 q {} []\n");
}

TEST_F(Agents, ASecondRootElementIsAnError) {
  EXPECT_EQ(parse(L"<a/><b/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3000, 3, L"unexpected symbol: '<'", 0, 4}));
}

TEST_F(Agents, ADocumentTypeDeclarationMakesTheDocumentTypeNodeExplicit) {
  EXPECT_EQ(parse(L"<?xml version='1.0'?>\n<!DOCTYPE p:a>\n<p:a/>"), 0u);
  MarlDocumentType type = document.getDocumentType();
  EXPECT_EQ(type.getExplicit(), 1u);
  EXPECT_EQ(type.getName(), L"a");
  EXPECT_EQ(type.getNamespacePrefix(), L"p");
  EXPECT_EQ(document.getFirstChild().getType(), MarlNode::nodeDocumentType);
  EXPECT_TRUE(findings().empty());
}

TEST_F(Agents, NormalizedAttributesWithoutDocumentTypeDrawAWarning) {
  over(L"<a x=' 1\r\n2\t'/>");
  impl().scanner->normalizingAtt = 1;
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(onlyFinding(), (Finding{6900, 2, L"no DTD, type CDATA is used for attributes", 0, 0}));
  EXPECT_EQ(root().getAttribute(L"x", L""), L" 1 2 ");
}

// ---------------------------------------------------------------------------------------
// Processing instructions

TEST_F(Agents, AnInstructionKeepsTheWhiteSpaceBehindItsTarget) {
  EXPECT_EQ(parse(L"<a><?target  some data ?></a>"), 0u);
  MarlPIUnparsed instruction(root().getFirstChild());
  ASSERT_TRUE(instruction);
  EXPECT_EQ(instruction.getTarget(), L"target");
  EXPECT_EQ(instruction.getData(), L"  some data ");
  EXPECT_EQ(instruction.isExternal(), 0);
}

TEST_F(Agents, AnInstructionWithoutDataHasEmptyData) {
  EXPECT_EQ(parse(L"<a><?t?></a>"), 0u);
  EXPECT_EQ(MarlPIUnparsed(root().getFirstChild()).getData(), L"");
}

TEST_F(Agents, AnInstructionTakesThePositionOfItsTarget) {
  EXPECT_EQ(parse(L"<a>\n <?t d?></a>"), 0u);
  MarlNode instruction = root().getFirstChild();
  EXPECT_EQ(instruction.getLine(), 1u);
  EXPECT_EQ(instruction.getColumn(), 5u);
}

TEST_F(Agents, TheReservedTargetIsRefused) {
  EXPECT_EQ(parse(L"<a><?XML d?></a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3020, 3, L"unexpected symbol: 'XML'; PiTarget expected", 0, 8}));
}

TEST_F(Agents, AReservedTargetEndingInLowerCaseLPasses) {
  EXPECT_EQ(parse(L"<a><?XMl d?><?xMl?></a>"), 0u);
  EXPECT_EQ(MarlPI(root().getFirstChild()).getTarget(), L"XMl");
  EXPECT_EQ(MarlPI(root().getLastChild()).getTarget(), L"xMl");
}

TEST_F(Agents, AnInstructionWithoutTargetIsRefused) {
  EXPECT_EQ(parse(L"<a><? d?></a>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3000u);
}

TEST_F(Agents, AnUnterminatedInstructionIsRefused) {
  EXPECT_EQ(parse(L"<a><?t data"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3000u);
}

// ---------------------------------------------------------------------------------------
// Comments and CDATA sections

TEST_F(Agents, ACommentKeepsItsText) {
  EXPECT_EQ(parse(L"<a><!-- x - y --></a>"), 0u);
  MarlComment comment(root().getFirstChild());
  ASSERT_TRUE(comment);
  EXPECT_EQ(comment.getData(), L" x - y ");
  EXPECT_EQ(comment.isExternal(), 0);
}

TEST_F(Agents, AnEmptyCommentIsAComment) {
  EXPECT_EQ(parse(L"<a><!----></a>"), 0u);
  EXPECT_EQ(MarlComment(root().getFirstChild()).getData(), L"");
}

TEST_F(Agents, ACommentTakesThePositionOfItsEnd) {
  EXPECT_EQ(parse(L"<a><!-- x\n --></a>"), 0u);
  MarlNode comment = root().getFirstChild();
  EXPECT_EQ(comment.getLine(), 1u);
  EXPECT_EQ(comment.getColumn(), 3u);
}

TEST_F(Agents, ADoubleHyphenInsideACommentIsRefused) {
  EXPECT_EQ(parse(L"<a><!-- a -- b --></a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3021, 3, L"invalid symbol ('--') in comment: ''", 0, 7}));
}

TEST_F(Agents, AThreeHyphenEndCountsAsADoubleHyphenInside) {
  EXPECT_EQ(parse(L"<a><!-- a ---></a>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3021u);
}

TEST_F(Agents, ACDataSectionKeepsMarkupAsText) {
  EXPECT_EQ(parse(L"<a><![CDATA[<b>&amp;</b>]]]></a>"), 0u);
  MarlCDATASection section(root().getFirstChild());
  ASSERT_TRUE(section);
  EXPECT_EQ(section.getData(), L"<b>&amp;</b>]");
}

TEST_F(Agents, AnEmptyCDataSectionIsASection) {
  EXPECT_EQ(parse(L"<a><![CDATA[]]></a>"), 0u);
  EXPECT_EQ(root().getFirstChild().getType(), MarlNode::nodeCDATA);
}

TEST_F(Agents, AnUnterminatedCDataSectionIsRefused) {
  EXPECT_EQ(parse(L"<a><![CDATA[text"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3000u);
}

// ---------------------------------------------------------------------------------------
// Character data and references

TEST_F(Agents, AdjacentTextAndReferencesMakeOneTextNode) {
  EXPECT_EQ(parse(L"<a>x&amp;&lt;&gt;&apos;&quot;&#65;&#x42;y</a>"), 0u);
  EXPECT_EQ(root().numChildren(), 1u);
  EXPECT_EQ(firstText(), L"x&<>'\"ABy");
}

TEST_F(Agents, ATextTakesThePositionOfItsFirstToken) {
  EXPECT_EQ(parse(L"<a>\n  ab&amp;\ncd</a>"), 0u);
  MarlNode text = root().getFirstChild();
  EXPECT_EQ(text.getValue(), L"ab&\ncd");
  EXPECT_EQ(text.getLine(), 1u);
  EXPECT_EQ(text.getColumn(), 1u);
}

TEST_F(Agents, ACharacterReferenceOfZeroGivesCharacterZeroWithoutAWord) {
  EXPECT_EQ(parse(L"<a x='&#0;'>&#x0;</a>"), 0u);
  EXPECT_TRUE(findings().empty());
  EXPECT_EQ(root().getAttribute(L"x", L""), std::wstring(1, L'\0'));
  EXPECT_EQ(firstText(), std::wstring(1, L'\0'));
}

TEST_F(Agents, AControlCharacterReferenceBelow256PassesAsItStands) {
  EXPECT_EQ(parse(L"<a>&#1;&#x7F;&#x9F;</a>"), 0u);
  EXPECT_EQ(firstText(), L"\x01\x7F\x9F");
}

TEST_F(Agents, AReferenceBeyondTheBasicPlaneIsNotSupported) {
  EXPECT_EQ(parse(L"<a>&#x1F600;</a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3016, 3,
                     L"character reference '&#x1F600' evaluates to an not supported character "
                     L"range",
                     0, 3}));
}

TEST_F(Agents, AReferenceToASurrogateOrANonCharacterIsInvalid) {
  for (wchar_t const* reference : {L"&#xD800;", L"&#xFFFE;", L"&#65535;", L"&#x110000;",
                                   L"&#99999999999999999999999;"}) {
    document = marl.createDocument();
    EXPECT_EQ(parse(std::wstring(L"<a>") + reference + L"</a>"), 0x30004u) << reference;
    std::wstring quoted(reference);
    quoted.pop_back();
    EXPECT_EQ(onlyFinding().reason,
              L"character reference '" + quoted + L"' evaluates to an invalid character");
  }
}

TEST_F(Agents, AnUpperCaseHexadecimalMarkerIsNoReference) {
  EXPECT_EQ(parse(L"<a>&#X41;</a>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3007u);
}

// The run of text before the section end goes with it into the token that cannot be taken.
TEST_F(Agents, ASectionEndInContentIsRefused) {
  EXPECT_EQ(parse(L"<a>x]]>y</a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3007, 3,
                     L"unexpected symbol; expected '<', '</', entity reference, character data, "
                     L"CDATA section, processing instruction or comment",
                     0, 3}));
}

TEST_F(Agents, ALoneGreaterThanIsText) {
  EXPECT_EQ(parse(L"<a>1 > 0</a>"), 0u);
  EXPECT_EQ(firstText(), L"1 > 0");
}

TEST_F(Agents, NormalizingTrimsTextAndKeepsAWhiteOnlyChild) {
  EXPECT_EQ(parse(L"<a><b>  two  words \n</b><c>  </c></a>"), 0u);
  EXPECT_EQ(root().getFirstChild().getFirstChild().getValue(), L"two  words");
  EXPECT_EQ(root().getLastChild().getFirstChild().getValue(), L"  ");
}

TEST_F(Agents, NormalizingDropsWhiteSpaceBetweenChildren) {
  EXPECT_EQ(parse(L"<a>  <b/>  <c/>\n</a>"), 0u);
  EXPECT_EQ(describe(root()), L"4 a {}\n  4 b {}\n  4 c {}\n");
}

TEST_F(Agents, WithoutNormalizingTextStaysAsItIs) {
  over(L"<a>  <b/> x \n</a>").setNormalizing(0);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  16 #text {} [  ]\n  4 b {}\n  16 #text {} [ x \n]\n");
}

TEST_F(Agents, AWhiteSpaceCDataSectionIsNotDroppedAsFirstChild) {
  EXPECT_EQ(parse(L"<a><![CDATA[ ]]><b/></a>"), 0u);
  EXPECT_EQ(root().numChildren(), 2u);
}

TEST_F(Agents, AnInternalEntityExpandsIntoTheTree) {
  declareEntity(L"e", L"one <b>two</b> three");
  EXPECT_EQ(parse(L"<a>x &e; y</a>"), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  16 #text {} [x one]\n  4 b {}\n    16 #text {} [two]\n"
            L"  16 #text {} [three y]\n");
}

TEST_F(Agents, AnUndefinedEntityIsAnError) {
  EXPECT_EQ(parse(L"<a>&nothing;</a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3014, 3, L"undefined entity 'nothing' referenced", 0, 3}));
}

TEST_F(Agents, AnUndefinedEntityIsAWarningUnderResolveModeEight) {
  over(L"<a>x&nothing;y</a>").setResolveMode(0x09);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(onlyFinding().severity, 2u);
  EXPECT_EQ(firstText(), L"xy");
}

TEST_F(Agents, ARecursiveEntityEndsWithTheNestingLimit) {
  declareEntity(L"a", L"&a;");
  EXPECT_EQ(parse(L"<r>&a;</r>"), 0x30005u);
  Finding const found = onlyFinding();
  EXPECT_EQ(found.number, 4003u);
  EXPECT_EQ(found.reason, L"too many entities referenced, most likely recursion (entity 'a')");
}

TEST_F(Agents, AnEntityMayOpenAnElementThatTheDocumentCloses) {
  declareEntity(L"open", L"<b>");
  EXPECT_EQ(parse(L"<a>&open;x</b></a>"), 0u);
  EXPECT_EQ(describe(root()), L"4 a {}\n  4 b {}\n    16 #text {} [x]\n");
}

TEST_F(Agents, ReferencesAreOffInModeTwo) {
  over(L"<a x='&amp;'>&amp;&#65;</a>").setMode(2);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(root().getAttribute(L"x", L""), L"&amp;");
  EXPECT_EQ(firstText(), L"&amp;&#65;");
}

// ---------------------------------------------------------------------------------------
// Elements

TEST_F(Agents, AnElementTakesThePositionOfItsName) {
  EXPECT_EQ(parse(L"<a>\n  <b/></a>"), 0u);
  MarlNode b = root().getFirstChild();
  EXPECT_EQ(root().getLine(), 0u);
  EXPECT_EQ(root().getColumn(), 1u);
  EXPECT_EQ(b.getLine(), 1u);
  EXPECT_EQ(b.getColumn(), 5u);
}

TEST_F(Agents, PrefixesAreSplitOffInNamespaceModeOne) {
  EXPECT_EQ(parse(L"<p:a q:x='1'><b:c:d/></p:a>"), 0u);
  EXPECT_EQ(root().getNamespacePrefix(), L"p");
  EXPECT_EQ(root().getName(), L"a");
  MarlNode inner = root().getFirstChild();
  EXPECT_EQ(inner.getNamespacePrefix(), L"b:c");
  EXPECT_EQ(inner.getName(), L"d");
  EXPECT_EQ(root().getAttribute(L"x", L"q"), L"1");
}

TEST_F(Agents, ColonsAreNameCharactersInNamespaceModeZero) {
  over(L"<p:a xmlns:p='u' q:x='1'/>").setNamespaceMode(MarlParser::NS_NONE);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(root().getName(), L"p:a");
  EXPECT_EQ(root().getNamespacePrefix(), L"");
  MarlNamedNodeMap attributes = root().getAttributes();
  ASSERT_EQ(attributes.getLength(), 2u);
  EXPECT_FALSE(MarlNamespaceDecl(attributes.getItem(0)));
  EXPECT_EQ(attributes.getItem(0).getName(), L"xmlns:p");
}

TEST_F(Agents, AMismatchedEndTagNamesBothTags) {
  EXPECT_EQ(parse(L"<p:a></q:b>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3002, 3, L"end tag 'q:b' does not match begin tag 'p:a'", 0, 10}));
}

TEST_F(Agents, AnUnclosedStartTagIsRefused) {
  EXPECT_EQ(parse(L"<a x='1' <b/></a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3006, 3, L"unclosed element tag; '>' or '/>' expected", 0, 9}));
}

TEST_F(Agents, AnEndTagWithAttributesIsRefused) {
  EXPECT_EQ(parse(L"<a></a x>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"unexpected symbol: 'x'");
}

TEST_F(Agents, AnElementLeftOpenIsReportedByTheContentLoop) {
  EXPECT_EQ(parse(L"<a><b>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3007u);
}

TEST_F(Agents, EndTagLinesAreKeptWhenAsked) {
  over(L"<a>\n<b\n/>\n\n</a>").setEtagLineNumberSupport(1);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(root().getEndTagLine(), 4u);
  // The empty tag keeps the line of the token before its end.
  EXPECT_EQ(MarlElement(root().getFirstChild()).getEndTagLine(), 1u);
}

TEST_F(Agents, EndTagLinesAreNotKeptByDefault) {
  EXPECT_EQ(parse(L"<a>\n\n</a>"), 0u);
  EXPECT_EQ(root().getEndTagLine(), 0u);
}

TEST_F(Agents, WithoutDomGenerationNodesAreMadeButNotListed) {
  over(L"<a><b>t</b></a>").setDOMGenerating(0);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(document.numChildren(), 0u);
}

// ---------------------------------------------------------------------------------------
// Attributes

TEST_F(Agents, AttributeValuesKeepLineEndsAndTabsWithoutNormalisation) {
  EXPECT_EQ(parse(L"<a x='a\r\nb\tc' y=\"q'q\" z='d\"d'/>"), 0u);
  EXPECT_EQ(root().getAttribute(L"x", L""), L"a\r\nb\tc");
  EXPECT_EQ(root().getAttribute(L"y", L""), L"q'q");
  EXPECT_EQ(root().getAttribute(L"z", L""), L"d\"d");
}

TEST_F(Agents, AttributeValuesExpandReferences) {
  declareEntity(L"q", L"'\"&lt;");
  EXPECT_EQ(parse(L"<a x='1&amp;2&#x33;&q;'/>"), 0u);
  EXPECT_EQ(root().getAttribute(L"x", L""), L"1&23'\"<");
}

TEST_F(Agents, ALessThanInAnAttributeValueIsRefused) {
  EXPECT_EQ(parse(L"<a x='1<2'/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3006, 3, L"invalid symbol '<' in literal '1'", 0, 7}));
}

TEST_F(Agents, AnUnquotedAttributeValueIsRefused) {
  EXPECT_EQ(parse(L"<a x=1/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{3019, 3, L"attribute value delimited by \" or ' expected", 0, 5}));
}

TEST_F(Agents, AnUnquotedAttributeValueIsTakenInModeOne) {
  over(L"<a x=value y=1.5>t</a>").setMode(1);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(root().getAttribute(L"x", L""), L"value");
  EXPECT_EQ(root().getAttribute(L"y", L""), L"1.5");
}

TEST_F(Agents, AnAttributeWithoutEqualsIsRefused) {
  EXPECT_EQ(parse(L"<a x '1'/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3000, 3, L"unexpected symbol: '''", 0, 5}));
}

TEST_F(Agents, AnAttributeTakesThePositionOfItsName) {
  EXPECT_EQ(parse(L"<a\n  x='1'/>"), 0u);
  MarlNode x = root().getAttributes().getItem(0);
  EXPECT_EQ(x.getLine(), 1u);
  EXPECT_EQ(x.getColumn(), 4u);
}

TEST_F(Agents, ARepeatedAttributeLeavesTheLastValue) {
  EXPECT_EQ(parse(L"<a x='1' x='2'/>"), 0u);
  EXPECT_EQ(root().getAttributes().getLength(), 1u);
  EXPECT_EQ(root().getAttribute(L"x", L""), L"2");
}

TEST_F(Agents, NamespaceDeclarationsAreDeclarationNodesInModeOne) {
  EXPECT_EQ(parse(L"<a xmlns='d' xmlns:p='u' xml:lang='en' p:x='1' y='2'/>"), 0u);
  MarlNamedNodeMap attributes = root().getAttributes();
  ASSERT_EQ(attributes.getLength(), 5u);
  MarlNamespaceDecl defaultDeclaration(attributes.getNamedItem(L"xmlns", L""));
  ASSERT_TRUE(defaultDeclaration);
  EXPECT_EQ(defaultDeclaration.getValue(), L"d");
  MarlNamespaceDecl prefixDeclaration(attributes.getNamedItem(L"p", L"xmlns"));
  ASSERT_TRUE(prefixDeclaration);
  EXPECT_EQ(prefixDeclaration.getValue(), L"u");
  MarlNode lang = attributes.getNamedItem(L"lang", L"xml");
  EXPECT_FALSE(MarlNamespaceDecl(lang));
  EXPECT_EQ(lang.getNamespaceURI(), L"http://www.w3.org/XML/1998/namespace");
  EXPECT_FALSE(MarlNamespaceDecl(attributes.getNamedItem(L"x", L"p")));
}

TEST_F(Agents, DeclarationsAreBoundInContextsInModeTwo) {
  over(L"<a xmlns='d' xmlns:p='u'><p:b><c/></p:b><e xmlns:p='v'/></a>")
      .setNamespaceMode(MarlParser::NS_CONTEXTS);
  EXPECT_EQ(parser.parse(), 0u);
  MarlNamespaceContext context = root().getNamespaceContext();
  ASSERT_TRUE(context);
  EXPECT_EQ(context.numBindings(), 2u);
  EXPECT_EQ(context.mapToURI(L""), L"d");
  EXPECT_EQ(context.mapToURI(L"p"), L"u");
  MarlNode b = root().getFirstChild();
  EXPECT_EQ(b.getNamespaceURI(), L"u");
  EXPECT_EQ(b.getFirstChild().getNamespaceURI(), L"d");
  EXPECT_EQ(root().getLastChild().getNamespaceContext().mapToURI(L"p"), L"v");
  EXPECT_EQ(context.mapToURI(L"p"), L"u");
}

TEST_F(Agents, CheckedPrefixesTestOnlyElementsWithAPrefix) {
  over(L"<a x:y='1'/>").setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  EXPECT_EQ(parser.parse(), 0u);
  document = marl.createDocument();
  over(L"<p:a x:y='1' xmlns:p='u'/>").setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"undeclared namespace prefix: 'x'");
  EXPECT_EQ(findings()[0].number, 6800u);
}

TEST_F(Agents, AnUndeclaredElementPrefixIsReportedAtTheElementsEnd) {
  over(L"<r><p:a>text</p:a></r>").setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{6800, 3, L"undeclared namespace prefix: 'p'", 0, 18}));
}

TEST_F(Agents, DeclaredAndReservedPrefixesPassTheCheck) {
  over(L"<p:a xmlns:p='u' xml:lang='en' p:x='1'><p:b p:y='2'/></p:a>")
      .setNamespaceMode(MarlParser::NS_CONTEXTS_CHECKED);
  EXPECT_EQ(parser.parse(), 0u);
}

TEST_F(Agents, IdAttributesDeclaredBeforehandFindTheirElementWithoutValidation) {
  over(L"<a><b key='k1'/></a>");
  CMarlBase& library = CMarlBase::instance();
  impl().insertIdAttribute({library.emptyAtom, library.intern(L"b"), library.emptyAtom,
                            library.intern(L"key")});
  EXPECT_EQ(parser.parse(), 0u);
  CIDTable const* ids = document._impl()->idTable;
  ASSERT_NE(ids, nullptr);
  EXPECT_NE(ids->find(L"k1"), nullptr);
}

// ---------------------------------------------------------------------------------------
// White-space rules

TEST_F(Agents, AStripRuleDropsWhiteSpaceTextOfThatElement) {
  over(L"<a> <s> <b/> </s> </a>").setNormalizing(0);
  parser.addStripSpaceElement(L"s", L"");
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  16 #text {} [ ]\n  4 s {}\n    4 b {}\n  16 #text {} [ ]\n");
}

TEST_F(Agents, WithRulesTextIsNotTrimmed) {
  over(L"<a> x <b/> </a>").addPreserveSpaceElement(L"a", L"");
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()), L"4 a {}\n  16 #text {} [ x ]\n  4 b {}\n  16 #text {} [ ]\n");
}

TEST_F(Agents, XmlSpacePreserveBeatsAStripRuleForAllBelowIt) {
  over(L"<a> <p xml:space='preserve'> <b> </b></p> <d xml:space='default'> </d></a>")
      .setXMLSpaceAware(1);
  parser.setNormalizing(0);
  parser.addStripSpaceElement(L"*", L"*");
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  4 p {}\n   @xml:space {http://www.w3.org/XML/1998/namespace} = "
            L"[preserve]\n    16 #text {} [ ]\n    4 b {}\n      16 #text {} [ ]\n  4 d {}\n"
            L"   @xml:space {http://www.w3.org/XML/1998/namespace} = [default]\n");
  EXPECT_TRUE(impl().whitespaceStripping->stripStack.empty());
}

// ---------------------------------------------------------------------------------------
// Entity references as nodes

TEST_F(Agents, ReferenceNodesHoldTheExpandedContent) {
  declareEntity(L"e", L"x<b/>");
  over(L"<a>&e;&amp;</a>").setResolveMode(0x21);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  64 e {} []\n    16 #text {} [x]\n    4 b {}\n  16 #text {} [&]\n");
  EXPECT_EQ(root().getFirstChild().getColumn(), 3u);
}

TEST_F(Agents, ReferenceNodesStayEmptyWithoutExpansion) {
  declareEntity(L"e", L"x<b/>");
  over(L"<a>&e;</a>").setResolveMode(0x22);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()), L"4 a {}\n  64 e {} []\n");
}

TEST_F(Agents, AReferenceNodeCarriesTheIdentifiersOfAnExternalEntity) {
  document.getDocumentType().createExtEntityDecl(0, L"ext", L"sys.xml", L"-//pub", L"");
  over(L"<a>&ext;</a>").setResolveMode(0x22);
  EXPECT_EQ(parser.parse(), 0u);
  MarlEntityRef reference(root().getFirstChild());
  ASSERT_TRUE(reference);
  EXPECT_EQ(reference.getSystemId(), L"sys.xml");
  EXPECT_EQ(reference.getPublicId(), L"-//pub");
}

TEST_F(Agents, ReferencesCanBeLexicalElements) {
  declareEntity(L"e", L"in");
  document.getDocumentType().createExtEntityDecl(0, L"ext", L"sys.xml", L"", L"");
  over(L"<a>&e;&ext;</a>").setResolveMode(0x42);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  4 lex:entity-reference {}\n   @:name {} = [e]\n"
            L"  4 lex:entity-reference {}\n   @:name {} = [ext]\n   @:system {} = [sys.xml]\n"
            L"   @:public {} = []\n");
}

TEST_F(Agents, LexicalElementsHoldTheExpandedContent) {
  declareEntity(L"e", L"in");
  over(L"<a>&e;</a>").setResolveMode(0x41);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  4 lex:entity-reference {}\n   @:name {} = [e]\n    16 #text {} [in]\n");
}

TEST_F(Agents, ReferencesCanBeTextWhenNotExpanded) {
  declareEntity(L"e", L"in");
  over(L"<a>x&e;y</a>").setResolveMode(0x82);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  16 #text {} [x]\n  16 #text {} [&e;]\n  16 #text {} [y]\n");
}

TEST_F(Agents, ATextReferenceIsNotMadeWhenTheEntityIsExpanded) {
  declareEntity(L"e", L"in");
  over(L"<a>x&e;y</a>").setResolveMode(0x81);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  16 #text {} [x]\n  16 #text {} [in]\n  16 #text {} [y]\n");
}

TEST_F(Agents, ReferenceNodesNestAsTheEntitiesDo) {
  declareEntity(L"inner", L"i");
  declareEntity(L"outer", L"<o>&inner;</o>");
  over(L"<a>&outer;</a>").setResolveMode(0x21);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(describe(root()),
            L"4 a {}\n  64 outer {} []\n    4 o {}\n      64 inner {} []\n"
            L"        16 #text {} [i]\n");
}

TEST_F(Agents, AnEntityThatLeavesAnElementOpenIsRefusedWithReferenceNodes) {
  declareEntity(L"open", L"<b>");
  over(L"<a>&open;</b></a>").setResolveMode(0x21);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3007u);
}

TEST_F(Agents, AnEndTagInsideAReferenceNodeIsRefused) {
  declareEntity(L"close", L"</a>");
  over(L"<a>&close;").setResolveMode(0x21);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"unexpected symbol: '</'");
}

TEST_F(Agents, WithoutDomGenerationNoReferenceNodeIsMade) {
  declareEntity(L"e", L"in");
  over(L"<a>&e;</a>").setResolveMode(0x21);
  parser.setDOMGenerating(0);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(document.numChildren(), 0u);
}

TEST_F(Agents, AnUndefinedReferenceLeavesItsNodeUnderModeEight) {
  over(L"<a>&none;</a>").setResolveMode(0x29);
  EXPECT_EQ(parser.parse(), 0u);
  EXPECT_EQ(onlyFinding().number, 3014u);
  EXPECT_EQ(describe(root()), L"4 a {}\n  64 none {} []\n");
}

// ---------------------------------------------------------------------------------------
// Well-formed and malformed documents, each with its result and its one finding

struct Case {
  wchar_t const* text;
  unsigned int result;
  unsigned int number;
  unsigned int severity;
  wchar_t const* reason;
  unsigned int line;
  unsigned int column;
};

wchar_t const c_content[] =
    L"unexpected symbol; expected '<', '</', entity reference, character data, CDATA section, "
    L"processing instruction or comment";

Case const c_cases[] = {
    {L"<a/>", 0, 0, 0, nullptr, 0, 0},
    {L"<?xml version='1.0'?><a b='c'>d<!--e--><?f g?><![CDATA[h]]>&amp;&#105;</a>", 0, 0, 0,
     nullptr, 0, 0},
    {L"<a>\n</a>\n", 0, 0, 0, nullptr, 0, 0},
    {L"", 0x30004, 3000, 3, L"unexpected symbol: ''", 1, 1},
    {L"   ", 0x30004, 3000, 3, L"unexpected symbol: ''", 1, 1},
    {L"]]>", 0x30005, 4000, 4, L"failed to scan input", 0, 0},
    {L"<a>", 0x30004, 3007, 3, c_content, 1, 1},
    {L"<a", 0x30004, 3006, 3, L"unclosed element tag; '>' or '/>' expected", 1, 1},
    {L"<a b", 0x30004, 3000, 3, L"unexpected symbol: ''", 1, 1},
    {L"<a b=", 0x30004, 3019, 3, L"attribute value delimited by \" or ' expected", 1, 1},
    {L"<a b='c", 0x30004, 3006, 3, L"invalid symbol '' in literal 'c'", 1, 1},
    {L"<a></a", 0x30004, 3000, 3, L"unexpected symbol: ''", 1, 1},
    {L"<a></b>", 0x30004, 3002, 3, L"end tag 'b' does not match begin tag 'a'", 0, 6},
    {L"<a>\n <b>\n </a>", 0x30004, 3002, 3, L"end tag 'a' does not match begin tag 'b'", 2, 6},
    {L"<a/><b/>", 0x30004, 3000, 3, L"unexpected symbol: '<'", 0, 4},
    {L"<a/>x", 0, 2000, 2, L"only whitespace allowed; ignoring characters", 0, 4},
    {L"<1/>", 0x30004, 3000, 3, L"unexpected symbol: '1'", 0, 1},
    {L"<a 1='2'/>", 0x30004, 3006, 3, L"unclosed element tag; '>' or '/>' expected", 0, 3},
    {L"<a b='1' / >", 0x30004, 3006, 3, L"unclosed element tag; '>' or '/>' expected", 0, 9},
    {L"<a>&#xD800;</a>", 0x30004, 3016, 3,
     L"character reference '&#xD800' evaluates to an invalid character", 0, 3},
    {L"<a>&#65</a>", 0x30004, 3007, 3, c_content, 0, 3},
    {L"<a>& b</a>", 0x30004, 3007, 3, c_content, 0, 3},
    {L"<a>&x;</a>", 0x30004, 3014, 3, L"undefined entity 'x' referenced", 0, 3},
    {L"<a b='&x;'/>", 0x30004, 3014, 3, L"undefined entity 'x' referenced", 0, 6},
    {L"<a b='<'/>", 0x30004, 3006, 3, L"invalid symbol '<' in literal ''", 0, 6},
    {L"<a><!-- - -- --></a>", 0x30004, 3021, 3, L"invalid symbol ('--') in comment: ''", 0, 7},
    {L"<a><!-- x -></a>", 0x30004, 3000, 3, L"unexpected symbol: ''", 1, 1},
    {L"<a><![CDATA[x]></a>", 0x30004, 3000, 3, L"unexpected symbol: ''", 1, 1},
    {L"<a><?xml-x a='1' b?></a>", 0x30004, 3000, 3, L"unexpected symbol: '?>'", 0, 18},
    {L"<a><?xml-x a=1?></a>", 0x30004, 3005, 3, L"literal delimited by \" or ' expected", 0,
     13},
    {L"<a><?xml?></a>", 0, 0, 0, nullptr, 0, 0},
    {L"<?xml version='1.0' encoding='x y'?><a/>", 0x30004, 3006, 3,
     L"invalid encoding name: x y", 0, 34},
    {L"<?xml version='1.0' foo='1'?><a/>", 0x30004, 3000, 3, L"unexpected symbol: 'foo'", 0,
     20},
    {L"<?xml version='1.0' standalone='YES'?><a/>", 0x30004, 3022, 3,
     L"unexpected symbol; expected 'yes' or 'no' for standalone document declaration", 0, 36},
    {L"<!DOCTYPE a []><a/>", 0, 0, 0, nullptr, 0, 0},
    {L"<!DOCTYPE a [ x ]><a/>", 0x30004, 3000, 3, L"unexpected symbol: 'x'", 0, 14},
    {L"<a><!DOCTYPE a></a>", 0x30004, 3007, 3, c_content, 0, 3},
    {L"<a>]]></a>", 0x30004, 3007, 3, c_content, 0, 3},
    {L"<a><?xml-stylesheet?></a>", 0, 0, 0, nullptr, 0, 0},
};

class DocumentTable : public ParseTest, public testing::WithParamInterface<Case> {};

TEST_P(DocumentTable, GivesItsResultAndFinding) {
  Case const& given = GetParam();
  EXPECT_EQ(parse(given.text), given.result);
  std::vector<Finding> all = findings();
  if (!given.reason) {
    EXPECT_TRUE(all.empty()) << all.front();
    return;
  }
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0], (Finding{given.number, given.severity, given.reason, given.line,
                             given.column}));
}

INSTANTIATE_TEST_SUITE_P(WellAndMalformed, DocumentTable, testing::ValuesIn(c_cases));

// ---------------------------------------------------------------------------------------
// Round trips: what is written reads back into the same tree

class RoundTrip : public ParseTest, public testing::WithParamInterface<wchar_t const*> {
 protected:
  std::wstring render(MarlDocument const& source) {
    std::wstring text;
    MarlOStream out = factory.createOStreamString(text);
    MarlRenderer renderer = marl.createRenderer(out, source);
    EXPECT_TRUE(renderer);
    renderer.render();
    return text;
  }
};

TEST_P(RoundTrip, ParseRenderParseGivesAnEqualTree) {
  EXPECT_EQ(parse(GetParam()), 0u);
  std::wstring const first = describe(document);
  std::wstring const written = render(document);
  MarlDocument firstDocument = document;
  document = marl.createDocument();
  EXPECT_EQ(parse(written), 0u) << std::string(written.begin(), written.end());
  EXPECT_EQ(describe(document), first) << std::string(written.begin(), written.end());
}

INSTANTIATE_TEST_SUITE_P(
    Documents, RoundTrip,
    testing::Values(L"<a/>", L"<?xml version='1.0' encoding='UTF-8'?><a>text</a>",
                    L"<a x='1&amp;2' y=\"&quot;&apos;&lt;\">t &lt;&gt;&amp; u</a>",
                    L"<!--c--><?p data?><r><![CDATA[<x>]]><!--d--><?q?><e/></r><!--t-->",
                    L"<p:a xmlns:p='urn:p' xmlns='urn:d' xml:lang='en'><p:b p:c='1'/><d/></p:a>",
                    L"<a>\n  <b>1</b>\n  <b>2</b>\n</a>", L"<a>\x00E9\x20AC&#x3A9;</a>",
                    L"<?xml version='1.0'?><?xml-stylesheet href='s.xsl'?><a/>"));

}  // namespace

// ---------------------------------------------------------------------------------------
// Document type declarations

namespace {

class Declarations : public Agents {
 protected:
  MarlDocumentType type() const { return document.getDocumentType(); }
  // The children of the document type, each by its kind and name.
  std::wstring declarations() const {
    std::wstring out;
    for (MarlNode child = type().getFirstChild(); child; child = child.getNext())
      out += std::to_wstring(child.getType()) + L":" + child.getName() + L" ";
    return out;
  }
  // A parse into a new document, as a separate run would do.
  unsigned int parseAgain(std::wstring const& text) {
    document = marl.createDocument();
    return parse(text);
  }
  std::wstring rendered() {
    std::wstring text;
    {
      MarlOStream out = factory.createOStreamString(text);
      EXPECT_EQ(marl.createRenderer(out, document).render(), 0);
    }
    return text;
  }
};

}  // namespace

TEST_F(Declarations, DeclarationsBecomeChildrenOfTheDocumentTypeInSourceOrder) {
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ELEMENT a ANY><!-- c --><?p d?><!ATTLIST a b CDATA #IMPLIED>"
                  L"<!ENTITY e 'x'><!NOTATION n SYSTEM 'n.exe'>]><a/>"),
            0u);
  EXPECT_EQ(declarations(), L"262144:a 512:#comment 128:p 1048576:a 4194304:e 8388608:n ");
}

TEST_F(Declarations, ContentModelsKeepTheirGroupsAndOccurrences) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ELEMENT a ((b|c)+,d?,e*)><!ELEMENT b EMPTY>]><a/>"), 0u);
  MarlElementDecl a(type().getFirstChild());
  EXPECT_EQ(a.getContentSpec(), MarlElementDecl::CS_CHILDREN);
  MarlContentParticle top = a.getContentParticle(0);
  EXPECT_EQ(top.getGrouping(), MarlContentParticle::GROUP_SEQUENCE);
  ASSERT_EQ(top.numContentParticles(), 3u);
  EXPECT_EQ(top.getContentParticle(0).getGrouping(), MarlContentParticle::GROUP_CHOICE);
  EXPECT_EQ(top.getContentParticle(0).getOccurrence(), MarlContentParticle::OCC_ONE_OR_MORE);
  EXPECT_EQ(top.getContentParticle(1).getOccurrence(), MarlContentParticle::OCC_OPTIONAL);
  EXPECT_EQ(top.getContentParticle(2).getOccurrence(), MarlContentParticle::OCC_ZERO_OR_MORE);
  EXPECT_EQ(MarlElementDecl(a.getNext()).getContentSpec(), MarlElementDecl::CS_EMPTY);
}

// The closing star sets the mixed group to one, as the declaration numbers have it.
TEST_F(Declarations, MixedContentListsPcdataFirst) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)*><!ELEMENT b (#PCDATA)>]><a/>"), 0u);
  MarlElementDecl a(type().getFirstChild());
  EXPECT_EQ(a.getContentSpec(), MarlElementDecl::CS_MIXED);
  MarlContentParticle mixed = a.getContentParticle(0);
  ASSERT_EQ(mixed.numContentParticles(), 2u);
  EXPECT_EQ(mixed.getContentParticle(0).getName(), L"#PCDATA");
  EXPECT_EQ(mixed.getContentParticle(1).getName(), L"b");
  EXPECT_EQ(mixed.getOccurrence(), MarlContentParticle::OCC_ONE);
  EXPECT_EQ(MarlElementDecl(a.getNext()).getContentParticle(0).getOccurrence(),
            MarlContentParticle::OCC_ZERO_OR_MORE);
}

TEST_F(Declarations, AMixedSeparatorFailsAtTheClosingParenthesis) {
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ELEMENT a (b,c|d)>]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3000, 3, L"unexpected symbol: '|'", 0, 29}));
}

TEST_F(Declarations, ContentSpecificationErrorsHaveTheirNumbers) {
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ELEMENT a NONE>]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3008u);
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ELEMENT a 'x'>]><a/>"), 0x30004u);
  EXPECT_EQ(findings().back().number, 3009u);
  EXPECT_EQ(findings().back().reason, L"unexpected symbol; expected 'ANY', 'EMPTY' or '('");
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ELEMENT a (b,)>]><a/>"), 0x30004u);
  EXPECT_EQ(findings().back().number, 3010u);
}

TEST_F(Declarations, AttributeTypesAndDefaultsAreRead) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ATTLIST a i ID #REQUIRED r IDREFS #IMPLIED"
                  L" e (x|y) 'y' n NOTATION (m) #FIXED 'm' t NMTOKENS '  p   q '>]><a/>"),
            0u);
  MarlNode list = type().getFirstChild();
  ASSERT_EQ(list.numChildren(), 5u);
  MarlAttributeDecl i(list.getFirstChild());
  EXPECT_EQ(i.getValueType(), MarlAttributeDecl::VT_ID);
  EXPECT_EQ(i.getAttrDefault(), MarlAttributeDecl::AD_REQUIRED);
  MarlAttributeDecl e(i.getNext().getNext());
  EXPECT_EQ(e.getValueType(), MarlAttributeDecl::VT_ENUMERATION);
  EXPECT_TRUE(e.allowsEnumValue(L"x"));
  EXPECT_EQ(e.getDefaultValue(), L"y");
  MarlAttributeDecl n(e.getNext());
  EXPECT_EQ(n.getValueType(), MarlAttributeDecl::VT_NOTATION);
  EXPECT_EQ(n.getAttrDefault(), MarlAttributeDecl::AD_FIXED);
  EXPECT_EQ(MarlAttributeDecl(n.getNext()).getDefaultValue(), L"p q");
}

TEST_F(Declarations, ARepeatedEnumeratedValueWarnsOnceAndIsKeptOnce) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ATTLIST a b (x|x) 'x'>]><a/>"), 0u);
  EXPECT_EQ(onlyFinding(),
            (Finding{2001, 2, L"enumerated value 'x' already defined; ignoring second occurance",
                     0, 31}));
  EXPECT_EQ(MarlAttributeDecl(type().getFirstChild().getFirstChild()).getEnumValue(1), L"");
}

TEST_F(Declarations, AttributeListErrorsHaveTheirNumbers) {
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ATTLIST a b STRING #IMPLIED>]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().number, 3012u);
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ATTLIST a b CDATA #DEFAULT>]><a/>"), 0x30004u);
  EXPECT_EQ(findings().back().number, 3011u);
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ATTLIST a b 'x'>]><a/>"), 0x30004u);
  EXPECT_EQ(findings().back(), (Finding{3010, 3, L"unexpected symbol; expected '(' or name", 0,
                                        27}));
}

TEST_F(Declarations, IdAttributesFindTheirElementsWithoutValidation) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ATTLIST b k ID #IMPLIED>]><a><b k='one'/><b k='two'/></a>"),
            0u);
  // An attribute name that no element has: only the table of entered values can answer.
  MarlElement two = document.findFromID(L"none", L"", L"two");
  ASSERT_TRUE(two);
  EXPECT_TRUE(two.getPrev());
}

TEST_F(Declarations, DefaultAttributesAreSuppliedOnlyWhenAsked) {
  std::wstring const text = L"<!DOCTYPE a [<!ATTLIST a d CDATA 'yes' f CDATA #FIXED 'z'>]><a/>";
  ASSERT_EQ(parse(text), 0u);
  EXPECT_EQ(root().getAttribute(L"d", L""), L"");
  document = marl.createDocument();
  over(text).setSupplyAttrDefaults(1);
  ASSERT_EQ(parser.parse(), 0u);
  EXPECT_EQ(root().getAttribute(L"d", L""), L"yes");
  EXPECT_EQ(root().getAttribute(L"f", L""), L"z");
}

TEST_F(Declarations, TheFirstDeclarationOfAnEntityBinds) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ENTITY e 'first'><!ENTITY e 'second'>]><a>&e;</a>"), 0u);
  EXPECT_EQ(firstText(), L"first");
  EXPECT_EQ(declarations(), L"4194304:e 4194304:e ");
}

TEST_F(Declarations, TheLastDeclarationOfANotationStands) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!NOTATION n SYSTEM 'one'><!NOTATION n PUBLIC 'two'>]><a/>"),
            0u);
  MarlNotationDecl n(type().getNotations().getNamedItem(L"n", L""));
  EXPECT_EQ(n.getPublicId(), L"two");
  EXPECT_EQ(n.getSystemId(), L"");
}

TEST_F(Declarations, EntityValuesExpandCharacterReferencesAndKeepGeneralOnes) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ENTITY i '&#65;-&j;'><!ENTITY j '<b/>'>]><a>&i;</a>"), 0u);
  MarlEntityDecl i(type().getEntities().getNamedItem(L"i", L""));
  EXPECT_EQ(i.getEntityValue(), L"A-&j;");
  EXPECT_EQ(firstText(), L"A-");
  EXPECT_EQ(root().getLastChild().getName(), L"b");
}

TEST_F(Declarations, EntitiesExpandInAttributeValues) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ENTITY e 'x&amp;y'>]><a v='[&e;]'/>"), 0u);
  EXPECT_EQ(root().getAttribute(L"v", L""), L"[x&y]");
}

TEST_F(Declarations, ExternalAndUnparsedEntitiesKeepTheirIdentifiers) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!NOTATION gif SYSTEM 'v'><!ENTITY x SYSTEM 'x.xml'>"
                  L"<!ENTITY p PUBLIC '-//P//EN' 'p.gif' NDATA gif><!ENTITY % q SYSTEM 'q'>]>"
                  L"<a/>"),
            0u);
  MarlEntityDecl p(type().getEntities().getNamedItem(L"p", L""));
  EXPECT_EQ(p.getPublicId(), L"-//P//EN");
  EXPECT_EQ(p.getNotationName(), L"gif");
  EXPECT_EQ(MarlEntityDecl(type().getParamEntities().getNamedItem(L"q", L"")).getSystemId(),
            L"q");
}

TEST_F(Declarations, AReferenceToAnUnparsedEntityIsAnError) {
  EXPECT_EQ(parse(L"<!DOCTYPE a [<!ENTITY p SYSTEM 'p.gif' NDATA gif>]><a>&p;</a>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3015, 3, L"'p' references unparsed entity", 0, 54}));
}

TEST_F(Declarations, EntityDeclarationErrorsHaveTheirNumbers) {
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ENTITY e LOCAL 'x'>]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"symbol 'SYSTEM' or 'PUBLIC' expected");
  EXPECT_EQ(findings().back().number, 3001u);
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ENTITY e x>]><a/>"), 0x30004u);
  EXPECT_EQ(findings().back().number, 3001u);
  EXPECT_EQ(parseAgain(L"<!DOCTYPE a [<!ENTITY e (x)>]><a/>"), 0x30004u);
  EXPECT_EQ(findings().back().number, 3018u);
}

TEST_F(Declarations, ParameterEntitiesExpandInTheSubsetAndInEntityValues) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ENTITY % decl '<!ENTITY e \"v&#38;#37;w\">'>%decl;"
                  L"<!ENTITY % part 'P'><!ENTITY f '[%part;]'>]><a>&e;&f;</a>"),
            0u);
  EXPECT_EQ(firstText(), L"v%w[P]");
}

// A reference inside the value would be expanded while the entity is still undeclared, so the
// recursion is written with a character reference.
TEST_F(Declarations, ARecursiveParameterEntityEndsWithTheNestingLimit) {
  EXPECT_EQ(parse(L"<!DOCTYPE a [<!ENTITY % p '&#37;p;'>%p;]><a/>"), 0x30005u);
  EXPECT_EQ(findings().back().reason,
            L"too many entities referenced, most likely recursion (entity 'p')");
  EXPECT_EQ(findings().back().number, 4003u);
}

TEST_F(Declarations, AParameterEntityReferencedInItsOwnValueIsUndefined) {
  EXPECT_EQ(parse(L"<!DOCTYPE a [<!ENTITY % p '%p;'>]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"undefined entity 'p' referenced");
}

TEST_F(Declarations, AnUndefinedParameterEntityIsAnError) {
  EXPECT_EQ(parse(L"<!DOCTYPE a [%p;]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding().reason, L"undefined entity 'p' referenced");
}

TEST_F(Declarations, IncludedSectionsNestAndHoldTheirDeclarations) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<![INCLUDE[<![ INCLUDE [<!ELEMENT a ANY>]]><!ENTITY e 'x'>]]>"
                  L"]><a>&e;</a>"),
            0u);
  MarlCondDTDSection outer(type().getFirstChild());
  ASSERT_TRUE(outer);
  EXPECT_EQ(outer.isInclude(), 1u);
  EXPECT_EQ(outer.numChildren(), 2u);
  EXPECT_EQ(outer.getFirstChild().getFirstChild().getType(), MarlNode::nodeElementDecl);
  EXPECT_EQ(firstText(), L"x");
}

TEST_F(Declarations, IgnoredSectionsKeepTheirTextAndNestedSections) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<![IGNORE[<!ENTITY e 'x'><![INCLUDE[ %u; ]]>]]>]><a/>"), 0u);
  MarlCondDTDSection ignored(type().getFirstChild());
  EXPECT_EQ(ignored.isInclude(), 0u);
  EXPECT_EQ(ignored.getValue(), L"<!ENTITY e 'x'><![INCLUDE[ %u; ]]>");
  EXPECT_FALSE(type().getEntities().getNamedItem(L"e", L""));
}

TEST_F(Declarations, AConditionalSectionNeedsItsKeyword) {
  EXPECT_EQ(parse(L"<!DOCTYPE a [<![MAYBE[]]>]><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3003, 3, L"symbol 'INCLUDE' or 'IGNORE' expected", 0, 16}));
}

// Every section gives back the scanner state its opening took, so many sections in a row
// leave room for entity references.
TEST_F(Declarations, ManySectionsInARowLeaveRoomForParameterEntities) {
  std::wstring text = L"<!DOCTYPE a [<!ENTITY % p '<!ELEMENT a ANY>'>";
  for (int index = 0; index < 40; ++index) text += L"<![INCLUDE[]]><![IGNORE[x]]>";
  text += L"%p;]><a/>";
  EXPECT_EQ(parse(text), 0u);
  EXPECT_TRUE(findings().empty());
}

TEST_F(Declarations, ModeOneReadsNameGroupsOmissionsAndExclusions) {
  over(L"<!DOCTYPE a [<!ELEMENT (a|b) - o (c) -(d) +(e|f)><!ATTLIST (a|b) n NUMBER 1>"
       L"-- a comment -- <!ENTITY e CDATA 'x'>]><a/>")
      .setMode(1);
  ASSERT_EQ(parser.parse(), 0u);
  EXPECT_EQ(declarations(), L"262144:a 262144:b 1048576:a 1048576:b 4194304:e ");
  MarlAttributeDecl n(type().getFirstChild().getNext().getNext().getFirstChild());
  EXPECT_EQ(n.getValueType(), MarlAttributeDecl::VT_NMTOKEN);
}

TEST_F(Declarations, ModeOneWantsOmissionFlags) {
  over(L"<!DOCTYPE a [<!ELEMENT a x o ANY>]><a/>").setMode(1);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{9998, 3, L"unexpected symbol; expected '-' or 'o'", 0, 25}));
  document = marl.createDocument();
  over(L"<!DOCTYPE a [<!ELEMENT a - x ANY>]><a/>").setMode(1);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(findings().back().number, 9999u);
}

TEST_F(Declarations, ModeTwoKeepsReferencesInEntityValuesAsText) {
  over(L"<!DOCTYPE a [<!ENTITY e 'a&#65;'>]><a/>").setMode(2);
  ASSERT_EQ(parser.parse(), 0u);
  EXPECT_EQ(MarlEntityDecl(type().getEntities().getNamedItem(L"e", L"")).getEntityValue(),
            L"a&#65;");
}

TEST_F(Declarations, AnXmlInstructionInTheSubsetIsAParsedInstruction) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<?xml-model href='m'?>]><a/>"), 0u);
  EXPECT_EQ(type().getFirstChild().getType(), MarlNode::nodePIParsed);
}

TEST_F(Declarations, TheDocumentTypeHeadNeedsItsKeyword) {
  EXPECT_EQ(parse(L"<!DOCTYPE a LOCAL 'x'><a/>"), 0x30004u);
  EXPECT_EQ(onlyFinding(), (Finding{3001, 3, L"symbol 'SYSTEM' or 'PUBLIC' expected", 0, 12}));
}

TEST_F(Declarations, RenderingWritesTheInternalSubsetBack) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ELEMENT a (#PCDATA)><!ENTITY e 'x'>]><a>&e;</a>"), 0u);
  std::wstring const out = rendered();
  EXPECT_NE(out.find(L"<!DOCTYPE a ["), std::wstring::npos) << std::string(out.begin(), out.end());
  EXPECT_NE(out.find(L"<!ELEMENT a (#PCDATA)*>"), std::wstring::npos);
  EXPECT_NE(out.find(L"<!ENTITY e"), std::wstring::npos);
}

TEST_F(Declarations, AProhibitedStreamEndsAtTheDocumentTypeName) {
  stream = factory.createIStreamString(L"<!DOCTYPE a SYSTEM 'x'><a/>");
  stream.setDtdRestriction(2);
  parser = marl.createParser(factory, stream, document);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(onlyFinding(),
            (Finding{4003, 3, L"Marl configuration has prohibited the usage of DTDs", 0, 12}));
}

TEST_F(Declarations, ASecondParseIntoTheSameDocumentListsItsDocumentTypeOnce) {
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ELEMENT a ANY>]><a/>"), 0u);
  ASSERT_EQ(parse(L"<!DOCTYPE a [<!ELEMENT a ANY>]><a/>"), 0u);
  unsigned int types = 0;
  for (MarlNode child = document.getFirstChild(); child; child = child.getNext())
    types += child.getType() == MarlNode::nodeDocumentType ? 1 : 0;
  EXPECT_EQ(types, 1u);
}
