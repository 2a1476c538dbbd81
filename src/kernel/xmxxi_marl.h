#ifndef MARL_KERNEL_XMXXI_MARL_H
#define MARL_KERNEL_XMXXI_MARL_H

#include <cstdint>
#include <string>

#include "kernel/xmxxo_unkn.h"
#include "kernel/xmxxu_hash.h"
#include "marl/factory.h"
#include "marl/stream.h"

// An atom: a string stored once in the library's string cache and compared by pointer. It
// stays valid until the cache is purged, which happens only while no object holds atoms.
using Atom = std::wstring const*;

// MurmurHash3, 32-bit form, seed 0, one block per wide character.
std::uint32_t atomHash(std::wstring const& text) noexcept;

struct AtomTraits {
  using Key = std::wstring;
  static Key const& key(std::wstring const& value) noexcept { return value; }
  static std::uint32_t hash(Key const& key) noexcept { return atomHash(key); }
  static bool equal(Key const& a, Key const& b) noexcept { return a == b; }
};

using CAtomSet = CHashTable<std::wstring, AtomTraits>;

class CMarl;
class CEncodingFactory;

// The library state of the process: counters, the node numbering and the string cache.
class CMarlBase {
 public:
  struct Setup {
    // Objects the host declares as already living when the library starts; 0 for a clean start.
    std::uint32_t numObjects;
    // The highest node number among those objects: nodes numbered up to it are stale.
    std::uint32_t maxGID;
  };

  explicit CMarlBase(Setup const& setup);
  CMarlBase(CMarlBase const&) = delete;
  CMarlBase& operator=(CMarlBase const&) = delete;
  virtual ~CMarlBase();

  // The entry the rest of the library uses to bring the singleton into being.
  static CMarl* createCMarl(Setup const& setup);
  // The singleton, created with a clean setup when there is none. Throws bad_alloc when it
  // cannot be made.
  static CMarl& instance();

  // Empties the string cache when that is safe and worthwhile: 1 when the cache may be kept
  // as it is now, 0 when living objects still hold atoms.
  unsigned char purgeCache();

  // The atom of a name-like value: emptyAtom for "", otherwise the cached copy.
  Atom intern(std::wstring const& text);
  // The atom of a literal in the table that is never purged.
  Atom internStatic(std::wstring const& text);
  // A fresh node number.
  std::uint32_t takeGID() noexcept { return nextGID++; }
  // True when a node of this number outlived the cache its atoms came from.
  bool isStale(std::uint32_t gid) const noexcept { return gid <= staleGID; }

  static CMarlBase* c_pMarl;

  std::uint32_t liveObjects;
  std::uint32_t nextGID;
  std::uint32_t setupObjects;
  std::uint32_t staleGID;
  CAtomSet* atomCache;
  CAtomSet* staticAtoms;
  Atom emptyAtom;
  Atom unknownAtom;
};

// Names of the node kinds that have none of their own.
class CStaticStringTable {
 public:
  enum Index {
    characterData,
    cdataSection,
    condDTDSection,
    comment,
    document,
    documentFragment,
    text,
    count
  };

  void init(CMarlBase& marl);
  Atom operator[](int index) const noexcept { return atoms[index]; }

 private:
  static const wchar_t* const c_ucs2Strings[count];
  Atom atoms[count] = {};
};

class CMarl : public CMarlBase, public CUnknown, public AllocPolicyRollArea {
 public:
  // The singleton, constructed when there is none (the arguments are then ignored); null when
  // memory runs out. The result is not counted.
  static CMarl* create(unsigned int type, Setup const& setup);
  static Atom staticString(int index);
  static std::uint32_t miMemSize();

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  unsigned char hasFeature(std::wstring const& feature, std::wstring const& version) const;
  int setConversionBehaviour(unsigned char mode, wchar_t replacement, std::wstring const& text);
  void* queryTOVAClass(unsigned int id) const;
  // Where a host creates the UTF-8 converters kept in `converters`.
  void createFromRealUtf8();
  void createToRealUtf8();
  // What the host string calls receive to convert with: the host's converters.
  void* hostConversionContext() noexcept { return converters; }
  // The handler prototypes that encodings are served from.
  CEncodingFactory& getEncodingFactory() noexcept { return *encodingFactory; }
  // The one stream factory of the library.
  MarlStreamFactory const& getStreamFactory() const noexcept { return streamFactory; }

  static constexpr int converterSlots = 4;

 private:
  CMarl(unsigned int type, Setup const& setup);
  ~CMarl() override;

  std::uint32_t memSizeCache = 0;
  // Owned; made first and ended first.
  CEncodingFactory* encodingFactory = nullptr;
  MarlStreamFactory streamFactory;
  void* converters[converterSlots] = {};
  CStaticStringTable staticStrings;
  std::uint8_t conversionMode = 1;
  wchar_t conversionChar = L'#';
  std::wstring conversionString;
};

#endif
