// Looks arbitrary paths and names up in a fixed document.
//
// Input layout: byte 0 the depth of the name searches; the rest, one character per byte, is
// the path, and split at its first "|" also a name and a prefix (or URI).
#include <marl/marl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

char const c_document[] =
    "<r xmlns='urn:d' xmlns:p='urn:p' xmlns:q='urn:x/y'>"
    "<a><b><c/></b><b><d/></b></a>"
    "<a><e/></a>"
    "<p:a><p:b/><q:c>t</q:c></p:a>"
    "<x>text<y/><!--c--><?pi x?></x>"
    "<q:z><q:z><q:z/></q:z></q:z>"
    "</r>";

// Wildcard steps backtrack over every child and ".." climbs back, so the work of a path grows
// as the fan-out to the power of its wildcards; beyond this many a run is slow by design.
constexpr long c_maxWildcards = 6;

struct Fixture {
  Marl marl;
  MarlDocument document;
  MarlElement root;
  MarlElement inner;  // the second b, a place to start relative paths below the root
};

Fixture& fixture() {
  static Fixture* const built = [] {
    auto* made = new Fixture;
    made->marl = Marl::create();
    made->document = made->marl.createDocument();
    std::string const text(c_document);
    MarlStreamFactory streams = made->marl.createStreamFactory();
    MarlIStream input = streams.createIStreamRawString(rawstring(text.begin(), text.end()));
    MarlParser parser = made->marl.createParser(streams, input, made->document);
    parser.setNamespaceMode(MarlParser::NS_CONTEXTS);
    if (parser.parse() != MarlParser::rcParsed) std::abort();
    made->root = made->document.findFromPath(L"r");
    made->inner = made->document.findFromPath(L"r/a/b");
    if (!made->root || !made->inner) std::abort();
    return made;
  }();
  return *built;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size < 1) return 0;
  if (std::count(data, data + size, '*') > c_maxWildcards) return 0;
  Fixture& fix = fixture();
  unsigned int const depth = data[0] % 8;
  std::wstring const path(data + 1, data + size);
  std::wstring::size_type bar = path.find(L'|');
  std::wstring const name = path.substr(0, bar);
  std::wstring const qualifier = bar == std::wstring::npos ? std::wstring() : path.substr(bar + 1);

  fix.document.findFromPath(path);
  fix.root.findFromPath(path);
  fix.inner.findFromPath(path);
  fix.document.findFromPathNS(path, qualifier);
  fix.root.findFromPathNS(path, qualifier);
  fix.inner.findFromPathNS(path, qualifier);

  fix.document.findFromName(name, qualifier, depth);
  fix.root.findFromName(name, qualifier, depth);
  fix.document.findFromNameNS(name, qualifier, depth);
  fix.root.findFromNameNS(name, qualifier, depth);

  MarlNodeCollection found = fix.document.getElementsByTagName(name, qualifier, depth);
  for (unsigned int i = 0; i < found.getLength(); ++i) found.getItem(i).getName();
  fix.root.getElementsByTagName(name, qualifier, depth);
  fix.document.getElementsByTagNameNS(name, qualifier, depth);
  fix.inner.getElementsByTagNameNS(name, qualifier, depth);
  return 0;
}
