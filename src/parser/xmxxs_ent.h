#ifndef MARL_PARSER_XMXXS_ENT_H
#define MARL_PARSER_XMXXS_ENT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kernel/xmxxo_unkn.h"
#include "marl/declarations.h"
#include "marl/doctype.h"
#include "marl/encoding.h"
#include "marl/entity.h"
#include "marl/stream.h"

class CMarlGEntity;
class CMarlIStream;
class CMarlScanner;
class CMarlScannerHost;

// A cursor over the buffer of an entity: where the scanner stands and how it got there.
// Positions count from the entity's first character, which stands at line 0, column 0. A
// step onto a line feed makes it column 1 of the next line; a carriage return is an ordinary
// character. Only the two cursors registered with the entity may be stepped while it is read,
// because a refill moves the buffer and corrects those two alone.
class CMarlGEntityIterator {
 public:
  CMarlGEntityIterator() noexcept : entity(nullptr), pos(nullptr), line(1), column(1), status(0) {}

  // The character `n` places ahead, reading on as far as needed; 0 when the entity has no
  // more (the reason then stands in `status`). Moves nothing, but may move the buffer.
  wchar_t operator[](int n);
  // One step; see step().
  CMarlGEntityIterator& operator++() {
    step();
    return *this;
  }
  // `n` steps, fewer when the entity runs out.
  CMarlGEntityIterator& operator+=(unsigned int n);
  // Steps from one character that `plain` accepts to the next as long as both are, without
  // the tests of a step: `plain` must refuse the line feed and the 0 that closes a buffer, so
  // that the step onto anything else, which may refill, is left to step().
  template <class Plain>
  void skipPlain(Plain plain) noexcept {
    wchar_t* run = pos;
    while (plain(run[0]) && plain(run[1])) ++run;
    column += static_cast<std::uint32_t>(run - pos);
    pos = run;
  }

  // Moves to the next character and counts the position. Reaching the end mark refills the
  // buffer; when that fails its status is stored and returned, and nothing is counted.
  // Never moves beyond the end mark that closes the buffer. 0 after a plain step.
  std::uint32_t step();

  CMarlGEntity* entity;
  wchar_t* pos;
  std::uint32_t line;
  std::uint32_t column;
  // The last result of the entity's advance.
  std::uint32_t status;

 private:
  wchar_t lookAheadSlow(int n);
};

// An entity the scanner reads from: its name, the cursors bound to it, and its characters.
class CMarlGEntity : public CUnknown, public AllocPolicyRollArea {
 public:
  using Buffer = std::vector<wchar_t, tova_alloc<wchar_t>>;

  // What advance() answers beside 0, which means that more characters are in the buffer.
  enum AdvanceStatus : std::uint32_t {
    // The buffer holds its maximum from the current token on; nothing could be read.
    ENTITY_BUFFER_FULL = 0x70005,
    // The stream has nothing at the moment; nothing was read.
    ENTITY_READ_AGAIN = 0x70006,
    // The entity has no more characters.
    ENTITY_END = 0x70007,
  };

  explicit CMarlGEntity(std::wstring const& entityName);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  virtual unsigned int getType() const;
  // Brings more characters into the buffer behind the valid ones: 0, or one of
  // AdvanceStatus. The plain and the internal entity have all their text from the start.
  virtual std::uint32_t advance();

  std::wstring const& getName() const noexcept { return name; }
  void setName(std::wstring const& entityName) { name = entityName; }

  // Binds both cursors to the start of the buffer at line 0, column 0, and remembers them,
  // so that advance() can correct them when it moves the buffer.
  void registerIterators(CMarlGEntityIterator& start, CMarlGEntityIterator& end) noexcept;
  // Forgets the cursors, for a reader that goes away while the entity stays.
  void unregisterIterators() noexcept {
    startIterator = nullptr;
    endIterator = nullptr;
  }
  // The 0 that closes the valid characters; nothing valid lies behind it.
  wchar_t* endMark() noexcept;

  std::wstring name;
  // The scanner's two cursors while they read this entity; null otherwise.
  CMarlGEntityIterator* startIterator;
  CMarlGEntityIterator* endIterator;
  // The offset of the buffer's first character in the whole entity.
  std::uint32_t base;
  // The characters, closed by a 0 element that is the last one, except in a parsed external
  // entity (see there): an entity of any kind holds at least that element.
  Buffer buffer;
};

// An internal entity. Its replacement text is its whole buffer from the start, so the
// scanner never reads it from anywhere else.
class CMarlGEntityIntParsed : public CMarlGEntity {
 public:
  CMarlGEntityIntParsed(std::wstring const& entityName, wchar_t const* text, unsigned int length);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned int getType() const override;

  // Extends the text and closes it with a new 0. The old closing 0 stays as a character of
  // the text, so a reader of the whole buffer stops there.
  void append(wchar_t const* text, unsigned int length);
  // The replacement text, without the closing 0.
  std::wstring getValue() const;
};

// A parsed external entity, read from a stream found through its identifiers.
class CMarlGEntityExtParsed : public CMarlGEntity {
 public:
  // Characters the buffer holds at most: a token can never be longer.
  static constexpr std::uint32_t uiMaxBufferSize = 8192;
  // The names of the document entity and of every entity found by its identifiers. The
  // double quotes belong to the names, so that no declared entity can have them.
  static wchar_t const c_documentEntityName[];
  static wchar_t const c_externalEntityName[];

  CMarlGEntityExtParsed(std::wstring const& entityName, std::wstring const& entitySystemId,
                        std::wstring const& entityPublicId);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned int getType() const override;
  std::uint32_t advance() override;

  std::wstring const& getSystemId() const noexcept { return systemId; }
  void setSystemId(std::wstring const& id) { systemId = id; }
  std::wstring const& getPublicId() const noexcept { return publicId; }
  void setPublicId(std::wstring const& id) { publicId = id; }
  MarlIStream getIStream() const { return stream; }
  // Reads from `source` from now on, starting over with an empty buffer, and reads the first
  // character at once, before any cursor is bound.
  void attachIStream(MarlIStream const& source);
  // Lets go of the stream; what the buffer holds can still be read.
  void detachIStream() noexcept;
  MarlEncoding getEncoding() const { return encoding; }
  // Passes `newEncoding` to the stream and keeps a copy, which ends the one-character reads.
  // A null encoding gives a null copy.
  void setEncoding(MarlEncoding const& newEncoding);

  std::wstring systemId;
  std::wstring publicId;
  MarlIStream stream;
  MarlEncoding encoding;
  // End of the valid characters: the place of the closing 0. The buffer keeps its full size
  // behind it, so that a refill constructs no elements and just reads into the room there.
  wchar_t* end;

 private:
  // Drops what lies before the start cursor, so that the buffer has room behind.
  void compact() noexcept;
  // Makes `valid` characters the whole content, closed by a 0.
  void closeBuffer(std::size_t valid) noexcept;
};

// An unparsed external entity: never read, only named by attributes of type ENTITY.
class CMarlGEntityExtUnparsed : public CMarlGEntity {
 public:
  CMarlGEntityExtUnparsed(std::wstring const& entityName, std::wstring const& entitySystemId,
                          std::wstring const& entityPublicId,
                          std::wstring const& entityNotationName);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;
  unsigned int getType() const override;

  MarlIStream getIStream() const { return stream; }
  // Stores the stream; an unparsed entity is never read, so nothing is read from it here.
  void attachIStream(MarlIStream const& source);
  void detachIStream() noexcept;

  std::wstring systemId;
  std::wstring publicId;
  std::wstring notationName;
  MarlIStream stream;
};

// ---------------------------------------------------------------------------------------
// The cursor's step and look-ahead, inline because the scanner takes them per character.

inline wchar_t* CMarlGEntity::endMark() noexcept {
  if (getType() == MarlGEntity::entityExtParsed) return static_cast<CMarlGEntityExtParsed*>(this)->end;
  return buffer.data() + buffer.size() - 1;
}

inline std::uint32_t CMarlGEntityIterator::step() {
  if (*pos == 0 && pos == entity->endMark()) return CMarlGEntity::ENTITY_END;
  ++pos;
  if (*pos == 0) {
    status = entity->advance();
    if (status != 0) return status;
  }
  if (*pos == L'\n') {
    ++line;
    column = 1;
  } else {
    ++column;
  }
  return 0;
}

// Every character up to the wanted one is tested for the 0 that may close the buffer, which
// spares the hot path the question where the end mark lies.
inline wchar_t CMarlGEntityIterator::operator[](int n) {
  for (int ahead = 0; ahead <= n; ++ahead)
    if (pos[ahead] == 0) return lookAheadSlow(n);
  return pos[n];
}

// ---------------------------------------------------------------------------------------
// The parser's side of entities. The parser owns the state these steps read (its document
// type, resolve mode and expansion count) and passes it in; findings go to the host.

// The document entity: a parsed external entity over the document's stream, named
// c_documentEntityName, with the stream's system identifier. The first character is read.
// Throws bad_alloc.
MarlGEntityExtParsed createDocumentEntity(MarlIStream const& stream);

// The declaration of the parameter (1) or general (0) entity of that name; null when the
// document type declares none.
MarlEntityDecl lookupEntityDecl(MarlDocumentType const& documentType, std::wstring const& name,
                                unsigned char parameter);

// Makes the declared entity of that name the one the scanner reads, in scanner state
// `state`. An internal entity is pushed at once; an external one through the host's push by
// identifiers, which must exist unless an IGNORE section is being read. 1 when an entity was
// pushed. An undefined name is an error under resolve mode 0x04 outside IGNORE sections and
// a warning otherwise; errors throw through the host.
unsigned char pushEntityByName(CMarlScanner& scanner, CMarlScannerHost& host,
                               MarlDocumentType const& documentType, unsigned char parameter,
                               std::wstring const& name, int state, unsigned int resolveMode,
                               unsigned char inIgnoreSection);

// Adds `count` characters to `expansionCount` and reports an error when they exceed the
// characters read so far times the stream's maximum expansion. Only a restricted stream has
// a limit; without a stream nothing is counted.
void checkExpansion(CMarlScannerHost& host, CMarlIStream const* stream,
                    std::uint32_t& expansionCount, unsigned int count);

#endif
