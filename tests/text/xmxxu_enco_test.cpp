#include "text/xmxxu_enco.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "kernel/xmxxi_marl.h"
#include "kernel/xmxxu_trc.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

using Bytes = std::vector<unsigned char>;
using E = MarlEncoding;
using H = MarlEncodingHandler;

constexpr int CONV_INTERNAL_ERROR = 4;
constexpr std::size_t c_plenty = 256;

// A library for each test, so that leaks can be counted from a known start.
class Encodings : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl::create();
    ASSERT_TRUE(marl);
  }
  void TearDown() override {
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  CEncodingFactory& factory() {
    return marl._impl()->getEncodingFactory();
  }
  MarlEncoding encoding(std::wstring const& name, E::ByteOrder order = E::BYTEORDER_LE) {
    return marl.createEncoding(name, order);
  }
  MarlEncodingHandler handlerFor(std::wstring const& name, E::ByteOrder order = E::BYTEORDER_LE) {
    return factory().queryHandler(encoding(name, order));
  }

  Marl marl;
};

// Captures what the trace writes to the standard error stream, at the given report level.
class TraceCapture {
 public:
  explicit TraceCapture(unsigned int level = traceError) : levelBefore(MarlTrace__getLevel()) {
    MarlTrace__setLevel(level, 0);
    ::testing::internal::CaptureStderr();
  }
  ~TraceCapture() {
    if (!taken) ::testing::internal::GetCapturedStderr();
    MarlTrace__setLevel(levelBefore, 0);
  }
  std::string text() {
    if (!taken) {
      captured = ::testing::internal::GetCapturedStderr();
      taken = true;
    }
    return captured;
  }

 private:
  unsigned int levelBefore;
  bool taken = false;
  std::string captured;
};

template <class Handler>
bool holds(MarlEncodingHandler const& handler) {
  return handler && typeid(*handler._impl()) == typeid(Handler);
}

Bytes slice(Bytes const& bytes, std::size_t from, std::size_t to) {
  return Bytes(bytes.begin() + static_cast<long>(from), bytes.begin() + static_cast<long>(to));
}

std::wstring slice(std::wstring const& text, std::size_t from, std::size_t to) {
  return text.substr(from, to - from);
}

// One call of convertToUCS2 over buffers of exactly the given sizes, so that the sanitizer
// sees any access beyond them.
struct Decoding {
  int status;
  std::size_t consumed;
  std::wstring text;
};

Decoding decode(MarlEncodingHandler& handler, Bytes const& bytes, std::size_t room = c_plenty) {
  Bytes source(bytes);
  std::vector<wchar_t> target(room);
  unsigned char const* cursor = source.data();
  wchar_t* out = target.data();
  int status =
      handler.convertToUCS2(&cursor, source.data() + source.size(), &out, target.data() + room);
  return {status, static_cast<std::size_t>(cursor - source.data()),
          std::wstring(target.data(), out)};
}

struct Encoding {
  int status;
  std::size_t consumed;
  Bytes bytes;
};

Encoding encode(MarlEncodingHandler& handler, std::wstring const& text,
                std::size_t room = c_plenty) {
  std::vector<wchar_t> source(text.begin(), text.end());
  Bytes target(room);
  wchar_t const* cursor = source.data();
  unsigned char* out = target.data();
  int status =
      handler.convertFromUCS2(&cursor, source.data() + source.size(), &out, target.data() + room);
  return {status, static_cast<std::size_t>(cursor - source.data()), Bytes(target.data(), out)};
}

std::wstring wide(std::initializer_list<unsigned int> elements) {
  std::wstring text;
  for (unsigned int element : elements) text += static_cast<wchar_t>(element);
  return text;
}

// Decodes as a stream does when the bytes come in two parts: first up to `cut`, then the rest
// from where the first call stopped.
std::wstring decodeCutAt(MarlEncodingHandler& handler, Bytes const& bytes, std::size_t cut) {
  Decoding first = decode(handler, slice(bytes, 0, cut));
  EXPECT_TRUE(first.status == H::CONV_OK || first.status == H::CONV_SRC_EXHAUSTED) << "cut " << cut;
  Decoding rest = decode(handler, slice(bytes, first.consumed, bytes.size()));
  EXPECT_EQ(rest.status, H::CONV_OK) << "cut " << cut;
  return first.text + rest.text;
}

// Decodes into a target of `room` elements first, then the rest into a large one.
std::wstring decodeWithRoom(MarlEncodingHandler& handler, Bytes const& bytes, std::size_t room) {
  Decoding first = decode(handler, bytes, room);
  EXPECT_TRUE(first.status == H::CONV_OK || first.status == H::CONV_TGT_FULL) << "room " << room;
  Decoding rest = decode(handler, slice(bytes, first.consumed, bytes.size()));
  EXPECT_EQ(rest.status, H::CONV_OK) << "room " << room;
  return first.text + rest.text;
}

void expectResumableDecoding(MarlEncodingHandler& handler, Bytes const& bytes,
                             std::wstring const& expected) {
  Decoding whole = decode(handler, bytes);
  ASSERT_EQ(whole.status, H::CONV_OK);
  ASSERT_EQ(whole.text, expected);
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
    EXPECT_EQ(decodeCutAt(handler, bytes, cut), expected) << "cut " << cut;
  for (std::size_t room = 0; room <= expected.size(); ++room)
    EXPECT_EQ(decodeWithRoom(handler, bytes, room), expected) << "room " << room;
}

Bytes encodeCutAt(MarlEncodingHandler& handler, std::wstring const& text, std::size_t cut) {
  Encoding first = encode(handler, slice(text, 0, cut));
  EXPECT_EQ(first.status, H::CONV_OK) << "cut " << cut;
  Encoding rest = encode(handler, slice(text, first.consumed, text.size()));
  EXPECT_EQ(rest.status, H::CONV_OK) << "cut " << cut;
  first.bytes.insert(first.bytes.end(), rest.bytes.begin(), rest.bytes.end());
  return first.bytes;
}

Bytes encodeWithRoom(MarlEncodingHandler& handler, std::wstring const& text, std::size_t room) {
  Encoding first = encode(handler, text, room);
  EXPECT_TRUE(first.status == H::CONV_OK || first.status == H::CONV_TGT_FULL) << "room " << room;
  Encoding rest = encode(handler, slice(text, first.consumed, text.size()));
  EXPECT_EQ(rest.status, H::CONV_OK) << "room " << room;
  first.bytes.insert(first.bytes.end(), rest.bytes.begin(), rest.bytes.end());
  return first.bytes;
}

// Every cut of the source except those that fall between the halves of a surrogate pair, and
// every size of the target.
void expectResumableEncoding(MarlEncodingHandler& handler, std::wstring const& text,
                             Bytes const& expected) {
  Encoding whole = encode(handler, text);
  ASSERT_EQ(whole.status, H::CONV_OK);
  ASSERT_EQ(whole.bytes, expected);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    bool splitsPair = cut > 0 && cut < text.size() && text[cut - 1] >= 0xD800 &&
                      text[cut - 1] <= 0xDBFF && text[cut] >= 0xDC00 && text[cut] <= 0xDFFF;
    if (!splitsPair) {
      EXPECT_EQ(encodeCutAt(handler, text, cut), expected) << "cut " << cut;
    }
  }
  for (std::size_t room = 0; room <= expected.size(); ++room)
    EXPECT_EQ(encodeWithRoom(handler, text, room), expected) << "room " << room;
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Encoding objects

TEST_F(Encodings, CreateEncodingKeepsTheNameAsGivenAndTheOrder) {
  MarlEncoding utf8 = marl.createEncoding(L"UTF-8", E::BYTEORDER_BE);
  ASSERT_TRUE(utf8);
  EXPECT_EQ(utf8.getCharacterSet(), L"UTF-8");
  EXPECT_EQ(utf8.getByteOrder(), E::BYTEORDER_BE);
}

TEST_F(Encodings, TheUnusualOrdersAreKept) {
  EXPECT_EQ(encoding(L"ucs-4", E::BYTEORDER_2143).getByteOrder(), E::BYTEORDER_2143);
  EXPECT_EQ(encoding(L"ucs-4", E::BYTEORDER_3412).getByteOrder(), E::BYTEORDER_3412);
  EXPECT_EQ(encoding(L"ucs-4", E::BYTEORDER_LE).getByteOrder(), E::BYTEORDER_LE);
}

TEST_F(Encodings, AnEncodingCreatedWithOrderNoneReportsLittleEndian) {
  EXPECT_EQ(encoding(L"utf-8", E::BYTEORDER_NONE).getByteOrder(), E::BYTEORDER_LE);
}

TEST_F(Encodings, AnOrderOutsideTheEnumerationIsStoredAsLittleEndian) {
  MarlEncoding utf16 = encoding(L"utf-16", E::BYTEORDER_BE);
  EXPECT_EQ(utf16.setByteOrder(static_cast<E::ByteOrder>(9)), 1);
  EXPECT_EQ(utf16.getByteOrder(), E::BYTEORDER_LE);
  EXPECT_EQ(utf16.setByteOrder(E::BYTEORDER_NONE), 1);
  EXPECT_EQ(utf16.getByteOrder(), E::BYTEORDER_LE);
}

TEST_F(Encodings, SetCharacterSetReplacesTheNameAndKeepsTheOrder) {
  MarlEncoding changed = encoding(L"utf-16", E::BYTEORDER_BE);
  EXPECT_EQ(changed.setCharacterSet(L"Whatever-Name"), 1);
  EXPECT_EQ(changed.getCharacterSet(), L"Whatever-Name");
  EXPECT_EQ(changed.getByteOrder(), E::BYTEORDER_BE);
}

TEST_F(Encodings, AnEncodingAnswersItsOwnIdentifierAndUnknown) {
  MarlEncoding utf8 = encoding(L"utf-8");
  CMarlEncoding* impl = utf8._impl();
  EXPECT_EQ(impl->_queryClass(), 290u);
  EXPECT_EQ(impl->_queryInterface(290), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(1), static_cast<void*>(impl));
  EXPECT_EQ(impl->_queryInterface(291), nullptr);
  MarlEncoding again(static_cast<CUnknown*>(impl));
  EXPECT_EQ(again._impl(), impl);
  EXPECT_EQ(impl->getRefCount(), 2u);
  EXPECT_FALSE(MarlEncodingHandler(static_cast<CUnknown*>(impl)));
}

TEST_F(Encodings, AnEncodingIsNotCountedAmongTheObjectsThatHoldAtoms) {
  std::uint32_t before = marl._impl()->liveObjects;
  MarlEncoding utf8 = encoding(L"utf-8");
  EXPECT_EQ(marl._impl()->liveObjects, before);
}

TEST_F(Encodings, CloneCopiesNameAndOrderIntoAnIndependentObject) {
  MarlEncoding source = encoding(L"ucs-4", E::BYTEORDER_3412);
  MarlEncoding copy = source.clone();
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_EQ(copy.getCharacterSet(), L"ucs-4");
  EXPECT_EQ(copy.getByteOrder(), E::BYTEORDER_3412);
  copy.setCharacterSet(L"utf-8");
  copy.setByteOrder(E::BYTEORDER_BE);
  EXPECT_EQ(source.getCharacterSet(), L"ucs-4");
  EXPECT_EQ(source.getByteOrder(), E::BYTEORDER_3412);
}

TEST_F(Encodings, CloneGivesAnEmptyHandleWhenMemoryRunsOut) {
  MarlEncoding source = encoding(L"utf-8");
  long blocksBefore = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure;
    EXPECT_FALSE(source.clone());
  }
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
}

TEST_F(Encodings, CreateEncodingGivesAnEmptyHandleWhenMemoryRunsOut) {
  long blocksBefore = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure;
    EXPECT_FALSE(marl.createEncoding(L"utf-8", E::BYTEORDER_LE));
  }
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
}

// ---------------------------------------------------------------------------------------
// The table of host code pages

TEST(CodePageTable, HoldsTheNinetySevenRowsInOrderEndedByNulls) {
  // Digits and charset name of each row, in table order.
  std::wistringstream rows(
      L"4110 utf-8; 4102 utf-16be; 4103 utf-16le; 1100 iso-8859-1; 1401 iso-8859-2; 0120 ibm500; "
      L"1100 iso-8859-1; 1101 us-ascii; 1103 ibm850; 1140 iso-8859-1; 1160 windows-1252; "
      L"1180 iso-8859-1; 1401 iso-8859-2; 1403 ibm852; 1404 windows-1250; 1500 iso-8859-5; "
      L"1503 ibm866; 1504 windows-1251; 1610 iso-8859-9; 1614 windows-1254; 1700 iso-8859-7; "
      L"1704 windows-1253; 1800 iso-8859-8-i; 1804 windows-1255; 1800 iso-8859-8; "
      L"1810 iso-8859-8-i; 1900 iso-8859-4; 1904 windows-1257; 4100 ucs-2be; 4101 ucs-2le; "
      L"4102 utf-16be; 4103 utf-16le; 4104 ucs-4be; 4105 ucs-4le; 4104 ucs-4be; 4105 ucs-4le; "
      L"4110 utf-8; 6100 x-orv-6100; 6200 x-orv-6200; 6300 x-orv-6300; 8000 shift_jis; "
      L"8004 shift_jis; 8100 euc-jp; 8200 iso-2022-jp; 8300 big5; 8304 big5; 8340 big5-hkscs; "
      L"8344 big5-hkscs; 8400 gbk; 8404 gbk; 8450 gb2312; 8500 ks_c_5601-1987; "
      L"8504 ks_c_5601-1987; 8600 tis-620; 8604 windows-874; 8700 iso-8859-6; "
      L"8704 windows-1256; 0120 cp500; 1100 iso8859_1; 1101 ascii; 1103 cp850; 1140 iso8859_1; "
      L"1160 cp1252; 1180 iso8859_1; 1401 iso8859_2; 1403 cp852; 1404 cp1250; 1500 iso8859_5; "
      L"1503 cp866; 1504 cp1251; 1610 iso8859_9; 1614 cp1254; 1700 iso8859_7; 1704 cp1253; "
      L"1800 iso8859_8; 1804 cp1255; 1810 iso8859_8; 1900 iso8859_4; 1904 cp1257; "
      L"4102 unicodebigunmarked; 4103 unicodelittleunmarked; 4110 utf-8; 8000 ms932; "
      L"8004 ms932; 8100 euc_jp; 8200 iso2022jp; 8300 ms950; 8304 ms950; 8400 gbk; 8404 gbk; "
      L"8450 euc_cn; 8500 ms949; 8504 ms949; 8600 tis620; 8604 ms874; 8700 iso8859_6; "
      L"8704 cp1256;");
  int index = 0;
  std::wstring digits;
  std::wstring name;
  while (rows >> digits >> name) {
    name.pop_back();  // the ';'
    ASSERT_LT(index, CMarlEncoding::c_codePageRows);
    CMarlEncoding::CodePageRow const& row = CMarlEncoding::cp_table[index];
    EXPECT_EQ(std::wstring(row.orv), L"orv" + digits) << "row " << index + 1;
    EXPECT_EQ(std::wstring(row.xorv), L"x-orv" + digits) << "row " << index + 1;
    EXPECT_EQ(std::wstring(row.charset), name) << "row " << index + 1;
    ++index;
  }
  EXPECT_EQ(index, 97);
  CMarlEncoding::CodePageRow const& end = CMarlEncoding::cp_table[97];
  EXPECT_EQ(end.orv, nullptr);
  EXPECT_EQ(end.xorv, nullptr);
  EXPECT_EQ(end.charset, nullptr);
}

TEST_F(Encodings, OrvNameOfACharsetNameIsTheRegisteredPrivateForm) {
  EXPECT_EQ(encoding(L"UTF-8").getCharacterSetORV(), L"x-orv4110");
  EXPECT_EQ(encoding(L"cp1252").getCharacterSetORV(), L"x-orv1160");
  EXPECT_EQ(encoding(L"Windows-1250").getCharacterSetORV(), L"x-orv1404");
}

TEST_F(Encodings, OrvNameTakesTheFirstMatchingRow) {
  EXPECT_EQ(encoding(L"iso-8859-1").getCharacterSetORV(), L"x-orv1100");
  EXPECT_EQ(encoding(L"iso-8859-8-i").getCharacterSetORV(), L"x-orv1800");
  EXPECT_EQ(encoding(L"gbk").getCharacterSetORV(), L"x-orv8400");
}

TEST_F(Encodings, OrvNameOfAHostFormIsSearchedInTheFirstColumn) {
  EXPECT_EQ(encoding(L"orv1160").getCharacterSetORV(), L"x-orv1160");
  EXPECT_EQ(encoding(L"ORV4103").getCharacterSetORV(), L"x-orv4103");
  EXPECT_EQ(encoding(L"orv-x").getCharacterSetORV(), L"");
  // A name beginning with "orv" is never looked for among the charset names.
  EXPECT_EQ(encoding(L"orvutf-8").getCharacterSetORV(), L"");
}

TEST_F(Encodings, OrvNameOfAPrivateFormIsSearchedInTheSecondColumn) {
  EXPECT_EQ(encoding(L"x-orv1404").getCharacterSetORV(), L"x-orv1404");
  EXPECT_EQ(encoding(L"X-ORV8700").getCharacterSetORV(), L"x-orv8700");
  EXPECT_EQ(encoding(L"x-orv9999").getCharacterSetORV(), L"");
  // The charset names of the 6100 to 6300 rows begin like a private form and so are only ever
  // looked for in the second column, where they do not stand.
  EXPECT_EQ(encoding(L"x-orv-6100").getCharacterSetORV(), L"");
}

TEST_F(Encodings, OrvNameOfANameInNoRowIsEmpty) {
  EXPECT_EQ(encoding(L"utf-16").getCharacterSetORV(), L"");
  EXPECT_EQ(encoding(L"iso-8859-3").getCharacterSetORV(), L"");
  EXPECT_EQ(encoding(L"").getCharacterSetORV(), L"");
}

TEST_F(Encodings, HttpNameOfAPrivateFormIsTheCharsetName) {
  EXPECT_EQ(encoding(L"x-orv1160").getCharacterSetHTTP(), L"windows-1252");
  EXPECT_EQ(encoding(L"orv1800").getCharacterSetHTTP(), L"iso-8859-8-i");
  EXPECT_EQ(encoding(L"x-orv4102").getCharacterSetHTTP(), L"utf-16");
}

TEST_F(Encodings, HttpNameOfACharsetNameIsTheNameInLowerCase) {
  EXPECT_EQ(encoding(L"cp1252").getCharacterSetHTTP(), L"cp1252");
  EXPECT_EQ(encoding(L"CP1252").getCharacterSetHTTP(), L"cp1252");
  EXPECT_EQ(encoding(L"UnicodeBigUnmarked").getCharacterSetHTTP(), L"unicodebigunmarked");
  EXPECT_EQ(encoding(L"UTF-8").getCharacterSetHTTP(), L"utf-8");
}

TEST_F(Encodings, HttpNameDropsTheByteOrderOfTheUnicodeForms) {
  EXPECT_EQ(encoding(L"utf-16be").getCharacterSetHTTP(), L"utf-16");
  EXPECT_EQ(encoding(L"UTF-16LE").getCharacterSetHTTP(), L"utf-16");
  EXPECT_EQ(encoding(L"ucs-2be").getCharacterSetHTTP(), L"ucs-2");
  EXPECT_EQ(encoding(L"x-orv4101").getCharacterSetHTTP(), L"ucs-2");
  EXPECT_EQ(encoding(L"ucs-4le").getCharacterSetHTTP(), L"ucs-4");
  EXPECT_EQ(encoding(L"orv4104").getCharacterSetHTTP(), L"ucs-4");
}

TEST_F(Encodings, HttpNameOfANameInNoRowIsEmpty) {
  EXPECT_EQ(encoding(L"utf-16").getCharacterSetHTTP(), L"");
  EXPECT_EQ(encoding(L"iso-8859-3").getCharacterSetHTTP(), L"");
  EXPECT_EQ(encoding(L"orv-x").getCharacterSetHTTP(), L"");
}

// ---------------------------------------------------------------------------------------
// Detection from the first bytes

namespace {

struct Detection {
  int result;
  std::wstring name;
  E::ByteOrder order;
};

// Detects on an encoding that starts as "before" of order 3412, which no step sets by itself.
Detection detect(Marl const& marl, Bytes const& bytes) {
  MarlEncoding detected = marl.createEncoding(L"before", E::BYTEORDER_3412);
  Bytes source(bytes);
  int result = detected.autoDetect(source.data(), source.data() + source.size());
  return {result, detected.getCharacterSet(), detected.getByteOrder()};
}

void expectDetection(Marl const& marl, Bytes const& bytes, int result, std::wstring const& name,
                     E::ByteOrder order) {
  Detection detection = detect(marl, bytes);
  EXPECT_EQ(detection.result, result);
  EXPECT_EQ(detection.name, name);
  EXPECT_EQ(detection.order, order);
}

void expectNothingDetected(Marl const& marl, Bytes const& bytes) {
  expectDetection(marl, bytes, -1, L"before", E::BYTEORDER_3412);
}

}  // namespace

TEST_F(Encodings, DetectsTheUcs4MarkInBigEndianOrder) {
  expectDetection(marl, {0x00, 0x00, 0xFE, 0xFF, 0x00}, 4, L"ucs-4", E::BYTEORDER_BE);
}

TEST_F(Encodings, DetectsTheUcs4MarkInLittleEndianOrderBeforeTheUtf16Mark) {
  expectDetection(marl, {0xFF, 0xFE, 0x00, 0x00}, 4, L"ucs-4", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsTheUtf16MarkInBigEndianOrder) {
  expectDetection(marl, {0xFE, 0xFF, 0x00, 0x3C}, 2, L"utf-16", E::BYTEORDER_BE);
}

TEST_F(Encodings, DetectsTheUtf16MarkInLittleEndianOrder) {
  expectDetection(marl, {0xFF, 0xFE, 0x3C, 0x00}, 2, L"utf-16", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsTheUtf16MarkInTwoBytes) {
  expectDetection(marl, {0xFF, 0xFE}, 2, L"utf-16", E::BYTEORDER_LE);
  expectDetection(marl, {0xFF, 0xFE, 0x00}, 2, L"utf-16", E::BYTEORDER_LE);
}

// The step names order 4 for the byte-oriented forms, which an encoding reads back as 0.
TEST_F(Encodings, DetectsTheUtf8MarkAndReportsOrderZero) {
  expectDetection(marl, {0xEF, 0xBB, 0xBF}, 3, L"utf-8", E::BYTEORDER_LE);
  expectDetection(marl, {0xEF, 0xBB, 0xBF, 0x3C}, 3, L"utf-8", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsAnXmlDeclarationInUtf8) {
  expectDetection(marl, {0x3C, 0x3F, 0x78, 0x6D}, 0, L"utf-8", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsAnXmlDeclarationInUtf16BigEndian) {
  expectDetection(marl, {0x00, 0x3C, 0x00, 0x3F}, 0, L"utf-16be", E::BYTEORDER_BE);
}

TEST_F(Encodings, DetectsAnXmlDeclarationInUtf16LittleEndian) {
  expectDetection(marl, {0x3C, 0x00, 0x3F, 0x00}, 0, L"utf-16le", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsALessThanInUcs4BigEndian) {
  expectDetection(marl, {0x00, 0x00, 0x00, 0x3C}, 0, L"iso-10646-ucs-4", E::BYTEORDER_BE);
}

TEST_F(Encodings, DetectsTheKeptPattern03000000CAsUcs4LittleEndian) {
  expectDetection(marl, {0x03, 0x00, 0x00, 0x0C}, 0, L"iso-10646-ucs-4", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsALessThanInUcs4Order2143) {
  expectDetection(marl, {0x00, 0x00, 0x3C, 0x00}, 0, L"iso-10646-ucs-4", E::BYTEORDER_2143);
}

TEST_F(Encodings, DetectsALessThanInUcs4Order3412) {
  expectDetection(marl, {0x00, 0x3C, 0x00, 0x00}, 0, L"iso-10646-ucs-4", E::BYTEORDER_3412);
}

TEST_F(Encodings, DetectsAnXmlDeclarationInEbcdic) {
  expectDetection(marl, {0x4C, 0x6F, 0xA7, 0x94}, 0, L"ibm500", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsWhiteSpaceInUcs4BigEndian) {
  for (unsigned char space : {0x20, 0x09, 0x0D, 0x0A})
    expectDetection(marl, {0x00, 0x00, 0x00, space}, 0, L"iso-10646-ucs-4", E::BYTEORDER_BE);
}

TEST_F(Encodings, DetectsALessThanOrWhiteSpaceInUcs4LittleEndian) {
  for (unsigned char first : {0x3C, 0x20, 0x09, 0x0D, 0x0A})
    expectDetection(marl, {first, 0x00, 0x00, 0x00}, 0, L"iso-10646-ucs-4", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsALessThanOrWhiteSpaceInUtf16BigEndian) {
  for (unsigned char second : {0x3C, 0x20, 0x09, 0x0D, 0x0A})
    expectDetection(marl, {0x00, second}, 0, L"utf-16be", E::BYTEORDER_BE);
  expectDetection(marl, {0x00, 0x3C, 0x00, 0x61}, 0, L"utf-16be", E::BYTEORDER_BE);
}

TEST_F(Encodings, DetectsALessThanOrWhiteSpaceInUtf16LittleEndian) {
  for (unsigned char first : {0x3C, 0x20, 0x09, 0x0D, 0x0A})
    expectDetection(marl, {first, 0x00}, 0, L"utf-16le", E::BYTEORDER_LE);
  expectDetection(marl, {0x3C, 0x00, 0x61, 0x00}, 0, L"utf-16le", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsALessThanOrWhiteSpaceAsUtf8) {
  for (unsigned char first : {0x3C, 0x20, 0x09, 0x0D, 0x0A})
    expectDetection(marl, {first, 0x61}, 0, L"utf-8", E::BYTEORDER_LE);
}

TEST_F(Encodings, ADeclarationCutToThreeBytesIsFoundByTheLastStep) {
  expectDetection(marl, {0x3C, 0x3F, 0x78}, 0, L"utf-8", E::BYTEORDER_LE);
}

TEST_F(Encodings, DetectsNothingInFewerThanTwoBytes) {
  expectNothingDetected(marl, {});
  expectNothingDetected(marl, {0x3C});
  expectNothingDetected(marl, {0xFE});
  MarlEncoding untouched = encoding(L"before");
  EXPECT_EQ(untouched.autoDetect(nullptr, nullptr), -1);
}

TEST_F(Encodings, ADocumentBeginningWithALetterLeavesTheEncodingAsItWas) {
  expectNothingDetected(marl, {0x61, 0x62, 0x63, 0x64});
  expectNothingDetected(marl, {0x61, 0x00});
  expectNothingDetected(marl, {0xEF, 0xBB});
}

// ---------------------------------------------------------------------------------------
// The factory of handlers

TEST_F(Encodings, TheLibraryHoldsSevenPrototypesInSearchOrder) {
  CEncodingFactory::Prototypes const& prototypes = factory().prototypes();
  ASSERT_EQ(prototypes.size(), 7u);
  EXPECT_GE(prototypes.capacity(), 16u);
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(prototypes[0]));
  EXPECT_TRUE(holds<CEncodingHandlerUTF16>(prototypes[1]));
  EXPECT_TRUE(holds<CEncodingHandlerUCS2>(prototypes[2]));
  EXPECT_TRUE(holds<CEncodingHandlerUCS4>(prototypes[3]));
  EXPECT_TRUE(holds<CEncodingHandlerISO8859>(prototypes[4]));
  EXPECT_TRUE(holds<CEncodingHandlerUSASCII>(prototypes[5]));
  EXPECT_TRUE(holds<CEncodingHandlerUnsupported>(prototypes[6]));
}

TEST_F(Encodings, AnEmptyEncodingGivesAnEmptyHandler) {
  EXPECT_FALSE(factory().queryHandler(MarlEncoding()));
}

TEST_F(Encodings, EveryUnicodeNameReachesItsHandler) {
  for (wchar_t const* name : {L"utf-8", L"UTF-8", L"Utf-8"})
    EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handlerFor(name))) << name;
  for (wchar_t const* name : {L"utf-16", L"utf-16be", L"utf-16le", L"UTF-16BE"})
    EXPECT_TRUE(holds<CEncodingHandlerUTF16>(handlerFor(name))) << name;
  for (wchar_t const* name : {L"ucs-2", L"iso-10646-ucs-2", L"ucs-2be", L"iso-10646-ucs-2be",
                              L"ucs-2le", L"iso-10646-ucs-2le", L"UCS-2"})
    EXPECT_TRUE(holds<CEncodingHandlerUCS2>(handlerFor(name))) << name;
  for (wchar_t const* name : {L"ucs-4", L"iso-10646-ucs-4", L"ucs-4be", L"iso-10646-ucs-4be",
                              L"ucs-4le", L"iso-10646-ucs-4le", L"ISO-10646-UCS-4"})
    EXPECT_TRUE(holds<CEncodingHandlerUCS4>(handlerFor(name))) << name;
  EXPECT_TRUE(holds<CEncodingHandlerUSASCII>(handlerFor(L"usascii")));
  EXPECT_TRUE(holds<CEncodingHandlerUSASCII>(handlerFor(L"USASCII")));
}

TEST_F(Encodings, EveryIsoNameAndAliasReachesTheTablesOfItsPart) {
  struct {
    wchar_t const* name;
    int part;
  } const names[] = {
      {L"iso-8859-1", 1},   {L"iso-8859-2", 2},   {L"iso-8859-3", 3},   {L"iso-8859-4", 4},
      {L"iso-8859-5", 5},   {L"iso-8859-6", 6},   {L"iso-8859-7", 7},   {L"iso-8859-8", 8},
      {L"iso-8859-9", 9},   {L"iso-8859-10", 10}, {L"iso-8859-11", 11}, {L"iso-8859-13", 13},
      {L"iso-8859-14", 14}, {L"iso-8859-15", 15}, {L"latin1", 1},       {L"latin2", 2},
      {L"latin3", 3},       {L"latin4", 4},       {L"cyrillic", 5},     {L"arabic", 6},
      {L"greek", 7},        {L"hebrew", 8},       {L"latin5", 9},       {L"latin6", 10},
      {L"thai", 11},        {L"latin7", 13},      {L"latin8", 14},      {L"latin9", 15},
      {L"ISO-8859-2", 2},   {L"Latin1", 1},
  };
  Bytes high;
  for (int byte = 0xA0; byte <= 0xFF; ++byte) high.push_back(static_cast<unsigned char>(byte));
  for (auto const& entry : names) {
    MarlEncodingHandler handler = handlerFor(entry.name);
    ASSERT_TRUE(holds<CEncodingHandlerISO8859>(handler)) << entry.name;
    std::uint32_t const* forward = CEncodingHandlerISO8859::forwardTableOf(entry.part);
    ASSERT_NE(forward, nullptr);
    std::wstring expected;
    for (int index = 0; index < 96; ++index) expected += static_cast<wchar_t>(forward[index]);
    EXPECT_EQ(decode(handler, high).text, expected) << entry.name;
  }
}

TEST_F(Encodings, ThereIsNoPartTwelveNorSixteen) {
  EXPECT_EQ(CEncodingHandlerISO8859::partOf(L"iso-8859-12"), 0);
  EXPECT_EQ(CEncodingHandlerISO8859::partOf(L"iso-8859-16"), 0);
  EXPECT_EQ(CEncodingHandlerISO8859::forwardTableOf(12), nullptr);
  EXPECT_EQ(CEncodingHandlerISO8859::forwardTableOf(16), nullptr);
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handlerFor(L"iso-8859-12")));
}

TEST_F(Encodings, UsAsciiWithAHyphenEndsAtTheCatchAllAndDecodesAsUtf8) {
  TraceCapture trace;
  MarlEncodingHandler handler = handlerFor(L"us-ascii");
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handler));
  EXPECT_NE(trace.text().find("marl: unsupported encoding us-ascii -> using utf8"),
            std::string::npos);
  EXPECT_EQ(decode(handler, {0xC3, 0xA9}).text, wide({0xE9}));
}

TEST_F(Encodings, AnUnknownNameGivesAUtf8HandlerAndATrace) {
  TraceCapture trace;
  MarlEncodingHandler handler = handlerFor(L"klingon-1");
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handler));
  EXPECT_EQ(
      trace.text().rfind(
          "Marl error:  marl: unsupported encoding klingon-1 -> using utf8\n  (xmxxu_enco.cpp:", 0),
      0u);
}

TEST_F(Encodings, TheCatchAllIsSilentBelowTheErrorLevel) {
  TraceCapture trace(traceFatal);
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handlerFor(L"klingon-1")));
  EXPECT_EQ(trace.text(), "");
}

TEST_F(Encodings, Ucs2WithAnUnusualOrderFallsThroughToTheCatchAll) {
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handlerFor(L"ucs-2", E::BYTEORDER_2143)));
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(handlerFor(L"utf-16", E::BYTEORDER_3412)));
}

TEST_F(Encodings, Ucs4ServesAllFourOrders) {
  struct {
    E::ByteOrder order;
    std::type_info const& helper;
  } const orders[] = {{E::BYTEORDER_LE, typeid(CBOH4LittleEndian4321)},
                      {E::BYTEORDER_BE, typeid(CBOH4BigEndian1234)},
                      {E::BYTEORDER_2143, typeid(CBOH4Unusual2143)},
                      {E::BYTEORDER_3412, typeid(CBOH4Unusual3412)}};
  for (auto const& entry : orders) {
    MarlEncodingHandler handler = handlerFor(L"ucs-4", entry.order);
    ASSERT_TRUE(holds<CEncodingHandlerUCS4>(handler));
    CBOH const* helper = static_cast<CEncodingHandlerUCS4*>(handler._impl())->byteOrderHelper();
    EXPECT_TRUE(typeid(*helper) == entry.helper);
  }
}

TEST_F(Encodings, ANameWithAnOrderOverridesTheEncodingsOrder) {
  MarlEncodingHandler big = handlerFor(L"utf-16be", E::BYTEORDER_LE);
  EXPECT_EQ(decode(big, {0x00, 0x41}).text, L"A");
  MarlEncodingHandler little = handlerFor(L"ucs-2le", E::BYTEORDER_BE);
  EXPECT_EQ(decode(little, {0x41, 0x00, 0x00, 0x00}).text, L"A");
  MarlEncodingHandler plain = handlerFor(L"utf-16", E::BYTEORDER_BE);
  EXPECT_EQ(decode(plain, {0x00, 0x41}).text, L"A");
}

TEST_F(Encodings, CapableSetsThePrototypesOrderAndTheCloneKeepsItIndependently) {
  MarlEncodingHandler clone = handlerFor(L"utf-16", E::BYTEORDER_BE);
  auto* prototype = static_cast<CEncodingHandlerUTF16*>(factory().prototypes()[1]._impl());
  auto* copy = static_cast<CEncodingHandlerUTF16*>(clone._impl());
  EXPECT_TRUE(typeid(*prototype->byteOrderHelper()) == typeid(CBOH2BigEndian12));
  EXPECT_TRUE(typeid(*copy->byteOrderHelper()) == typeid(CBOH2BigEndian12));
  EXPECT_NE(prototype->byteOrderHelper(), copy->byteOrderHelper());
  EXPECT_EQ(clone.setByteOrder(E::BYTEORDER_LE), 1);
  EXPECT_TRUE(typeid(*copy->byteOrderHelper()) == typeid(CBOH2LittleEndian21));
  EXPECT_TRUE(typeid(*prototype->byteOrderHelper()) == typeid(CBOH2BigEndian12));
}

TEST_F(Encodings, ACloneThatFailsGivesAnEmptyHandlerAndATrace) {
  MarlEncoding utf8 = encoding(L"utf-8");
  long blocksBefore = testhost::outstandingBlocks();
  TraceCapture trace;
  {
    testhost::AllocationFailure failure;
    EXPECT_FALSE(factory().queryHandler(utf8));
  }
  EXPECT_NE(trace.text().find("marl encoding handler 'utf-8' clone failed."), std::string::npos);
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
}

TEST_F(Encodings, HandlerLookupLeaksNothingWhereverMemoryRunsOut) {
  MarlEncoding utf16 = encoding(L"utf-16", E::BYTEORDER_BE);
  TraceCapture quiet(0);
  for (long failAt = 0; failAt < 6; ++failAt) {
    long blocksBefore = testhost::outstandingBlocks();
    {
      testhost::AllocationFailure failure(failAt);
      MarlEncodingHandler handler = factory().queryHandler(utf16);
      if (handler) {
        EXPECT_TRUE(holds<CEncodingHandlerUTF16>(handler) || holds<CEncodingHandlerUTF8>(handler));
      }
    }
    // A prototype that lost its helper to the failure gets a new one at the next lookup.
    EXPECT_TRUE(holds<CEncodingHandlerUTF16>(factory().queryHandler(utf16)));
    EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore) << "allocation " << failAt;
  }
}

TEST_F(Encodings, EndingTheLibraryFreesItsFactory) {
  marl = static_cast<CMarl const*>(nullptr);
  endLibrary();
  long blocksBefore = testhost::outstandingBlocks();
  {
    Marl again = Marl::create();
    ASSERT_TRUE(again);
    EXPECT_EQ(again._impl()->getEncodingFactory().prototypes().size(), 7u);
  }
  EXPECT_EQ(CMarlBase::c_pMarl, nullptr);
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
}

// ---------------------------------------------------------------------------------------
// Handlers as objects

TEST_F(Encodings, AHandlerFromAnUnknownPointerIsAlwaysEmpty) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  CEncodingHandler* impl = utf8._impl();
  MarlEncodingHandler queried(static_cast<CUnknown*>(impl));
  EXPECT_FALSE(queried);
  EXPECT_EQ(impl->getRefCount(), 1u);
  MarlEncodingHandler direct(impl);
  EXPECT_TRUE(direct);
  EXPECT_EQ(impl->getRefCount(), 2u);
}

TEST_F(Encodings, HandlersAnswerNoIdentifierAndReportUnknown) {
  for (MarlEncodingHandler const& prototype : factory().prototypes()) {
    CEncodingHandler* impl = prototype._impl();
    EXPECT_EQ(impl->_queryClass(), 1u);
    for (unsigned int id : {1u, 10u, 290u, 291u}) EXPECT_EQ(impl->_queryInterface(id), nullptr);
  }
}

TEST_F(Encodings, HandlersAreNotCountedAmongTheObjectsThatHoldAtoms) {
  std::uint32_t before = marl._impl()->liveObjects;
  MarlEncodingHandler handler = handlerFor(L"ucs-4");
  EXPECT_EQ(marl._impl()->liveObjects, before);
}

TEST_F(Encodings, ChunkSizeIsTheUnitOfTheOuterForm) {
  EXPECT_EQ(handlerFor(L"utf-8").chunkSize(), 1u);
  EXPECT_EQ(handlerFor(L"utf-16").chunkSize(), 2u);
  EXPECT_EQ(handlerFor(L"ucs-2").chunkSize(), 2u);
  EXPECT_EQ(handlerFor(L"ucs-4").chunkSize(), 4u);
  EXPECT_EQ(handlerFor(L"usascii").chunkSize(), 1u);
  EXPECT_EQ(handlerFor(L"latin1").chunkSize(), 1u);
  EXPECT_EQ(factory().prototypes()[6].chunkSize(), 1u);
  EXPECT_EQ(MarlEncodingHandler(new CEncodingHandlerORV()).chunkSize(), 1u);
  EXPECT_EQ(MarlEncodingHandler(new CEncodingHandlerORV_Block()).chunkSize(), 1u);
}

TEST_F(Encodings, ByteOrientedHandlersAcceptEveryOrderWithoutEffect) {
  for (wchar_t const* name : {L"utf-8", L"usascii", L"latin2"}) {
    MarlEncodingHandler handler = handlerFor(name);
    for (int order = 0; order <= 4; ++order)
      EXPECT_EQ(handler.setByteOrder(static_cast<E::ByteOrder>(order)), 1);
    EXPECT_EQ(decode(handler, {0x41}).text, L"A");
  }
  MarlEncodingHandler catchAll = factory().prototypes()[6];
  EXPECT_EQ(catchAll.setByteOrder(E::BYTEORDER_3412), 1);
}

TEST_F(Encodings, TwoByteFormsServeLittleAndBigEndianOnly) {
  for (wchar_t const* name : {L"utf-16", L"ucs-2"}) {
    MarlEncodingHandler handler = handlerFor(name);
    EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_LE), 1);
    EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_BE), 1);
    EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_2143), 0);
    EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_3412), 0);
    EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_NONE), 0);
  }
}

TEST_F(Encodings, Ucs4ServesFourOrdersButNotNone) {
  MarlEncodingHandler handler = handlerFor(L"ucs-4");
  for (int order = 0; order <= 3; ++order)
    EXPECT_EQ(handler.setByteOrder(static_cast<E::ByteOrder>(order)), 1);
  EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_NONE), 0);
}

TEST_F(Encodings, AnOrderThatCannotBeServedKeepsTheHelper) {
  MarlEncodingHandler handler = handlerFor(L"utf-16", E::BYTEORDER_BE);
  EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_2143), 0);
  EXPECT_EQ(decode(handler, {0x00, 0x41}).text, L"A");
}

TEST_F(Encodings, AHandlerWhoseHelperCannotBeReplacedServesNothingUntilMemoryReturns) {
  MarlEncodingHandler handler = handlerFor(L"utf-16");
  MarlEncoding utf16 = encoding(L"utf-16");
  MarlEncoding utf16le = encoding(L"utf-16le");
  long blocksBefore = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure;
    EXPECT_EQ(handler.setByteOrder(E::BYTEORDER_BE), 0);
  }
  // The old helper went first and no new one came.
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore - 1);
  EXPECT_FALSE(handler.clone(utf16));
  EXPECT_EQ(handler.capable(utf16), 1);
  EXPECT_EQ(decode(handler, {0x41, 0x00}).text, L"A");
  {
    testhost::AllocationFailure failure;
    EXPECT_EQ(handler.capable(utf16le), 0);
  }
  EXPECT_EQ(decode(handler, {0x41, 0x00}).status, CONV_INTERNAL_ERROR);
  EXPECT_EQ(encode(handler, L"A").status, CONV_INTERNAL_ERROR);
}

TEST_F(Encodings, CloningAHandlerLeaksNothingWhereverMemoryRunsOut) {
  for (wchar_t const* name : {L"utf-8", L"utf-16", L"ucs-2", L"ucs-4", L"usascii", L"latin1"}) {
    MarlEncoding named = encoding(name);
    MarlEncodingHandler handler = factory().queryHandler(named);
    ASSERT_TRUE(handler);
    for (long failAt = 0; failAt < 3; ++failAt) {
      long blocksBefore = testhost::outstandingBlocks();
      {
        testhost::AllocationFailure failure(failAt);
        MarlEncodingHandler copy = handler.clone(named);
        if (copy) {
          EXPECT_TRUE(typeid(*copy._impl()) == typeid(*handler._impl())) << name;
        }
      }
      EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore) << name << " allocation " << failAt;
    }
    testhost::AllocationFailure failure;
    EXPECT_FALSE(handler.clone(named)) << name;
  }
}

// ---------------------------------------------------------------------------------------
// Byte order helpers

namespace {

template <class Helper>
void expectHelper(unsigned short unit16, unsigned short expected16, unsigned long unit32,
                  unsigned long expected32) {
  Helper helper;
  CBOH const& boh = helper;
  EXPECT_EQ(boh.toIntern(unit16), expected16) << typeid(Helper).name();
  EXPECT_EQ(boh.fromIntern(unit16), expected16) << typeid(Helper).name();
  EXPECT_EQ(boh.toIntern(expected16), unit16) << typeid(Helper).name();
  EXPECT_EQ(boh.toIntern(unit32), expected32) << typeid(Helper).name();
  EXPECT_EQ(boh.fromIntern(unit32), expected32) << typeid(Helper).name();
  EXPECT_EQ(boh.fromIntern(boh.toIntern(unit32)), unit32) << typeid(Helper).name();
  long blocksBefore = testhost::outstandingBlocks();
  CBOH* copy = boh.clone();
  EXPECT_TRUE(typeid(*copy) == typeid(Helper));
  EXPECT_EQ(copy->toIntern(unit32), expected32);
  delete copy;
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
}

}  // namespace

TEST(ByteOrderHelper, LittleEndian21LeavesUnitsAsTheyAre) {
  expectHelper<CBOH2LittleEndian21>(0x1234, 0x1234, 0x12345678UL, 0x12345678UL);
}

TEST(ByteOrderHelper, BigEndian12SwapsTheTwoBytes) {
  expectHelper<CBOH2BigEndian12>(0x1234, 0x3412, 0x12345678UL, 0x34127856UL);
}

TEST(ByteOrderHelper, LittleEndian4321LeavesUnitsAsTheyAre) {
  expectHelper<CBOH4LittleEndian4321>(0x1234, 0x1234, 0x12345678UL, 0x12345678UL);
}

TEST(ByteOrderHelper, BigEndian1234ReversesTheFourBytes) {
  expectHelper<CBOH4BigEndian1234>(0x1234, 0x3412, 0x12345678UL, 0x78563412UL);
}

TEST(ByteOrderHelper, Unusual2143SwapsTheBytesWithinEachHalf) {
  expectHelper<CBOH4Unusual2143>(0x1234, 0x3412, 0x12345678UL, 0x34127856UL);
}

TEST(ByteOrderHelper, Unusual3412SwapsTheHalves) {
  expectHelper<CBOH4Unusual3412>(0x1234, 0x1234, 0x12345678UL, 0x56781234UL);
}

TEST(ByteOrderHelper, TheUpperBytesOfAnEightByteCellStayWhereTheyAre) {
  if (sizeof(unsigned long) < 8) GTEST_SKIP() << "cells are four bytes here";
  unsigned long const cell = 0xAABBCCDD00000041UL;
  EXPECT_EQ(CBOH4BigEndian1234().toIntern(cell), 0xAABBCCDD41000000UL);
  EXPECT_EQ(CBOH4Unusual2143().toIntern(cell), 0xAABBCCDD00004100UL);
  EXPECT_EQ(CBOH4Unusual3412().toIntern(cell), 0xAABBCCDD00410000UL);
  EXPECT_EQ(CBOH4LittleEndian4321().toIntern(cell), cell);
}

// ---------------------------------------------------------------------------------------
// UTF-8

TEST_F(Encodings, Utf8DecodesOneToFourByteForms) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Decoding decoded = decode(utf8, {0x41, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.consumed, 10u);
  EXPECT_EQ(decoded.text, wide({0x41, 0xE9, 0x20AC, 0xD83D, 0xDE00}));
}

TEST_F(Encodings, Utf8FourByteSequenceBecomesSurrogatePair) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  EXPECT_EQ(decode(utf8, {0xF0, 0x90, 0x80, 0x80}).text, wide({0xD800, 0xDC00}));
}

TEST_F(Encodings, Utf8PairWithOneTargetElementLeftIsNotWritten) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Decoding alone = decode(utf8, {0xF0, 0x90, 0x80, 0x80}, 1);
  EXPECT_EQ(alone.status, H::CONV_TGT_FULL);
  EXPECT_EQ(alone.consumed, 0u);
  EXPECT_EQ(alone.text, L"");
  Decoding behind = decode(utf8, {0x41, 0xF0, 0x90, 0x80, 0x80}, 2);
  EXPECT_EQ(behind.status, H::CONV_TGT_FULL);
  EXPECT_EQ(behind.consumed, 1u);
  EXPECT_EQ(behind.text, L"A");
}

TEST_F(Encodings, Utf8OverlongNulDecodesToZeroWithoutError) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Decoding decoded = decode(utf8, {0xC0, 0x80});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.text, wide({0}));
}

TEST_F(Encodings, Utf8DecodingValidatesNothing) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  EXPECT_EQ(decode(utf8, {0xED, 0xA0, 0x80}).text, wide({0xD800}));
  EXPECT_EQ(decode(utf8, {0x80}).text, wide({0x80}));
  // A trailing byte without its mark is summed all the same.
  Decoding unchecked = decode(utf8, {0xC3, 0x41});
  EXPECT_EQ(unchecked.status, H::CONV_OK);
  EXPECT_EQ(unchecked.text, wide({0x81}));
}

TEST_F(Encodings, Utf8FiveAndSixByteFormsBecomePairs) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  EXPECT_EQ(decode(utf8, {0xF8, 0x88, 0x80, 0x80, 0x80}).text, wide({0xDFC0, 0xDC00}));
  // Past 0xA0FFFF the formula leaves 16 bits: only the code unit is kept.
  EXPECT_EQ(decode(utf8, {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}).text, wide({0xD7C0, 0xDC00}));
  std::wstring largest = decode(utf8, {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}).text;
  ASSERT_EQ(largest.size(), 2u);
  EXPECT_LE(static_cast<std::uint32_t>(largest[0]), 0xFFFFu);
  EXPECT_EQ(largest[1], 0xDFFF);
}

TEST_F(Encodings, Utf8ValueBeyondThirtyOneBitsBecomesTheReplacementCharacter) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Decoding decoded = decode(utf8, {0xFE, 0x80, 0x80, 0x80, 0x80, 0x80});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.text, wide({0xFFFD}));
}

TEST_F(Encodings, Utf8SequenceCutByTheEndAsksForMoreBytes) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Decoding decoded = decode(utf8, {0x41, 0xE2, 0x82});
  EXPECT_EQ(decoded.status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decoded.consumed, 1u);
  EXPECT_EQ(decoded.text, L"A");
}

TEST_F(Encodings, Utf8ReportsAnExhaustedSourceBeforeAFullTarget) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  EXPECT_EQ(decode(utf8, {0xE2, 0x82}, 0).status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decode(utf8, {0x41}, 0).status, H::CONV_TGT_FULL);
  EXPECT_EQ(decode(utf8, {}, 0).status, H::CONV_OK);
}

TEST_F(Encodings, Utf8DecodingResumesIdenticallyAfterACutAtEveryPosition) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Bytes bytes = {0x3C, 0x61, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80,
                 0xC0, 0x80, 0xF0, 0x90, 0x80, 0x80, 0x7A, 0xDF, 0xBF, 0x3E};
  expectResumableDecoding(
      utf8, bytes,
      wide({0x3C, 0x61, 0xE9, 0x20AC, 0xD83D, 0xDE00, 0, 0xD800, 0xDC00, 0x7A, 0x7FF, 0x3E}));
}

// ASCII runs are copied in blocks of eight; runs longer and shorter than a block, broken by
// longer forms at every offset, decode and encode alike wherever the source or target ends.
TEST_F(Encodings, Utf8AsciiRunsAroundLongerFormsConvertAlikeWhereverTheyAreCut) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  std::string const ascii = "<a b='0123456789abcdef'>";
  Bytes bytes(ascii.begin(), ascii.end());
  bytes.insert(bytes.end(), {0xC3, 0xA9, 0x78, 0xE2, 0x82, 0xAC});
  bytes.insert(bytes.end(), ascii.begin(), ascii.begin() + 9);
  std::wstring text(ascii.begin(), ascii.end());
  text += wide({0xE9, 0x78, 0x20AC});
  text.append(ascii.begin(), ascii.begin() + 9);
  expectResumableDecoding(utf8, bytes, text);
  expectResumableEncoding(utf8, text, bytes);
}

TEST_F(Encodings, Utf8SurrogatePairEncodesToFourBytes) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Encoding encoded = encode(utf8, wide({0xD800, 0xDC00}));
  EXPECT_EQ(encoded.status, H::CONV_OK);
  EXPECT_EQ(encoded.consumed, 2u);
  EXPECT_EQ(encoded.bytes, (Bytes{0xF0, 0x90, 0x80, 0x80}));
}

TEST_F(Encodings, Utf8LoneSurrogatesEncodeByThemselves) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  EXPECT_EQ(encode(utf8, wide({0xD800})).bytes, (Bytes{0xED, 0xA0, 0x80}));
  EXPECT_EQ(encode(utf8, wide({0xDC00, 0x41})).bytes, (Bytes{0xED, 0xB0, 0x80, 0x41}));
  EXPECT_EQ(encode(utf8, wide({0xD800, 0x41})).bytes, (Bytes{0xED, 0xA0, 0x80, 0x41}));
}

TEST_F(Encodings, Utf8PairSplitBetweenTwoCallsEncodesAsTwoLoneSurrogates) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  EXPECT_EQ(encodeCutAt(utf8, wide({0xD800, 0xDC00}), 1),
            (Bytes{0xED, 0xA0, 0x80, 0xED, 0xB0, 0x80}));
}

TEST_F(Encodings, Utf8EncodingLengthFollowsTheValue) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  struct {
    unsigned int element;
    Bytes bytes;
  } const cases[] = {
      {0x00, {0x00}},
      {0x7F, {0x7F}},
      {0x80, {0xC2, 0x80}},
      {0x7FF, {0xDF, 0xBF}},
      {0x800, {0xE0, 0xA0, 0x80}},
      {0xFFFF, {0xEF, 0xBF, 0xBF}},
      {0x10000, {0xF0, 0x90, 0x80, 0x80}},
      {0x1FFFFF, {0xF7, 0xBF, 0xBF, 0xBF}},
      {0x200000, {0xF8, 0x88, 0x80, 0x80, 0x80}},
      {0x3FFFFFF, {0xFB, 0xBF, 0xBF, 0xBF, 0xBF}},
      {0x4000000, {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}},
      {0x7FFFFFFF, {0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}},
  };
  for (auto const& entry : cases)
    EXPECT_EQ(encode(utf8, wide({entry.element})).bytes, entry.bytes) << entry.element;
}

TEST_F(Encodings, Utf8ValueBeyondThirtyOneBitsIsWrittenAsTheLowPartOfTheReplacementCharacter) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  Encoding encoded = encode(utf8, wide({0x80000000u, 0x41}));
  EXPECT_EQ(encoded.status, H::CONV_OK);
  EXPECT_EQ(encoded.bytes, (Bytes{0xFF, 0xBD, 0x41}));
}

TEST_F(Encodings, Utf8CharacterThatDoesNotFitIsNotWrittenAtAll) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  std::vector<wchar_t> source = {0x41, 0x20AC};
  Bytes target(3, 0xEE);
  wchar_t const* in = source.data();
  unsigned char* out = target.data();
  EXPECT_EQ(utf8.convertFromUCS2(&in, source.data() + 2, &out, target.data() + 3),
            H::CONV_TGT_FULL);
  EXPECT_EQ(in, source.data() + 1);
  EXPECT_EQ(out, target.data() + 1);
  EXPECT_EQ(target, (Bytes{0x41, 0xEE, 0xEE}));
  Encoding pair = encode(utf8, wide({0xD800, 0xDC00}), 3);
  EXPECT_EQ(pair.status, H::CONV_TGT_FULL);
  EXPECT_EQ(pair.consumed, 0u);
}

TEST_F(Encodings, Utf8EncodingResumesIdenticallyAfterACutAtEveryPosition) {
  MarlEncodingHandler utf8 = handlerFor(L"utf-8");
  expectResumableEncoding(utf8,
                          wide({0x3C, 0xE9, 0x20AC, 0xD83D, 0xDE00, 0, 0x7FF, 0x800, 0xD800, 0x3E}),
                          {0x3C, 0xC3, 0xA9, 0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80,
                           0x00, 0xDF, 0xBF, 0xE0, 0xA0, 0x80, 0xED, 0xA0, 0x80, 0x3E});
}

// ---------------------------------------------------------------------------------------
// UTF-16

TEST_F(Encodings, Utf16DecodesUnitsInEitherOrder) {
  MarlEncodingHandler little = handlerFor(L"utf-16le");
  EXPECT_EQ(decode(little, {0x41, 0x00, 0xAC, 0x20}).text, wide({0x41, 0x20AC}));
  MarlEncodingHandler big = handlerFor(L"utf-16be");
  EXPECT_EQ(decode(big, {0x00, 0x41, 0x20, 0xAC}).text, wide({0x41, 0x20AC}));
}

TEST_F(Encodings, Utf16SurrogatePairIsRefusedWithTheCursorBehindIt) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  Decoding decoded = decode(utf16, {0x41, 0x00, 0x00, 0xD8, 0x00, 0xDC, 0x42, 0x00});
  EXPECT_EQ(decoded.status, H::CONV_ILLEGAL);
  EXPECT_EQ(decoded.consumed, 6u);
  EXPECT_EQ(decoded.text, L"A");
  MarlEncodingHandler big = handlerFor(L"utf-16be");
  EXPECT_EQ(decode(big, {0xD8, 0x00, 0xDC, 0x00}).status, H::CONV_ILLEGAL);
}

TEST_F(Encodings, Utf16LoneSurrogatesPass) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  EXPECT_EQ(decode(utf16, {0x00, 0xDC, 0x41, 0x00}).text, wide({0xDC00, 0x41}));
  EXPECT_EQ(decode(utf16, {0x00, 0xD8, 0x41, 0x00}).text, wide({0xD800, 0x41}));
  // The low half of a pair lies outside this source: the high half passes alone.
  Decoding split = decode(utf16, {0x00, 0xD8});
  EXPECT_EQ(split.status, H::CONV_OK);
  EXPECT_EQ(split.text, wide({0xD800}));
}

TEST_F(Encodings, Utf16SourceOfAnOddLengthConvertsNothing) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  Decoding decoded = decode(utf16, {0x41, 0x00, 0x42});
  EXPECT_EQ(decoded.status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decoded.consumed, 0u);
  EXPECT_EQ(decoded.text, L"");
}

TEST_F(Encodings, Utf16StopsAtAFullTarget) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  Decoding decoded = decode(utf16, {0x41, 0x00, 0x42, 0x00}, 1);
  EXPECT_EQ(decoded.status, H::CONV_TGT_FULL);
  EXPECT_EQ(decoded.consumed, 2u);
  EXPECT_EQ(decoded.text, L"A");
}

TEST_F(Encodings, Utf16DecodingResumesIdenticallyAfterACutAtEveryPosition) {
  MarlEncodingHandler big = handlerFor(L"utf-16be");
  expectResumableDecoding(big,
                          {0x00, 0x3C, 0x20, 0xAC, 0xDC, 0x00, 0x00, 0xE9, 0xFF, 0xFE, 0x00, 0x3E},
                          wide({0x3C, 0x20AC, 0xDC00, 0xE9, 0xFFFE, 0x3E}));
}

TEST_F(Encodings, Utf16TargetOfAnOddSizeIsFull) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  Encoding encoded = encode(utf16, L"AB", 3);
  EXPECT_EQ(encoded.status, H::CONV_TGT_FULL);
  EXPECT_EQ(encoded.consumed, 0u);
  EXPECT_TRUE(encoded.bytes.empty());
}

TEST_F(Encodings, Utf16EncodesElementsAndSurrogatesUnchanged) {
  MarlEncodingHandler little = handlerFor(L"utf-16le");
  EXPECT_EQ(encode(little, wide({0x41, 0xD800, 0xDC00})).bytes,
            (Bytes{0x41, 0x00, 0x00, 0xD8, 0x00, 0xDC}));
  MarlEncodingHandler big = handlerFor(L"utf-16be");
  EXPECT_EQ(encode(big, wide({0x41, 0x20AC})).bytes, (Bytes{0x00, 0x41, 0x20, 0xAC}));
}

TEST_F(Encodings, Utf16WritesAWideElementAsAPair) {
  MarlEncodingHandler little = handlerFor(L"utf-16le");
  EXPECT_EQ(encode(little, wide({0x1F600})).bytes, (Bytes{0x3D, 0xD8, 0x00, 0xDE}));
  MarlEncodingHandler big = handlerFor(L"utf-16be");
  EXPECT_EQ(encode(big, wide({0x10FFFF})).bytes, (Bytes{0xDB, 0xFF, 0xDF, 0xFF}));
}

TEST_F(Encodings, Utf16WideElementWithOneUnitLeftStaysInTheSource) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  Encoding encoded = encode(utf16, wide({0x41, 0x1F600}), 4);
  EXPECT_EQ(encoded.status, H::CONV_TGT_FULL);
  EXPECT_EQ(encoded.consumed, 1u);
  EXPECT_EQ(encoded.bytes, (Bytes{0x41, 0x00}));
}

TEST_F(Encodings, Utf16ElementBeyondUnicodeIsWrittenAsTheReplacementCharacter) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16be");
  EXPECT_EQ(encode(utf16, wide({0x110000})).bytes, (Bytes{0xFF, 0xFD}));
}

TEST_F(Encodings, Utf16EncodingResumesIdenticallyAfterACutAtEveryPosition) {
  MarlEncodingHandler utf16 = handlerFor(L"utf-16le");
  expectResumableEncoding(utf16, wide({0x3C, 0x1F600, 0x20AC, 0xD800, 0x3E}),
                          {0x3C, 0x00, 0x3D, 0xD8, 0x00, 0xDE, 0xAC, 0x20, 0x00, 0xD8, 0x3E, 0x00});
}

// ---------------------------------------------------------------------------------------
// UCS-2, in four-byte cells

TEST_F(Encodings, Ucs2ReadsTheFirstTwoBytesOfEachFourByteCell) {
  MarlEncodingHandler little = handlerFor(L"ucs-2le");
  Decoding decoded = decode(little, {0x41, 0x00, 0x99, 0x99, 0xAC, 0x20, 0x00, 0x00});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.consumed, 8u);
  EXPECT_EQ(decoded.text, wide({0x41, 0x20AC}));
  MarlEncodingHandler big = handlerFor(L"ucs-2be");
  EXPECT_EQ(decode(big, {0x00, 0x41, 0x00, 0x00}).text, L"A");
}

TEST_F(Encodings, Ucs2SourceOfAnOddLengthConvertsNothing) {
  MarlEncodingHandler ucs2 = handlerFor(L"ucs-2");
  Decoding decoded = decode(ucs2, {0x41, 0x00, 0x00, 0x00, 0x42});
  EXPECT_EQ(decoded.status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decoded.consumed, 0u);
}

TEST_F(Encodings, Ucs2CellNotWholeYetWaitsForMoreBytes) {
  MarlEncodingHandler ucs2 = handlerFor(L"ucs-2");
  Decoding decoded = decode(ucs2, {0x41, 0x00, 0x00, 0x00, 0x42, 0x00});
  EXPECT_EQ(decoded.status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decoded.consumed, 4u);
  EXPECT_EQ(decoded.text, L"A");
}

TEST_F(Encodings, Ucs2DecodingStopsAtAFullTarget) {
  MarlEncodingHandler ucs2 = handlerFor(L"ucs-2");
  Decoding decoded = decode(ucs2, {0x41, 0x00, 0x00, 0x00, 0x42, 0x00, 0x00, 0x00}, 1);
  EXPECT_EQ(decoded.status, H::CONV_TGT_FULL);
  EXPECT_EQ(decoded.consumed, 4u);
}

TEST_F(Encodings, Ucs2WritesEachElementIntoAFourByteCell) {
  MarlEncodingHandler little = handlerFor(L"ucs-2le");
  EXPECT_EQ(encode(little, L"AB").bytes, (Bytes{0x41, 0x00, 0x00, 0x00, 0x42, 0x00, 0x00, 0x00}));
  MarlEncodingHandler big = handlerFor(L"ucs-2be");
  EXPECT_EQ(encode(big, wide({0x20AC})).bytes, (Bytes{0x20, 0xAC, 0x00, 0x00}));
}

TEST_F(Encodings, Ucs2TakesElementsAsSixteenBitUnits) {
  MarlEncodingHandler ucs2 = handlerFor(L"ucs-2le");
  EXPECT_EQ(encode(ucs2, wide({0x1F600})).bytes, (Bytes{0x00, 0xF6, 0x00, 0x00}));
}

TEST_F(Encodings, Ucs2TargetOfAnOddSizeOrWithoutRoomForACellIsFull) {
  MarlEncodingHandler ucs2 = handlerFor(L"ucs-2le");
  Encoding odd = encode(ucs2, L"AB", 5);
  EXPECT_EQ(odd.status, H::CONV_TGT_FULL);
  EXPECT_EQ(odd.consumed, 0u);
  Encoding partial = encode(ucs2, L"AB", 6);
  EXPECT_EQ(partial.status, H::CONV_TGT_FULL);
  EXPECT_EQ(partial.consumed, 1u);
  EXPECT_EQ(partial.bytes, (Bytes{0x41, 0x00, 0x00, 0x00}));
}

TEST_F(Encodings, Ucs2ConvertsInBothDirectionsResumably) {
  MarlEncodingHandler big = handlerFor(L"ucs-2be");
  Bytes bytes = {0x00, 0x3C, 0x00, 0x00, 0xD8, 0x00, 0x00, 0x00, 0x20, 0xAC, 0x00, 0x00};
  std::wstring text = wide({0x3C, 0xD800, 0x20AC});
  expectResumableDecoding(big, bytes, text);
  expectResumableEncoding(big, text, bytes);
}

// ---------------------------------------------------------------------------------------
// UCS-4, in eight-byte cells

TEST_F(Encodings, Ucs4ReadsEachUnsignedLongCell) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler little = handlerFor(L"ucs-4le");
  Decoding decoded = decode(little, {0x41, 0, 0, 0, 0, 0, 0, 0, 0xAC, 0x20, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.consumed, 16u);
  EXPECT_EQ(decoded.text, wide({0x41, 0x20AC}));
  MarlEncodingHandler big = handlerFor(L"ucs-4be");
  EXPECT_EQ(decode(big, {0, 0, 0, 0x41, 0, 0, 0, 0}).text, L"A");
}

TEST_F(Encodings, Ucs4UnusualOrdersReorderTheValueReadAsTheirHelpersSay) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler order2143 = handlerFor(L"ucs-4", E::BYTEORDER_2143);
  EXPECT_EQ(decode(order2143, {0, 0x41, 0, 0, 0, 0, 0, 0}).text, L"A");
  EXPECT_EQ(encode(order2143, L"A").bytes, (Bytes{0, 0x41, 0, 0, 0, 0, 0, 0}));
  MarlEncodingHandler order3412 = handlerFor(L"ucs-4", E::BYTEORDER_3412);
  EXPECT_EQ(decode(order3412, {0, 0, 0x41, 0, 0, 0, 0, 0}).text, L"A");
  EXPECT_EQ(encode(order3412, L"A").bytes, (Bytes{0, 0, 0x41, 0, 0, 0, 0, 0}));
}

TEST_F(Encodings, Ucs4ValueAboveFFFFIsIllegalWithTheCursorOnItsCell) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler ucs4 = handlerFor(L"ucs-4le");
  Decoding decoded = decode(ucs4, {0x41, 0, 0, 0, 0, 0, 0, 0, 0x00, 0x00, 0x01, 0, 0, 0, 0, 0});
  EXPECT_EQ(decoded.status, H::CONV_ILLEGAL);
  EXPECT_EQ(decoded.consumed, 8u);
  EXPECT_EQ(decoded.text, L"A");
  // The upper half of the cell counts as part of the value.
  EXPECT_EQ(decode(ucs4, {0x41, 0, 0, 0, 0x01, 0, 0, 0}).status, H::CONV_ILLEGAL);
}

TEST_F(Encodings, Ucs4SourceNotAWholeNumberOfFourByteUnitsConvertsNothing) {
  MarlEncodingHandler ucs4 = handlerFor(L"ucs-4le");
  Decoding decoded = decode(ucs4, {0x41, 0, 0, 0, 0, 0});
  EXPECT_EQ(decoded.status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decoded.consumed, 0u);
}

TEST_F(Encodings, Ucs4CellNotWholeYetWaitsForMoreBytes) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler ucs4 = handlerFor(L"ucs-4le");
  Decoding decoded = decode(ucs4, {0x41, 0, 0, 0, 0, 0, 0, 0, 0x42, 0, 0, 0});
  EXPECT_EQ(decoded.status, H::CONV_SRC_EXHAUSTED);
  EXPECT_EQ(decoded.consumed, 8u);
  EXPECT_EQ(decoded.text, L"A");
}

TEST_F(Encodings, Ucs4WritesEachElementIntoAnEightByteCell) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler little = handlerFor(L"ucs-4le");
  EXPECT_EQ(encode(little, L"A").bytes, (Bytes{0x41, 0, 0, 0, 0, 0, 0, 0}));
  MarlEncodingHandler big = handlerFor(L"ucs-4be");
  EXPECT_EQ(encode(big, wide({0x20AC})).bytes, (Bytes{0, 0, 0x20, 0xAC, 0, 0, 0, 0}));
}

TEST_F(Encodings, Ucs4WidensElementsWithTheirSign) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler little = handlerFor(L"ucs-4le");
  EXPECT_EQ(encode(little, wide({0x80000000u})).bytes,
            (Bytes{0, 0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0xFF}));
  MarlEncodingHandler big = handlerFor(L"ucs-4be");
  EXPECT_EQ(encode(big, wide({0x80000000u})).bytes, (Bytes{0x80, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST_F(Encodings, Ucs4TargetNotAWholeNumberOfUnitsOrWithoutRoomForACellIsFull) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler ucs4 = handlerFor(L"ucs-4le");
  Encoding odd = encode(ucs4, L"AB", 6);
  EXPECT_EQ(odd.status, H::CONV_TGT_FULL);
  EXPECT_EQ(odd.consumed, 0u);
  Encoding partial = encode(ucs4, L"AB", 12);
  EXPECT_EQ(partial.status, H::CONV_TGT_FULL);
  EXPECT_EQ(partial.consumed, 1u);
  EXPECT_EQ(partial.bytes.size(), 8u);
}

TEST_F(Encodings, Ucs4ConvertsInBothDirectionsResumably) {
  if (sizeof(unsigned long) != 8) GTEST_SKIP() << "cells are not eight bytes here";
  MarlEncodingHandler big = handlerFor(L"ucs-4be");
  Bytes bytes = {0, 0, 0, 0x3C, 0, 0, 0,    0,    0, 0, 0xD8, 0,
                 0, 0, 0, 0,    0, 0, 0x20, 0xAC, 0, 0, 0,    0};
  std::wstring text = wide({0x3C, 0xD800, 0x20AC});
  expectResumableDecoding(big, bytes, text);
  expectResumableEncoding(big, text, bytes);
}

// ---------------------------------------------------------------------------------------
// US-ASCII

TEST_F(Encodings, AsciiDecodesSevenBitBytes) {
  MarlEncodingHandler ascii = handlerFor(L"usascii");
  Decoding decoded = decode(ascii, {0x00, 0x41, 0x7F});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.text, wide({0x00, 0x41, 0x7F}));
}

TEST_F(Encodings, AsciiByteWithTheHighBitIsIllegalWithTheCursorOnIt) {
  MarlEncodingHandler ascii = handlerFor(L"usascii");
  Decoding decoded = decode(ascii, {0x41, 0x80, 0x42});
  EXPECT_EQ(decoded.status, H::CONV_ILLEGAL);
  EXPECT_EQ(decoded.consumed, 1u);
  EXPECT_EQ(decoded.text, L"A");
}

TEST_F(Encodings, AsciiElementAbove7FIsIllegalWithTheCursorOnIt) {
  MarlEncodingHandler ascii = handlerFor(L"usascii");
  Encoding encoded = encode(ascii, wide({0x41, 0x80, 0x42}));
  EXPECT_EQ(encoded.status, H::CONV_ILLEGAL);
  EXPECT_EQ(encoded.consumed, 1u);
  EXPECT_EQ(encoded.bytes, (Bytes{0x41}));
  EXPECT_EQ(encode(ascii, wide({0x7F})).bytes, (Bytes{0x7F}));
}

TEST_F(Encodings, AsciiEmptySourceIsDoneAndAFullTargetStops) {
  MarlEncodingHandler ascii = handlerFor(L"usascii");
  EXPECT_EQ(decode(ascii, {}).status, H::CONV_OK);
  EXPECT_EQ(encode(ascii, L"").status, H::CONV_OK);
  EXPECT_EQ(decode(ascii, {0x41, 0x42}, 1).status, H::CONV_TGT_FULL);
  EXPECT_EQ(encode(ascii, L"AB", 1).status, H::CONV_TGT_FULL);
}

TEST_F(Encodings, AsciiConvertsInBothDirectionsResumably) {
  MarlEncodingHandler ascii = handlerFor(L"usascii");
  expectResumableDecoding(ascii, {0x3C, 0x61, 0x3E, 0x7F}, L"<a>\x7F");
  expectResumableEncoding(ascii, L"<a>\x7F", {0x3C, 0x61, 0x3E, 0x7F});
}

// ---------------------------------------------------------------------------------------
// ISO 8859

TEST_F(Encodings, IsoByteBelowA0IsTheCharacterItself) {
  MarlEncodingHandler greek = handlerFor(L"iso-8859-7");
  Bytes low;
  std::wstring expected;
  for (int byte = 0; byte < 0xA0; ++byte) {
    low.push_back(static_cast<unsigned char>(byte));
    expected += static_cast<wchar_t>(byte);
  }
  EXPECT_EQ(decode(greek, low).text, expected);
  EXPECT_EQ(encode(greek, expected).bytes, low);
}

TEST_F(Encodings, Iso3UnassignedByteReadsAs7F) {
  MarlEncodingHandler latin3 = handlerFor(L"iso-8859-3");
  Decoding decoded = decode(latin3, {0xA5});
  EXPECT_EQ(decoded.status, H::CONV_OK);
  EXPECT_EQ(decoded.text, wide({0x7F}));
  // 0x7F marks unassigned in one direction only: written, it is the byte 7F.
  EXPECT_EQ(encode(latin3, wide({0x7F})).bytes, (Bytes{0x7F}));
}

TEST_F(Encodings, IsoCharacterWithoutAByteLeavesBothCursorsWhereTheCallBegan) {
  MarlEncodingHandler latin1 = handlerFor(L"iso-8859-1");
  std::vector<wchar_t> source = {0x41, 0xE9, 0x100, 0x42};
  Bytes target(8);
  wchar_t const* in = source.data();
  unsigned char* out = target.data();
  EXPECT_EQ(latin1.convertFromUCS2(&in, source.data() + source.size(), &out,
                                   target.data() + target.size()),
            H::CONV_ILLEGAL);
  EXPECT_EQ(in, source.data());
  EXPECT_EQ(out, target.data());
}

TEST_F(Encodings, Iso7ReadsA2AsModifierApostropheAndRefusesRightQuotationMark) {
  MarlEncodingHandler greek = handlerFor(L"iso-8859-7");
  EXPECT_EQ(decode(greek, {0xA2}).text, wide({0x2BC}));
  EXPECT_EQ(encode(greek, wide({0x2019})).status, H::CONV_ILLEGAL);
  EXPECT_EQ(encode(greek, wide({0x2BC})).bytes, (Bytes{0xA2}));
}

TEST_F(Encodings, IsoElementBeyondSixteenBitsHasNoByte) {
  MarlEncodingHandler latin1 = handlerFor(L"iso-8859-1");
  EXPECT_EQ(encode(latin1, wide({0x100E9})).status, H::CONV_ILLEGAL);
  EXPECT_EQ(encode(latin1, wide({0xE9})).bytes, (Bytes{0xE9}));
}

TEST_F(Encodings, IsoStopsAtAFullTargetInBothDirections) {
  MarlEncodingHandler latin2 = handlerFor(L"latin2");
  Decoding decoded = decode(latin2, {0x41, 0xA1}, 1);
  EXPECT_EQ(decoded.status, H::CONV_TGT_FULL);
  EXPECT_EQ(decoded.consumed, 1u);
  Encoding encoded = encode(latin2, wide({0x41, 0x104}), 1);
  EXPECT_EQ(encoded.status, H::CONV_TGT_FULL);
  EXPECT_EQ(encoded.consumed, 1u);
  EXPECT_EQ(encoded.bytes, (Bytes{0x41}));
}

TEST_F(Encodings, IsoConvertsInBothDirectionsResumably) {
  MarlEncodingHandler cyrillic = handlerFor(L"cyrillic");
  Bytes bytes = {0x3C, 0xB0, 0xF0, 0xFD, 0xA0, 0x3E};
  std::wstring text = wide({0x3C, 0x410, 0x2116, 0xA7, 0xA0, 0x3E});
  expectResumableDecoding(cyrillic, bytes, text);
  expectResumableEncoding(cyrillic, text, bytes);
}

TEST_F(Encodings, IsoCloneForANameOfNoPartIsEmpty) {
  MarlEncodingHandler prototype = factory().prototypes()[4];
  EXPECT_EQ(prototype.capable(encoding(L"iso-8859-12")), 0);
  EXPECT_FALSE(prototype.clone(encoding(L"iso-8859-12")));
}

TEST_F(Encodings, IsoPrototypeWithoutTablesCannotConvert) {
  MarlEncodingHandler prototype = factory().prototypes()[4];
  EXPECT_EQ(decode(prototype, {0xA0}).status, CONV_INTERNAL_ERROR);
  EXPECT_EQ(encode(prototype, wide({0xA0})).status, CONV_INTERNAL_ERROR);
}

// ---------------------------------------------------------------------------------------
// The catch-all

TEST_F(Encodings, TheCatchAllTakesEveryNameAndClonesAPlainUtf8Handler) {
  MarlEncodingHandler catchAll = factory().prototypes()[6];
  EXPECT_EQ(catchAll.capable(encoding(L"")), 1);
  EXPECT_EQ(catchAll.capable(encoding(L"utf-16")), 1);
  TraceCapture trace;
  MarlEncodingHandler clone = catchAll.clone(encoding(L"ebcdic-xyz"));
  EXPECT_TRUE(holds<CEncodingHandlerUTF8>(clone));
  EXPECT_NE(trace.text().find("marl: unsupported encoding ebcdic-xyz -> using utf8"),
            std::string::npos);
}

TEST_F(Encodings, TheCatchAllConvertsAsUtf8) {
  MarlEncodingHandler catchAll = factory().prototypes()[6];
  EXPECT_EQ(decode(catchAll, {0xE2, 0x82, 0xAC}).text, wide({0x20AC}));
  EXPECT_EQ(encode(catchAll, wide({0x20AC})).bytes, (Bytes{0xE2, 0x82, 0xAC}));
}

// ---------------------------------------------------------------------------------------
// Host code pages

TEST_F(Encodings, HostHandlerServesHostFormsAndTableNames) {
  MarlEncodingHandler host(new CEncodingHandlerORV());
  for (wchar_t const* name :
       {L"orv1100", L"ORV4110", L"x-orv8000", L"orv-", L"utf-8", L"CP1252", L"x-orv-6100"})
    EXPECT_EQ(host.capable(encoding(name)), 1) << name;
  for (wchar_t const* name : {L"utf-16", L"ucs-2", L"klingon-1", L"iso-8859-3", L"latin1"})
    EXPECT_EQ(host.capable(encoding(name)), 0) << name;
}

TEST_F(Encodings, HostBlockHandlerAlsoServesTheUnicodeFormsWithoutOrder) {
  MarlEncodingHandler block(new CEncodingHandlerORV_Block());
  for (wchar_t const* name :
       {L"ucs-2", L"ucs-4", L"utf-16", L"UTF-16", L"orv*", L"x-orv1100", L"big5"})
    EXPECT_EQ(block.capable(encoding(name)), 1) << name;
  EXPECT_EQ(block.capable(encoding(L"klingon-1")), 0);
}

TEST_F(Encodings, HostHandlerCannotBeClonedWithoutAHostAndLeaksNothing) {
  MarlEncodingHandler host(new CEncodingHandlerORV());
  long blocksBefore = testhost::outstandingBlocks();
  TraceCapture trace;
  EXPECT_FALSE(host.clone(encoding(L"iso-8859-2")));
  EXPECT_FALSE(host.clone(encoding(L"x-orv1100")));
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
  std::string text = trace.text();
  EXPECT_NE(text.find("marl conv init failed. rc=4 from=1401 to=4110"), std::string::npos);
  EXPECT_NE(text.find("marl conv init failed. rc=4 from=1100 to=4110"), std::string::npos);
}

TEST_F(Encodings, HostBlockHandlerFindsTheCodePageOfAUnicodeFormByTheEncodingsOrder) {
  MarlEncodingHandler block(new CEncodingHandlerORV_Block());
  long blocksBefore = testhost::outstandingBlocks();
  TraceCapture trace;
  EXPECT_FALSE(block.clone(encoding(L"ucs-2", E::BYTEORDER_LE)));
  EXPECT_FALSE(block.clone(encoding(L"utf-16", E::BYTEORDER_BE)));
  EXPECT_FALSE(block.clone(encoding(L"ucs-4", E::BYTEORDER_2143)));
  EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore);
  // Without a host the internal code page is empty.
  std::string text = trace.text();
  EXPECT_NE(text.find("marl conv init failed. rc=4 from=4101 to=\n"), std::string::npos);
  EXPECT_NE(text.find("marl conv init failed. rc=4 from=4102 to=\n"), std::string::npos);
  EXPECT_NE(text.find("marl conv init failed. rc=4 from=4104 to=\n"), std::string::npos);
}

TEST_F(Encodings, HostHandlerForANameWithoutFourDigitsIsEmptyWithoutAskingTheHost) {
  MarlEncodingHandler host(new CEncodingHandlerORV());
  TraceCapture trace;
  EXPECT_EQ(host.capable(encoding(L"orv12")), 1);
  EXPECT_FALSE(host.clone(encoding(L"orv12")));
  EXPECT_EQ(trace.text(), "");
}

TEST_F(Encodings, HostHandlerCloneLeaksNothingWhereverMemoryRunsOut) {
  MarlEncodingHandler host(new CEncodingHandlerORV());
  MarlEncoding cp = encoding(L"x-orv1100");
  TraceCapture quiet(0);
  for (long failAt = 0; failAt < 3; ++failAt) {
    long blocksBefore = testhost::outstandingBlocks();
    {
      testhost::AllocationFailure failure(failAt);
      EXPECT_FALSE(host.clone(cp));
    }
    EXPECT_EQ(testhost::outstandingBlocks(), blocksBefore) << "allocation " << failAt;
  }
}

TEST_F(Encodings, HostHandlersPassTheHostsStatusOnAndTraceFailures) {
  MarlEncodingHandler host(new CEncodingHandlerORV());
  MarlEncodingHandler block(new CEncodingHandlerORV_Block());
  TraceCapture trace;
  EXPECT_EQ(decode(host, {0x41}).status, CONV_INTERNAL_ERROR);
  EXPECT_EQ(encode(host, L"A").status, CONV_INTERNAL_ERROR);
  EXPECT_EQ(decode(block, {0x41}).status, CONV_INTERNAL_ERROR);
  EXPECT_EQ(encode(block, L"A").status, CONV_INTERNAL_ERROR);
  std::string text = trace.text();
  EXPECT_NE(text.find("marl orvcp to ucs2 failed. rc=4"), std::string::npos);
  EXPECT_NE(text.find("marl ucs2 to orvcp failed. rc=4"), std::string::npos);
  EXPECT_NE(text.find("marl ORV_CP -> UCS2 conversion failed. rc=4"), std::string::npos);
  EXPECT_NE(text.find("marl UCS2 -> ORV_CP conversion failed. rc=4"), std::string::npos);
}

TEST_F(Encodings, HostHandlersTakeEveryOrderAndTheBlockHandlerKeepsIt) {
  MarlEncodingHandler host(new CEncodingHandlerORV());
  EXPECT_EQ(host.setByteOrder(E::BYTEORDER_3412), 1);
  CEncodingHandlerORV_Block* blockImpl = new CEncodingHandlerORV_Block();
  MarlEncodingHandler block(blockImpl);
  EXPECT_EQ(blockImpl->getByteOrder(), E::BYTEORDER_LE);
  EXPECT_EQ(block.setByteOrder(E::BYTEORDER_BE), 1);
  EXPECT_EQ(blockImpl->getByteOrder(), E::BYTEORDER_BE);
}
