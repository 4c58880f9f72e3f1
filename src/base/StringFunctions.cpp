#include "base/StringFunctions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace velmaris {

namespace {

bool IsContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Bytes taken by the character that starts at offset i. A lead byte without
// its continuation bytes is a stray byte and counts alone.
size_t CharWidth(const String& s, size_t i) {
  const auto lead = static_cast<unsigned char>(s[i]);
  size_t width = 1;
  if ((lead & 0xE0) == 0xC0) {
    width = 2;
  } else if ((lead & 0xF0) == 0xE0) {
    width = 3;
  } else if ((lead & 0xF8) == 0xF0) {
    width = 4;
  }
  if (width == 1 || i + width > s.size()) return 1;
  for (size_t k = 1; k < width; ++k) {
    if (!IsContinuation(static_cast<unsigned char>(s[i + k]))) return 1;
  }
  return width;
}

// Byte offset of the character at position pos (from 1); s.size() past the end.
size_t ByteOffset(const String& s, int64_t pos) {
  size_t offset = 0;
  for (int64_t p = 1; p < pos && offset < s.size(); ++p) offset += CharWidth(s, offset);
  return std::min(offset, s.size());
}

// Character position (from 1) of the byte offset, which starts a character.
int64_t CharPosition(const String& s, size_t offset) {
  int64_t pos = 1;
  for (size_t i = 0; i < offset; i += CharWidth(s, i)) ++pos;
  return pos;
}

char FoldCase(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// Byte offset of find in s at or after from, case-blind; npos when absent.
size_t FindFolded(const String& s, const String& find, size_t from) {
  if (find.empty() || from > s.size()) return String::npos;
  auto it = std::search(s.begin() + static_cast<std::ptrdiff_t>(from), s.end(), find.begin(), find.end(),
                        [](char a, char b) { return FoldCase(a) == FoldCase(b); });
  return it == s.end() ? String::npos : static_cast<size_t>(it - s.begin());
}

bool IsWhiteSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

}  // namespace

int64_t Len(const String& s) {
  int64_t count = 0;
  for (size_t i = 0; i < s.size(); i += CharWidth(s, i)) ++count;
  return count;
}

bool IsValidUTF8(const String& s) {
  for (size_t i = 0; i < s.size();) {
    const size_t width = CharWidth(s, i);
    const auto lead = static_cast<unsigned char>(s[i]);
    if (width == 1 && lead >= 0x80) return false;
    if (width > 1) {
      // The code point, checked against the shortest form and the ranges that are no characters.
      uint32_t code = lead & (0x7FU >> width);
      for (size_t k = 1; k < width; ++k) code = (code << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3FU);
      constexpr uint32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
      if (code < kShortest[width] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    }
    i += width;
  }
  return true;
}

int64_t LenB(const String& s) { return static_cast<int64_t>(s.size()); }

String Mid(const String& s, int64_t start) {
  if (start < 1) start = 1;
  return s.substr(ByteOffset(s, start));
}

String Mid(const String& s, int64_t start, int64_t length) {
  if (length <= 0) return {};
  if (start < 1) start = 1;
  const size_t from = ByteOffset(s, start);
  size_t to = from;
  for (int64_t n = 0; n < length && to < s.size(); ++n) to += CharWidth(s, to);
  return s.substr(from, to - from);
}

String Left(const String& s, int64_t count) { return Mid(s, 1, count); }

String Right(const String& s, int64_t count) {
  if (count <= 0) return {};
  const int64_t length = Len(s);
  if (count >= length) return s;
  return Mid(s, length - count + 1);
}

int64_t InStr(const String& source, const String& find) { return InStr(0, source, find); }

int64_t InStr(int64_t start, const String& source, const String& find) {
  if (start < 1) start = 1;
  const size_t at = FindFolded(source, find, ByteOffset(source, start));
  return at == String::npos ? 0 : CharPosition(source, at);
}

int64_t InStrB(const String& source, const String& find) {
  if (find.empty()) return 0;
  const size_t at = source.find(find);
  return at == String::npos ? 0 : static_cast<int64_t>(at) + 1;
}

bool TextEquals(const String& a, const String& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return FoldCase(x) == FoldCase(y); });
}

String Trim(const String& s) { return RTrim(LTrim(s)); }

String LTrim(const String& s) {
  size_t from = 0;
  while (from < s.size() && IsWhiteSpace(s[from])) ++from;
  return s.substr(from);
}

String RTrim(const String& s) {
  size_t to = s.size();
  while (to > 0 && IsWhiteSpace(s[to - 1])) --to;
  return s.substr(0, to);
}

String Lowercase(const String& s) {
  String out = s;
  std::transform(out.begin(), out.end(), out.begin(), FoldCase);
  return out;
}

String Replace(const String& s, const String& oldText, const String& newText) {
  const size_t at = FindFolded(s, oldText, 0);
  if (at == String::npos) return s;
  return s.substr(0, at) + newText + s.substr(at + oldText.size());
}

String ReplaceAll(const String& s, const String& oldText, const String& newText) {
  if (oldText.empty()) return s;
  String out;
  out.reserve(s.size());
  size_t from = 0;
  for (size_t at = FindFolded(s, oldText, 0); at != String::npos; at = FindFolded(s, oldText, from)) {
    out.append(s, from, at - from);
    out += newText;
    from = at + oldText.size();
  }
  out.append(s, from);
  return out;
}

std::vector<String> Split(const String& s, const String& delimiter) {
  std::vector<String> fields;
  if (s.empty()) return fields;
  if (delimiter.empty()) return {s};
  size_t from = 0;
  for (size_t at = FindFolded(s, delimiter, 0); at != String::npos; at = FindFolded(s, delimiter, from)) {
    fields.push_back(s.substr(from, at - from));
    from = at + delimiter.size();
  }
  fields.push_back(s.substr(from));
  return fields;
}

String NthField(const String& s, const String& separator, int64_t n) {
  if (n < 1) return {};
  const std::vector<String> fields = Split(s, separator);
  return n <= static_cast<int64_t>(fields.size()) ? fields[static_cast<size_t>(n - 1)] : String{};
}

String Str(int64_t value) { return std::to_string(value); }

String Str(double value, const String& pattern) {
  if (!pattern.empty()) return Format(value, pattern);
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return {buffer, result.ptr};
}

String Format(double value, const String& pattern) {
  const bool percent = !pattern.empty() && pattern.back() == '%';
  const String digits = percent ? pattern.substr(0, pattern.size() - 1) : pattern;
  const size_t point = digits.find('.');
  const String whole = digits.substr(0, point);
  const String fraction = point == String::npos ? String{} : digits.substr(point + 1);
  const auto minWhole = static_cast<int>(std::count(whole.begin(), whole.end(), '0'));
  const auto minFraction = static_cast<int>(std::count(fraction.begin(), fraction.end(), '0'));
  const auto maxFraction = static_cast<int>(fraction.size());

  if (percent) value *= 100.0;
  if (!std::isfinite(value)) value = 0.0;
  char buffer[400];
  std::snprintf(buffer, sizeof buffer, "%.*f", maxFraction, std::fabs(value));
  String text = buffer;
  String wholeDigits = text.substr(0, text.find('.'));
  String fractionDigits = maxFraction > 0 ? text.substr(text.find('.') + 1) : String{};
  while (static_cast<int>(fractionDigits.size()) > minFraction && fractionDigits.back() == '0')
    fractionDigits.pop_back();
  // A whole part of 0 shows as 0 unless the pattern has a fraction to show.
  if (wholeDigits == "0" && minWhole == 0 && !fractionDigits.empty()) wholeDigits.clear();
  while (static_cast<int>(wholeDigits.size()) < minWhole) wholeDigits.insert(0, "0");

  String out = wholeDigits;
  if (!fractionDigits.empty()) out += "." + fractionDigits;
  const bool negative = std::signbit(value) && out.find_first_not_of("0.") != String::npos;
  if (negative) out.insert(0, "-");
  if (percent) out += "%";
  return out;
}

double Val(const String& s) {
  size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
  const size_t start = i;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
  const size_t wholeStart = i;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i;
  bool anyDigit = i > wholeStart;
  if (i < s.size() && s[i] == '.') {
    const size_t fractionStart = ++i;
    while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i;
    anyDigit = anyDigit || i > fractionStart;
  }
  if (!anyDigit) return 0.0;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
    size_t e = i + 1;
    if (e < s.size() && (s[e] == '+' || s[e] == '-')) ++e;
    if (e < s.size() && s[e] >= '0' && s[e] <= '9') {
      while (e < s.size() && s[e] >= '0' && s[e] <= '9') ++e;
      i = e;
    }
  }
  String number = s.substr(start, i - start);
  if (number.front() == '+') number.erase(0, 1);
  double value = 0.0;
  std::from_chars(number.data(), number.data() + number.size(), value);
  return value;
}

double CDbl(const String& s) { return Val(s); }

int64_t ToInteger(double value) {
  if (std::isnan(value)) return 0;
  constexpr double limit = 9223372036854775807.0;
  if (value >= limit) return std::numeric_limits<int64_t>::max();
  if (value <= -limit) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(value);
}

String Hex(int64_t value) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%llX", static_cast<unsigned long long>(value));
  return buffer;
}

String Chr(int64_t code) {
  String out;
  const auto c = static_cast<uint32_t>(code);
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | ((c >> 18) & 0x07));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

String ChrB(int64_t byte) { return {static_cast<char>(byte & 0xFF)}; }

int64_t Asc(const String& s) {
  if (s.empty()) return 0;
  const size_t width = CharWidth(s, 0);
  const auto lead = static_cast<unsigned char>(s[0]);
  if (width == 1) return lead;
  int64_t code = lead & (0x7F >> width);
  for (size_t k = 1; k < width; ++k) code = (code << 6) | (static_cast<unsigned char>(s[k]) & 0x3F);
  return code;
}

}  // namespace velmaris
