#include <gtest/gtest.h>

#include "base/Exceptions.h"
#include "headers/InternetHeaders.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

using Texts = std::vector<String>;

// Occurrences count within a name from 0 (the bare key), entries over the whole list.
TEST(InternetHeaders, OccurrenceIndexAndEntryIndexAreApart) {
  InternetHeaders headers;
  headers.Delete("X", 0);
  EXPECT_EQ(headers.Count() + headers.NameCount("X"), 0);
  EXPECT_EQ(headers.Value("X") + headers.Value(0) + headers.CommaSeparatedValues("X") + headers.Source(), "");
  headers._ParseHeaders("X: a\nOther: o\nx: b\nX: c");
  EXPECT_EQ(headers.NameCount("x"), 3);
  EXPECT_EQ((Texts{headers.Name(2), headers.Value(2), headers.Value("X", 2), headers.Value("X:1"), headers.Value(4)}),
            (Texts{"x", "b", "c", "b", ""}));
  EXPECT_EQ(headers.Value("X", 0) + headers.Value("X", -1) + headers.Value("X"), "aaa");
  EXPECT_EQ(headers.CommaSeparatedValues("x"), "a, b, c");
  EXPECT_THROW(headers.Value(-1), OutOfBoundsException);
  // A name with a colon is a key, whose append takes the next free ordinal;
  // a text argument is always a name, an integer always an index.
  headers.AppendHeader("X:1", "d");
  headers.SetHeader("0", "zero");
  EXPECT_EQ(headers.Value("X", 3) + "|" + headers.Value("0") + "|" + headers.Value(0), "d|zero|a");
}

// Every operation on a name already there, in another letter case: a set
// leaves one value under the stored spelling, an index beyond a gap is stored
// but not reached, a deletion moves the later occurrences down, and what an
// append learnt of the taken ordinals does not outlive a removal.
TEST(InternetHeaders, OperationsOnAnExistingName) {
  InternetHeaders headers;
  headers._ParseHeaders("Content-Type: a\nX: 1\nX: 2\nx: 3");
  headers.SetHeader("content-type", "b");
  headers.SetHeader("x", "new");
  EXPECT_EQ(headers._FormatHTTPHeaders(), "Content-Type: b\r\nx: new");
  headers.SetHeader("X", "five", 5);
  EXPECT_EQ(headers.NameCount("X"), 1);
  headers.SetHeader("X", "first", 0);
  headers.SetHeader("x", "five again", 5);
  headers.SetHeader("X", "minus one", -1);
  headers.AppendHeader("X", "b");
  EXPECT_EQ(headers._FormatHTTPHeaders(), "Content-Type: b\r\nx: first\r\nX: five again\r\nX: minus one\r\nX: b");
  EXPECT_EQ(headers.Value("X", -1) + "|" + headers.Value("X:-1"), "first|minus one");
  // Deleting the name removes what NameCount reaches; the bare key alone makes _HasHeader.
  headers.Delete("x");
  EXPECT_EQ(headers._FormatHTTPHeaders(), "Content-Type: b\r\nX: five again\r\nX: minus one");
  EXPECT_FALSE(headers._HasHeader("X"));

  // Deletions at 7 (nothing there), 1, 0, 3 (nothing left there) and -1 (the
  // key X:-1), each followed by the values left.
  for (const char* value : {"a", "b", "c", "d"}) headers.AppendHeader("x", value);
  String trail;
  for (const int64_t index : {7, 1, 0, 3, -1}) {
    headers.Delete("X", index);
    trail += headers.CommaSeparatedValues("x") + "|";
  }
  EXPECT_EQ(trail, "a, b, c, d|a, c, d|c, d|c, d|c, d|");
  headers.AppendHeader("X", "e");
  EXPECT_EQ(headers.CommaSeparatedValues("X") + "|" + headers.Value("X", 5), "c, d, e|five again");
  headers.Delete("X");
  headers.AppendHeader("x", "a");
  headers.SetHeader("X", "c", 2);
  headers.AppendHeader("X", "b");
  EXPECT_EQ(headers.CommaSeparatedValues("X"), "a, b, c");
  headers.SetHeader("X", "only");
  headers.AppendHeader("X", "d");
  EXPECT_EQ(headers.CommaSeparatedValues("X") + "|" + headers.Value("Content-Type"), "only, d|b");
}

// Every line with a colon is a header, whatever the line end; folds become one
// space. Each parse replaces the entries, and Source is then the text parsed.
TEST(InternetHeaders, ParsingTakesEveryLineWithAColon) {
  InternetHeaders headers;
  const auto parsed = [&headers](const String& source) {
    headers._ParseHeaders(source);
    EXPECT_EQ(headers.Source(), source);
    return headers._FormatHTTPHeaders();
  };
  EXPECT_EQ(parsed("A: 1\r\n\tmore\r\n  two\r\nB: 2\r\n\r\n"), "A: 1 more  two\r\nB: 2");
  EXPECT_EQ(parsed("A: 1\n\tmore\nB: 2\n\n"), "A: 1 more\r\nB: 2");
  EXPECT_EQ(parsed("A: 1\r more\rB: 2\r\r"), "A: 1 more\r\nB: 2");
  EXPECT_EQ(parsed("A: 1\nx\r\nB: 2"), "A: 1\nx\r\nB: 2") << "one CR LF makes the line end";
  EXPECT_EQ(parsed("A: 1\r\n\r\n\tB: 2"), "A: 1\r\n B: 2");
  EXPECT_EQ(parsed("HTTP/1.0 500 No: disk\r\nTime: 12:30:00"), "HTTP/1.0 500 No: disk\r\nTime: 12:30:00");
  EXPECT_EQ(parsed(": x\r\n:\r\nA:\t 1 \t"), ": x\r\n: \r\nA: 1 \t");
  EXPECT_EQ(parsed("Set-Cookie: a\r\nset-COOKIE: b\r\nA : 1\r\nA: 2"),
            "Set-Cookie: a\r\nset-COOKIE: b\r\nA : 1\r\nA: 2");
  EXPECT_EQ(parsed(""), "");
}

// The mail form puts the fixed headers first, joins To and CC, and never
// writes BCC; Source stays the parsed text whatever changes later.
TEST(InternetHeaders, MailFormAndSource) {
  const String text =
      "X-Mailer: m\r\nbcc: hidden\r\nto: t1\r\nSubject: s\r\nReceived: r1\r\nCc: c\r\nReturn-Path: p1\r\n"
      "Dated: d\r\nreceived: r2\r\nDate: d\r\nFrom: f\r\nTo: t2\r\nReturn-Path: p2\r\nBCC: hidden\r\nEmpty:";
  InternetHeaders headers;
  headers._ParseHeaders(text);
  EXPECT_EQ(headers._FormatEmailHeaders(),
            "Return-Path: p1\r\nReceived: r1\r\nReceived: r2\r\nDate: d\r\nSubject: s\r\nFrom: f\r\nTo: t1, t2\r\n"
            "CC: c\r\nX-Mailer: m\r\nDated: d\r\nEmpty: ");
  headers.DeleteAllHeaders();
  headers.SetHeader("BCC", "b");
  headers.SetHeader("To", "no bare key", 1);
  EXPECT_EQ(headers._FormatEmailHeaders(), "");
  EXPECT_EQ(headers._FormatHTTPHeaders(), "BCC: b\r\nTo: no bare key");
  EXPECT_EQ(headers.Source(), text);
}

// Each yield is a step of work: parsing stays linear in the lines even for
// one name repeated, which a hostile server may send.
TEST(InternetHeaders, ParsingYieldsOnceALine) {
  String block = "HTTP/1.0 200 OK\r\n";
  for (int i = 0; i < 1000; ++i) block += "Name: v\r\n";
  testing::VirtualTime time;
  InternetHeaders headers;
  headers._ParseHeaders(block);
  // The status line, the headers and the empty field behind the last line end.
  EXPECT_EQ(time.Yields(), 1002);
  EXPECT_EQ(headers.NameCount("name"), 1000);
}

}  // namespace
}  // namespace velmaris
