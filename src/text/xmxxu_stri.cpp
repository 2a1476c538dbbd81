#include "text/xmxxu_stri.h"

#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <memory>

#include "kernel/xmxxi_marl.h"

std::uint32_t calcStringHash(std::wstring const& text) {
  std::uint32_t hash = 5381;
  for (wchar_t element : text) hash = hash * 65599 + static_cast<std::uint32_t>(element);
  return hash;
}

std::wstring toUpper(std::wstring const& text) {
  std::wstring folded(text);
  for (wchar_t& element : folded) element = static_cast<wchar_t>(std::towupper(element));
  return folded;
}

std::wstring toLower(std::wstring const& text) {
  std::wstring folded(text);
  for (wchar_t& element : folded) element = static_cast<wchar_t>(std::towlower(element));
  return folded;
}

void* toCString(std::wstring const& text, void* hostString) {
  if (text.empty()) {
    TOVAStringDiscard(hostString);
    return hostString;
  }
  CMarl& marl = CMarlBase::instance();
  TOVAStringSetContent(hostString, text.data(), text.size(), marl.hostConversionContext());
  return hostString;
}

std::wstring fromCString(void* hostString) {
  if (!hostString) return std::wstring();
  CMarl& marl = CMarlBase::instance();
  wchar_t const* data = nullptr;
  std::size_t length = 0;
  TOVAStringGetContent(hostString, &data, &length, marl.hostConversionContext());
  if (!data || length == 0) return std::wstring();
  return std::wstring(data, length);
}

// The byte form has no discard: empty content is set like any other.
void* toCRawString(rawstring const& bytes, void* hostByteString) {
  TOVAXStringSetContent(hostByteString, bytes.data(), bytes.size());
  return hostByteString;
}

rawstring fromCRawString(void* hostByteString) {
  if (!hostByteString) return rawstring();
  unsigned char const* data = nullptr;
  std::size_t length = 0;
  if (TOVAXStringGetContent(hostByteString, &data, &length) != 0 || !data) return rawstring();
  return rawstring(data, length);
}

MBString::MBString(wchar_t const* text) {
  if (!text || *text == L'\0') return;
  std::size_t capacity = (std::wcslen(text) + 1) * sizeof(wchar_t);
  std::unique_ptr<char[]> buffer(new char[capacity]);
  std::size_t converted = std::wcstombs(buffer.get(), text, capacity);
  if (converted != static_cast<std::size_t>(-1)) assign(buffer.get(), converted);
}

MBString::MBString(std::wstring const& text) : MBString(text.c_str()) {}

MBString::MBString(char const* text) : std::string(text ? text : "") {}

MBString::MBString(std::string const& text) : std::string(text) {}

MBString::operator std::wstring() const {
  std::unique_ptr<wchar_t[]> buffer(new wchar_t[size() + 1]);
  std::size_t converted = std::mbstowcs(buffer.get(), c_str(), size() + 1);
  if (converted == static_cast<std::size_t>(-1)) return std::wstring();
  return std::wstring(buffer.get(), converted);
}
