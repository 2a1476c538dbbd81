#include "parser/xmxxp_pars.h"

#include <new>
#include <stdexcept>

#include "dom/xmxxo_node.h"
#include "dtd/xmxxu_strp.h"
#include "kernel/xmxxu_xcpt.h"
#include "marl/factory.h"
#include "parser/xmxxp_paag.h"
#include "parser/xmxxp_perr.h"
#include "parser/xmxxs_ent.h"
#include "streams/xmxxu_strm.h"
#include "text/xmxxu_stri.h"

namespace {

constexpr unsigned int c_internalFailure = MarlParser::rcInternalError;
constexpr std::size_t c_reservedDepth = 32;
constexpr unsigned long c_agentSegmentSize = 4096;
constexpr std::size_t c_idAttributeBuckets = 9;

// The first bit of `group` that `value` has, or the group's first bit when it has none.
unsigned int firstBitOf(unsigned int value, std::initializer_list<unsigned int> group) {
  for (unsigned int bit : group)
    if (value & bit) return bit;
  return *group.begin();
}

}  // namespace

std::uint32_t CIdAttributeTraits::hash(Key const& key) noexcept {
  auto bits = [](Atom atom) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(atom));
  };
  return bits(key.elementPrefix) ^ bits(key.elementName) ^ bits(key.attributePrefix) ^
         bits(key.attributeName);
}

// ---------------------------------------------------------------------------------------
// CMarlParser

CMarlParser::CMarlParser(MarlStreamFactory const& factory, MarlIStream const& stream,
                         MarlDocument const& target)
    : streamFactory(factory),
      iStream(nullptr),
      expansionCount(0),
      document(target),
      eventSubscription(0),
      scanner(nullptr),
      agentArena(nullptr),
      domGenerating(1),
      normalizing(1),
      validating(0),
      namespaceMode(MarlParser::NS_PREFIXES),
      checkPrefixes(0),
      mode(0),
      resolveMode(0x15),
      streamMode(0),
      idAttributes(c_idAttributeBuckets),
      whitespaceStripping(nullptr),
      supplyAttrDefaults(0),
      xmlSpaceAware(0),
      spaceRules(0),
      inExternalSubset(0),
      validator(nullptr),
      softValidation(0),
      inIgnoreSection(0),
      etagLineNumberSupport(0),
      xmlString(L"xml"),
      xmlnsString(L"xmlns"),
      spaceString(L"space"),
      preserveString(L"preserve"),
      defaultString(L"default"),
      pcdataString(L"#PCDATA"),
      utf8String(L"utf-8"),
      externalEntityString(CMarlGEntityExtParsed::c_externalEntityName),
      documentEntityString(CMarlGEntityExtParsed::c_documentEntityName),
      nullScheme(L"null://"),
      unknownEntityString(L"?"),
      xmlNamespaceURI(L"http://www.w3.org/XML/1998/namespace") {
  if (!stream) throw std::invalid_argument("iStream");
  if (!document) throw std::invalid_argument("document");
  iStream = stream._impl();
  try {
    parents.reserve(c_reservedDepth);
    agents.reserve(c_reservedDepth);
    documentType = document.getDocumentType();
    scanner = new CMarlScanner(this, nullptr, streamFactory);
    if (!streamFactory) streamFactory = scanner->streamFactory;
    setNamespaceMode(MarlParser::NS_PREFIXES);
    MarlGEntityExtParsed documentEntity = createDocumentEntity(stream);
    agentArena = new CObjStack(c_agentSegmentSize);
    pushAgent<CMarlParseAgentDocument>();
    scanner->pushEntity(documentEntity, CMarlScanner::STATE_NONE);
  } catch (...) {
    releaseOwned();
    throw;
  }
}

CMarlParser::~CMarlParser() {
  releaseOwned();
}

void CMarlParser::releaseOwned() noexcept {
  if (scanner)
    while (scanner->popEntity()) {
    }
  while (!agents.empty()) {
    CMarlParseAgent* agent = agents.back();
    agents.pop_back();
    agent->~CMarlParseAgent();
    agentArena->pop();
  }
  delete agentArena;
  agentArena = nullptr;
  delete scanner;
  scanner = nullptr;
  delete whitespaceStripping;
  whitespaceStripping = nullptr;
}

void* CMarlParser::_queryInterface(unsigned int id) {
  return id == idParser || id == idUnknown ? this : nullptr;
}

unsigned int CMarlParser::_queryClass() const {
  return idParser;
}

// A tree parse delivers no events, so the subscription is off while it runs and comes back
// afterwards. The failures end here: the finding is in the list, and the result tells the
// kind. There is no recovery, so a further call resumes where the run broke off.
unsigned int CMarlParser::parse() {
  if (agents.empty()) return refuseFinishedRun();
  std::uint32_t const subscription = eventSubscription;
  try {
    eventSubscription = 0;
    while (!agents.empty()) agents.back()->parse();
  } catch (XPT_Parser::XPT_Any const& failure) {
    eventSubscription = subscription;
    MARL_PARSER_TRACE("marl xpt caught: any %s (code=0x%x)", MBString(failure.reason).c_str(),
                      static_cast<unsigned int>(failure.code));
    return static_cast<unsigned int>(failure.code);
  } catch (XPT_IO::XPT_Any const& failure) {
    eventSubscription = subscription;
    MARL_PARSER_TRACE("marl xpt caught: i/o err %s", MBString(failure.reason).c_str());
    addErrorInHandler(4002, L"I/O error: %s", failure.reason.c_str());
    return static_cast<unsigned int>(failure.code);
  } catch (std::bad_alloc const&) {
    MARL_PARSER_TRACE("marl xpt caught: bad_alloc");
    addErrorInHandler(4001, L"internal error, memory allocation failed", nullptr);
    return c_internalFailure;
  } catch (...) {
    eventSubscription = subscription;
    MARL_PARSER_TRACE("marl xpt caught: unspecified internal error");
    addErrorInHandler(4001, L"unspecified internal error", nullptr);
    return c_internalFailure;
  }
  eventSubscription = subscription;
  return 0;
}

unsigned int CMarlParser::refuseFinishedRun() {
  addErrorInHandler(4001, L"invalid parser", nullptr);
  return c_internalFailure;
}

void CMarlParser::addErrorInHandler(unsigned int number, wchar_t const* format,
                                    wchar_t const* argument) {
  try {
    addError(MarlParseError::SEVERITY_FATAL, number, format, argument);
  } catch (...) {
  }
}

unsigned char CMarlParser::setNormalizing(unsigned char value) noexcept {
  normalizing = value;
  scanner->normalizing = value;
  return 1;
}

void CMarlParser::setNamespaceMode(MarlParser::NamespaceMode value) noexcept {
  switch (value) {
    case MarlParser::NS_NONE:
      namespaceMode = 0;
      checkPrefixes = 0;
      scanner->nameSpaces = 0;
      return;
    case MarlParser::NS_PREFIXES:
      namespaceMode = 1;
      checkPrefixes = 0;
      scanner->nameSpaces = 1;
      return;
    case MarlParser::NS_CONTEXTS:
      namespaceMode = 2;
      checkPrefixes = 0;
      scanner->nameSpaces = 1;
      return;
    case MarlParser::NS_CONTEXTS_CHECKED:
      namespaceMode = 2;
      checkPrefixes = 1;
      scanner->nameSpaces = 1;
      return;
  }
}

unsigned char CMarlParser::setMode(unsigned int value) noexcept {
  if (value > 2) return 0;
  mode = value;
  scanner->mode = static_cast<std::int32_t>(value);
  return 1;
}

// One bit per group survives. A validator would need 0x01, 0x04 and 0x10; none exists yet.
unsigned char CMarlParser::setResolveMode(unsigned int value) noexcept {
  resolveMode = firstBitOf(value, {0x01, 0x02}) | firstBitOf(value, {0x04, 0x08}) |
                firstBitOf(value, {0x10, 0x20, 0x40, 0x80});
  return 1;
}

CMarlWhitespaceStripping& CMarlParser::strippingRules() {
  if (!whitespaceStripping) whitespaceStripping = new CMarlWhitespaceStripping();
  return *whitespaceStripping;
}

void CMarlParser::setXMLSpaceAware(unsigned char aware) {
  if (aware) strippingRules();
  xmlSpaceAware = aware;
}

unsigned char CMarlParser::addPreserveSpaceElement(std::wstring const& name,
                                                   std::wstring const& nameSpace) {
  try {
    CMarlWhitespaceStripping& rules = strippingRules();
    spaceRules = 1;
    return rules.insert(name, nameSpace, SP_PRESERVE) ? 1 : 0;
  } catch (std::bad_alloc const&) {
    return 0;
  }
}

unsigned char CMarlParser::addStripSpaceElement(std::wstring const& name,
                                                std::wstring const& nameSpace) {
  try {
    CMarlWhitespaceStripping& rules = strippingRules();
    spaceRules = 1;
    return rules.insert(name, nameSpace, SP_STRIP) ? 1 : 0;
  } catch (std::bad_alloc const&) {
    return 0;
  }
}

// Reserved for streams that a host registers for entities; nothing is kept, and nothing is
// ever found.
unsigned int CMarlParser::registerEntity(std::wstring const&, std::wstring const&, MarlIStream&) {
  return 0;
}

MarlIStream CMarlParser::findRegisteredEntity(std::wstring const&, std::wstring const&) const {
  return MarlIStream();
}

void CMarlParser::pushParent(MarlNode const& node) {
  if (!parents.empty()) setParent(node);
  parents.push_back(node);
}

// A run that broke off may leave the stack shorter than its agents expect when resumed.
void CMarlParser::popParent() noexcept {
  if (!parents.empty()) parents.pop_back();
}

void CMarlParser::setParent(MarlNode const& node) noexcept {
  if (!parents.empty()) node._impl()->parent = parents.back()._impl();
}

void CMarlParser::checkExpansion(unsigned int count) {
  ::checkExpansion(*this, iStream, expansionCount, count);
}

MarlEntityDecl CMarlParser::findEntityDecl(std::wstring const& name,
                                           unsigned char parameter) const {
  return lookupEntityDecl(documentType, name, parameter);
}

void CMarlParser::insertIdAttribute(CIdAttributeKey const& key) {
  idAttributes.emplace(key, key);
}

bool CMarlParser::isIdAttribute(CIdAttributeKey const& key) const noexcept {
  return idAttributes.find(key) != nullptr;
}

// Delivery belongs to the event interfaces; the tree parse subscribes to nothing.
bool CMarlParser::notifyEvent(unsigned int type, MarlNode const&) noexcept {
  return (eventSubscription & type) != 0;
}

void CMarlParser::removeAgent(CMarlParseAgent* agent) noexcept {
  while (!agents.empty()) {
    CMarlParseAgent* top = agents.back();
    agents.pop_back();
    if (top == agent) break;
  }
  agent->~CMarlParseAgent();
  agentArena->pop();
}

void CMarlParser::reportError(unsigned int severity, unsigned int number, wchar_t const* format,
                              wchar_t const* argument) {
  addError(static_cast<MarlParseError::Severity>(severity), number, format, argument);
}

unsigned char CMarlParser::pushEntity(unsigned char parameter, std::wstring const& name,
                                      CMarlScanner::StateId state) {
  return pushEntityByName(*scanner, *this, documentType, parameter, name, state, resolveMode,
                          inIgnoreSection);
}

// A relative identifier is resolved against the stream of the entity being read, and the
// stream that serves it is a clone of that one when it can open it; otherwise the factory
// looks for one. A restricted document stream reads nothing from outside.
unsigned char CMarlParser::pushEntity(std::wstring const& systemId, std::wstring const& publicId,
                                      unsigned char mustExist, CMarlScanner::StateId state) {
  MarlGEntityExtParsed entity(new CMarlGEntityExtParsed(externalEntityString, systemId, publicId));
  MarlIStream stream = findRegisteredEntity(systemId, publicId);
  if (!stream && !(iStream && iStream->isDtdRestricted())) {
    MarlGEntityExtParsed reading(scanner->entity);
    MarlIStream base = reading ? reading.getIStream() : MarlIStream();
    std::wstring absolute;
    if (base && !base.getSystemId().empty())
      absolute = base.makeAbsoluteId(systemId, base.getSystemId());
    if (!absolute.empty() && base.isCapable(absolute, publicId)) {
      stream = MarlIStream(base.clone());
      if (stream) {
        stream.setSystemId(absolute);
        stream.setPublicId(publicId);
        if (!stream.open()) stream = MarlIStream();
      }
    } else {
      stream = streamFactory.createIStreamURI(systemId, publicId, streamMode);
    }
  }
  if (!stream) {
    bool const fatalRule = mustExist && (resolveMode & 0x04);
    addError(fatalRule ? MarlParseError::SEVERITY_ERROR : MarlParseError::SEVERITY_WARNING, 3013,
             L"unable to retrieve external entity '%s'", systemId.c_str());
    return 0;
  }
  entity.attachIStream(stream);
  MarlEncoding encoding = document.getEncoding();
  if (encoding) entity.setEncoding(encoding);
  scanner->pushEntity(entity, state);
  return 1;
}

// ---------------------------------------------------------------------------------------
// MarlParser

MARL_DEFINE_HANDLE(MarlParser, CMarlParser, idParser)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlParser)

unsigned int MarlParser::parse() const {
  return m_p->parse();
}

void MarlParser::setDOMGenerating(unsigned char generating) const {
  m_p->setDOMGenerating(generating);
}

unsigned char MarlParser::isDOMGenerating() const {
  return m_p->isDOMGenerating();
}

unsigned char MarlParser::setNormalizing(unsigned char normalizing) const {
  return m_p->setNormalizing(normalizing);
}

unsigned char MarlParser::isNormalizing() const {
  return m_p->isNormalizing();
}

void MarlParser::setNamespaceMode(NamespaceMode mode) const {
  m_p->setNamespaceMode(mode);
}

MarlParser::NamespaceMode MarlParser::getNamespaceMode() const {
  return m_p->getNamespaceMode();
}

unsigned char MarlParser::setMode(unsigned int mode) const {
  return m_p->setMode(mode);
}

void MarlParser::setStreamMode(unsigned int mode) const {
  m_p->setStreamMode(mode);
}

unsigned char MarlParser::setResolveMode(unsigned int mode) const {
  return m_p->setResolveMode(mode);
}

void MarlParser::setSupplyAttrDefaults(unsigned char supply) const {
  m_p->setSupplyAttrDefaults(supply);
}

unsigned char MarlParser::isSupplyAttrDefaults() const {
  return m_p->isSupplyAttrDefaults();
}

void MarlParser::setXMLSpaceAware(unsigned char aware) const {
  m_p->setXMLSpaceAware(aware);
}

unsigned char MarlParser::isXMLSpaceAware() const {
  return m_p->isXMLSpaceAware();
}

unsigned char MarlParser::addPreserveSpaceElement(std::wstring const& name,
                                                  std::wstring const& nameSpace) const {
  return m_p->addPreserveSpaceElement(name, nameSpace);
}

unsigned char MarlParser::addStripSpaceElement(std::wstring const& name,
                                               std::wstring const& nameSpace) const {
  return m_p->addStripSpaceElement(name, nameSpace);
}

void MarlParser::setEtagLineNumberSupport(unsigned char support) const {
  m_p->setEtagLineNumberSupport(support);
}

unsigned char MarlParser::isEtagLineNumberSupport() const {
  return m_p->isEtagLineNumberSupport();
}

void MarlParser::setEventSubscription(unsigned int subscription) const {
  m_p->setEventSubscription(subscription);
}

unsigned int MarlParser::getEventSubscription() const {
  return m_p->getEventSubscription();
}

unsigned char MarlParser::hasEventSubscription(unsigned int bits) const {
  return m_p->hasEventSubscription(bits);
}

unsigned int MarlParser::registerEntity(std::wstring const& publicId, std::wstring const& systemId,
                                        MarlIStream& stream) const {
  return m_p->registerEntity(publicId, systemId, stream);
}

unsigned int MarlParser::numErrors(MarlParseError::Severity minimum) const {
  return m_p->numErrors(minimum);
}

MarlParseError MarlParser::getError(unsigned int index, MarlParseError::Severity minimum) const {
  return m_p->getError(index, minimum);
}

// ---------------------------------------------------------------------------------------
// Marl

// Every failure, an empty argument, a first character that cannot be decoded as much as want
// of memory, gives an empty handle.
MarlParser Marl::createParser(MarlStreamFactory const& factory, MarlIStream const& stream,
                              MarlDocument const& document) const {
  try {
    return MarlParser(new CMarlParser(factory, stream, document));
  } catch (...) {
    return MarlParser();
  }
}
