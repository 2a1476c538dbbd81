#include "streams/xmxxu_strm.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "kernel/xmxxu_xcpt.h"
#include "streams/stream_fixture.h"
#include "text/xmxxu_enco.h"
#include "text/xmxxu_stri.h"

using namespace streamtest;

namespace {

using E = MarlEncoding;

using Input = StreamTest;
using Output = StreamTest;
using Factory = StreamTest;
using RoundTrip = StreamTest;
using LibraryStreams = StreamTest;

void writeFile(std::filesystem::path const& path, std::string const& content) {
  std::ofstream out(path, std::ios::binary);
  out << content;
}

// What an output stream over a wide string made of the text, written once with the flags.
struct Written {
  int result;
  std::wstring text;
};

// The reason of the conversion problem that reading the whole stream raises; empty if none.
std::wstring conversionProblemOf(MarlIStream const& stream) {
  try {
    readAll(stream);
  } catch (XPT_IO::XPT_ConvProblem const& problem) {
    EXPECT_EQ(problem.code, 0x50004);
    EXPECT_EQ(problem.file, L"xmxxi_xcpt");
    EXPECT_EQ(problem.line, 37u);
    return problem.reason;
  }
  return std::wstring();
}

}  // namespace

// =======================================================================================
// Input streams

TEST_F(Input, ANewStreamDecodesUtf8WithoutNamingAnEncoding) {
  MarlIStream stream = source(bytes("gr\xC3\xBC\xC3\x9F"));
  EXPECT_FALSE(stream.getEncoding());
  EXPECT_TRUE(stream._impl()->getHandler());
  EXPECT_TRUE(stream._impl()->isAutoDetecting());
  EXPECT_EQ(readAll(stream), L"gr\u00FC\u00DF");
}

TEST_F(Input, ThreeBytesWithoutAMarkLeaveDetectionPendingAndAreDecodedAsUtf8) {
  MarlIStream stream = source(bytes("abc"));
  EXPECT_EQ(readAll(stream), L"abc");
  EXPECT_TRUE(stream._impl()->isAutoDetecting());
  EXPECT_FALSE(stream.getEncoding());

  MarlIStream accented = source(bytes("a\xC3\xA9"));
  EXPECT_EQ(readAll(accented), L"a\u00E9");
}

TEST_F(Input, MoreThanThreeUnrecognisedBytesEndDetectionForGood) {
  MarlIStream stream = source(bytes("abcd"));
  EXPECT_EQ(readAll(stream), L"abcd");
  EXPECT_FALSE(stream._impl()->isAutoDetecting());
  EXPECT_FALSE(stream.getEncoding());
}

TEST_F(Input, AUtf8MarkIsSkippedButCountedAmongTheRawBytes) {
  MarlIStream stream = source(bytes("\xEF\xBB\xBF" "ab"));
  EXPECT_EQ(readAll(stream), L"ab");
  EXPECT_EQ(stream.getNumRead(), 2u);
  EXPECT_EQ(stream.getNumReadRaw(), 5u);
  ASSERT_TRUE(stream.getEncoding());
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"utf-8");
}

TEST_F(Input, AUtf16MarkSelectsUtf16InItsOrder) {
  MarlIStream big = source(bytes({0xFE, 0xFF, 0x00, 'a', 0x30, 0x42}));
  EXPECT_EQ(readAll(big), L"a\u3042");
  ASSERT_TRUE(big.getEncoding());
  EXPECT_EQ(big.getEncoding().getCharacterSet(), L"utf-16");
  EXPECT_EQ(big.getEncoding().getByteOrder(), E::BYTEORDER_BE);

  MarlIStream little = source(bytes({0xFF, 0xFE, 'a', 0x00, 0x42, 0x30}));
  EXPECT_EQ(readAll(little), L"a\u3042");
  EXPECT_EQ(little.getEncoding().getByteOrder(), E::BYTEORDER_LE);
}

TEST_F(Input, AnUnmarkedUtf16DeclarationIsDetectedByItsFirstCharacters) {
  MarlIStream stream = source(bytes({'<', 0, '?', 0, 'x', 0}));
  EXPECT_EQ(readAll(stream), L"<?x");
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"utf-16le");
  EXPECT_EQ(stream.getNumReadRaw(), 6u);
}

TEST_F(Input, AUtf16InputWithAnOddByteCountEndsWithSourceExhausted) {
  MarlIStream stream = source(bytes({0xFF, 0xFE, 'a', 0x00, 'b'}));
  TraceCapture trace;
  EXPECT_EQ(conversionProblemOf(stream), L"source exhaused and EOF!");
  EXPECT_NE(trace.text().find("marl istream read: source exhaused and EOF!"), std::string::npos);
}

TEST_F(Input, AnIncompleteUtf8SequenceAtTheEndIsSourceExhausted) {
  EXPECT_EQ(conversionProblemOf(source(bytes("abcd\xE2\x82"))), L"source exhaused and EOF!");
}

TEST_F(Input, ReadAfterTheEndGivesZeroOnceAByteWasRead) {
  MarlIStream stream = source(bytes("abcd"));
  wchar_t target[16];
  EXPECT_EQ(stream.read(target, 16), 4);
  EXPECT_EQ(stream.read(target, 16), 0);
  EXPECT_EQ(stream.read(target, 16), 0);
}

TEST_F(Input, ASourceThatGivesNothingBeforeAnyByteReadsAsMinusOne) {
  MarlIStream empty = source(rawstring());
  wchar_t target[4];
  EXPECT_EQ(empty.read(target, 4), -1);
  EXPECT_EQ(empty.getNumReadRaw(), 0u);
}

TEST_F(Input, AnEncodingSetBeforeTheFirstReadTurnsDetectionOffAndTheMarkIsACharacter) {
  MarlIStream stream = source(bytes("\xEF\xBB\xBF" "a"));
  ASSERT_TRUE(stream.setEncoding(encoding(L"utf-8")));
  EXPECT_EQ(readAll(stream), L"\uFEFF" L"a");
}

TEST_F(Input, ANameThatNothingServesGivesTheUtf8CatchAllAndKeepsTheName) {
  MarlIStream stream = source(bytes("\xC3\xA9t\xC3\xA9"));
  ASSERT_TRUE(stream.setEncoding(encoding(L"x-klingon", E::BYTEORDER_BE)));
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"x-klingon");
  EXPECT_EQ(readAll(stream), L"\u00E9t\u00E9");
}

TEST_F(Input, AnEmptyEncodingIsRefusedAndChangesNothing) {
  MarlIStream stream = source(bytes("abcd"));
  ASSERT_TRUE(stream.setEncoding(encoding(L"iso-8859-1")));
  EXPECT_FALSE(stream.setEncoding(MarlEncoding()));
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"iso-8859-1");
}

TEST_F(Input, TheStreamKeepsItsOwnCopyOfTheEncoding) {
  MarlIStream stream = source(bytes("abcd"));
  MarlEncoding given = encoding(L"utf-16", E::BYTEORDER_BE);
  ASSERT_TRUE(stream.setEncoding(given));
  given.setCharacterSet(L"iso-8859-1");
  EXPECT_NE(static_cast<CUnknown*>(stream.getEncoding()), static_cast<CUnknown*>(given));
  EXPECT_EQ(stream.getEncoding().getCharacterSet(), L"utf-16");
  EXPECT_EQ(stream.getEncoding().getByteOrder(), E::BYTEORDER_BE);
}

TEST_F(Input, AnEncodingSwitchTakesEffectAtTheNextUndecodedByte) {
  rawstring content = bytes("abcd\xE9" "fg");
  MarlIStream stream = source(content);
  wchar_t target[8];
  ASSERT_EQ(stream.read(target, 4), 4);
  EXPECT_EQ(std::wstring(target, 4), L"abcd");
  ASSERT_TRUE(stream.setEncoding(encoding(L"iso-8859-1")));
  EXPECT_EQ(readAll(stream), L"\u00E9fg");

  // Without the switch the three bytes are one UTF-8 sequence.
  EXPECT_EQ(readAll(source(content)), L"abcd\u8967");
}

TEST_F(Input, TheCountersCountCharactersAndBytes) {
  MarlIStream stream = source(bytes("\xE2\x82\xAC" "ab"));
  wchar_t target[2];
  EXPECT_EQ(stream.read(target, 2), 2);
  EXPECT_EQ(stream.getNumRead(), 2u);
  EXPECT_EQ(stream.getNumReadRaw(), 5u);
  EXPECT_EQ(stream.read(target, 2), 1);
  EXPECT_EQ(stream.getNumRead(), 3u);
}

TEST_F(Input, OpenAgainStartsTheCountersAndTheSourceAfresh) {
  MarlIStream stream = source(bytes("abcd"));
  EXPECT_EQ(readAll(stream), L"abcd");
  ASSERT_TRUE(stream.open());
  EXPECT_EQ(stream.getNumRead(), 0u);
  EXPECT_EQ(stream.getNumReadRaw(), 0u);
  EXPECT_EQ(readAll(stream), L"abcd");
}

TEST_F(Input, ACharacterCutAtTheBufferEdgeIsCompletedByTheRefill) {
  std::string const characters[] = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x90\x80\x80"};
  std::wstring const decoded[] = {L"\u00E9", L"\u20AC", L"\xD800\xDC00"};
  for (int which = 0; which < 3; ++which) {
    for (std::size_t prefix = 8192 - 6; prefix <= 8192 + 1; ++prefix) {
      std::string text = std::string(prefix, 'a') + characters[which] + "z";
      MarlIStream stream = source(rawstring(text.begin(), text.end()));
      std::wstring expected = std::wstring(prefix, L'a') + decoded[which] + L"z";
      EXPECT_EQ(readAll(stream), expected) << "character " << which << " after " << prefix;
      EXPECT_EQ(stream.getNumReadRaw(), text.size());
    }
  }
}

TEST_F(Input, ACharacterCutByTheSourceAtAnyByteIsCompletedByTheNextRead) {
  std::string text = "x\xC3\xA9\xE2\x82\xAC\xF0\x90\x80\x80y";
  for (std::size_t chunk = 1; chunk <= 5; ++chunk) {
    MarlIStream stream = chunked(rawstring(text.begin(), text.end()), chunk);
    ASSERT_TRUE(stream.setEncoding(encoding(L"utf-8")));
    EXPECT_EQ(readAll(stream, 3), L"x\u00E9\u20AC\xD800\xDC00y") << "chunk " << chunk;
  }
}

TEST_F(Input, ASurrogatePairDoesNotFitOneElementAndWaitsForALargerRead) {
  MarlIStream stream = source(bytes("\xF0\x90\x80\x80" "abcd"));
  wchar_t target[2];
  EXPECT_EQ(stream.read(target, 1), 0);
  ASSERT_EQ(stream.read(target, 2), 2);
  EXPECT_EQ(target[0], static_cast<wchar_t>(0xD800));
  EXPECT_EQ(target[1], static_cast<wchar_t>(0xDC00));
}

TEST_F(Input, AnUndecodableByteRaisesTheConversionProblemWithItsText) {
  MarlIStream stream = source(bytes("ab\xC3\xA9" "cdefghijklmn"));
  ASSERT_TRUE(stream.setEncoding(encoding(L"usascii")));
  TraceCapture trace;
  std::wstring const expected =
      L"A codepage conversion problem has occured (invalid source, source cp: usascii, target "
      L"cp: ucs-2, source: 0xc3 0xa9 0x63 0x64 0x65 0x66 0x67 0x68 0x69 0x6a ...)";
  EXPECT_EQ(conversionProblemOf(stream), expected);
  EXPECT_NE(trace.text().find("marl istream read: " + std::string(MBString(expected))),
            std::string::npos);
  EXPECT_EQ(stream.getNumRead(), 0u);
}

TEST_F(Input, TheProblemTextShowsFewerBytesWhenFewerAreLeft) {
  MarlIStream stream = source(bytes("abcd\x80"));
  ASSERT_TRUE(stream.setEncoding(encoding(L"usascii")));
  EXPECT_EQ(conversionProblemOf(stream),
            L"A codepage conversion problem has occured (invalid source, source cp: usascii, "
            L"target cp: ucs-2, source: 0x80 ...)");
}

TEST_F(Input, AUtf16CharacterBeyondTheBasicPlaneIsRefused) {
  MarlIStream stream = source(bytes({0x00, 0xD8, 0x00, 0xDC}));
  ASSERT_TRUE(stream.setEncoding(encoding(L"utf-16le")));
  EXPECT_NE(conversionProblemOf(stream).find(L"(invalid source, source cp: utf-16le"),
            std::wstring::npos);
}

TEST_F(Input, AnInternalErrorOfTheHandlerIsReportedAsSuch) {
  MarlIStream stream = source(bytes({'a', 0, 0, 0}));
  ASSERT_TRUE(stream.setEncoding(encoding(L"ucs-2")));
  MarlEncodingHandler handler = stream._impl()->getHandler();
  {
    // A helper that cannot be replaced leaves the handler without one.
    testhost::AllocationFailure failure;
    EXPECT_FALSE(handler.setByteOrder(E::BYTEORDER_BE));
  }
  EXPECT_EQ(conversionProblemOf(stream),
            L"A codepage conversion problem has occured (internal error, source cp: ucs-2, target "
            L"cp: ucs-2, source: 0x61 0x00 0x00 0x00 ...)");
}

TEST_F(Input, ASourceThatFailsDuringAReadDeliversWhatItGaveBefore) {
  MarlIStream stream = chunked(bytes("abcdefgh"), 3, 5);
  EXPECT_EQ(readAll(stream), L"abcde");
  wchar_t target[4];
  EXPECT_EQ(stream.read(target, 4), 0);
}

TEST_F(Input, ASourceThatFailsAtOnceReadsAsMinusOne) {
  MarlIStream stream = chunked(bytes("abcdefgh"), 3, 0);
  wchar_t target[4];
  EXPECT_EQ(stream.read(target, 4), -1);
}

TEST_F(Input, AClosedStreamReportsFailure) {
  MarlIStream stream = source(bytes("abcd"));
  stream.close();
  wchar_t target[4];
  EXPECT_EQ(stream.read(target, 4), -1);
  unsigned char raw[4];
  EXPECT_LT(stream.readRaw(raw, 4), 0);
}

TEST_F(Input, AReadWithoutRoomDeliversNothingAndLosesNothing) {
  MarlIStream stream = source(bytes("abcd"));
  wchar_t target[4];
  EXPECT_EQ(stream.read(target, 0), 0);
  EXPECT_EQ(stream.read(target, -3), 0);
  EXPECT_EQ(readAll(stream), L"abcd");
}

TEST_F(Input, ACloneReadsOnFromTheSamePosition) {
  MarlIStream stream = source(bytes("abcdefgh"));
  ASSERT_TRUE(stream.setEncoding(encoding(L"iso-8859-1")));
  wchar_t target[3];
  ASSERT_EQ(stream.read(target, 3), 3);
  MarlIStream copy(stream.clone());
  ASSERT_TRUE(copy);
  EXPECT_NE(static_cast<CUnknown*>(copy.getEncoding()),
            static_cast<CUnknown*>(stream.getEncoding()));
  EXPECT_EQ(copy.getEncoding().getCharacterSet(), L"iso-8859-1");
  EXPECT_EQ(readAll(copy), L"defgh");
  EXPECT_EQ(readAll(stream), L"defgh");
}

TEST_F(Input, TheDtdRestrictionAndExpansionLimitAreCarriedForTheParser) {
  MarlIStream stream = source(bytes("abcd"));
  EXPECT_EQ(stream.getDtdRestriction(), 0u);
  EXPECT_FALSE(stream.isDtdRestricted());
  EXPECT_FALSE(stream.isDtdProhibited());
  EXPECT_EQ(stream.getMaxExpansion(), 10u);
  stream.setDtdRestriction(1);
  EXPECT_TRUE(stream.isDtdRestricted());
  EXPECT_FALSE(stream.isDtdProhibited());
  stream.setDtdRestriction(2);
  EXPECT_FALSE(stream.isDtdRestricted());
  EXPECT_TRUE(stream.isDtdProhibited());
  stream.setMaxExpansion(3);
  EXPECT_EQ(stream.getMaxExpansion(), 3u);
}

TEST_F(Input, TheStreamModeCanBeSetOnlyWhileClosed) {
  MarlIStream stream = source(bytes("abcd"));
  stream.setStreamMode(7);
  EXPECT_EQ(stream._impl()->getStreamMode(), 0u);
  stream.close();
  stream.setStreamMode(7);
  EXPECT_EQ(stream._impl()->getStreamMode(), 7u);
}

TEST_F(Input, IdentifiersAreStoredAsGiven) {
  MarlIStream stream = source(bytes("abcd"));
  EXPECT_EQ(stream.getSystemId(), L"");
  EXPECT_EQ(stream.getPublicId(), L"");
  stream.setSystemId(L"sys.xml");
  stream.setPublicId(L"-//A//B");
  EXPECT_EQ(stream.getSystemId(), L"sys.xml");
  EXPECT_EQ(stream.getPublicId(), L"-//A//B");
}

// =======================================================================================
// Output streams

namespace {

class Writing : public StreamTest {
 protected:
  void SetUp() override {
    StreamTest::SetUp();
    stream = factory.createOStreamString(text);
    ASSERT_TRUE(stream);
  }
  void TearDown() override {
    stream = static_cast<CMarlOStream const*>(nullptr);
    StreamTest::TearDown();
  }

  // Writes once with the flags given: the result and what reached the string.
  Written write(std::wstring const& value, bool quoted, bool escaped) {
    text.clear();
    stream.setQuoted(quoted);
    stream.setEscaped(escaped);
    int result = stream.write(value.data(), static_cast<int>(value.size()));
    return {result, text};
  }
  std::wstring escapedText(std::wstring const& value) { return write(value, false, true).text; }
  std::wstring quotedEscaped(std::wstring const& value) { return write(value, true, true).text; }

  std::wstring text;
  MarlOStream stream;
};

}  // namespace

TEST_F(Writing, ANullTextWritesNothingAndKeepsTheFlags) {
  stream.setQuoted(1);
  EXPECT_EQ(stream.write(nullptr, 5), 0);
  EXPECT_EQ(text, L"");
  EXPECT_TRUE(stream.getQuoted());
}

TEST_F(Writing, PlainTextPassesAsItStands) {
  Written written = write(L"a<b&'\"", false, false);
  EXPECT_EQ(written.result, 6);
  EXPECT_EQ(written.text, L"a<b&'\"");
}

TEST_F(Writing, QuotedTextIsDelimitedAndTheQuotesAreNotCountedInTheResult) {
  Written written = write(L"ab", true, false);
  EXPECT_EQ(written.text, L"\"ab\"");
  EXPECT_EQ(written.result, 2);
  EXPECT_EQ(stream.getNumWritten(), 4u);
}

TEST_F(Writing, TheOneShotFlagsAreClearedByAWrite) {
  write(L"a", true, true);
  EXPECT_FALSE(stream.getQuoted());
  EXPECT_FALSE(stream.getEscaped());
  EXPECT_EQ(stream.writeString(L"<'>"), 3);
  EXPECT_EQ(text, L"\"a\"<'>");
}

TEST_F(Writing, TheDelimiterIsTheQuoteThatTheTextNeedsLeastWithBothQuotesIgnored) {
  stream.setIgnoreEscaping(L"\"'");
  EXPECT_EQ(quotedEscaped(L"a\"b"), L"'a\"b'");
  EXPECT_EQ(quotedEscaped(L"a'b"), L"\"a'b\"");
  EXPECT_EQ(quotedEscaped(L"a'\"b"), L"\"a'&quot;b\"");
  EXPECT_EQ(quotedEscaped(L"a\"'b"), L"\"a&quot;'b\"");
  EXPECT_EQ(quotedEscaped(L"ab"), L"\"ab\"");
}

TEST_F(Writing, WithoutAnIgnoreListEveryQuoteInEscapedTextIsReplaced) {
  EXPECT_EQ(escapedText(L"a'\"b"), L"a&apos;&quot;b");
  EXPECT_EQ(quotedEscaped(L"a\"b"), L"'a&quot;b'");
  EXPECT_EQ(quotedEscaped(L"a'b"), L"\"a&apos;b\"");
}

TEST_F(Writing, MarkupCharactersAreReplacedUnlessIgnored) {
  EXPECT_EQ(escapedText(L"<a>&b"), L"&lt;a&gt;&amp;b");
  stream.setIgnoreEscaping(L"<>");
  EXPECT_EQ(escapedText(L"<a>&b"), L"<a>&amp;b");
}

TEST_F(Writing, AnIgnoredDoubleQuoteStaysUnlessItIsTheDelimiter) {
  stream.setIgnoreEscaping(L"\"");
  EXPECT_EQ(quotedEscaped(L"say \"hi\""), L"'say \"hi\"'");
  EXPECT_EQ(quotedEscaped(L"it's \"x\""), L"\"it&apos;s &quot;x&quot;\"");
  EXPECT_EQ(escapedText(L"\""), L"\"");
}

TEST_F(Writing, TheIgnoreListIsKeptInCanonicalOrderAndIgnoresOtherCharacters) {
  stream.setIgnoreEscaping(L"x'\"&><y");
  EXPECT_EQ(stream.getIgnoreEscaping(), L"<>&\"'");
  stream.setIgnoreEscaping(L"&&");
  EXPECT_EQ(stream.getIgnoreEscaping(), L"&");
  stream.setIgnoreEscaping(L"");
  EXPECT_EQ(stream.getIgnoreEscaping(), L"");
  EXPECT_EQ(escapedText(L"&"), L"&amp;");
}

TEST_F(Writing, TheCharacterZeroIsWrittenAsAReference) {
  EXPECT_EQ(escapedText(std::wstring(L"a\0b", 3)), L"a&#0;b");
}

TEST_F(Writing, ReplacementsCountByWhatWasWritten) {
  Written written = write(L"a<b", false, true);
  EXPECT_EQ(written.result, 6);
  EXPECT_EQ(written.text, L"a&lt;b");
}

TEST_F(Writing, PreservedLineBreaksBecomeReferencesOnlyInQuotedText) {
  stream.preserveSpecialChar(1);
  EXPECT_EQ(quotedEscaped(L"a\nb\tc d"), L"\"a&#xA;b&#9;c&#x20;d\"");
  EXPECT_EQ(escapedText(L"a\nb\tc d"), L"a\nb\tc d");
}

TEST_F(Writing, PreservedSpecialCharactersGoOutAsHexadecimalReferences) {
  stream.preserveSpecialChar(1);
  EXPECT_EQ(escapedText(L"\u3042\u0100"), L"&#x3042;\u0100");
  EXPECT_EQ(escapedText(L"\u0001\u001F\uFFFE\uE000"), L"&#x1;&#x1F;&#xFFFE;\uE000");
  EXPECT_EQ(escapedText(std::wstring(1, L'\0')), L"&#x0;");
  EXPECT_EQ(escapedText(L"\u07FF\u0800"), L"\u07FF&#x800;");
}

TEST_F(Writing, SkippedNonXmlCharactersAreDroppedDownToTheWholeRangeFrom0800) {
  stream.skipNonXmlChar(1);
  std::wstring value =
      std::wstring(L"a\0\u0008\u000B\u000C\u000E\u07FF\u0800\u3042\xD800\xDFFF\uE000b", 13);
  EXPECT_EQ(escapedText(value), L"a\u000E\u07FF\uE000b");
  stream.preserveSpecialChar(1);
  EXPECT_EQ(escapedText(L"\u3042\u0001"), L"");
}

TEST_F(Writing, SkippingAndPreservingApplyOnlyToEscapedText) {
  stream.skipNonXmlChar(1);
  stream.preserveSpecialChar(1);
  EXPECT_EQ(write(L"\u3042\n", false, false).text, L"\u3042\n");
}

TEST_F(Writing, EndlWritesNothingUnlessPrettyPrintIsOn) {
  XMLOSManipEndl().manipulate(stream);
  EXPECT_EQ(text, L"");
  stream.setPrettyPrint(1);
  stream.setIndent(2);
  XMLOSManipEndl().manipulate(stream);
  EXPECT_EQ(text, L"\n  ");
}

TEST_F(Writing, IndentationIsCappedAt127Characters) {
  stream.setPrettyPrint(1);
  stream.setIndent(200);
  XMLOSManipEndl().manipulate(stream);
  EXPECT_EQ(text, L"\n" + std::wstring(127, L' '));
}

TEST_F(Writing, EndlUsesTheIndentCharacterAndObeysTheOneShotFlags) {
  stream.setPrettyPrint(1);
  stream.setIndentChar(L'\t');
  EXPECT_EQ(stream.getIndentChar(), L'\t');
  stream.setIndent(1);
  XMLOSManipQuoted().manipulate(stream);
  XMLOSManipEndl().manipulate(stream);
  EXPECT_EQ(text, L"\"\n\t\"");
}

TEST_F(Writing, TheManipulatorsSetFlagsAndIndentation) {
  XMLOSManipQuoted(1).manipulate(stream);
  XMLOSManipEscaped(1).manipulate(stream);
  EXPECT_TRUE(stream.getQuoted());
  EXPECT_TRUE(stream.getEscaped());
  XMLOSManipQuoted(0).manipulate(stream);
  EXPECT_FALSE(stream.getQuoted());
  XMLOSManipIncIndent().manipulate(stream);
  XMLOSManipIncIndent(3).manipulate(stream);
  EXPECT_EQ(stream.getIndent(), 4u);
  XMLOSManipDecIndent(2).manipulate(stream);
  EXPECT_EQ(stream.getIndent(), 2u);
}

TEST_F(Writing, LoweringTheIndentationBelowZeroWrapsToTheDeepestLines) {
  XMLOSManipDecIndent().manipulate(stream);
  EXPECT_EQ(stream.getIndent(), 0xFFFFFFFFu);
  stream.setPrettyPrint(1);
  XMLOSManipEndl().manipulate(stream);
  EXPECT_EQ(text.size(), 128u);
}

TEST_F(Writing, TheSettersReadBack) {
  EXPECT_FALSE(stream.getPrettyPrint());
  EXPECT_EQ(stream.getIndent(), 0u);
  EXPECT_EQ(stream.getIndentChar(), L' ');
  stream.setPrettyPrint(1);
  EXPECT_TRUE(stream.getPrettyPrint());
}

TEST_F(Output, ACharacterTheEncodingCannotRepresentGivesMinusTwoAndNothingOfItsWrite) {
  rawstring sink;
  MarlOStream stream = factory.createOStreamRawString(sink);
  ASSERT_TRUE(stream.setEncoding(encoding(L"usascii")));
  EXPECT_EQ(stream.writeString(L"ok"), 2);
  EXPECT_EQ(stream.writeString(L"ab\u0100cd"), -2);
  EXPECT_EQ(sink, bytes("ok"));
  EXPECT_EQ(stream.getNumWritten(), 2u);
}

TEST_F(Output, AQuotedPlainTextThatFailsIsStillClosedAndTheNextTextIsNotQuoted) {
  rawstring sink;
  MarlOStream stream = factory.createOStreamRawString(sink);
  ASSERT_TRUE(stream.setEncoding(encoding(L"usascii")));
  stream.setQuoted(1);
  EXPECT_EQ(stream.writeString(L"a\u0100"), -2);
  EXPECT_FALSE(stream.getQuoted());
  EXPECT_EQ(stream.writeString(L">"), 1);
  EXPECT_EQ(sink, bytes("\"\">"));
}

TEST_F(Output, AnUnrepresentableReplacementEndsTheEscapedWriteAtOnce) {
  rawstring sink;
  MarlOStream stream = factory.createOStreamRawString(sink);
  ASSERT_TRUE(stream.setEncoding(encoding(L"iso-8859-1")));
  stream.setEscaped(1);
  EXPECT_EQ(stream.writeString(L"a<\u20ACb"), -2);
  EXPECT_EQ(sink, bytes("a&lt;"));
}

TEST_F(Output, WritingPastTheEndOfARawBufferGivesAShortCountAndThenMinusOne) {
  unsigned char buffer[4] = {};
  MarlOStream stream = factory.createOStreamRawBuffer(buffer, buffer + 4);
  unsigned char const six[] = {'1', '2', '3', '4', '5', '6'};
  EXPECT_EQ(stream.writeRaw(six, 3), 3);
  EXPECT_EQ(stream.writeRaw(six, 3), 1);
  EXPECT_EQ(stream.writeRaw(six, 1), -1);
  EXPECT_EQ(std::string(buffer, buffer + 4), "1231");
  EXPECT_EQ(stream.getNumWrittenRaw(), 4u);
}

TEST_F(Output, ATextThatDoesNotFitARawBufferIsCutAndTheWriteFails) {
  unsigned char buffer[4] = {};
  MarlOStream stream = factory.createOStreamRawBuffer(buffer, buffer + 4);
  EXPECT_EQ(stream.writeString(L"abcdef"), -1);
  EXPECT_EQ(std::string(buffer, buffer + 4), "abcd");
  EXPECT_EQ(stream.getNumWritten(), 0u);
}

TEST_F(Output, ARawBufferThatIsExactlyFilledTakesTheWholeWrite) {
  unsigned char buffer[3] = {};
  MarlOStream stream = factory.createOStreamRawBuffer(buffer, buffer + 3);
  EXPECT_EQ(stream.writeString(L"abc"), 3);
  EXPECT_EQ(stream.writeString(L"d"), -1);
}

TEST_F(Output, ARawBufferWithoutRoomIsOpenAndRefusesEveryWrite) {
  unsigned char buffer[1] = {};
  MarlOStream stream = factory.createOStreamRawBuffer(buffer, buffer);
  EXPECT_TRUE(stream._impl()->isOpen());
  EXPECT_EQ(stream.writeString(L"a"), -1);
}

TEST_F(Output, LongTextsPassTheRawBufferInSeveralBlocks) {
  rawstring sink;
  MarlOStream stream = factory.createOStreamRawString(sink);
  std::wstring text(20000, L'\u20AC');
  EXPECT_EQ(stream.writeString(text), 20000);
  EXPECT_EQ(sink.size(), 60000u);
  EXPECT_EQ(stream.getNumWrittenRaw(), 60000u);
  EXPECT_EQ(stream.getNumWritten(), 20000u);
}

TEST_F(Output, AStringSinkTakesCharactersWithoutEncodingThem) {
  std::wstring sink;
  MarlOStream stream = factory.createOStreamString(sink);
  ASSERT_TRUE(stream.setEncoding(encoding(L"usascii")));
  EXPECT_EQ(stream.writeString(L"\u3042\xD800"), 2);
  EXPECT_EQ(sink, L"\u3042\xD800");
  EXPECT_EQ(stream.getNumWrittenRaw(), 0u);
  unsigned char const raw[] = {'a'};
  EXPECT_EQ(stream.writeRaw(raw, 1), -1);
}

TEST_F(Output, AStringSinkGrowsToTwiceItsNewSize) {
  std::wstring sink;
  sink.shrink_to_fit();
  MarlOStream stream = factory.createOStreamString(sink);
  std::wstring text(100, L'x');
  ASSERT_EQ(stream.writeString(text), 100);
  EXPECT_GE(sink.capacity(), 200u);
  EXPECT_EQ(sink, text);
}

TEST_F(Output, WritingAfterCloseFails) {
  std::wstring wide;
  rawstring raw;
  unsigned char buffer[8];
  MarlOStream sinks[] = {factory.createOStreamString(wide), factory.createOStreamRawString(raw),
                         factory.createOStreamRawBuffer(buffer, buffer + 8)};
  for (MarlOStream const& sink : sinks) {
    sink.close();
    EXPECT_EQ(sink.writeString(L"a"), -1);
  }
  EXPECT_TRUE(wide.empty());
  EXPECT_TRUE(raw.empty());
}

TEST_F(Output, OpenStartsTheCountersAfresh) {
  rawstring sink;
  MarlOStream stream = factory.createOStreamRawString(sink);
  stream.writeString(L"abc");
  EXPECT_EQ(stream.getNumWritten(), 3u);
  EXPECT_EQ(stream.getNumWrittenRaw(), 3u);
  ASSERT_TRUE(stream.open());
  EXPECT_EQ(stream.getNumWritten(), 0u);
  EXPECT_EQ(stream.getNumWrittenRaw(), 0u);
}

TEST_F(Output, AFailingFileSinkGivesMinusOne) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  MarlOStream stream = factory.createOStreamURI(L"/dev/full", L"");
  ASSERT_TRUE(stream);
  std::wstring text(100000, L'x');
  EXPECT_EQ(stream.writeString(text), -1);
}

TEST_F(Output, AnOutputStreamTakesCharactersInItsEncoding) {
  rawstring sink;
  MarlOStream stream = factory.createOStreamRawString(sink);
  ASSERT_TRUE(stream.setEncoding(encoding(L"utf-16", E::BYTEORDER_BE)));
  stream.writeString(L"a\u3042");
  EXPECT_EQ(sink, bytes({0x00, 'a', 0x30, 0x42}));
}

// =======================================================================================
// The factory

TEST_F(Factory, TheFilePrototypesAreAddedOnFirstUseOnly) {
  CMarlStreamFactory* impl = factory._impl();
  EXPECT_TRUE(impl->inputPrototypes().empty());
  EXPECT_TRUE(impl->outputPrototypes().empty());
  EXPECT_FALSE(factory.createIStreamURI(L"http://nowhere/a.xml", L"", 0));
  ASSERT_EQ(impl->inputPrototypes().size(), 1u);
  ASSERT_EQ(impl->outputPrototypes().size(), 1u);
  EXPECT_FALSE(factory.createOStreamURI(L"http://nowhere/a.xml", L""));
  EXPECT_EQ(impl->inputPrototypes().size(), 1u);
  EXPECT_EQ(impl->outputPrototypes().size(), 1u);
}

TEST_F(Factory, AnotherSchemeNeedsARegisteredStream) {
  EXPECT_FALSE(factory.createIStreamURI(L"mem://doc", L"", 0));
  ASSERT_TRUE(factory.registerIStream(chunked(bytes("<mem/>"), 100)));
  MarlIStream stream = factory.createIStreamURI(L"mem://doc", L"-//P", 5);
  ASSERT_TRUE(stream);
  EXPECT_EQ(stream.getSystemId(), L"mem://doc");
  EXPECT_EQ(stream.getPublicId(), L"-//P");
  EXPECT_EQ(stream._impl()->getStreamMode(), 5u);
  EXPECT_EQ(readAll(stream), L"<mem/>");
}

TEST_F(Factory, RegisteredStreamsAreAskedFirstTheLastOneBeforeTheOthers) {
  class CAcceptsAll : public CChunkedIStream {
   public:
    using CChunkedIStream::CChunkedIStream;
    MarlStream clone() const override {
      return MarlStream(static_cast<CMarlStream*>(new CAcceptsAll(*this)));
    }
    unsigned char isCapable(std::wstring const&, std::wstring const&) const override { return 1; }
  };
  TempDir dir;
  writeFile(dir.file("a.xml"), "from the file");
  ASSERT_TRUE(factory.registerIStream(
      MarlIStream(static_cast<CMarlIStream*>(new CAcceptsAll(bytes("first"), 64)))));
  EXPECT_EQ(readAll(factory.createIStreamURI(dir.id("a.xml"), L"", 0)), L"first");
  ASSERT_TRUE(factory.registerIStream(
      MarlIStream(static_cast<CMarlIStream*>(new CAcceptsAll(bytes("second"), 64)))));
  EXPECT_EQ(readAll(factory.createIStreamURI(dir.id("a.xml"), L"", 0)), L"second");
  EXPECT_EQ(factory._impl()->inputPrototypes().size(), 3u);
}

TEST_F(Factory, RegisteringKeepsACopyOfTheStream) {
  MarlIStream given = chunked(bytes("abc"), 1);
  ASSERT_TRUE(factory.registerIStream(given));
  ASSERT_EQ(factory._impl()->inputPrototypes().size(), 1u);
  EXPECT_NE(static_cast<CUnknown*>(factory._impl()->inputPrototypes().front()),
            static_cast<CUnknown*>(given));
  std::wstring sink;
  MarlOStream output = factory.createOStreamString(sink);
  ASSERT_TRUE(factory.registerOStream(output));
  EXPECT_EQ(factory._impl()->outputPrototypes().size(), 1u);
}

TEST_F(Factory, AnEmptyStreamIsNotRegisteredAndNothingIsEverUnregistered) {
  EXPECT_FALSE(factory.registerIStream(MarlIStream()));
  EXPECT_FALSE(factory.registerOStream(MarlOStream()));
  MarlIStream given = chunked(bytes("abc"), 1);
  ASSERT_TRUE(factory.registerIStream(given));
  EXPECT_FALSE(factory.unregisterIStream(given));
  EXPECT_FALSE(factory.unregisterOStream(MarlOStream()));
  EXPECT_EQ(factory._impl()->inputPrototypes().size(), 1u);
}

TEST_F(Factory, AStreamThatIsCapableButCannotOpenGivesNoStream) {
  class CNeverOpens : public CChunkedIStream {
   public:
    using CChunkedIStream::CChunkedIStream;
    MarlStream clone() const override {
      return MarlStream(static_cast<CMarlStream*>(new CNeverOpens(*this)));
    }
    unsigned char open() override { return 0; }
  };
  ASSERT_TRUE(factory.registerIStream(
      MarlIStream(static_cast<CMarlIStream*>(new CNeverOpens(bytes("x"), 1)))));
  EXPECT_FALSE(factory.createIStreamURI(L"mem://x", L"", 0));
}

TEST_F(Factory, TheFactoryAnswersItsInterface) {
  EXPECT_EQ(factory._impl()->_queryClass(), 350u);
  EXPECT_NE(factory._impl()->_queryInterface(1), nullptr);
  EXPECT_EQ(factory._impl()->_queryInterface(360), nullptr);
  EXPECT_TRUE(MarlStreamFactory(static_cast<CUnknown*>(factory)));
}

TEST_F(Factory, ACreateOperationGivesAnEmptyHandleWhenMemoryRunsOut) {
  unsigned char buffer[4] = {'a', 'b', 'c', 'd'};
  std::wstring wide;
  rawstring raw;
  int host = 0;
  TempDir dir;
  writeFile(dir.file("a.xml"), "abc");
  // The file prototypes, made on first use, are the factory's own and stay.
  factory.createIStreamURI(L"mem://warm-up", L"", 0);
  std::vector<std::function<MarlStream()>> creators = {
      [&] { return factory.createIStreamRawBuffer(buffer, buffer + 4); },
      [&] { return factory.createIStreamRawString(bytes("abc")); },
      [&] { return factory.createIStreamString(L"abc"); },
      [&] { return factory.createIStreamXString(&host); },
      [&] { return factory.createIStreamCString(&host); },
      [&] { return factory.createIStreamITable(&host, 4); },
      [&] { return factory.createIStreamURI(dir.id("a.xml"), L"", 0); },
      [&] { return factory.createOStreamRawBuffer(buffer, buffer + 4); },
      [&] { return factory.createOStreamRawString(raw); },
      [&] { return factory.createOStreamString(wide); },
      [&] { return factory.createOStreamXString(&host); },
      [&] { return factory.createOStreamCString(&host); },
      [&] { return factory.createOStreamITable(&host); },
      [&] { return factory.createOStreamURI(dir.id("b.xml"), L""); },
  };
  for (std::size_t which = 0; which < creators.size(); ++which) {
    bool created = false;
    for (long failAt = 0; failAt < 100 && !created; ++failAt) {
      long blocksBefore = testhost::outstandingBlocks();
      {
        testhost::AllocationFailure failure(failAt);
        created = creators[which]() != nullptr;
      }
      if (!created) {
        EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore)
            << "creator " << which << " at " << failAt;
      }
    }
    EXPECT_TRUE(created) << "creator " << which;
  }
}

TEST_F(Factory, ThePrototypesAreAddedTogetherOrNotAtAll) {
  bool made = false;
  for (long failAt = 0; failAt < 100 && !made; ++failAt) {
    {
      testhost::AllocationFailure failure(failAt);
      factory.createOStreamURI(L"mem://nothing", L"");
    }
    std::size_t inputs = factory._impl()->inputPrototypes().size();
    EXPECT_EQ(factory._impl()->outputPrototypes().size(), inputs) << "at " << failAt;
    made = inputs == 1;
  }
  EXPECT_TRUE(made);
}

TEST_F(Factory, RegisteringGivesZeroWhenMemoryRunsOut) {
  MarlIStream given = chunked(bytes("abc"), 1);
  factory.createIStreamURI(L"mem://warm-up", L"", 0);
  bool registered = false;
  for (long failAt = 0; failAt < 100 && !registered; ++failAt) {
    testhost::AllocationFailure failure(failAt);
    registered = factory.registerIStream(given);
  }
  EXPECT_TRUE(registered);
  EXPECT_EQ(factory._impl()->inputPrototypes().size(), 2u);
}

TEST_F(Factory, CloneGivesAnEmptyHandleWhenMemoryRunsOut) {
  MarlIStream stream = source(bytes("abcd"));
  testhost::AllocationFailure failure;
  EXPECT_FALSE(stream.clone());
}

// =======================================================================================
// Round trips: text written in an encoding reads back the same.

namespace {

struct Served {
  wchar_t const* name;
  E::ByteOrder order;
  int isoPart;  // the ISO 8859 part whose characters to use; 0 for the Unicode forms
  bool asciiOnly;
  bool beyondThePlane;
};

Served const c_served[] = {
    {L"utf-8", E::BYTEORDER_LE, 0, false, true},
    {L"UTF-8", E::BYTEORDER_LE, 0, false, true},
    {L"utf-16", E::BYTEORDER_LE, 0, false, false},
    {L"utf-16", E::BYTEORDER_BE, 0, false, false},
    {L"utf-16le", E::BYTEORDER_BE, 0, false, false},
    {L"utf-16be", E::BYTEORDER_LE, 0, false, false},
    {L"ucs-2", E::BYTEORDER_LE, 0, false, false},
    {L"ucs-2", E::BYTEORDER_BE, 0, false, false},
    {L"ucs-2le", E::BYTEORDER_LE, 0, false, false},
    {L"iso-10646-ucs-2be", E::BYTEORDER_LE, 0, false, false},
    {L"ucs-4", E::BYTEORDER_LE, 0, false, false},
    {L"ucs-4", E::BYTEORDER_BE, 0, false, false},
    {L"ucs-4", E::BYTEORDER_2143, 0, false, false},
    {L"ucs-4", E::BYTEORDER_3412, 0, false, false},
    {L"iso-10646-ucs-4le", E::BYTEORDER_BE, 0, false, false},
    {L"ucs-4be", E::BYTEORDER_LE, 0, false, false},
    {L"iso-8859-1", E::BYTEORDER_LE, 1, false, false},
    {L"iso-8859-2", E::BYTEORDER_LE, 2, false, false},
    {L"iso-8859-3", E::BYTEORDER_LE, 3, false, false},
    {L"iso-8859-4", E::BYTEORDER_LE, 4, false, false},
    {L"iso-8859-5", E::BYTEORDER_LE, 5, false, false},
    {L"iso-8859-6", E::BYTEORDER_LE, 6, false, false},
    {L"iso-8859-7", E::BYTEORDER_LE, 7, false, false},
    {L"iso-8859-8", E::BYTEORDER_LE, 8, false, false},
    {L"iso-8859-9", E::BYTEORDER_LE, 9, false, false},
    {L"iso-8859-10", E::BYTEORDER_LE, 10, false, false},
    {L"iso-8859-11", E::BYTEORDER_LE, 11, false, false},
    {L"iso-8859-13", E::BYTEORDER_LE, 13, false, false},
    {L"iso-8859-14", E::BYTEORDER_LE, 14, false, false},
    {L"iso-8859-15", E::BYTEORDER_LE, 15, false, false},
    {L"latin2", E::BYTEORDER_LE, 2, false, false},
    {L"usascii", E::BYTEORDER_LE, 0, true, false},
    {L"us-ascii", E::BYTEORDER_LE, 0, false, true},
    {L"x-no-such-encoding", E::BYTEORDER_NONE, 0, false, true},
};

// Non-ASCII text that the encoding can hold, with markup characters among it.
std::wstring sampleFor(Served const& served) {
  std::wstring text = L"<a b=\"'&'\">\t\r\n";
  for (wchar_t c = 0x20; c < 0x7F; ++c) text += c;
  if (served.asciiOnly) return text;
  if (served.isoPart != 0) {
    std::uint32_t const* forward = CEncodingHandlerISO8859::forwardTableOf(served.isoPart);
    for (wchar_t c = 0x80; c < 0xA0; ++c) text += c;
    for (int index = 0; index < 96; ++index)
      if (forward[index] != 0x7F) text += static_cast<wchar_t>(forward[index]);
    return text;
  }
  text += L"Gr\u00FC\u00DFe \u0396\u03B5\u03CD\u03C2 \u20AC \u3042\u30A2";
  text += L" \uFFFD \uE000 \u07FF\u0800";
  if (served.beyondThePlane) text += L"\xD83D\xDE00";
  return text;
}

}  // namespace

TEST_F(RoundTrip, TextWrittenInEveryServedEncodingReadsBackTheSame) {
  for (Served const& served : c_served) {
    std::wstring text = sampleFor(served);
    // Long enough to pass the 8192-byte buffers several times.
    std::wstring repeated;
    for (int i = 0; i < 40; ++i) repeated += text;

    rawstring encoded;
    MarlOStream output = factory.createOStreamRawString(encoded);
    ASSERT_TRUE(output.setEncoding(encoding(served.name, served.order))) << MBString(served.name);
    ASSERT_EQ(output.writeString(repeated), static_cast<int>(repeated.size()))
        << MBString(served.name);
    output.close();

    MarlIStream input = source(encoded);
    ASSERT_TRUE(input.setEncoding(encoding(served.name, served.order)));
    EXPECT_EQ(readAll(input), repeated) << MBString(served.name);
    EXPECT_EQ(input.getNumReadRaw(), encoded.size());
    EXPECT_EQ(input.getNumRead(), repeated.size());

    // The bytes of one sample from a source that cuts them anywhere, read in small portions.
    rawstring once = encoded.substr(0, encoded.size() / 40);
    for (std::size_t chunk : {1u, 2u, 3u, 5u, 7u, 9u}) {
      MarlIStream pieces = chunked(once, chunk);
      ASSERT_TRUE(pieces.setEncoding(encoding(served.name, served.order)));
      EXPECT_EQ(readAll(pieces, 5), text) << MBString(served.name) << " chunk " << chunk;
    }
  }
}

TEST_F(RoundTrip, ADocumentWrittenToAFileReadsBackThroughDetection) {
  TempDir dir;
  std::wstring text = L"<?xml version=\"1.0\"?><doc>\u00E9\u3042</doc>";
  for (wchar_t const* name : {L"utf-8", L"utf-16le", L"utf-16be"}) {
    MarlOStream output = factory.createOStreamURI(dir.id("doc.xml"), L"");
    ASSERT_TRUE(output);
    ASSERT_TRUE(output.setEncoding(encoding(name)));
    ASSERT_EQ(output.writeString(text), static_cast<int>(text.size()));
    output.close();

    MarlIStream input = factory.createIStreamURI(L"file://" + dir.id("doc.xml"), L"", 0);
    ASSERT_TRUE(input);
    EXPECT_EQ(readAll(input), text) << MBString(name);
    EXPECT_EQ(input.getEncoding().getCharacterSet(), name);
  }
}

TEST_F(RoundTrip, AMarkWrittenFirstIsDetectedAndSkipped) {
  rawstring encoded;
  MarlOStream output = factory.createOStreamRawString(encoded);
  ASSERT_TRUE(output.setEncoding(encoding(L"utf-16", E::BYTEORDER_BE)));
  output.writeString(L"\uFEFFhello \u3042");
  MarlIStream input = source(encoded);
  EXPECT_EQ(readAll(input), L"hello \u3042");
  EXPECT_EQ(input.getEncoding().getByteOrder(), E::BYTEORDER_BE);
}

// =======================================================================================
// The stream factory in the library state

TEST_F(LibraryStreams, TheLibraryHandsOutItsOneFactory) {
  MarlStreamFactory again = marl.createStreamFactory();
  EXPECT_EQ(static_cast<CUnknown*>(again), static_cast<CUnknown*>(factory));
  // One count in the library and one in each of the two handles.
  EXPECT_EQ(factory._impl()->getRefCount(), 3u);
}

TEST_F(LibraryStreams, AFactoryHandleOutlivesTheLibrary) {
  MarlStreamFactory kept = factory;
  factory = static_cast<CMarlStreamFactory const*>(nullptr);
  marl = static_cast<CMarl const*>(nullptr);
  ASSERT_EQ(CMarlBase::c_pMarl, nullptr);
  EXPECT_EQ(kept._impl()->getRefCount(), 1u);
  std::wstring sink;
  MarlOStream stream = kept.createOStreamString(sink);
  ASSERT_TRUE(stream);
  stream.writeString(L"still here");
  EXPECT_EQ(sink, L"still here");
  stream = static_cast<CMarlOStream const*>(nullptr);
  kept = static_cast<CMarlStreamFactory const*>(nullptr);
  endLibrary();
}

TEST_F(LibraryStreams, TheDefaultFactoryIsOneObjectForTheProcess) {
  MarlStreamFactory first = defaultStreamFactory();
  ASSERT_TRUE(first);
  MarlStreamFactory second = defaultStreamFactory();
  EXPECT_EQ(static_cast<CUnknown*>(first), static_cast<CUnknown*>(second));
  EXPECT_NE(static_cast<CUnknown*>(first), static_cast<CUnknown*>(factory));
  first = static_cast<CMarlStreamFactory const*>(nullptr);
  second = static_cast<CMarlStreamFactory const*>(nullptr);
  EXPECT_TRUE(defaultStreamFactory());
  // It is never freed, so it is not counted against this test.
  blocksAtStart += 1;
}
