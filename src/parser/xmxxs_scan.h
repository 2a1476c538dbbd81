#ifndef MARL_PARSER_XMXXS_SCAN_H
#define MARL_PARSER_XMXXS_SCAN_H

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/xmxxu_allo.h"
#include "marl/entity.h"
#include "marl/stream.h"
#include "parser/xmxxs_ent.h"
#include "parser/xmxxs_tokn.h"

class CMarlScannerHost;

// Turns the characters of the entity being read into tokens. Which characters form a token
// depends on the scan method on top of a small stack of states; the scan methods push and
// pop that stack at the constructs that open and close a state (a tag, a literal, a comment,
// a declaration), and agents may change it too. Entities are pushed and popped here, so an
// agent sees one continuous token stream. The scanner builds no nodes and, but for the
// nesting limit of entities, reports nothing: what it cannot take becomes TOK_INVALID.
class CMarlScanner : public AllocPolicyRollArea {
 public:
  // The index of a scan method in the state table. Values from 11 on name the slots of the
  // state stack, so that 11 + depth stands for "the state on top now".
  enum StateId : std::int32_t {
    STATE_NONE = 0,
    STATE_DATA = 1,
    STATE_CDATA = 2,
    STATE_COMMENT = 3,
    STATE_DTD = 4,
    STATE_IGNORE = 5,
    STATE_ELEMENT = 6,
    STATE_LITERAL_DQ = 7,
    STATE_LITERAL_SQ = 8,
    STATE_PI = 9,
    STATE_XMLDECL = 10,
  };
  using ScanMethod = CToken::TokenID (CMarlScanner::*)();

  static constexpr std::int32_t c_stateTableSize = 11;
  static constexpr std::int32_t c_stateStackSize = 32;
  // Scan methods push without looking at the depth, so an entity at the deepest level that
  // opens a tag and a literal goes beyond the 32 slots; these slots take that. A push beyond
  // them replaces the top instead, and a pop never goes below the bottom slot.
  static constexpr std::int32_t c_stateStackSlack = 16;
  static constexpr std::int32_t c_stateSlots = c_stateStackSize + c_stateStackSlack;
  // pushEntity refuses an entity while the depth is above this.
  static constexpr std::int32_t c_maxEntityDepth = 30;
  static constexpr std::uint32_t c_stopAtAmpersand = 0x03;
  static constexpr std::uint32_t c_stopAtPercent = 0x04;
  static constexpr std::uint32_t c_stopAtLess = 0x08;

  // `parser` receives the findings and resolves parameter entity references; it may be null,
  // and then nothing is reported and no reference is resolved. A null `factory` gives the
  // library's own. With an `entity`, that entity is read in the state of the bottom.
  CMarlScanner(CMarlScannerHost* parser, CMarlGEntity* entity, MarlStreamFactory factory);
  ~CMarlScanner();
  CMarlScanner(CMarlScanner const&) = delete;
  CMarlScanner& operator=(CMarlScanner const&) = delete;

  // Scans the next token into `token`. Parameter entity references are resolved on the way
  // and never show; the end of a general entity shows as TOK_ENTITY_END, carrying the
  // reference's text. With no entity left the token stays TOK_EOF and nothing happens.
  CMarlScanner& operator++();

  // Makes `newEntity` the one being read, saving the one before with its cursors and the
  // current token. `state` is the state to read it in: a table entry, 11 + depth for the one
  // on top now, or STATE_NONE for a copy of the top. 1 when pushed; above the nesting limit
  // the fatal error 4003 goes to the parser, which throws.
  unsigned char pushEntity(MarlGEntity newEntity, StateId state);
  // Returns to the entity below with its cursors and token: 1; 0 when none is left, and the
  // scanner is then empty.
  unsigned char popEntity();
  // Asks the parser for the parameter entity named by `entityName`, read in the current
  // state; 0 without a parser.
  unsigned char WrapParserPushEntity();

  // Changes of the state stack, for the scan methods and the agents.
  void pushState(StateId state) noexcept {
    if (depth + 1 < c_stateSlots) ++depth;
    states[c_stateTableSize + depth] = states[state];
  }
  void popState() noexcept {
    if (depth > 0) --depth;
  }
  ScanMethod topState() const noexcept { return states[c_stateTableSize + depth]; }

  // The state methods, by StateId. Each returns a token id and leaves `cursor` behind what
  // it took; tokenStart is where the token begins.
  CToken::TokenID scanInvalid();
  CToken::TokenID scanData();
  CToken::TokenID scanCData();
  CToken::TokenID scanComment();
  CToken::TokenID scanDtd();
  CToken::TokenID scanIgnoreSection();
  CToken::TokenID scanElement();
  CToken::TokenID scanLiteralDq();
  CToken::TokenID scanLiteralSq();
  CToken::TokenID scanPi();
  CToken::TokenID scanXmlDecl();
  // Helpers of the state methods; TOK_INVALID when the input is not of their kind.
  CToken::TokenID scanName();
  CToken::TokenID scanQName();
  CToken::TokenID scanNmToken();
  CToken::TokenID scanGERef();
  CToken::TokenID scanPERef();
  CToken::TokenID scanCharRef();

  MarlStreamFactory streamFactory;
  // The current token, which agents read in place.
  CToken token;
  CMarlScannerHost* parser;
  std::vector<MarlGEntity, tova_alloc<MarlGEntity>> entityStack;
  // Two per saved entity: its cursor, then its token start.
  std::vector<CMarlGEntityIterator, tova_alloc<CMarlGEntityIterator>> cursorStack;
  std::vector<CToken, tova_alloc<CToken>> tokenStack;
  // 0 XML, 1 the SGML-flavoured forms, 2 no references recognised.
  std::int32_t mode;
  std::uint8_t normalizing;
  std::uint8_t normalizingAtt;
  // Colons separate prefix and local name.
  std::uint8_t nameSpaces;
  // The state table, then the state stack.
  ScanMethod states[c_stateTableSize + c_stateSlots];
  // The slot of the state stack on top.
  std::int32_t depth;
  MarlGEntity entity;
  CMarlGEntityIterator tokenStart;
  CMarlGEntityIterator cursor;
  // The first token was scanned.
  std::uint8_t primed;
  // What ends a run of literal text or character data: the c_stopAt... bits. 0 (nothing)
  // for plain literals and in mode 2, 0x05 in content and entity values, 0x0B in attribute
  // values. Only agents write it.
  std::uint32_t literalFlags;
  // The entity in which the literal being read was opened: only its quote closes it.
  MarlGEntity literalEntity;
  // 0 until the target of a processing instruction is taken, 1 behind it, 2 once its data
  // began.
  std::uint8_t piNameSeen;
  // The name of the parameter entity reference being resolved.
  std::wstring entityName;

 private:
  // After a buffer that was full stopped the last token, reads on behind the token start.
  void retryFullBuffer();
  void skipWhiteSpace();
  // The keyword's letters stand `offset` places ahead.
  bool lookingAt(int offset, wchar_t const* keyword);
  CToken::TokenID openLiteral(StateId state, CToken::TokenID opener);
  CToken::TokenID scanLiteral(wchar_t quote, CToken::TokenID closer);
  CToken::TokenID scanPiStart();
  CToken::TokenID scanMarkupInData();
  CToken::TokenID scanMarkupInDtd();
  // A declaration comment of mode 1, "--" to "--": true when it was skipped whole,
  // otherwise `result` tells how the input ended.
  bool skipDeclarationComment(CToken::TokenID& result);
};

// What the scanner and the entity steps of xmxxs_ent need from the parser that owns them.
class CMarlScannerHost {
 public:
  enum Severity : unsigned int {
    severityWarning = 2,
    severityError = 3,
    severityFatal = 4,
  };

  // Records a finding at the scanner's current token start, `format` with its one "%s"
  // filled by `argument` (null when there is none). Errors and fatal errors throw and do not
  // return.
  virtual void reportError(unsigned int severity, unsigned int number, wchar_t const* format,
                           wchar_t const* argument) = 0;
  // Pushes the parameter (1) or general (0) entity declared under `name`; see
  // pushEntityByName. 1 when an entity was pushed.
  virtual unsigned char pushEntity(unsigned char parameter, std::wstring const& name,
                                   CMarlScanner::StateId state) = 0;
  // Finds a stream for the identifiers and pushes an external parsed entity over it. 1 when
  // one was pushed.
  virtual unsigned char pushEntity(std::wstring const& systemId, std::wstring const& publicId,
                                   unsigned char mustExist, CMarlScanner::StateId state) = 0;

 protected:
  ~CMarlScannerHost() = default;
};

#endif
