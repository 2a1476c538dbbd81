#ifndef MARL_ENTITY_H
#define MARL_ENTITY_H

#include "marl/encoding.h"
#include "marl/handle.h"
#include "marl/stream.h"

class CMarlGEntity;
class CMarlGEntityIntParsed;
class CMarlGEntityExtParsed;
class CMarlGEntityExtUnparsed;

// An entity the parser reads: the document itself, the external subset, or a declared
// entity. Its kind tells where the characters come from.
class MARL_API MarlGEntity {
 public:
  // What getType() answers.
  enum EntityKind : unsigned int {
    entityExtParsed = 0,    // a parsed external entity, read from a stream
    entityExtUnparsed = 1,  // an unparsed external entity with a notation
    entityIntParsed = 2,    // an internal entity: its replacement text
    entityGeneral = 3,      // the plain entity object, of no particular kind
  };

  MarlGEntity() noexcept : m_p(nullptr) {}
  MarlGEntity(CMarlGEntity* p);
  explicit MarlGEntity(CUnknown* p);
  MarlGEntity(MarlGEntity const& other);
  MarlGEntity& operator=(MarlGEntity const& other);
  MarlGEntity& operator=(CMarlGEntity const* p);
  ~MarlGEntity();
  // Null for an empty handle: the one emptiness test.
  operator CUnknown*() const;
  // The implementation pointer, for the library's own use.
  CMarlGEntity* _impl() const noexcept { return m_p; }

  // One of EntityKind.
  unsigned int getType() const;
  // The entity's name; empty if it has none.
  std::wstring const& getName() const;
  void setName(std::wstring const& name);

 protected:
  CMarlGEntity* m_p;
};

// Declares the members of an entity handle beside those it shares with MarlGEntity: the
// construction from its implementation and the guarded conversions, which give an empty
// handle for an entity of another kind.
#define MARL_GENTITY_HANDLE_MEMBERS(Handle, Impl) \
 public:                                          \
  Handle() noexcept = default;                    \
  Handle(Impl* p);                                \
  explicit Handle(CUnknown* p);                   \
  Handle(MarlGEntity const& entity);              \
  Handle& operator=(Impl const* p);               \
  Impl* _impl() const noexcept;

// An internal entity: its replacement text.
class MARL_API MarlGEntityIntParsed : public MarlGEntity {
  MARL_GENTITY_HANDLE_MEMBERS(MarlGEntityIntParsed, CMarlGEntityIntParsed)

 public:
  // The replacement text; empty for an empty entity.
  std::wstring getValue() const;
};

// A parsed external entity, found by its identifiers.
class MARL_API MarlGEntityExtParsed : public MarlGEntity {
  MARL_GENTITY_HANDLE_MEMBERS(MarlGEntityExtParsed, CMarlGEntityExtParsed)

 public:
  // The identifiers; empty when there is none.
  std::wstring const& getSystemId() const;
  void setSystemId(std::wstring const& systemId);
  std::wstring const& getPublicId() const;
  void setPublicId(std::wstring const& publicId);
  // The stream the entity is read from; empty when none is attached.
  MarlIStream getIStream() const;
  // Reads from `stream` from now on, from its first character, which is read at once.
  void attachIStream(MarlIStream const& stream);
  // Lets go of the stream. Nothing to report.
  void detachIStream();
  // The entity's copy of its encoding; empty until one is set.
  MarlEncoding getEncoding() const;
  // Gives the encoding to the stream and keeps a copy; until then characters are read one
  // at a time, so that nothing is decoded ahead in a wrong encoding.
  void setEncoding(MarlEncoding const& encoding);
};

// An unparsed external entity: identifiers and the notation its data is in.
class MARL_API MarlGEntityExtUnparsed : public MarlGEntity {
  MARL_GENTITY_HANDLE_MEMBERS(MarlGEntityExtUnparsed, CMarlGEntityExtUnparsed)

 public:
  // The identifiers; empty when there is none.
  std::wstring const& getSystemId() const;
  void setSystemId(std::wstring const& systemId);
  std::wstring const& getPublicId() const;
  void setPublicId(std::wstring const& publicId);
  // The notation name; empty when there is none.
  std::wstring const& getNotationName() const;
  void setNotationName(std::wstring const& notationName);
  // The stream of the entity's data; empty when none is attached. It is kept, never read.
  MarlIStream getIStream() const;
  void attachIStream(MarlIStream const& stream);
  void detachIStream();
};

#endif
