#include <marl/marl.h>

#include <sstream>
#include <stdexcept>

#include "libraries.h"

namespace {

class MarlTree : public ParsedDocument {
 public:
  MarlTree(Marl const& marl, MarlStreamFactory const& streams, MarlDocument const& document)
      : marl(marl), streams(streams), document(document) {}

  std::size_t render() const override {
    rawstring output;
    MarlOStream stream = streams.createOStreamRawString(output);
    MarlRenderer renderer = marl.createRenderer(stream, document);
    if (!renderer || renderer.render() != MarlRenderer::rcRendered)
      throw std::runtime_error("the renderer could not be made or found nothing to write");
    return output.size();
  }

 private:
  Marl marl;
  MarlStreamFactory streams;
  MarlDocument document;
};

// The parser keeps its defaults, as the peers do theirs. There is no validation, and the
// documents carry no external identifier, so nothing is fetched; restricting the input stream
// would change no result but add the expansion accounting to every character read.
class MarlLibrary : public Library {
 public:
  MarlLibrary() : marl(Marl::create()), streams(marl.createStreamFactory()) {}

  char const* name() const override { return "marl"; }
  bool buildsTree() const override { return true; }

  std::unique_ptr<ParsedDocument> parse(std::string const& document) const override {
    auto const* begin = reinterpret_cast<unsigned char const*>(document.data());
    MarlIStream input = streams.createIStreamRawBuffer(begin, begin + document.size());
    MarlDocument tree = marl.createDocument();
    MarlParser parser = marl.createParser(streams, input, tree);
    if (!parser) throw std::runtime_error("no parser: the first bytes cannot be decoded");
    unsigned int result = parser.parse();
    if (parser.numErrors(MarlParseError::SEVERITY_ERROR) != 0) {
      std::ostringstream reason;
      reason << parser.getError(0, MarlParseError::SEVERITY_ERROR);
      throw std::runtime_error(reason.str());
    }
    if (result != MarlParser::rcParsed) {
      std::ostringstream reason;
      reason << "the input could not be read to its end (code 0x" << std::hex << result << ")";
      throw std::runtime_error(reason.str());
    }
    return std::make_unique<MarlTree>(marl, streams, tree);
  }

 private:
  Marl marl;
  MarlStreamFactory streams;
};

}  // namespace

std::unique_ptr<Library> makeMarlLibrary() { return std::make_unique<MarlLibrary>(); }
