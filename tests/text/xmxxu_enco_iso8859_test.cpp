// The ISO 8859 tables, checked entry by entry against the parts as published, written here as
// departures from the identity and as runs, with the library's settled differences spelt out.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "kernel/xmxxi_marl.h"
#include "support/library_state.h"
#include "text/xmxxu_enco.h"

namespace {

constexpr std::uint32_t c_unassigned = 0x7F;

// The characters of the bytes 0xA0 to 0xFF of one part.
class PartTable {
 public:
  static PartTable identity() {
    PartTable table;
    for (int byte = 0xA0; byte <= 0xFF; ++byte) table.set(byte, static_cast<std::uint32_t>(byte));
    return table;
  }
  static PartTable unassignedEverywhere() {
    PartTable table;
    table.unassigned(0xA0, 0xFF);
    return table;
  }

  PartTable& set(int byte, std::uint32_t character) {
    characters[byte - 0xA0] = character;
    return *this;
  }
  PartTable& set(std::initializer_list<std::pair<int, std::uint32_t>> changes) {
    for (auto const& change : changes) set(change.first, change.second);
    return *this;
  }
  // Consecutive bytes with consecutive characters.
  PartTable& run(int firstByte, int lastByte, std::uint32_t firstCharacter) {
    for (int byte = firstByte; byte <= lastByte; ++byte)
      set(byte, firstCharacter + static_cast<std::uint32_t>(byte - firstByte));
    return *this;
  }
  PartTable& unassigned(int firstByte, int lastByte) {
    for (int byte = firstByte; byte <= lastByte; ++byte) set(byte, c_unassigned);
    return *this;
  }

  std::uint32_t operator[](int byte) const {
    return characters[byte - 0xA0];
  }

 private:
  std::uint32_t characters[96] = {};
};

PartTable expectedPart(int part) {
  switch (part) {
    case 1:
      return PartTable::identity();
    case 2:
      return PartTable::identity().set({
          {0xA1, 0x0104}, {0xA2, 0x02D8}, {0xA3, 0x0141}, {0xA5, 0x013D}, {0xA6, 0x015A},
          {0xA9, 0x0160}, {0xAA, 0x015E}, {0xAB, 0x0164}, {0xAC, 0x0179}, {0xAE, 0x017D},
          {0xAF, 0x017B}, {0xB1, 0x0105}, {0xB2, 0x02DB}, {0xB3, 0x0142}, {0xB5, 0x013E},
          {0xB6, 0x015B}, {0xB7, 0x02C7}, {0xB9, 0x0161}, {0xBA, 0x015F}, {0xBB, 0x0165},
          {0xBC, 0x017A}, {0xBD, 0x02DD}, {0xBE, 0x017E}, {0xBF, 0x017C}, {0xC0, 0x0154},
          {0xC3, 0x0102}, {0xC5, 0x0139}, {0xC6, 0x0106}, {0xC8, 0x010C}, {0xCA, 0x0118},
          {0xCC, 0x011A}, {0xCF, 0x010E}, {0xD0, 0x0110}, {0xD1, 0x0143}, {0xD2, 0x0147},
          {0xD5, 0x0150}, {0xD8, 0x0158}, {0xD9, 0x016E}, {0xDB, 0x0170}, {0xDE, 0x0162},
          {0xE0, 0x0155}, {0xE3, 0x0103}, {0xE5, 0x013A}, {0xE6, 0x0107}, {0xE8, 0x010D},
          {0xEA, 0x0119}, {0xEC, 0x011B}, {0xEF, 0x010F}, {0xF0, 0x0111}, {0xF1, 0x0144},
          {0xF2, 0x0148}, {0xF5, 0x0151}, {0xF8, 0x0159}, {0xF9, 0x016F}, {0xFB, 0x0171},
          {0xFE, 0x0163}, {0xFF, 0x02D9},
      });
    case 3:
      return PartTable::identity()
          .set({
              {0xA1, 0x0126}, {0xA2, 0x02D8}, {0xA6, 0x0124}, {0xA9, 0x0130}, {0xAA, 0x015E},
              {0xAB, 0x011E}, {0xAC, 0x0134}, {0xAF, 0x017B}, {0xB1, 0x0127}, {0xB6, 0x0125},
              {0xB9, 0x0131}, {0xBA, 0x015F}, {0xBB, 0x011F}, {0xBC, 0x0135}, {0xBF, 0x017C},
              {0xC5, 0x010A}, {0xC6, 0x0108}, {0xD5, 0x0120}, {0xD8, 0x011C}, {0xDD, 0x016C},
              {0xDE, 0x015C}, {0xE5, 0x010B}, {0xE6, 0x0109}, {0xF5, 0x0121}, {0xF8, 0x011D},
              {0xFD, 0x016D}, {0xFE, 0x015D}, {0xFF, 0x02D9},
          })
          .unassigned(0xA5, 0xA5)
          .unassigned(0xAE, 0xAE)
          .unassigned(0xBE, 0xBE)
          .unassigned(0xC3, 0xC3)
          .unassigned(0xD0, 0xD0)
          .unassigned(0xE3, 0xE3)
          .unassigned(0xF0, 0xF0);
    case 4:
      return PartTable::identity().set({
          {0xA1, 0x0104}, {0xA2, 0x0138}, {0xA3, 0x0156}, {0xA5, 0x0128}, {0xA6, 0x013B},
          {0xA9, 0x0160}, {0xAA, 0x0112}, {0xAB, 0x0122}, {0xAC, 0x0166}, {0xAE, 0x017D},
          {0xB1, 0x0105}, {0xB2, 0x02DB}, {0xB3, 0x0157}, {0xB5, 0x0129}, {0xB6, 0x013C},
          {0xB7, 0x02C7}, {0xB9, 0x0161}, {0xBA, 0x0113}, {0xBB, 0x0123}, {0xBC, 0x0167},
          {0xBD, 0x014A}, {0xBE, 0x017E}, {0xBF, 0x014B}, {0xC0, 0x0100}, {0xC7, 0x012E},
          {0xC8, 0x010C}, {0xCA, 0x0118}, {0xCC, 0x0116}, {0xCF, 0x012A}, {0xD0, 0x0110},
          {0xD1, 0x0145}, {0xD2, 0x014C}, {0xD3, 0x0136}, {0xD9, 0x0172}, {0xDD, 0x0168},
          {0xDE, 0x016A}, {0xE0, 0x0101}, {0xE7, 0x012F}, {0xE8, 0x010D}, {0xEA, 0x0119},
          {0xEC, 0x0117}, {0xEF, 0x012B}, {0xF0, 0x0111}, {0xF1, 0x0146}, {0xF2, 0x014D},
          {0xF3, 0x0137}, {0xF9, 0x0173}, {0xFD, 0x0169}, {0xFE, 0x016B}, {0xFF, 0x02D9},
      });
    case 5:
      return PartTable::identity()
          .run(0xA1, 0xAC, 0x0401)
          .run(0xAE, 0xEF, 0x040E)
          .set(0xF0, 0x2116)
          .run(0xF1, 0xFC, 0x0451)
          .set(0xFD, 0x00A7)
          .run(0xFE, 0xFF, 0x045E);
    case 6:
      // F3 and F4 stand for the characters of the same number, as the library has always read them.
      return PartTable::unassignedEverywhere()
          .set({{0xA0, 0x00A0},
                {0xA4, 0x00A4},
                {0xAC, 0x060C},
                {0xAD, 0x00AD},
                {0xBB, 0x061B},
                {0xBF, 0x061F}})
          .run(0xC1, 0xDA, 0x0621)
          .run(0xE0, 0xF2, 0x0640)
          .set({{0xF3, 0x00F3}, {0xF4, 0x00F4}});
    case 7:
      // The Greek part in its first edition, with modifier letters for the quotation marks,
      // and FF read as the character of the same number.
      return PartTable::identity()
          .set({{0xA1, 0x02BD},
                {0xA2, 0x02BC},
                {0xAF, 0x2015},
                {0xB4, 0x0384},
                {0xB5, 0x0385},
                {0xB6, 0x0386},
                {0xB8, 0x0388},
                {0xB9, 0x0389},
                {0xBA, 0x038A},
                {0xBC, 0x038C},
                {0xBE, 0x038E},
                {0xBF, 0x038F}})
          .unassigned(0xA4, 0xA5)
          .unassigned(0xAA, 0xAA)
          .unassigned(0xAE, 0xAE)
          .run(0xC0, 0xD1, 0x0390)
          .unassigned(0xD2, 0xD2)
          .run(0xD3, 0xFE, 0x03A3);
    case 8:
      // The Hebrew part in its first edition: AF is the overline, and the direction marks are not
      // assigned.
      return PartTable::identity()
          .unassigned(0xA1, 0xA1)
          .set({{0xAA, 0x00D7}, {0xAF, 0x203E}, {0xBA, 0x00F7}})
          .unassigned(0xBF, 0xDE)
          .set(0xDF, 0x2017)
          .run(0xE0, 0xFA, 0x05D0)
          .unassigned(0xFB, 0xFF);
    case 9:
      return PartTable::identity().set({{0xD0, 0x011E},
                                        {0xDD, 0x0130},
                                        {0xDE, 0x015E},
                                        {0xF0, 0x011F},
                                        {0xFD, 0x0131},
                                        {0xFE, 0x015F}});
    case 10:
      return PartTable::identity().set({
          {0xA1, 0x0104}, {0xA2, 0x0112}, {0xA3, 0x0122}, {0xA4, 0x012A}, {0xA5, 0x0128},
          {0xA6, 0x0136}, {0xA8, 0x013B}, {0xA9, 0x0110}, {0xAA, 0x0160}, {0xAB, 0x0166},
          {0xAC, 0x017D}, {0xAE, 0x016A}, {0xAF, 0x014A}, {0xB1, 0x0105}, {0xB2, 0x0113},
          {0xB3, 0x0123}, {0xB4, 0x012B}, {0xB5, 0x0129}, {0xB6, 0x0137}, {0xB8, 0x013C},
          {0xB9, 0x0111}, {0xBA, 0x0161}, {0xBB, 0x0167}, {0xBC, 0x017E}, {0xBD, 0x2015},
          {0xBE, 0x016B}, {0xBF, 0x014B}, {0xC0, 0x0100}, {0xC7, 0x012E}, {0xC8, 0x010C},
          {0xCA, 0x0118}, {0xCC, 0x0116}, {0xD1, 0x0145}, {0xD2, 0x014C}, {0xD7, 0x0168},
          {0xD9, 0x0172}, {0xE0, 0x0101}, {0xE7, 0x012F}, {0xE8, 0x010D}, {0xEA, 0x0119},
          {0xEC, 0x0117}, {0xF1, 0x0146}, {0xF2, 0x014D}, {0xF7, 0x0169}, {0xF9, 0x0173},
          {0xFF, 0x0138},
      });
    case 11:
      // Thai as in TIS 620, without the no-break space at A0.
      return PartTable::unassignedEverywhere().run(0xA1, 0xDA, 0x0E01).run(0xDF, 0xFB, 0x0E3F);
    case 13:
      // FF is read as the acute accent.
      return PartTable::identity().set({
          {0xA1, 0x201D}, {0xA5, 0x201E}, {0xA8, 0x00D8}, {0xAA, 0x0156}, {0xAF, 0x00C6},
          {0xB4, 0x201C}, {0xB8, 0x00F8}, {0xBA, 0x0157}, {0xBF, 0x00E6}, {0xC0, 0x0104},
          {0xC1, 0x012E}, {0xC2, 0x0100}, {0xC3, 0x0106}, {0xC6, 0x0118}, {0xC7, 0x0112},
          {0xC8, 0x010C}, {0xCA, 0x0179}, {0xCB, 0x0116}, {0xCC, 0x0122}, {0xCD, 0x0136},
          {0xCE, 0x012A}, {0xCF, 0x013B}, {0xD0, 0x0160}, {0xD1, 0x0143}, {0xD2, 0x0145},
          {0xD4, 0x014C}, {0xD8, 0x0172}, {0xD9, 0x0141}, {0xDA, 0x015A}, {0xDB, 0x016A},
          {0xDD, 0x017B}, {0xDE, 0x017D}, {0xE0, 0x0105}, {0xE1, 0x012F}, {0xE2, 0x0101},
          {0xE3, 0x0107}, {0xE6, 0x0119}, {0xE7, 0x0113}, {0xE8, 0x010D}, {0xEA, 0x017A},
          {0xEB, 0x0117}, {0xEC, 0x0123}, {0xED, 0x0137}, {0xEE, 0x012B}, {0xEF, 0x013C},
          {0xF0, 0x0161}, {0xF1, 0x0144}, {0xF2, 0x0146}, {0xF4, 0x014D}, {0xF8, 0x0173},
          {0xF9, 0x0142}, {0xFA, 0x015B}, {0xFB, 0x016B}, {0xFD, 0x017C}, {0xFE, 0x017E},
          {0xFF, 0x00B4},
      });
    case 14:
      return PartTable::identity().set({
          {0xA1, 0x1E02}, {0xA2, 0x1E03}, {0xA4, 0x010A}, {0xA5, 0x010B}, {0xA6, 0x1E0A},
          {0xA8, 0x1E80}, {0xAA, 0x1E82}, {0xAB, 0x1E0B}, {0xAC, 0x1EF2}, {0xAF, 0x0178},
          {0xB0, 0x1E1E}, {0xB1, 0x1E1F}, {0xB2, 0x0120}, {0xB3, 0x0121}, {0xB4, 0x1E40},
          {0xB5, 0x1E41}, {0xB7, 0x1E56}, {0xB8, 0x1E81}, {0xB9, 0x1E57}, {0xBA, 0x1E83},
          {0xBB, 0x1E60}, {0xBC, 0x1EF3}, {0xBD, 0x1E84}, {0xBE, 0x1E85}, {0xBF, 0x1E61},
          {0xD0, 0x0174}, {0xD7, 0x1E6A}, {0xDE, 0x0176}, {0xF0, 0x0175}, {0xF7, 0x1E6B},
          {0xFE, 0x0177},
      });
    case 15:
      return PartTable::identity().set({{0xA4, 0x20AC},
                                        {0xA6, 0x0160},
                                        {0xA8, 0x0161},
                                        {0xB4, 0x017D},
                                        {0xB8, 0x017E},
                                        {0xBC, 0x0152},
                                        {0xBD, 0x0153},
                                        {0xBE, 0x0178}});
    default:
      ADD_FAILURE() << "no part " << part;
      return PartTable::unassignedEverywhere();
  }
}

const int c_parts[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15};

class IsoTables : public FreshLibrary {
 protected:
  MarlEncodingHandler handlerOf(int part) {
    MarlEncoding name(new CMarlEncoding(L"iso-8859-" + std::to_wstring(part)));
    return CMarlBase::instance().getEncodingFactory().queryHandler(name);
  }

  std::wstring decodeOne(MarlEncodingHandler& handler, unsigned char byte, int* status) {
    unsigned char const source[1] = {byte};
    unsigned char const* in = source;
    wchar_t target[1];
    wchar_t* out = target;
    *status = handler.convertToUCS2(&in, source + 1, &out, target + 1);
    return std::wstring(target, out);
  }

  // The byte written for one element; -1 with the status when none is.
  int encodeOne(MarlEncodingHandler& handler, std::uint32_t element, int* status) {
    wchar_t const source[1] = {static_cast<wchar_t>(element)};
    wchar_t const* in = source;
    unsigned char target[1] = {0};
    unsigned char* out = target;
    *status = handler.convertFromUCS2(&in, source + 1, &out, target + 1);
    return out == target + 1 ? target[0] : -1;
  }
};

}  // namespace

TEST_F(IsoTables, EveryByteOfEveryPartDecodesAsPublished) {
  for (int part : c_parts) {
    MarlEncodingHandler handler = handlerOf(part);
    ASSERT_TRUE(handler);
    PartTable expected = expectedPart(part);
    for (int byte = 0; byte <= 0xFF; ++byte) {
      int status = -1;
      std::wstring decoded = decodeOne(handler, static_cast<unsigned char>(byte), &status);
      EXPECT_EQ(status, MarlEncodingHandler::CONV_OK);
      ASSERT_EQ(decoded.size(), 1u);
      std::uint32_t wanted = byte < 0xA0 ? static_cast<std::uint32_t>(byte) : expected[byte];
      EXPECT_EQ(static_cast<std::uint32_t>(decoded[0]), wanted)
          << "ISO-8859-" << part << " byte " << std::hex << byte;
    }
  }
}

TEST_F(IsoTables, EveryAssignedByteComesBackFromItsCharacter) {
  for (int part : c_parts) {
    MarlEncodingHandler handler = handlerOf(part);
    PartTable expected = expectedPart(part);
    for (int byte = 0xA0; byte <= 0xFF; ++byte) {
      if (expected[byte] == c_unassigned) continue;
      int status = -1;
      EXPECT_EQ(encodeOne(handler, expected[byte], &status), byte)
          << "ISO-8859-" << part << " byte " << std::hex << byte;
      EXPECT_EQ(status, MarlEncodingHandler::CONV_OK);
    }
  }
}

// Every 16-bit element: those below A0 are their own byte, those of the table their byte, and
// all others are refused.
TEST_F(IsoTables, EveryOtherElementIsRefused) {
  for (int part : c_parts) {
    MarlEncodingHandler handler = handlerOf(part);
    PartTable expected = expectedPart(part);
    std::vector<int> byteOf(0x10000, -1);
    for (int element = 0; element < 0xA0; ++element)
      byteOf[static_cast<std::size_t>(element)] = element;
    for (int byte = 0xA0; byte <= 0xFF; ++byte)
      if (expected[byte] != c_unassigned) byteOf[expected[byte]] = byte;
    int mismatches = 0;
    for (std::uint32_t element = 0; element < 0x10000; ++element) {
      int status = -1;
      int written = encodeOne(handler, element, &status);
      int wanted = byteOf[element];
      int wantedStatus =
          wanted < 0 ? MarlEncodingHandler::CONV_ILLEGAL : MarlEncodingHandler::CONV_OK;
      if (written != wanted || status != wantedStatus) {
        if (++mismatches <= 5)
          ADD_FAILURE() << "ISO-8859-" << part << " element " << std::hex << element << " gave "
                        << written << " status " << status;
      }
    }
    EXPECT_EQ(mismatches, 0) << "ISO-8859-" << part;
  }
}

TEST_F(IsoTables, PartsWithoutSettledPointsAssignEveryByte) {
  for (int part : {1, 2, 4, 5, 9, 10, 14, 15}) {
    PartTable expected = expectedPart(part);
    std::uint32_t const* forward = CEncodingHandlerISO8859::forwardTableOf(part);
    for (int byte = 0xA0; byte <= 0xFF; ++byte) {
      EXPECT_NE(expected[byte], c_unassigned) << part;
      EXPECT_NE(forward[byte - 0xA0], c_unassigned) << part;
    }
  }
}

TEST_F(IsoTables, Part3LeavesItsSevenGapsUnassigned) {
  MarlEncodingHandler handler = handlerOf(3);
  for (int byte : {0xA5, 0xAE, 0xBE, 0xC3, 0xD0, 0xE3, 0xF0}) {
    int status = -1;
    EXPECT_EQ(decodeOne(handler, static_cast<unsigned char>(byte), &status),
              std::wstring(1, L'\x7F'))
        << byte;
  }
}

TEST_F(IsoTables, Part6ReadsF3AndF4AsTheCharactersOfTheSameNumber) {
  MarlEncodingHandler handler = handlerOf(6);
  int status = -1;
  EXPECT_EQ(decodeOne(handler, 0xF3, &status), std::wstring(1, wchar_t(0xF3)));
  EXPECT_EQ(decodeOne(handler, 0xF4, &status), std::wstring(1, wchar_t(0xF4)));
  EXPECT_EQ(decodeOne(handler, 0xF5, &status), std::wstring(1, wchar_t(0x7F)));
  EXPECT_EQ(encodeOne(handler, 0xF3, &status), 0xF3);
  EXPECT_EQ(encodeOne(handler, 0x653, &status), -1);
}

TEST_F(IsoTables, Part7KeepsTheModifierLettersAndReadsFFAsItself) {
  MarlEncodingHandler handler = handlerOf(7);
  int status = -1;
  EXPECT_EQ(decodeOne(handler, 0xA1, &status), std::wstring(1, wchar_t(0x2BD)));
  EXPECT_EQ(decodeOne(handler, 0xA2, &status), std::wstring(1, wchar_t(0x2BC)));
  EXPECT_EQ(decodeOne(handler, 0xFF, &status), std::wstring(1, wchar_t(0xFF)));
  for (int byte : {0xA4, 0xA5, 0xAA, 0xAE, 0xD2})
    EXPECT_EQ(decodeOne(handler, static_cast<unsigned char>(byte), &status),
              std::wstring(1, wchar_t(0x7F)))
        << byte;
  EXPECT_EQ(encodeOne(handler, 0x20AC, &status), -1);
  EXPECT_EQ(status, MarlEncodingHandler::CONV_ILLEGAL);
}

TEST_F(IsoTables, Part8ReadsAFAsTheOverlineAndAssignsNoMarks) {
  MarlEncodingHandler handler = handlerOf(8);
  int status = -1;
  EXPECT_EQ(decodeOne(handler, 0xAF, &status), std::wstring(1, wchar_t(0x203E)));
  for (int byte : {0xA1, 0xBF, 0xDE, 0xFB, 0xFD, 0xFE, 0xFF})
    EXPECT_EQ(decodeOne(handler, static_cast<unsigned char>(byte), &status),
              std::wstring(1, wchar_t(0x7F)))
        << byte;
  EXPECT_EQ(decodeOne(handler, 0xDF, &status), std::wstring(1, wchar_t(0x2017)));
  EXPECT_EQ(encodeOne(handler, 0x200E, &status), -1);
  EXPECT_EQ(encodeOne(handler, 0x00AF, &status), -1);
}

TEST_F(IsoTables, Part11LeavesA0AndTheGapsUnassigned) {
  MarlEncodingHandler handler = handlerOf(11);
  int status = -1;
  for (int byte : {0xA0, 0xDB, 0xDE, 0xFC, 0xFF})
    EXPECT_EQ(decodeOne(handler, static_cast<unsigned char>(byte), &status),
              std::wstring(1, wchar_t(0x7F)))
        << byte;
  EXPECT_EQ(encodeOne(handler, 0xA0, &status), -1);
}

TEST_F(IsoTables, Part13ReadsFFAsTheAcuteAccent) {
  MarlEncodingHandler handler = handlerOf(13);
  int status = -1;
  EXPECT_EQ(decodeOne(handler, 0xFF, &status), std::wstring(1, wchar_t(0xB4)));
  EXPECT_EQ(encodeOne(handler, 0xB4, &status), 0xFF);
  EXPECT_EQ(encodeOne(handler, 0x2019, &status), -1);
}
