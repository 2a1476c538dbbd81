// The stream variants: operating-system files, caller's byte ranges, wide and raw strings,
// host strings and host tables.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <new>
#include <stdexcept>

#include "marl/host.h"
#include "streams/xmxxu_strm.h"
#include "text/xmxxu_enco.h"
#include "text/xmxxu_stri.h"

namespace {

wchar_t const c_fileScheme[] = L"file://";
wchar_t const c_localhostPrefix[] = L"file://localhost/";
wchar_t const c_schemeSeparator[] = L"://";

// The name of the host's current code page, as the host string streams carry it.
wchar_t const c_hostCodePage[] = L"orv*";

bool startsWith(std::wstring const& text, wchar_t const* prefix) {
  return text.compare(0, std::wcslen(prefix), prefix) == 0;
}

// A new stream of the same kind; an empty handle when memory runs out.
template <class Stream>
MarlStream cloneStream(Stream const& source) {
  try {
    return MarlStream(static_cast<CMarlStream*>(new Stream(source)));
  } catch (std::bad_alloc const&) {
    return MarlStream();
  }
}

unsigned char fileIdCapable(std::wstring const& id) {
  if (startsWith(toLower(id), c_fileScheme)) return 1;
  return id.find(c_schemeSeparator) == std::wstring::npos;
}

std::wstring fileAbsoluteId(std::wstring const& id, std::wstring const& base) {
  if (startsWith(toLower(id), c_fileScheme)) return id;
  // A base written with backslashes is a path of that kind throughout.
  std::size_t cut = base.rfind(L'\\');
  if (cut == std::wstring::npos) cut = base.rfind(L'/');
  std::wstring absolute = cut == std::wstring::npos ? std::wstring() : base.substr(0, cut + 1);
  absolute += id;
  if (!startsWith(absolute, c_fileScheme)) absolute.insert(0, c_fileScheme);
  return absolute;
}

std::FILE* openFile(std::wstring const& id, char const* mode) {
  MBString path(normalizeID(id));
  if (path.empty()) return nullptr;
  return fopen64(path.c_str(), mode);
}

}  // namespace

std::wstring normalizeID(std::wstring const& id) {
  if (startsWith(id, c_localhostPrefix)) return id.substr(std::wcslen(c_localhostPrefix));
  if (startsWith(id, c_fileScheme)) return id.substr(std::wcslen(c_fileScheme));
  return id;
}

std::wstring withFileScheme(std::wstring const& systemId) {
  if (systemId.find(c_schemeSeparator) != std::wstring::npos) return systemId;
  return c_fileScheme + systemId;
}

// ---------------------------------------------------------------------------------------
// Files

CMarlIStreamFile::CMarlIStreamFile(std::wstring const& system,
                                   std::wstring const& publicIdentifier) {
  systemId = system;
  publicId = publicIdentifier;
}

CMarlIStreamFile::CMarlIStreamFile(CMarlIStreamFile const& source) : CMarlIStream(source) {
  openFlag = 0;
}

CMarlIStreamFile::~CMarlIStreamFile() {
  if (file) std::fclose(file);
}

MarlStream CMarlIStreamFile::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlIStreamFile::open() {
  close();
  file = openFile(systemId, "rb");
  if (!file) return 0;
  return CMarlIStream::open();
}

void CMarlIStreamFile::close() {
  if (file) std::fclose(file);
  file = nullptr;
  CMarlIStream::close();
}

std::wstring CMarlIStreamFile::makeAbsoluteId(std::wstring const& id,
                                              std::wstring const& base) const {
  return fileAbsoluteId(id, base);
}

unsigned char CMarlIStreamFile::isCapable(std::wstring const& system, std::wstring const&) const {
  return fileIdCapable(system);
}

int CMarlIStreamFile::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = file;
  return MarlStream::typeFile;
}

int CMarlIStreamFile::readRaw(unsigned char* target, int capacity) {
  if (!file || std::feof(file)) return -1;
  std::size_t wanted = capacity > 0 ? static_cast<std::size_t>(capacity) : 0;
  std::size_t got = std::fread(target, 1, wanted, file);
  if (got < wanted && std::ferror(file)) return -1;
  return static_cast<int>(got);
}

CMarlOStreamFile::CMarlOStreamFile(std::wstring const& system) {
  systemId = system;
}

CMarlOStreamFile::CMarlOStreamFile(CMarlOStreamFile const& source) : CMarlOStream(source) {
  openFlag = 0;
}

CMarlOStreamFile::~CMarlOStreamFile() {
  if (file) std::fclose(file);
}

MarlStream CMarlOStreamFile::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlOStreamFile::open() {
  close();
  file = openFile(systemId, "wb");
  if (!file) return 0;
  return CMarlOStream::open();
}

void CMarlOStreamFile::close() {
  if (file) std::fclose(file);
  file = nullptr;
  CMarlOStream::close();
}

// The C library holds bytes back; a renderer that flushes at its end expects them in the file.
void CMarlOStreamFile::flush() {
  if (file) std::fflush(file);
}

std::wstring CMarlOStreamFile::makeAbsoluteId(std::wstring const& id,
                                              std::wstring const& base) const {
  return fileAbsoluteId(id, base);
}

unsigned char CMarlOStreamFile::isCapable(std::wstring const& system, std::wstring const&) const {
  return fileIdCapable(system);
}

int CMarlOStreamFile::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = file;
  return MarlStream::typeFile;
}

int CMarlOStreamFile::writeRaw(unsigned char const* data, int length) {
  if (!file || length < 0) return -1;
  std::size_t written = std::fwrite(data, 1, static_cast<std::size_t>(length), file);
  countRaw(static_cast<int>(written));
  return written == static_cast<std::size_t>(length) ? length : -1;
}

// ---------------------------------------------------------------------------------------
// Raw buffers

CMarlIStreamRawBuffer::CMarlIStreamRawBuffer(unsigned char const* first, unsigned char const* last)
    : begin(first), end(last), cursor(first) {
  open();
}

MarlStream CMarlIStreamRawBuffer::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlIStreamRawBuffer::open() {
  cursor = begin;
  if (!begin || !end || end <= begin) return 0;
  return CMarlIStream::open();
}

int CMarlIStreamRawBuffer::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = const_cast<unsigned char*>(begin);
  return MarlStream::typeRawBuffer;
}

int CMarlIStreamRawBuffer::readRaw(unsigned char* target, int capacity) {
  if (!openFlag || cursor >= end) return -1;
  long count = std::min<long>(capacity, static_cast<long>(end - cursor));
  if (count <= 0) return 0;
  std::memcpy(target, cursor, static_cast<std::size_t>(count));
  cursor += count;
  return static_cast<int>(count);
}

// A buffer without room is still a sink: its writes are refused one by one.
CMarlOStreamRawBuffer::CMarlOStreamRawBuffer(unsigned char* first, unsigned char const* last)
    : begin(first), end(last), cursor(first) {
  open();
}

MarlStream CMarlOStreamRawBuffer::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlOStreamRawBuffer::open() {
  cursor = begin;
  if (!begin) return 0;
  return CMarlOStream::open();
}

void CMarlOStreamRawBuffer::close() {
  flush();
  CMarlOStream::close();
}

int CMarlOStreamRawBuffer::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = begin;
  return MarlStream::typeRawBuffer;
}

int CMarlOStreamRawBuffer::writeRaw(unsigned char const* data, int length) {
  if (!openFlag || length < 0) return -1;
  long space = end && end > cursor ? static_cast<long>(end - cursor) : 0;
  if (space == 0) return -1;
  int count = space <= length ? static_cast<int>(space) : length;
  if (count > 0) std::memcpy(cursor, data, static_cast<std::size_t>(count));
  cursor += count;
  countRaw(count);
  return count;
}

// ---------------------------------------------------------------------------------------
// Strings

CMarlIStreamString::CMarlIStreamString(std::wstring const& text) : content(text) {
  open();
}

MarlStream CMarlIStreamString::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlIStreamString::open() {
  cursor = 0;
  if (content.empty()) return 0;
  return CMarlIStream::open();
}

int CMarlIStreamString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeString;
}

// The characters are the text itself: nothing to detect or decode, and the end is told as -1.
int CMarlIStreamString::read(wchar_t* target, int capacity) {
  if (!openFlag || cursor >= content.size()) return -1;
  std::size_t count = std::min<std::size_t>(capacity > 0 ? static_cast<std::size_t>(capacity) : 0,
                                            content.size() - cursor);
  if (count != 0) std::wmemcpy(target, content.data() + cursor, count);
  cursor += count;
  numRead += static_cast<unsigned int>(count);
  numReadRaw += static_cast<unsigned int>(count);
  return static_cast<int>(count);
}

int CMarlIStreamString::readRaw(unsigned char*, int) {
  return -1;
}

CMarlOStreamString::CMarlOStreamString(std::wstring& target) : text(&target) {
  open();
}

MarlStream CMarlOStreamString::clone() const {
  return cloneStream(*this);
}

void CMarlOStreamString::close() {
  flush();
  CMarlOStream::close();
}

int CMarlOStreamString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeString;
}

// A wide string takes characters, not bytes.
int CMarlOStreamString::writeRaw(unsigned char const*, int) {
  return -1;
}

int CMarlOStreamString::_write(wchar_t const* data, int length) {
  if (!data || length <= 0) return 0;
  if (!openFlag) return -1;
  try {
    std::size_t newSize = text->size() + static_cast<std::size_t>(length);
    if (newSize > text->capacity()) {
      // Doubling a large document would reserve far more than it is likely to grow.
      std::size_t oldCapacity = text->capacity();
      text->reserve(oldCapacity > c_growthLimit ? newSize + c_growthLimit : 2 * newSize);
    }
    text->append(data, static_cast<std::size_t>(length));
  } catch (std::exception const&) {
    return -1;
  }
  numWritten += static_cast<unsigned int>(length);
  return length;
}

CMarlIStreamRawString::CMarlIStreamRawString(rawstring const& bytes) : content(bytes) {
  open();
}

MarlStream CMarlIStreamRawString::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlIStreamRawString::open() {
  cursor = 0;
  if (content.empty()) return 0;
  return CMarlIStream::open();
}

int CMarlIStreamRawString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeRawString;
}

int CMarlIStreamRawString::readRaw(unsigned char* target, int capacity) {
  if (!openFlag || cursor >= content.size()) return -1;
  std::size_t count = std::min<std::size_t>(capacity > 0 ? static_cast<std::size_t>(capacity) : 0,
                                            content.size() - cursor);
  if (count != 0) std::memcpy(target, content.data() + cursor, count);
  cursor += count;
  return static_cast<int>(count);
}

CMarlOStreamRawString::CMarlOStreamRawString(rawstring& target) : bytes(&target) {
  open();
}

MarlStream CMarlOStreamRawString::clone() const {
  return cloneStream(*this);
}

void CMarlOStreamRawString::close() {
  flush();
  CMarlOStream::close();
}

// The same kind as the wide string sink, unlike the raw string source.
int CMarlOStreamRawString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeString;
}

int CMarlOStreamRawString::writeRaw(unsigned char const* data, int length) {
  if (!openFlag || length < 0) return -1;
  try {
    bytes->append(data, static_cast<std::size_t>(length));
  } catch (std::exception const&) {
    return -1;
  }
  countRaw(length);
  return length;
}

// ---------------------------------------------------------------------------------------
// Host strings

CMarlIStreamXString::CMarlIStreamXString(void* hostByteString) : hostString(hostByteString) {
  open();
}

MarlStream CMarlIStreamXString::clone() const {
  return cloneStream(*this);
}

bool CMarlIStreamXString::hostContent(unsigned char const*& data, std::size_t& length) const {
  data = nullptr;
  length = 0;
  if (!hostString) return false;
  if (TOVAXStringGetContent(hostString, &data, &length) != 0 || !data) return false;
  return true;
}

unsigned char CMarlIStreamXString::open() {
  cursor = 0;
  unsigned char const* data;
  std::size_t length;
  if (!hostContent(data, length) || length == 0) return 0;
  return CMarlIStream::open();
}

int CMarlIStreamXString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeXString;
}

// The host string is asked afresh each time: its content may move between calls.
int CMarlIStreamXString::readRaw(unsigned char* target, int capacity) {
  unsigned char const* data;
  std::size_t length;
  if (!openFlag || !hostContent(data, length) || cursor >= length) return -1;
  std::size_t count = std::min<std::size_t>(capacity > 0 ? static_cast<std::size_t>(capacity) : 0,
                                            length - cursor);
  if (count != 0) std::memcpy(target, data + cursor, count);
  cursor += count;
  return static_cast<int>(count);
}

CMarlIStreamCString::CMarlIStreamCString(void* hostCharacterString)
    : CMarlIStreamXString(hostCharacterString) {
  useEncoding(MarlEncoding(new CMarlEncoding(c_hostCodePage, MarlEncoding::BYTEORDER_NONE)));
}

MarlStream CMarlIStreamCString::clone() const {
  return cloneStream(*this);
}

int CMarlIStreamCString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeCString;
}

CMarlOStreamXString::CMarlOStreamXString(void* hostByteString) : hostString(hostByteString) {
  if (hostString) open();
}

MarlStream CMarlOStreamXString::clone() const {
  return cloneStream(*this);
}

void CMarlOStreamXString::close() {
  flush();
  CMarlOStream::close();
}

int CMarlOStreamXString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeXString;
}

int CMarlOStreamXString::writeRaw(unsigned char const* data, int length) {
  if (!openFlag || !hostString || length <= 0) return 0;
  TOVAXStringAppend(hostString, data, static_cast<std::size_t>(length));
  countRaw(length);
  return length;
}

CMarlOStreamCString::CMarlOStreamCString(void* hostCharacterString)
    : CMarlOStreamXString(hostCharacterString) {
  useEncoding(MarlEncoding(new CMarlEncoding(c_hostCodePage, MarlEncoding::BYTEORDER_NONE)));
}

MarlStream CMarlOStreamCString::clone() const {
  return cloneStream(*this);
}

int CMarlOStreamCString::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeCString;
}

// ---------------------------------------------------------------------------------------
// Host tables

CMarlIStreamITable::CMarlIStreamITable(void const* hostTable, unsigned int size)
    : table(hostTable),
      lineLength(hostTable ? TOVAItLeng(const_cast<void*>(hostTable)) : 0),
      totalSize(size) {
  if (table && totalSize != 0) open();
}

MarlStream CMarlIStreamITable::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlIStreamITable::open() {
  if (!table) return 0;
  currentLine = static_cast<unsigned char const*>(TOVAItGetLine(const_cast<void*>(table), 0));
  lineNumber = 0;
  column = 0;
  return CMarlIStream::open();
}

int CMarlIStreamITable::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeITable;
}

int CMarlIStreamITable::readRaw(unsigned char* target, int capacity) {
  // Lines without length would never bring the position forward.
  if (!openFlag || lineLength == 0) return -1;
  std::size_t position = lineNumber * lineLength + column;
  if (position >= totalSize) return -1;
  std::size_t wanted = std::min<std::size_t>(capacity > 0 ? static_cast<std::size_t>(capacity) : 0,
                                             totalSize - position);
  std::size_t copied = 0;
  while (copied < wanted && currentLine) {
    if (column == lineLength) {
      column = 0;
      ++lineNumber;
      void* line = TOVAItGetLine(const_cast<void*>(table), lineNumber);
      currentLine = static_cast<unsigned char const*>(line);
      continue;
    }
    std::size_t count = std::min(wanted - copied, lineLength - column);
    std::memcpy(target + copied, currentLine + column, count);
    copied += count;
    column += count;
  }
  return static_cast<int>(copied);
}

CMarlOStreamITable::CMarlOStreamITable(void* hostTable)
    : table(hostTable), lineLength(hostTable ? TOVAItLeng(hostTable) : 0) {
  if (table) open();
}

MarlStream CMarlOStreamITable::clone() const {
  return cloneStream(*this);
}

unsigned char CMarlOStreamITable::open() {
  if (!table) return 0;
  TOVAItFree(table);
  // A full line: the first byte asks for a new one.
  column = lineLength;
  currentLine = nullptr;
  return CMarlOStream::open();
}

void CMarlOStreamITable::close() {
  flush();
  CMarlOStream::close();
}

// The padding belongs to the table's form, not to the text: it is neither counted nor quoted.
void CMarlOStreamITable::flush() {
  if (!openFlag || !currentLine || column >= lineLength) return;
  static wchar_t const c_blanks[] = L"                                ";
  constexpr std::size_t c_blankCount = sizeof c_blanks / sizeof c_blanks[0] - 1;
  unsigned int const writtenBefore = numWritten;
  unsigned int const writtenRawBefore = numWrittenRaw;
  unsigned char const quotedBefore = quoted;
  unsigned char const escapedBefore = escaped;
  std::size_t padding = lineLength - column;
  while (padding > 0) {
    quoted = 0;
    escaped = 0;
    std::size_t chunk = std::min(padding, c_blankCount);
    if (write(c_blanks, static_cast<int>(chunk)) < 0) break;
    padding -= chunk;
  }
  numWritten = writtenBefore;
  numWrittenRaw = writtenRawBefore;
  quoted = quotedBefore;
  escaped = escapedBefore;
}

int CMarlOStreamITable::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeITable;
}

int CMarlOStreamITable::writeRaw(unsigned char const* data, int length) {
  // Lines without length could never take a byte.
  if (!openFlag || !table || length <= 0 || lineLength == 0) return 0;
  std::size_t wanted = static_cast<std::size_t>(length);
  std::size_t written = 0;
  while (written < wanted) {
    if (column == lineLength || !currentLine) {
      currentLine = static_cast<unsigned char*>(TOVAItAppLine(table));
      column = 0;
      if (!currentLine) {
        openFlag = 0;
        break;
      }
    }
    std::size_t count = std::min(wanted - written, lineLength - column);
    std::memcpy(currentLine + column, data + written, count);
    written += count;
    column += count;
  }
  countRaw(static_cast<int>(written));
  return static_cast<int>(written);
}
