// Parses arbitrary bytes as a header block, writes the list out in its three
// forms and checks what holds for every input.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include "FuzzCheck.h"
#include "base/StringFunctions.h"
#include "headers/InternetHeaders.h"

namespace velmaris {
namespace {

String Line(const String& name, const String& value) { return name + ": " + value; }

String Joined(const std::vector<String>& lines) {
  String text;
  for (size_t i = 0; i < lines.size(); ++i) text += (i == 0 ? "" : "\r\n") + lines[i];
  return text;
}

// The names that the mail form places itself, in its order; BCC it never writes.
constexpr const char* kPlaced[] = {"Return-Path", "Received", "Date", "Subject", "From", "To", "CC", "BCC"};
constexpr int kReceived = 1;
constexpr int kBCC = 7;

// The rank of a placed name in kPlaced; -1 for the others.
int MailRank(const String& name) {
  for (int rank = 0; rank <= kBCC; ++rank) {
    if (TextEquals(name, kPlaced[rank])) return rank;
  }
  return -1;
}

void CheckEntries(const InternetHeaders& headers, const String& eol) {
  // The occurrences of every name are dense and follow the order of the
  // lines, so the k-th entry of a name is its occurrence k.
  std::map<String, int64_t> seen;
  for (int64_t i = 0; i < headers.Count(); ++i) {
    const String name = headers.Name(i);
    const String value = headers.Value(i);
    Check(InStrB(name, ":") == 0, "a name holds no colon");
    Check(InStrB(name, eol) == 0 && InStrB(value, eol) == 0, "no entry holds the line end");
    Check(LTrim(value) == value, "a value starts with no white space");
    const int64_t occurrence = seen[Lowercase(name)]++;
    Check(headers.Value(name, occurrence) == value, "the k-th entry of a name is its occurrence k");
  }
  int64_t reached = 0;
  for (const auto& [name, count] : seen) {
    Check(headers.NameCount(name) == count, "NameCount reaches every occurrence");
    reached += count;
  }
  Check(reached == headers.Count(), "every entry belongs to a name");
}

void CheckForms(const InternetHeaders& headers) {
  std::vector<String> lines;
  std::vector<String> others;
  InternetHeaders rebuilt;
  for (int64_t i = 0; i < headers.Count(); ++i) {
    lines.push_back(Line(headers.Name(i), headers.Value(i)));
    if (MailRank(headers.Name(i)) < 0) others.push_back(lines.back());
    rebuilt.AppendHeader(headers.Name(i), headers.Value(i));
  }
  const String http = headers._FormatHTTPHeaders();
  Check(http == Joined(lines), "the HTTP form is one line per entry");
  Check(rebuilt._FormatHTTPHeaders() == http && rebuilt.Source() == http, "appending the entries rebuilds the list");

  // The placed names come first, in their order, Received alone repeated and
  // BCC never; then the others as in the HTTP form.
  const std::vector<String> mail = Split(headers._FormatEmailHeaders(), "\r\n");
  size_t first = 0;
  int previous = -1;
  int64_t received = 0;
  for (; first < mail.size(); ++first) {
    const String name = NthField(mail[first], ":", 1);
    const int rank = MailRank(name);
    if (rank < 0) break;
    Check(rank != kBCC && (rank > previous || (rank == kReceived && previous == kReceived)),
          "placed names in their order");
    Check(name == kPlaced[rank], "placed names in their own spelling");
    received += rank == kReceived ? 1 : 0;
    previous = rank;
  }
  Check(received == headers.NameCount("Received"), "one Received line for each occurrence");
  Check(std::vector<String>(mail.begin() + static_cast<std::ptrdiff_t>(first), mail.end()) == others,
        "the mail form ends with the other entries");
}

void CheckDeleteOne(InternetHeaders& headers, size_t seed) {
  const String name = headers.Name(0);
  const int64_t count = headers.NameCount(name);
  const auto index = static_cast<int64_t>(seed % static_cast<size_t>(count));
  std::vector<String> values;
  for (int64_t k = 0; k < count; ++k) {
    if (k != index) values.push_back(headers.Value(name, k));
  }
  const int64_t total = headers.Count();
  headers.Delete(name, index);
  Check(headers.Count() == total - 1 && headers.NameCount(name) == count - 1, "deleting takes one occurrence");
  for (int64_t k = 0; k < count - 1; ++k) {
    Check(headers.Value(name, k) == values[static_cast<size_t>(k)], "the later occurrences move down");
  }
}

}  // namespace
}  // namespace velmaris

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace velmaris;
  const String text(reinterpret_cast<const char*>(data), size);
  InternetHeaders headers;
  headers._ParseHeaders(text);
  Check(headers.Source() == text, "Source is the parsed text");
  CheckEntries(headers, headers._DetermineEOLCharacter(text));
  CheckForms(headers);
  if (headers.Count() > 0) CheckDeleteOne(headers, size);
  headers.DeleteAllHeaders();
  Check(headers.Count() == 0 && headers._FormatHTTPHeaders() == "", "DeleteAllHeaders empties the list");
  Check(headers.Source() == text, "Source outlives DeleteAllHeaders");
  return 0;
}
