#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <stdexcept>

#include "libraries.h"

namespace {

class Libxml2Tree : public ParsedDocument {
 public:
  explicit Libxml2Tree(xmlDocPtr document) : document(document) {}
  Libxml2Tree(Libxml2Tree const&) = delete;
  Libxml2Tree& operator=(Libxml2Tree const&) = delete;
  ~Libxml2Tree() override { xmlFreeDoc(document); }

  std::size_t render() const override {
    xmlChar* output = nullptr;
    int size = 0;
    xmlDocDumpMemory(document, &output, &size);
    xmlFree(output);
    if (size <= 0) throw std::runtime_error("xmlDocDumpMemory wrote nothing");
    return static_cast<std::size_t>(size);
  }

 private:
  xmlDocPtr document;
};

class Libxml2Library : public Library {
 public:
  Libxml2Library() { xmlInitParser(); }
  ~Libxml2Library() override { xmlCleanupParser(); }

  char const* name() const override { return "libxml2"; }
  bool buildsTree() const override { return true; }

  // Neither DTD loading nor validation is asked for; NONET keeps the network out all the same,
  // and HUGE lifts the limits on depth and text size that the large documents would meet.
  std::unique_ptr<ParsedDocument> parse(std::string const& document) const override {
    xmlDocPtr tree = xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr,
                                   nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
    if (!tree) {
      xmlErrorPtr error = xmlGetLastError();
      throw std::runtime_error(error && error->message ? error->message : "xmlReadMemory failed");
    }
    return std::make_unique<Libxml2Tree>(tree);
  }
};

}  // namespace

std::unique_ptr<Library> makeLibxml2Library() { return std::make_unique<Libxml2Library>(); }
