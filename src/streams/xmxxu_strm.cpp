#include "streams/xmxxu_strm.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <stdexcept>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxu_trc.h"
#include "kernel/xmxxu_xcpt.h"
#include "text/xmxxu_enco.h"
#include "text/xmxxu_stri.h"

namespace {

// Where a decoding failure says it comes from: the place the exception has always named.
constexpr int c_convProblemCode = 0x50004;
wchar_t const c_convProblemFile[] = L"xmxxi_xcpt";
constexpr unsigned int c_convProblemLine = 37;
// The bytes of the undecodable sequence that its message shows.
constexpr long c_shownSourceBytes = 10;

// Detection needs four bytes to rule a document out; with fewer it waits for more.
constexpr long c_pendingDetectionBytes = 3;

// A byte count that fits the int results of the stream operations.
int clampToInt(long long count) noexcept {
  return count > INT_MAX ? INT_MAX : static_cast<int>(count);
}

[[noreturn]] void raiseReadProblem(std::wstring const& text) {
  MARL_TRACE(traceError, "marl istream read: %s", MBString(text).c_str());
  throw XPT_IO::XPT_ConvProblem(c_convProblemCode, text, c_convProblemFile, c_convProblemLine);
}

// An input or output stream answers to its own direction's interface and to those of every
// stream.
template <unsigned int DirectionId, class DirectedStream>
void* directedStreamInterface(DirectedStream* stream, unsigned int id) noexcept {
  switch (id) {
    case DirectionId:
      return stream;
    case idStream:
      return static_cast<CMarlStream*>(stream);
    case idUnknown:
      return static_cast<CUnknown*>(stream);
    default:
      return nullptr;
  }
}

// Opening starts the counts of characters and bytes of a direction afresh.
unsigned char openCounting(CMarlStream& stream, unsigned int& characters, unsigned int& bytes) {
  characters = 0;
  bytes = 0;
  return stream.CMarlStream::open();
}

}  // namespace

MarlEncodingHandler queryStreamHandler(MarlEncoding const& encoding) {
  return CMarlBase::instance().getEncodingFactory().queryHandler(encoding);
}

// ---------------------------------------------------------------------------------------
// CMarlStream

CMarlStream::CMarlStream()
    : openFlag(0), streamMode(0), dataEnd(nullptr), readCursor(nullptr) {
  // The default decodes without naming an encoding, so that detection still runs.
  MarlEncoding utf8(new CMarlEncoding(L"utf-8", MarlEncoding::BYTEORDER_NONE));
  handler = queryStreamHandler(utf8);
  if (!handler) throw std::bad_alloc();
}

CMarlStream::CMarlStream(CMarlStream const& source)
    : CUnknownWithoutStrings(),
      AllocPolicyRollArea(),
      openFlag(source.openFlag),
      handler(source.handler),
      systemId(source.systemId),
      publicId(source.publicId),
      streamMode(source.streamMode),
      rawBuffer(source.rawBuffer),
      dataEnd(rawBuffer.data() + (source.dataEnd - source.rawBuffer.data())),
      readCursor(rawBuffer.data() + (source.readCursor - source.rawBuffer.data())) {
  if (!source.encoding) return;
  encoding = source.encoding._impl()->clone();
  if (!encoding) throw std::bad_alloc();
}

void CMarlStream::useEncoding(MarlEncoding const& fixed) {
  MarlEncodingHandler found = queryStreamHandler(fixed);
  if (!found) throw std::bad_alloc();
  handler = found;
  encoding = fixed;
}

unsigned char CMarlStream::setEncoding(MarlEncoding const& newEncoding) {
  MarlEncodingHandler found = queryStreamHandler(newEncoding);
  if (!found) return 0;
  // The caller keeps its object; the stream's own copy cannot be changed behind its back.
  MarlEncoding copy = newEncoding._impl()->clone();
  if (!copy) return 0;
  handler = found;
  encoding = copy;
  return 1;
}

MarlEncoding CMarlStream::getEncoding() const {
  return encoding;
}

unsigned char CMarlStream::open() {
  rawBuffer.resize(c_rawBufferSize);
  openFlag = 1;
  dataEnd = readCursor = rawBuffer.data();
  return 1;
}

void CMarlStream::close() {
  openFlag = 0;
}

std::wstring const& CMarlStream::getSystemId() const {
  return systemId;
}

void CMarlStream::setSystemId(std::wstring const& id) {
  systemId = id;
}

std::wstring const& CMarlStream::getPublicId() const {
  return publicId;
}

void CMarlStream::setPublicId(std::wstring const& id) {
  publicId = id;
}

std::wstring CMarlStream::makeAbsoluteId(std::wstring const& id, std::wstring const&) const {
  return id;
}

// A stream that does not say what it opens is asked for nothing.
unsigned char CMarlStream::isCapable(std::wstring const&, std::wstring const&) const {
  return 0;
}

int CMarlStream::getType(void** nativeHandle) const {
  if (nativeHandle) *nativeHandle = nullptr;
  return MarlStream::typeNone;
}

void CMarlStream::setStreamMode(unsigned int mode) {
  if (!openFlag) streamMode = mode;
}

// ---------------------------------------------------------------------------------------
// CMarlIStream

void* CMarlIStream::_queryInterface(unsigned int id) {
  return directedStreamInterface<idIStream>(this, id);
}

unsigned int CMarlIStream::_queryClass() const {
  return idIStream;
}

unsigned char CMarlIStream::open() {
  return openCounting(*this, numRead, numReadRaw);
}

int CMarlIStream::refill() {
  long space = static_cast<long>(rawBufferEnd() - dataEnd);
  int got = readRaw(dataEnd, static_cast<int>(space));
  if (got <= 0) return got;
  // A variant never gives more than it was asked for; one that does is not believed.
  if (got > space) got = static_cast<int>(space);
  numReadRaw += static_cast<unsigned int>(got);
  dataEnd += got;
  return got;
}

void CMarlIStream::detectEncoding() {
  MarlEncoding detected(new CMarlEncoding(L"utf-8", MarlEncoding::BYTEORDER_NONE));
  int markLength = detected._impl()->autoDetect(readCursor, dataEnd);
  if (markLength < 0) {
    if (dataEnd - readCursor > c_pendingDetectionBytes) autoDetect = 0;
    return;
  }
  // The default list of handlers serves every name: only memory can be missing here.
  if (!setEncoding(detected)) throw std::bad_alloc();
  readCursor += markLength;
}

void CMarlIStream::raiseConversionProblem(int status) const {
  static char const c_hexDigits[] = "0123456789abcdef";
  std::wstring text = L"A codepage conversion problem has occured";
  text += status == MarlEncodingHandler::CONV_ILLEGAL ? L" (invalid source" : L" (internal error";
  text += L", source cp: ";
  if (encoding) text += encoding._impl()->getCharacterSet();
  text += L", target cp: ucs-2";
  text += L", source:";
  long shown = std::min<long>(c_shownSourceBytes, static_cast<long>(dataEnd - readCursor));
  for (long index = 0; index < shown; ++index) {
    unsigned char byte = readCursor[index];
    wchar_t const hex[] = {L' ', L'0', L'x', static_cast<wchar_t>(c_hexDigits[byte >> 4]),
                           static_cast<wchar_t>(c_hexDigits[byte & 0xF])};
    text.append(hex, sizeof hex / sizeof hex[0]);
  }
  text += L" ...)";
  raiseReadProblem(text);
}

int CMarlIStream::read(wchar_t* target, int capacity) {
  if (capacity < 0) capacity = 0;
  if (readCursor == dataEnd) {
    // Nothing is pending, so the whole buffer is free for the source.
    readCursor = dataEnd = rawBufferStart();
    if (refill() < 0 && numReadRaw == 0) return -1;
  }
  if (!encoding && autoDetect) detectEncoding();

  wchar_t* const targetEnd = target + capacity;
  wchar_t* stored = target;
  for (;;) {
    if (readCursor == dataEnd) break;
    unsigned char const* source = readCursor;
    int status = handler.convertToUCS2(&source, dataEnd, &stored, targetEnd);
    readCursor += source - readCursor;
    if (status == MarlEncodingHandler::CONV_TGT_FULL) break;
    if (status != MarlEncodingHandler::CONV_OK && status != MarlEncodingHandler::CONV_SRC_EXHAUSTED)
      raiseConversionProblem(status);
    // The tail of a cut character moves to the front, and the source fills in behind it.
    std::size_t left = static_cast<std::size_t>(dataEnd - readCursor);
    if (left != 0) std::memmove(rawBufferStart(), readCursor, left);
    readCursor = rawBufferStart();
    dataEnd = readCursor + left;
    if (refill() > 0) continue;
    if (status == MarlEncodingHandler::CONV_SRC_EXHAUSTED || left != 0)
      raiseReadProblem(L"source exhaused and EOF!");
  }
  int count = static_cast<int>(stored - target);
  numRead += static_cast<unsigned int>(count);
  return count;
}

unsigned int CMarlIStream::getNumRead() const {
  return numRead;
}

unsigned int CMarlIStream::getNumReadRaw() const {
  return numReadRaw;
}

void CMarlIStream::setDtdRestriction(unsigned int restriction) {
  dtdRestriction = restriction;
}

unsigned int CMarlIStream::getDtdRestriction() const {
  return dtdRestriction;
}

unsigned char CMarlIStream::isDtdProhibited() const {
  return dtdRestriction == dtdProhibited;
}

unsigned char CMarlIStream::isDtdRestricted() const {
  return dtdRestriction == dtdRestricted;
}

void CMarlIStream::setMaxExpansion(unsigned int limit) {
  maxExpansion = limit;
}

unsigned int CMarlIStream::getMaxExpansion() const {
  return maxExpansion;
}

// ---------------------------------------------------------------------------------------
// CMarlOStream

namespace {

// The quote character that needs no escaping inside the text: ' only for a text that holds "
// and no '.
wchar_t chooseDelimiter(wchar_t const* data, int length) {
  bool sawSingle = false;
  bool sawDouble = false;
  for (int index = 0; index < length; ++index) {
    if (data[index] == L'"') {
      if (sawSingle) return L'"';
      sawDouble = true;
    } else if (data[index] == L'\'') {
      if (sawDouble) return L'"';
      sawSingle = true;
    }
  }
  return sawDouble ? L'\'' : L'"';
}

// Characters that XML cannot hold, and with them, on purpose, everything from 0x0800 up to the
// end of the surrogates.
inline bool isNonXml(std::uint32_t code) {
  return code < 0x09 || code == 0x0B || code == 0x0C || (code >= 0x0800 && code <= 0xDFFF);
}

inline bool isSpecial(std::uint32_t code) {
  return !(code >= 0x21 && code <= 0x07FF) && !(code >= 0xE000 && code <= 0xFFFD);
}

// "&#x", the hexadecimal digits without leading zeros, ";": the length written into `out`,
// which holds at least 12 elements.
int numericReference(std::uint32_t code, wchar_t* out) {
  static wchar_t const c_digits[] = L"0123456789ABCDEF";
  wchar_t digits[8];
  int count = 0;
  do {
    digits[count++] = c_digits[code & 0xF];
    code >>= 4;
  } while (code != 0);
  int length = 0;
  out[length++] = L'&';
  out[length++] = L'#';
  out[length++] = L'x';
  while (count > 0) out[length++] = digits[--count];
  out[length++] = L';';
  return length;
}

struct Replacement {
  wchar_t const* text;
  int length;
};

template <int N>
constexpr Replacement replacement(wchar_t const (&text)[N]) {
  return Replacement{text, N - 1};
}

}  // namespace

void* CMarlOStream::_queryInterface(unsigned int id) {
  return directedStreamInterface<idOStream>(this, id);
}

unsigned int CMarlOStream::_queryClass() const {
  return idOStream;
}

unsigned char CMarlOStream::open() {
  return openCounting(*this, numWritten, numWrittenRaw);
}

void CMarlOStream::flush() {}

unsigned int CMarlOStream::getNumWritten() const {
  return numWritten;
}

unsigned int CMarlOStream::getNumWrittenRaw() const {
  return numWrittenRaw;
}

int CMarlOStream::_write(wchar_t const* data, int length) {
  if (!data || length <= 0) return 0;
  // A stream that was never opened has no buffer to encode into.
  if (rawBuffer.empty()) return -1;
  wchar_t const* source = data;
  wchar_t const* const sourceEnd = data + length;
  while (source != sourceEnd) {
    readCursor = rawBufferStart();
    unsigned char* produced = readCursor;
    wchar_t const* before = source;
    int status = handler.convertFromUCS2(&source, sourceEnd, &produced, rawBufferEnd());
    if (status != MarlEncodingHandler::CONV_OK &&
        status != MarlEncodingHandler::CONV_SRC_EXHAUSTED &&
        status != MarlEncodingHandler::CONV_TGT_FULL)
      return -2;
    int byteCount = static_cast<int>(produced - readCursor);
    // A handler that neither takes nor gives cannot represent what is left.
    if (byteCount == 0 && source == before) return -2;
    if (byteCount != 0 && writeRaw(readCursor, byteCount) != byteCount) return -1;
  }
  numWritten += static_cast<unsigned int>(length);
  return length;
}

int CMarlOStream::write(wchar_t const* data, int length) {
  if (!data) return 0;
  if (length < 0) length = 0;
  wchar_t delimiter = L' ';
  int opening = 0;
  if (quoted) {
    delimiter = chooseDelimiter(data, length);
    opening = _write(&delimiter, 1);
  }
  int count = escaped ? writeEscaped(data, length, delimiter) : _write(data, length);
  // Only escaped text ends at its first failure, with the one-shot flags still set. A quote or
  // a plain text that the sink refused is lost alone: the write goes on and clears the flags,
  // so that the next text is not quoted in its place.
  if (count < 0 && escaped) return opening < 0 ? opening : count;
  int const closing = quoted ? _write(&delimiter, 1) : 0;
  quoted = 0;
  escaped = 0;
  if (opening < 0) return opening;
  if (count < 0) return count;
  return closing < 0 ? closing : count;
}

int CMarlOStream::writeString(std::wstring const& text) {
  return write(text.data(), clampToInt(static_cast<long long>(text.size())));
}

// Runs of plain text go out in one _write each; a replacement first sends the run before it.
int CMarlOStream::writeEscaped(wchar_t const* data, int length, wchar_t delimiter) {
  bool const escapeDouble = !(ignoreDoubleQuote && delimiter != L'"');
  bool const escapeSingle = !(ignoreSingleQuote && delimiter != L'\'');
  long long count = 0;
  wchar_t const* run = data;
  wchar_t const* const end = data + length;
  wchar_t numeric[16];
  for (wchar_t const* cursor = data; cursor != end; ++cursor) {
    std::uint32_t const code = static_cast<std::uint32_t>(*cursor);
    // Above '>' and below the dropped range no rule applies, which lets letters pass at once.
    if (code > L'>' && code < 0x0800) continue;
    Replacement found{nullptr, 0};
    bool drop = false;
    if (skipNonXml && isNonXml(code)) {
      drop = true;
    } else if (preserveSpecial && isSpecial(code)) {
      if (code == 0x20) {
        if (quoted) found = replacement(L"&#x20;");
      } else if (code == 0x09) {
        if (quoted) found = replacement(L"&#9;");
      } else if (code == 0x0A) {
        if (quoted) found = replacement(L"&#xA;");
      } else {
        found = Replacement{numeric, numericReference(code, numeric)};
      }
    } else {
      switch (code) {
        case L'\'':
          if (escapeSingle) found = replacement(L"&apos;");
          break;
        case L'<':
          if (!ignoreLess) found = replacement(L"&lt;");
          break;
        case L'>':
          if (!ignoreGreater) found = replacement(L"&gt;");
          break;
        case L'"':
          if (escapeDouble) found = replacement(L"&quot;");
          break;
        case L'&':
          if (!ignoreAmpersand) found = replacement(L"&amp;");
          break;
        case 0:
          found = replacement(L"&#0;");
          break;
        default:
          break;
      }
    }
    if (!drop && !found.text) continue;
    if (cursor != run) {
      int result = _write(run, static_cast<int>(cursor - run));
      if (result < 0) return result;
      count += result;
    }
    run = cursor + 1;
    if (drop) continue;
    int result = _write(found.text, found.length);
    if (result < 0) return result;
    count += result;
  }
  if (end != run) {
    int result = _write(run, static_cast<int>(end - run));
    if (result < 0) return result;
    count += result;
  }
  return clampToInt(count);
}

void CMarlOStream::setIgnoreEscaping(std::wstring const& characters) {
  ignoreLess = ignoreGreater = ignoreAmpersand = ignoreDoubleQuote = ignoreSingleQuote = 0;
  for (wchar_t character : characters) {
    switch (character) {
      case L'<':
        ignoreLess = 1;
        break;
      case L'>':
        ignoreGreater = 1;
        break;
      case L'&':
        ignoreAmpersand = 1;
        break;
      case L'"':
        ignoreDoubleQuote = 1;
        break;
      case L'\'':
        ignoreSingleQuote = 1;
        break;
      default:
        break;
    }
  }
  ignoreEscaping.clear();
  if (ignoreLess) ignoreEscaping += L'<';
  if (ignoreGreater) ignoreEscaping += L'>';
  if (ignoreAmpersand) ignoreEscaping += L'&';
  if (ignoreDoubleQuote) ignoreEscaping += L'"';
  if (ignoreSingleQuote) ignoreEscaping += L'\'';
}

void CMarlOStream::writeLineBreak() {
  if (!prettyPrint) return;
  wchar_t text[1 + c_maxIndent];
  unsigned int depth = std::min(indent, c_maxIndent);
  text[0] = L'\n';
  std::fill(text + 1, text + 1 + depth, indentChar);
  write(text, static_cast<int>(1 + depth));
}

// ---------------------------------------------------------------------------------------
// CMarlStreamFactory

namespace {

template <class Handle, class Stream, class Interface, class... Arguments>
Handle makeStream(Arguments&&... arguments) {
  try {
    return Handle(static_cast<Interface*>(new Stream(static_cast<Arguments&&>(arguments)...)));
  } catch (std::bad_alloc const&) {
    return Handle();
  }
}

template <class Stream, class... Arguments>
MarlIStream makeIStream(Arguments&&... arguments) {
  return makeStream<MarlIStream, Stream, CMarlIStream>(static_cast<Arguments&&>(arguments)...);
}

template <class Stream, class... Arguments>
MarlOStream makeOStream(Arguments&&... arguments) {
  return makeStream<MarlOStream, Stream, CMarlOStream>(static_cast<Arguments&&>(arguments)...);
}


// A clone of the first capable prototype, configured; an empty handle when none is capable.
template <class Handle, class Prototypes>
Handle cloneCapable(Prototypes const& prototypes, std::wstring const& id,
                    std::wstring const& publicId) {
  for (Handle const& prototype : prototypes) {
    if (!prototype._impl()->isCapable(id, publicId)) continue;
    Handle stream(prototype._impl()->clone());
    if (!stream) return Handle();
    stream._impl()->setSystemId(id);
    stream._impl()->setPublicId(publicId);
    return stream;
  }
  return Handle();
}

// Prototypes are consulted in order: a registered one goes before all that are there.
template <class Handle, class Prototypes>
unsigned char registerPrototype(Prototypes& prototypes, Handle const& stream) {
  if (!stream) return 0;
  try {
    Handle copy(stream._impl()->clone());
    if (!copy) return 0;
    prototypes.insert(prototypes.begin(), copy);
    return 1;
  } catch (std::bad_alloc const&) {
    return 0;
  }
}

}  // namespace

void* CMarlStreamFactory::_queryInterface(unsigned int id) {
  return id == idStreamFactory || id == idUnknown ? this : nullptr;
}

unsigned int CMarlStreamFactory::_queryClass() const {
  return idStreamFactory;
}

void CMarlStreamFactory::lazyInit() {
  if (!lazy) return;
  MarlIStream input(static_cast<CMarlIStream*>(new CMarlIStreamFile()));
  MarlOStream output(static_cast<CMarlOStream*>(new CMarlOStreamFile()));
  // Both lists grow or neither does.
  iPrototypes.reserve(iPrototypes.size() + 1);
  oPrototypes.reserve(oPrototypes.size() + 1);
  iPrototypes.push_back(input);
  oPrototypes.push_back(output);
  lazy = 0;
}

MarlIStream CMarlStreamFactory::createIStreamRawBuffer(unsigned char const* begin,
                                                       unsigned char const* end) {
  return makeIStream<CMarlIStreamRawBuffer>(begin, end);
}

MarlIStream CMarlStreamFactory::createIStreamRawString(rawstring const& bytes) {
  return makeIStream<CMarlIStreamRawString>(bytes);
}

MarlIStream CMarlStreamFactory::createIStreamString(std::wstring const& text) {
  return makeIStream<CMarlIStreamString>(text);
}

MarlIStream CMarlStreamFactory::createIStreamXString(void* hostByteString) {
  return makeIStream<CMarlIStreamXString>(hostByteString);
}

MarlIStream CMarlStreamFactory::createIStreamCString(void* hostString) {
  return makeIStream<CMarlIStreamCString>(hostString);
}

MarlIStream CMarlStreamFactory::createIStreamITable(void const* table, unsigned int size) {
  return makeIStream<CMarlIStreamITable>(table, size);
}

MarlIStream CMarlStreamFactory::createIStreamURI(std::wstring const& systemId,
                                                 std::wstring const& publicId,
                                                 unsigned int streamMode) {
  try {
    lazyInit();
    MarlIStream stream = cloneCapable<MarlIStream>(iPrototypes, withFileScheme(systemId), publicId);
    if (!stream) return stream;
    stream._impl()->setStreamMode(streamMode);
    if (!stream._impl()->open()) return MarlIStream();
    return stream;
  } catch (std::bad_alloc const&) {
    return MarlIStream();
  }
}

MarlOStream CMarlStreamFactory::createOStreamRawBuffer(unsigned char* begin,
                                                       unsigned char const* end) {
  return makeOStream<CMarlOStreamRawBuffer>(begin, end);
}

MarlOStream CMarlStreamFactory::createOStreamRawString(rawstring& bytes) {
  return makeOStream<CMarlOStreamRawString>(bytes);
}

MarlOStream CMarlStreamFactory::createOStreamString(std::wstring& text) {
  return makeOStream<CMarlOStreamString>(text);
}

MarlOStream CMarlStreamFactory::createOStreamXString(void* hostByteString) {
  return makeOStream<CMarlOStreamXString>(hostByteString);
}

MarlOStream CMarlStreamFactory::createOStreamCString(void* hostString) {
  return makeOStream<CMarlOStreamCString>(hostString);
}

MarlOStream CMarlStreamFactory::createOStreamITable(void* table) {
  return makeOStream<CMarlOStreamITable>(table);
}

MarlOStream CMarlStreamFactory::createOStreamURI(std::wstring const& systemId,
                                                 std::wstring const& publicId) {
  try {
    lazyInit();
    MarlOStream stream = cloneCapable<MarlOStream>(oPrototypes, withFileScheme(systemId), publicId);
    if (!stream) return stream;
    if (!stream._impl()->open()) return MarlOStream();
    return stream;
  } catch (std::bad_alloc const&) {
    return MarlOStream();
  }
}

unsigned char CMarlStreamFactory::registerIStream(MarlIStream const& stream) {
  return registerPrototype(iPrototypes, stream);
}

unsigned char CMarlStreamFactory::registerOStream(MarlOStream const& stream) {
  return registerPrototype(oPrototypes, stream);
}

unsigned char CMarlStreamFactory::unregisterIStream(MarlIStream const&) {
  return 0;
}

unsigned char CMarlStreamFactory::unregisterOStream(MarlOStream const&) {
  return 0;
}

MarlStreamFactory defaultStreamFactory() {
  // Held for the life of the process: whoever falls back on it may keep streams from it.
  static CMarlStreamFactory* const factory = [] {
    CMarlStreamFactory* made = new CMarlStreamFactory();
    made->addRef();
    return made;
  }();
  return MarlStreamFactory(factory);
}

// ---------------------------------------------------------------------------------------
// Handles

MARL_DEFINE_HANDLE(MarlStream, CMarlStream, idStream)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlStream)

unsigned char MarlStream::setEncoding(MarlEncoding const& encoding) const {
  return m_p->setEncoding(encoding);
}

MarlEncoding MarlStream::getEncoding() const {
  return m_p->getEncoding();
}

MarlStream MarlStream::clone() const {
  return m_p->clone();
}

unsigned char MarlStream::open() const {
  return m_p->open();
}

void MarlStream::close() const {
  m_p->close();
}

std::wstring const& MarlStream::getSystemId() const {
  return m_p->getSystemId();
}

void MarlStream::setSystemId(std::wstring const& systemId) const {
  m_p->setSystemId(systemId);
}

std::wstring const& MarlStream::getPublicId() const {
  return m_p->getPublicId();
}

void MarlStream::setPublicId(std::wstring const& publicId) const {
  m_p->setPublicId(publicId);
}

std::wstring MarlStream::makeAbsoluteId(std::wstring const& id, std::wstring const& base) const {
  return m_p->makeAbsoluteId(id, base);
}

unsigned char MarlStream::isCapable(std::wstring const& systemId,
                                   std::wstring const& publicId) const {
  return m_p->isCapable(systemId, publicId);
}

int MarlStream::getType(void** handle) const {
  return m_p->getType(handle);
}

void MarlStream::setStreamMode(unsigned int mode) const {
  m_p->setStreamMode(mode);
}

MarlIStream::MarlIStream(CMarlIStream* p) : MarlStream(p) {}

MarlIStream::MarlIStream(CUnknown* p) {
  m_p = handle::query<CMarlIStream>(p, idIStream);
}

MarlIStream::MarlIStream(MarlStream const& stream) {
  m_p = handle::query<CMarlIStream>(static_cast<CUnknown*>(stream), idIStream);
}

MarlIStream& MarlIStream::operator=(CMarlIStream const* p) {
  MarlStream::operator=(p);
  return *this;
}

CMarlIStream* MarlIStream::_impl() const noexcept {
  return static_cast<CMarlIStream*>(m_p);
}

int MarlIStream::read(wchar_t* target, int capacity) const {
  return _impl()->read(target, capacity);
}

int MarlIStream::readRaw(unsigned char* target, int capacity) const {
  return _impl()->readRaw(target, capacity);
}

unsigned int MarlIStream::getNumRead() const {
  return _impl()->getNumRead();
}

unsigned int MarlIStream::getNumReadRaw() const {
  return _impl()->getNumReadRaw();
}

void MarlIStream::setDtdRestriction(unsigned int restriction) const {
  _impl()->setDtdRestriction(restriction);
}

unsigned int MarlIStream::getDtdRestriction() const {
  return _impl()->getDtdRestriction();
}

unsigned char MarlIStream::isDtdProhibited() const {
  return _impl()->isDtdProhibited();
}

unsigned char MarlIStream::isDtdRestricted() const {
  return _impl()->isDtdRestricted();
}

void MarlIStream::setMaxExpansion(unsigned int maxExpansion) const {
  _impl()->setMaxExpansion(maxExpansion);
}

unsigned int MarlIStream::getMaxExpansion() const {
  return _impl()->getMaxExpansion();
}

MarlOStream::MarlOStream(CMarlOStream* p) : MarlStream(p) {}

MarlOStream::MarlOStream(CUnknown* p) {
  m_p = handle::query<CMarlOStream>(p, idOStream);
}

MarlOStream::MarlOStream(MarlStream const& stream) {
  m_p = handle::query<CMarlOStream>(static_cast<CUnknown*>(stream), idOStream);
}

MarlOStream& MarlOStream::operator=(CMarlOStream const* p) {
  MarlStream::operator=(p);
  return *this;
}

CMarlOStream* MarlOStream::_impl() const noexcept {
  return static_cast<CMarlOStream*>(m_p);
}

int MarlOStream::write(wchar_t const* data, int length) const {
  return _impl()->write(data, length);
}

int MarlOStream::writeString(std::wstring const& text) const {
  return _impl()->writeString(text);
}

int MarlOStream::writeRaw(unsigned char const* data, int length) const {
  return _impl()->writeRaw(data, length);
}

void MarlOStream::flush() const {
  _impl()->flush();
}

unsigned int MarlOStream::getNumWritten() const {
  return _impl()->getNumWritten();
}

unsigned int MarlOStream::getNumWrittenRaw() const {
  return _impl()->getNumWrittenRaw();
}

void MarlOStream::setQuoted(unsigned char quoted) const {
  _impl()->setQuoted(quoted);
}

unsigned char MarlOStream::getQuoted() const {
  return _impl()->getQuoted();
}

void MarlOStream::setEscaped(unsigned char escaped) const {
  _impl()->setEscaped(escaped);
}

unsigned char MarlOStream::getEscaped() const {
  return _impl()->getEscaped();
}

void MarlOStream::setIgnoreEscaping(std::wstring const& characters) const {
  _impl()->setIgnoreEscaping(characters);
}

std::wstring const& MarlOStream::getIgnoreEscaping() const {
  return _impl()->getIgnoreEscaping();
}

void MarlOStream::setPrettyPrint(unsigned char prettyPrint) const {
  _impl()->setPrettyPrint(prettyPrint);
}

unsigned char MarlOStream::getPrettyPrint() const {
  return _impl()->getPrettyPrint();
}

void MarlOStream::setIndent(unsigned int indent) const {
  _impl()->setIndent(indent);
}

unsigned int MarlOStream::getIndent() const {
  return _impl()->getIndent();
}

void MarlOStream::setIndentChar(wchar_t indentChar) const {
  _impl()->setIndentChar(indentChar);
}

wchar_t MarlOStream::getIndentChar() const {
  return _impl()->getIndentChar();
}

void MarlOStream::preserveSpecialChar(unsigned char preserve) const {
  _impl()->preserveSpecialChar(preserve);
}

void MarlOStream::skipNonXmlChar(unsigned char skip) const {
  _impl()->skipNonXmlChar(skip);
}

XMLOSManip::~XMLOSManip() = default;

void XMLOSManipQuoted::manipulate(MarlOStream const& stream) const {
  stream.setQuoted(value);
}

void XMLOSManipEscaped::manipulate(MarlOStream const& stream) const {
  stream.setEscaped(value);
}

void XMLOSManipIncIndent::manipulate(MarlOStream const& stream) const {
  stream.setIndent(stream.getIndent() + value);
}

void XMLOSManipDecIndent::manipulate(MarlOStream const& stream) const {
  stream.setIndent(stream.getIndent() - value);
}

void XMLOSManipEndl::manipulate(MarlOStream const& stream) const {
  stream._impl()->writeLineBreak();
}

MARL_DEFINE_HANDLE(MarlStreamFactory, CMarlStreamFactory, idStreamFactory)
MARL_DEFINE_HANDLE_DESTRUCTOR(MarlStreamFactory)

MarlIStream MarlStreamFactory::createIStreamRawBuffer(unsigned char const* begin,
                                                      unsigned char const* end) const {
  return m_p->createIStreamRawBuffer(begin, end);
}

MarlIStream MarlStreamFactory::createIStreamRawString(rawstring const& bytes) const {
  return m_p->createIStreamRawString(bytes);
}

MarlIStream MarlStreamFactory::createIStreamString(std::wstring const& text) const {
  return m_p->createIStreamString(text);
}

MarlIStream MarlStreamFactory::createIStreamXString(void* hostByteString) const {
  return m_p->createIStreamXString(hostByteString);
}

MarlIStream MarlStreamFactory::createIStreamCString(void* hostString) const {
  return m_p->createIStreamCString(hostString);
}

MarlIStream MarlStreamFactory::createIStreamITable(void const* table, unsigned int size) const {
  return m_p->createIStreamITable(table, size);
}

MarlIStream MarlStreamFactory::createIStreamURI(std::wstring const& systemId,
                                                std::wstring const& publicId,
                                                unsigned int streamMode) const {
  return m_p->createIStreamURI(systemId, publicId, streamMode);
}

MarlOStream MarlStreamFactory::createOStreamRawBuffer(unsigned char* begin,
                                                      unsigned char const* end) const {
  return m_p->createOStreamRawBuffer(begin, end);
}

MarlOStream MarlStreamFactory::createOStreamRawString(rawstring& bytes) const {
  return m_p->createOStreamRawString(bytes);
}

MarlOStream MarlStreamFactory::createOStreamString(std::wstring& text) const {
  return m_p->createOStreamString(text);
}

MarlOStream MarlStreamFactory::createOStreamXString(void* hostByteString) const {
  return m_p->createOStreamXString(hostByteString);
}

MarlOStream MarlStreamFactory::createOStreamCString(void* hostString) const {
  return m_p->createOStreamCString(hostString);
}

MarlOStream MarlStreamFactory::createOStreamITable(void* table) const {
  return m_p->createOStreamITable(table);
}

MarlOStream MarlStreamFactory::createOStreamURI(std::wstring const& systemId,
                                                std::wstring const& publicId) const {
  return m_p->createOStreamURI(systemId, publicId);
}

unsigned char MarlStreamFactory::registerIStream(MarlIStream const& stream) const {
  return m_p->registerIStream(stream);
}

unsigned char MarlStreamFactory::registerOStream(MarlOStream const& stream) const {
  return m_p->registerOStream(stream);
}

unsigned char MarlStreamFactory::unregisterIStream(MarlIStream const& stream) const {
  return m_p->unregisterIStream(stream);
}

unsigned char MarlStreamFactory::unregisterOStream(MarlOStream const& stream) const {
  return m_p->unregisterOStream(stream);
}
