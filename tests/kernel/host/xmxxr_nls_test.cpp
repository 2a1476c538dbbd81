#include <gtest/gtest.h>

#include <cstring>

#include "marl/host.h"

TEST(DefaultConversion, ConvertersHaveNoSizeAndCannotBeInitialised) {
  EXPECT_EQ(TOVASizeOfConverter(), 0u);
  TOVACodePage from{{'0', '1', '0', '0'}};
  TOVACodePage to{{'4', '1', '1', '0'}};
  EXPECT_EQ(TOVAInitConverter(nullptr, &from, &to, 0), 4);
  EXPECT_EQ(TOVAInitConverter(nullptr, &from, &to, 1), 4);
  EXPECT_EQ(TOVACopyConverter(nullptr, nullptr), 4);
  TOVAShutdownConverter(nullptr);
}

TEST(DefaultConversion, EveryConversionReportsAnInternalErrorAndMovesNoCursor) {
  const unsigned char bytes[] = {'a'};
  const unsigned char* byteCursor = bytes;
  wchar_t wide[4];
  wchar_t* wideCursor = wide;
  EXPECT_EQ(TOVAConvertORVCPToUCS2(nullptr, &byteCursor, bytes + 1, &wideCursor, wide + 4), 4);
  EXPECT_EQ(TOVAConvertBufferORVCPtoUCS2(nullptr, &byteCursor, bytes + 1, &wideCursor, wide + 4), 4);
  EXPECT_EQ(byteCursor, bytes);
  EXPECT_EQ(wideCursor, wide);

  const wchar_t text[] = {L'a'};
  const wchar_t* textCursor = text;
  unsigned char out[4];
  unsigned char* outCursor = out;
  EXPECT_EQ(TOVAConvertUCS2ToORVCP(nullptr, &textCursor, text + 1, &outCursor, out + 4), 4);
  EXPECT_EQ(TOVAConvertBufferUCS2toORVCP(nullptr, &textCursor, text + 1, &outCursor, out + 4), 4);
  EXPECT_EQ(textCursor, text);
  EXPECT_EQ(outCursor, out);
}

TEST(DefaultConversion, CodePageQueriesClearTheirRecord) {
  TOVACodePage page{{'x', 'x', 'x', 'x'}};
  TOVAConvertGetCurrentCodePage(&page);
  EXPECT_EQ(std::memcmp(page.digits, "\0\0\0\0", 4), 0);
  page = TOVACodePage{{'x', 'x', 'x', 'x'}};
  TOVAConvertGetInternalCodePage(&page);
  EXPECT_EQ(std::memcmp(page.digits, "\0\0\0\0", 4), 0);
}

TEST(DefaultConversion, CodePageNamesAreUnknown) {
  TOVACodePage page{{'x', 'x', 'x', 'x'}};
  EXPECT_EQ(TOVAConvertCpNameToOrvCp("windows-1252", &page), 0);
  EXPECT_EQ(std::memcmp(page.digits, "\0\0\0\0", 4), 0);
  char name[8] = "filled";
  EXPECT_EQ(TOVAConvertOrvCpToCpName(&page, name, sizeof name), 0);
  EXPECT_STREQ(name, "");
}

TEST(DefaultConversion, FurtherConversionsDoNothing) {
  wchar_t wide[2] = {L'k', L'k'};
  TOVAConvertORVUCtoUCS2(nullptr, "ab", 2, wide);
  TOVAConvertToUCS2(nullptr, "ab", 2, wide);
  EXPECT_EQ(wide[0], L'k');
  char narrow[2] = {'k', 'k'};
  TOVAConvertUCS2toORVUC(nullptr, L"ab", 2, narrow);
  TOVAConvertFromUCS2(nullptr, L"ab", 2, narrow);
  EXPECT_EQ(narrow[0], 'k');
}
