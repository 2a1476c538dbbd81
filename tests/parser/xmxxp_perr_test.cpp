#include "parser/xmxxp_perr.h"

#include <gtest/gtest.h>

#include <sstream>

#include "kernel/xmxxu_trc.h"
#include "kernel/xmxxu_xcpt.h"
#include "parser/parse_fixture.h"
#include "parser/xmxxp_pars.h"

using namespace parsetest;

namespace {

class ParseErrors : public ParseTest {
 protected:
  void TearDown() override {
    MarlTrace__setLevel(0, 0);
    ParseTest::TearDown();
  }

  // A parser that has read nothing yet, to report into directly.
  CMarlParser& fresh() {
    over(L"<a/>");
    return *parser._impl();
  }

  std::wstring const& reasonOf(unsigned int index) { return parser.getError(index).getReason(); }
};

using Severity = MarlParseError::Severity;

// ---------------------------------------------------------------------------------------
// Formatting of the reason

TEST_F(ParseErrors, PercentSInsertsAWideStringArgument) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 2000, L"a '%s' b", L"x");
  EXPECT_EQ(reasonOf(0), L"a 'x' b");
}

TEST_F(ParseErrors, PercentCInsertsOneWideCharacter) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 3006, L"char '%c' in %s", L'\x20AC', L"v");
  EXPECT_EQ(reasonOf(0), L"char '\x20AC' in v");
}

TEST_F(ParseErrors, OtherPercentFormsAreCopiedLiterally) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 1, L"%d %% %x %s", L"s");
  EXPECT_EQ(reasonOf(0), L"%d %% %x s");
}

TEST_F(ParseErrors, ATrailingPercentStays) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 1, L"100%");
  EXPECT_EQ(reasonOf(0), L"100%");
}

TEST_F(ParseErrors, ANullStringArgumentInsertsNothing) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 1, L"[%s]",
                   static_cast<wchar_t const*>(nullptr));
  EXPECT_EQ(reasonOf(0), L"[]");
}

TEST_F(ParseErrors, SurplusArgumentsAreIgnored) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 1, L"plain", L"unused", L"unused");
  EXPECT_EQ(reasonOf(0), L"plain");
}

// ---------------------------------------------------------------------------------------
// What each severity does

TEST_F(ParseErrors, InfoAndWarningReturnAfterStoring) {
  CMarlParser& target = fresh();
  target.addError(MarlParseError::SEVERITY_INFO, 1, L"i");
  target.addError(MarlParseError::SEVERITY_WARNING, 2, L"w");
  EXPECT_EQ(parser.numErrors(), 2u);
  EXPECT_EQ(parser.getError(0).getSeverity(), MarlParseError::SEVERITY_INFO);
  EXPECT_EQ(parser.getError(1).getSeverity(), MarlParseError::SEVERITY_WARNING);
}

TEST_F(ParseErrors, AnErrorThrowsTheParseErrorWithCode30004) {
  CMarlParser& target = fresh();
  try {
    target.addError(MarlParseError::SEVERITY_ERROR, 3000, L"e");
    FAIL() << "no exception";
  } catch (XPT_Parser::XPT_Error const& failure) {
    EXPECT_EQ(failure.code, 0x30004);
    EXPECT_EQ(failure.reason, L"A parse error has occured.");
    EXPECT_EQ(failure.file, L"xmxxi_xcpt");
    EXPECT_EQ(failure.line, 37u);
  }
  EXPECT_EQ(parser.numErrors(), 1u);
}

TEST_F(ParseErrors, AFatalErrorThrowsTheFatalErrorWithCode30005) {
  CMarlParser& target = fresh();
  try {
    target.addError(MarlParseError::SEVERITY_FATAL, 4001, L"f");
    FAIL() << "no exception";
  } catch (XPT_Parser::XPT_FatalError const& failure) {
    EXPECT_EQ(failure.code, 0x30005);
    EXPECT_EQ(failure.reason, L"A fatal parse error has occured.");
  }
  EXPECT_EQ(parser.numErrors(), 1u);
}

TEST_F(ParseErrors, SeveritiesOutsideOneToFourThrowUnknownReasonAfterStoring) {
  CMarlParser& target = fresh();
  for (unsigned int severity : {0u, 5u, 99u}) {
    try {
      target.addError(static_cast<Severity>(severity), 7, L"odd");
      FAIL() << "no exception for " << severity;
    } catch (XPT_Parser::XPT_Error const&) {
      FAIL() << "an error";
    } catch (XPT_Parser::XPT_FatalError const&) {
      FAIL() << "a fatal error";
    } catch (XPT_Parser::XPT_Any const& failure) {
      EXPECT_EQ(failure.code, 0x30001);
      EXPECT_EQ(failure.reason, L"unknown reason");
    }
  }
  EXPECT_EQ(parser.numErrors(), 3u);
  EXPECT_EQ(parser.getError(1).getSeverityText(), L"");
}

// ---------------------------------------------------------------------------------------
// The error handle

TEST_F(ParseErrors, SeverityTextsComeFromTheTable) {
  CMarlParser& target = fresh();
  target.addError(MarlParseError::SEVERITY_INFO, 1, L"i");
  target.addError(MarlParseError::SEVERITY_WARNING, 2, L"w");
  EXPECT_THROW(target.addError(MarlParseError::SEVERITY_ERROR, 3, L"e"), XPT_Parser::XPT_Error);
  EXPECT_THROW(target.addError(MarlParseError::SEVERITY_FATAL, 4, L"f"),
               XPT_Parser::XPT_FatalError);
  EXPECT_EQ(parser.getError(0).getSeverityText(), L"info");
  EXPECT_EQ(parser.getError(1).getSeverityText(), L"warning");
  EXPECT_EQ(parser.getError(2).getSeverityText(), L"error");
  EXPECT_EQ(parser.getError(3).getSeverityText(), L"fatal error");
  EXPECT_STREQ(CMarlParseError::cm_aseverity[0], L"");
}

TEST_F(ParseErrors, TheSeverityTextIsTheCachedCopy) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 2, L"w");
  std::wstring const& text = parser.getError(0).getSeverityText();
  EXPECT_EQ(&text, &parser.getError(0).getSeverityText());
  EXPECT_EQ(&text, CMarlBase::instance().intern(L"warning"));
}

TEST_F(ParseErrors, TheHandleAnswersItsInterfaceOnly) {
  fresh().addError(MarlParseError::SEVERITY_WARNING, 2, L"w");
  MarlParseError error = parser.getError(0);
  EXPECT_EQ(error._impl()->_queryClass(), 330u);
  EXPECT_TRUE(MarlParseError(static_cast<CUnknown*>(error)));
  EXPECT_FALSE(MarlParser(static_cast<CUnknown*>(error)));
}

TEST_F(ParseErrors, AnErrorOutlivesItsParser) {
  EXPECT_EQ(parse(L"<a></b>"), 0x30004u);
  MarlParseError error = parser.getError(0);
  parser = MarlParser();
  stream = MarlIStream();
  EXPECT_EQ(error.getNumber(), 3002u);
  EXPECT_EQ(error.getReason(), L"end tag 'b' does not match begin tag 'a'");
}

// ---------------------------------------------------------------------------------------
// Counting and picking by severity

TEST_F(ParseErrors, NumErrorsCountsAtOrAboveTheFloor) {
  EXPECT_EQ(parse(L"x<a/>y<b/>"), 0x30004u);
  EXPECT_EQ(parser.numErrors(MarlParseError::SEVERITY_NONE), 3u);
  EXPECT_EQ(parser.numErrors(MarlParseError::SEVERITY_WARNING), 3u);
  EXPECT_EQ(parser.numErrors(MarlParseError::SEVERITY_ERROR), 1u);
  EXPECT_EQ(parser.numErrors(MarlParseError::SEVERITY_FATAL), 0u);
}

TEST_F(ParseErrors, GetErrorWithErrorFloorSkipsWarnings) {
  EXPECT_EQ(parse(L"x<a/>y<b/>"), 0x30004u);
  MarlParseError error = parser.getError(0, MarlParseError::SEVERITY_ERROR);
  ASSERT_TRUE(error);
  EXPECT_EQ(error.getNumber(), 3000u);
  EXPECT_EQ(parser.getError(1, MarlParseError::SEVERITY_WARNING).getNumber(), 2000u);
}

TEST_F(ParseErrors, GetErrorBeyondTheFilteredCountIsEmpty) {
  EXPECT_EQ(parse(L"x<a/>y<b/>"), 0x30004u);
  EXPECT_FALSE(parser.getError(1, MarlParseError::SEVERITY_ERROR));
  EXPECT_FALSE(parser.getError(3));
  EXPECT_TRUE(parser.getError(2));
}

TEST_F(ParseErrors, WarningsBeforeTheEndingErrorStayInOrder) {
  EXPECT_EQ(parse(L"one<a/>two<b/>"), 0x30004u);
  std::vector<Finding> all = findings();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0].number, 2000u);
  EXPECT_EQ(all[0].column, 0u);
  EXPECT_EQ(all[1].number, 2000u);
  EXPECT_EQ(all[1].column, 7u);
  EXPECT_EQ(all[2].number, 3000u);
}

TEST_F(ParseErrors, OnlyOneErrorOfSeverityThreeStandsInARun) {
  EXPECT_EQ(parse(L"<a><b></c></d>"), 0x30004u);
  EXPECT_EQ(parser.numErrors(MarlParseError::SEVERITY_ERROR), 1u);
}

// ---------------------------------------------------------------------------------------
// Where a finding lies

TEST_F(ParseErrors, TheDocumentEntityWithoutIdentifierIsNamedDocumentInQuotes) {
  EXPECT_EQ(parse(L"<a></b>"), 0x30004u);
  EXPECT_EQ(parser.getError(0).getEntity(), L"\"<<document>>\"");
}

TEST_F(ParseErrors, TheDocumentEntityIsNamedByTheStreamsSystemIdentifier) {
  stream = factory.createIStreamString(L"<a></b>");
  stream.setSystemId(L"memory:doc.xml");
  parser = marl.createParser(factory, stream, document);
  ASSERT_TRUE(parser);
  EXPECT_EQ(parser.parse(), 0x30004u);
  EXPECT_EQ(parser.getError(0).getEntity(), L"memory:doc.xml");
}

TEST_F(ParseErrors, LineColumnAndOffsetAreThoseOfTheCurrentTokenStart) {
  EXPECT_EQ(parse(L"<a>\n  <b>\n  </c>"), 0x30004u);
  MarlParseError error = parser.getError(0);
  // The token behind the end tag's name; a line feed counts as the first column of its line.
  EXPECT_EQ(error.getLine(), 2u);
  EXPECT_EQ(error.getColumn(), 7u);
  EXPECT_EQ(error.getOffset(), 15u);
}

TEST_F(ParseErrors, AtTheEndOfInputThePlaceIsLineOneColumnOneOfNoEntity) {
  EXPECT_EQ(parse(L"<a>\n\n"), 0x30004u);
  MarlParseError error = parser.getError(0);
  EXPECT_EQ(error.getEntity(), L"");
  EXPECT_EQ(error.getLine(), 1u);
  EXPECT_EQ(error.getColumn(), 1u);
  EXPECT_EQ(error.getOffset(), 0u);
}

TEST_F(ParseErrors, AnErrorInsideAnInternalEntityHasNoEntityNameAndLocalPositions) {
  std::wstring const text = L"x\n<b></c>";
  document.getDocumentType().createIntEntityDecl(0, L"e", text);
  EXPECT_EQ(parse(L"<a>\n\n  &e;</a>"), 0x30004u);
  MarlParseError error = parser.getError(0);
  EXPECT_EQ(error.getNumber(), 3002u);
  EXPECT_EQ(error.getEntity(), L"");
  EXPECT_EQ(error.getLine(), 1u);
  EXPECT_EQ(error.getColumn(), 8u);
  EXPECT_EQ(error.getOffset(), 8u);
}

TEST_F(ParseErrors, WithoutAScannerThePlaceIsTheUnknownEntity) {
  CMarlParser& target = fresh();
  CMarlScanner* scanner = target.scanner;
  target.scanner = nullptr;
  target.addError(MarlParseError::SEVERITY_WARNING, 2, L"w");
  target.scanner = scanner;
  MarlParseError error = parser.getError(0);
  EXPECT_EQ(error.getEntity(), L"?");
  EXPECT_EQ(error.getLine(), 0u);
  EXPECT_EQ(error.getColumn(), 0u);
  EXPECT_EQ(error.getOffset(), 0u);
}

// ---------------------------------------------------------------------------------------
// Output

TEST_F(ParseErrors, TheOutputOperatorWritesEntityPlaceSeverityNumberAndReason) {
  EXPECT_EQ(parse(L"<a></b>"), 0x30004u);
  std::ostringstream out;
  out << parser.getError(0);
  EXPECT_EQ(out.str(),
            "entity \"<<document>>\" (0:6) : error 3002: end tag 'b' does not match begin tag "
            "'a'\n");
}

TEST_F(ParseErrors, EachStoredFindingWritesATraceLineAtTheErrorLevel) {
  MarlTrace__setLevel(2, 0);
  testing::internal::CaptureStderr();
  fresh().addError(MarlParseError::SEVERITY_WARNING, 2000, L"careful %s", L"here");
  std::string const written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("marl parser warning: careful here (nr=2000) o=0 l=0 c=0"),
            std::string::npos)
      << written;
  EXPECT_NE(written.find("(xmxxp_pars:"), std::string::npos) << written;
}

TEST_F(ParseErrors, NoTraceLineBelowTheErrorLevel) {
  MarlTrace__setLevel(1, 0);
  testing::internal::CaptureStderr();
  fresh().addError(MarlParseError::SEVERITY_WARNING, 2000, L"quiet");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(parser.numErrors(), 1u);
}

}  // namespace
