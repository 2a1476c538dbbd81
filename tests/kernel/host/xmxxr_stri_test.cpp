#include <gtest/gtest.h>

#include "marl/host.h"

TEST(DefaultHostStrings, DeliverNoCharacters) {
  int hostString = 0;
  TOVAStringFirstInitRoll(&hostString);
  TOVAStringCreate(&hostString, 10);
  TOVAStringSetContent(&hostString, L"abc", 3, nullptr);
  TOVAStringAppend(&hostString, L"d", 1, nullptr);
  const wchar_t* data = L"stale";
  size_t length = 99;
  TOVAStringGetContent(&hostString, &data, &length, nullptr);
  EXPECT_EQ(data, nullptr);
  EXPECT_EQ(length, 0u);
  TOVAStringDiscard(&hostString);
}

TEST(DefaultHostStrings, ByteStringsReportFailure) {
  int hostString = 0;
  const unsigned char bytes[] = {1, 2};
  TOVAXStringSetContent(&hostString, bytes, 2);
  TOVAXStringAppend(&hostString, bytes, 2);
  const unsigned char* data = bytes;
  size_t length = 2;
  EXPECT_NE(TOVAXStringGetContent(&hostString, &data, &length), 0);
  EXPECT_EQ(length, 0u);
}

TEST(DefaultHostStrings, MoveAndTableInitDoNothing) {
  int target = 1, source = 2;
  TOVAStringMove(&target, &source);
  TOVAStringFirstInitFromTabh(&target, nullptr);
  EXPECT_EQ(target, 1);
  EXPECT_EQ(source, 2);
}
