#include "kernel/xmxxu_xcpt.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(Exceptions, KeepCodeTextsAndLine) {
  XPT exception(0x30004, L"reason", L"xmxxp_perr", 12);
  EXPECT_EQ(exception.code, 0x30004);
  EXPECT_EQ(exception.reason, L"reason");
  EXPECT_EQ(exception.file, L"xmxxp_perr");
  EXPECT_EQ(exception.line, 12u);
}

TEST(Exceptions, PrintWithFileLineHexCodeAndReason) {
  std::ostringstream out;
  out << XPT(131075, L"bad argument", L"xmxxo_node", 77);
  EXPECT_EQ(out.str(), "[Exception: file: xmxxo_node(77) code: 0x00020003 bad argument ]\n");
}

TEST(Exceptions, PrintingLeavesTheStreamFormatAlone) {
  std::ostringstream out;
  out << XPT(0x50004, L"conversion", L"f", 1) << 255;
  EXPECT_NE(out.str().find("0x00050004"), std::string::npos);
  EXPECT_EQ(out.str().substr(out.str().size() - 3), "255");
}

TEST(Exceptions, CopiesAreEqual) {
  XPT original(5, L"a", L"b", 3);
  XPT copy(original);
  XPT assigned(0, L"", L"", 0);
  assigned = original;
  EXPECT_EQ(copy.code, 5);
  EXPECT_EQ(assigned.reason, L"a");
  EXPECT_EQ(assigned.line, 3u);
}

TEST(Exceptions, TraceWritesToStandardError) {
  ::testing::internal::CaptureStderr();
  XPT(1, L"r", L"f", 2).trace();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "[Exception: file: f(2) code: 0x00000001 r ]\n");
}

TEST(Exceptions, ParserErrorsAreCaughtAsTheirFamily) {
  try {
    throw XPT_Parser::XPT_FatalError(0x30005, L"fatal", L"xmxxp_perr", 1);
  } catch (XPT_Parser::XPT_Any const& caught) {
    EXPECT_EQ(caught.code, 0x30005);
  }
  try {
    throw XPT_Parser::XPT_Error(0x30004, L"error", L"xmxxp_perr", 1);
  } catch (XPT const& caught) {
    EXPECT_EQ(caught.code, 0x30004);
  }
}

TEST(Exceptions, ConversionProblemsAreInputOutputFailures) {
  try {
    throw XPT_IO::XPT_ConvProblem(0x50004, L"bytes", L"xmxxu_strm", 9);
  } catch (XPT_IO::XPT_Any const& caught) {
    EXPECT_EQ(caught.code, 0x50004);
  }
}
