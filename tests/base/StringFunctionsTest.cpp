#include <gtest/gtest.h>

#include "base/StringFunctions.h"

namespace velmaris {
namespace {

// "é" is two bytes and "…" three: every position below counts characters.
const String kAccented = "caf\xC3\xA9 na\xC3\xAFve\xE2\x80\xA6";

TEST(StringFunctions, PositionsCountCharactersNotBytes) {
  EXPECT_EQ(Len(kAccented), 11);
  EXPECT_EQ(LenB(kAccented), 15);
  EXPECT_EQ(Mid(kAccented, 4, 1), "\xC3\xA9");
  EXPECT_EQ(Mid(kAccented, 6), "na\xC3\xAFve\xE2\x80\xA6");
  EXPECT_EQ(Left(kAccented, 4), "caf\xC3\xA9");
  EXPECT_EQ(Right(kAccented, 2), "e\xE2\x80\xA6");
  EXPECT_EQ(InStr(kAccented, "na"), 6);
  // A stray byte counts as one character and is kept as it is.
  const String stray = "a\xFF\xC3z";
  EXPECT_EQ(Len(stray), 4);
  EXPECT_EQ(Mid(stray, 2, 2), "\xFF\xC3");
  EXPECT_EQ(Asc(Mid(stray, 2, 1)), 0xFF);
}

TEST(StringFunctions, OutOfRangeGivesEmptyOrNearestPart) {
  struct Row {
    const char* name;
    String result;
    String expected;
  } rows[] = {
      {.name = "Mid from the last", .result = Mid("abc", 3), .expected = "c"},
      {.name = "Mid past the end", .result = Mid("abc", 4), .expected = ""},
      {.name = "Mid from 0", .result = Mid("abc", 0), .expected = "abc"},
      {.name = "Mid length past the end", .result = Mid("abc", 2, 10), .expected = "bc"},
      {.name = "Mid negative length", .result = Mid("abc", 1, -1), .expected = ""},
      {.name = "Left larger", .result = Left("abc", 10), .expected = "abc"},
      {.name = "Left negative", .result = Left("abc", -1), .expected = ""},
      {.name = "Right larger", .result = Right("abc", 10), .expected = "abc"},
      {.name = "Right zero", .result = Right("abc", 0), .expected = ""},
  };
  for (const Row& row : rows) EXPECT_EQ(row.result, row.expected) << row.name;
}

TEST(StringFunctions, SearchAndReplaceAreBlindToAsciiCase) {
  EXPECT_EQ(InStr("abc", "x"), 0);
  EXPECT_EQ(InStr("abc", "B"), 2);
  EXPECT_EQ(InStr(3, "abcabc", "A"), 4);
  EXPECT_EQ(InStr(7, "abcabc", "a"), 0);
  EXPECT_EQ(InStrB("a\xC3\xA9\r\n\r\n", "\r\n\r\n"), 4);
  EXPECT_TRUE(TextEquals("get", "GET"));
  EXPECT_FALSE(TextEquals("get", "GETS"));
  EXPECT_EQ(Replace("aXbX", "x", "-"), "a-bX");
  EXPECT_EQ(ReplaceAll("aXbX", "x", "-"), "a-b-");
  // What was inserted is not scanned again.
  EXPECT_EQ(ReplaceAll("aa", "a", "aa"), "aaaa");
  EXPECT_EQ(Replace("abc", "", "x"), "abc");
}

TEST(StringFunctions, SplitAndNthFieldKeepEmptyFields) {
  EXPECT_EQ(Split("a,,b", ","), (std::vector<String>{"a", "", "b"}));
  EXPECT_EQ(Split("a,", ","), (std::vector<String>{"a", ""}));
  EXPECT_TRUE(Split("", ",").empty());
  EXPECT_EQ(Split("abc", ","), (std::vector<String>{"abc"}));
  EXPECT_EQ(Split("1x2X3", "x"), (std::vector<String>{"1", "2", "3"}));
  EXPECT_EQ(NthField("a:b", ":", 1), "a");
  EXPECT_EQ(NthField("a", ":", 1), "a");
  EXPECT_EQ(NthField("a", ":", 2), "");
  EXPECT_EQ(NthField("a:b:c", ":", 3), "c");
  EXPECT_EQ(NthField("", ":", 1), "");
}

TEST(StringFunctions, TrimRemovesWhiteSpaceAtTheEndsOnly) {
  EXPECT_EQ(Trim(" \t a b \r\n"), "a b");
  EXPECT_EQ(LTrim("  a "), "a ");
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(Lowercase("AbC-\xC3\x89"), "abc-\xC3\x89");
}

TEST(StringFunctions, NumbersFormatAsPatterned) {
  struct Row {
    double value;
    const char* pattern;
    const char* expected;
  } rows[] = {
      {.value = 1234, .pattern = "0", .expected = "1234"},
      {.value = 1234.6, .pattern = "0", .expected = "1235"},
      {.value = 42, .pattern = "00000000", .expected = "00000042"},
      {.value = 0.25, .pattern = "#%", .expected = "25%"},
      {.value = 1.0, .pattern = "#%", .expected = "100%"},
      {.value = 0.0, .pattern = "#%", .expected = "0%"},
      {.value = 0.5749, .pattern = "#%", .expected = "57%"},
      {.value = 1.0, .pattern = "0.0", .expected = "1.0"},
      {.value = -3, .pattern = "0", .expected = "-3"},
  };
  for (const Row& row : rows) EXPECT_EQ(Format(row.value, row.pattern), row.expected) << row.pattern;
  EXPECT_EQ(Str(1.0, "0.0"), "1.0");
  EXPECT_EQ(Str(int64_t{-12}), "-12");
  EXPECT_EQ(Str(2.5, ""), "2.5");
}

TEST(StringFunctions, ValReadsTheLeadingNumberOnly) {
  struct Row {
    const char* text;
    double expected;
  } rows[] = {
      {.text = "12abc", .expected = 12},   {.text = "", .expected = 0},         {.text = "abc", .expected = 0},
      {.text = "  42 ", .expected = 42},   {.text = "-7.5x", .expected = -7.5}, {.text = "1e3", .expected = 1000},
      {.text = "1e", .expected = 1},       {.text = ".5", .expected = 0.5},     {.text = "+3", .expected = 3},
      {.text = "200 OK", .expected = 200},
  };
  for (const Row& row : rows) EXPECT_DOUBLE_EQ(Val(row.text), row.expected) << row.text;
  // Huge or invalid values never overflow on their way to an integer.
  EXPECT_EQ(ToInteger(Val("99999999999999999999999")), INT64_MAX);
  EXPECT_EQ(ToInteger(-Val("99999999999999999999999")), INT64_MIN);
  EXPECT_EQ(ToInteger(2.9), 2);
  EXPECT_EQ(ToInteger(-2.9), -2);
}

TEST(StringFunctions, CodesAndCharacters) {
  EXPECT_EQ(Hex(255), "FF");
  EXPECT_EQ(Hex(0), "0");
  EXPECT_EQ(Chr(10), "\n");
  EXPECT_EQ(Chr(0xE9), "\xC3\xA9");
  EXPECT_EQ(Chr(0x2026), "\xE2\x80\xA6");
  EXPECT_EQ(ChrB(0xE9), "\xE9");
  EXPECT_EQ(Asc("\xE2\x80\xA6"), 0x2026);
  EXPECT_EQ(Asc("A"), 65);
  EXPECT_EQ(Asc(""), 0);
}

}  // namespace
}  // namespace velmaris
