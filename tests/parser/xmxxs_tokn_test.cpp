#include "parser/xmxxs_tokn.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

TEST(Token, ANewTokenIsAllZero) {
  CToken token;
  EXPECT_EQ(token.id, CToken::TOK_INVALID);
  EXPECT_EQ(token.text, nullptr);
  EXPECT_EQ(token.colon, nullptr);
  EXPECT_EQ(token.length, 0u);
  EXPECT_EQ(token.hasPosition, 0u);
  EXPECT_EQ(token.offset, 0u);
  EXPECT_EQ(token.line, 0u);
  EXPECT_EQ(token.column, 0u);
}

TEST(Token, TheIdIsThirtyTwoBitsWide) {
  EXPECT_EQ(sizeof(CToken::TokenID), 4u);
  EXPECT_TRUE((std::is_same<std::underlying_type_t<CToken::TokenID>, std::uint32_t>::value));
}

TEST(Token, IdsKeepTheirNumbers) {
  struct Numbered {
    CToken::TokenID id;
    unsigned int number;
  };
  Numbered const table[] = {
      {CToken::TOK_INVALID, 0},        {CToken::TOK_SQ_OPEN, 1},
      {CToken::TOK_SQ_CLOSE, 2},       {CToken::TOK_DQ_OPEN, 3},
      {CToken::TOK_DQ_CLOSE, 4},       {CToken::TOK_HASH, 5},
      {CToken::TOK_PERCENT, 10},       {CToken::TOK_AMP, 11},
      {CToken::TOK_LPAREN, 12},        {CToken::TOK_RPAREN, 13},
      {CToken::TOK_STAR, 14},          {CToken::TOK_COMMA, 15},
      {CToken::TOK_EMPTY_END, 16},     {CToken::TOK_QUESTION, 17},
      {CToken::TOK_PI_END, 18},        {CToken::TOK_LBRACKET, 19},
      {CToken::TOK_RBRACKET, 20},      {CToken::TOK_SECT_END, 21},
      {CToken::TOK_BAR, 22},           {CToken::TOK_PLUS, 23},
      {CToken::TOK_PLUS_PAREN, 24},    {CToken::TOK_LT, 26},
      {CToken::TOK_COMMENT_START, 27}, {CToken::TOK_COND_START, 28},
      {CToken::TOK_CDATA_START, 29},   {CToken::TOK_ATTLIST, 30},
      {CToken::TOK_DOCTYPE, 31},       {CToken::TOK_ELEMENT, 32},
      {CToken::TOK_ENTITY, 33},        {CToken::TOK_NOTATION, 34},
      {CToken::TOK_ETAG_START, 35},    {CToken::TOK_PI_START, 36},
      {CToken::TOK_XML_PI_START, 37},  {CToken::TOK_EQ, 38},
      {CToken::TOK_GT, 39},            {CToken::TOK_MINUS, 40},
      {CToken::TOK_COMMENT_END, 41},   {CToken::TOK_MINUS_PAREN, 42},
      {CToken::TOK_CHARDATA, 43},      {CToken::TOK_DATA, 44},
      {CToken::TOK_NAME, 45},          {CToken::TOK_QNAME, 46},
      {CToken::TOK_LITERAL, 47},       {CToken::TOK_NMTOKEN, 48},
      {CToken::TOK_CHARREF, 49},       {CToken::TOK_GEREF, 50},
      {CToken::TOK_PEREF, 51},         {CToken::TOK_ENTITY_END, 52},
      {CToken::TOK_EOF, 53},
  };
  for (Numbered const& entry : table) EXPECT_EQ(static_cast<unsigned int>(entry.id), entry.number);
}

TEST(Token, CompareIsZeroForTheSameCharacters) {
  std::wstring const text = L"&amp;";
  CToken token;
  token.text = text.data();
  token.length = 5;
  EXPECT_EQ(token.compare(L"&amp;", 5), 0);
}

TEST(Token, CompareIsOneForAnotherLength) {
  std::wstring const text = L"&amp;";
  CToken token;
  token.text = text.data();
  token.length = 5;
  EXPECT_EQ(token.compare(L"&amp", 4), 1);
  EXPECT_EQ(token.compare(L"&amp;x", 6), 1);
}

TEST(Token, CompareIsOneForAnotherCharacter) {
  std::wstring const text = L"&lt;";
  CToken token;
  token.text = text.data();
  token.length = 4;
  EXPECT_EQ(token.compare(L"&gt;", 4), 1);
  EXPECT_EQ(token.compare(L"&LT;", 4), 1);
}

TEST(Token, CompareLooksOnlyAtTheTokensLength) {
  std::wstring const text = L"&lt;&gt;";
  CToken token;
  token.text = text.data();
  token.length = 4;
  EXPECT_EQ(token.compare(L"&lt;", 4), 0);
}

TEST(Token, AnEmptyTokenMatchesOnlyTheEmptyComparison) {
  CToken token;
  EXPECT_EQ(token.compare(L"", 0), 0);
  EXPECT_EQ(token.compare(nullptr, 0), 0);
  EXPECT_EQ(token.compare(L"a", 1), 1);
}

TEST(Token, AssignmentCopiesEveryField) {
  std::wstring const text = L"p:a";
  CToken token;
  token.id = CToken::TOK_QNAME;
  token.text = text.data();
  token.colon = text.data() + 1;
  token.length = 3;
  token.hasPosition = 1;
  token.offset = 7;
  token.line = 2;
  token.column = 3;
  CToken copy;
  copy = token;
  EXPECT_EQ(copy.id, CToken::TOK_QNAME);
  EXPECT_EQ(copy.text, text.data());
  EXPECT_EQ(copy.colon, text.data() + 1);
  EXPECT_EQ(copy.length, 3u);
  EXPECT_EQ(copy.hasPosition, 1u);
  EXPECT_EQ(copy.offset, 7u);
  EXPECT_EQ(copy.line, 2u);
  EXPECT_EQ(copy.column, 3u);
}
