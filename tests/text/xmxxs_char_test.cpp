#include "text/xmxxs_char.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>

namespace {

using C = CCharClass;

std::uint16_t cls(unsigned c) { return C::c_fClass[c]; }

bool has(unsigned c, std::uint16_t flags) { return (cls(c) & flags) == flags; }

// Every character from first to last carries exactly the given value.
void expectRange(unsigned first, unsigned last, std::uint16_t value) {
  for (unsigned c = first; c <= last; ++c) {
    ASSERT_EQ(cls(c), value) << std::hex << "character 0x" << c;
  }
}

constexpr std::uint16_t kName = C::fChar | C::fContent | C::fNameChar;
constexpr std::uint16_t kLetter = kName | C::fNameStart;

TEST(CharClass, TableHasSixteenDistinctValuesWithKnownCounts) {
  std::map<std::uint16_t, std::size_t> counts;
  for (unsigned c = 0; c < 0x10000; ++c) ++counts[cls(c)];

  const std::map<std::uint16_t, std::size_t> expected = {
      {0x0200, 1},      // 0x0000
      {0x0100, 2077},   // control characters, surrogates, 0xFFFE
      {0x1081, 4},      // white space
      {0x0080, 2},      // '&', '<'
      {0x1080, 28340},  // every other character
      {0x1880, 2},      // '-', '.'
      {0x18A0, 149},    // digits
      {0x1890, 436},    // combining characters
      {0x18C0, 7},      // extenders
      {0x18E0, 6},      // extenders that are also digits
      {0x18F0, 5},      // extenders that are also digits and combining characters
      {0x1C80, 2},      // ':', '_'
      {0x1C84, 13602},  // base characters
      {0x1C88, 20589},  // ideographs
      {0x1CF8, 313},    // ideographs 0x7834-0x796C
      {0x1CFC, 1},      // 0xFFFF
  };
  EXPECT_EQ(counts.size(), 16u);
  EXPECT_EQ(counts, expected);
}

TEST(CharClass, NulIsOnlyNul) {
  EXPECT_EQ(cls(0x0000), C::fNul);
  for (unsigned c = 1; c < 0x10000; ++c) ASSERT_FALSE(cls(c) & C::fNul) << c;
}

TEST(CharClass, ControlCharactersOtherThanWhiteSpaceAreIllegal) {
  expectRange(0x01, 0x08, C::fIllegal);
  expectRange(0x0B, 0x0C, C::fIllegal);
  expectRange(0x0E, 0x1F, C::fIllegal);
}

TEST(CharClass, WhiteSpaceIsSpaceCharAndContent) {
  for (unsigned c : {0x09u, 0x0Au, 0x0Du, 0x20u}) {
    EXPECT_EQ(cls(c), C::fSpace | C::fChar | C::fContent) << c;
  }
  for (unsigned c = 0; c < 0x10000; ++c) {
    const bool space = c == 0x09 || c == 0x0A || c == 0x0D || c == 0x20;
    ASSERT_EQ((cls(c) & C::fSpace) != 0, space) << c;
  }
}

TEST(CharClass, EverySurrogateIsExactlyIllegal) {
  // A character beyond 0xFFFF arrives as two code units, each of them illegal on its own.
  expectRange(0xD800, 0xDFFF, C::fIllegal);
}

TEST(CharClass, FFFEIsIllegalButFFFFIsANameCharacter) {
  EXPECT_EQ(cls(0xFFFE), C::fIllegal);
  EXPECT_EQ(cls(0xFFFF), 0x1CFC);
  EXPECT_TRUE(has(0xFFFF, C::fChar | C::fContent | C::fNameStart | C::fNameChar));
  EXPECT_FALSE(cls(0xFFFF) & (C::fSpace | C::fIllegal | C::fNul));
}

TEST(CharClass, CharIsLegalSixteenBitCharacterRange) {
  for (unsigned c = 0; c < 0x10000; ++c) {
    const bool legal = c == 0x09 || c == 0x0A || c == 0x0D || (c >= 0x20 && c <= 0xD7FF) ||
                       (c >= 0xE000 && c <= 0xFFFD) || c == 0xFFFF;
    ASSERT_EQ((cls(c) & C::fChar) != 0, legal) << std::hex << c;
    ASSERT_EQ((cls(c) & (C::fIllegal | C::fNul)) != 0, !legal) << std::hex << c;
  }
}

TEST(CharClass, ContentIsCharExceptAmpersandAndLessThan) {
  for (unsigned c = 0; c < 0x10000; ++c) {
    const bool content = (cls(c) & C::fChar) && c != u'&' && c != u'<';
    ASSERT_EQ((cls(c) & C::fContent) != 0, content) << std::hex << c;
  }
  EXPECT_EQ(cls(u'&'), C::fChar);
  EXPECT_EQ(cls(u'<'), C::fChar);
  EXPECT_TRUE(has(u'>', C::fContent));
  EXPECT_TRUE(has(u';', C::fContent));
}

TEST(CharClass, UnusedBitsAreNeverSet) {
  const std::uint16_t unused = 0x0002 | 0x2000 | 0x4000 | 0x8000;
  for (unsigned c = 0; c < 0x10000; ++c) ASSERT_EQ(cls(c) & unused, 0) << std::hex << c;
}

TEST(CharClass, NameStartImpliesNameChar) {
  for (unsigned c = 0; c < 0x10000; ++c) {
    if (cls(c) & C::fNameStart) {
      ASSERT_TRUE(cls(c) & C::fNameChar) << std::hex << c;
    }
  }
}

TEST(CharClass, NameCharactersAreLegalContent) {
  for (unsigned c = 0; c < 0x10000; ++c) {
    if (cls(c) & C::fNameChar) {
      ASSERT_TRUE(has(c, C::fChar | C::fContent)) << std::hex << c;
    }
  }
}

TEST(CharClass, NameMarkMaskCoversLettersDigitsCombiningAndExtendersButNotPunctuation) {
  EXPECT_EQ(C::NameMarkMask, C::fBaseChar | C::fIdeographic | C::fCombining | C::fDigit |
                                 C::fExtender);
  EXPECT_FALSE(cls(u':') & C::NameMarkMask);
  EXPECT_FALSE(cls(u'_') & C::NameMarkMask);
  EXPECT_FALSE(cls(u'-') & C::NameMarkMask);
  EXPECT_FALSE(cls(u'.') & C::NameMarkMask);
  EXPECT_TRUE(cls(u'a') & C::NameMarkMask);
  EXPECT_TRUE(cls(u'7') & C::NameMarkMask);
  EXPECT_TRUE(cls(0x0300) & C::NameMarkMask);
  EXPECT_TRUE(cls(0x00B7) & C::NameMarkMask);
  EXPECT_TRUE(cls(0x4E00) & C::NameMarkMask);
}

TEST(CharClass, NamePunctuation) {
  EXPECT_EQ(cls(u':'), C::fChar | C::fContent | C::fNameStart | C::fNameChar);
  EXPECT_EQ(cls(u'_'), C::fChar | C::fContent | C::fNameStart | C::fNameChar);
  EXPECT_EQ(cls(u'-'), C::fChar | C::fContent | C::fNameChar);
  EXPECT_EQ(cls(u'.'), C::fChar | C::fContent | C::fNameChar);
  EXPECT_EQ(cls(u'/'), C::fChar | C::fContent);
  EXPECT_EQ(cls(u'='), C::fChar | C::fContent);
}

TEST(CharClass, BaseCharRangesAreLetters) {
  const std::uint16_t base = kLetter | C::fBaseChar;
  expectRange(0x0041, 0x005A, base);
  expectRange(0x0061, 0x007A, base);
  expectRange(0x00C0, 0x00D6, base);
  EXPECT_EQ(cls(0x00D7), C::fChar | C::fContent);  // multiplication sign
  expectRange(0x00D8, 0x00F6, base);
  EXPECT_EQ(cls(0x00F7), C::fChar | C::fContent);  // division sign
  EXPECT_EQ(cls(0x0386), base);
  EXPECT_EQ(cls(0x0387), kName | C::fExtender);
  expectRange(0x0E40, 0x0E45, base);
  expectRange(0x1FF6, 0x1FFC, base);
  EXPECT_EQ(cls(0x2126), base);
  expectRange(0x3041, 0x3094, base);
  expectRange(0xAC00, 0xD7A3, base);
  EXPECT_EQ(cls(0xD7A4), C::fChar | C::fContent);
}

TEST(CharClass, IdeographsAreLetters) {
  const std::uint16_t ideo = kLetter | C::fIdeographic;
  expectRange(0x4E00, 0x7833, ideo);
  expectRange(0x796D, 0x9FA5, ideo);
  EXPECT_EQ(cls(0x4DFF), C::fChar | C::fContent);
  EXPECT_EQ(cls(0x9FA6), C::fChar | C::fContent);
}

TEST(CharClass, IdeographicZeroIsCharButNotNameStart) {
  EXPECT_TRUE(has(0x3007, C::fChar));
  EXPECT_FALSE(cls(0x3007) & C::fNameStart);
  EXPECT_FALSE(cls(0x3007) & C::fNameChar);
  EXPECT_FALSE(cls(0x3007) & C::fIdeographic);
  EXPECT_EQ(cls(0x3007), 0x1080);
}

TEST(CharClass, HangzhouNumeralsAreNotNameCharacters) {
  expectRange(0x3021, 0x3029, C::fChar | C::fContent);
}

TEST(CharClass, IdeographBlock7834To796CIsAlsoDigitCombiningAndExtender) {
  EXPECT_TRUE(has(0x7834, C::fNameStart | C::fIdeographic));
  EXPECT_TRUE(has(0x7834, C::fDigit));
  expectRange(0x7834, 0x796C,
              kLetter | C::fIdeographic | C::fCombining | C::fDigit | C::fExtender);
  EXPECT_EQ(cls(0x7833), kLetter | C::fIdeographic);
  EXPECT_EQ(cls(0x796D), kLetter | C::fIdeographic);
}

TEST(CharClass, CombiningCharsContinueButDoNotStartNames) {
  const std::uint16_t comb = kName | C::fCombining;
  expectRange(0x0300, 0x0345, comb);
  expectRange(0x0591, 0x05A1, comb);
  EXPECT_EQ(cls(0x05A2), C::fChar | C::fContent);
  expectRange(0x093E, 0x094D, comb);
  expectRange(0x0BCA, 0x0BCD, comb);
  expectRange(0x0F71, 0x0F84, comb);
  expectRange(0x20D0, 0x20DC, comb);
  EXPECT_EQ(cls(0x20E1), comb);
  expectRange(0x302A, 0x302F, comb);
  expectRange(0x3099, 0x309A, comb);
}

TEST(CharClass, TamilAuLengthMarkIsNotANameCharacter) {
  EXPECT_EQ(cls(0x0BD7), C::fChar | C::fContent);
}

TEST(CharClass, DigitsContinueButDoNotStartNames) {
  const std::uint16_t digit = kName | C::fDigit;
  expectRange(0x0030, 0x0039, digit);
  expectRange(0x0660, 0x0669, digit);
  expectRange(0x0BE7, 0x0BEF, digit);
  EXPECT_EQ(cls(0x0BE6), C::fChar | C::fContent);
  expectRange(0x0F20, 0x0F29, digit);
}

TEST(CharClass, ExtendersContinueButDoNotStartNames) {
  for (unsigned c : {0x00B7u, 0x02D0u, 0x02D1u, 0x0387u, 0x0640u, 0x0E46u, 0x0EC6u}) {
    EXPECT_EQ(cls(c), kName | C::fExtender) << std::hex << c;
  }
}

TEST(CharClass, IterationMarksAndKanaExtendersAreAlsoDigits) {
  EXPECT_EQ(cls(0x3005), kName | C::fExtender | C::fDigit);
  expectRange(0x3031, 0x3035, kName | C::fExtender | C::fDigit);
}

TEST(CharClass, KanaIterationMarksAndProlongedSoundAreAlsoDigitsAndCombining) {
  const std::uint16_t value = kName | C::fExtender | C::fDigit | C::fCombining;
  expectRange(0x309D, 0x309E, value);
  expectRange(0x30FC, 0x30FE, value);
  EXPECT_EQ(cls(0x30FB), C::fChar | C::fContent);
  EXPECT_EQ(cls(0x30FA), kLetter | C::fBaseChar);
}

TEST(CharClass, PrivateUseAndSymbolsArePlainCharacters) {
  expectRange(0xE000, 0xF8FF, C::fChar | C::fContent);
  EXPECT_EQ(cls(0xFFFD), C::fChar | C::fContent);
  EXPECT_EQ(cls(0x20AC), C::fChar | C::fContent);
}

}  // namespace
