#ifndef MARL_PARSER_XMXXP_PARS_H
#define MARL_PARSER_XMXXP_PARS_H

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxo_unkn.h"
#include "kernel/xmxxu_hash.h"
#include "kernel/xmxxu_mem.h"
#include "kernel/xmxxu_trc.h"
#include "marl/declarations.h"
#include "marl/doctype.h"
#include "marl/document.h"
#include "marl/parser.h"
#include "marl/stream.h"
#include "parser/xmxxs_scan.h"

class CMarlIStream;
class CMarlParseAgent;
class CMarlValidator;
class CMarlWhitespaceStripping;

// The parser's trace lines all carry the parser's unit name, wherever the function that
// writes them lives, and are written from the error level of the trace on.
#define MARL_PARSER_TRACE(...)                                     \
  do {                                                             \
    if (Marl__trace_report_level > 1) {                            \
      MarlTrace__setSite("xmxxp_pars", __LINE__, traceError);      \
      MarlTrace__trace(__VA_ARGS__);                               \
    }                                                              \
  } while (0)

// An attribute that a document type declared of type ID, by the atoms of element prefix,
// element name, attribute prefix and attribute name.
struct CIdAttributeKey {
  Atom elementPrefix;
  Atom elementName;
  Atom attributePrefix;
  Atom attributeName;
};

struct CIdAttributeTraits {
  using Key = CIdAttributeKey;
  static Key const& key(CIdAttributeKey const& value) noexcept { return value; }
  static std::uint32_t hash(Key const& key) noexcept;
  static bool equal(Key const& a, Key const& b) noexcept {
    return a.elementPrefix == b.elementPrefix && a.elementName == b.elementName &&
           a.attributePrefix == b.attributePrefix && a.attributeName == b.attributeName;
  }
};

using CIdAttributeTable = CHashTable<CIdAttributeKey, CIdAttributeTraits>;

// Reads a document into the tree of a MarlDocument. The grammar lives in the parse agents,
// small state machines on a last-in, first-out arena; the parser holds the options, the
// scanner, the stacks of agents and open parents, and the findings, and runs the loop that
// calls the agent on top until none is left.
class CMarlParser : public CUnknown, public AllocPolicyRollArea, public CMarlScannerHost {
 public:
  // Throws invalid_argument "iStream" for an empty stream and "document" for an empty
  // document, bad_alloc when memory runs out, and the stream's exception when the first
  // character cannot be decoded.
  CMarlParser(MarlStreamFactory const& factory, MarlIStream const& stream,
              MarlDocument const& target);
  ~CMarlParser() override;
  CMarlParser(CMarlParser const&) = delete;
  CMarlParser& operator=(CMarlParser const&) = delete;

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  // The whole document into the tree: 0, 0x30004 after an error, 0x30005 after a fatal
  // error, 0x30001 after an internal failure or on a parser that has finished, or the code
  // of the stream's failure.
  unsigned int parse();

  // Options.
  void setDOMGenerating(unsigned char generating) noexcept { domGenerating = generating; }
  unsigned char isDOMGenerating() const noexcept { return domGenerating; }
  unsigned char setNormalizing(unsigned char value) noexcept;
  unsigned char isNormalizing() const noexcept { return normalizing; }
  void setNamespaceMode(MarlParser::NamespaceMode value) noexcept;
  MarlParser::NamespaceMode getNamespaceMode() const noexcept {
    return static_cast<MarlParser::NamespaceMode>(namespaceMode);
  }
  unsigned char setMode(unsigned int value) noexcept;
  void setStreamMode(unsigned int value) noexcept { streamMode = static_cast<std::uint8_t>(value); }
  unsigned char setResolveMode(unsigned int value) noexcept;
  void setSupplyAttrDefaults(unsigned char supply) noexcept { supplyAttrDefaults = supply; }
  unsigned char isSupplyAttrDefaults() const noexcept { return supplyAttrDefaults; }
  // Throws bad_alloc when the white-space table cannot be made.
  void setXMLSpaceAware(unsigned char aware);
  unsigned char isXMLSpaceAware() const noexcept { return xmlSpaceAware; }
  unsigned char addPreserveSpaceElement(std::wstring const& name, std::wstring const& nameSpace);
  unsigned char addStripSpaceElement(std::wstring const& name, std::wstring const& nameSpace);
  void setEtagLineNumberSupport(unsigned char support) noexcept { etagLineNumberSupport = support; }
  unsigned char isEtagLineNumberSupport() const noexcept { return etagLineNumberSupport; }
  void setEventSubscription(unsigned int subscription) noexcept {
    eventSubscription = subscription;
  }
  unsigned int getEventSubscription() const noexcept { return eventSubscription; }
  unsigned char hasEventSubscription(unsigned int bits) const noexcept {
    return (eventSubscription & bits) != 0;
  }
  unsigned int registerEntity(std::wstring const& publicId, std::wstring const& systemId,
                              MarlIStream& stream);
  // The stream registered for the identifiers: never any.
  MarlIStream findRegisteredEntity(std::wstring const& systemId,
                                   std::wstring const& publicId) const;

  // Findings (xmxxp_perr). addError stores the finding at the scanner's token start, then
  // returns for an info or a warning and throws for anything else: XPT_Error for an error,
  // XPT_FatalError for a fatal error, XPT_Parser::XPT_Any for another severity.
  void addError(MarlParseError::Severity severity, unsigned int number, wchar_t const* format,
                ...);
  unsigned int numErrors(MarlParseError::Severity minimum) const noexcept;
  MarlParseError getError(unsigned int index, MarlParseError::Severity minimum) const;

  // For the agents.
  // Makes `node` the one that receives children, below the one that did so far.
  void pushParent(MarlNode const& node);
  void popParent() noexcept;
  // Points the node's parent link at the receiving node without listing it there.
  void setParent(MarlNode const& node) noexcept;
  // Counts characters that reach the tree against the restricted stream's limit.
  void checkExpansion(unsigned int count);
  MarlEntityDecl findEntityDecl(std::wstring const& name, unsigned char parameter) const;
  // Enters an attribute declared of type ID, so that its values find their elements without
  // validation. Throws bad_alloc.
  void insertIdAttribute(CIdAttributeKey const& key);
  bool isIdAttribute(CIdAttributeKey const& key) const noexcept;
  // Whether an event of that kind is wanted now. The event interfaces deliver it; a tree
  // parse subscribes to nothing, so the loop never stops for one.
  bool notifyEvent(unsigned int type, MarlNode const& node) noexcept;
  // A new agent of that kind on top of the stack, in its first state: it runs next. Throws
  // bad_alloc. Defined with the agents (xmxxp_paag.h).
  template <class Agent>
  Agent* pushAgent();
  // Takes `agent`, which must be on top, off the stack and ends it.
  void removeAgent(CMarlParseAgent* agent) noexcept;

  // CMarlScannerHost
  void reportError(unsigned int severity, unsigned int number, wchar_t const* format,
                   wchar_t const* argument) override;
  unsigned char pushEntity(unsigned char parameter, std::wstring const& name,
                           CMarlScanner::StateId state) override;
  unsigned char pushEntity(std::wstring const& systemId, std::wstring const& publicId,
                           unsigned char mustExist, CMarlScanner::StateId state) override;

  MarlStreamFactory streamFactory;
  // The document's stream, kept alive by the document entity while it is read.
  CMarlIStream* iStream;
  std::uint32_t expansionCount;
  MarlDocument document;
  MarlDocumentType documentType;
  std::uint32_t eventSubscription;
  CMarlScanner* scanner;
  std::vector<MarlNode, tova_alloc<MarlNode>> parents;
  CObjStack* agentArena;
  std::vector<CMarlParseAgent*, tova_alloc<CMarlParseAgent*>> agents;
  std::vector<MarlParseError, tova_alloc<MarlParseError>> errors;
  std::uint8_t domGenerating;
  std::uint8_t normalizing;
  // No validator is made yet, so these stay 0 and null.
  std::uint8_t validating;
  std::uint32_t namespaceMode;
  std::uint8_t checkPrefixes;
  std::uint32_t mode;
  std::uint32_t resolveMode;
  std::uint8_t streamMode;
  CIdAttributeTable idAttributes;
  CMarlWhitespaceStripping* whitespaceStripping;
  std::uint8_t supplyAttrDefaults;
  std::uint8_t xmlSpaceAware;
  // A preserve or strip rule was given.
  std::uint8_t spaceRules;
  std::uint8_t inExternalSubset;
  CMarlValidator* validator;
  std::uint8_t softValidation;
  std::uint8_t inIgnoreSection;
  std::uint8_t etagLineNumberSupport;

  // The names the agents compare and build with, made once.
  std::wstring const emptyString;
  std::wstring const xmlString;
  std::wstring const xmlnsString;
  std::wstring const spaceString;
  std::wstring const preserveString;
  std::wstring const defaultString;
  std::wstring const pcdataString;
  std::wstring const utf8String;
  std::wstring const externalEntityString;
  std::wstring const documentEntityString;
  std::wstring const nullScheme;
  std::wstring const unknownEntityString;
  std::wstring const xmlNamespaceURI;
  // Reused from token to token, so that names and text cost no allocation once they have
  // grown. An agent stores what it needs before it pushes another one.
  std::wstring scratchName;
  std::wstring scratchPrefix;
  std::wstring scratchValue;
  std::wstring scratchEncoding;
  std::wstring scratchText;

 private:
  // The answer of parse on a parser whose document agent has finished.
  unsigned int refuseFinishedRun();
  // A finding of the failure handlers, whose own failure is dropped: the entry stands in the
  // list if it could be stored.
  void addErrorInHandler(unsigned int number, wchar_t const* format, wchar_t const* argument);
  CMarlWhitespaceStripping& strippingRules();
  // Lets go of everything the parser owns; for the destructor and a failed constructor.
  void releaseOwned() noexcept;
};

#endif
