// Detects an encoding from arbitrary bytes and sends them through every encoding handler and
// through the input and output streams.
//
// Input layout: byte 0 the encoding name (an index into the list below; past its end the name
// is read from the input up to a zero byte); byte 1 the byte order (bits 0-2, modulo 5) and
// the size of the conversion targets (bits 3-7, plus one); the rest the bytes to convert.
#include <marl/marl.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "kernel/xmxxu_xcpt.h"
#include "streams/xmxxu_strm.h"
#include "text/xmxxu_enco.h"

namespace {

wchar_t const* const c_names[] = {
    L"utf-8",        L"UTF-8",           L"utf-16",          L"utf-16le",     L"utf-16be",
    L"ucs-2",        L"ucs-2le",         L"iso-10646-ucs-2", L"ucs-4",        L"ucs-4be",
    L"iso-10646-ucs-4", L"us-ascii",     L"ascii",           L"iso-8859-1",   L"ISO-8859-2",
    L"iso-8859-3",   L"iso-8859-4",      L"iso-8859-5",      L"iso-8859-6",   L"iso-8859-7",
    L"iso-8859-8",   L"iso-8859-8-i",    L"iso-8859-9",      L"iso-8859-10",  L"iso-8859-11",
    L"iso-8859-13",  L"iso-8859-14",     L"iso-8859-15",     L"iso-8859-16",  L"iso8859_1",
    L"latin1",       L"x-orv4110",       L"orv1100",         L"windows-1252", L"shift_jis",
    L"",             L"unicodebigunmarked"};
constexpr std::size_t c_nameCount = sizeof(c_names) / sizeof(c_names[0]);

// The harness's own checks: a broken promise of a handler stops the run like a crash.
void require(bool promise) {
  if (!promise) std::abort();
}

// Decodes all of `bytes` in steps of at most `room` characters; the characters decoded.
std::wstring decodeAll(MarlEncodingHandler& handler, unsigned char const* begin,
                       unsigned char const* end, std::size_t room) {
  std::wstring decoded;
  std::vector<wchar_t> target(room);
  unsigned char const* source = begin;
  for (;;) {
    unsigned char const* before = source;
    wchar_t* cursor = target.data();
    int status = handler.convertToUCS2(&source, end, &cursor, target.data() + room);
    require(source >= before && source <= end);
    require(cursor >= target.data() && cursor <= target.data() + room);
    for (wchar_t const* c = target.data(); c != cursor; ++c) {
      // The character table is read unchecked: decoders must stay inside it.
      require(static_cast<unsigned long>(*c) < 0x10000);
      decoded += *c;
    }
    if (status != MarlEncodingHandler::CONV_TGT_FULL) break;
    // A target too small for one character cannot make progress.
    if (source == before && cursor == target.data()) break;
  }
  return decoded;
}

// Encodes all of `text` in steps of at most `room` bytes.
void encodeAll(MarlEncodingHandler& handler, std::wstring const& text, std::size_t room) {
  std::vector<unsigned char> target(room);
  wchar_t const* source = text.data();
  wchar_t const* const end = source + text.size();
  for (;;) {
    wchar_t const* before = source;
    unsigned char* cursor = target.data();
    int status = handler.convertFromUCS2(&source, end, &cursor, target.data() + room);
    require(source >= before && source <= end);
    require(cursor >= target.data() && cursor <= target.data() + room);
    if (status != MarlEncodingHandler::CONV_TGT_FULL) break;
    if (source == before && cursor == target.data()) break;
  }
}

// Reads the whole stream in small pieces; a conversion problem ends it.
std::wstring readStream(MarlIStream const& stream, int room) {
  std::wstring text;
  std::vector<wchar_t> target(static_cast<std::size_t>(room));
  try {
    for (;;) {
      int count = stream.read(target.data(), room);
      if (count <= 0) break;
      require(count <= room);
      text.append(target.data(), static_cast<std::size_t>(count));
    }
  } catch (XPT const&) {
  }
  return text;
}

void writeStream(Marl const& marl, MarlEncoding const& encoding, std::wstring const& text,
                 unsigned char flags) {
  rawstring bytes;
  MarlOStream output = marl.createStreamFactory().createOStreamRawString(bytes);
  if (!output) return;
  output.setEncoding(encoding);
  output.setPrettyPrint(flags & 1);
  output.preserveSpecialChar((flags >> 1) & 1);
  output.skipNonXmlChar((flags >> 2) & 1);
  output.setIgnoreEscaping(L"<'");
  XMLOSManipEndl().manipulate(output);
  output.setQuoted((flags >> 3) & 1);
  output.setEscaped((flags >> 4) & 1);
  output.writeString(text);
  output.setEscaped(1);
  output.write(text.data(), static_cast<int>(text.size() / 2));
  output.flush();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size < 2) return 0;
  unsigned char const* begin = data + 2;
  unsigned char const* const end = data + size;
  std::wstring name;
  if (data[0] < c_nameCount) {
    name = c_names[data[0]];
  } else {
    while (begin != end && *begin) name += static_cast<wchar_t>(*begin++);
    if (begin != end) ++begin;
  }
  auto const order = static_cast<MarlEncoding::ByteOrder>((data[1] & 7) % 5);
  std::size_t const room = (data[1] >> 3) + 1;

  // Built again for each input, the library would cost most of a run.
  static Marl const marl = Marl::create();
  if (!marl) return 0;
  MarlEncoding encoding = marl.createEncoding(name, order);
  if (!encoding) return 0;
  encoding.getCharacterSetORV();
  encoding.getCharacterSetHTTP();
  MarlEncoding detected = encoding.clone();
  if (detected) {
    int bomLength = detected.autoDetect(begin, end);
    require(bomLength >= -1 && bomLength <= end - begin);
  }

  // A factory of its own: capable changes the byte order of the prototypes it asks. The host
  // handlers are not in its list; they are asked too, and their clones fail without a host.
  CEncodingFactory factory;
  CEncodingFactory::Prototypes prototypes = factory.prototypes();
  prototypes.push_back(MarlEncodingHandler(new CEncodingHandlerORV()));
  prototypes.push_back(MarlEncodingHandler(new CEncodingHandlerORV_Block()));
  std::wstring decoded;
  for (MarlEncodingHandler prototype : prototypes) {
    if (!prototype.capable(encoding)) continue;
    MarlEncodingHandler handler = prototype.clone(encoding);
    if (!handler) continue;
    require(handler.chunkSize() > 0);
    std::wstring text = decodeAll(handler, begin, end, room);
    encodeAll(handler, text, room);
    // Any code units at all, two bytes each, the way the tree may hold them.
    std::wstring units;
    for (unsigned char const* p = begin; p + 1 < end; p += 2)
      units += static_cast<wchar_t>(p[0] | (p[1] << 8));
    encodeAll(handler, units, room);
    handler.setByteOrder(static_cast<MarlEncoding::ByteOrder>((order + 1) % 5));
    decodeAll(handler, begin, end, room);
    if (decoded.empty()) decoded = text;
  }

  MarlStreamFactory streams = marl.createStreamFactory();
  MarlIStream detecting = streams.createIStreamRawBuffer(begin, end);
  if (detecting) readStream(detecting, static_cast<int>(room));
  MarlIStream fixed = streams.createIStreamRawBuffer(begin, end);
  if (fixed) {
    fixed.setEncoding(encoding);
    readStream(fixed, static_cast<int>(room));
  }
  // The bytes again and again, past the stream's 8192-byte buffer, so that characters are cut
  // by refills; the encoding changes after the first read, as at an encoding declaration.
  if (begin != end) {
    rawstring repeated;
    while (repeated.size() <= CMarlStream::c_rawBufferSize + room)
      repeated.append(begin, static_cast<std::size_t>(end - begin));
    MarlIStream switching = streams.createIStreamRawString(repeated);
    if (switching) {
      std::vector<wchar_t> first(room);
      try {
        switching.read(first.data(), static_cast<int>(room));
        MarlIStream copy(switching.clone());
        if (copy) readStream(copy, static_cast<int>(room));
        switching.setEncoding(encoding);
        readStream(switching, static_cast<int>(CMarlStream::c_rawBufferSize / 2));
      } catch (XPT const&) {
      }
    }
  }
  writeStream(marl, encoding, decoded, data[1]);
  return 0;
}
