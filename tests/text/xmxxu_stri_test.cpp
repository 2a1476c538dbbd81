#include "text/xmxxu_stri.h"

#include <gtest/gtest.h>

#include <clocale>

#include "support/library_state.h"

TEST(StringHash, OfTheEmptyStringIs5381) {
  EXPECT_EQ(calcStringHash(L""), 5381u);
}

TEST(StringHash, MultipliesBy65599AndAddsEachElement) {
  EXPECT_EQ(calcStringHash(L"a"), 5381u * 65599u + 97u);
  EXPECT_EQ(calcStringHash(L"ab"), (5381u * 65599u + 97u) * 65599u + 98u);
}

TEST(StringHash, WrapsAroundInThirtyTwoBits) {
  std::uint32_t expected = 5381;
  std::wstring text(100, L'\uffff');
  for (wchar_t element : text) expected = expected * 65599u + static_cast<std::uint32_t>(element);
  EXPECT_EQ(calcStringHash(text), expected);
}

TEST(StringHash, DoesNotFoldCase) {
  EXPECT_NE(calcStringHash(L"A"), calcStringHash(L"a"));
}

TEST(CaseFolding, UpperAndLowerFoldAsciiAndLeaveTheArgument) {
  std::wstring text = L"Utf-8 Name";
  EXPECT_EQ(toUpper(text), L"UTF-8 NAME");
  EXPECT_EQ(toLower(text), L"utf-8 name");
  EXPECT_EQ(text, L"Utf-8 Name");
}

TEST(CaseFolding, LeavesDigitsAndPunctuation) {
  EXPECT_EQ(toLower(L"ISO-8859-1"), L"iso-8859-1");
  EXPECT_EQ(toUpper(L"123_:"), L"123_:");
}

TEST(MBString, ConvertsAsciiWideText) {
  EXPECT_EQ(std::string(MBString(L"hello")), "hello");
  EXPECT_EQ(std::string(MBString(std::wstring(L"abc"))), "abc");
}

TEST(MBString, NullOrEmptyWideTextIsEmpty) {
  EXPECT_TRUE(MBString(static_cast<wchar_t const*>(nullptr)).empty());
  EXPECT_TRUE(MBString(L"").empty());
}

TEST(MBString, CopiesNarrowText) {
  EXPECT_EQ(std::string(MBString("narrow")), "narrow");
  EXPECT_EQ(std::string(MBString(std::string("text"))), "text");
  EXPECT_TRUE(MBString(static_cast<char const*>(nullptr)).empty());
}

TEST(MBString, ConvertsBackToWideText) {
  std::wstring wide = MBString("round trip");
  EXPECT_EQ(wide, L"round trip");
}

TEST(MBString, IsZeroTerminatedForPrintf) {
  MBString text(L"abc");
  EXPECT_EQ(text.c_str()[3], '\0');
}

TEST(MBString, AnUnrepresentableCharacterGivesAnEmptyTextNotAnError) {
  // The tests run in the "C" locale, which cannot represent an e with acute accent.
  std::setlocale(LC_ALL, "C");
  EXPECT_TRUE(MBString(L"caf\u00e9").empty());
}

TEST(MBString, UsesTheProcessLocaleWhenItCanRepresentTheText) {
  if (!std::setlocale(LC_ALL, "C.UTF-8")) GTEST_SKIP() << "no C.UTF-8 locale";
  EXPECT_EQ(std::string(MBString(L"caf\u00e9")), "caf\xc3\xa9");
  std::wstring wide = MBString("caf\xc3\xa9");
  EXPECT_EQ(wide, L"caf\u00e9");
  std::setlocale(LC_ALL, "C");
}

// Without a host, the host string functions store and deliver nothing.
TEST(HostStrings, WithoutAHostNothingComesBack) {
  int hostString = 0;
  EXPECT_EQ(toCString(L"text", &hostString), &hostString);
  EXPECT_EQ(fromCString(&hostString), L"");
  EXPECT_EQ(fromCString(nullptr), L"");
  endLibrary();
}

TEST(HostStrings, ToCStringOfAnEmptyTextDiscardsAndReturnsTheSameHandle) {
  int hostString = 0;
  EXPECT_EQ(toCString(L"", &hostString), &hostString);
}

TEST(HostStrings, RawStringsWithoutAHostComeBackEmpty) {
  int hostString = 0;
  rawstring bytes{'a', 'b'};
  EXPECT_EQ(toCRawString(bytes, &hostString), &hostString);
  EXPECT_EQ(toCRawString(rawstring(), &hostString), &hostString);
  EXPECT_TRUE(fromCRawString(&hostString).empty());
  EXPECT_TRUE(fromCRawString(nullptr).empty());
}
