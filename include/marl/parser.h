#ifndef MARL_PARSER_H
#define MARL_PARSER_H

#include <iosfwd>
#include <string>

#include "marl/handle.h"
#include "marl/stream.h"

class CMarlParser;
class CMarlParseError;

// One finding of a parser: where it lies, how grave it is, and what it says. Obtained from
// MarlParser::getError; it outlives the parser.
class MARL_API MarlParseError {
  MARL_HANDLE_MEMBERS(MarlParseError, CMarlParseError)

 public:
  // How grave a finding is. An error or a fatal error ends the run that met it.
  enum Severity : unsigned int {
    SEVERITY_NONE = 0,     // no severity: ends the run as an internal failure
    SEVERITY_INFO = 1,     // "info"
    SEVERITY_WARNING = 2,  // "warning"
    SEVERITY_ERROR = 3,    // "error"
    SEVERITY_FATAL = 4     // "fatal error"
  };

  Severity getSeverity() const;
  // "info", "warning", "error" or "fatal error"; the empty string for any other severity.
  std::wstring const& getSeverityText() const;
  // The system identifier of the entity that was read (else its public identifier, else its
  // name: "\"<<document>>\"" for a document stream without identifier); the empty string
  // inside an internal entity.
  std::wstring const& getEntity() const;
  // The message, with its arguments filled in.
  std::wstring const& getReason() const;
  // The number of the message: 2000-2999 warnings, 3000-3999 syntax errors, 4000-4999
  // internal failures and limits.
  unsigned int getNumber() const;
  // Where the token that was read began, counted within the entity: its first character
  // stands at line 0, column 0. Line 1, column 1 and offset 0 once the input has ended.
  unsigned int getLine() const;
  unsigned int getColumn() const;
  unsigned int getOffset() const;
};

// Writes "entity E (L:C) : SEVERITY N: REASON" and an end of line.
MARL_API std::ostream& operator<<(std::ostream& out, MarlParseError const& error);

// Reads a document from a stream into the tree of a document. Made by Marl::createParser.
class MARL_API MarlParser {
  MARL_HANDLE_MEMBERS(MarlParser, CMarlParser)

 public:
  // What namespace processing the names of elements and attributes get.
  enum NamespaceMode : unsigned int {
    NS_NONE = 0,             // a colon is an ordinary name character
    NS_PREFIXES = 1,         // names split at the colon, xmlns attributes are declarations
    NS_CONTEXTS = 2,         // as NS_PREFIXES, and declarations are bound in contexts
    NS_CONTEXTS_CHECKED = 3  // as NS_CONTEXTS, and undeclared prefixes are errors
  };

  // Results of parse.
  enum Result : unsigned int {
    rcParsed = 0,              // the document was read to its end
    rcInternalError = 0x30001, // out of memory, an unknown failure, or a finished parser
    rcError = 0x30004,         // a syntax error ended the run
    rcFatalError = 0x30005     // a fatal error ended the run
  };

  // Reads the whole document into the tree: a Result, or the code of the stream's failure
  // (0x50004 for bytes the encoding cannot decode). The findings are in getError. A parser
  // reads once: a second call gives rcInternalError and the finding "invalid parser".
  unsigned int parse() const;

  // Whether the nodes are linked into the tree (on by default). Off, they only know their
  // parent.
  void setDOMGenerating(unsigned char generating) const;
  unsigned char isDOMGenerating() const;
  // Whether white-space text between children is dropped and text is trimmed (on by
  // default). Always 1.
  unsigned char setNormalizing(unsigned char normalizing) const;
  unsigned char isNormalizing() const;
  // NS_PREFIXES by default; a value outside the enumeration changes nothing.
  void setNamespaceMode(NamespaceMode mode) const;
  // NS_CONTEXTS_CHECKED reads back as NS_CONTEXTS.
  NamespaceMode getNamespaceMode() const;
  // 0 XML (the default), 1 the SGML-flavoured forms, 2 no references recognised: 1; 0 for
  // any other value, which changes nothing.
  unsigned char setMode(unsigned int mode) const;
  // Passed to the stream factory when an external entity is opened.
  void setStreamMode(unsigned int mode) const;
  // Three choices, one bit each, the first bit set in a group winning and the first bit of
  // a group being its default: 0x01 expand general entities or 0x02 not; 0x04 an undefined
  // entity is an error or 0x08 a warning; 0x10 no node for a reference, 0x20 an entity
  // reference node, 0x40 an element lex:entity-reference, 0x80 a text with the reference.
  // 0x15 by default. Always 1.
  unsigned char setResolveMode(unsigned int mode) const;
  // Whether defaults of xml:space count for the white-space rules; off by default.
  void setSupplyAttrDefaults(unsigned char supply) const;
  unsigned char isSupplyAttrDefaults() const;
  // Whether xml:space attributes steer the white-space rules; off by default.
  void setXMLSpaceAware(unsigned char aware) const;
  unsigned char isXMLSpaceAware() const;
  // Keep (or drop) the white-space-only text of elements of that name ("*" for any) in that
  // namespace URI ("*" with name "*" for all): 1; 0 when the name already has a rule or
  // memory runs out.
  unsigned char addPreserveSpaceElement(std::wstring const& name,
                                        std::wstring const& nameSpace) const;
  unsigned char addStripSpaceElement(std::wstring const& name, std::wstring const& nameSpace) const;
  // Whether elements remember the line of their end tag (MarlElement::getEndTagLine); off by
  // default.
  void setEtagLineNumberSupport(unsigned char support) const;
  unsigned char isEtagLineNumberSupport() const;
  // The events wanted by the event interfaces; parse delivers none and leaves the value as
  // it was. 0 by default.
  void setEventSubscription(unsigned int subscription) const;
  unsigned int getEventSubscription() const;
  // 1 when any of the bits is subscribed.
  unsigned char hasEventSubscription(unsigned int bits) const;
  // Reserved: changes nothing. Always 0.
  unsigned int registerEntity(std::wstring const& publicId, std::wstring const& systemId,
                              MarlIStream& stream) const;

  // How many findings have at least that severity (all of them with SEVERITY_NONE).
  unsigned int numErrors(MarlParseError::Severity minimum = MarlParseError::SEVERITY_NONE) const;
  // The `index`-th of those findings, in the order they were made; empty when there are not
  // that many.
  MarlParseError getError(unsigned int index,
                          MarlParseError::Severity minimum = MarlParseError::SEVERITY_NONE) const;
};

#endif
