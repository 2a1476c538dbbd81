#include "text/xmxxu_enco.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <initializer_list>
#include <new>
#include <string>

#include "kernel/xmxxu_trc.h"
#include "marl/host.h"
#include "text/xmxxu_stri.h"

namespace {

constexpr int CONV_OK = MarlEncodingHandler::CONV_OK;
constexpr int CONV_SRC_EXHAUSTED = MarlEncodingHandler::CONV_SRC_EXHAUSTED;
constexpr int CONV_TGT_FULL = MarlEncodingHandler::CONV_TGT_FULL;
constexpr int CONV_ILLEGAL = MarlEncodingHandler::CONV_ILLEGAL;
// The conversion cannot run at all: a handler without its byte order helper or tables.
constexpr int CONV_INTERNAL_ERROR = 4;

constexpr std::size_t c_reservedPrototypes = 16;

bool startsWith(std::wstring const& text, wchar_t const* prefix) {
  return text.compare(0, std::wcslen(prefix), prefix) == 0;
}

// The handle on a copy of a handler; empty when memory runs out.
template <class Handler>
MarlEncodingHandler cloneOf(Handler const& source) {
  try {
    return MarlEncodingHandler(new Handler(source));
  } catch (std::bad_alloc const&) {
    return MarlEncodingHandler();
  }
}

// Units and cells of the multi-byte forms are read and written with their lowest byte first,
// so that the byte order helpers see the same values on every host.
inline unsigned short readUnit16(unsigned char const* bytes) {
  return static_cast<unsigned short>(bytes[0] | bytes[1] << 8);
}

inline void writeUnit16(unsigned char* bytes, unsigned short unit) {
  bytes[0] = static_cast<unsigned char>(unit & 0xFF);
  bytes[1] = static_cast<unsigned char>(unit >> 8);
}

inline unsigned long readCell(unsigned char const* bytes, long size) {
  unsigned long cell = 0;
  for (long index = size; index-- > 0;) cell = cell << 8 | bytes[index];
  return cell;
}

inline void writeCell(unsigned char* bytes, unsigned long cell, long size) {
  for (long index = 0; index < size; ++index) {
    bytes[index] = static_cast<unsigned char>(cell & 0xFF);
    cell >>= 8;
  }
}

inline bool isHighSurrogate(std::uint32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

inline bool isLowSurrogate(std::uint32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// An element of the library's strings is a 16-bit code unit.
inline wchar_t codeUnit(std::uint32_t value) {
  return static_cast<wchar_t>(value & 0xFFFF);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// CMarlEncoding

#define MARL_CP_ROW(digits, charset) \
  { L"orv" digits, L"x-orv" digits, charset }

const CMarlEncoding::CodePageRow CMarlEncoding::cp_table[c_codePageRows + 1] = {
    // The commonest code pages first.
    MARL_CP_ROW("4110", L"utf-8"),
    MARL_CP_ROW("4102", L"utf-16be"),
    MARL_CP_ROW("4103", L"utf-16le"),
    MARL_CP_ROW("1100", L"iso-8859-1"),
    MARL_CP_ROW("1401", L"iso-8859-2"),
    MARL_CP_ROW("0120", L"ibm500"),
    // The web names by code page.
    MARL_CP_ROW("1100", L"iso-8859-1"),
    MARL_CP_ROW("1101", L"us-ascii"),
    MARL_CP_ROW("1103", L"ibm850"),
    MARL_CP_ROW("1140", L"iso-8859-1"),
    MARL_CP_ROW("1160", L"windows-1252"),
    MARL_CP_ROW("1180", L"iso-8859-1"),
    MARL_CP_ROW("1401", L"iso-8859-2"),
    MARL_CP_ROW("1403", L"ibm852"),
    MARL_CP_ROW("1404", L"windows-1250"),
    MARL_CP_ROW("1500", L"iso-8859-5"),
    MARL_CP_ROW("1503", L"ibm866"),
    MARL_CP_ROW("1504", L"windows-1251"),
    MARL_CP_ROW("1610", L"iso-8859-9"),
    MARL_CP_ROW("1614", L"windows-1254"),
    MARL_CP_ROW("1700", L"iso-8859-7"),
    MARL_CP_ROW("1704", L"windows-1253"),
    MARL_CP_ROW("1800", L"iso-8859-8-i"),
    MARL_CP_ROW("1804", L"windows-1255"),
    MARL_CP_ROW("1800", L"iso-8859-8"),
    MARL_CP_ROW("1810", L"iso-8859-8-i"),
    MARL_CP_ROW("1900", L"iso-8859-4"),
    MARL_CP_ROW("1904", L"windows-1257"),
    MARL_CP_ROW("4100", L"ucs-2be"),
    MARL_CP_ROW("4101", L"ucs-2le"),
    MARL_CP_ROW("4102", L"utf-16be"),
    MARL_CP_ROW("4103", L"utf-16le"),
    MARL_CP_ROW("4104", L"ucs-4be"),
    MARL_CP_ROW("4105", L"ucs-4le"),
    MARL_CP_ROW("4104", L"ucs-4be"),
    MARL_CP_ROW("4105", L"ucs-4le"),
    MARL_CP_ROW("4110", L"utf-8"),
    MARL_CP_ROW("6100", L"x-orv-6100"),
    MARL_CP_ROW("6200", L"x-orv-6200"),
    MARL_CP_ROW("6300", L"x-orv-6300"),
    MARL_CP_ROW("8000", L"shift_jis"),
    MARL_CP_ROW("8004", L"shift_jis"),
    MARL_CP_ROW("8100", L"euc-jp"),
    MARL_CP_ROW("8200", L"iso-2022-jp"),
    MARL_CP_ROW("8300", L"big5"),
    MARL_CP_ROW("8304", L"big5"),
    MARL_CP_ROW("8340", L"big5-hkscs"),
    MARL_CP_ROW("8344", L"big5-hkscs"),
    MARL_CP_ROW("8400", L"gbk"),
    MARL_CP_ROW("8404", L"gbk"),
    MARL_CP_ROW("8450", L"gb2312"),
    MARL_CP_ROW("8500", L"ks_c_5601-1987"),
    MARL_CP_ROW("8504", L"ks_c_5601-1987"),
    MARL_CP_ROW("8600", L"tis-620"),
    MARL_CP_ROW("8604", L"windows-874"),
    MARL_CP_ROW("8700", L"iso-8859-6"),
    MARL_CP_ROW("8704", L"windows-1256"),
    // Further aliases.
    MARL_CP_ROW("0120", L"cp500"),
    MARL_CP_ROW("1100", L"iso8859_1"),
    MARL_CP_ROW("1101", L"ascii"),
    MARL_CP_ROW("1103", L"cp850"),
    MARL_CP_ROW("1140", L"iso8859_1"),
    MARL_CP_ROW("1160", L"cp1252"),
    MARL_CP_ROW("1180", L"iso8859_1"),
    MARL_CP_ROW("1401", L"iso8859_2"),
    MARL_CP_ROW("1403", L"cp852"),
    MARL_CP_ROW("1404", L"cp1250"),
    MARL_CP_ROW("1500", L"iso8859_5"),
    MARL_CP_ROW("1503", L"cp866"),
    MARL_CP_ROW("1504", L"cp1251"),
    MARL_CP_ROW("1610", L"iso8859_9"),
    MARL_CP_ROW("1614", L"cp1254"),
    MARL_CP_ROW("1700", L"iso8859_7"),
    MARL_CP_ROW("1704", L"cp1253"),
    MARL_CP_ROW("1800", L"iso8859_8"),
    MARL_CP_ROW("1804", L"cp1255"),
    MARL_CP_ROW("1810", L"iso8859_8"),
    MARL_CP_ROW("1900", L"iso8859_4"),
    MARL_CP_ROW("1904", L"cp1257"),
    MARL_CP_ROW("4102", L"unicodebigunmarked"),
    MARL_CP_ROW("4103", L"unicodelittleunmarked"),
    MARL_CP_ROW("4110", L"utf-8"),
    MARL_CP_ROW("8000", L"ms932"),
    MARL_CP_ROW("8004", L"ms932"),
    MARL_CP_ROW("8100", L"euc_jp"),
    MARL_CP_ROW("8200", L"iso2022jp"),
    MARL_CP_ROW("8300", L"ms950"),
    MARL_CP_ROW("8304", L"ms950"),
    MARL_CP_ROW("8400", L"gbk"),
    MARL_CP_ROW("8404", L"gbk"),
    MARL_CP_ROW("8450", L"euc_cn"),
    MARL_CP_ROW("8500", L"ms949"),
    MARL_CP_ROW("8504", L"ms949"),
    MARL_CP_ROW("8600", L"tis620"),
    MARL_CP_ROW("8604", L"ms874"),
    MARL_CP_ROW("8700", L"iso8859_6"),
    MARL_CP_ROW("8704", L"cp1256"),
    {nullptr, nullptr, nullptr},
};

#undef MARL_CP_ROW

CMarlEncoding::CMarlEncoding(std::wstring const& name, MarlEncoding::ByteOrder order)
    : characterSet(name), byteOrder(MarlEncoding::BYTEORDER_LE) {
  setByteOrder(order);
}

void* CMarlEncoding::_queryInterface(unsigned int id) {
  return id == idEncoding || id == idUnknown ? this : nullptr;
}

unsigned int CMarlEncoding::_queryClass() const {
  return idEncoding;
}

unsigned char CMarlEncoding::setCharacterSet(std::wstring const& name) {
  characterSet = name;
  return 1;
}

// BYTEORDER_NONE only says that the order does not matter; it is kept as the default.
unsigned char CMarlEncoding::setByteOrder(MarlEncoding::ByteOrder order) noexcept {
  switch (order) {
    case MarlEncoding::BYTEORDER_BE:
    case MarlEncoding::BYTEORDER_2143:
    case MarlEncoding::BYTEORDER_3412:
      byteOrder = order;
      break;
    default:
      byteOrder = MarlEncoding::BYTEORDER_LE;
      break;
  }
  return 1;
}

CMarlEncoding::CodePageRow const* CMarlEncoding::findCharsetRow(
    std::wstring const& lowerName) noexcept {
  for (CodePageRow const* row = cp_table; row->charset; ++row)
    if (lowerName == row->charset) return row;
  return nullptr;
}

CMarlEncoding::CodePageRow const* CMarlEncoding::findRow(
    std::wstring const& lowerName) const noexcept {
  if (startsWith(lowerName, L"orv")) {
    for (CodePageRow const* row = cp_table; row->orv; ++row)
      if (lowerName == row->orv) return row;
    return nullptr;
  }
  if (startsWith(lowerName, L"x-orv")) {
    for (CodePageRow const* row = cp_table; row->xorv; ++row)
      if (lowerName == row->xorv) return row;
    return nullptr;
  }
  return findCharsetRow(lowerName);
}

std::wstring CMarlEncoding::getCharacterSetORV() const {
  CodePageRow const* row = findRow(toLower(characterSet));
  return row ? std::wstring(row->xorv) : std::wstring();
}

// The web knows the Unicode forms without their byte order: "utf-16be" is served as "utf-16".
std::wstring CMarlEncoding::getCharacterSetHTTP() const {
  CodePageRow const* row = findRow(toLower(characterSet));
  if (!row) return std::wstring();
  std::wstring http(row->charset);
  std::size_t length = http.size();
  if (length > 2 && (startsWith(http, L"utf-") || startsWith(http, L"ucs-")) &&
      http[length - 1] == L'e' && (http[length - 2] == L'l' || http[length - 2] == L'b'))
    http.erase(length - 2);
  return http;
}

namespace {

// A byte that may open a document without a mark: '<' or white space.
inline bool opensDocument(unsigned char byte) {
  return byte == 0x3C || byte == 0x20 || byte == 0x09 || byte == 0x0D || byte == 0x0A;
}

inline bool startsWithBytes(unsigned char const* bytes, unsigned char b0, unsigned char b1,
                            unsigned char b2, unsigned char b3) {
  return bytes[0] == b0 && bytes[1] == b1 && bytes[2] == b2 && bytes[3] == b3;
}

}  // namespace

// The tests run in a fixed order, the marks first, and the first that fires decides. The
// pattern 03 00 00 0C is not the little-endian '<' (that is 3C 00 00 00, five tests further
// down), and it is recognised all the same: what detection reports is part of the interface.
// The order goes through setByteOrder, so the byte-oriented forms read back as order 0.
int CMarlEncoding::autoDetect(unsigned char const* begin, unsigned char const* end) {
  if (!begin || end - begin < 2) return -1;
  unsigned char const* b = begin;
  bool const four = end - begin > 3;
  bool const three = end - begin > 2;
  auto take = [this](wchar_t const* name, MarlEncoding::ByteOrder order, int markLength) {
    characterSet = name;
    setByteOrder(order);
    return markLength;
  };
  using E = MarlEncoding;

  if (four && startsWithBytes(b, 0x00, 0x00, 0xFE, 0xFF)) return take(L"ucs-4", E::BYTEORDER_BE, 4);
  if (four && startsWithBytes(b, 0xFF, 0xFE, 0x00, 0x00)) return take(L"ucs-4", E::BYTEORDER_LE, 4);
  if (b[0] == 0xFE && b[1] == 0xFF) return take(L"utf-16", E::BYTEORDER_BE, 2);
  if (b[0] == 0xFF && b[1] == 0xFE) return take(L"utf-16", E::BYTEORDER_LE, 2);
  if (three && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF)
    return take(L"utf-8", E::BYTEORDER_NONE, 3);
  if (four && startsWithBytes(b, 0x3C, 0x3F, 0x78, 0x6D))
    return take(L"utf-8", E::BYTEORDER_NONE, 0);
  if (four && startsWithBytes(b, 0x00, 0x3C, 0x00, 0x3F))
    return take(L"utf-16be", E::BYTEORDER_BE, 0);
  if (four && startsWithBytes(b, 0x3C, 0x00, 0x3F, 0x00))
    return take(L"utf-16le", E::BYTEORDER_LE, 0);
  if (four && startsWithBytes(b, 0x00, 0x00, 0x00, 0x3C))
    return take(L"iso-10646-ucs-4", E::BYTEORDER_BE, 0);
  if (four && startsWithBytes(b, 0x03, 0x00, 0x00, 0x0C))
    return take(L"iso-10646-ucs-4", E::BYTEORDER_LE, 0);
  if (four && startsWithBytes(b, 0x00, 0x00, 0x3C, 0x00))
    return take(L"iso-10646-ucs-4", E::BYTEORDER_2143, 0);
  if (four && startsWithBytes(b, 0x00, 0x3C, 0x00, 0x00))
    return take(L"iso-10646-ucs-4", E::BYTEORDER_3412, 0);
  if (four && startsWithBytes(b, 0x4C, 0x6F, 0xA7, 0x94))
    return take(L"ibm500", E::BYTEORDER_NONE, 0);
  if (four && b[0] == 0x00 && b[1] == 0x00 && b[2] == 0x00 && opensDocument(b[3]))
    return take(L"iso-10646-ucs-4", E::BYTEORDER_BE, 0);
  if (four && opensDocument(b[0]) && b[1] == 0x00 && b[2] == 0x00 && b[3] == 0x00)
    return take(L"iso-10646-ucs-4", E::BYTEORDER_LE, 0);
  if (b[0] == 0x00 && opensDocument(b[1])) return take(L"utf-16be", E::BYTEORDER_BE, 0);
  if (opensDocument(b[0]) && b[1] == 0x00) return take(L"utf-16le", E::BYTEORDER_LE, 0);
  if (opensDocument(b[0])) return take(L"utf-8", E::BYTEORDER_NONE, 0);
  return -1;
}

MarlEncoding CMarlEncoding::clone() const {
  try {
    return MarlEncoding(new CMarlEncoding(characterSet, byteOrder));
  } catch (std::bad_alloc const&) {
    return MarlEncoding();
  }
}

// ---------------------------------------------------------------------------------------
// MarlEncoding

MARL_DEFINE_HANDLE(MarlEncoding, CMarlEncoding, idEncoding)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlEncoding)

std::wstring MarlEncoding::getCharacterSet() const {
  return m_p->getCharacterSet();
}

unsigned char MarlEncoding::setCharacterSet(std::wstring const& name) {
  return m_p->setCharacterSet(name);
}

MarlEncoding::ByteOrder MarlEncoding::getByteOrder() const {
  return m_p->getByteOrder();
}

unsigned char MarlEncoding::setByteOrder(ByteOrder order) {
  return m_p->setByteOrder(order);
}

std::wstring MarlEncoding::getCharacterSetORV() const {
  return m_p->getCharacterSetORV();
}

std::wstring MarlEncoding::getCharacterSetHTTP() const {
  return m_p->getCharacterSetHTTP();
}

int MarlEncoding::autoDetect(unsigned char const* begin, unsigned char const* end) {
  return m_p->autoDetect(begin, end);
}

MarlEncoding MarlEncoding::clone() const {
  return m_p->clone();
}

// ---------------------------------------------------------------------------------------
// Byte order helpers

namespace {

constexpr unsigned short swapBytes(unsigned short unit) {
  return static_cast<unsigned short>((unit & 0xFF) << 8 | unit >> 8);
}

constexpr std::uint32_t reverseBytes(std::uint32_t unit) {
  return unit >> 24 | (unit >> 8 & 0xFF00) | (unit << 8 & 0xFF0000) | unit << 24;
}

constexpr std::uint32_t swapBytesWithinHalves(std::uint32_t unit) {
  return (unit & 0x00FF00FF) << 8 | (unit >> 8 & 0x00FF00FF);
}

constexpr std::uint32_t swapHalves(std::uint32_t unit) {
  return unit << 16 | unit >> 16;
}

// Reorders the low four bytes of a wide unit and keeps the rest.
template <std::uint32_t (*Reorder)(std::uint32_t)>
constexpr unsigned long reorderLow32(unsigned long unit) {
  unsigned long const low32 = 0xFFFFFFFFUL;
  return (unit & ~low32) | Reorder(static_cast<std::uint32_t>(unit & low32));
}

}  // namespace

CBOH* CBOH2LittleEndian21::clone() const {
  return new CBOH2LittleEndian21(*this);
}
unsigned short CBOH2LittleEndian21::toIntern(unsigned short unit) const {
  return unit;
}
unsigned short CBOH2LittleEndian21::fromIntern(unsigned short unit) const {
  return unit;
}
unsigned long CBOH2LittleEndian21::toIntern(unsigned long unit) const {
  return unit;
}
unsigned long CBOH2LittleEndian21::fromIntern(unsigned long unit) const {
  return unit;
}

CBOH* CBOH2BigEndian12::clone() const {
  return new CBOH2BigEndian12(*this);
}
unsigned short CBOH2BigEndian12::toIntern(unsigned short unit) const {
  return swapBytes(unit);
}
unsigned short CBOH2BigEndian12::fromIntern(unsigned short unit) const {
  return swapBytes(unit);
}
unsigned long CBOH2BigEndian12::toIntern(unsigned long unit) const {
  return reorderLow32<swapBytesWithinHalves>(unit);
}
unsigned long CBOH2BigEndian12::fromIntern(unsigned long unit) const {
  return reorderLow32<swapBytesWithinHalves>(unit);
}

CBOH* CBOH4LittleEndian4321::clone() const {
  return new CBOH4LittleEndian4321(*this);
}
unsigned short CBOH4LittleEndian4321::toIntern(unsigned short unit) const {
  return unit;
}
unsigned short CBOH4LittleEndian4321::fromIntern(unsigned short unit) const {
  return unit;
}
unsigned long CBOH4LittleEndian4321::toIntern(unsigned long unit) const {
  return unit;
}
unsigned long CBOH4LittleEndian4321::fromIntern(unsigned long unit) const {
  return unit;
}

CBOH* CBOH4BigEndian1234::clone() const {
  return new CBOH4BigEndian1234(*this);
}
unsigned short CBOH4BigEndian1234::toIntern(unsigned short unit) const {
  return swapBytes(unit);
}
unsigned short CBOH4BigEndian1234::fromIntern(unsigned short unit) const {
  return swapBytes(unit);
}
unsigned long CBOH4BigEndian1234::toIntern(unsigned long unit) const {
  return reorderLow32<reverseBytes>(unit);
}
unsigned long CBOH4BigEndian1234::fromIntern(unsigned long unit) const {
  return reorderLow32<reverseBytes>(unit);
}

CBOH* CBOH4Unusual2143::clone() const {
  return new CBOH4Unusual2143(*this);
}
unsigned short CBOH4Unusual2143::toIntern(unsigned short unit) const {
  return swapBytes(unit);
}
unsigned short CBOH4Unusual2143::fromIntern(unsigned short unit) const {
  return swapBytes(unit);
}
unsigned long CBOH4Unusual2143::toIntern(unsigned long unit) const {
  return reorderLow32<swapBytesWithinHalves>(unit);
}
unsigned long CBOH4Unusual2143::fromIntern(unsigned long unit) const {
  return reorderLow32<swapBytesWithinHalves>(unit);
}

CBOH* CBOH4Unusual3412::clone() const {
  return new CBOH4Unusual3412(*this);
}
unsigned short CBOH4Unusual3412::toIntern(unsigned short unit) const {
  return unit;
}
unsigned short CBOH4Unusual3412::fromIntern(unsigned short unit) const {
  return unit;
}
unsigned long CBOH4Unusual3412::toIntern(unsigned long unit) const {
  return reorderLow32<swapHalves>(unit);
}
unsigned long CBOH4Unusual3412::fromIntern(unsigned long unit) const {
  return reorderLow32<swapHalves>(unit);
}

COwnedBOH::COwnedBOH(COwnedBOH const& source)
    : helper(source.helper ? source.helper->clone() : nullptr) {}

COwnedBOH::~COwnedBOH() {
  delete helper;
}

template <class Helper>
unsigned char COwnedBOH::replace() noexcept {
  delete helper;
  helper = nullptr;
  try {
    helper = new Helper();
  } catch (std::bad_alloc const&) {
    return 0;
  }
  return 1;
}

// ---------------------------------------------------------------------------------------
// CEncodingHandler

void* CEncodingHandler::_queryInterface(unsigned int) {
  return nullptr;
}

unsigned int CEncodingHandler::_queryClass() const {
  return idUnknown;
}

// ---------------------------------------------------------------------------------------
// UTF-8

namespace {

constexpr unsigned char trailingBytesOf(unsigned int first) {
  if (first < 0xC0) return 0;
  if (first < 0xE0) return 1;
  if (first < 0xF0) return 2;
  if (first < 0xF8) return 3;
  if (first < 0xFC) return 4;
  return 5;
}

struct TrailingBytes {
  unsigned char count[256];
};

constexpr TrailingBytes makeTrailingBytes() {
  TrailingBytes table{};
  for (unsigned int first = 0; first < 256; ++first) table.count[first] = trailingBytesOf(first);
  return table;
}

// Trailing bytes by the first byte of a sequence. Continuation bytes and the lead bytes of the
// long forms are taken as they come: the decoder validates nothing.
constexpr TrailingBytes c_trailingBytes = makeTrailingBytes();

// What the marks of the lead and trailing bytes add to a sequence's sum, by trailing count.
constexpr std::uint32_t c_utf8Offsets[6] = {0x00000000UL, 0x00003080UL, 0x000E2080UL,
                                            0x03C82080UL, 0xFA082080UL, 0x82082080UL};

// The mark of the first byte, by sequence length.
constexpr unsigned char c_firstByteMark[7] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

}  // namespace

unsigned char CEncodingHandlerUTF8::capable(MarlEncoding const& encoding) {
  return toLower(encoding._impl()->getCharacterSet()) == L"utf-8";
}

unsigned long CEncodingHandlerUTF8::chunkSize() const {
  return 1;
}

MarlEncodingHandler CEncodingHandlerUTF8::clone(MarlEncoding const&) const {
  return cloneOf(*this);
}

// Overlong forms and encoded surrogates pass: this decoder never reports CONV_ILLEGAL.
// Markup is mostly ASCII: such runs are copied eight at a time, and only longer sequences take
// the arithmetic of UTF-8.
namespace {
void widenAsciiRun(unsigned char const*& s, unsigned char const* sourceEnd, wchar_t*& t,
                   wchar_t const* targetEnd) noexcept {
  constexpr std::uint64_t c_highBits = 0x8080808080808080u;
  std::size_t room = std::min(static_cast<std::size_t>(sourceEnd - s),
                              static_cast<std::size_t>(targetEnd - t));
  while (room >= 8) {
    std::uint64_t block;
    std::memcpy(&block, s, sizeof block);
    if (block & c_highBits) break;
    for (int index = 0; index < 8; ++index) t[index] = static_cast<wchar_t>(s[index]);
    s += 8;
    t += 8;
    room -= 8;
  }
  while (room > 0 && *s < 0x80) {
    *t++ = static_cast<wchar_t>(*s++);
    --room;
  }
}

// The way back: runs of ASCII, most of any markup, need no sequence arithmetic.
void narrowAsciiRun(wchar_t const*& s, wchar_t const* sourceEnd, unsigned char*& t,
                    unsigned char const* targetEnd) noexcept {
  std::size_t room = std::min(static_cast<std::size_t>(sourceEnd - s),
                              static_cast<std::size_t>(targetEnd - t));
  while (room >= 8) {
    std::uint32_t any = 0;
    for (int index = 0; index < 8; ++index) any |= static_cast<std::uint32_t>(s[index]);
    if (any >= 0x80) break;
    for (int index = 0; index < 8; ++index) t[index] = static_cast<unsigned char>(s[index]);
    s += 8;
    t += 8;
    room -= 8;
  }
  while (room > 0 && static_cast<std::uint32_t>(*s) < 0x80) {
    *t++ = static_cast<unsigned char>(*s++);
    --room;
  }
}

}  // namespace

int CEncodingHandlerUTF8::convertToUCS2(unsigned char const** source,
                                        unsigned char const* sourceEnd, wchar_t** target,
                                        wchar_t const* targetEnd) {
  unsigned char const* s = *source;
  wchar_t* t = *target;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (*s < 0x80) {
      widenAsciiRun(s, sourceEnd, t, targetEnd);
      if (s == sourceEnd) break;
    }
    unsigned int trailing = c_trailingBytes.count[*s];
    if (trailing >= static_cast<std::size_t>(sourceEnd - s)) {
      status = CONV_SRC_EXHAUSTED;
      break;
    }
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    unsigned char const* sequence = s;
    std::uint32_t value = 0;
    for (unsigned int left = trailing; left > 0; --left) {
      value += *s++;
      value <<= 6;
    }
    value += *s++;
    value -= c_utf8Offsets[trailing];
    if (value < 0x10000) {
      *t++ = static_cast<wchar_t>(value);
    } else if (value <= 0x7FFFFFFF) {
      if (targetEnd - t < 2) {
        s = sequence;
        status = CONV_TGT_FULL;
        break;
      }
      *t++ = codeUnit(((value - 0x10000) >> 10) + 0xD800);
      *t++ = codeUnit((value & 1023) + 0xDC00);
    } else {
      *t++ = 0xFFFD;
    }
  }
  *source = s;
  *target = t;
  return status;
}

// A surrogate pair combines only when both halves lie in this source; a lone surrogate is
// written as it is.
int CEncodingHandlerUTF8::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                          unsigned char** target, unsigned char const* targetEnd) {
  wchar_t const* s = *source;
  unsigned char* t = *target;
  int status = CONV_OK;
  while (s < sourceEnd) {
    narrowAsciiRun(s, sourceEnd, t, targetEnd);
    if (s == sourceEnd) break;
    wchar_t const* character = s;
    std::uint32_t value = static_cast<std::uint32_t>(*s++);
    if (isHighSurrogate(value) && s < sourceEnd) {
      std::uint32_t low = static_cast<std::uint32_t>(*s);
      if (isLowSurrogate(low)) {
        value = ((value - 0xD800) << 10) + (low - 0xDC00) + 0x10000;
        ++s;
      }
    }
    long length;
    if (value <= 0x7F) {
      length = 1;
    } else if (value <= 0x7FF) {
      length = 2;
    } else if (value <= 0xFFFF) {
      length = 3;
    } else if (value <= 0x1FFFFF) {
      length = 4;
    } else if (value <= 0x3FFFFFF) {
      length = 5;
    } else if (value <= 0x7FFFFFFF) {
      length = 6;
    } else {
      // The replacement character in a two-byte form: its high bits fall off the lead byte.
      length = 2;
      value = 0xFFFD;
    }
    if (targetEnd - t < length) {
      s = character;
      status = CONV_TGT_FULL;
      break;
    }
    for (long index = length - 1; index > 0; --index) {
      t[index] = static_cast<unsigned char>((value | 0x80) & 0xBF);
      value >>= 6;
    }
    t[0] = static_cast<unsigned char>(value | c_firstByteMark[length]);
    t += length;
  }
  *source = s;
  *target = t;
  return status;
}

unsigned char CEncodingHandlerUTF8::setByteOrder(MarlEncoding::ByteOrder) {
  return 1;
}

// ---------------------------------------------------------------------------------------
// What UTF-16, UCS-2 and UCS-4 share

namespace {

// A plain name of the form takes the encoding's byte order, the same name followed by "be" or
// "le" fixes one. The handler's own setByteOrder decides whether it can serve the order.
unsigned char capableOfByteOrderedForm(CEncodingHandler& handler, MarlEncoding const& encoding,
                                       std::initializer_list<wchar_t const*> plainNames) {
  std::wstring const name = toLower(encoding._impl()->getCharacterSet());
  for (wchar_t const* plainName : plainNames) {
    if (!startsWith(name, plainName)) continue;
    std::wstring const suffix = name.substr(std::wcslen(plainName));
    if (suffix.empty()) return handler.setByteOrder(encoding._impl()->getByteOrder());
    if (suffix == L"be") return handler.setByteOrder(MarlEncoding::BYTEORDER_BE);
    if (suffix == L"le") return handler.setByteOrder(MarlEncoding::BYTEORDER_LE);
  }
  return 0;
}

// Little and big endian are the orders every multi-byte form serves; any other is refused.
template <class LittleEndian, class BigEndian>
unsigned char replaceForEndianness(COwnedBOH& helper, MarlEncoding::ByteOrder order) noexcept {
  switch (order) {
    case MarlEncoding::BYTEORDER_LE:
      return helper.replace<LittleEndian>();
    case MarlEncoding::BYTEORDER_BE:
      return helper.replace<BigEndian>();
    default:
      return 0;
  }
}

// A handler that lost its byte order helper serves nothing, so neither may a copy of it.
template <class Handler>
MarlEncodingHandler cloneOfByteOrdered(Handler const& source) {
  if (!source.byteOrderHelper()) return MarlEncodingHandler();
  return cloneOf(source);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// UTF-16

CEncodingHandlerUTF16::CEncodingHandlerUTF16() : helper(new CBOH2LittleEndian21()) {}

unsigned char CEncodingHandlerUTF16::capable(MarlEncoding const& encoding) {
  return capableOfByteOrderedForm(*this, encoding, {L"utf-16"});
}

unsigned long CEncodingHandlerUTF16::chunkSize() const {
  return 2;
}

MarlEncodingHandler CEncodingHandlerUTF16::clone(MarlEncoding const&) const {
  return cloneOfByteOrdered(*this);
}

// Characters beyond the Basic Multilingual Plane are refused here, unlike in UTF-8: a pair is
// taken as one character and ends the conversion. A lone surrogate passes as it is.
int CEncodingHandlerUTF16::convertToUCS2(unsigned char const** source,
                                         unsigned char const* sourceEnd, wchar_t** target,
                                         wchar_t const* targetEnd) {
  unsigned char const* s = *source;
  wchar_t* t = *target;
  if ((sourceEnd - s) % 2 != 0) return CONV_SRC_EXHAUSTED;
  CBOH const* order = helper.get();
  if (!order) return CONV_INTERNAL_ERROR;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    unsigned short unit = order->toIntern(readUnit16(s));
    if (isHighSurrogate(unit) && sourceEnd - s >= 4 &&
        isLowSurrogate(order->toIntern(readUnit16(s + 2)))) {
      s += 4;
      status = CONV_ILLEGAL;
      break;
    }
    *t++ = static_cast<wchar_t>(unit);
    s += 2;
  }
  *source = s;
  *target = t;
  return status;
}

int CEncodingHandlerUTF16::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                           unsigned char** target, unsigned char const* targetEnd) {
  wchar_t const* s = *source;
  unsigned char* t = *target;
  if ((targetEnd - t) % 2 != 0) return CONV_TGT_FULL;
  CBOH const* order = helper.get();
  if (!order) return CONV_INTERNAL_ERROR;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    std::uint32_t value = static_cast<std::uint32_t>(*s);
    if (value < 0x10000) {
      writeUnit16(t, order->fromIntern(static_cast<unsigned short>(value)));
      t += 2;
    } else if (value < 0x110000) {
      if (targetEnd - t < 4) {
        status = CONV_TGT_FULL;
        break;
      }
      value -= 0x10000;
      writeUnit16(t, order->fromIntern(static_cast<unsigned short>((value >> 10) + 0xD800)));
      writeUnit16(t + 2, order->fromIntern(static_cast<unsigned short>((value & 0x3FF) + 0xDC00)));
      t += 4;
    } else {
      writeUnit16(t, order->fromIntern(static_cast<unsigned short>(0xFFFD)));
      t += 2;
    }
    ++s;
  }
  *source = s;
  *target = t;
  return status;
}

unsigned char CEncodingHandlerUTF16::setByteOrder(MarlEncoding::ByteOrder order) {
  return replaceForEndianness<CBOH2LittleEndian21, CBOH2BigEndian12>(helper, order);
}

// ---------------------------------------------------------------------------------------
// UCS-2

CEncodingHandlerUCS2::CEncodingHandlerUCS2() : helper(new CBOH2LittleEndian21()) {}

unsigned char CEncodingHandlerUCS2::capable(MarlEncoding const& encoding) {
  return capableOfByteOrderedForm(*this, encoding, {L"ucs-2", L"iso-10646-ucs-2"});
}

unsigned long CEncodingHandlerUCS2::chunkSize() const {
  return 2;
}

MarlEncodingHandler CEncodingHandlerUCS2::clone(MarlEncoding const&) const {
  return cloneOfByteOrdered(*this);
}

// The outer form is a whole number of two-byte units held in wchar_t cells, each unit at the
// start of its cell. A cell that is not whole yet waits for more bytes.
int CEncodingHandlerUCS2::convertToUCS2(unsigned char const** source,
                                        unsigned char const* sourceEnd, wchar_t** target,
                                        wchar_t const* targetEnd) {
  unsigned char const* s = *source;
  wchar_t* t = *target;
  if ((sourceEnd - s) % 2 != 0) return CONV_SRC_EXHAUSTED;
  CBOH const* order = helper.get();
  if (!order) return CONV_INTERNAL_ERROR;
  int status = CONV_OK;
  while (s != sourceEnd && t != targetEnd) {
    if (sourceEnd - s < c_cellSize) {
      status = CONV_SRC_EXHAUSTED;
      break;
    }
    *t++ = static_cast<wchar_t>(order->toIntern(readUnit16(s)));
    s += c_cellSize;
  }
  if (status == CONV_OK && s != sourceEnd) status = CONV_TGT_FULL;
  *source = s;
  *target = t;
  return status;
}

// Elements are taken as 16-bit units and stored in whole cells; a target too short for the next
// cell counts as full.
int CEncodingHandlerUCS2::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                          unsigned char** target, unsigned char const* targetEnd) {
  wchar_t const* s = *source;
  unsigned char* t = *target;
  if ((targetEnd - t) % 2 != 0) return CONV_TGT_FULL;
  CBOH const* order = helper.get();
  if (!order) return CONV_INTERNAL_ERROR;
  int status = CONV_OK;
  while (s != sourceEnd && t != targetEnd) {
    if (targetEnd - t < c_cellSize) {
      status = CONV_TGT_FULL;
      break;
    }
    writeCell(t, order->fromIntern(static_cast<unsigned short>(*s)), c_cellSize);
    t += c_cellSize;
    ++s;
  }
  if (status == CONV_OK && s != sourceEnd) status = CONV_TGT_FULL;
  *source = s;
  *target = t;
  return status;
}

unsigned char CEncodingHandlerUCS2::setByteOrder(MarlEncoding::ByteOrder order) {
  return replaceForEndianness<CBOH2LittleEndian21, CBOH2BigEndian12>(helper, order);
}

// ---------------------------------------------------------------------------------------
// UCS-4

CEncodingHandlerUCS4::CEncodingHandlerUCS4() : helper(new CBOH4LittleEndian4321()) {}

unsigned char CEncodingHandlerUCS4::capable(MarlEncoding const& encoding) {
  return capableOfByteOrderedForm(*this, encoding, {L"ucs-4", L"iso-10646-ucs-4"});
}

unsigned long CEncodingHandlerUCS4::chunkSize() const {
  return 4;
}

MarlEncodingHandler CEncodingHandlerUCS4::clone(MarlEncoding const&) const {
  return cloneOfByteOrdered(*this);
}

// The outer form is a whole number of four-byte units held in unsigned long cells. Only
// characters of the Basic Multilingual Plane are taken.
int CEncodingHandlerUCS4::convertToUCS2(unsigned char const** source,
                                        unsigned char const* sourceEnd, wchar_t** target,
                                        wchar_t const* targetEnd) {
  unsigned char const* s = *source;
  wchar_t* t = *target;
  if ((sourceEnd - s) % 4 != 0) return CONV_SRC_EXHAUSTED;
  CBOH const* order = helper.get();
  if (!order) return CONV_INTERNAL_ERROR;
  int status = CONV_OK;
  while (s != sourceEnd && t != targetEnd) {
    if (sourceEnd - s < c_cellSize) {
      status = CONV_SRC_EXHAUSTED;
      break;
    }
    unsigned long value = order->toIntern(readCell(s, c_cellSize));
    if (value > 0xFFFF) {
      status = CONV_ILLEGAL;
      break;
    }
    *t++ = static_cast<wchar_t>(value);
    s += c_cellSize;
  }
  if (status == CONV_OK && s != sourceEnd) status = CONV_TGT_FULL;
  *source = s;
  *target = t;
  return status;
}

// Each element is widened with its sign to a whole cell.
int CEncodingHandlerUCS4::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                          unsigned char** target, unsigned char const* targetEnd) {
  wchar_t const* s = *source;
  unsigned char* t = *target;
  if ((targetEnd - t) % 4 != 0) return CONV_TGT_FULL;
  CBOH const* order = helper.get();
  if (!order) return CONV_INTERNAL_ERROR;
  int status = CONV_OK;
  while (s != sourceEnd && t != targetEnd) {
    if (targetEnd - t < c_cellSize) {
      status = CONV_TGT_FULL;
      break;
    }
    unsigned long cell = static_cast<unsigned long>(static_cast<long>(*s));
    writeCell(t, order->fromIntern(cell), c_cellSize);
    t += c_cellSize;
    ++s;
  }
  if (status == CONV_OK && s != sourceEnd) status = CONV_TGT_FULL;
  *source = s;
  *target = t;
  return status;
}

unsigned char CEncodingHandlerUCS4::setByteOrder(MarlEncoding::ByteOrder order) {
  if (order == MarlEncoding::BYTEORDER_2143) return helper.replace<CBOH4Unusual2143>();
  if (order == MarlEncoding::BYTEORDER_3412) return helper.replace<CBOH4Unusual3412>();
  return replaceForEndianness<CBOH4LittleEndian4321, CBOH4BigEndian1234>(helper, order);
}

// ---------------------------------------------------------------------------------------
// US-ASCII

// Only the spelling "usascii" reaches this handler; "us-ascii" goes to the catch-all.
unsigned char CEncodingHandlerUSASCII::capable(MarlEncoding const& encoding) {
  return toLower(encoding._impl()->getCharacterSet()) == L"usascii";
}

unsigned long CEncodingHandlerUSASCII::chunkSize() const {
  return 1;
}

MarlEncodingHandler CEncodingHandlerUSASCII::clone(MarlEncoding const&) const {
  return cloneOf(*this);
}

int CEncodingHandlerUSASCII::convertToUCS2(unsigned char const** source,
                                           unsigned char const* sourceEnd, wchar_t** target,
                                           wchar_t const* targetEnd) {
  unsigned char const* s = *source;
  wchar_t* t = *target;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    if (*s & 0x80) {
      status = CONV_ILLEGAL;
      break;
    }
    *t++ = static_cast<wchar_t>(*s++);
  }
  *source = s;
  *target = t;
  return status;
}

int CEncodingHandlerUSASCII::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                             unsigned char** target,
                                             unsigned char const* targetEnd) {
  wchar_t const* s = *source;
  unsigned char* t = *target;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    if (static_cast<std::uint32_t>(*s) > 0x7F) {
      status = CONV_ILLEGAL;
      break;
    }
    *t++ = static_cast<unsigned char>(*s++);
  }
  *source = s;
  *target = t;
  return status;
}

unsigned char CEncodingHandlerUSASCII::setByteOrder(MarlEncoding::ByteOrder) {
  return 1;
}

// ---------------------------------------------------------------------------------------
// ISO 8859

namespace {

#include "text/xmxxu_enco_iso8859.inc"

// The characters of a part that have a byte from 0xA0 up, sorted by character. Bytes below
// 0xA0 stand for themselves and need no entry; so does 0x7F, the mark of an unassigned byte.
struct Iso8859InverseMap {
  CIso8859Inverse entries[96];
  std::size_t count;
};

constexpr Iso8859InverseMap makeInverse(std::uint32_t const (&forward)[96]) {
  Iso8859InverseMap map{};
  for (std::size_t index = 0; index < 96; ++index) {
    std::uint32_t character = forward[index];
    if (character < 0xA0) continue;
    // Evaluated at compile time: a table that breaks these rules does not build.
    if (character > 0xFFFF) throw "an ISO 8859 character lies beyond the 16-bit range";
    std::size_t slot = map.count++;
    while (slot > 0 && map.entries[slot - 1].character >= character) {
      if (map.entries[slot - 1].character == character) throw "an ISO 8859 character has two bytes";
      map.entries[slot] = map.entries[slot - 1];
      --slot;
    }
    map.entries[slot] = CIso8859Inverse{static_cast<std::uint16_t>(character),
                                        static_cast<std::uint8_t>(0xA0 + index)};
  }
  return map;
}

constexpr Iso8859InverseMap c_itbl_1 = makeInverse(c_ftbl_1);
constexpr Iso8859InverseMap c_itbl_2 = makeInverse(c_ftbl_2);
constexpr Iso8859InverseMap c_itbl_3 = makeInverse(c_ftbl_3);
constexpr Iso8859InverseMap c_itbl_4 = makeInverse(c_ftbl_4);
constexpr Iso8859InverseMap c_itbl_5 = makeInverse(c_ftbl_5);
constexpr Iso8859InverseMap c_itbl_6 = makeInverse(c_ftbl_6);
constexpr Iso8859InverseMap c_itbl_7 = makeInverse(c_ftbl_7);
constexpr Iso8859InverseMap c_itbl_8 = makeInverse(c_ftbl_8);
constexpr Iso8859InverseMap c_itbl_9 = makeInverse(c_ftbl_9);
constexpr Iso8859InverseMap c_itbl_10 = makeInverse(c_ftbl_10);
constexpr Iso8859InverseMap c_itbl_11 = makeInverse(c_ftbl_11);
constexpr Iso8859InverseMap c_itbl_13 = makeInverse(c_ftbl_13);
constexpr Iso8859InverseMap c_itbl_14 = makeInverse(c_ftbl_14);
constexpr Iso8859InverseMap c_itbl_15 = makeInverse(c_ftbl_15);

struct Iso8859Part {
  std::uint32_t const* forward;
  Iso8859InverseMap const* inverse;
};

// By part number; there is no part 12.
constexpr Iso8859Part c_iso8859Parts[16] = {
    {nullptr, nullptr},      {c_ftbl_1, &c_itbl_1},   {c_ftbl_2, &c_itbl_2},
    {c_ftbl_3, &c_itbl_3},   {c_ftbl_4, &c_itbl_4},   {c_ftbl_5, &c_itbl_5},
    {c_ftbl_6, &c_itbl_6},   {c_ftbl_7, &c_itbl_7},   {c_ftbl_8, &c_itbl_8},
    {c_ftbl_9, &c_itbl_9},   {c_ftbl_10, &c_itbl_10}, {c_ftbl_11, &c_itbl_11},
    {nullptr, nullptr},      {c_ftbl_13, &c_itbl_13}, {c_ftbl_14, &c_itbl_14},
    {c_ftbl_15, &c_itbl_15},
};

struct Iso8859Name {
  wchar_t const* name;
  int part;
};

// In the order of comparison: the standard names, then the aliases.
constexpr Iso8859Name c_iso8859Names[] = {
    {L"iso-8859-1", 1},   {L"iso-8859-2", 2},   {L"iso-8859-3", 3},   {L"iso-8859-4", 4},
    {L"iso-8859-5", 5},   {L"iso-8859-6", 6},   {L"iso-8859-7", 7},   {L"iso-8859-8", 8},
    {L"iso-8859-9", 9},   {L"iso-8859-10", 10}, {L"iso-8859-11", 11}, {L"iso-8859-13", 13},
    {L"iso-8859-14", 14}, {L"iso-8859-15", 15}, {L"latin1", 1},       {L"latin2", 2},
    {L"latin3", 3},       {L"latin4", 4},       {L"cyrillic", 5},     {L"arabic", 6},
    {L"greek", 7},        {L"hebrew", 8},       {L"latin5", 9},       {L"latin6", 10},
    {L"thai", 11},        {L"latin7", 13},      {L"latin8", 14},      {L"latin9", 15},
};

constexpr std::uint32_t c_firstTableByte = 0xA0;

}  // namespace

int CEncodingHandlerISO8859::partOf(std::wstring const& lowerName) noexcept {
  for (Iso8859Name const& entry : c_iso8859Names)
    if (lowerName == entry.name) return entry.part;
  return 0;
}

std::uint32_t const* CEncodingHandlerISO8859::forwardTableOf(int part) noexcept {
  return part > 0 && part < 16 ? c_iso8859Parts[part].forward : nullptr;
}

unsigned char CEncodingHandlerISO8859::capable(MarlEncoding const& encoding) {
  return partOf(toLower(encoding._impl()->getCharacterSet())) != 0;
}

unsigned long CEncodingHandlerISO8859::chunkSize() const {
  return 1;
}

MarlEncodingHandler CEncodingHandlerISO8859::clone(MarlEncoding const& encoding) const {
  try {
    int part = partOf(toLower(encoding._impl()->getCharacterSet()));
    if (part == 0) return MarlEncodingHandler();
    CEncodingHandlerISO8859* copy = new CEncodingHandlerISO8859(*this);
    Iso8859Part const& tables = c_iso8859Parts[part];
    copy->forward = tables.forward;
    copy->inverse = tables.inverse->entries;
    copy->inverseEnd = tables.inverse->entries + tables.inverse->count;
    return MarlEncodingHandler(copy);
  } catch (std::bad_alloc const&) {
    return MarlEncodingHandler();
  }
}

// Never fails: an unassigned byte reads as 0x7F.
int CEncodingHandlerISO8859::convertToUCS2(unsigned char const** source,
                                           unsigned char const* sourceEnd, wchar_t** target,
                                           wchar_t const* targetEnd) {
  if (!forward) return CONV_INTERNAL_ERROR;
  unsigned char const* s = *source;
  wchar_t* t = *target;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    unsigned char byte = *s++;
    *t++ = static_cast<wchar_t>(byte < c_firstTableByte ? byte : forward[byte - c_firstTableByte]);
  }
  *source = s;
  *target = t;
  return status;
}

// A character without a byte ends the call with both cursors where they were when it began:
// everything this call wrote counts as unconverted.
int CEncodingHandlerISO8859::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                             unsigned char** target,
                                             unsigned char const* targetEnd) {
  if (!forward) return CONV_INTERNAL_ERROR;
  wchar_t const* s = *source;
  unsigned char* t = *target;
  int status = CONV_OK;
  while (s < sourceEnd) {
    if (t >= targetEnd) {
      status = CONV_TGT_FULL;
      break;
    }
    std::uint32_t character = static_cast<std::uint32_t>(*s);
    if (character < c_firstTableByte) {
      *t = static_cast<unsigned char>(character);
    } else {
      CIso8859Inverse const* found = std::lower_bound(
          inverse, inverseEnd, character, [](CIso8859Inverse const& entry, std::uint32_t wanted) {
            return entry.character < wanted;
          });
      if (found == inverseEnd || found->character != character) return CONV_ILLEGAL;
      *t = found->byte;
    }
    ++t;
    ++s;
  }
  *source = s;
  *target = t;
  return status;
}

unsigned char CEncodingHandlerISO8859::setByteOrder(MarlEncoding::ByteOrder) {
  return 1;
}

// ---------------------------------------------------------------------------------------
// Host code pages

namespace {

// The host code page whose four characters begin `digits`; false when there are fewer.
bool codePageFromDigits(wchar_t const* digits, TOVACodePage& codePage) {
  for (int index = 0; index < 4; ++index) {
    if (digits[index] == L'\0') return false;
    codePage.digits[index] = static_cast<char>(digits[index]);
  }
  return true;
}

// The host code page of a lower-case name: the digits behind "orv" or "x-orv", the host's own
// answer, or the first row of the code-page table with that charset name.
bool hostCodePageOf(std::wstring const& lowerName, TOVACodePage& codePage) {
  if (startsWith(lowerName, L"orv")) return codePageFromDigits(lowerName.c_str() + 3, codePage);
  if (startsWith(lowerName, L"x-orv")) return codePageFromDigits(lowerName.c_str() + 5, codePage);
  if (TOVAConvertCpNameToOrvCp(MBString(lowerName).c_str(), &codePage)) return true;
  CMarlEncoding::CodePageRow const* row = CMarlEncoding::findCharsetRow(lowerName);
  return row && codePageFromDigits(row->orv + 3, codePage);
}

bool knownToHost(std::wstring const& lowerName) {
  if (startsWith(lowerName, L"orv") || startsWith(lowerName, L"x-orv")) return true;
  TOVACodePage codePage;
  if (TOVAConvertCpNameToOrvCp(MBString(lowerName).c_str(), &codePage)) return true;
  return CMarlEncoding::findCharsetRow(lowerName) != nullptr;
}

std::string codePageText(TOVACodePage const& codePage) {
  return std::string(codePage.digits, sizeof codePage.digits);
}

// A host converter from one code page to another; null, after a trace, when the host refuses.
void* openHostConverter(TOVACodePage const& from, TOVACodePage const& to, int blockMode) {
  void* converter = rollAreaAllocate(TOVASizeOfConverter());
  int rc = TOVAInitConverter(converter, &from, &to, blockMode);
  if (rc == 0) return converter;
  MARL_TRACE(traceError, "marl conv init failed. rc=%i from=%s to=%s", rc,
             codePageText(from).c_str(), codePageText(to).c_str());
  TOVAShutdownConverter(converter);
  RollAreaUnregisteredFree(converter);
  return nullptr;
}

void closeHostConverter(void*& converter) noexcept {
  if (!converter) return;
  TOVAShutdownConverter(converter);
  RollAreaUnregisteredFree(converter);
  converter = nullptr;
}

constexpr int c_singleMode = 0;
constexpr int c_blockMode = 1;

}  // namespace

CEncodingHandlerORV::CEncodingHandlerORV(CEncodingHandlerORV const& source)
    : CEncodingHandler(source) {}

CEncodingHandlerORV::~CEncodingHandlerORV() {
  closeHostConverter(toInternal);
  closeHostConverter(fromInternal);
}

unsigned char CEncodingHandlerORV::capable(MarlEncoding const& encoding) {
  return knownToHost(toLower(encoding._impl()->getCharacterSet()));
}

unsigned long CEncodingHandlerORV::chunkSize() const {
  return 1;
}

MarlEncodingHandler CEncodingHandlerORV::clone(MarlEncoding const& encoding) const {
  try {
    CEncodingHandlerORV* copy = new CEncodingHandlerORV(*this);
    // From here on the handle owns the copy: every early return frees it and its converters.
    MarlEncodingHandler result(copy);
    std::wstring name = toLower(encoding._impl()->getCharacterSet());
    TOVACodePage codePage;
    if (!hostCodePageOf(name, codePage)) return MarlEncodingHandler();
    TOVACodePage const internal = {{'4', '1', '1', '0'}};
    copy->toInternal = openHostConverter(codePage, internal, c_singleMode);
    if (!copy->toInternal) return MarlEncodingHandler();
    copy->fromInternal = openHostConverter(internal, codePage, c_singleMode);
    if (!copy->fromInternal) return MarlEncodingHandler();
    return result;
  } catch (std::bad_alloc const&) {
    return MarlEncodingHandler();
  }
}

int CEncodingHandlerORV::convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd,
                                       wchar_t** target, wchar_t const* targetEnd) {
  int rc = TOVAConvertORVCPToUCS2(toInternal, source, sourceEnd, target, targetEnd);
  if (rc >= CONV_ILLEGAL) MARL_TRACE(traceError, "marl orvcp to ucs2 failed. rc=%i", rc);
  return rc;
}

int CEncodingHandlerORV::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                         unsigned char** target, unsigned char const* targetEnd) {
  int rc = TOVAConvertUCS2ToORVCP(fromInternal, source, sourceEnd, target, targetEnd);
  if (rc >= CONV_ILLEGAL) MARL_TRACE(traceError, "marl ucs2 to orvcp failed. rc=%i", rc);
  return rc;
}

unsigned char CEncodingHandlerORV::setByteOrder(MarlEncoding::ByteOrder) {
  return 1;
}

CEncodingHandlerORV_Block::CEncodingHandlerORV_Block(CEncodingHandlerORV_Block const& source)
    : CEncodingHandler(source), byteOrder(source.byteOrder) {}

CEncodingHandlerORV_Block::~CEncodingHandlerORV_Block() {
  closeHostConverter(toInternal);
  closeHostConverter(fromInternal);
}

unsigned char CEncodingHandlerORV_Block::capable(MarlEncoding const& encoding) {
  std::wstring name = toLower(encoding._impl()->getCharacterSet());
  return name == L"ucs-2" || name == L"ucs-4" || name == L"utf-16" || knownToHost(name);
}

unsigned long CEncodingHandlerORV_Block::chunkSize() const {
  return 1;
}

// The Unicode forms without an order in their name take the encoding's order; "orv*" and
// "orv-" stand for the host's current code page.
MarlEncodingHandler CEncodingHandlerORV_Block::clone(MarlEncoding const& encoding) const {
  try {
    CEncodingHandlerORV_Block* copy = new CEncodingHandlerORV_Block(*this);
    // From here on the handle owns the copy: every early return frees it and its converters.
    MarlEncodingHandler result(copy);
    std::wstring name = toLower(encoding._impl()->getCharacterSet());
    copy->byteOrder = encoding._impl()->getByteOrder();
    TOVACodePage codePage;
    if (name == L"orv*" || name == L"orv-") {
      TOVAConvertGetCurrentCodePage(&codePage);
    } else {
      if (name == L"ucs-2" || name == L"ucs-4" || name == L"utf-16")
        name += copy->byteOrder == MarlEncoding::BYTEORDER_LE ? L"le" : L"be";
      if (!hostCodePageOf(name, codePage)) return MarlEncodingHandler();
    }
    TOVACodePage internal;
    TOVAConvertGetInternalCodePage(&internal);
    copy->toInternal = openHostConverter(codePage, internal, c_blockMode);
    if (!copy->toInternal) return MarlEncodingHandler();
    copy->fromInternal = openHostConverter(internal, codePage, c_blockMode);
    if (!copy->fromInternal) return MarlEncodingHandler();
    return result;
  } catch (std::bad_alloc const&) {
    return MarlEncodingHandler();
  }
}

int CEncodingHandlerORV_Block::convertToUCS2(unsigned char const** source,
                                             unsigned char const* sourceEnd, wchar_t** target,
                                             wchar_t const* targetEnd) {
  int rc = TOVAConvertBufferORVCPtoUCS2(toInternal, source, sourceEnd, target, targetEnd);
  if (rc >= CONV_ILLEGAL)
    MARL_TRACE(traceError, "marl ORV_CP -> UCS2 conversion failed. rc=%i", rc);
  return rc;
}

int CEncodingHandlerORV_Block::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                               unsigned char** target,
                                               unsigned char const* targetEnd) {
  int rc = TOVAConvertBufferUCS2toORVCP(fromInternal, source, sourceEnd, target, targetEnd);
  if (rc >= CONV_ILLEGAL)
    MARL_TRACE(traceError, "marl UCS2 -> ORV_CP conversion failed. rc=%i", rc);
  return rc;
}

unsigned char CEncodingHandlerORV_Block::setByteOrder(MarlEncoding::ByteOrder order) {
  byteOrder = order;
  return 1;
}

// ---------------------------------------------------------------------------------------
// The catch-all

unsigned char CEncodingHandlerUnsupported::capable(MarlEncoding const&) {
  return 1;
}

MarlEncodingHandler CEncodingHandlerUnsupported::clone(MarlEncoding const& encoding) const {
  try {
    MARL_TRACE(traceError, "marl: unsupported encoding %s -> using utf8",
               MBString(encoding._impl()->getCharacterSet()).c_str());
    return MarlEncodingHandler(new CEncodingHandlerUTF8());
  } catch (std::bad_alloc const&) {
    return MarlEncodingHandler();
  }
}

// ---------------------------------------------------------------------------------------
// MarlEncodingHandler

MARL_DEFINE_HANDLE(MarlEncodingHandler, CEncodingHandler, idEncodingHandler)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlEncodingHandler)

unsigned char MarlEncodingHandler::capable(MarlEncoding const& encoding) {
  return m_p->capable(encoding);
}

unsigned long MarlEncodingHandler::chunkSize() const {
  return m_p->chunkSize();
}

MarlEncodingHandler MarlEncodingHandler::clone(MarlEncoding const& encoding) const {
  return m_p->clone(encoding);
}

int MarlEncodingHandler::convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd,
                                       wchar_t** target, wchar_t const* targetEnd) {
  return m_p->convertToUCS2(source, sourceEnd, target, targetEnd);
}

int MarlEncodingHandler::convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                                         unsigned char** target, unsigned char const* targetEnd) {
  return m_p->convertFromUCS2(source, sourceEnd, target, targetEnd);
}

unsigned char MarlEncodingHandler::setByteOrder(MarlEncoding::ByteOrder order) {
  return m_p->setByteOrder(order);
}

// ---------------------------------------------------------------------------------------
// CEncodingFactory

// The order is the order of search; the catch-all comes last.
CEncodingFactory::CEncodingFactory() {
  handlers.reserve(c_reservedPrototypes);
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerUTF8()));
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerUTF16()));
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerUCS2()));
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerUCS4()));
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerISO8859()));
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerUSASCII()));
  handlers.push_back(MarlEncodingHandler(new CEncodingHandlerUnsupported()));
}

MarlEncodingHandler CEncodingFactory::queryHandler(MarlEncoding const& encoding) {
  if (!encoding) return MarlEncodingHandler();
  for (MarlEncodingHandler& prototype : handlers) {
    if (!prototype.capable(encoding)) continue;
    MarlEncodingHandler handler = prototype.clone(encoding);
    if (!handler)
      MARL_TRACE(traceError, "marl encoding handler '%s' clone failed.",
                 MBString(encoding._impl()->getCharacterSet()).c_str());
    return handler;
  }
  return MarlEncodingHandler();
}
