#ifndef MARL_PARSER_XMXXS_TOKN_H
#define MARL_PARSER_XMXXS_TOKN_H

#include <cstdint>

// One token of the scanner. The text is not a copy: it points into the buffer of the entity
// being read and stays valid only until the scanner moves on.
class CToken {
 public:
  // Agents dispatch on ranges and tables of these numbers, so they never change. 6 to 9 and
  // 25 are not produced.
  enum TokenID : std::uint32_t {
    TOK_INVALID = 0,
    TOK_SQ_OPEN = 1,
    TOK_SQ_CLOSE = 2,
    TOK_DQ_OPEN = 3,
    TOK_DQ_CLOSE = 4,
    TOK_HASH = 5,
    TOK_PERCENT = 10,
    TOK_AMP = 11,
    TOK_LPAREN = 12,
    TOK_RPAREN = 13,
    TOK_STAR = 14,
    TOK_COMMA = 15,
    TOK_EMPTY_END = 16,
    TOK_QUESTION = 17,
    TOK_PI_END = 18,
    TOK_LBRACKET = 19,
    TOK_RBRACKET = 20,
    TOK_SECT_END = 21,
    TOK_BAR = 22,
    TOK_PLUS = 23,
    TOK_PLUS_PAREN = 24,
    TOK_LT = 26,
    TOK_COMMENT_START = 27,
    TOK_COND_START = 28,
    TOK_CDATA_START = 29,
    TOK_ATTLIST = 30,
    TOK_DOCTYPE = 31,
    TOK_ELEMENT = 32,
    TOK_ENTITY = 33,
    TOK_NOTATION = 34,
    TOK_ETAG_START = 35,
    TOK_PI_START = 36,
    TOK_XML_PI_START = 37,
    TOK_EQ = 38,
    TOK_GT = 39,
    TOK_MINUS = 40,
    TOK_COMMENT_END = 41,
    TOK_MINUS_PAREN = 42,
    TOK_CHARDATA = 43,
    TOK_DATA = 44,
    TOK_NAME = 45,
    TOK_QNAME = 46,
    TOK_LITERAL = 47,
    TOK_NMTOKEN = 48,
    TOK_CHARREF = 49,
    TOK_GEREF = 50,
    TOK_PEREF = 51,
    TOK_ENTITY_END = 52,
    TOK_EOF = 53,
  };

  // Everything zero: an invalid token without text or position.
  CToken() noexcept;

  // 0 when the token is exactly the `n` characters of `s`, 1 otherwise. An empty token
  // matches n == 0 whatever `s` is.
  int compare(wchar_t const* s, unsigned int n) const noexcept;

  TokenID id;
  wchar_t const* text;
  // The separating colon inside `text`; only a TOK_QNAME has one, every other token null.
  wchar_t const* colon;
  std::uint32_t length;
  std::uint8_t hasPosition;
  // Where the first character stands in its entity: the offset counts characters from the
  // entity's start, lines and columns from 0 (see CMarlGEntityIterator).
  std::uint32_t offset;
  std::uint32_t line;
  std::uint32_t column;
};

#endif
