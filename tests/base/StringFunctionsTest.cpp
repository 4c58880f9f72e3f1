#include <gtest/gtest.h>

#include "base/StringFunctions.h"

namespace velmaris {

using Texts = std::vector<String>;
using Integers = std::vector<int64_t>;

// "é" is two bytes and "…" three, and the stray byte \xFF counts as one character.
TEST(StringFunctions, PositionsCountCharactersFromOne) {
  const String text = "caf\xC3\xA9 na\xC3\xAFve\xE2\x80\xA6\xFF";
  EXPECT_EQ((Integers{Len(text), LenB(text), InStr(text, "NA"), Asc(Mid(text, 12))}), (Integers{12, 16, 6, 0xFF}));
  EXPECT_EQ((Texts{Mid(text, 4, 1), Left(text, 4), Right(text, 2)}),
            (Texts{"\xC3\xA9", "caf\xC3\xA9", "\xE2\x80\xA6\xFF"}));
  // Out of range gives "" or the nearest part.
  EXPECT_EQ(
      (Texts{Mid("abc", 3), Mid("abc", 4), Mid("abc", 2, 10), Left("abc", 10), Right("abc", 10), Left("abc", -1)}),
      (Texts{"c", "", "bc", "abc", "abc", ""}));
}

TEST(StringFunctions, SearchReplaceAndEqualityAreBlindToCase) {
  EXPECT_EQ((Integers{InStr("abc", "x"), InStr("abc", "B"), InStr(3, "abcabc", "A")}), (Integers{0, 2, 4}));
  EXPECT_TRUE(TextEquals("get", "GET") && !TextEquals("get", "GETS"));
  EXPECT_EQ(Replace("aXbX", "x", "-"), "a-bX");
  EXPECT_EQ(ReplaceAll("aXbX", "x", "-"), "a-b-");
  EXPECT_EQ(ReplaceAll("aa", "a", "aa"), "aaaa") << "what was inserted is not scanned again";
  EXPECT_EQ((Texts{Trim(" \t a b \r\n"), LTrim("  a "), Lowercase("AbC-\xC3\x89")}),
            (Texts{"a b", "a ", "abc-\xC3\x89"}));
}

TEST(StringFunctions, SplitAndNthFieldKeepEmptyFields) {
  EXPECT_EQ(Split("a,,b", ","), (Texts{"a", "", "b"}));
  EXPECT_EQ(Split("a,", ","), (Texts{"a", ""}));
  EXPECT_EQ(Split("", ","), Texts{});
  EXPECT_EQ((Texts{NthField("a:b", ":", 1), NthField("a", ":", 1), NthField("a", ":", 2), NthField("a::c", ":", 3)}),
            (Texts{"a", "a", "", "c"}));
}

TEST(StringFunctions, NumbersAndCodes) {
  EXPECT_EQ((Texts{Format(1234.6, "0"), Format(42, "00000000"), Format(0.25, "#%"), Format(0.5749, "#%"),
                   Format(0.0, "#%"), Str(1.0, "0.0"), Str(2.5, ""), Str(int64_t{-12})}),
            (Texts{"1235", "00000042", "25%", "57%", "0%", "1.0", "2.5", "-12"}));
  EXPECT_EQ((std::vector<double>{Val("12abc"), Val(""), Val("abc"), Val("  -7.5x"), Val("1e3"), CDbl("200 OK")}),
            (std::vector<double>{12, 0, 0, -7.5, 1000, 200}));
  // Cut toward zero, saturating instead of overflowing.
  EXPECT_EQ((Integers{ToInteger(-2.9), ToInteger(Val("1e30"))}), (Integers{-2, INT64_MAX}));
  EXPECT_EQ((Texts{Hex(255), Hex(0), Chr(10), Chr(0xE9), Chr(0x2026), ChrB(0xE9)}),
            (Texts{"FF", "0", "\n", "\xC3\xA9", "\xE2\x80\xA6", "\xE9"}));
  EXPECT_EQ((Integers{Asc("\xE2\x80\xA6"), Asc("A"), Asc("")}), (Integers{0x2026, 65, 0}));
}

}  // namespace velmaris
