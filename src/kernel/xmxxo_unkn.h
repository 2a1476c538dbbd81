#ifndef MARL_KERNEL_XMXXO_UNKN_H
#define MARL_KERNEL_XMXXO_UNKN_H

#include <cstdint>

#include "kernel/xmxxu_allo.h"
#include "marl/handle.h"

// Interface identifiers: one per handle class, fixed, shared by handle and implementation.
enum ClassId : unsigned int {
  idUnknown = 1,
  idMarl = 10,
  idNode = 20,
  idNodeList = 30,
  idNamedNodeMap = 40,
  idNodeCollection = 50,
  idNodeIterator = 60,
  idInlineIterator = 61,
  idNodeFilter = 70,
  idNodeFilterCombining = 80,
  idDocumentFragment = 90,
  idDocument = 100,
  idCharacterData = 110,
  idAttribute = 120,
  idElement = 130,
  idText = 140,
  idComment = 150,
  idPI = 160,
  idPIUnparsed = 170,
  idPIParsed = 180,
  idCDATASection = 190,
  idEntityRef = 200,
  idDocumentType = 210,
  idCondDTDSection = 220,
  idElementDecl = 230,
  idContentParticle = 240,
  idAttListDecl = 250,
  idAttributeDecl = 260,
  idEntityDecl = 270,
  idNotationDecl = 280,
  idNamespaceDecl = 281,
  idNamespaceContext = 282,
  idEncoding = 290,
  idEncodingHandler = 291,
  idEventHandler = 300,
  idEvent = 310,
  idParser = 320,
  idParseError = 330,
  idTokenParser = 331,
  idRenderer = 340,
  idTokenRenderer = 341,
  idStreamFactory = 350,
  idStream = 360,
  idIStream = 370,
  idOStream = 380,
  idGEntity = 390,
  idGEntityExtParsed = 420,
  idGEntityExtUnparsed = 430,
  idGEntityIntParsed = 440,
};

// Root of every reference-counted implementation object. Objects are born with a count of 0
// and are wrapped in a handle at once; the last handle to let go deletes the object.
// Every living CUnknown is counted in the library's liveObjects, because it may hold atoms
// of the string cache, which can only be purged while no such object lives.
class CUnknown {
 public:
  CUnknown();
  CUnknown(CUnknown const&) = delete;
  CUnknown& operator=(CUnknown const&) = delete;

  // The object itself when it serves interface `id`, null otherwise. The result points at
  // the implementation class of that interface, which need not be the CUnknown part.
  virtual void* _queryInterface(unsigned int id) = 0;
  // The identifier of the most derived interface the object implements.
  virtual unsigned int _queryClass() const = 0;
  virtual ~CUnknown();

  void addRef() noexcept { ++refCount; }
  void release() noexcept {
    if (--refCount == 0) delete this;
  }
  // Gives back a count an object took on itself, without deleting it: for a destructor that
  // hands out handles on its own object while it runs.
  void dropRef() noexcept { --refCount; }
  std::uint32_t getRefCount() const noexcept { return refCount; }

 protected:
  // The singleton's own part: it is not one of the objects it counts.
  struct NotCounted {};
  explicit CUnknown(NotCounted) noexcept;

 private:
  std::uint32_t refCount;
};

// For objects that keep no atoms: a living instance does not hold the string cache back.
class CUnknownWithoutStrings : public CUnknown {
 public:
  CUnknownWithoutStrings();
  ~CUnknownWithoutStrings() override;
};

// The counting steps shared by all handles.
namespace handle {

template <class Impl>
inline Impl* acquire(Impl* object) noexcept {
  if (object) object->addRef();
  return object;
}

template <class Impl>
inline void release(Impl* object) noexcept {
  if (object) object->release();
}

// The conversion from any object: counted only when the object serves the interface.
template <class Impl>
inline Impl* query(CUnknown* object, unsigned int id) {
  if (!object) return nullptr;
  void* served = object->_queryInterface(id);
  return served ? acquire(static_cast<Impl*>(served)) : nullptr;
}

// Assignment releases the old object before it reads the source. A source that lives only
// through the released object is thereby lost; callers do not assign such a handle.
template <class Impl>
inline void assign(Impl*& slot, Impl* const& source) noexcept {
  if (slot == source) return;
  release(slot);
  slot = source;
  acquire(slot);
}

}  // namespace handle

// Defines the members that MARL_HANDLE_MEMBERS declares, for a handle whose implementation
// class is complete here.
#define MARL_DEFINE_HANDLE(Handle, Impl, Id)                                              \
  Handle::Handle(Impl* p) : m_p(handle::acquire(p)) {}                                   \
  Handle::Handle(CUnknown* p) : m_p(handle::query<Impl>(p, Id)) {}                        \
  Handle::Handle(Handle const& other) : m_p(handle::acquire(other.m_p)) {}               \
  Handle& Handle::operator=(Handle const& other) {                                        \
    handle::assign(m_p, other.m_p);                                                       \
    return *this;                                                                         \
  }                                                                                       \
  Handle& Handle::operator=(Impl const* p) {                                              \
    Impl* source = const_cast<Impl*>(p);                                                  \
    handle::assign(m_p, source);                                                          \
    return *this;                                                                         \
  }                                                                                       \
  Handle::operator CUnknown*() const { return m_p; }

// The destructor, separate because one handle guards it.
#define MARL_DEFINE_HANDLE_DESTRUCTOR(Handle) \
  Handle::~Handle() { handle::release(m_p); }

#endif
