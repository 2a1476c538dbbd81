// The library as a program sees it through the public headers.
#include <gtest/gtest.h>

#include "marl/marl.h"

TEST(PublicFactory, CreateGivesTheLibraryInVersionTen) {
  Marl marl = Marl::create();
  ASSERT_TRUE(marl);
  EXPECT_EQ(marl.getVersion(), 10u);
}

TEST(PublicFactory, AHandleCopyServesTheSameLibrary) {
  Marl marl = Marl::create();
  Marl copy = marl;
  EXPECT_EQ(static_cast<CUnknown*>(copy), static_cast<CUnknown*>(marl));
  Marl second = Marl::create();
  EXPECT_EQ(static_cast<CUnknown*>(second), static_cast<CUnknown*>(marl));
}

TEST(PublicFactory, ServesXmlOneZeroOnly) {
  Marl marl = Marl::create();
  EXPECT_TRUE(marl.hasFeature(L"XML", L"1.0"));
  EXPECT_FALSE(marl.hasFeature(L"XML", L"2.0"));
  EXPECT_FALSE(marl.hasFeature(L"xml", L"1.0"));
  EXPECT_FALSE(marl.hasFeature(L"XPath", L"1.0"));
}

TEST(PublicFactory, QueryAnswersTheFactoryAndUnknownIdentifiers) {
  Marl marl = Marl::create();
  EXPECT_NE(marl._queryInterface(10), nullptr);
  EXPECT_NE(marl._queryInterface(1), nullptr);
  EXPECT_EQ(marl._queryInterface(20), nullptr);
}

TEST(PublicFactory, ConversionBehaviourIsAcceptedWithoutEffect) {
  Marl marl = Marl::create();
  EXPECT_EQ(marl.setConversionBehaviour(2, L'?', L"x"), 0);
  marl.localeChanged();
  EXPECT_TRUE(marl.hasFeature(L"XML", L"1.0"));
}

TEST(PublicText, StringHashIsExported) {
  EXPECT_EQ(calcStringHash(L""), 5381u);
  EXPECT_EQ(calcStringHash(L"a"), 5381u * 65599u + 97u);
}

TEST(PublicTrace, LevelIsStoredAndReadBack) {
  unsigned int before = MarlTrace__getLevel();
  MarlTrace__setLevel(3, 0);
  EXPECT_EQ(MarlTrace__getLevel(), 3u);
  MarlTrace__setLevel(before, 0);
}

TEST(PublicEncoding, CreateEncodingKeepsTheNameAndTheOrder) {
  Marl marl = Marl::create();
  MarlEncoding utf16 = marl.createEncoding(L"UTF-16", MarlEncoding::BYTEORDER_BE);
  ASSERT_TRUE(utf16);
  EXPECT_EQ(utf16.getCharacterSet(), L"UTF-16");
  EXPECT_EQ(utf16.getByteOrder(), MarlEncoding::BYTEORDER_BE);
  EXPECT_EQ(marl.createEncoding(L"utf-8", MarlEncoding::BYTEORDER_NONE).getByteOrder(), MarlEncoding::BYTEORDER_LE);
}

TEST(PublicEncoding, AutoDetectTakesTheMarkOver) {
  Marl marl = Marl::create();
  MarlEncoding detected = marl.createEncoding(L"utf-8", MarlEncoding::BYTEORDER_LE);
  unsigned char const document[] = {0xFE, 0xFF, 0x00, 0x3C};
  EXPECT_EQ(detected.autoDetect(document, document + sizeof document), 2);
  EXPECT_EQ(detected.getCharacterSet(), L"utf-16");
  EXPECT_EQ(detected.getByteOrder(), MarlEncoding::BYTEORDER_BE);
  unsigned char const letters[] = {'a', 'b'};
  EXPECT_EQ(detected.autoDetect(letters, letters + sizeof letters), -1);
  EXPECT_EQ(detected.getCharacterSet(), L"utf-16");
}

TEST(PublicEncoding, NamesForTheHostAndTheWeb) {
  Marl marl = Marl::create();
  MarlEncoding encoding = marl.createEncoding(L"UTF-16BE", MarlEncoding::BYTEORDER_LE);
  EXPECT_EQ(encoding.getCharacterSetORV(), L"x-orv4102");
  EXPECT_EQ(encoding.getCharacterSetHTTP(), L"utf-16");
  MarlEncoding copy = encoding.clone();
  copy.setCharacterSet(L"x-orv1160");
  EXPECT_EQ(copy.getCharacterSetHTTP(), L"windows-1252");
  EXPECT_EQ(encoding.getCharacterSet(), L"UTF-16BE");
}
