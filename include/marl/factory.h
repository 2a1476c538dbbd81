#ifndef MARL_FACTORY_H
#define MARL_FACTORY_H

#include "marl/encoding.h"
#include "marl/handle.h"

class CMarl;
class MarlDocument;
class MarlOStream;
class MarlRenderer;
class MarlIStream;
class MarlParser;
class MarlStreamFactory;
class MarlTokenRenderer;

// Kept for the interface: the library passes 0 for a clean start and 2 when a host restores
// objects of an earlier run; the factory does not read it.
enum MarlType : unsigned int {};

// The library state: one per process, created on first need. Holding a Marl handle keeps it
// alive; letting the last one go ends it.
class MARL_API Marl {
  MARL_HANDLE_MEMBERS(Marl, CMarl)

 public:
  // The singleton, created when there is none; an empty handle when that fails for want of
  // memory. Neither argument is read.
  static Marl create(MarlType type = MarlType(), void* context = nullptr);
  Marl(MarlType type, void* context);

  // Always 10.
  unsigned int getVersion() const;
  // 1 for ("XML", "1.0"); the cache and clean-start probes "STRING_CACHE"/"EMPTY",
  // "STRING_CACHE"/"PURGED" and "CLEAN"; 0 for anything else.
  unsigned char hasFeature(std::wstring const& feature, std::wstring const& version) const;
  // Accepted for a host conversion layer; returns 0 and changes nothing.
  int setConversionBehaviour(unsigned char mode, wchar_t replacement, std::wstring const& text);
  // Told by the host after a locale change; nothing to do.
  void localeChanged();

  // A new encoding object of that name and byte order; an empty handle when memory runs out.
  MarlEncoding createEncoding(std::wstring const& name, MarlEncoding::ByteOrder byteOrder) const;

  // A new, empty document; empty when memory runs out.
  MarlDocument createDocument() const;

  // A further handle on the library's one stream factory; empty only for an empty library.
  MarlStreamFactory createStreamFactory() const;
  // A renderer of the document through the stream; empty for an empty document or stream, or
  // when memory runs out.
  MarlRenderer createRenderer(MarlOStream const& stream, MarlDocument const& document) const;
  // A token renderer over the stream; empty for an empty stream or when memory runs out.
  MarlTokenRenderer createTokenRenderer(MarlOStream const& stream) const;
  // A parser that reads `stream` into `document`, finding external entities through `factory`
  // (the library's own when empty); empty for an empty stream or document, a first character
  // the stream cannot decode, or when memory runs out.
  MarlParser createParser(MarlStreamFactory const& factory, MarlIStream const& stream,
                          MarlDocument const& document) const;

  // The implementation's raw answer to an interface query, not counted: null when the object
  // does not serve the identifier.
  void* _queryInterface(unsigned int id) const;
};

#endif
