#include "kernel/xmxxu_trc.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class Trace : public ::testing::Test {
 protected:
  void SetUp() override { saved = MarlTrace__getLevel(); }
  void TearDown() override { MarlTrace__setLevel(saved, 0); }

  unsigned int saved = 0;
};

std::string traced(unsigned int reportLevel, void (*site)()) {
  MarlTrace__setLevel(reportLevel, 0);
  ::testing::internal::CaptureStderr();
  site();
  return ::testing::internal::GetCapturedStderr();
}

}  // namespace

TEST_F(Trace, SetLevelStoresBothValues) {
  MarlTrace__setLevel(3, 9);
  EXPECT_EQ(MarlTrace__getLevel(), 3u);
  EXPECT_EQ(Marl__trace_override, 9u);
}

TEST_F(Trace, ASiteAboveTheReportLevelPrintsNothing) {
  std::string out = traced(1, [] { MARL_TRACE(traceError, "marl %s", "hidden"); });
  EXPECT_EQ(out, "");
}

TEST_F(Trace, ADisabledSiteDoesNotEvaluateItsArguments) {
  static int evaluations = 0;
  traced(0, [] { MARL_TRACE(traceFatal, "marl %d", ++evaluations); });
  EXPECT_EQ(evaluations, 0);
}

TEST_F(Trace, AnErrorNamesTheLastPathPartOfItsFileAndItsLine) {
  std::string out = traced(2, [] { MARL_TRACE(traceError, "marl bad %d", 42); });
  std::string expected = "Marl error:  marl bad 42\n  (xmxxu_trc_test.cpp:" +
                         std::to_string(Marl__trace_line) + ")\n";
  EXPECT_EQ(out, expected);
  EXPECT_EQ(std::string(Marl__trace_file).find("xmxxu_trc_test.cpp") == std::string::npos, false);
}

TEST_F(Trace, AFatalErrorHasItsOwnPrefixAndALocation) {
  std::string out = traced(4, [] { MARL_TRACE(traceFatal, "marl stop"); });
  EXPECT_EQ(out.rfind("Marl fatal error:  marl stop\n  (xmxxu_trc_test.cpp:", 0), 0u);
}

TEST_F(Trace, WarningsAndInfoCarryNoLocation) {
  EXPECT_EQ(traced(4, [] { MARL_TRACE(traceWarning, "marl careful"); }),
            "Marl warning:  marl careful\n\n");
  EXPECT_EQ(traced(4, [] { MARL_TRACE(traceInfo, "marl note"); }), "Marl info:  marl note\n\n");
}

TEST_F(Trace, ALevelOutsideTheTablePrintsAsAnError) {
  std::string out = traced(9, [] { MARL_TRACE(7, "marl odd"); });
  EXPECT_EQ(out.rfind("Marl error:  marl odd\n  (", 0), 0u);
}

TEST_F(Trace, ALongMessageIsCutAndStillEndsTheLine) {
  std::string out = traced(3, [] { MARL_TRACE(traceWarning, "%s", std::string(5000, 'x').c_str()); });
  EXPECT_EQ(out, "Marl warning:  " + std::string(1022, 'x') + "\n");
}

TEST_F(Trace, AMessageThatJustFitsKeepsItsLineFeed) {
  std::string out = traced(3, [] { MARL_TRACE(traceWarning, "%s", std::string(1022, 'y').c_str()); });
  EXPECT_EQ(out, "Marl warning:  " + std::string(1022, 'y') + "\n\n");
}

TEST_F(Trace, AFileNameWithoutSeparatorsPrintsWhole) {
  MarlTrace__setLevel(2, 0);
  MarlTrace__setSite("plainname.cpp", 5, traceError);
  ::testing::internal::CaptureStderr();
  MarlTrace__trace("marl x");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Marl error:  marl x\n  (plainname.cpp:5)\n");
}

TEST_F(Trace, ABackslashSeparatesPathPartsToo) {
  MarlTrace__setLevel(2, 0);
  MarlTrace__setSite("c:\\src\\xmxxu_enco.cpp", 12, traceError);
  ::testing::internal::CaptureStderr();
  MarlTrace__trace("marl y");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Marl error:  marl y\n  (xmxxu_enco.cpp:12)\n");
}

TEST_F(Trace, TheLocationPadsTheNameToTwelveCharactersBeforeTheLine) {
  MarlTrace__setSite("src/streams/xmxxu_strm", 1446, traceError);
  MarlTrace__buildLocation();
  EXPECT_STREQ(Marl__trace_location, "xmxxu_strm  1446");
}

TEST_F(Trace, TheLocationCutsALongNameToTwelveCharacters) {
  MarlTrace__setSite("/a/very_long_source_name.cpp", 7, traceError);
  MarlTrace__buildLocation();
  EXPECT_STREQ(Marl__trace_location, "very_long_so7");
}
