#ifndef MARL_TEXT_XMXXS_CHAR_H
#define MARL_TEXT_XMXXS_CHAR_H

#include <cstdint>

// Classification of every UTF-16 code unit, for the scanners. The table is indexed directly by
// the code unit and read without a bounds check: one load per character in the hot loops.
// A character outside the BMP arrives as two surrogates, both of which are fIllegal.
struct CCharClass {
  enum Flag : std::uint16_t {
    fSpace = 0x0001,        // white space: 0x09, 0x0A, 0x0D, 0x20
    fBaseChar = 0x0004,     // BaseChar
    fIdeographic = 0x0008,  // Ideographic
    fCombining = 0x0010,    // CombiningChar
    fDigit = 0x0020,        // Digit
    fExtender = 0x0040,     // Extender
    fChar = 0x0080,         // a legal document character
    fIllegal = 0x0100,      // a control character, a surrogate or 0xFFFE
    fNul = 0x0200,          // 0x0000 only, so string ends can be told from bad input
    fNameStart = 0x0400,    // may begin a Name: a letter, '_' or ':'
    fNameChar = 0x0800,     // may continue a Name
    fContent = 0x1000,      // character data that needs no markup check: not '&' nor '<'
    NameMarkMask = 0x007C   // fBaseChar..fExtender: a name character without ':'
  };

  // Flags of each code unit. Constant data, initialised at compile time; bits 1, 13, 14 and
  // 15 are never set.
  static const std::uint16_t c_fClass[65536];
};

#endif  // MARL_TEXT_XMXXS_CHAR_H
