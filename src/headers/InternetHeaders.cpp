#include "headers/InternetHeaders.h"

#include <limits>

#include "base/Clock.h"

namespace velmaris {

namespace {

constexpr char kCRLF[] = "\r\n";

// The key of a further occurrence: name:n.
String OrdinalKey(const String& name, int64_t n) { return name + ":" + Str(n); }

// The key of the occurrence at that index: the bare name for 0.
String OccurrenceKey(const String& name, int64_t index) { return index == 0 ? name : OrdinalKey(name, index); }

// The key is the only record of an entry's name.
String NameOfKey(const String& key) { return NthField(key, ":", 1); }

}  // namespace

InternetHeaders::InternetHeaders() : _Headers(New<Dictionary>()) {}

void InternetHeaders::AppendHeader(const String& name, const String& value) {
  // Probes name, name:1, name:2...; like every key's, the name of a probe is
  // what stands before its first colon.
  String key = name;
  if (_Headers->HasKey(key)) {
    const String base = NameOfKey(key);
    int64_t& n = _freeOrdinal.try_emplace(Lowercase(base), 1).first->second;
    for (key = OrdinalKey(base, n); _Headers->HasKey(key); key = OrdinalKey(base, n)) {
      ++n;
      RuntimeBackgroundTask();
    }
    ++n;
  }
  _Headers->SetValue(key, value);
}

String InternetHeaders::CommaSeparatedValues(const String& name) const {
  String text;
  for (int64_t i = 0; i < NameCount(name); ++i) {
    text += ", " + Value(name, i);
    RuntimeBackgroundTask();
  }
  return Mid(text, 3);  // without the leading ", "
}

int64_t InternetHeaders::Count() const { return _Headers->Count(); }

void InternetHeaders::Delete(const String& name) {
  const int64_t n = NameCount(name);
  if (n == 0) return;
  _ForgetOrdinals(name);
  _Headers->Remove(name);
  for (int64_t i = 1; i <= n - 1; ++i) {
    _Headers->Remove(OrdinalKey(name, i));
    RuntimeBackgroundTask();
  }
}

void InternetHeaders::Delete(const String& name, int64_t index) {
  const String key = OccurrenceKey(name, index);
  if (!_Headers->HasKey(key)) return;
  _ForgetOrdinals(name);
  _Headers->Remove(key);
  // The later occurrences move down one ordinal each, so that NameCount
  // still reaches them all.
  for (int64_t i = index; i < std::numeric_limits<int64_t>::max(); ++i) {
    const String next = OrdinalKey(name, i + 1);
    if (!_Headers->HasKey(next)) return;
    _Headers->SetValue(OccurrenceKey(name, i), _Headers->Value(next));
    _Headers->Remove(next);
    RuntimeBackgroundTask();
  }
}

void InternetHeaders::DeleteAllHeaders() {
  _Headers->Clear();
  _freeOrdinal.clear();
}

String InternetHeaders::Name(int64_t index) const { return NameOfKey(_Headers->Key(index).StringValue()); }

int64_t InternetHeaders::NameCount(const String& name) const {
  if (!_Headers->HasKey(name)) return 0;
  int64_t n = 1;
  while (_Headers->HasKey(OrdinalKey(name, n))) {
    ++n;
    RuntimeBackgroundTask();
  }
  return n;
}

void InternetHeaders::SetHeader(const String& name, const String& value) {
  if (NameCount(name) > 1) Delete(name);
  _Headers->SetValue(name, value);
}

void InternetHeaders::SetHeader(const String& name, const String& value, int64_t index) {
  const String key = OccurrenceKey(name, index);
  if (_Headers->HasKey(key)) {
    _Headers->SetValue(key, value);
  } else {
    // Appended under the composed key itself: the lower ordinals are not filled first.
    AppendHeader(key, value);
  }
}

String InternetHeaders::Source() const {
  // Changes to the entries after a parse do not show in it.
  if (_rawHeaders != "") return _rawHeaders;
  return _FormatHTTPHeaders();
}

String InternetHeaders::Value(int64_t index) const {
  if (index > Count() - 1) return "";
  return _Headers->Value(_Headers->Key(index)).StringValue();
}

String InternetHeaders::Value(const String& name) const { return Value(name, 0); }

String InternetHeaders::Value(const String& name, int64_t index) const {
  return _Headers->Lookup(OccurrenceKey(name, index < 1 ? 0 : index), "").StringValue();
}

String InternetHeaders::_DetermineEOLCharacter(const String& text) const {
  // One CR LF anywhere settles it for the whole text, single LFs beside it notwithstanding.
  if (InStrB(text, kCRLF) > 0) return kCRLF;
  if (InStrB(text, "\n") > 0) return "\n";
  if (InStrB(text, "\r") > 0) return "\r";
  return kCRLF;
}

String InternetHeaders::_FormatEmailHeaders() const {
  String text;
  const auto addLine = [&text](const String& name, const String& value) { text += kCRLF + name + ": " + value; };
  if (_HasHeader("Return-Path")) addLine("Return-Path", Value("Return-Path"));
  for (int64_t i = 0; i < NameCount("Received"); ++i) {
    addLine("Received", Value("Received", i));
    RuntimeBackgroundTask();
  }
  if (_HasHeader("Date")) addLine("Date", Value("Date"));
  if (_HasHeader("Subject")) addLine("Subject", Value("Subject"));
  if (_HasHeader("From")) addLine("From", Value("From"));
  if (NameCount("To") > 0) addLine("To", CommaSeparatedValues("To"));
  if (NameCount("CC") > 0) addLine("CC", CommaSeparatedValues("CC"));

  // The names placed above, further occurrences included, and BCC are left
  // out. The colons on both sides match whole names only.
  const String placed = ":Date:Subject:From:To:CC:BCC:Received:Return-Path:";
  const int64_t count = Count();
  for (int64_t i = 0; i < count; ++i) {
    const String key = _Headers->Key(i).StringValue();
    if (InStr(placed, ":" + NameOfKey(key) + ":") == 0) addLine(NameOfKey(key), _Headers->Value(key).StringValue());
    RuntimeBackgroundTask();
  }
  return Mid(text, Len(kCRLF) + 1);  // without the line end before the first line
}

String InternetHeaders::_FormatHTTPHeaders() const {
  String text;
  const int64_t count = Count();
  for (int64_t i = 0; i < count; ++i) {
    const String key = _Headers->Key(i).StringValue();
    text += kCRLF + NameOfKey(key) + ": " + _Headers->Value(key).StringValue();
    RuntimeBackgroundTask();
  }
  return Mid(text, Len(kCRLF) + 1);  // without the line end before the first line
}

bool InternetHeaders::_HasHeader(const String& name) const { return _Headers->HasKey(name); }

void InternetHeaders::_ParseHeaders(const String& source) {
  _rawHeaders = source;
  const String eol = _DetermineEOLCharacter(source);
  _Headers = New<Dictionary>();
  _freeOrdinal.clear();
  // Unfolding (RFC 822 §3.1.1): a line end with a blank or a tab behind it
  // continues the line, and the pair becomes one space.
  const String unfolded = ReplaceAll(ReplaceAll(source, eol + " ", " "), eol + "\t", " ");
  for (const String& line : Split(unfolded, eol)) {
    // Byte offsets: the colon is ASCII, and a value may hold any bytes.
    const size_t colon = line.find(':');
    if (colon != String::npos) AppendHeader(line.substr(0, colon), LTrim(line.substr(colon + 1)));
    RuntimeBackgroundTask();
  }
}

void InternetHeaders::_ForgetOrdinals(const String& name) { _freeOrdinal.erase(Lowercase(NameOfKey(name))); }

}  // namespace velmaris
