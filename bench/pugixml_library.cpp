#include <pugixml.hpp>

#include <stdexcept>
#include <string>

#include "libraries.h"

namespace {

class StringWriter : public pugi::xml_writer {
 public:
  explicit StringWriter(std::string& output) : output(output) {}
  void write(void const* data, std::size_t size) override {
    output.append(static_cast<char const*>(data), size);
  }

 private:
  std::string& output;
};

class PugixmlTree : public ParsedDocument {
 public:
  // Raw, as Marl renders without pretty printing: no indentation is added to the text.
  std::size_t render() const override {
    std::string output;
    StringWriter writer(output);
    document.save(writer, "", pugi::format_raw, pugi::encoding_utf8);
    if (output.empty()) throw std::runtime_error("save wrote nothing");
    return output.size();
  }

  pugi::xml_document document;
};

class PugixmlLibrary : public Library {
 public:
  char const* name() const override { return "pugixml"; }
  bool buildsTree() const override { return true; }

  // pugixml never reads a DTD: parse_default skips the document type declaration.
  std::unique_ptr<ParsedDocument> parse(std::string const& document) const override {
    auto tree = std::make_unique<PugixmlTree>();
    pugi::xml_parse_result result =
        tree->document.load_buffer(document.data(), document.size(), pugi::parse_default);
    if (!result)
      throw std::runtime_error(std::string(result.description()) + " at offset " +
                               std::to_string(result.offset));
    return tree;
  }
};

}  // namespace

std::unique_ptr<Library> makePugixmlLibrary() { return std::make_unique<PugixmlLibrary>(); }
