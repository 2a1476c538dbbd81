#include "parser/xmxxp_paag.h"

#include <algorithm>
#include <cwchar>
#include <new>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_elem.h"
#include "dtd/xmxxo_atld.h"
#include "dtd/xmxxo_atrd.h"
#include "dtd/xmxxo_doct.h"
#include "dtd/xmxxu_atdf.h"
#include "dtd/xmxxu_strp.h"
#include "streams/xmxxu_strm.h"
#include "text/xmxxs_char.h"
#include "text/xmxxu_enco.h"
#include "text/xmxxu_stri.h"

namespace {

using Token = CToken::TokenID;
using Severity = MarlParseError::Severity;

constexpr Severity c_warning = MarlParseError::SEVERITY_WARNING;
constexpr Severity c_error = MarlParseError::SEVERITY_ERROR;
constexpr Severity c_fatal = MarlParseError::SEVERITY_FATAL;

// Event kinds, as the event interfaces number them.
enum EventType : unsigned int {
  eventDocumentPre = 0x1,
  eventDocumentPost = 0x2,
  eventAttributePost = 0x8,
  eventElementPre = 0x10,
  eventElementPre2 = 0x20,
  eventElementPost = 0x40,
  eventTextPost = 0x100,
  eventCommentPost = 0x400,
  eventPIUnparsedPre = 0x800,
  eventPIUnparsedPost = 0x1000,
  eventPIParsedPre = 0x2000,
  eventPIParsedPost = 0x4000,
  eventCDATAPost = 0x10000,
  eventDocumentTypePre = 0x20000,
  eventDocumentTypePost = 0x40000,
  eventEntityRefPre = 0x80000,
  eventEntityRefPost = 0x100000,
  eventCondDTDSectionPre = 0x200000,
  eventCondDTDSectionPost = 0x400000,
  eventElementDeclPre = 0x800000,
  eventElementDeclPost = 0x1000000,
  // Attribute declarations share the numbers of their lists.
  eventAttListDeclPre = 0x2000000,
  eventAttListDeclPost = 0x4000000,
  eventEntityDeclPre = 0x8000000,
  eventEntityDeclPost = 0x10000000,
  eventNotationDeclPre = 0x20000000,
  eventNotationDeclPost = 0x40000000,
};

// The value type CDATA of an attribute declaration.
constexpr unsigned int c_typeCDATA = 1;

inline bool isSpace(wchar_t c) noexcept {
  return (CCharClass::c_fClass[static_cast<std::uint16_t>(c)] & CCharClass::fSpace) != 0;
}

bool isWhiteSpaceOnly(wchar_t const* text, std::size_t length) noexcept {
  return std::all_of(text, text + length, isSpace);
}

bool isWhiteSpaceOnly(std::wstring const& text) noexcept {
  return isWhiteSpaceOnly(text.data(), text.size());
}

inline bool isAsciiLetter(wchar_t c) noexcept {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

inline bool isAsciiDigit(wchar_t c) noexcept {
  return c >= L'0' && c <= L'9';
}

// Drops runs of blanks at both ends and turns each run inside into one space, in place.
template <class IsBlank>
void collapseRuns(std::wstring& text, IsBlank isBlank) {
  std::size_t kept = 0;
  bool pendingSpace = false;
  for (wchar_t const c : text) {
    if (isBlank(c)) {
      pendingSpace = kept != 0;
      continue;
    }
    if (pendingSpace) text[kept++] = L' ';
    pendingSpace = false;
    text[kept++] = c;
  }
  text.resize(kept);
}

bool isUtf16Name(std::wstring const& name) {
  return name == L"utf-16" || name == L"utf-16be" || name == L"utf-16le";
}

// The document's creators answer an empty handle when memory runs out; for the parser that is
// the internal failure it reports.
template <class Handle>
Handle required(Handle handle) {
  if (!handle) throw std::bad_alloc();
  return handle;
}

// Mutators answer rcNoNode when they could not make what they need.
void requireDone(unsigned int result) {
  if (result == MarlNode::rcNoNode) throw std::bad_alloc();
}

MarlEncoding createEncoding(std::wstring const& name, MarlEncoding::ByteOrder byteOrder) {
  return required(MarlEncoding(new CMarlEncoding(name, byteOrder)));
}

bool isBound(MarlNamespaceContext const& context, std::wstring const& prefix) {
  for (unsigned int index = 0; index < context.numBindings(); ++index)
    if (context.getBindingPrefix(index) == prefix) return true;
  return false;
}

}  // namespace

// ---------------------------------------------------------------------------------------
// CMarlParseAgent: the helpers

CMarlParseAgent::CMarlParseAgent(CMarlParser* owner) noexcept
    : parser(owner),
      scanner(owner->scanner),
      document(&owner->document),
      lastTokenValid(0),
      lastOffset(0),
      lastLine(0),
      lastColumn(0) {}

CMarlParseAgent::~CMarlParseAgent() = default;

std::wstring CMarlParseAgent::tokenText() const {
  CToken const& token = scanner->token;
  return token.text ? std::wstring(token.text, token.length) : std::wstring();
}

void CMarlParseAgent::report(Severity severity, unsigned int number, wchar_t const* format,
                             wchar_t const* first, wchar_t const* second) {
  parser->addError(severity, number, format, first, second);
}

void CMarlParseAgent::accept() {
  CToken const& token = scanner->token;
  lastOffset = token.offset;
  lastLine = token.line;
  lastColumn = token.column;
  lastTokenValid = 1;
  ++*scanner;
}

// Only the final end of input has no text, so the test for TOK_EOF against the expected kind
// is never true there: an end of input that was not expected reads as an empty symbol.
void CMarlParseAgent::accept(Token id) {
  CToken const& token = scanner->token;
  if (token.id != id) {
    if (!token.text) {
      if (id == CToken::TOK_EOF)
        report(c_error, 3000, L"unexpected end-of-file");
      else
        report(c_error, 3000, L"unexpected symbol: '%s'", L"");
    } else {
      report(c_error, 3000, L"unexpected symbol: '%s'", tokenText().c_str());
    }
  }
  accept();
}

unsigned char CMarlParseAgent::acceptName(wchar_t const* name, unsigned int length,
                                          unsigned char mustMatch) {
  CToken const& token = scanner->token;
  if (token.id == CToken::TOK_NAME) {
    if (token.compare(name, length) == 0) {
      accept();
      return 1;
    }
    if (mustMatch)
      report(c_error, 3021, L"unexpected name '%s'; expected '%s'", tokenText().c_str(), name);
    return 0;
  }
  if (mustMatch)
    report(c_error, 3020, L"unexpected symbol: '%s'; name expected", tokenText().c_str());
  return 0;
}

void CMarlParseAgent::parseName(std::wstring& out) {
  CToken const& token = scanner->token;
  if (token.id != CToken::TOK_NAME && token.id != CToken::TOK_QNAME) {
    out.clear();
    accept(CToken::TOK_NAME);
    return;
  }
  out.assign(token.text, token.length);
  accept();
}

void CMarlParseAgent::parseQName(std::wstring& name, std::wstring& prefix) {
  CToken const& token = scanner->token;
  if (token.id == CToken::TOK_NAME) {
    prefix.clear();
    name.assign(token.text, token.length);
  } else if (token.id == CToken::TOK_QNAME) {
    std::size_t const prefixLength = static_cast<std::size_t>(token.colon - token.text);
    prefix.assign(token.text, prefixLength);
    name.assign(token.colon + 1, token.length - prefixLength - 1);
  } else {
    name.clear();
    prefix.clear();
    accept(CToken::TOK_NAME);
    return;
  }
  accept();
}

void CMarlParseAgent::parseNmToken(std::wstring& out) {
  CToken const& token = scanner->token;
  if (token.id != CToken::TOK_NMTOKEN && token.id != CToken::TOK_NAME &&
      token.id != CToken::TOK_QNAME) {
    out.clear();
    accept(CToken::TOK_NMTOKEN);
    return;
  }
  out.assign(token.text, token.length);
  accept();
}

// Nothing is expanded in such a literal, which is why versions, encoding names and identifiers
// never see a reference.
void CMarlParseAgent::parseLiteral(std::wstring& out) {
  CToken const& token = scanner->token;
  if (token.id != CToken::TOK_SQ_OPEN && token.id != CToken::TOK_DQ_OPEN) {
    if (parser->mode == 1 && (token.id == CToken::TOK_LITERAL || token.id == CToken::TOK_NAME)) {
      out.assign(token.text, token.length);
      accept();
      return;
    }
    report(c_error, 3005, L"literal delimited by \" or ' expected");
    return;
  }
  std::uint32_t const savedFlags = scanner->literalFlags;
  scanner->literalFlags = 0;
  accept();
  out.clear();
  while (token.id == CToken::TOK_LITERAL) {
    out.append(token.text, token.length);
    accept();
  }
  if (token.id != CToken::TOK_SQ_CLOSE && token.id != CToken::TOK_DQ_CLOSE)
    report(c_error, 3006, L"invalid symbol '%s' in literal '%s'", tokenText().c_str(), out.c_str());
  scanner->literalFlags = parser->mode == 2 ? 0 : savedFlags;
  accept();
}

void CMarlParseAgent::parseVersion(std::wstring& out) {
  parseLiteral(out);
  for (wchar_t c : out)
    if (!isAsciiLetter(c) && !isAsciiDigit(c) && c != L'_' && c != L'.' && c != L':' && c != L'-')
      report(c_error, 3006, L"invalid xml version num: %s", out.c_str());
}

void CMarlParseAgent::parseEncName(std::wstring& out) {
  parseLiteral(out);
  bool valid = !out.empty() && isAsciiLetter(out[0]);
  for (std::size_t index = 1; valid && index < out.size(); ++index) {
    wchar_t const c = out[index];
    valid = isAsciiLetter(c) || isAsciiDigit(c) || c == L'.' || c == L'_' || c == L'-';
  }
  if (!valid) report(c_error, 3006, L"invalid encoding name: %s", out.c_str());
}

void CMarlParseAgent::parsePubidLiteral(std::wstring& out) {
  static wchar_t const c_marks[] = L" \n\r!#$%'()*+,-./:;=?@_";
  parseLiteral(out);
  for (wchar_t c : out)
    if (!isAsciiLetter(c) && !isAsciiDigit(c) && !std::wcschr(c_marks, c))
      parser->addError(c_error, 3006, L"invalid character '%c' in PubidLiteral: %s", c,
                       out.c_str());
}

void CMarlParseAgent::parseSystemLiteral(std::wstring& out) {
  parseLiteral(out);
}

// The digits are converted with the ';' behind them, so the conversion always stops on it: a
// value of 0 then passes without a word, and "&#0;" gives the character 0. Only a conversion
// that reached the end of the text would report it.
void CMarlParseAgent::parseCharRef(wchar_t* out) {
  static constexpr std::size_t c_maxQuoted = 2048;
  std::wstring const reference = tokenText();
  bool const hexadecimal = reference.size() > 2 && reference[2] == L'x';
  std::size_t const digitsAt = std::min(reference.size(), std::size_t(hexadecimal ? 3 : 2));
  wchar_t* end = nullptr;
  long const value = std::wcstol(reference.c_str() + digitsAt, &end, hexadecimal ? 16 : 10);
  std::wstring const quoted = reference.substr(0, std::min(reference.find(L';'), c_maxQuoted));

  bool const allowed = (value >= 0x20 && value <= 0xD7FF) || value == 0x09 || value == 0x0A ||
                       value == 0x0D || (value >= 0xE000 && value <= 0xFFFD);
  if (value == 0) {
    if (end && *end == 0)
      report(c_error, 3016, L"invalid character reference '%s'", quoted.c_str());
  } else if (!allowed) {
    // Characters are single 16-bit units here, so no reference can give a supplementary one.
    if (value >= 0x10000 && value <= 0x10FFFF)
      report(c_error, 3016,
             L"character reference '%s' evaluates to an not supported character range",
             quoted.c_str());
    // A control character below 0x100 is taken as it stands.
    else if (value > 0xFF)
      report(c_error, 3016, L"character reference '%s' evaluates to an invalid character",
             quoted.c_str());
  }
  *out = static_cast<wchar_t>(value);
  accept();
}

// Line ends and white space stay as they are in the value unless attribute values are
// normalised: that needs declarations, whatever the recommendation says about plain values.
void CMarlParseAgent::parseAttValue(std::wstring& out, unsigned int type) {
  CToken const& token = scanner->token;
  if (token.id != CToken::TOK_SQ_OPEN && token.id != CToken::TOK_DQ_OPEN) {
    if (parser->mode == 1 && (token.id == CToken::TOK_LITERAL || token.id == CToken::TOK_NAME ||
                              token.id == CToken::TOK_NMTOKEN)) {
      out.assign(token.text, token.length);
      accept();
      return;
    }
    report(c_error, 3019, L"attribute value delimited by \" or ' expected");
    return;
  }
  scanner->literalFlags = attributeFlags();
  // Entities referenced here are read in the state of the literal, wherever they nest.
  CMarlScanner::StateId const literalState = currentState();
  accept();
  out.clear();
  bool afterEntity = false;
  for (;;) {
    switch (token.id) {
      case CToken::TOK_LITERAL:
        appendLiteralText(out, afterEntity);
        afterEntity = false;
        accept();
        break;
      case CToken::TOK_CHARREF: {
        parser->checkExpansion(1);
        wchar_t character = 0;
        parseCharRef(&character);
        out.push_back(character);
        break;
      }
      case CToken::TOK_GEREF:
        parser->scratchName.assign(token.text + 1, token.length - 2);
        afterEntity = true;
        parser->pushEntity(0, parser->scratchName, literalState);
        accept();
        break;
      // An entity end counts here as in content, so that entities of nothing but references
      // cannot multiply unchecked.
      case CToken::TOK_ENTITY_END:
        parser->checkExpansion(1);
        accept();
        break;
      case CToken::TOK_SQ_CLOSE:
      case CToken::TOK_DQ_CLOSE:
        if (scanner->normalizingAtt && type != c_typeCDATA) spaceStripping(out);
        accept();
        return;
      default:
        report(c_error, 3006, L"invalid symbol '%s' in literal '%s'", tokenText().c_str(),
               out.c_str());
        return;
    }
  }
}

// Line ends inside replacement text were handled when the entity was declared, so a piece
// right behind a reference keeps them.
void CMarlParseAgent::appendLiteralText(std::wstring& out, bool afterEntity) {
  CToken const& token = scanner->token;
  parser->checkExpansion(token.length);
  if (!scanner->normalizingAtt) {
    out.append(token.text, token.length);
    return;
  }
  std::wstring piece(token.text, token.length);
  if (!afterEntity) endOfLineHandling(piece);
  std::replace_if(piece.begin(), piece.end(), isSpace, L' ');
  out += piece;
}

std::wstring const& CMarlParseAgent::takeDataTokens() {
  CToken const& token = scanner->token;
  std::wstring& text = parser->scratchText;
  text.clear();
  while (token.id == CToken::TOK_DATA) {
    text.append(token.text, token.length);
    accept();
  }
  return text;
}

void CMarlParseAgent::endOfLineHandling(std::wstring& text) {
  std::size_t kept = 0;
  wchar_t previous = 0;
  for (wchar_t const c : text) {
    bool const pairEnd = c == L'\n' && previous == L'\r';
    previous = c;
    if (pairEnd) continue;
    text[kept++] = c == L'\r' ? L'\n' : c;
  }
  text.resize(kept);
}

void CMarlParseAgent::normalize(std::wstring& text) {
  collapseRuns(text, isSpace);
}

void CMarlParseAgent::spaceStripping(std::wstring& text) {
  collapseRuns(text, [](wchar_t c) { return c == L' '; });
}

void CMarlParseAgent::linkNode(MarlNode const& node) {
  if (parser->parents.empty()) return;
  if (parser->domGenerating)
    parser->parents.back().appendChild(node, 1);
  else
    parser->setParent(node);
}

// Compared over the token's length, without a copy; the scanner hands out only complete
// references, so "&lt" never gets here.
bool CMarlParseAgent::isPredefinedReference() const noexcept {
  CToken const& token = scanner->token;
  return token.compare(L"&amp;", 5) == 0 || token.compare(L"&lt;", 4) == 0 ||
         token.compare(L"&gt;", 4) == 0 || token.compare(L"&apos;", 6) == 0 ||
         token.compare(L"&quot;", 6) == 0;
}

// The first token of an external entity pushed by a reference; the document entity has its
// own name and is read by the prolog.
bool CMarlParseAgent::opensExternalEntity() const {
  CMarlGEntity const* reading = scanner->entity._impl();
  return scanner->token.offset == 0 && reading && reading->getType() == 0 &&
         reading->getName() == parser->externalEntityString;
}

bool CMarlParseAgent::pushContentAgent() {
  switch (scanner->token.id) {
    case CToken::TOK_LT:
      parser->pushAgent<CMarlParseAgentElement>();
      return true;
    case CToken::TOK_COMMENT_START:
      parser->pushAgent<CMarlParseAgentComment>();
      return true;
    case CToken::TOK_CDATA_START:
      parser->pushAgent<CMarlParseAgentCDATASection>();
      return true;
    case CToken::TOK_PI_START:
      parser->pushAgent<CMarlParseAgentPI>();
      return true;
    case CToken::TOK_XML_PI_START:
      if (opensExternalEntity())
        parser->pushAgent<CMarlParseAgentTextDecl>();
      else
        parser->pushAgent<CMarlParseAgentXmlDecl>();
      return true;
    case CToken::TOK_CHARDATA:
    case CToken::TOK_CHARREF:
      parser->pushAgent<CMarlParseAgentCharData>();
      return true;
    case CToken::TOK_GEREF:
      if (keepsReferences() && !isPredefinedReference())
        parser->pushAgent<CMarlParseAgentEntityRef>();
      else
        parser->pushAgent<CMarlParseAgentCharData>();
      return true;
    default:
      return false;
  }
}

// The further names of a group are declared alike only once the declaration is complete, so
// until then the first name stands for all of them in the tree and in the events.
template <class Decl>
void CMarlParseAgent::startNamedDeclaration(
    Decl& decl, NameGroup<Decl>& group,
    Decl (MarlDocumentType::*create)(std::wstring const&, std::wstring const&),
    unsigned int preEvent) {
  std::wstring& name = parser->scratchName;
  std::wstring& prefix = parser->scratchPrefix;
  bool const nameGroup = parser->mode == 1 && scanner->token.id == CToken::TOK_LPAREN;
  if (nameGroup) accept();
  for (;;) {
    parseQName(name, prefix);
    Decl named = required((parser->documentType.*create)(name, prefix));
    setPosition(named);
    named.setExternal(parser->inExternalSubset);
    if (decl)
      group.push_back(named);
    else
      decl = named;
    if (!nameGroup || scanner->token.id != CToken::TOK_BAR) break;
    accept();
  }
  if (nameGroup) accept(CToken::TOK_RPAREN);
  linkNode(decl);
  fire(preEvent, decl);
}

template <class Decl>
void CMarlParseAgent::linkGroupCopies(Decl const& decl, NameGroup<Decl> const& group) {
  for (Decl const& named : group) {
    MarlNode copy = required(decl.clone(-1));
    copy.setName(named.getName());
    copy.setNamespacePrefix(named.getNamespacePrefix());
    linkNode(copy);
  }
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentDocument

// The agents are pushed in reverse, so that they run prolog, root element, trailing misc.
void CMarlParseAgentDocument::parse_sfirst() {
  if (!scanner->primed && scanner->entity) {
    ++*scanner;
    scanner->primed = scanner->token.id != CToken::TOK_INVALID;
  }
  if (!scanner->primed) report(c_fatal, 4000, L"failed to scan input");
  parser->pushParent(*document);
  state = &CMarlParseAgentDocument::parse_slast;
  parser->pushAgent<CMarlParseAgentMisc>();
  parser->pushAgent<CMarlParseAgentElement>();
  parser->pushAgent<CMarlParseAgentProlog>();
}

void CMarlParseAgentDocument::parse_slast() {
  accept(CToken::TOK_EOF);
  parser->popParent();
  fire(eventDocumentPost, *document);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentProlog

void CMarlParseAgentProlog::parse_sfirst() {
  parser->scratchEncoding.clear();
  CToken const& token = scanner->token;
  // A byte order mark that the stream delivered as a character.
  if (token.id == CToken::TOK_CHARDATA && token.length == 1 && token.text[0] == 0xFEFF) accept();
  if (token.id == CToken::TOK_XML_PI_START)
    parseXmlDecl();
  else
    keepStreamEncoding();
  fire(eventDocumentPre, *document);
  state = &CMarlParseAgentProlog::parse_s2;
  parser->pushAgent<CMarlParseAgentMisc>();
}

// A document that starts with "<?xml-stylesheet" is refused here: its name is no "xml".
void CMarlParseAgentProlog::parseXmlDecl() {
  accept();
  acceptName(L"xml", 3, 1);
  if (acceptName(L"version", 7, 1)) {
    accept(CToken::TOK_EQ);
    parseVersion(parser->scratchValue);
    document->setVersion(parser->scratchValue);
  }
  if (acceptName(L"encoding", 8, 0)) {
    accept(CToken::TOK_EQ);
    parseEncName(parser->scratchEncoding);
  }
  if (acceptName(L"standalone", 10, 0)) {
    accept(CToken::TOK_EQ);
    parseLiteral(parser->scratchValue);
    if (parser->scratchValue == L"yes")
      document->setStandalone(1);
    else if (parser->scratchValue == L"no")
      document->setStandalone(0);
    else
      report(c_error, 3022,
             L"unexpected symbol; expected 'yes' or 'no' for standalone document declaration");
  }
  decideEncoding();
  accept(CToken::TOK_PI_END);
}

// Until this point the entity reads one character at a time, so that nothing is decoded ahead
// in an encoding the declaration may still change.
void CMarlParseAgent::keepStreamEncoding() {
  MarlGEntityExtParsed entity(scanner->entity);
  if (!entity) return;
  MarlIStream stream = entity.getIStream();
  MarlEncoding streamEncoding = stream ? stream.getEncoding() : MarlEncoding();
  entity.setEncoding(streamEncoding ? streamEncoding
                                    : createEncoding(parser->utf8String,
                                                     MarlEncoding::BYTEORDER_NONE));
}

// The declared encoding counts unless the stream knows better: a host code page set on the
// stream outranks the document, and a document that was read as UTF-16 cannot switch, nor can
// a byte stream switch to UTF-16.
void CMarlParseAgentProlog::decideEncoding() {
  MarlGEntityExtParsed entity(scanner->entity);
  if (!entity) return;
  MarlIStream stream = entity.getIStream();
  MarlEncoding streamEncoding = stream ? stream.getEncoding() : MarlEncoding();
  MarlEncoding::ByteOrder const byteOrder =
      streamEncoding ? streamEncoding.getByteOrder() : MarlEncoding::BYTEORDER_NONE;
  std::wstring declared = toLower(parser->scratchEncoding);
  if (streamEncoding && streamEncoding.getCharacterSet() == L"orv-") {
    declared.clear();
  } else {
    std::wstring const http = streamEncoding ? streamEncoding.getCharacterSetHTTP() : L"";
    bool const ignored = isUtf16Name(http) ? !declared.empty() && declared != http
                                           : isUtf16Name(declared);
    if (ignored) {
      declared.clear();
      report(c_warning, 6900, L"ignore encoding decl");
    }
  }
  MarlEncoding chosen;
  if (!declared.empty())
    chosen = createEncoding(declared, byteOrder);
  else if (streamEncoding)
    chosen = required(streamEncoding.clone());
  else
    chosen = createEncoding(parser->utf8String, MarlEncoding::BYTEORDER_NONE);
  entity.setEncoding(chosen);
  document->setEncoding(chosen);
  // The document keeps a clone, and a clone that memory did not allow clears the encoding.
  required(document->getEncoding());
}

// The agents run in reverse order of their pushes: the declaration, then what follows it.
void CMarlParseAgentProlog::parse_s2() {
  state = &CMarlParseAgentProlog::parse_slast;
  if (scanner->token.id == CToken::TOK_DOCTYPE) {
    parser->pushAgent<CMarlParseAgentMisc>();
    parser->pushAgent<CMarlParseAgentDocTypeDecl>();
    return;
  }
  if (scanner->normalizingAtt)
    report(c_warning, 6900, L"no DTD, type CDATA is used for attributes");
}

void CMarlParseAgentProlog::parse_slast() {
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentMisc

// Text around the root element costs a warning per token and is dropped.
void CMarlParseAgentMisc::parse() {
  CToken const& token = scanner->token;
  switch (token.id) {
    case CToken::TOK_PI_START:
      parser->pushAgent<CMarlParseAgentPI>();
      return;
    case CToken::TOK_XML_PI_START:
      parser->pushAgent<CMarlParseAgentXmlDecl>();
      return;
    case CToken::TOK_COMMENT_START:
      parser->pushAgent<CMarlParseAgentComment>();
      return;
    case CToken::TOK_CHARDATA:
      if (!isWhiteSpaceOnly(token.text, token.length))
        report(c_warning, 2000, L"only whitespace allowed; ignoring characters");
      accept();
      return;
    default:
      removeSelf();
      return;
  }
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentPI

// The test of the reserved target lets a third character 'l' pass, so "xml" and "XMl" are
// taken as targets; "xml" itself never comes here, since it opens an XmlDecl agent.
void CMarlParseAgentPI::parse_sfirst() {
  accept(CToken::TOK_PI_START);
  std::wstring& target = parser->scratchName;
  parseName(target);
  parser->checkExpansion(static_cast<unsigned int>(target.size()));
  if (target.size() == 3 && (target[0] == L'X' || target[0] == L'x') &&
      (target[1] == L'M' || target[1] == L'm') && target[2] == L'L')
    report(c_error, 3020, L"unexpected symbol: '%s'; PiTarget expected", target.c_str());
  node = required(document->createPIUnparsed(target, parser->emptyString));
  setPosition(node);
  node.setExternal(parser->inExternalSubset);
  linkNode(node);
  state = &CMarlParseAgentPI::parse_slast;
  fire(eventPIUnparsedPre, node);
}

// The data keeps the white space behind the target, as the scanner delivers it.
void CMarlParseAgentPI::parse_slast() {
  CToken const& token = scanner->token;
  while (token.id == CToken::TOK_DATA) {
    parser->checkExpansion(token.length);
    node.appendData(std::wstring(token.text, token.length));
    accept();
  }
  accept(CToken::TOK_PI_END);
  fire(eventPIUnparsedPost, node);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentXmlDecl

void CMarlParseAgentXmlDecl::parse_sfirst() {
  accept(CToken::TOK_XML_PI_START);
  parseName(parser->scratchName);
  node = required(document->createPIParsed(parser->scratchName));
  setPosition(node);
  state = &CMarlParseAgentXmlDecl::parse_slast;
  fire(eventPIParsedPre, node);
}

void CMarlParseAgentXmlDecl::parse_slast() {
  CToken const& token = scanner->token;
  while (token.id == CToken::TOK_NAME || token.id == CToken::TOK_QNAME) {
    parseName(parser->scratchName);
    accept(CToken::TOK_EQ);
    parseLiteral(parser->scratchValue);
    requireDone(node.setAttribute(parser->scratchName, parser->scratchValue));
  }
  accept(CToken::TOK_PI_END);
  linkNode(node);
  fire(eventPIParsedPost, node);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentComment

// A "--" inside the text, also the first two of a closing "--->", is refused.
void CMarlParseAgentComment::parse() {
  accept(CToken::TOK_COMMENT_START);
  std::wstring const& text = takeDataTokens();
  if (scanner->token.id == CToken::TOK_INVALID)
    report(c_error, 3021, L"invalid symbol ('--') in comment: '%s'", text.c_str());
  accept(CToken::TOK_COMMENT_END);
  // The markup "<!---->" counts as 8 characters of expansion.
  parser->checkExpansion(8);
  parser->checkExpansion(static_cast<unsigned int>(text.size()));
  MarlComment comment = required(document->createComment(text));
  setPosition(comment);
  comment.setExternal(parser->inExternalSubset);
  linkNode(comment);
  fire(eventCommentPost, comment);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentCDATASection

void CMarlParseAgentCDATASection::parse() {
  accept(CToken::TOK_CDATA_START);
  std::wstring const& text = takeDataTokens();
  // The markup "<![CDATA[]]>" counts as 12 characters of expansion.
  parser->checkExpansion(12);
  parser->checkExpansion(static_cast<unsigned int>(text.size()));
  MarlCDATASection section = required(document->createCDATASection(text));
  setPosition(section);
  linkNode(section);
  accept(CToken::TOK_SECT_END);
  fire(eventCDATAPost, section);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentCharData

// The text node takes the position of the first token it was made of.
void CMarlParseAgentCharData::parse() {
  CMarlScanner::StateId const contentState = currentState();
  CToken const& token = scanner->token;
  std::wstring& text = parser->scratchText;
  text.clear();
  if (token.id == CToken::TOK_CHARDATA) {
    text.assign(token.text, token.length);
    accept();
  }
  bool positioned = lastTokenValid != 0;
  std::uint32_t line = lastLine;
  std::uint32_t column = lastColumn;
  while (takeToken(text, contentState)) {
    if (positioned || !lastTokenValid) continue;
    positioned = true;
    line = lastLine;
    column = lastColumn;
  }
  if (keepsText(isWhiteSpaceOnly(text))) {
    MarlText node = required(document->createText(text));
    if (!parser->spaceRules && parser->normalizing && !isWhiteSpaceOnly(text))
      node.normalizeData();
    node.setPosition(line, column);
    linkNode(node);
    fire(eventTextPost, node);
  }
  removeSelf();
}

// A reference that is to become a node of its own ends the text and is left for the element.
bool CMarlParseAgentCharData::takeToken(std::wstring& text,
                                        CMarlScanner::StateId contentState) {
  CToken const& token = scanner->token;
  switch (token.id) {
    case CToken::TOK_CHARDATA:
      parser->checkExpansion(token.length);
      text.append(token.text, token.length);
      accept();
      return true;
    case CToken::TOK_CHARREF: {
      parser->checkExpansion(1);
      wchar_t character = 0;
      parseCharRef(&character);
      text.push_back(character);
      return true;
    }
    case CToken::TOK_GEREF:
      if (isPredefinedReference()) {
        parser->checkExpansion(1);
        text.push_back(predefinedCharacter());
        accept();
        return true;
      }
      if (keepsReferences()) return false;
      parser->scratchName.assign(token.text + 1, token.length - 2);
      parser->pushEntity(0, parser->scratchName, contentState);
      accept();
      return true;
    case CToken::TOK_ENTITY_END:
      parser->checkExpansion(1);
      if (keepsReferences()) return false;
      accept();
      return true;
    default:
      return false;
  }
}

wchar_t CMarlParseAgentCharData::predefinedCharacter() const noexcept {
  CToken const& token = scanner->token;
  if (token.compare(L"&amp;", 5) == 0) return L'&';
  if (token.compare(L"&lt;", 4) == 0) return L'<';
  if (token.compare(L"&gt;", 4) == 0) return L'>';
  if (token.compare(L"&apos;", 6) == 0) return L'\'';
  return L'"';
}

// White space that follows other children is dropped while normalising; the first run in an
// element stays for now, and the element drops it at its end if more children followed.
bool CMarlParseAgentCharData::keepsText(bool whiteSpaceOnly) const {
  if (parser->parents.empty()) return false;
  MarlNode const& parent = parser->parents.back();
  if (!parser->spaceRules)
    return !(whiteSpaceOnly && parser->normalizing && parent.numChildren() > 0);
  if (!whiteSpaceOnly) return true;
  MarlElement element(parent);
  return !element || parser->whitespaceStripping->strip(element) != SP_STRIP;
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentElement

void CMarlParseAgentElement::parse_sfirst() {
  accept(CToken::TOK_LT);
  std::wstring& name = parser->scratchName;
  std::wstring& prefix = parser->scratchPrefix;
  parseQName(name, prefix);
  parser->checkExpansion(static_cast<unsigned int>(name.size()));
  parser->checkExpansion(static_cast<unsigned int>(prefix.size()));
  if (parser->namespaceMode == 2 && (name == parser->xmlnsString || prefix == parser->xmlnsString))
    element = required(document->createElementNS(name, prefix, parser->emptyString));
  else
    element = required(document->createElement(name, prefix));
  setPosition(element);
  linkNode(element);
  parser->pushParent(element);
  state = &CMarlParseAgentElement::parse_s2;
  if (fire(eventElementPre, element)) return;
  parse_s2();
}

void CMarlParseAgentElement::parse_s2() {
  Token const id = scanner->token.id;
  if (id == CToken::TOK_NAME || id == CToken::TOK_QNAME) {
    hasAttributes = 1;
    parser->pushAgent<CMarlParseAgentAttribute>();
    return;
  }
  parse_s3();
}

void CMarlParseAgentElement::parse_s3() {
  Token const id = scanner->token.id;
  if (id != CToken::TOK_EMPTY_END && id != CToken::TOK_GT)
    report(c_error, 3006, L"unclosed element tag; '>' or '/>' expected");
  // Set before the step, so that the content behind the tag is read with it.
  scanner->literalFlags = contentFlags();
  if (id == CToken::TOK_EMPTY_END && parser->etagLineNumberSupport)
    element._impl()->setEndTagLine(lastLine);
  accept();
  if (parser->spaceRules) pushSpaceRule();
  state = id == CToken::TOK_EMPTY_END ? &CMarlParseAgentElement::parse_slast
                                      : &CMarlParseAgentElement::parse_s4;
  if (fire(eventElementPre2, element)) return;
  (this->*state)();
}

// An end of entity reaches an element only when the entity opened it and ends before the end
// tag. With reference nodes the reference's own agent would take it, but it lies below this
// one and would never run: the element refuses it instead of waiting for ever.
void CMarlParseAgentElement::parse_s4() {
  Token const id = scanner->token.id;
  if (id == CToken::TOK_ETAG_START) {
    parse_s5();
    return;
  }
  if (id == CToken::TOK_ENTITY_END && !keepsReferences()) {
    accept();
    return;
  }
  if (id != CToken::TOK_ENTITY_END && pushContentAgent()) return;
  report(c_error, 3007,
         L"unexpected symbol; expected '<', '</', entity reference, character data, CDATA "
         L"section, processing instruction or comment");
}

void CMarlParseAgentElement::parse_s5() {
  accept(CToken::TOK_ETAG_START);
  if (parser->etagLineNumberSupport) element._impl()->setEndTagLine(lastLine);
  std::wstring& name = parser->scratchName;
  std::wstring& prefix = parser->scratchPrefix;
  parseQName(name, prefix);
  std::wstring const& beginName = element.getName();
  std::wstring const& beginPrefix = element.getNamespacePrefix();
  if (name != beginName || prefix != beginPrefix)
    parser->addError(c_error, 3002, L"end tag '%s%s%s' does not match begin tag '%s%s%s'",
                     prefix.c_str(), prefix.empty() ? L"" : L":", name.c_str(),
                     beginPrefix.c_str(), beginPrefix.empty() ? L"" : L":", beginName.c_str());
  accept(CToken::TOK_GT);
  parse_slast();
}

void CMarlParseAgentElement::parse_slast() {
  fire(eventElementPost, element);
  parser->popParent();
  if (parser->normalizing && element.numChildren() > 1) {
    MarlNode first = element.getFirstChild();
    if (first.getType() == MarlNode::nodeText && MarlText(first).wsOnly()) first.removeNode();
  }
  if (parser->checkPrefixes) checkNamespacePrefixes();
  if (parser->spaceRules && !parser->whitespaceStripping->stripStack.empty())
    parser->whitespaceStripping->stripStack.pop_back();
  removeSelf();
}

void CMarlParseAgentElement::pushSpaceRule() {
  CMarlWhitespaceStripping& rules = *parser->whitespaceStripping;
  STRIP_OP rule = rules.stripStack.empty() ? SP_NONE : rules.stripStack.back();
  if (parser->xmlSpaceAware) {
    MarlAttribute space;
    if (hasAttributes) {
      space = element.getAttributeNode(parser->spaceString, parser->xmlString);
    } else if (parser->supplyAttrDefaults && parser->documentType) {
      DefaultAttributeTable const* defaults = parser->documentType._impl()->defaultAttributes;
      std::wstring const& name = element.getName();
      std::wstring const& prefix = element.getNamespacePrefix();
      if (defaults && defaults->hasXMLSpaceDefaultAttribute(name, prefix))
        space = defaults->createDefaultAttribute(name, prefix, parser->spaceString,
                                                 parser->xmlString);
    }
    if (space && space.getValue() == parser->preserveString)
      rule = SP_PRESERVE;
    else if (space && space.getValue() == parser->defaultString)
      rule = SP_NONE;
  }
  rules.stripStack.push_back(rule);
}

// Only an element with a prefix is checked, and only then its attributes: narrower than it
// looks, and so it stays.
void CMarlParseAgentElement::checkNamespacePrefixes() {
  std::wstring const& prefix = element.getNamespacePrefix();
  if (prefix.empty()) return;
  MarlNamespaceContext context = required(element.getNamespaceContext());
  if (!isBound(context, prefix))
    report(c_error, 6800, L"undeclared namespace prefix: '%s'", prefix.c_str());
  MarlNamedNodeMap attributes = element.getAttributes();
  if (!attributes) return;
  for (unsigned int index = 0; index < attributes.getLength(); ++index) {
    std::wstring const& attributePrefix = attributes.getItem(index).getNamespacePrefix();
    if (attributePrefix.empty() || attributePrefix == parser->xmlnsString ||
        attributePrefix == parser->xmlString)
      continue;
    if (!isBound(context, attributePrefix))
      report(c_error, 6800, L"undeclared namespace prefix: '%s'", attributePrefix.c_str());
  }
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentAttribute

void CMarlParseAgentAttribute::parse() {
  std::wstring& name = parser->scratchName;
  std::wstring& prefix = parser->scratchPrefix;
  parseQName(name, prefix);
  parser->checkExpansion(static_cast<unsigned int>(name.size()));
  parser->checkExpansion(static_cast<unsigned int>(prefix.size()));
  MarlAttribute attribute = createAttribute();
  setPosition(attribute);
  accept(CToken::TOK_EQ);
  // Without declarations every attribute is of type CDATA.
  std::wstring& value = parser->scratchValue;
  parseAttValue(value, c_typeCDATA);
  attribute.setValue(value);
  MarlElement element(parser->parents.back());
  requireDone(element.setAttributeNode(attribute));
  bool const isDeclaration = MarlNamespaceDecl(attribute);
  if (parser->namespaceMode == 2 && isDeclaration) {
    MarlNamespaceContext context = required(element._impl()->forkNamespaceContext());
    std::wstring const& declared = attribute.getName();
    context.bind(declared == parser->xmlnsString ? parser->emptyString : declared, value);
  }
  fire(eventAttributePost, attribute);
  if (!isDeclaration && !parser->idAttributes.empty()) {
    CMarlElement const* owner = element._impl();
    CMarlAttribute const* declared = attribute._impl();
    if (parser->isIdAttribute({owner->prefix, owner->name, declared->prefix, declared->name}))
      document->insertID(value, element);
  }
  removeSelf();
}

MarlAttribute CMarlParseAgentAttribute::createAttribute() {
  std::wstring const& name = parser->scratchName;
  std::wstring const& prefix = parser->scratchPrefix;
  if (parser->namespaceMode == 0) return required(document->createAttribute(name, prefix));
  if (prefix == parser->xmlnsString || (name == parser->xmlnsString && prefix.empty()))
    return required(document->createNamespaceDecl(name, prefix, parser->emptyString));
  if (prefix == parser->xmlString)
    return required(document->createAttributeNS(name, prefix, parser->xmlNamespaceURI));
  return required(document->createAttributeNS(name, prefix, parser->emptyString));
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentEntityRef

void CMarlParseAgentEntityRef::parse_sfirst() {
  CToken const& token = scanner->token;
  std::wstring& name = parser->scratchName;
  name.assign(token.text + 1, token.length - 2);
  node = createReferenceNode(name);
  if (parser->resolveMode & 0x01) {
    expanded = parser->pushEntity(0, name, currentState());
    if (!expanded || !node)
      node = MarlNode();
    else
      parser->pushParent(node);
  }
  accept();
  if (node) fire(eventEntityRefPre, node);
  state = &CMarlParseAgentEntityRef::parse_slast;
}

// The node stands where the reference stands, whatever was read before it.
MarlNode CMarlParseAgentEntityRef::createReferenceNode(std::wstring const& name) {
  if (!parser->domGenerating || parser->parents.empty()) return MarlNode();
  CToken const& token = scanner->token;
  MarlNode& parent = parser->parents.back();
  unsigned int const resolveMode = parser->resolveMode;
  if (resolveMode & 0x20) {
    MarlEntityRef reference = required(document->createEntityRef(name));
    reference.setPosition(token.line, token.column);
    parent.appendChild(reference, 1);
    MarlEntityDecl declaration = parser->findEntityDecl(name, 0);
    if (declaration &&
        (!declaration.getSystemId().empty() || !declaration.getPublicId().empty())) {
      reference.setSystemId(declaration.getSystemId());
      reference.setPublicId(declaration.getPublicId());
    }
    return reference;
  }
  if (resolveMode & 0x40) {
    MarlElement reference = required(document->createElement(L"entity-reference", L"lex"));
    reference.setPosition(token.line, token.column);
    parent.appendChild(reference, 1);
    requireDone(reference.setAttribute(L"name", parser->emptyString, name));
    MarlEntityDecl declaration = parser->findEntityDecl(name, 0);
    if (declaration &&
        (!declaration.getSystemId().empty() || !declaration.getPublicId().empty())) {
      requireDone(reference.setAttribute(L"system", parser->emptyString,
                                         declaration.getSystemId()));
      requireDone(reference.setAttribute(L"public", parser->emptyString,
                                         declaration.getPublicId()));
    }
    return reference;
  }
  if ((resolveMode & 0x80) && !(resolveMode & 0x01)) {
    MarlText reference = required(document->createText(tokenText()));
    reference.setPosition(token.line, token.column);
    parent.appendChild(reference, 1);
    return reference;
  }
  return MarlNode();
}

// The content of the entity, as that of an element but without end tags, until its end.
void CMarlParseAgentEntityRef::parse_slast() {
  if (expanded && pushContentAgent()) return;
  if (expanded) {
    accept(CToken::TOK_ENTITY_END);
    if (node) parser->popParent();
  }
  if (node) fire(eventEntityRefPost, node);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentDocTypeDecl

void CMarlParseAgentDocTypeDecl::parse_sfirst() {
  accept(CToken::TOK_DOCTYPE);
  std::wstring& name = parser->scratchName;
  std::wstring& prefix = parser->scratchPrefix;
  parseQName(name, prefix);
  MarlDocumentType& type = parser->documentType;
  if (!type) {
    type = required(document->createDocumentType(name, prefix));
    document->setDocumentType(type);
  }
  type.setExplicit(1);
  type.setName(name);
  type.setNamespacePrefix(prefix);
  setPosition(type);
  // A document parsed into a second time holds its document type already; listing it again
  // would tie its sibling chain into a ring.
  if (parser->domGenerating && !parser->parents.empty() && !type.getParent())
    parser->parents.back().appendChild(type, 1);
  fire(eventDocumentTypePre, type);
  parser->pushParent(type);
  state = &CMarlParseAgentDocTypeDecl::parse_s2;
}

// The keyword and the name are read before a prohibited stream is refused.
void CMarlParseAgentDocTypeDecl::parse_s2() {
  if (parser->iStream && parser->iStream->isDtdProhibited())
    report(c_error, 4003, L"Marl configuration has prohibited the usage of DTDs");
  MarlDocumentType& type = parser->documentType;
  CToken const& token = scanner->token;
  if (token.id == CToken::TOK_NAME) {
    external = 1;
    std::wstring systemId;
    if (acceptName(L"SYSTEM", 6, 0)) {
      parseSystemLiteral(systemId);
    } else if (acceptName(L"PUBLIC", 6, 0)) {
      std::wstring publicId;
      parsePubidLiteral(publicId);
      parseSystemLiteral(systemId);
      type.setPublicId(publicId);
    } else {
      report(c_error, 3001, L"symbol 'SYSTEM' or 'PUBLIC' expected");
    }
    type.setSystemId(systemId);
  }
  if (token.id == CToken::TOK_LBRACKET) {
    accept();
    internalSubset = 1;
    parser->inExternalSubset = 0;
    state = &CMarlParseAgentDocTypeDecl::parse_s3;
  } else {
    internalSubset = 0;
    parser->inExternalSubset = 1;
    state = &CMarlParseAgentDocTypeDecl::parse_s4;
  }
}

void CMarlParseAgentDocTypeDecl::parse_s3() {
  state = &CMarlParseAgentDocTypeDecl::parse_s4;
  parser->pushAgent<CMarlParseAgentMarkupDecl>();
}

// The closing '>' is the token when the subset is pushed, and the scanner gives it back when
// the subset ends.
void CMarlParseAgentDocTypeDecl::parse_s4() {
  if (internalSubset) accept(CToken::TOK_RBRACKET);
  state = &CMarlParseAgentDocTypeDecl::parse_slast;
  if (!external) return;
  parser->inExternalSubset = 1;
  internalSubset = 0;
  MarlDocumentType const& type = parser->documentType;
  unsigned char const mustExist = parser->validating && !parser->softValidation;
  if (parser->pushEntity(type.getSystemId(), type.getPublicId(), mustExist,
                         CMarlScanner::STATE_DTD)) {
    parser->pushAgent<CMarlParseAgentExtSubset>();
    ++*scanner;
  }
}

void CMarlParseAgentDocTypeDecl::parse_slast() {
  accept(CToken::TOK_GT);
  fire(eventDocumentTypePost, parser->documentType);
  parser->popParent();
  parser->inExternalSubset = 0;
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentMarkupDecl

void CMarlParseAgentMarkupDecl::parse() {
  switch (scanner->token.id) {
    case CToken::TOK_COMMENT_START:
      parser->pushAgent<CMarlParseAgentComment>();
      return;
    case CToken::TOK_COND_START:
      parser->pushAgent<CMarlParseAgentCondDTDSection>();
      return;
    case CToken::TOK_ATTLIST:
      parser->pushAgent<CMarlParseAgentAttlistDecl>();
      return;
    case CToken::TOK_ELEMENT:
      parser->pushAgent<CMarlParseAgentElementDecl>();
      return;
    case CToken::TOK_ENTITY:
      parser->pushAgent<CMarlParseAgentEntityDecl>();
      return;
    case CToken::TOK_NOTATION:
      parser->pushAgent<CMarlParseAgentNotationDecl>();
      return;
    case CToken::TOK_PI_START:
      parser->pushAgent<CMarlParseAgentPI>();
      return;
    case CToken::TOK_XML_PI_START:
      parser->pushAgent<CMarlParseAgentXmlDecl>();
      return;
    default:
      removeSelf();
      return;
  }
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentExtSubset

// The text declaration lies above the declarations and so runs first.
void CMarlParseAgentExtSubset::parse_sfirst() {
  state = &CMarlParseAgentExtSubset::parse_slast;
  parser->pushAgent<CMarlParseAgentMarkupDecl>();
  if (scanner->token.id == CToken::TOK_XML_PI_START)
    parser->pushAgent<CMarlParseAgentTextDecl>();
  else
    keepStreamEncoding();
}

void CMarlParseAgentExtSubset::parse_slast() {
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentTextDecl

void CMarlParseAgentTextDecl::parse() {
  accept(CToken::TOK_XML_PI_START);
  acceptName(L"xml", 3, 1);
  if (acceptName(L"version", 7, 0)) {
    accept(CToken::TOK_EQ);
    parseVersion(parser->scratchValue);
  }
  std::wstring& declared = parser->scratchEncoding;
  declared.clear();
  if (acceptName(L"encoding", 8, 1)) {
    accept(CToken::TOK_EQ);
    parseEncName(declared);
  }
  MarlGEntityExtParsed entity(scanner->entity);
  if (entity && declared.empty()) {
    keepStreamEncoding();
  } else if (entity) {
    MarlIStream stream = entity.getIStream();
    MarlEncoding streamEncoding = stream ? stream.getEncoding() : MarlEncoding();
    entity.setEncoding(createEncoding(declared, streamEncoding ? streamEncoding.getByteOrder()
                                                               : MarlEncoding::BYTEORDER_NONE));
  }
  accept(CToken::TOK_PI_END);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentCondDTDSection

void CMarlParseAgentCondDTDSection::parse_sfirst() {
  accept(CToken::TOK_COND_START);
  CToken const& token = scanner->token;
  if (token.id == CToken::TOK_NAME && token.compare(L"INCLUDE", 7) == 0)
    state = &CMarlParseAgentCondDTDSection::parse_s2;
  else if (token.id == CToken::TOK_NAME && token.compare(L"IGNORE", 6) == 0)
    state = &CMarlParseAgentCondDTDSection::parse_s3;
  else
    report(c_error, 3003, L"symbol 'INCLUDE' or 'IGNORE' expected");
}

void CMarlParseAgentCondDTDSection::parse_s2() {
  MarlCondDTDSection section = required(parser->documentType.createCondDTDSection(1));
  setPosition(section);
  section.setExternal(parser->inExternalSubset);
  linkNode(section);
  accept();
  accept(CToken::TOK_LBRACKET);
  parser->pushParent(section);
  parser->pushAgent<CMarlParseAgentMarkupDecl>();
  fire(eventCondDTDSectionPre, section);
  state = &CMarlParseAgentCondDTDSection::parse_slast;
}

// The ignored text is read in a state of its own, pushed before the token behind '[' is
// scanned; that state gives itself up before the closing "]]>".
void CMarlParseAgentCondDTDSection::parse_s3() {
  parser->inIgnoreSection = 1;
  MarlCondDTDSection section = required(parser->documentType.createCondDTDSection(0));
  setPosition(section);
  section.setExternal(parser->inExternalSubset);
  linkNode(section);
  accept();
  scanner->pushState(CMarlScanner::STATE_IGNORE);
  accept(CToken::TOK_LBRACKET);
  CToken const& token = scanner->token;
  std::wstring& text = parser->scratchText;
  text.clear();
  while (token.id == CToken::TOK_DATA) {
    text.append(token.text, token.length);
    accept();
  }
  section.setValue(text);
  parser->pushParent(section);
  fire(eventCondDTDSectionPre, section);
  state = &CMarlParseAgentCondDTDSection::parse_slast;
}

// The "<![" pushed a declaration state that no '>' takes back: it is given up here, before
// the token behind "]]>" is scanned, so that a run of sections does not eat up the depth
// that entity references need.
void CMarlParseAgentCondDTDSection::parse_slast() {
  MarlNode section = parser->parents.empty() ? MarlNode() : parser->parents.back();
  parser->popParent();
  parser->inIgnoreSection = 0;
  if (scanner->token.id == CToken::TOK_SECT_END) scanner->popState();
  accept(CToken::TOK_SECT_END);
  if (section) fire(eventCondDTDSectionPost, section);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentElementDecl

void CMarlParseAgentElementDecl::parse_sfirst() {
  accept(CToken::TOK_ELEMENT);
  startNamedDeclaration(decl, group, &MarlDocumentType::createElementDecl, eventElementDeclPre);
  state = &CMarlParseAgentElementDecl::parse_slast;
}

void CMarlParseAgentElementDecl::parse_slast() {
  if (parser->mode == 1) parseOmitSpec();
  parser->pushParent(decl);
  parseContentSpec();
  if (parser->mode == 1) parseIncludeExcludeSpec();
  parser->popParent();
  accept(CToken::TOK_GT);
  linkGroupCopies(decl, group);
  fire(eventElementDeclPost, decl);
  removeSelf();
}

// The declaration has no place for the omission flags, so they are read and dropped.
void CMarlParseAgentElementDecl::parseOmitSpec() {
  static unsigned int const c_numbers[] = {9998, 9999};
  CToken const& token = scanner->token;
  for (unsigned int number : c_numbers) {
    bool const omission = token.id == CToken::TOK_MINUS ||
                          (token.id == CToken::TOK_NAME &&
                           (token.compare(L"o", 1) == 0 || token.compare(L"O", 1) == 0));
    if (!omission) report(c_error, number, L"unexpected symbol; expected '-' or 'o'");
    accept();
  }
}

void CMarlParseAgentElementDecl::parseIncludeExcludeSpec() {
  CToken const& token = scanner->token;
  while (token.id == CToken::TOK_PLUS_PAREN || token.id == CToken::TOK_MINUS_PAREN) {
    accept();
    for (;;) {
      parseQName(parser->scratchName, parser->scratchPrefix);
      if (token.id != CToken::TOK_BAR) break;
      accept();
    }
    accept(CToken::TOK_RPAREN);
  }
}

void CMarlParseAgentElementDecl::parseContentSpec() {
  CToken const& token = scanner->token;
  if (token.id == CToken::TOK_LPAREN) {
    accept();
    if (parser->mode != 1 && token.id == CToken::TOK_HASH) {
      decl.setContentSpec(MarlElementDecl::CS_MIXED);
      parseMixed();
      return;
    }
    decl.setContentSpec(MarlElementDecl::CS_CHILDREN);
    decl.addContentParticle(parseChildren());
    return;
  }
  if (token.id != CToken::TOK_NAME) {
    report(c_error, 3009, L"unexpected symbol; expected 'ANY', 'EMPTY' or '('");
    return;
  }
  if (acceptName(L"EMPTY", 5, 0))
    decl.setContentSpec(MarlElementDecl::CS_EMPTY);
  else if (acceptName(L"ANY", 3, 0))
    decl.setContentSpec(MarlElementDecl::CS_ANY);
  else if (!(parser->mode == 1 && acceptName(L"CDATA", 5, 0)))
    report(c_error, 3008, L"unexpected symbol; expected 'ANY' or 'EMPTY'");
}

// The group starts as zero-or-more and a closing '*' sets it to one, as the numbers of the
// declaration model have it.
void CMarlParseAgentElementDecl::parseMixed() {
  MarlContentParticle mixed = createParticle(parser->emptyString, parser->emptyString,
                                             MarlContentParticle::OCC_ZERO_OR_MORE,
                                             MarlContentParticle::GROUP_CHOICE);
  decl.addContentParticle(mixed);
  accept(CToken::TOK_HASH);
  acceptName(L"PCDATA", 6, 1);
  mixed.addContentParticle(createParticle(parser->pcdataString, parser->emptyString,
                                          MarlContentParticle::OCC_ONE,
                                          MarlContentParticle::GROUP_SEQUENCE));
  CToken const& token = scanner->token;
  if (token.id != CToken::TOK_BAR) {
    accept(CToken::TOK_RPAREN);
    if (token.id == CToken::TOK_STAR) {
      accept();
      mixed.setOccurrence(MarlContentParticle::OCC_ONE);
    }
    return;
  }
  std::wstring& name = parser->scratchName;
  std::wstring& prefix = parser->scratchPrefix;
  while (token.id == CToken::TOK_BAR) {
    accept();
    parseQName(name, prefix);
    mixed.addContentParticle(createParticle(name, prefix, MarlContentParticle::OCC_ONE,
                                            MarlContentParticle::GROUP_CHOICE));
  }
  accept(CToken::TOK_RPAREN);
  accept(CToken::TOK_STAR);
  mixed.setOccurrence(MarlContentParticle::OCC_ONE);
}

MarlContentParticle CMarlParseAgentElementDecl::parseChildren() {
  MarlContentParticle particle = parseChoiceOrSeq();
  parseOccurrence(particle);
  return particle;
}

// The first separator fixes the one that loops, so "a,b|c" fails at the closing parenthesis.
MarlContentParticle CMarlParseAgentElementDecl::parseChoiceOrSeq() {
  MarlContentParticle grouped = createParticle(parser->emptyString, parser->emptyString,
                                               MarlContentParticle::OCC_ONE,
                                               MarlContentParticle::GROUP_SEQUENCE);
  grouped.addContentParticle(parseCP());
  CToken const& token = scanner->token;
  Token const separator = token.id;
  bool const loops = separator == CToken::TOK_BAR || separator == CToken::TOK_COMMA ||
                     (parser->mode == 1 && separator == CToken::TOK_AMP);
  if (loops) {
    while (token.id == separator) {
      accept();
      grouped.addContentParticle(parseCP());
    }
    grouped.setGrouping(separator == CToken::TOK_COMMA ? MarlContentParticle::GROUP_SEQUENCE
                                                       : MarlContentParticle::GROUP_CHOICE);
  }
  accept(CToken::TOK_RPAREN);
  return grouped;
}

MarlContentParticle CMarlParseAgentElementDecl::parseCP() {
  CToken const& token = scanner->token;
  MarlContentParticle particle;
  if (token.id == CToken::TOK_LPAREN) {
    accept();
    particle = parseChoiceOrSeq();
  } else if (token.id == CToken::TOK_NAME || token.id == CToken::TOK_QNAME) {
    std::wstring& name = parser->scratchName;
    std::wstring& prefix = parser->scratchPrefix;
    parseQName(name, prefix);
    particle = createParticle(name, prefix, MarlContentParticle::OCC_ONE,
                              MarlContentParticle::GROUP_SEQUENCE);
  } else if (parser->mode == 1 && token.id == CToken::TOK_HASH) {
    accept();
    parseName(parser->scratchName);
    particle = createParticle(parser->pcdataString, parser->emptyString,
                              MarlContentParticle::OCC_ONE, MarlContentParticle::GROUP_SEQUENCE);
  } else {
    report(c_error, 3010, L"unexpected symbol; expected '(' or name");
    return particle;
  }
  parseOccurrence(particle);
  return particle;
}

void CMarlParseAgentElementDecl::parseOccurrence(MarlContentParticle& particle) {
  switch (scanner->token.id) {
    case CToken::TOK_QUESTION:
      particle.setOccurrence(MarlContentParticle::OCC_OPTIONAL);
      break;
    case CToken::TOK_PLUS:
      particle.setOccurrence(MarlContentParticle::OCC_ONE_OR_MORE);
      break;
    case CToken::TOK_STAR:
      particle.setOccurrence(MarlContentParticle::OCC_ZERO_OR_MORE);
      break;
    default:
      return;
  }
  accept();
}

MarlContentParticle CMarlParseAgentElementDecl::createParticle(
    std::wstring const& name, std::wstring const& prefix,
    MarlContentParticle::Occurrence occurrence, MarlContentParticle::Grouping grouping) {
  MarlContentParticle particle =
      required(parser->documentType.createContentParticle(name, prefix, occurrence, grouping));
  setPosition(particle);
  return particle;
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentAttlistDecl

void CMarlParseAgentAttlistDecl::parse_sfirst() {
  accept(CToken::TOK_ATTLIST);
  startNamedDeclaration(decl, group, &MarlDocumentType::createAttListDecl, eventAttListDeclPre);
  state = &CMarlParseAgentAttlistDecl::parse_s2;
}

void CMarlParseAgentAttlistDecl::parse_s2() {
  Token const id = scanner->token.id;
  if (id != CToken::TOK_NAME && id != CToken::TOK_QNAME) {
    state = &CMarlParseAgentAttlistDecl::parse_slast;
    return;
  }
  parseQName(parser->scratchName, parser->scratchPrefix);
  attribute = required(
      parser->documentType.createAttributeDecl(parser->scratchName, parser->scratchPrefix));
  setPosition(attribute);
  requireDone(decl.appendChild(attribute));
  fire(eventAttListDeclPre, attribute);
  state = &CMarlParseAgentAttlistDecl::parse_s3;
}

void CMarlParseAgentAttlistDecl::parse_s3() {
  parseAttType();
  parseDefaultDecl();
  CMarlAttListDecl const* list = decl._impl();
  CMarlAttributeDecl const* declared = attribute._impl();
  if (attribute.getValueType() == MarlAttributeDecl::VT_ID && !parser->validator)
    parser->insertIdAttribute(
        {list->namespacePrefix, list->name, declared->namespacePrefix, declared->name});
  MarlAttributeDecl::AttrDefault const kind = attribute.getAttrDefault();
  bool const hasDefault = kind == MarlAttributeDecl::AD_VALUE || kind == MarlAttributeDecl::AD_FIXED;
  if (parser->supplyAttrDefaults && hasDefault)
    parser->documentType._impl()->insertDefaultAttributeValue(
        decl.getName(), decl.getNamespacePrefix(), attribute.getName(),
        attribute.getNamespacePrefix(), *CMarl::instance().intern(attribute.getDefaultValue()));
  fire(eventAttListDeclPost, attribute);
  state = &CMarlParseAgentAttlistDecl::parse_s2;
}

// The SGML types NUMBER and NAME are tokens: they are kept as NMTOKEN, so that their
// defaults are normalised as tokens are.
void CMarlParseAgentAttlistDecl::parseAttType() {
  struct TypeName {
    wchar_t const* text;
    unsigned int length;
    MarlAttributeDecl::ValueType type;
    bool sgmlOnly;
  };
  static TypeName const c_types[] = {
      {L"CDATA", 5, MarlAttributeDecl::VT_CDATA, false},
      {L"NUMBER", 6, MarlAttributeDecl::VT_NMTOKEN, true},
      {L"ID", 2, MarlAttributeDecl::VT_ID, false},
      {L"IDREF", 5, MarlAttributeDecl::VT_IDREF, false},
      {L"IDREFS", 6, MarlAttributeDecl::VT_IDREFS, false},
      {L"ENTITY", 6, MarlAttributeDecl::VT_ENTITY, false},
      {L"ENTITIES", 8, MarlAttributeDecl::VT_ENTITIES, false},
      {L"NMTOKEN", 7, MarlAttributeDecl::VT_NMTOKEN, false},
      {L"NMTOKENS", 8, MarlAttributeDecl::VT_NMTOKENS, false},
      {L"NAME", 4, MarlAttributeDecl::VT_NMTOKEN, true},
      {L"NOTATION", 8, MarlAttributeDecl::VT_NOTATION, false},
  };
  CToken const& token = scanner->token;
  if (token.id == CToken::TOK_LPAREN) {
    accept();
    attribute.setValueType(MarlAttributeDecl::VT_ENUMERATION);
    parseEnumeration(false);
    return;
  }
  if (token.id != CToken::TOK_NAME) {
    report(c_error, 3010, L"unexpected symbol; expected '(' or name");
    return;
  }
  for (TypeName const& candidate : c_types) {
    if (candidate.sgmlOnly && parser->mode != 1) continue;
    if (!acceptName(candidate.text, candidate.length, 0)) continue;
    attribute.setValueType(candidate.type);
    if (candidate.type == MarlAttributeDecl::VT_NOTATION) {
      accept(CToken::TOK_LPAREN);
      parseEnumeration(true);
    }
    return;
  }
  report(c_error, 3012,
         L"unexpected symbol; expected 'CDATA', 'ID', 'IDREF', 'IDREFS', 'ENTITY', 'ENTITIES', "
         L"'NMTOKEN', 'NMTOKENS' or 'NOTATION'");
}

void CMarlParseAgentAttlistDecl::parseEnumeration(bool notation) {
  std::wstring& value = parser->scratchValue;
  for (;;) {
    if (notation)
      parseName(value);
    else
      parseNmToken(value);
    if (!attribute.addEnumValue(value))
      report(c_warning, 2001, L"enumerated value '%s' already defined; ignoring second occurance",
             value.c_str());
    if (scanner->token.id != CToken::TOK_BAR) break;
    accept();
  }
  accept(CToken::TOK_RPAREN);
}

void CMarlParseAgentAttlistDecl::parseDefaultDecl() {
  if (scanner->token.id == CToken::TOK_HASH) {
    accept();
    if (acceptName(L"REQUIRED", 8, 0)) {
      attribute.setAttrDefault(MarlAttributeDecl::AD_REQUIRED);
      return;
    }
    if (acceptName(L"IMPLIED", 7, 0)) {
      attribute.setAttrDefault(MarlAttributeDecl::AD_IMPLIED);
      return;
    }
    if (!acceptName(L"FIXED", 5, 0))
      report(c_error, 3011, L"unexpected symbol; expected '#REQUIRED', '#IMPLIED' or '#FIXED'");
    attribute.setAttrDefault(MarlAttributeDecl::AD_FIXED);
  } else {
    attribute.setAttrDefault(MarlAttributeDecl::AD_VALUE);
  }
  std::wstring& value = parser->scratchValue;
  MarlAttributeDecl::ValueType const type = attribute.getValueType();
  parseAttValue(value, type);
  if (type != MarlAttributeDecl::VT_CDATA) normalize(value);
  attribute.setDefaultValue(value);
}

void CMarlParseAgentAttlistDecl::parse_slast() {
  accept(CToken::TOK_GT);
  linkGroupCopies(decl, group);
  fire(eventAttListDeclPost, decl);
  removeSelf();
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentEntityDecl

void CMarlParseAgentEntityDecl::parse_sfirst() {
  accept(CToken::TOK_ENTITY);
  CToken const& token = scanner->token;
  unsigned char const parameter = token.id == CToken::TOK_PERCENT ? 1 : 0;
  if (parameter) accept();
  std::wstring name;
  parseName(name);
  std::wstring systemId;
  std::wstring publicId;
  std::wstring notationName;
  std::wstring value;
  bool external = false;
  if (token.id != CToken::TOK_NAME) {
    parseEntityValue(value);
  } else if (acceptName(L"SYSTEM", 6, 0)) {
    external = true;
    parseSystemLiteral(systemId);
  } else if (acceptName(L"PUBLIC", 6, 0)) {
    external = true;
    parsePubidLiteral(publicId);
    parseSystemLiteral(systemId);
  } else if (parser->mode == 1 && acceptName(L"CDATA", 5, 0)) {
    parseEntityValue(value);
  } else {
    report(c_error, 3001, L"symbol 'SYSTEM' or 'PUBLIC' expected");
  }
  if (external && !parameter && acceptName(L"NDATA", 5, 0)) parseName(notationName);
  MarlDocumentType& type = parser->documentType;
  decl = required(external
                      ? type.createExtEntityDecl(parameter, name, systemId, publicId, notationName)
                      : type.createIntEntityDecl(parameter, name, value));
  accept(CToken::TOK_GT);
  setPosition(decl);
  decl.setExternal(parser->inExternalSubset);
  linkNode(decl);
  fire(eventEntityDeclPre, decl);
  state = &CMarlParseAgentEntityDecl::parse_slast;
}

void CMarlParseAgentEntityDecl::parse_slast() {
  fire(eventEntityDeclPost, decl);
  removeSelf();
}

// General references stay as they stand, to be expanded where the entity is used; parameter
// references were expanded by the scanner.
void CMarlParseAgentEntityDecl::parseEntityValue(std::wstring& out) {
  out.clear();
  if (!isQuoteOpener()) {
    report(c_error, 3018, L"entity value delimited by \" or ' expected");
    return;
  }
  scanner->literalFlags = contentFlags();
  accept();
  CToken const& token = scanner->token;
  for (;;) {
    switch (token.id) {
      case CToken::TOK_LITERAL:
      case CToken::TOK_GEREF:
        out.append(token.text, token.length);
        accept();
        break;
      case CToken::TOK_CHARREF: {
        wchar_t character = 0;
        parseCharRef(&character);
        out.push_back(character);
        break;
      }
      case CToken::TOK_SQ_CLOSE:
      case CToken::TOK_DQ_CLOSE:
        accept();
        return;
      default:
        report(c_error, 3006, L"invalid symbol '%s' in literal '%s'", tokenText().c_str(),
               out.c_str());
        return;
    }
  }
}

// ---------------------------------------------------------------------------------------
// CMarlParseAgentNotationDecl

void CMarlParseAgentNotationDecl::parse_sfirst() {
  accept(CToken::TOK_NOTATION);
  std::wstring name;
  parseName(name);
  std::wstring systemId;
  std::wstring publicId;
  if (scanner->token.id == CToken::TOK_NAME) {
    if (acceptName(L"SYSTEM", 6, 0)) {
      parseSystemLiteral(systemId);
    } else if (acceptName(L"PUBLIC", 6, 0)) {
      parsePubidLiteral(publicId);
      if (isQuoteOpener()) parseSystemLiteral(systemId);
    } else {
      report(c_error, 3001, L"symbol 'SYSTEM' or 'PUBLIC' expected");
    }
  }
  accept(CToken::TOK_GT);
  decl = required(parser->documentType.createNotationDecl(name, systemId, publicId));
  setPosition(decl);
  decl.setExternal(parser->inExternalSubset);
  linkNode(decl);
  fire(eventNotationDeclPre, decl);
  state = &CMarlParseAgentNotationDecl::parse_slast;
}

void CMarlParseAgentNotationDecl::parse_slast() {
  fire(eventNotationDeclPost, decl);
  removeSelf();
}
