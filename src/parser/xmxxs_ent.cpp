#include "parser/xmxxs_ent.h"

#include "dom/xmxxo_node.h"

// ---------------------------------------------------------------------------------------
// CMarlGEntity

CMarlGEntity::CMarlGEntity(std::wstring const& entityName)
    : name(entityName), startIterator(nullptr), endIterator(nullptr), base(0) {}

void* CMarlGEntity::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idGEntity});
}

unsigned int CMarlGEntity::_queryClass() const {
  return idGEntity;
}

unsigned int CMarlGEntity::getType() const {
  return MarlGEntity::entityGeneral;
}

// ---------------------------------------------------------------------------------------
// CMarlGEntityIntParsed

CMarlGEntityIntParsed::CMarlGEntityIntParsed(std::wstring const& entityName, wchar_t const* text,
                                             unsigned int length)
    : CMarlGEntity(entityName) {
  buffer.reserve(length + 1u);
  buffer.assign(text, text + length);
  buffer.push_back(L'\0');
}

void* CMarlGEntityIntParsed::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idGEntityIntParsed, idGEntity});
}

unsigned int CMarlGEntityIntParsed::_queryClass() const {
  return idGEntityIntParsed;
}

unsigned int CMarlGEntityIntParsed::getType() const {
  return MarlGEntity::entityIntParsed;
}

std::wstring CMarlGEntityIntParsed::getValue() const {
  if (buffer.empty()) return std::wstring();
  return std::wstring(buffer.data(), buffer.size() - 1);
}

// ---------------------------------------------------------------------------------------
// CMarlGEntityExtParsed

CMarlGEntityExtParsed::CMarlGEntityExtParsed(std::wstring const& entityName,
                                             std::wstring const& entitySystemId,
                                             std::wstring const& entityPublicId)
    : CMarlGEntity(entityName), systemId(entitySystemId), publicId(entityPublicId) {}

void* CMarlGEntityExtParsed::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idGEntityExtParsed, idGEntity});
}

unsigned int CMarlGEntityExtParsed::_queryClass() const {
  return idGEntityExtParsed;
}

unsigned int CMarlGEntityExtParsed::getType() const {
  return MarlGEntity::entityExtParsed;
}

// ---------------------------------------------------------------------------------------
// CMarlGEntityExtUnparsed

CMarlGEntityExtUnparsed::CMarlGEntityExtUnparsed(std::wstring const& entityName,
                                                 std::wstring const& entitySystemId,
                                                 std::wstring const& entityPublicId,
                                                 std::wstring const& entityNotationName)
    : CMarlGEntity(entityName),
      systemId(entitySystemId),
      publicId(entityPublicId),
      notationName(entityNotationName) {}

void* CMarlGEntityExtUnparsed::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idGEntityExtUnparsed, idGEntity});
}

unsigned int CMarlGEntityExtUnparsed::_queryClass() const {
  return idGEntityExtUnparsed;
}

unsigned int CMarlGEntityExtUnparsed::getType() const {
  return MarlGEntity::entityExtUnparsed;
}

// ---------------------------------------------------------------------------------------
// MarlGEntity and its kinds

MarlGEntity::MarlGEntity(CMarlGEntity* p) : m_p(handle::acquire(p)) {}

MarlGEntity::MarlGEntity(CUnknown* p) : m_p(handle::query<CMarlGEntity>(p, idGEntity)) {}

MarlGEntity::MarlGEntity(MarlGEntity const& other) : m_p(handle::acquire(other.m_p)) {}

MarlGEntity& MarlGEntity::operator=(MarlGEntity const& other) {
  handle::assign(m_p, other.m_p);
  return *this;
}

MarlGEntity& MarlGEntity::operator=(CMarlGEntity const* p) {
  CMarlGEntity* source = const_cast<CMarlGEntity*>(p);
  handle::assign(m_p, source);
  return *this;
}

MarlGEntity::~MarlGEntity() {
  handle::release(m_p);
}

MarlGEntity::operator CUnknown*() const {
  return m_p;
}

unsigned int MarlGEntity::getType() const {
  return m_p->getType();
}

std::wstring const& MarlGEntity::getName() const {
  return m_p->getName();
}

void MarlGEntity::setName(std::wstring const& name) {
  m_p->setName(name);
}

// Defines the members of an entity handle declared by MARL_GENTITY_HANDLE_MEMBERS.
#define MARL_DEFINE_GENTITY_HANDLE(Handle, Impl, Id)                                        \
  Handle::Handle(Impl* p) { m_p = handle::acquire<CMarlGEntity>(p); }                       \
  Handle::Handle(CUnknown* p) { m_p = handle::query<Impl>(p, Id); }                         \
  Handle::Handle(MarlGEntity const& entity) {                                               \
    m_p = handle::query<Impl>(static_cast<CUnknown*>(entity), Id);                          \
  }                                                                                         \
  Handle& Handle::operator=(Impl const* p) {                                                \
    MarlGEntity::operator=(p);                                                              \
    return *this;                                                                           \
  }                                                                                         \
  Impl* Handle::_impl() const noexcept { return static_cast<Impl*>(m_p); }

MARL_DEFINE_GENTITY_HANDLE(MarlGEntityIntParsed, CMarlGEntityIntParsed, idGEntityIntParsed)
MARL_DEFINE_GENTITY_HANDLE(MarlGEntityExtParsed, CMarlGEntityExtParsed, idGEntityExtParsed)
MARL_DEFINE_GENTITY_HANDLE(MarlGEntityExtUnparsed, CMarlGEntityExtUnparsed, idGEntityExtUnparsed)

std::wstring MarlGEntityIntParsed::getValue() const {
  return _impl()->getValue();
}

std::wstring const& MarlGEntityExtParsed::getSystemId() const {
  return _impl()->systemId;
}

void MarlGEntityExtParsed::setSystemId(std::wstring const& systemId) {
  _impl()->systemId = systemId;
}

std::wstring const& MarlGEntityExtParsed::getPublicId() const {
  return _impl()->publicId;
}

void MarlGEntityExtParsed::setPublicId(std::wstring const& publicId) {
  _impl()->publicId = publicId;
}

std::wstring const& MarlGEntityExtUnparsed::getSystemId() const {
  return _impl()->systemId;
}

void MarlGEntityExtUnparsed::setSystemId(std::wstring const& systemId) {
  _impl()->systemId = systemId;
}

std::wstring const& MarlGEntityExtUnparsed::getPublicId() const {
  return _impl()->publicId;
}

void MarlGEntityExtUnparsed::setPublicId(std::wstring const& publicId) {
  _impl()->publicId = publicId;
}

std::wstring const& MarlGEntityExtUnparsed::getNotationName() const {
  return _impl()->notationName;
}

void MarlGEntityExtUnparsed::setNotationName(std::wstring const& notationName) {
  _impl()->notationName = notationName;
}
