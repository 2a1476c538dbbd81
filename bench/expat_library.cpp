#include <expat.h>

#include <new>
#include <stdexcept>
#include <string>

#include "libraries.h"

namespace {

// Empty, but set: expat then decodes names, attributes and text as it would for a real
// consumer.
void XMLCALL ignoreStart(void*, XML_Char const*, XML_Char const**) {}
void XMLCALL ignoreEnd(void*, XML_Char const*) {}
void XMLCALL ignoreText(void*, XML_Char const*, int) {}

// The event parser, as a reference for what reading without building a tree costs.
class ExpatLibrary : public Library {
 public:
  char const* name() const override { return "expat"; }
  bool buildsTree() const override { return false; }

  // With namespace processing, as the tree builders do it. External entities stay unread: no
  // handler for them is set and parameter entity parsing stays off.
  std::unique_ptr<ParsedDocument> parse(std::string const& document) const override {
    XML_Parser parser = XML_ParserCreateNS(nullptr, '|');
    if (!parser) throw std::bad_alloc();
    XML_SetElementHandler(parser, ignoreStart, ignoreEnd);
    XML_SetCharacterDataHandler(parser, ignoreText);
    bool parsed = XML_Parse(parser, document.data(), static_cast<int>(document.size()), XML_TRUE) ==
                  XML_STATUS_OK;
    std::string failure;
    if (!parsed)
      failure = std::string(XML_ErrorString(XML_GetErrorCode(parser))) + " at line " +
                std::to_string(XML_GetCurrentLineNumber(parser));
    XML_ParserFree(parser);
    if (!parsed) throw std::runtime_error(failure);
    return nullptr;
  }
};

}  // namespace

std::unique_ptr<Library> makeExpatLibrary() { return std::make_unique<ExpatLibrary>(); }
