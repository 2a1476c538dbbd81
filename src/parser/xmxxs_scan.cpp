#include "parser/xmxxs_scan.h"

#include "kernel/xmxxi_marl.h"
#include "text/xmxxs_char.h"

namespace {

using Token = CToken::TokenID;

// One table read. Decoders deliver only 16-bit code units; the cast keeps a wider value that
// reached a buffer some other way inside the table instead of adding a bounds test.
inline std::uint16_t classOf(wchar_t c) noexcept {
  return CCharClass::c_fClass[static_cast<std::uint16_t>(c)];
}

inline bool isSpace(wchar_t c) noexcept {
  return (classOf(c) & CCharClass::fSpace) != 0;
}

// Character data that the data loop would step over one by one without a second look: no
// markup, no line to count, no ']' that might begin "]]>".
inline bool isPlainData(wchar_t c) noexcept {
  return (classOf(c) & CCharClass::fContent) && c != L']' && c != L'\n';
}

inline bool isDigit(wchar_t c) noexcept {
  return c >= L'0' && c <= L'9';
}

inline bool isHexDigit(wchar_t c) noexcept {
  return isDigit(c) || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

// A character of the bare attribute values of mode 1: a name character without the colon
// rule, or one of the marks a name may hold.
inline bool isBareValueChar(wchar_t c) noexcept {
  return (classOf(c) & CCharClass::NameMarkMask) != 0 || c == L'.' || c == L'-' || c == L'_' ||
         c == L':';
}

}  // namespace

CMarlScanner::CMarlScanner(CMarlScannerHost* owner, CMarlGEntity* firstEntity,
                           MarlStreamFactory factory)
    : streamFactory(factory ? factory : CMarlBase::instance().getStreamFactory()),
      parser(owner),
      mode(0),
      normalizing(1),
      normalizingAtt(0),
      nameSpaces(1),
      states{&CMarlScanner::scanInvalid,       &CMarlScanner::scanData,
             &CMarlScanner::scanCData,         &CMarlScanner::scanComment,
             &CMarlScanner::scanDtd,           &CMarlScanner::scanIgnoreSection,
             &CMarlScanner::scanElement,       &CMarlScanner::scanLiteralDq,
             &CMarlScanner::scanLiteralSq,     &CMarlScanner::scanPi,
             &CMarlScanner::scanXmlDecl},
      depth(1),
      primed(0),
      literalFlags(0),
      piNameSeen(0) {
  for (std::int32_t slot = 0; slot < c_stateSlots; ++slot)
    states[c_stateTableSize + slot] = &CMarlScanner::scanInvalid;
  states[c_stateTableSize + 1] = &CMarlScanner::scanData;
  entityStack.reserve(32);
  cursorStack.reserve(32);
  if (firstEntity) pushEntity(MarlGEntity(firstEntity), STATE_NONE);
}

// Entities outlive the scanner (an internal one belongs to its declaration), so none may keep
// pointers to these cursors.
CMarlScanner::~CMarlScanner() {
  auto forget = [this](CMarlGEntity* reader) {
    if (reader && reader->startIterator == &tokenStart) reader->unregisterIterators();
  };
  forget(entity._impl());
  for (MarlGEntity const& saved : entityStack) forget(saved._impl());
}

CMarlScanner& CMarlScanner::operator++() {
  for (;;) {
    if (!entity) return *this;
    tokenStart = cursor;
    Token const id = (this->*topState())();
    // Whatever could not be taken is skipped by one character, so the scanner always moves.
    if (id == CToken::TOK_INVALID) cursor.step();

    token.id = id;
    token.text = tokenStart.pos;
    if (id != CToken::TOK_QNAME) token.colon = nullptr;
    token.length = static_cast<std::uint32_t>(cursor.pos - tokenStart.pos);
    token.hasPosition = 1;
    token.line = tokenStart.line;
    token.column = tokenStart.column;
    CMarlGEntity const* reading = tokenStart.entity;
    token.offset = reading ? reading->base + static_cast<std::uint32_t>(
                                                 tokenStart.pos - reading->buffer.data())
                           : 0;

    if (id == CToken::TOK_PEREF) {
      entityName.assign(token.text + 1, token.length - 2);
      if (WrapParserPushEntity()) continue;
      return *this;
    }
    if (id != CToken::TOK_EOF) return *this;
    if (!popEntity()) {
      token.id = CToken::TOK_EOF;
      token.text = nullptr;
      token.colon = nullptr;
      token.length = 0;
      return *this;
    }
    // The token that made the push is current again.
    if (token.id == CToken::TOK_PEREF) continue;
    if (token.id == CToken::TOK_GEREF) token.id = CToken::TOK_ENTITY_END;
    return *this;
  }
}

unsigned char CMarlScanner::pushEntity(MarlGEntity newEntity, StateId state) {
  CMarlGEntity* const next = newEntity._impl();
  if (!next) return 0;
  // The entity stack is bounded as well as the depth: stray pops of the state stack inside
  // entities could otherwise let a recursion grow it without raising the depth.
  if (depth > c_maxEntityDepth || entityStack.size() > static_cast<std::size_t>(c_maxEntityDepth)) {
    if (parser)
      parser->reportError(CMarlScannerHost::severityFatal, 4003,
                          L"too many entities referenced, most likely recursion (entity '%s')",
                          next->getName().c_str());
    return 0;
  }
  ScanMethod const nextState =
      state == STATE_NONE || state < 0 || state >= c_stateTableSize + c_stateSlots
          ? topState()
          : states[state];
  if (entity) {
    // All room first, so that a failure leaves the three stacks in step.
    entityStack.reserve(entityStack.size() + 1);
    cursorStack.reserve(cursorStack.size() + 2);
    tokenStack.reserve(tokenStack.size() + 1);
    entityStack.push_back(entity);
    cursorStack.push_back(cursor);
    cursorStack.push_back(tokenStart);
    tokenStack.push_back(token);
  }
  entity = newEntity;
  next->registerIterators(tokenStart, cursor);
  if (depth + 1 < c_stateSlots) ++depth;
  states[c_stateTableSize + depth] = nextState;
  return 1;
}

unsigned char CMarlScanner::popEntity() {
  if (entity) entity._impl()->unregisterIterators();
  if (entityStack.empty()) {
    entity = static_cast<CMarlGEntity const*>(nullptr);
    tokenStart = CMarlGEntityIterator();
    cursor = CMarlGEntityIterator();
    token = CToken();
    return 0;
  }
  entity = entityStack.back();
  entityStack.pop_back();
  tokenStart = cursorStack.back();
  cursorStack.pop_back();
  cursor = cursorStack.back();
  cursorStack.pop_back();
  token = tokenStack.back();
  tokenStack.pop_back();
  popState();
  // The entity below reads on with its saved cursors, which are these two again; the same
  // object may also have been read above, and let them go there.
  entity._impl()->startIterator = &tokenStart;
  entity._impl()->endIterator = &cursor;
  return 1;
}

unsigned char CMarlScanner::WrapParserPushEntity() {
  if (!parser) return 0;
  return parser->pushEntity(1, entityName, static_cast<StateId>(c_stateTableSize + depth));
}

// ---------------------------------------------------------------------------------------
// Small steps shared by the scan methods

void CMarlScanner::retryFullBuffer() {
  if (cursor.status == CMarlGEntity::ENTITY_BUFFER_FULL && cursor.entity)
    cursor.status = cursor.entity->advance();
}

// The token starts behind the white space, and a full buffer can drop what was skipped.
void CMarlScanner::skipWhiteSpace() {
  while (isSpace(*cursor.pos)) {
    cursor.step();
    tokenStart = cursor;
    retryFullBuffer();
  }
}

bool CMarlScanner::lookingAt(int offset, wchar_t const* keyword) {
  for (int i = 0; keyword[i] != 0; ++i)
    if (cursor[offset + i] != keyword[i]) return false;
  return true;
}

Token CMarlScanner::openLiteral(StateId state, Token opener) {
  cursor.step();
  pushState(state);
  literalEntity = entity;
  return opener;
}

// The `<?xml` test looks at no further character, so `<?xml-stylesheet` is one too.
Token CMarlScanner::scanPiStart() {
  if (cursor[2] == L'x' && cursor[3] == L'm' && cursor[4] == L'l') {
    cursor += 2;
    pushState(STATE_XMLDECL);
    return CToken::TOK_XML_PI_START;
  }
  cursor += 2;
  piNameSeen = 0;
  pushState(STATE_PI);
  return CToken::TOK_PI_START;
}

// ---------------------------------------------------------------------------------------
// The state methods

Token CMarlScanner::scanInvalid() {
  return CToken::TOK_INVALID;
}

Token CMarlScanner::scanData() {
  retryFullBuffer();
  wchar_t const first = *cursor.pos;
  if (first == L'&') {
    if (literalFlags & c_stopAtAmpersand)
      return cursor[1] == L'#' ? scanCharRef() : scanGERef();
    cursor.step();
    return CToken::TOK_CHARDATA;
  }
  if (first == L'<') return scanMarkupInData();
  if (first == 0) return CToken::TOK_EOF;
  // The class is tested only after the step, so a first character that is no content at
  // all (a surrogate half, a control character) is taken as data: that is how characters
  // beyond the 16-bit range pass.
  for (;;) {
    cursor.skipPlain(isPlainData);
    if (*cursor.pos == L']' && cursor[1] == L']' && cursor[2] == L'>') return CToken::TOK_INVALID;
    cursor.step();
    if (!(classOf(*cursor.pos) & CCharClass::fContent)) return CToken::TOK_CHARDATA;
  }
}

Token CMarlScanner::scanMarkupInData() {
  wchar_t const second = cursor[1];
  if (second == L'/') {
    cursor += 2;
    pushState(STATE_ELEMENT);
    return CToken::TOK_ETAG_START;
  }
  if (second == L'?') return scanPiStart();
  if (second == L'!') {
    if (cursor[2] == L'-' && cursor[3] == L'-') {
      cursor += 4;
      pushState(STATE_COMMENT);
      return CToken::TOK_COMMENT_START;
    }
    if (lookingAt(2, L"[CDATA[")) {
      cursor += 9;
      pushState(STATE_CDATA);
      return CToken::TOK_CDATA_START;
    }
    if (lookingAt(2, L"DOCTYPE") && isSpace(cursor[9])) {
      cursor += 10;
      pushState(STATE_DTD);
      return CToken::TOK_DOCTYPE;
    }
  }
  cursor.step();
  pushState(STATE_ELEMENT);
  return CToken::TOK_LT;
}

Token CMarlScanner::scanCData() {
  retryFullBuffer();
  wchar_t const a = cursor[0];
  wchar_t const b = cursor[1];
  wchar_t const c = cursor[2];
  if (a == L']' && b == L']' && c == L'>') {
    cursor += 3;
    popState();
    return CToken::TOK_SECT_END;
  }
  if (a == 0 || b == 0 || c == 0) return CToken::TOK_EOF;
  for (;;) {
    if (cursor[2] == 0) return CToken::TOK_DATA;
    if (*cursor.pos == L']' && cursor[1] == L']' && cursor[2] == L'>') return CToken::TOK_DATA;
    cursor.step();
  }
}

Token CMarlScanner::scanComment() {
  retryFullBuffer();
  wchar_t const a = cursor[0];
  wchar_t const b = cursor[1];
  wchar_t const c = cursor[2];
  if (a == L'-' && b == L'-' && c == L'>') {
    cursor += 3;
    popState();
    return CToken::TOK_COMMENT_END;
  }
  if (a == 0 || b == 0 || c == 0) return CToken::TOK_EOF;
  for (;;) {
    wchar_t const third = cursor[2];
    if (third == 0) return CToken::TOK_DATA;
    if (*cursor.pos == L'-' && cursor[1] == L'-')
      return third == L'>' ? CToken::TOK_DATA : CToken::TOK_INVALID;
    cursor.step();
  }
}

Token CMarlScanner::scanDtd() {
  for (;;) {
    retryFullBuffer();
    wchar_t const c = *cursor.pos;
    std::uint16_t const flags = classOf(c);
    if (flags & CCharClass::fSpace) {
      cursor.step();
      tokenStart = cursor;
      continue;
    }
    if (c == 0) return CToken::TOK_EOF;
    if (!(flags & CCharClass::fChar)) return CToken::TOK_INVALID;
    if (mode == 1) {
      if (c == L'+' && cursor[1] == L'(') {
        cursor += 2;
        return CToken::TOK_PLUS_PAREN;
      }
      if (c == L'-') {
        wchar_t const next = cursor[1];
        if (next == L'-') {
          Token ended;
          if (skipDeclarationComment(ended)) continue;
          return ended;
        }
        if (next == L'(') {
          cursor += 2;
          return CToken::TOK_MINUS_PAREN;
        }
        cursor.step();
        return CToken::TOK_MINUS;
      }
      if (c == L'&' && isSpace(cursor[1])) {
        cursor.step();
        return CToken::TOK_AMP;
      }
    }
    if (flags & CCharClass::fNameStart) return scanQName();
    switch (c) {
      case L'"':
        return openLiteral(STATE_LITERAL_DQ, CToken::TOK_DQ_OPEN);
      case L'\'':
        return openLiteral(STATE_LITERAL_SQ, CToken::TOK_SQ_OPEN);
      case L'%':
        if (!isSpace(cursor[1])) return scanPERef();
        cursor.step();
        return CToken::TOK_PERCENT;
      case L'&':
        return cursor[1] == L'#' ? scanCharRef() : scanGERef();
      case L'>':
        cursor.step();
        popState();
        return CToken::TOK_GT;
      case L']':
        if (cursor[1] == L']' && cursor[2] == L'>') {
          cursor += 3;
          return CToken::TOK_SECT_END;
        }
        cursor.step();
        return CToken::TOK_RBRACKET;
      case L'<':
        return scanMarkupInDtd();
      default:
        break;
    }
    Token single = CToken::TOK_INVALID;
    switch (c) {
      case L'#': single = CToken::TOK_HASH; break;
      case L'(': single = CToken::TOK_LPAREN; break;
      case L')': single = CToken::TOK_RPAREN; break;
      case L'*': single = CToken::TOK_STAR; break;
      case L'+': single = CToken::TOK_PLUS; break;
      case L',': single = CToken::TOK_COMMA; break;
      case L'=': single = CToken::TOK_EQ; break;
      case L'?': single = CToken::TOK_QUESTION; break;
      case L'[': single = CToken::TOK_LBRACKET; break;
      case L'|': single = CToken::TOK_BAR; break;
      default: return scanNmToken();
    }
    cursor.step();
    return single;
  }
}

// The comment is no token, so the token start follows it, and a comment longer than the
// buffer is skipped all the same.
bool CMarlScanner::skipDeclarationComment(Token& result) {
  cursor += 2;
  for (;;) {
    tokenStart = cursor;
    retryFullBuffer();
    wchar_t const c = *cursor.pos;
    if (c == 0) {
      result = CToken::TOK_EOF;
      return false;
    }
    if (!(classOf(c) & CCharClass::fChar)) {
      result = CToken::TOK_INVALID;
      return false;
    }
    if (c == L'-' && cursor[1] == L'-') break;
    cursor.step();
  }
  cursor += 2;
  tokenStart = cursor;
  return true;
}

// A `<!` form that matches none of the keywords is invalid, and the scanner skips its `<`.
Token CMarlScanner::scanMarkupInDtd() {
  wchar_t const second = cursor[1];
  if (second == L'?') return scanPiStart();
  if (second != L'!') return CToken::TOK_INVALID;
  if (cursor[2] == L'-' && cursor[3] == L'-') {
    cursor += 4;
    pushState(STATE_COMMENT);
    return CToken::TOK_COMMENT_START;
  }
  if (cursor[2] == L'[') {
    cursor += 3;
    pushState(STATE_DTD);
    return CToken::TOK_COND_START;
  }
  struct Keyword {
    wchar_t const* text;
    unsigned int length;
    Token id;
  };
  static Keyword const c_keywords[] = {{L"ATTLIST", 7, CToken::TOK_ATTLIST},
                                       {L"ELEMENT", 7, CToken::TOK_ELEMENT},
                                       {L"ENTITY", 6, CToken::TOK_ENTITY},
                                       {L"NOTATION", 8, CToken::TOK_NOTATION}};
  for (Keyword const& keyword : c_keywords) {
    int const behind = 2 + static_cast<int>(keyword.length);
    if (lookingAt(2, keyword.text) && isSpace(cursor[behind])) {
      cursor += static_cast<unsigned int>(behind) + 1;
      pushState(STATE_DTD);
      return keyword.id;
    }
  }
  return CToken::TOK_INVALID;
}

// The outermost closing `]]>` is left for the declaration state, which reads it as the end
// of the section.
Token CMarlScanner::scanIgnoreSection() {
  retryFullBuffer();
  int nesting = 0;
  for (;;) {
    wchar_t const c = *cursor.pos;
    if (c == L']' && cursor[1] == L']' && cursor[2] == L'>') {
      if (nesting == 0) {
        popState();
        return CToken::TOK_DATA;
      }
      --nesting;
      cursor += 3;
      continue;
    }
    if (c == L'<' && cursor[1] == L'!' && cursor[2] == L'[') {
      ++nesting;
      cursor += 3;
      continue;
    }
    if (c == 0) {
      // A full buffer cut the text, which goes on in the next token.
      bool const cut = cursor.status == CMarlGEntity::ENTITY_BUFFER_FULL &&
                       cursor.pos != tokenStart.pos;
      return cut ? CToken::TOK_DATA : CToken::TOK_EOF;
    }
    if (!(classOf(c) & CCharClass::fChar)) return CToken::TOK_INVALID;
    cursor.step();
  }
}

Token CMarlScanner::scanElement() {
  retryFullBuffer();
  skipWhiteSpace();
  wchar_t const c = *cursor.pos;
  std::uint16_t const flags = classOf(c);
  if (flags & CCharClass::fNameStart) return scanQName();
  switch (c) {
    case L'/':
      if (cursor[1] != L'>') return CToken::TOK_INVALID;
      cursor += 2;
      popState();
      return CToken::TOK_EMPTY_END;
    case L'>':
      cursor.step();
      popState();
      return CToken::TOK_GT;
    case L'"':
      return openLiteral(STATE_LITERAL_DQ, CToken::TOK_DQ_OPEN);
    case L'\'':
      return openLiteral(STATE_LITERAL_SQ, CToken::TOK_SQ_OPEN);
    case L'=':
      cursor.step();
      return CToken::TOK_EQ;
    case 0:
      return CToken::TOK_EOF;
    default:
      break;
  }
  if (flags & CCharClass::fChar) return scanQName();
  return CToken::TOK_INVALID;
}

Token CMarlScanner::scanLiteralDq() {
  return scanLiteral(L'"', CToken::TOK_DQ_CLOSE);
}

Token CMarlScanner::scanLiteralSq() {
  return scanLiteral(L'\'', CToken::TOK_SQ_CLOSE);
}

// A quote that arrives through another entity than the one the literal was opened in is
// text: quotes in replacement text never close a literal.
Token CMarlScanner::scanLiteral(wchar_t quote, Token closer) {
  retryFullBuffer();
  bool const ownEntity = entity._impl() == literalEntity._impl();
  wchar_t const first = *cursor.pos;
  if (first == L'&' && (literalFlags & c_stopAtAmpersand))
    return cursor[1] == L'#' ? scanCharRef() : scanGERef();
  if (first == L'%' && (literalFlags & c_stopAtPercent)) return scanPERef();
  if (first == 0) return CToken::TOK_EOF;
  if (first == quote && ownEntity) {
    cursor.step();
    popState();
    return closer;
  }
  if (first == L'<') {
    cursor.step();
    if (literalFlags & c_stopAtLess) return CToken::TOK_LT;
  }
  // The quote and '%' end a plain run even where they are text; the steps below take them.
  auto const isPlainLiteral = [quote](wchar_t c) {
    return (classOf(c) & CCharClass::fContent) && c != quote && c != L'%' && c != L'\n';
  };
  for (;;) {
    cursor.skipPlain(isPlainLiteral);
    wchar_t const c = *cursor.pos;
    if (c == 0) break;
    if (c == quote && ownEntity) break;
    if (c == L'&' && (literalFlags & c_stopAtAmpersand)) break;
    if (c == L'%' && (literalFlags & c_stopAtPercent)) break;
    if (c == L'<' && (literalFlags & c_stopAtLess)) break;
    cursor.step();
  }
  return CToken::TOK_LITERAL;
}

// The data token begins at the token start and so keeps the white space behind the target.
// Once data has begun, a token that a full buffer cut goes on without that white space.
Token CMarlScanner::scanPi() {
  retryFullBuffer();
  wchar_t const c = *cursor.pos;
  if (c == L'?' && cursor[1] == L'>') {
    cursor += 2;
    popState();
    return CToken::TOK_PI_END;
  }
  if (c == 0) return CToken::TOK_EOF;
  if (!(classOf(c) & CCharClass::fChar)) return CToken::TOK_INVALID;
  if (piNameSeen == 0) {
    piNameSeen = 1;
    return scanName();
  }
  if (piNameSeen == 1) {
    if (!isSpace(c)) return CToken::TOK_INVALID;
    piNameSeen = 2;
  }
  while (isSpace(*cursor.pos)) cursor.step();
  for (;;) {
    wchar_t const d = *cursor.pos;
    if (!(classOf(d) & CCharClass::fChar)) break;
    if (d == L'?' && cursor[1] == L'>') break;
    cursor.step();
  }
  return CToken::TOK_DATA;
}

Token CMarlScanner::scanXmlDecl() {
  retryFullBuffer();
  skipWhiteSpace();
  wchar_t const c = *cursor.pos;
  if (c == 0) return CToken::TOK_EOF;
  if (!(classOf(c) & CCharClass::fChar)) return CToken::TOK_INVALID;
  switch (c) {
    case L'\'':
      return openLiteral(STATE_LITERAL_SQ, CToken::TOK_SQ_OPEN);
    case L'"':
      return openLiteral(STATE_LITERAL_DQ, CToken::TOK_DQ_OPEN);
    case L'=':
      cursor.step();
      return CToken::TOK_EQ;
    case L'?':
      if (cursor[1] != L'>') return CToken::TOK_INVALID;
      cursor += 2;
      popState();
      return CToken::TOK_PI_END;
    default:
      return scanName();
  }
}

// ---------------------------------------------------------------------------------------
// Names and references

Token CMarlScanner::scanName() {
  if (!(classOf(*cursor.pos) & CCharClass::fNameStart)) return CToken::TOK_INVALID;
  do {
    cursor.step();
  } while (classOf(*cursor.pos) & CCharClass::fNameChar);
  return CToken::TOK_NAME;
}

// The colon is kept as a distance from the token start, which stays right when a refill
// moves the buffer. The last colon wins, so `a:b:c` splits behind `b`; a colon first in the
// name, or one with no name character behind it, does not make a qualified name by itself.
Token CMarlScanner::scanQName() {
  wchar_t c = *cursor.pos;
  if (!(classOf(c) & CCharClass::fNameStart)) {
    if (mode != 1 || !isBareValueChar(c)) return CToken::TOK_INVALID;
    do {
      cursor.step();
    } while (isBareValueChar(*cursor.pos));
    return CToken::TOK_LITERAL;
  }
  Token kind = CToken::TOK_NAME;
  std::ptrdiff_t colonAt = 0;
  do {
    if (c == L':' && nameSpaces) {
      colonAt = cursor.pos - tokenStart.pos;
      if (colonAt != 0 && (classOf(cursor[1]) & CCharClass::fNameChar)) kind = CToken::TOK_QNAME;
    }
    cursor.step();
    c = *cursor.pos;
  } while (classOf(c) & CCharClass::fNameChar);
  if (kind == CToken::TOK_QNAME) token.colon = tokenStart.pos + colonAt;
  return kind;
}

Token CMarlScanner::scanNmToken() {
  if (!(classOf(*cursor.pos) & CCharClass::fNameChar)) return CToken::TOK_INVALID;
  do {
    cursor.step();
  } while (classOf(*cursor.pos) & CCharClass::fNameChar);
  return CToken::TOK_NMTOKEN;
}

Token CMarlScanner::scanGERef() {
  if (*cursor.pos != L'&') return CToken::TOK_INVALID;
  cursor.step();
  if (scanName() != CToken::TOK_NAME || *cursor.pos != L';') return CToken::TOK_INVALID;
  cursor.step();
  return CToken::TOK_GEREF;
}

Token CMarlScanner::scanPERef() {
  if (*cursor.pos != L'%') return CToken::TOK_INVALID;
  cursor.step();
  if (scanName() != CToken::TOK_NAME || *cursor.pos != L';') return CToken::TOK_INVALID;
  cursor.step();
  return CToken::TOK_PEREF;
}

// Only a lower-case `x` marks the hexadecimal form. The value is the agent's to compute.
Token CMarlScanner::scanCharRef() {
  if (*cursor.pos != L'&' || cursor[1] != L'#') return CToken::TOK_INVALID;
  cursor += 2;
  if (*cursor.pos == L'x') {
    cursor.step();
    if (!isHexDigit(*cursor.pos)) return CToken::TOK_INVALID;
    do {
      cursor.step();
    } while (isHexDigit(*cursor.pos));
  } else {
    if (!isDigit(*cursor.pos)) return CToken::TOK_INVALID;
    do {
      cursor.step();
    } while (isDigit(*cursor.pos));
  }
  if (*cursor.pos != L';') return CToken::TOK_INVALID;
  cursor.step();
  return CToken::TOK_CHARREF;
}
