#include <gtest/gtest.h>

#include "base/Exceptions.h"
#include "headers/InternetHeaders.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

// The entries in the map's order as name=value, joined by "|".
String Dump(const InternetHeaders& headers) {
  String text;
  for (int64_t i = 0; i < headers.Count(); ++i) text += (i > 0 ? "|" : "") + headers.Name(i) + "=" + headers.Value(i);
  return text;
}

TEST(InternetHeaders, EmptyListReadsAsNothing) {
  InternetHeaders headers;
  headers.Delete("X");
  headers.Delete("X", 0);
  EXPECT_EQ(headers.Count(), 0);
  EXPECT_EQ(headers.NameCount("X"), 0);
  EXPECT_EQ(headers.Value("X") + headers.Value(0) + headers.CommaSeparatedValues("X"), "");
  EXPECT_FALSE(headers._HasHeader("X"));
  EXPECT_EQ(headers._FormatHTTPHeaders() + headers._FormatEmailHeaders() + headers.Source(), "");
}

TEST(InternetHeaders, OccurrenceIndexAndEntryIndexAreApart) {
  InternetHeaders headers;
  headers.AppendHeader("X", "a");
  headers.AppendHeader("Other", "o");
  headers.AppendHeader("x", "b");
  headers.AppendHeader("X", "c");
  EXPECT_EQ(Dump(headers), "X=a|Other=o|x=b|X=c");
  EXPECT_EQ(headers.NameCount("x"), 3);
  EXPECT_EQ(headers.Value(2), "b");
  EXPECT_EQ(headers.Value("X", 2), "c");
  EXPECT_EQ(headers.Value("X", 0) + headers.Value("X", -1) + headers.Value("X"), "aaa");
  EXPECT_EQ(headers.Value("X:1"), "b");
  EXPECT_EQ(headers.CommaSeparatedValues("x"), "a, b, c");
  EXPECT_EQ(headers.Value(4), "");
  EXPECT_THROW(headers.Value(-1), OutOfBoundsException);
  EXPECT_THROW(headers.Name(4), OutOfBoundsException);
  // A name with a colon is a key; an append to it takes the next free ordinal.
  headers.AppendHeader("X:1", "d");
  EXPECT_EQ(headers.Value("X", 3), "d");
  // A text argument is always a name, an integer always an index, 0 included.
  headers.SetHeader("0", "zero");
  EXPECT_EQ(headers.Value("0") + headers.Value(0), "zeroa");
}

TEST(InternetHeaders, SetHeaderOnAnExistingNameInAnotherCase) {
  InternetHeaders headers;
  headers.SetHeader("Content-Type", "a");
  headers.SetHeader("content-type", "b");
  EXPECT_EQ(headers._FormatHTTPHeaders(), "Content-Type: b");
  // Two or more occurrences: all go, and one value stands under the bare key.
  for (const char* value : {"1", "2", "3"}) headers.AppendHeader("X", value);
  headers.SetHeader("x", "new");
  EXPECT_EQ(Dump(headers), "Content-Type=b|x=new");
}

TEST(InternetHeaders, AKeyBeyondAGapIsStoredButNotReached) {
  InternetHeaders headers;
  headers.AppendHeader("X", "a");
  headers.SetHeader("x", "five", 5);
  EXPECT_EQ(headers.NameCount("X"), 1);  // X:5 lies beyond a gap
  EXPECT_EQ(headers.Value("X", 5), "five");
  headers.SetHeader("x", "first", 0);
  headers.SetHeader("X", "five again", 5);
  headers.SetHeader("X", "minus one", -1);
  EXPECT_EQ(headers.Value("X", -1), "first");
  EXPECT_EQ(headers.Value("X:-1"), "minus one");
  headers.AppendHeader("X", "b");
  EXPECT_EQ(Dump(headers), "X=first|x=five again|X=minus one|X=b");
  // Deleting the name removes what NameCount reaches; the bare key alone makes _HasHeader.
  headers.Delete("x");
  EXPECT_EQ(Dump(headers), "x=five again|X=minus one");
  EXPECT_FALSE(headers._HasHeader("X"));
}

TEST(InternetHeaders, DeletingOneOccurrenceKeepsTheOthersDense) {
  struct Row {
    int64_t index;
    const char* expected;
    int64_t count;
  } rows[] = {{0, "b, c", 4}, {1, "a, c", 4}, {2, "a, b", 4}, {7, "a, b, c", 5}, {-1, "a, b, c", 4}};
  for (const Row& row : rows) {
    InternetHeaders headers;
    headers.AppendHeader("X", "a");
    headers.AppendHeader("Other", "o");
    headers.AppendHeader("x", "b");
    headers.AppendHeader("X", "c");
    headers.SetHeader("X", "minus one", -1);
    headers.Delete("x", row.index);
    EXPECT_EQ(headers.CommaSeparatedValues("X"), row.expected) << row.index;
    EXPECT_EQ(headers.Count(), row.count) << row.index;
    EXPECT_EQ(headers.Value("Other"), "o") << row.index;
  }
}

TEST(InternetHeaders, ParsingTakesEveryLineWithAColon) {
  struct Row {
    const char* name;
    String source;
    String expected;
  } rows[] = {
      {.name = "CR LF", .source = "A: 1\r\nB: 2\r\n\r\n", .expected = "A=1|B=2"},
      {.name = "LF", .source = "A: 1\nB: 2\n\n", .expected = "A=1|B=2"},
      {.name = "CR", .source = "A: 1\rB: 2\r\r", .expected = "A=1|B=2"},
      {.name = "one CR LF settles it", .source = "A: 1\nx\r\nB: 2", .expected = "A=1\nx|B=2"},
      {.name = "fold by a tab", .source = "A: 1\r\n\tmore", .expected = "A=1 more"},
      {.name = "fold by a blank", .source = "A: 1\r\n  more", .expected = "A=1  more"},
      {.name = "fold under LF", .source = "A: 1\n\tmore\nB: 2", .expected = "A=1 more|B=2"},
      {.name = "empty line, then tab", .source = "A: 1\r\n\r\n\tB: 2", .expected = "A=1| B=2"},
      {.name = "status line with colon", .source = "HTTP/1.0 500 No: disk", .expected = "HTTP/1.0 500 No=disk"},
      {.name = "further colons", .source = "Time: 12:30:00", .expected = "Time=12:30:00"},
      {.name = "empty name and value", .source = ": x\r\n:\r\nA:", .expected = "=x|=|A="},
      {.name = "two spellings", .source = "Set-Cookie: a\r\nset-COOKIE: b", .expected = "Set-Cookie=a|set-COOKIE=b"},
      {.name = "blank before colon", .source = "A : 1\r\nA: 2", .expected = "A =1|A=2"},
      {.name = "white space", .source = "A:\t 1 \t", .expected = "A=1 \t"},
      {.name = "stray bytes", .source = "X-\xFF\xC3: \xE9t\xC3", .expected = "X-\xFF\xC3=\xE9t\xC3"},
      {.name = "empty", .source = "", .expected = ""},
  };
  InternetHeaders headers;
  for (const Row& row : rows) {
    headers.SetHeader("Stale", "x");
    headers._ParseHeaders(row.source);
    EXPECT_EQ(Dump(headers), row.expected) << row.name;
    EXPECT_EQ(headers.Source(), row.source) << row.name;
  }
}

TEST(InternetHeaders, MailFormPutsTheFixedHeadersFirstAndNeverBcc) {
  InternetHeaders headers;
  headers._ParseHeaders(
      "X-Mailer: m\r\nbcc: hidden\r\nto: t1\r\nSubject: s\r\nReceived: r1\r\nCc: c\r\nReturn-Path: p1\r\n"
      "Dated: d\r\nreceived: r2\r\nDate: d\r\nFrom: f\r\nTo: t2\r\nReturn-Path: p2\r\nBCC: hidden\r\nEmpty:");
  EXPECT_EQ(headers._FormatEmailHeaders(),
            "Return-Path: p1\r\nReceived: r1\r\nReceived: r2\r\nDate: d\r\nSubject: s\r\nFrom: f\r\nTo: t1, t2\r\n"
            "CC: c\r\nX-Mailer: m\r\nDated: d\r\nEmpty: ");
  InternetHeaders hidden;
  hidden.SetHeader("BCC", "b");
  hidden.SetHeader("To", "no bare key", 1);
  EXPECT_EQ(hidden._FormatEmailHeaders(), "");
  EXPECT_FALSE(hidden._HasHeader("To"));
}

TEST(InternetHeaders, SourceIsTheParsedTextDespiteLaterChanges) {
  const String text = "HTTP/1.0 200 OK\nA: 1\n\tfolded\nA: 2\n\n";
  InternetHeaders headers;
  headers._ParseHeaders(text);
  headers.SetHeader("B", "3");
  EXPECT_EQ(headers.Source(), text);
  EXPECT_EQ(headers._FormatHTTPHeaders(), "A: 1 folded\r\nA: 2\r\nB: 3");
  headers.DeleteAllHeaders();
  EXPECT_EQ(headers.Source(), text);
  EXPECT_EQ(headers._FormatHTTPHeaders(), "");
}

// Each yield is a step of work: parsing stays linear in the lines, for
// distinct names and for one name repeated (which a hostile server may send).
TEST(InternetHeaders, ParsingYieldsOnceALine) {
  for (const bool repeated : {false, true}) {
    String block = "HTTP/1.0 200 OK\r\n";
    for (int i = 0; i < 1000; ++i) block += (repeated ? "Name" : "Name-" + std::to_string(i)) + ": v\r\n";
    testing::VirtualTime time;
    const int64_t start = time.Now();
    InternetHeaders headers;
    headers._ParseHeaders(block);
    // The status line, the headers and the empty field behind the last line end.
    EXPECT_EQ(time.Now() - start, 1002) << repeated;
    EXPECT_EQ(headers.Count(), 1000) << repeated;
    EXPECT_EQ(headers.NameCount("name"), repeated ? 1000 : 0) << repeated;
  }
}

// What an append learnt of the taken ordinals must not outlive a removal.
TEST(InternetHeaders, AppendsAfterRemovalsFillTheFirstFreeKey) {
  InternetHeaders headers;
  for (int i = 0; i < 4; ++i) headers.AppendHeader("X", std::to_string(i));
  headers.Delete("x", 1);
  headers.AppendHeader("X", "4");
  EXPECT_EQ(headers.CommaSeparatedValues("X"), "0, 2, 3, 4");
  headers.Delete("X");
  headers.AppendHeader("x", "a");
  headers.AppendHeader("X", "b");
  EXPECT_EQ(headers._FormatHTTPHeaders(), "x: a\r\nX: b");
  headers.SetHeader("X", "c", 5);
  headers.AppendHeader("X", "d");
  EXPECT_EQ(headers.Value("X", 2), "d");
  headers.SetHeader("X", "only");
  headers.AppendHeader("X", "e");
  EXPECT_EQ(headers.CommaSeparatedValues("X"), "only, e");
}

}  // namespace
}  // namespace velmaris
