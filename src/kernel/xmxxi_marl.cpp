#include "kernel/xmxxi_marl.h"

#include <new>

#include "streams/xmxxu_strm.h"
#include "text/xmxxu_enco.h"

namespace {

std::uint32_t rotateLeft(std::uint32_t value, int bits) noexcept {
  return (value << bits) | (value >> (32 - bits));
}

// Sizes of the atom tables: a clean start expects a whole document's worth of names, a host
// that restores objects keeps the restarted library small.
constexpr std::size_t c_cleanCacheSize = 10007;
constexpr std::size_t c_restoredCacheSize = 7;
constexpr std::size_t c_staticAtomsSize = 11;

// purgeCache keeps a cache below this size for the next unit of work.
constexpr std::size_t c_purgeThreshold = 1000;

// What one atom costs beyond its characters, for the host's memory inspection.
constexpr std::uint32_t c_atomOverhead = 24;

std::uint32_t atomMemSize(CAtomSet const& atoms) {
  std::uint32_t total = 0;
  atoms.forEach([&total](std::wstring const& atom) {
    total += static_cast<std::uint32_t>(atom.size() * sizeof(wchar_t)) + c_atomOverhead;
  });
  return total;
}

}  // namespace

std::uint32_t atomHash(std::wstring const& text) noexcept {
  const std::uint32_t c1 = 0xcc9e2d51;
  const std::uint32_t c2 = 0x1b873593;
  std::uint32_t h = 0;
  for (wchar_t element : text) {
    std::uint32_t k = static_cast<std::uint32_t>(element);
    k *= c1;
    k = rotateLeft(k, 15);
    k *= c2;
    h ^= k;
    h = rotateLeft(h, 13);
    h = h * 5 + 0xe6546b64;
  }
  h ^= static_cast<std::uint32_t>(4 * text.size());
  h ^= h >> 16;
  h *= 0x85ebca6b;
  h ^= h >> 13;
  h *= 0xc2b2ae35;
  h ^= h >> 16;
  return h;
}

// ---------------------------------------------------------------------------------------
// CMarlBase

CMarlBase* CMarlBase::c_pMarl = nullptr;

CMarlBase::CMarlBase(Setup const& setup)
    : liveObjects(setup.numObjects),
      nextGID(setup.maxGID + 1),
      setupObjects(setup.numObjects),
      staleGID(setup.maxGID),
      atomCache(nullptr),
      staticAtoms(nullptr),
      emptyAtom(nullptr),
      unknownAtom(nullptr) {
  // Published first, so that nothing constructed below starts a second library.
  c_pMarl = this;
  try {
    atomCache = new CAtomSet(setup.numObjects == 0 ? c_cleanCacheSize : c_restoredCacheSize);
    staticAtoms = new CAtomSet(c_staticAtomsSize);
    emptyAtom = &staticAtoms->emplace(std::wstring(), std::wstring());
    unknownAtom = &staticAtoms->emplace(L"?", L"?");
  } catch (...) {
    delete staticAtoms;
    delete atomCache;
    c_pMarl = nullptr;
    throw;
  }
}

CMarlBase::~CMarlBase() {
  delete atomCache;
  delete staticAtoms;
}

CMarl* CMarlBase::createCMarl(Setup const& setup) {
  return CMarl::create(setup.numObjects != 0 ? 2 : 0, setup);
}

CMarl& CMarlBase::instance() {
  if (!c_pMarl && !createCMarl(Setup{0, 0})) throw std::bad_alloc();
  return *static_cast<CMarl*>(c_pMarl);
}

Atom CMarlBase::intern(std::wstring const& text) {
  if (text.empty()) return emptyAtom;
  return &atomCache->emplace(text, text);
}

Atom CMarlBase::internStatic(std::wstring const& text) {
  if (text.empty()) return emptyAtom;
  return &staticAtoms->emplace(text, text);
}

unsigned char CMarlBase::purgeCache() {
  if (atomCache->empty()) return 1;
  if (liveObjects != 0) return 0;
  if (atomCache->size() < c_purgeThreshold) return 1;
  atomCache->clear();
  return 1;
}

// ---------------------------------------------------------------------------------------
// CStaticStringTable

const wchar_t* const CStaticStringTable::c_ucs2Strings[count] = {
    L"#character-data", L"#cdata-section",      L"#cond-dtd-section", L"#comment",
    L"#document",       L"#document-fragment", L"#text",
};

void CStaticStringTable::init(CMarlBase& marl) {
  for (int index = 0; index < count; ++index) atoms[index] = marl.internStatic(c_ucs2Strings[index]);
}

// ---------------------------------------------------------------------------------------
// CMarl

CMarl::CMarl(unsigned int /*type*/, Setup const& setup)
    : CMarlBase(setup), CUnknown(NotCounted()) {
  encodingFactory = new CEncodingFactory();
  try {
    streamFactory = MarlStreamFactory(new CMarlStreamFactory());
    staticStrings.init(*this);
    setConversionBehaviour(conversionMode, conversionChar, conversionString);
  } catch (...) {
    // The destructor does not run for a constructor that throws.
    delete encodingFactory;
    encodingFactory = nullptr;
    streamFactory = static_cast<CMarlStreamFactory const*>(nullptr);
    throw;
  }
}

CMarl::~CMarl() {
  delete encodingFactory;
  encodingFactory = nullptr;
  streamFactory = static_cast<CMarlStreamFactory const*>(nullptr);
  for (void*& converter : converters) {
    if (!converter) continue;
    TOVAShutdownConverter(converter);
    RollAreaUnregisteredFree(converter);
    converter = nullptr;
  }
  // Cleared before the CUnknown part goes, which then finds no library left to count in.
  c_pMarl = nullptr;
}

CMarl* CMarl::create(unsigned int type, Setup const& setup) {
  if (c_pMarl) return static_cast<CMarl*>(c_pMarl);
  try {
    return new CMarl(type, setup);
  } catch (std::bad_alloc const&) {
    // The half-built library is gone; a pointer left to it would dangle.
    c_pMarl = nullptr;
    return nullptr;
  }
}

Atom CMarl::staticString(int index) {
  return instance().staticStrings[index];
}

// Counts on one call and hands the count out on the next, so that a host reading the size
// twice in a row pays for one walk.
std::uint32_t CMarl::miMemSize() {
  CMarl& marl = instance();
  if (marl.memSizeCache != 0) {
    std::uint32_t size = marl.memSizeCache;
    marl.memSizeCache = 0;
    return size;
  }
  marl.memSizeCache = atomMemSize(*marl.atomCache);
  marl.memSizeCache += atomMemSize(*marl.staticAtoms);
  return marl.memSizeCache;
}

void* CMarl::_queryInterface(unsigned int id) {
  switch (id) {
    case idMarl:
      return this;
    case idUnknown:
      return static_cast<CUnknown*>(this);
    default:
      return nullptr;
  }
}

unsigned int CMarl::_queryClass() const {
  return idMarl;
}

unsigned char CMarl::hasFeature(std::wstring const& feature, std::wstring const& version) const {
  if (feature == L"XML") return version == L"1.0";
  if (feature == L"STRING_CACHE") {
    if (version == L"EMPTY") return atomCache->empty();
    if (version == L"PURGED") return liveObjects == 0 && atomCache->size() < c_purgeThreshold;
    return 0;
  }
  if (feature == L"CLEAN") return setupObjects == 0;
  return 0;
}

// A host conversion layer would take these values; the library keeps its defaults.
int CMarl::setConversionBehaviour(unsigned char, wchar_t, std::wstring const&) {
  return 0;
}

void* CMarl::queryTOVAClass(unsigned int) const {
  return nullptr;
}

void CMarl::createFromRealUtf8() {}

void CMarl::createToRealUtf8() {}

// ---------------------------------------------------------------------------------------
// Marl

MARL_DEFINE_HANDLE(Marl, CMarl, idMarl)

// A Marl handle may outlive the library it was made for; it lets go only of the current one.
Marl::~Marl() {
  if (m_p && static_cast<CMarlBase*>(m_p) == CMarlBase::c_pMarl) handle::release(m_p);
}

Marl Marl::create(MarlType type, void*) {
  return Marl(CMarl::create(type, CMarlBase::Setup{0, 0}));
}

Marl::Marl(MarlType type, void*) : m_p(handle::acquire(CMarl::create(type, CMarlBase::Setup{0, 0}))) {}

unsigned int Marl::getVersion() const {
  return 10;
}

unsigned char Marl::hasFeature(std::wstring const& feature, std::wstring const& version) const {
  return m_p->hasFeature(feature, version);
}

int Marl::setConversionBehaviour(unsigned char mode, wchar_t replacement, std::wstring const& text) {
  return m_p->setConversionBehaviour(mode, replacement, text);
}

void Marl::localeChanged() {}

void* Marl::_queryInterface(unsigned int id) const {
  return m_p->_queryInterface(id);
}

MarlStreamFactory Marl::createStreamFactory() const {
  return m_p->getStreamFactory();
}

MarlEncoding Marl::createEncoding(std::wstring const& name, MarlEncoding::ByteOrder byteOrder) const {
  try {
    return MarlEncoding(new CMarlEncoding(name, byteOrder));
  } catch (std::bad_alloc const&) {
    return MarlEncoding();
  }
}
