#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufFormatTarget.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

#include <stdexcept>
#include <string>

#include "libraries.h"

namespace {

using namespace xercesc;

std::string narrow(XMLCh const* text) {
  char* bytes = XMLString::transcode(text);
  std::string narrowed = bytes ? bytes : "";
  XMLString::release(&bytes);
  return narrowed;
}

// Xerces reports failures by exceptions of its own, which are no std::exception.
template <typename Call>
auto withStandardExceptions(Call call) -> decltype(call()) {
  try {
    return call();
  } catch (XMLException const& exception) {
    throw std::runtime_error(narrow(exception.getMessage()));
  } catch (DOMException const& exception) {
    throw std::runtime_error(narrow(exception.getMessage()));
  } catch (SAXException const& exception) {
    throw std::runtime_error(narrow(exception.getMessage()));
  }
}

// Without a handler the parser stops at a fatal error and keeps quiet about why.
class FirstErrorKeeper : public ErrorHandler {
 public:
  void warning(SAXParseException const&) override {}
  void error(SAXParseException const& exception) override { keep(exception); }
  void fatalError(SAXParseException const& exception) override { keep(exception); }
  void resetErrors() override { firstError.clear(); }

  std::string firstError;

 private:
  void keep(SAXParseException const& exception) {
    if (firstError.empty())
      firstError = narrow(exception.getMessage()) + " at line " +
                   std::to_string(exception.getLineNumber());
  }
};

class XercesTree : public ParsedDocument {
 public:
  explicit XercesTree(DOMDocument* document) : document(document) {}
  XercesTree(XercesTree const&) = delete;
  XercesTree& operator=(XercesTree const&) = delete;
  ~XercesTree() override { document->release(); }

  std::size_t render() const override {
    static XMLCh const loadAndSave[] = {chLatin_L, chLatin_S, chNull};
    return withStandardExceptions([this] {
      DOMImplementation* implementation =
          DOMImplementationRegistry::getDOMImplementation(loadAndSave);
      DOMLSSerializer* serializer = implementation->createLSSerializer();
      DOMLSOutput* destination = implementation->createLSOutput();
      MemBufFormatTarget output;
      destination->setByteStream(&output);
      destination->setEncoding(XMLUni::fgUTF8EncodingString);
      bool written = serializer->write(document, destination);
      destination->release();
      serializer->release();
      if (!written || output.getLen() == 0)
        throw std::runtime_error("the serializer wrote nothing");
      return static_cast<std::size_t>(output.getLen());
    });
  }

 private:
  DOMDocument* document;
};

class XercesLibrary : public Library {
 public:
  XercesLibrary() { XMLPlatformUtils::Initialize(); }
  ~XercesLibrary() override { XMLPlatformUtils::Terminate(); }

  char const* name() const override { return "xerces"; }
  bool buildsTree() const override { return true; }

  // Namespaces on, as Marl binds them too; no validation, no schema, no external DTD, and
  // references leave no node behind, as in Marl's default.
  std::unique_ptr<ParsedDocument> parse(std::string const& document) const override {
    return withStandardExceptions([&document]() -> std::unique_ptr<ParsedDocument> {
      XercesDOMParser parser;
      FirstErrorKeeper errors;
      parser.setErrorHandler(&errors);
      parser.setValidationScheme(XercesDOMParser::Val_Never);
      parser.setDoNamespaces(true);
      parser.setDoSchema(false);
      parser.setLoadExternalDTD(false);
      parser.setCreateEntityReferenceNodes(false);
      MemBufInputSource input(reinterpret_cast<XMLByte const*>(document.data()), document.size(),
                              "memory");
      parser.parse(input);
      if (!errors.firstError.empty()) throw std::runtime_error(errors.firstError);
      return std::make_unique<XercesTree>(parser.adoptDocument());
    });
  }
};

}  // namespace

std::unique_ptr<Library> makeXercesLibrary() { return std::make_unique<XercesLibrary>(); }
