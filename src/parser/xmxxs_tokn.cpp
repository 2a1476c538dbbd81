#include "parser/xmxxs_tokn.h"

CToken::CToken() noexcept
    : id(TOK_INVALID),
      text(nullptr),
      colon(nullptr),
      length(0),
      hasPosition(0),
      offset(0),
      line(0),
      column(0) {}

int CToken::compare(wchar_t const* s, unsigned int n) const noexcept {
  if (length != n) return 1;
  for (unsigned int i = 0; i < n; ++i)
    if (text[i] != s[i]) return 1;
  return 0;
}
