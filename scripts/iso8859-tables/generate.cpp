// Writes the forward tables of the ISO 8859 parts that the ISO-8859 encoding handler serves
// (src/text/xmxxu_enco_iso8859.inc).
//
// The characters come from the C library's own converters (iconv(3)); the library's tables then
// depart from them at a few settled positions, listed in `c_settled` below. The program stops
// with an error when the converters leave a byte unassigned that the settled list does not
// name, so that a converter of a different age cannot change a table without notice.
//
// Re-run from the top of the source tree:
//   g++ -std=c++17 -O2 -Wall -Wextra -o /tmp/iso8859-tables scripts/iso8859-tables/generate.cpp
//   /tmp/iso8859-tables > src/text/xmxxu_enco_iso8859.inc
#include <iconv.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int c_firstByte = 0xA0;
constexpr int c_entries = 96;
// What an unassigned byte reads as.
constexpr std::uint32_t c_unassigned = 0x7F;

struct Range {
  int first;
  int last;
};

struct Override {
  int byte;
  std::uint32_t character;
};

struct Settled {
  int part;
  std::vector<Range> unassigned;
  std::vector<Override> overrides;
};

// The positions where the library's tables are not the converters' tables: bytes that read as
// unassigned, and characters that older mapping tables gave and the library keeps.
const std::vector<Settled> c_settled = {
    {3,
     {{0xA5, 0xA5},
      {0xAE, 0xAE},
      {0xBE, 0xBE},
      {0xC3, 0xC3},
      {0xD0, 0xD0},
      {0xE3, 0xE3},
      {0xF0, 0xF0}},
     {}},
    {6,
     {{0xA1, 0xA3},
      {0xA5, 0xAB},
      {0xAE, 0xBA},
      {0xBC, 0xBE},
      {0xC0, 0xC0},
      {0xDB, 0xDF},
      {0xF5, 0xFF}},
     {{0xF3, 0xF3}, {0xF4, 0xF4}}},
    {7,
     {{0xA4, 0xA5}, {0xAA, 0xAA}, {0xAE, 0xAE}, {0xD2, 0xD2}},
     {{0xA1, 0x2BD}, {0xA2, 0x2BC}, {0xFF, 0xFF}}},
    {8, {{0xA1, 0xA1}, {0xBF, 0xDE}, {0xFB, 0xFF}}, {{0xAF, 0x203E}}},
    {11, {{0xA0, 0xA0}, {0xDB, 0xDE}, {0xFC, 0xFF}}, {}},
    {13, {}, {{0xFF, 0xB4}}},
};

const int c_parts[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15};

[[noreturn]] void fail(std::string const& message) {
  std::fprintf(stderr, "iso8859-tables: %s\n", message.c_str());
  std::exit(1);
}

// The converters' character for each byte from 0xA0, or -1 where they have none.
std::vector<long> convertersTable(int part) {
  std::string charset = "ISO-8859-" + std::to_string(part);
  iconv_t converter = iconv_open("UCS-4LE", charset.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) fail("no converter for " + charset);
  std::vector<long> table(c_entries, -1);
  for (int index = 0; index < c_entries; ++index) {
    char in = static_cast<char>(c_firstByte + index);
    unsigned char out[4] = {};
    char* inCursor = &in;
    char* outCursor = reinterpret_cast<char*>(out);
    std::size_t inLeft = 1;
    std::size_t outLeft = sizeof out;
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    if (iconv(converter, &inCursor, &inLeft, &outCursor, &outLeft) == static_cast<std::size_t>(-1))
      continue;
    if (outLeft != 0) fail(charset + " gave no whole character");
    table[index] = static_cast<long>(out[0] | out[1] << 8 | out[2] << 16 |
                                     static_cast<std::uint32_t>(out[3]) << 24);
  }
  iconv_close(converter);
  return table;
}

Settled const* settledOf(int part) {
  for (Settled const& settled : c_settled)
    if (settled.part == part) return &settled;
  return nullptr;
}

std::vector<std::uint32_t> libraryTable(int part) {
  std::vector<long> converted = convertersTable(part);
  std::vector<bool> settledUnassigned(c_entries, false);
  Settled const* settled = settledOf(part);
  if (settled) {
    for (Range const& range : settled->unassigned)
      for (int byte = range.first; byte <= range.last; ++byte)
        settledUnassigned[byte - c_firstByte] = true;
    for (Override const& override : settled->overrides)
      settledUnassigned[override.byte - c_firstByte] = false;
  }

  std::vector<std::uint32_t> table(c_entries);
  for (int index = 0; index < c_entries; ++index) {
    if (settledUnassigned[index]) {
      table[index] = c_unassigned;
      continue;
    }
    if (converted[index] < 0) {
      bool overridden = false;
      if (settled)
        for (Override const& override : settled->overrides)
          overridden = overridden || override.byte == c_firstByte + index;
      if (!overridden) {
        char byte[8];
        std::snprintf(byte, sizeof byte, "%02X", c_firstByte + index);
        fail("ISO-8859-" + std::to_string(part) + " byte " + byte +
             " is unassigned in the converters but not settled");
      }
      continue;
    }
    table[index] = static_cast<std::uint32_t>(converted[index]);
  }
  if (settled)
    for (Override const& override : settled->overrides)
      table[override.byte - c_firstByte] = override.character;
  return table;
}

void writeTable(int part, std::vector<std::uint32_t> const& table) {
  std::printf("constexpr std::uint32_t c_ftbl_%d[96] = {\n", part);
  for (int index = 0; index < c_entries; ++index) {
    if (index % 8 == 0) std::printf("   ");
    std::printf(" 0x%04X,", static_cast<unsigned>(table[index]));
    if (index % 8 == 7) std::printf("  // %02X\n", c_firstByte + index - 7);
  }
  std::printf("};\n\n");
}

}  // namespace

int main() {
  std::printf(
      "// Generated by scripts/iso8859-tables/generate.cpp; edit the generator, not this file.\n"
      "//\n"
      "// Forward tables of the ISO 8859 parts: entry i is the character of the byte 0xA0 + i.\n"
      "// 0x7F marks a byte that the part leaves unassigned.\n\n");
  for (int part : c_parts) writeTable(part, libraryTable(part));
  return 0;
}
