// Parses arbitrary bytes and, when the parse succeeds, renders the tree again.
//
// Input layout: byte 0 namespace mode (bits 0-1), parser mode (bits 2-3, modulo 3), restriction
// of the stream (bits 4-5, modulo 3), line numbers of end tags (bit 6), no tree linking (bit 7);
// byte 1 resolve mode; byte 2 white-space options (bits 0-3), pretty rendering (bit 4), output
// encoding (bits 5-7); the rest is the document.
#include <marl/marl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sstream>
#include <string>

#include "streams/xmxxu_strm.h"

namespace {

// External entities come from memory, never from the file system: otherwise a fuzzed system
// identifier such as /dev/zero or /dev/stdin would hang the run. The text depends on the
// identifier so that both external subsets and external parsed entities get exercised.
class FuzzEntityStream final : public CMarlIStream {
 public:
  FuzzEntityStream() = default;
  FuzzEntityStream(FuzzEntityStream const&) = default;

  MarlStream clone() const override {
    try {
      return MarlStream(static_cast<CMarlStream*>(new FuzzEntityStream(*this)));
    } catch (std::bad_alloc const&) {
      return MarlStream();
    }
  }

  unsigned char open() override {
    if (systemId.find(L"missing") != std::wstring::npos) return 0;
    if (systemId.find(L"dtd") != std::wstring::npos) {
      text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
             "<!ELEMENT a (#PCDATA|b|c)*><!ELEMENT b EMPTY><!ELEMENT c ANY>\n"
             "<!ATTLIST a id ID #IMPLIED t CDATA 'd' xml:space (default|preserve) 'preserve'>\n"
             "<!ENTITY % p \"<!ENTITY pe 'from a parameter entity'>\">%p;\n"
             "<![INCLUDE[<!ENTITY inc 'included'>]]><![IGNORE[<!ENTITY ign 'x'>]]>\n"
             "<!ENTITY ext SYSTEM \"ext.xml\"><!NOTATION n SYSTEM \"n\">\n";
    } else {
      // Plain ASCII: the entity is decoded in the document's encoding, whatever it declares.
      text = "<?xml encoding=\"iso-8859-1\"?><b/>text &amp; &#xe9;<c>&#x41;</c>";
    }
    cursor = 0;
    return CMarlIStream::open();
  }

  unsigned char isCapable(std::wstring const&, std::wstring const&) const override { return 1; }

  int readRaw(unsigned char* target, int capacity) override {
    if (!openFlag || cursor >= text.size()) return -1;
    std::size_t count = text.size() - cursor;
    if (count > static_cast<std::size_t>(capacity)) count = static_cast<std::size_t>(capacity);
    text.copy(reinterpret_cast<char*>(target), count, cursor);
    cursor += count;
    return static_cast<int>(count);
  }

 private:
  std::string text;
  std::size_t cursor = 0;
};

wchar_t const* const c_outputEncodings[8] = {L"utf-8",      L"utf-16",   L"ucs-2",
                                             L"ucs-4",      L"us-ascii", L"iso-8859-1",
                                             L"iso-8859-7", L"x-unknown"};

void renderTree(Marl const& marl, MarlDocument const& document, unsigned char options) {
  MarlStreamFactory streams = marl.createStreamFactory();
  std::wstring text;
  MarlOStream wide = streams.createOStreamString(text);
  MarlRenderer renderer = marl.createRenderer(wide, document);
  if (renderer) {
    renderer.setNormalizing((options >> 4) & 1);
    renderer.render();
  }
  rawstring bytes;
  MarlOStream narrow = streams.createOStreamRawString(bytes);
  MarlEncoding encoding =
      marl.createEncoding(c_outputEncodings[options >> 5], MarlEncoding::BYTEORDER_BE);
  if (encoding) narrow.setEncoding(encoding);
  MarlRenderer encoded = marl.createRenderer(narrow, document);
  if (encoded) {
    encoded.setNoEscaping(L"'\"");
    encoded.render();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size < 3) return 0;
  unsigned char const flags = data[0];
  unsigned char const resolveMode = data[1];
  unsigned char const options = data[2];

  // The library stays for the whole run: its stream factory, which dies with it, must keep
  // the entity stream registered, and building it again for each input costs most of a run.
  static Marl const marl = [] {
    Marl made = Marl::create();
    if (!made || !made.createStreamFactory().registerIStream(MarlIStream(new FuzzEntityStream())))
      std::abort();
    return made;
  }();
  MarlStreamFactory streams = marl.createStreamFactory();

  MarlIStream input = streams.createIStreamRawBuffer(data + 3, data + size);
  if (!input) return 0;
  input.setDtdRestriction(((flags >> 4) & 3) % 3);
  MarlDocument document = marl.createDocument();
  if (!document) return 0;
  MarlParser parser = marl.createParser(streams, input, document);
  if (!parser) return 0;
  parser.setNamespaceMode(static_cast<MarlParser::NamespaceMode>(flags & 3));
  parser.setMode(((flags >> 2) & 3) % 3);
  parser.setEtagLineNumberSupport((flags >> 6) & 1);
  parser.setDOMGenerating(!((flags >> 7) & 1));
  parser.setResolveMode(resolveMode);
  parser.setSupplyAttrDefaults(options & 1);
  parser.setXMLSpaceAware((options >> 1) & 1);
  if (options & 4) parser.addStripSpaceElement(L"*", L"*");
  if (options & 8) parser.addPreserveSpaceElement(L"a", L"*");

  unsigned int const result = parser.parse();

  std::ostringstream findings;
  for (unsigned int i = 0; i < parser.numErrors(); ++i) findings << parser.getError(i);

  if (result == MarlParser::rcParsed) renderTree(marl, document, options);
  return 0;
}
