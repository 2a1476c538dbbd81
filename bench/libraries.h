// The XML libraries under comparison behind one interface: parse from memory, render to memory.
#ifndef MARL_BENCH_LIBRARIES_H
#define MARL_BENCH_LIBRARIES_H

#include <cstddef>
#include <memory>
#include <string>

// What a library built from a document; dropping it frees the tree.
class ParsedDocument {
 public:
  virtual ~ParsedDocument() = default;
  // Writes the whole tree as XML into a new buffer in memory and drops it: the number of bytes
  // written. Throws std::runtime_error when the library reports a failure.
  virtual std::size_t render() const = 0;
};

// One library, set up so that it reads nothing but the bytes it is given: no DTD is fetched or
// validated against.
class Library {
 public:
  virtual ~Library() = default;
  // The name that options and tables use.
  virtual char const* name() const = 0;
  // False for an event parser, which builds nothing that could be rendered or kept.
  virtual bool buildsTree() const = 0;
  // Parses the whole document: its tree, null for an event parser. Throws std::runtime_error
  // with the library's reason when the document is not parsed to its end.
  virtual std::unique_ptr<ParsedDocument> parse(std::string const& document) const = 0;
};

std::unique_ptr<Library> makeMarlLibrary();
std::unique_ptr<Library> makeLibxml2Library();
std::unique_ptr<Library> makePugixmlLibrary();
std::unique_ptr<Library> makeXercesLibrary();
std::unique_ptr<Library> makeExpatLibrary();

#endif
