#ifndef MARL_TEXT_XMXXU_STRI_H
#define MARL_TEXT_XMXXU_STRI_H

#include <string>

#include "marl/text.h"

// Case folding of each element in the process's current locale; the argument is unchanged.
std::wstring toUpper(std::wstring const& text);
std::wstring toLower(std::wstring const& text);

// Moving strings to and from host string objects. The host string is an opaque handle of the
// host layer; without a host these store and deliver nothing.
void* toCString(std::wstring const& text, void* hostString);
std::wstring fromCString(void* hostString);
void* toCRawString(rawstring const& bytes, void* hostByteString);
rawstring fromCRawString(void* hostByteString);

// Narrow text for printf-style messages, converted in the process's locale. A character the
// locale cannot represent shortens or empties the text; it is never an error.
class MBString : public std::string {
 public:
  MBString() = default;
  MBString(wchar_t const* text);
  MBString(std::wstring const& text);
  MBString(char const* text);
  MBString(std::string const& text);

  operator std::wstring() const;
};

#endif
