#include "parser/xmxxs_ent.h"

#include <algorithm>
#include <cstring>

#include "dom/xmxxo_node.h"
#include "dtd/xmxxo_entd.h"
#include "parser/xmxxs_scan.h"
#include "streams/xmxxu_strm.h"

// ---------------------------------------------------------------------------------------
// CMarlGEntityIterator

CMarlGEntityIterator& CMarlGEntityIterator::operator+=(unsigned int n) {
  while (n-- != 0)
    if (step() != 0) break;
  return *this;
}

// A 0 lies between the cursor and the wanted character. Each round either reads more or
// gives up: a stream that answers with nothing (its end of input) ends the look-ahead as
// surely as a failing one, so that no caller can spin here.
wchar_t CMarlGEntityIterator::lookAheadSlow(int n) {
  if (n < 0) return 0;
  // A 0 before the end mark is an inner one of an appended text, read like any character.
  if (n < entity->endMark() - pos) return pos[n];
  for (;;) {
    std::ptrdiff_t available = entity->endMark() - pos;
    std::uint32_t result = entity->advance();
    if (result != 0) {
      status = result;
      return 0;
    }
    std::ptrdiff_t now = entity->endMark() - pos;
    if (n < now) return pos[n];
    if (now <= available) return 0;
  }
}

// ---------------------------------------------------------------------------------------
// CMarlGEntity

CMarlGEntity::CMarlGEntity(std::wstring const& entityName)
    : name(entityName), startIterator(nullptr), endIterator(nullptr), base(0), buffer(1, L'\0') {}

void* CMarlGEntity::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idGEntity});
}

unsigned int CMarlGEntity::_queryClass() const {
  return idGEntity;
}

unsigned int CMarlGEntity::getType() const {
  return MarlGEntity::entityGeneral;
}

std::uint32_t CMarlGEntity::advance() {
  if (!buffer.empty()) return ENTITY_END;
  buffer.push_back(L'\0');
  return 0;
}

void CMarlGEntity::registerIterators(CMarlGEntityIterator& start,
                                     CMarlGEntityIterator& end) noexcept {
  for (CMarlGEntityIterator* cursor : {&start, &end}) {
    cursor->entity = this;
    cursor->pos = buffer.data();
    cursor->line = 0;
    cursor->column = 0;
    cursor->status = 0;
  }
  startIterator = &start;
  endIterator = &end;
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

void CMarlGEntityIntParsed::append(wchar_t const* text, unsigned int length) {
  // Reserved first, so that a failure leaves the buffer closed as it was.
  buffer.reserve(buffer.size() + length + 1u);
  buffer.insert(buffer.end(), text, text + length);
  buffer.push_back(L'\0');
}

std::wstring CMarlGEntityIntParsed::getValue() const {
  if (buffer.empty()) return std::wstring();
  return std::wstring(buffer.data(), buffer.size() - 1);
}

// ---------------------------------------------------------------------------------------
// CMarlGEntityExtParsed

wchar_t const CMarlGEntityExtParsed::c_documentEntityName[] = L"\"<<document>>\"";
wchar_t const CMarlGEntityExtParsed::c_externalEntityName[] = L"\"<<externalentity>>\"";

// The whole size is taken at once: the buffer then never moves, the pointers into it stay
// valid across every refill, and no refill constructs elements.
CMarlGEntityExtParsed::CMarlGEntityExtParsed(std::wstring const& entityName,
                                             std::wstring const& entitySystemId,
                                             std::wstring const& entityPublicId)
    : CMarlGEntity(entityName),
      systemId(entitySystemId),
      publicId(entityPublicId),
      end(nullptr) {
  buffer.resize(uiMaxBufferSize + 1u);
  closeBuffer(0);
}

void* CMarlGEntityExtParsed::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idGEntityExtParsed, idGEntity});
}

unsigned int CMarlGEntityExtParsed::_queryClass() const {
  return idGEntityExtParsed;
}

unsigned int CMarlGEntityExtParsed::getType() const {
  return MarlGEntity::entityExtParsed;
}

std::uint32_t CMarlGEntityExtParsed::advance() {
  if (!stream) return ENTITY_END;
  compact();
  std::size_t const valid = static_cast<std::size_t>(end - buffer.data());
  if (valid >= uiMaxBufferSize) return ENTITY_BUFFER_FULL;
  // Until the encoding is known, nothing may be decoded ahead: a declaration in the text may
  // still change how the next bytes are read. So characters come one at a time.
  std::size_t const wanted = encoding ? uiMaxBufferSize - valid : 1;
  int count;
  try {
    count = stream.read(end, static_cast<int>(wanted));
  } catch (...) {
    // A reader that goes on after the failure finds the buffer as it was.
    closeBuffer(valid);
    throw;
  }
  if (count < 0) {
    closeBuffer(valid);
    return count == -2 ? ENTITY_READ_AGAIN : ENTITY_END;
  }
  closeBuffer(valid + std::min(static_cast<std::size_t>(count), wanted));
  return 0;
}

void CMarlGEntityExtParsed::compact() noexcept {
  if (!startIterator || startIterator->entity != this) return;
  wchar_t* const data = buffer.data();
  std::size_t const valid = static_cast<std::size_t>(end - data);
  std::ptrdiff_t const offset = startIterator->pos - data;
  if (offset <= 0) return;
  std::size_t const dropped = std::min(static_cast<std::size_t>(offset), valid);
  std::memmove(data, data + dropped, (valid - dropped) * sizeof(wchar_t));
  base += static_cast<std::uint32_t>(dropped);
  startIterator->pos -= dropped;
  if (endIterator && endIterator->entity == this) endIterator->pos -= dropped;
  closeBuffer(valid - dropped);
}

void CMarlGEntityExtParsed::closeBuffer(std::size_t valid) noexcept {
  buffer[valid] = L'\0';
  end = buffer.data() + valid;
}

void CMarlGEntityExtParsed::attachIStream(MarlIStream const& source) {
  detachIStream();
  stream = source;
  base = 0;
  // Cursors of an earlier reading would point into text that is gone.
  unregisterIterators();
  closeBuffer(0);
  advance();
}

void CMarlGEntityExtParsed::detachIStream() noexcept {
  stream = static_cast<CMarlIStream const*>(nullptr);
}

void CMarlGEntityExtParsed::setEncoding(MarlEncoding const& newEncoding) {
  // With the catch-all handler in the list a stream refuses an encoding only for want of
  // memory, and read on in the old one the rest of the entity would be decoded wrongly.
  if (stream && newEncoding && !stream.setEncoding(newEncoding)) throw std::bad_alloc();
  encoding = newEncoding ? newEncoding.clone() : MarlEncoding();
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

void CMarlGEntityExtUnparsed::attachIStream(MarlIStream const& source) {
  stream = source;
  base = 0;
}

void CMarlGEntityExtUnparsed::detachIStream() noexcept {
  stream = static_cast<CMarlIStream const*>(nullptr);
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

MarlIStream MarlGEntityExtParsed::getIStream() const {
  return _impl()->getIStream();
}

void MarlGEntityExtParsed::attachIStream(MarlIStream const& stream) {
  _impl()->attachIStream(stream);
}

void MarlGEntityExtParsed::detachIStream() {
  _impl()->detachIStream();
}

MarlEncoding MarlGEntityExtParsed::getEncoding() const {
  return _impl()->getEncoding();
}

void MarlGEntityExtParsed::setEncoding(MarlEncoding const& encoding) {
  _impl()->setEncoding(encoding);
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

MarlIStream MarlGEntityExtUnparsed::getIStream() const {
  return _impl()->getIStream();
}

void MarlGEntityExtUnparsed::attachIStream(MarlIStream const& stream) {
  _impl()->attachIStream(stream);
}

void MarlGEntityExtUnparsed::detachIStream() {
  _impl()->detachIStream();
}

// ---------------------------------------------------------------------------------------
// The parser's side

MarlGEntityExtParsed createDocumentEntity(MarlIStream const& stream) {
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(
      CMarlGEntityExtParsed::c_documentEntityName,
      stream ? stream.getSystemId() : std::wstring(), std::wstring()));
  if (stream) entity._impl()->attachIStream(stream);
  return entity;
}

MarlEntityDecl lookupEntityDecl(MarlDocumentType const& documentType, std::wstring const& name,
                                unsigned char parameter) {
  if (!documentType) return MarlEntityDecl();
  MarlNamedNodeMap map = parameter ? documentType.getParamEntities() : documentType.getEntities();
  if (!map) return MarlEntityDecl();
  return MarlEntityDecl(map.getNamedItem(name, std::wstring()));
}

// The five predefined entities are ordinary declarations of every document, so they take
// this path like any other.
unsigned char pushEntityByName(CMarlScanner& scanner, CMarlScannerHost& host,
                               MarlDocumentType const& documentType, unsigned char parameter,
                               std::wstring const& name, int state, unsigned int resolveMode,
                               unsigned char inIgnoreSection) {
  MarlEntityDecl declaration = lookupEntityDecl(documentType, name, parameter);
  if (!declaration) {
    bool const fatalRule = (resolveMode & 0x04) != 0 && !inIgnoreSection;
    host.reportError(fatalRule ? CMarlScannerHost::severityError
                               : CMarlScannerHost::severityWarning,
                     3014, L"undefined entity '%s' referenced", name.c_str());
    return 0;
  }
  if (declaration.getSystemId().empty()) {
    MarlGEntity entity = declaration._impl()->getGEntity();
    if (!MarlGEntityIntParsed(entity)) {
      host.reportError(CMarlScannerHost::severityError, 3016,
                       L"undefined internal entity '%s' (parser error)", name.c_str());
      return 0;
    }
    scanner.pushEntity(entity, static_cast<CMarlScanner::StateId>(state));
    return 1;
  }
  if (!declaration.getNotationName().empty()) {
    host.reportError(CMarlScannerHost::severityError, 3015, L"'%s' references unparsed entity",
                     name.c_str());
    return 0;
  }
  return host.pushEntity(declaration.getSystemId(), declaration.getPublicId(),
                         inIgnoreSection ? 0 : 1, static_cast<CMarlScanner::StateId>(state));
}

void checkExpansion(CMarlScannerHost& host, CMarlIStream const* stream,
                    std::uint32_t& expansionCount, unsigned int count) {
  if (!stream || !stream->isDtdRestricted()) return;
  expansionCount += count;
  std::uint32_t const limit = stream->getNumRead() * stream->getMaxExpansion();
  if (limit < expansionCount)
    host.reportError(CMarlScannerHost::severityError, 4003,
                     L"XML expansion exceeds Marl configuration", nullptr);
}
