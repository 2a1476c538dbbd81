#ifndef MARL_PARSER_XMXXP_PAAG_H
#define MARL_PARSER_XMXXP_PAAG_H

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "kernel/xmxxu_allo.h"
#include "marl/declarations.h"
#include "marl/doctype.h"
#include "marl/document.h"
#include "parser/xmxxp_pars.h"
#include "parser/xmxxs_scan.h"
#include "parser/xmxxs_tokn.h"

// A parse agent: one construct of the grammar, read token by token. It lives on the parser's
// arena, runs whenever it is on top of the agent stack, and removes itself when its construct
// is complete; after that it must not touch its own fields.
class CMarlParseAgent : public AllocPolicyRollArea {
 public:
  explicit CMarlParseAgent(CMarlParser* owner) noexcept;
  virtual ~CMarlParseAgent();
  CMarlParseAgent(CMarlParseAgent const&) = delete;
  CMarlParseAgent& operator=(CMarlParseAgent const&) = delete;

  // One step of the agent's construct.
  virtual void parse() = 0;

  // Token helpers shared by all agents; every mismatch is reported and ends the run.
  // Takes the token: its position becomes the last position, and the scanner moves on.
  void accept();
  // The same, after the token was found to be of kind `id`.
  void accept(CToken::TokenID id);
  // Takes a name token equal to the `length` characters of `name`: 1. Otherwise 0, or with
  // `mustMatch` a report.
  unsigned char acceptName(wchar_t const* name, unsigned int length, unsigned char mustMatch);
  // A name, colon and all.
  void parseName(std::wstring& out);
  // A name split at its colon into local name and prefix.
  void parseQName(std::wstring& name, std::wstring& prefix);
  void parseNmToken(std::wstring& out);
  // A quoted literal in which nothing is expanded.
  void parseLiteral(std::wstring& out);
  void parseVersion(std::wstring& out);
  void parseEncName(std::wstring& out);
  void parsePubidLiteral(std::wstring& out);
  void parseSystemLiteral(std::wstring& out);
  // The character of a character reference token.
  void parseCharRef(wchar_t* out);
  // A quoted attribute value with its references expanded; `type` a MarlAttributeDecl
  // value type, CDATA (1) unless declarations say otherwise.
  void parseAttValue(std::wstring& out, unsigned int type);
  // Appends the literal text of the current token to an attribute value, with line ends and
  // white space normalised when attribute values are.
  void appendLiteralText(std::wstring& out, bool afterEntity);
  // The text of the data tokens from here on, joined in the parser's scratch text: the body of
  // a comment or a CDATA section.
  std::wstring const& takeDataTokens();
  static void endOfLineHandling(std::wstring& text);
  static void normalize(std::wstring& text);
  static void spaceStripping(std::wstring& text);

 protected:
  // The text of the current token, empty for a token without text.
  std::wstring tokenText() const;
  // The scanner's state on top now, as a state to push an entity in.
  CMarlScanner::StateId currentState() const noexcept {
    return static_cast<CMarlScanner::StateId>(CMarlScanner::c_stateTableSize + scanner->depth);
  }
  // What stops character data in content and in attribute values; nothing in mode 2.
  std::uint32_t contentFlags() const noexcept { return parser->mode == 2 ? 0 : 0x05; }
  std::uint32_t attributeFlags() const noexcept { return parser->mode == 2 ? 0 : 0x0B; }
  // The node goes below the receiving node: appended with the parser's fast path when the
  // tree is built, otherwise only its parent link is set.
  void linkNode(MarlNode const& node);
  void setPosition(MarlNode& node) const { node.setPosition(lastLine, lastColumn); }
  bool fire(unsigned int type, MarlNode const& node) noexcept {
    return parser->notifyEvent(type, node);
  }
  // Whether general entity references are to be kept as nodes or text of their own.
  bool keepsReferences() const noexcept { return (parser->resolveMode & 0xE0) != 0; }
  // One of the five references every document predefines.
  bool isPredefinedReference() const noexcept;
  // Pushes the agent for the construct the token opens in content: false for a token that
  // opens none, which is left where it is.
  bool pushContentAgent();
  // Whether the token opens an external parsed entity, where "<?xml" is its text declaration.
  bool opensExternalEntity() const;
  // Gives the external entity being read the encoding its stream runs on, or UTF-8, for an
  // entity without a declaration of its own.
  void keepStreamEncoding();
  // The further names of an element or attribute-list declaration's name group.
  template <class Decl>
  using NameGroup = std::vector<Decl, tova_alloc<Decl>>;
  // The names an element or attribute-list declaration is for: one name, or in mode 1 a
  // parenthesised group of names, each declared by `create`. The first declaration becomes
  // `decl`, is linked and announced with `preEvent`; the others wait in `group`.
  template <class Decl>
  void startNamedDeclaration(Decl& decl, NameGroup<Decl>& group,
                             Decl (MarlDocumentType::*create)(std::wstring const&,
                                                              std::wstring const&),
                             unsigned int preEvent);
  // Links a copy of the complete declaration for each further name of its group.
  template <class Decl>
  void linkGroupCopies(Decl const& decl, NameGroup<Decl> const& group);
  bool isQuoteOpener() const noexcept {
    return scanner->token.id == CToken::TOK_SQ_OPEN || scanner->token.id == CToken::TOK_DQ_OPEN;
  }
  // Ends the agent: nothing of it may be touched afterwards.
  void removeSelf() noexcept { parser->removeAgent(this); }
  void report(MarlParseError::Severity severity, unsigned int number, wchar_t const* format,
              wchar_t const* first = nullptr, wchar_t const* second = nullptr);

  CMarlParser* parser;
  CMarlScanner* scanner;
  MarlDocument* document;
  std::uint8_t lastTokenValid;
  std::uint32_t lastOffset;
  std::uint32_t lastLine;
  std::uint32_t lastColumn;
};

// The whole document: the prolog, the root element and what follows it, then the end.
class CMarlParseAgentDocument : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentDocument(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentDocument::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();

  void (CMarlParseAgentDocument::*state)();
};

// The XML declaration with the decision on the encoding, then comments, processing
// instructions and white space, then the document type declaration if there is one.
class CMarlParseAgentProlog : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentProlog(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentProlog::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_s2();
  void parse_slast();
  void parseXmlDecl();
  // Gives the document entity and the document the encoding to read on with.
  void decideEncoding();

  void (CMarlParseAgentProlog::*state)();
};

// Comments, processing instructions and white space around the root element.
class CMarlParseAgentMisc : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentMisc(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;
};

// A processing instruction that starts with "<?xml" but is no XML declaration, such as
// "<?xml-stylesheet ...?>": its pseudo-attributes become attributes of a MarlPIParsed.
class CMarlParseAgentXmlDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentXmlDecl(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentXmlDecl::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();

  void (CMarlParseAgentXmlDecl::*state)();
  MarlPIParsed node;
};

// A processing instruction: its target, then its data as it stands.
class CMarlParseAgentPI : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentPI(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentPI::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();

  void (CMarlParseAgentPI::*state)();
  MarlPIUnparsed node;
};

class CMarlParseAgentComment : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentComment(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;
};

class CMarlParseAgentCDATASection : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentCDATASection(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;
};

// Everything that ends up as one text node: adjacent character data, character references,
// predefined and expanded entities.
class CMarlParseAgentCharData : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentCharData(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;

 private:
  // Adds the current token to the text: false for a token that ends it.
  bool takeToken(std::wstring& text, CMarlScanner::StateId contentState);
  // The character of the predefined reference that is the current token.
  wchar_t predefinedCharacter() const noexcept;
  // Whether the text of the receiving node gets a node of its own.
  bool keepsText(bool whiteSpaceOnly) const;
};

// An element: its start tag with the attributes, its content and its end tag.
class CMarlParseAgentElement : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentElement(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentElement::parse_sfirst), hasAttributes(0) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_s2();
  void parse_s3();
  void parse_s4();
  void parse_s5();
  void parse_slast();
  // Pushes the xml:space rule in force inside the element on the white-space stack.
  void pushSpaceRule();
  void checkNamespacePrefixes();

  void (CMarlParseAgentElement::*state)();
  MarlElement element;
  std::uint8_t hasAttributes;
};

// One attribute of the element on top of the parents.
class CMarlParseAgentAttribute : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentAttribute(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;

 private:
  MarlAttribute createAttribute();
};

// A general entity reference that is to show in the tree: as an entity reference node, an
// element lex:entity-reference or a text with the reference, with the expanded content below.
class CMarlParseAgentEntityRef : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentEntityRef(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentEntityRef::parse_sfirst), expanded(0) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();
  // The node that stands for the reference `name` in the tree; empty when none is wanted.
  MarlNode createReferenceNode(std::wstring const& name);

  void (CMarlParseAgentEntityRef::*state)();
  std::uint8_t expanded;
  MarlNode node;
};

// The document type declaration: its name and identifiers, the internal subset, then the
// external one, so that the internal declarations bind first.
class CMarlParseAgentDocTypeDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentDocTypeDecl(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner),
        state(&CMarlParseAgentDocTypeDecl::parse_sfirst),
        internalSubset(0),
        external(0) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_s2();
  void parse_s3();
  void parse_s4();
  void parse_slast();

  void (CMarlParseAgentDocTypeDecl::*state)();
  std::uint8_t internalSubset;
  std::uint8_t external;
};

// Pushes the agent of the markup declaration the token opens; leaves any other token.
class CMarlParseAgentMarkupDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentMarkupDecl(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;
};

// The external subset: its text declaration, then its declarations.
class CMarlParseAgentExtSubset : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentExtSubset(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentExtSubset::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();

  void (CMarlParseAgentExtSubset::*state)();
};

// The text declaration of an external entity, which must name its encoding.
class CMarlParseAgentTextDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentTextDecl(CMarlParser* owner) noexcept : CMarlParseAgent(owner) {}
  void parse() override;
};

// An INCLUDE section with its declarations, or an IGNORE section with its text kept.
class CMarlParseAgentCondDTDSection : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentCondDTDSection(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentCondDTDSection::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_s2();
  void parse_s3();
  void parse_slast();

  void (CMarlParseAgentCondDTDSection::*state)();
};

class CMarlParseAgentElementDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentElementDecl(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentElementDecl::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();
  void parseOmitSpec();
  void parseIncludeExcludeSpec();
  void parseContentSpec();
  void parseMixed();
  MarlContentParticle parseChildren();
  MarlContentParticle parseChoiceOrSeq();
  MarlContentParticle parseCP();
  void parseOccurrence(MarlContentParticle& particle);
  MarlContentParticle createParticle(std::wstring const& name, std::wstring const& prefix,
                                     MarlContentParticle::Occurrence occurrence,
                                     MarlContentParticle::Grouping grouping);

  void (CMarlParseAgentElementDecl::*state)();
  MarlElementDecl decl;
  // The further names of a name group, declared alike at the end.
  std::vector<MarlElementDecl, tova_alloc<MarlElementDecl>> group;
};

class CMarlParseAgentAttlistDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentAttlistDecl(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentAttlistDecl::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_s2();
  void parse_s3();
  void parse_slast();
  void parseAttType();
  void parseEnumeration(bool notation);
  void parseDefaultDecl();

  void (CMarlParseAgentAttlistDecl::*state)();
  MarlAttListDecl decl;
  MarlAttributeDecl attribute;
  std::vector<MarlAttListDecl, tova_alloc<MarlAttListDecl>> group;
};

class CMarlParseAgentEntityDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentEntityDecl(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentEntityDecl::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();
  // The replacement text: character references expanded, general references kept as text.
  void parseEntityValue(std::wstring& out);

  void (CMarlParseAgentEntityDecl::*state)();
  MarlEntityDecl decl;
};

class CMarlParseAgentNotationDecl : public CMarlParseAgent {
 public:
  explicit CMarlParseAgentNotationDecl(CMarlParser* owner) noexcept
      : CMarlParseAgent(owner), state(&CMarlParseAgentNotationDecl::parse_sfirst) {}
  void parse() override { (this->*state)(); }

 private:
  void parse_sfirst();
  void parse_slast();

  void (CMarlParseAgentNotationDecl::*state)();
  MarlNotationDecl decl;
};

template <class Agent>
Agent* CMarlParser::pushAgent() {
  static_assert(alignof(Agent) <= 8, "the arena aligns to 8 bytes");
  // Room on the stack first, so that nothing can fail once the agent is built; it grows by
  // doubling, as push_back would.
  if (agents.size() == agents.capacity()) agents.reserve(2 * agents.capacity() + 1);
  void* room = agentArena->push(sizeof(Agent));
  if (!room) throw std::bad_alloc();
  Agent* agent = ::new (room) Agent(this);
  agents.push_back(agent);
  return agent;
}

#endif
