#ifndef MARL_ENCODING_H
#define MARL_ENCODING_H

#include "marl/handle.h"

class CMarlEncoding;
class CEncodingHandler;

// The name of a character set and the byte order of its units. It converts nothing itself:
// a handler found for it does (MarlEncodingHandler). Made by Marl::createEncoding.
class MARL_API MarlEncoding {
  MARL_HANDLE_MEMBERS(MarlEncoding, CMarlEncoding)

 public:
  // The order of the bytes of one unit of a multi-byte form.
  enum ByteOrder {
    BYTEORDER_LE = 0,    // little endian (21, 4321); the default
    BYTEORDER_BE = 1,    // big endian (12, 1234)
    BYTEORDER_2143 = 2,  // four-byte units with the bytes of each half swapped
    BYTEORDER_3412 = 3,  // four-byte units with the halves swapped
    BYTEORDER_NONE = 4   // byte-oriented forms; stored, and read back, as BYTEORDER_LE
  };

  // A copy of the name as it was given, without any normalisation.
  std::wstring getCharacterSet() const;
  // Replaces the name and keeps the byte order; always 1.
  unsigned char setCharacterSet(std::wstring const& name);
  // BYTEORDER_LE, _BE, _2143 or _3412; never BYTEORDER_NONE.
  ByteOrder getByteOrder() const;
  // Keeps BE, 2143 and 3412 and turns every other value into LE; always 1.
  unsigned char setByteOrder(ByteOrder order);
  // The host code-page name ("x-orv" and four digits) of this character set; the empty string
  // when the table of host code pages has no row for the name.
  std::wstring getCharacterSetORV() const;
  // The web name of this character set, with the byte order dropped from the Unicode forms
  // ("utf-16be" gives "utf-16"); the empty string when the table has no row for the name.
  std::wstring getCharacterSetHTTP() const;
  // Detects the encoding from the first bytes of a document and takes it over: the number of
  // leading bytes that form a byte order mark (0 when there is none), or -1 when nothing was
  // recognised, in which case the encoding is unchanged.
  int autoDetect(unsigned char const* begin, unsigned char const* end);
  // An independent copy with the same name and byte order; an empty handle when memory runs
  // out.
  MarlEncoding clone() const;
};

// Converts between the bytes of one encoding and the library's wide characters, in blocks, with
// resumable cursors. A handler is obtained for an encoding from the library (streams do it);
// handlers cannot be reached through an interface query, so a MarlEncodingHandler made from a
// CUnknown* is always empty.
class MARL_API MarlEncodingHandler {
  MARL_HANDLE_MEMBERS(MarlEncodingHandler, CEncodingHandler)

 public:
  // Results of the conversions. Cursors are left at the first element not converted.
  // A status of 4 is an internal error of the conversion.
  enum ConversionStatus {
    CONV_OK = 0,             // the source is used up
    CONV_SRC_EXHAUSTED = 1,  // the source ends inside a character or unit: more bytes needed
    CONV_TGT_FULL = 2,       // the target is full
    CONV_ILLEGAL = 3         // a character cannot be converted
  };

  // 1 when this handler serves the encoding; 0 otherwise. May change the handler's byte order.
  unsigned char capable(MarlEncoding const& encoding);
  // The size in bytes of one unit of the outer form.
  unsigned long chunkSize() const;
  // A new handler prepared for the encoding; an empty handle when it cannot be made.
  MarlEncodingHandler clone(MarlEncoding const& encoding) const;
  // Decodes bytes into wide characters; a ConversionStatus, or 4.
  int convertToUCS2(unsigned char const** source, unsigned char const* sourceEnd, wchar_t** target,
                    wchar_t const* targetEnd);
  // Encodes wide characters into bytes; a ConversionStatus, or 4.
  int convertFromUCS2(wchar_t const** source, wchar_t const* sourceEnd, unsigned char** target,
                      unsigned char const* targetEnd);
  // 0 when the handler cannot serve the order, which then changes nothing, or when memory runs
  // out, which leaves a Unicode handler unable to convert (status 4) until a later call; else 1.
  unsigned char setByteOrder(MarlEncoding::ByteOrder order);
};

#endif
