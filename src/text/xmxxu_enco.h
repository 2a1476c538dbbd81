#ifndef MARL_TEXT_XMXXU_ENCO_H
#define MARL_TEXT_XMXXU_ENCO_H

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/xmxxo_unkn.h"
#include "marl/encoding.h"

// ---------------------------------------------------------------------------------------
// Encoding objects

class CMarlEncoding : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  // One row of the code-page names: the host form ("orv" and four digits), the registered
  // private form ("x-orv" and the same digits) and the charset name.
  struct CodePageRow {
    wchar_t const* orv;
    wchar_t const* xorv;
    wchar_t const* charset;
  };
  static constexpr int c_codePageRows = 97;
  // The rows in lookup order, ended by a row of nulls. Names and code pages occur more than
  // once on purpose: a lookup takes the first row that matches.
  static const CodePageRow cp_table[c_codePageRows + 1];

  explicit CMarlEncoding(std::wstring const& characterSet,
                         MarlEncoding::ByteOrder byteOrder = MarlEncoding::BYTEORDER_LE);

  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  std::wstring const& getCharacterSet() const noexcept {
    return characterSet;
  }
  unsigned char setCharacterSet(std::wstring const& name);
  MarlEncoding::ByteOrder getByteOrder() const noexcept {
    return byteOrder;
  }
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) noexcept;
  std::wstring getCharacterSetORV() const;
  std::wstring getCharacterSetHTTP() const;
  int autoDetect(unsigned char const* begin, unsigned char const* end);
  MarlEncoding clone() const;

  // The first row whose charset column holds `lowerName`; null when none does.
  static CodePageRow const* findCharsetRow(std::wstring const& lowerName) noexcept;

 private:
  // The row the name selects: by the column its prefix points to, the first that matches.
  CodePageRow const* findRow(std::wstring const& lowerName) const noexcept;

  std::wstring characterSet;
  MarlEncoding::ByteOrder byteOrder;
};

// ---------------------------------------------------------------------------------------
// Byte order helpers: the order of the bytes within one unit of a multi-byte form, where b0 is
// the lowest byte of the value read. Every operation is its own inverse. A two-byte helper
// reorders a wider unit as two-byte units side by side; a four-byte helper reorders a two-byte
// unit as it reorders the bytes within each half of a four-byte unit, without moving halves.
// Only the low four bytes of a wide unit are reordered: the upper four bytes of an eight-byte
// cell stay where they are.

class CBOH : public AllocPolicyRollArea {
 public:
  virtual CBOH* clone() const = 0;
  virtual unsigned short toIntern(unsigned short unit) const = 0;
  virtual unsigned short fromIntern(unsigned short unit) const = 0;
  virtual unsigned long toIntern(unsigned long unit) const = 0;
  virtual unsigned long fromIntern(unsigned long unit) const = 0;
  virtual ~CBOH() = default;
};

class CBOH2 : public CBOH {};
class CBOH4 : public CBOH {};

class CBOH2LittleEndian21 final : public CBOH2 {
 public:
  CBOH* clone() const override;
  unsigned short toIntern(unsigned short unit) const override;
  unsigned short fromIntern(unsigned short unit) const override;
  unsigned long toIntern(unsigned long unit) const override;
  unsigned long fromIntern(unsigned long unit) const override;
};

class CBOH2BigEndian12 final : public CBOH2 {
 public:
  CBOH* clone() const override;
  unsigned short toIntern(unsigned short unit) const override;
  unsigned short fromIntern(unsigned short unit) const override;
  unsigned long toIntern(unsigned long unit) const override;
  unsigned long fromIntern(unsigned long unit) const override;
};

class CBOH4LittleEndian4321 final : public CBOH4 {
 public:
  CBOH* clone() const override;
  unsigned short toIntern(unsigned short unit) const override;
  unsigned short fromIntern(unsigned short unit) const override;
  unsigned long toIntern(unsigned long unit) const override;
  unsigned long fromIntern(unsigned long unit) const override;
};

class CBOH4BigEndian1234 final : public CBOH4 {
 public:
  CBOH* clone() const override;
  unsigned short toIntern(unsigned short unit) const override;
  unsigned short fromIntern(unsigned short unit) const override;
  unsigned long toIntern(unsigned long unit) const override;
  unsigned long fromIntern(unsigned long unit) const override;
};

class CBOH4Unusual2143 final : public CBOH4 {
 public:
  CBOH* clone() const override;
  unsigned short toIntern(unsigned short unit) const override;
  unsigned short fromIntern(unsigned short unit) const override;
  unsigned long toIntern(unsigned long unit) const override;
  unsigned long fromIntern(unsigned long unit) const override;
};

class CBOH4Unusual3412 final : public CBOH4 {
 public:
  CBOH* clone() const override;
  unsigned short toIntern(unsigned short unit) const override;
  unsigned short fromIntern(unsigned short unit) const override;
  unsigned long toIntern(unsigned long unit) const override;
  unsigned long fromIntern(unsigned long unit) const override;
};

// ---------------------------------------------------------------------------------------
// Encoding handlers

class CEncodingHandler : public CUnknownWithoutStrings, public AllocPolicyRollArea {
 public:
  // Handlers answer no identifier, not even CUnknown's: they reach handles only through the
  // constructor from a raw pointer.
  void* _queryInterface(unsigned int id) override;
  unsigned int _queryClass() const override;

  // Not const: a handler may take the encoding's byte order on.
  virtual unsigned char capable(MarlEncoding const& encoding) = 0;
  virtual unsigned long chunkSize() const = 0;
  virtual MarlEncodingHandler clone(MarlEncoding const& encoding) const = 0;
  virtual int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd,
                            wchar_t** target, wchar_t const* targetEnd) = 0;
  virtual int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd,
                              unsigned char** target, unsigned char const* targetEnd) = 0;
  virtual unsigned char setByteOrder(MarlEncoding::ByteOrder order) = 0;

 protected:
  CEncodingHandler() = default;
  // A copy is a new object: it starts without handles.
  CEncodingHandler(CEncodingHandler const&) : CUnknownWithoutStrings() {}
};

class CEncodingHandlerUTF8 : public CEncodingHandler {
 public:
  CEncodingHandlerUTF8() = default;
  CEncodingHandlerUTF8(CEncodingHandlerUTF8 const&) = default;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;
};

// The byte order helper that a handler of a multi-byte Unicode form owns. A copy holds a deep
// copy. A handler whose helper could not be replaced for want of memory has none: it serves no
// encoding, its clone is an empty handle and its conversions give status 4 until a later
// setByteOrder succeeds.
class COwnedBOH {
 public:
  explicit COwnedBOH(CBOH* initial) noexcept : helper(initial) {}
  COwnedBOH(COwnedBOH const& source);
  COwnedBOH& operator=(COwnedBOH const&) = delete;
  ~COwnedBOH();

  // Frees the old helper before it makes the new one; 0 when memory runs out.
  template <class Helper>
  unsigned char replace() noexcept;

  CBOH const* get() const noexcept {
    return helper;
  }

 private:
  CBOH* helper;
};

class CEncodingHandlerUTF16 : public CEncodingHandler {
 public:
  CEncodingHandlerUTF16();
  CEncodingHandlerUTF16(CEncodingHandlerUTF16 const&) = default;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;

  CBOH const* byteOrderHelper() const noexcept {
    return helper.get();
  }

 private:
  COwnedBOH helper;
};

// UCS-2 in cells of the platform's wchar_t: a two-byte unit at the start of each cell.
class CEncodingHandlerUCS2 : public CEncodingHandler {
 public:
  static constexpr long c_cellSize = sizeof(wchar_t);

  CEncodingHandlerUCS2();
  CEncodingHandlerUCS2(CEncodingHandlerUCS2 const&) = default;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;

  CBOH const* byteOrderHelper() const noexcept {
    return helper.get();
  }

 private:
  COwnedBOH helper;
};

// UCS-4 in cells of the platform's unsigned long.
class CEncodingHandlerUCS4 : public CEncodingHandler {
 public:
  static constexpr long c_cellSize = sizeof(unsigned long);

  CEncodingHandlerUCS4();
  CEncodingHandlerUCS4(CEncodingHandlerUCS4 const&) = default;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;

  CBOH const* byteOrderHelper() const noexcept {
    return helper.get();
  }

 private:
  COwnedBOH helper;
};

class CEncodingHandlerUSASCII : public CEncodingHandler {
 public:
  CEncodingHandlerUSASCII() = default;
  CEncodingHandlerUSASCII(CEncodingHandlerUSASCII const&) = default;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;
};

// One character and the byte that stands for it, in the inverse maps of the ISO 8859 parts.
struct CIso8859Inverse {
  std::uint16_t character;
  std::uint8_t byte;
};

class CEncodingHandlerISO8859 : public CEncodingHandler {
 public:
  CEncodingHandlerISO8859() = default;
  CEncodingHandlerISO8859(CEncodingHandlerISO8859 const&) = default;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;

  // The part of ISO 8859 a lower-case name stands for; 0 for none.
  static int partOf(std::wstring const& lowerName) noexcept;
  // The forward table of a part (96 entries from byte 0xA0); null for a part not served.
  static std::uint32_t const* forwardTableOf(int part) noexcept;

 private:
  // All null in a prototype; a clone points them at the tables of its part. The inverse map is
  // sorted by character and ends at inverseEnd.
  std::uint32_t const* forward = nullptr;
  CIso8859Inverse const* inverse = nullptr;
  CIso8859Inverse const* inverseEnd = nullptr;
};

// Host code pages, converted by the host's converters. Not in the default list of handlers:
// the default host layer has no converters, and their clones fail there.
class CEncodingHandlerORV : public CEncodingHandler {
 public:
  CEncodingHandlerORV() = default;
  // The copy starts without converters: they belong to the source.
  CEncodingHandlerORV(CEncodingHandlerORV const& source);
  CEncodingHandlerORV& operator=(CEncodingHandlerORV const&) = delete;
  ~CEncodingHandlerORV() override;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;

 private:
  void* toInternal = nullptr;
  void* fromInternal = nullptr;
};

class CEncodingHandlerORV_Block : public CEncodingHandler {
 public:
  CEncodingHandlerORV_Block() = default;
  // The copy starts without converters: they belong to the source.
  CEncodingHandlerORV_Block(CEncodingHandlerORV_Block const& source);
  CEncodingHandlerORV_Block& operator=(CEncodingHandlerORV_Block const&) = delete;
  ~CEncodingHandlerORV_Block() override;

  unsigned char capable(MarlEncoding const& encoding) override;
  unsigned long chunkSize() const override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd) override;
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd) override;
  unsigned char setByteOrder(MarlEncoding::ByteOrder order) override;

  MarlEncoding::ByteOrder getByteOrder() const noexcept {
    return byteOrder;
  }

 private:
  void* toInternal = nullptr;
  void* fromInternal = nullptr;
  MarlEncoding::ByteOrder byteOrder = MarlEncoding::BYTEORDER_LE;
};

// The catch-all at the end of the search: it takes every name and decodes it as UTF-8.
class CEncodingHandlerUnsupported : public CEncodingHandlerUTF8 {
 public:
  unsigned char capable(MarlEncoding const& encoding) override;
  MarlEncodingHandler clone(MarlEncoding const& encoding) const override;
};

// ---------------------------------------------------------------------------------------
// The handler prototypes of the library, asked in order.

class CEncodingFactory : public AllocPolicyRollArea {
 public:
  using Prototypes = std::vector<MarlEncodingHandler, tova_alloc<MarlEncodingHandler>>;

  CEncodingFactory();

  // A clone of the first prototype that serves the encoding; an empty handle for an empty
  // encoding or when the clone cannot be made.
  MarlEncodingHandler queryHandler(MarlEncoding const& encoding);

  Prototypes const& prototypes() const noexcept {
    return handlers;
  }

 private:
  Prototypes handlers;
};

#endif
