#pragma once
// The string services the logic is written against. A String is a UTF-8
// std::string that may also carry raw bytes. Positions count characters from
// 1 (a UTF-8 code point; a stray byte counts as one), 0 means "not found".
// Comparisons and searches are blind to the case of ASCII letters.

#include <cstdint>
#include <string>
#include <vector>

namespace velmaris {

using String = std::string;

// Characters and bytes.
int64_t Len(const String& s);
int64_t LenB(const String& s);
// True when every byte belongs to a well-formed UTF-8 character: no stray
// byte, no overlong form, no surrogate, nothing above U+10FFFF.
bool IsValidUTF8(const String& s);

// Parts of a string; out-of-range positions and lengths give "" or the nearest part.
String Mid(const String& s, int64_t start);
String Mid(const String& s, int64_t start, int64_t length);
String Left(const String& s, int64_t count);
String Right(const String& s, int64_t count);

// Position (from 1, in characters) of find at or after start; 0 when absent.
// A start of 0 or 1 means the beginning.
int64_t InStr(const String& source, const String& find);
int64_t InStr(int64_t start, const String& source, const String& find);
// The same over bytes, exact match: for binary buffers.
int64_t InStrB(const String& source, const String& find);

// "=" of the logic.
bool TextEquals(const String& a, const String& b);

String Trim(const String& s);
String LTrim(const String& s);
String RTrim(const String& s);
String Lowercase(const String& s);

String Replace(const String& s, const String& oldText, const String& newText);
String ReplaceAll(const String& s, const String& oldText, const String& newText);

// Fields between delimiters, empty fields kept; an empty s gives no field.
std::vector<String> Split(const String& s, const String& delimiter);
// The n-th field (from 1) of Split; "" when there are fewer than n.
String NthField(const String& s, const String& separator, int64_t n);

String Str(int64_t value);
String Str(double value, const String& pattern);
// Patterns of '0' (digit), '#' (optional digit), one '.', and a trailing
// '%' that scales by 100: "0", "00000000", "#%", "0.0".
String Format(double value, const String& pattern);

// The number at the start of s (leading blanks skipped), 0 when there is none.
double Val(const String& s);
double CDbl(const String& s);
// A double cut toward zero to an integer; saturates, NaN gives 0.
int64_t ToInteger(double value);

String Hex(int64_t value);
// The UTF-8 text of one code point.
String Chr(int64_t code);
// One raw byte.
String ChrB(int64_t byte);
// The code of the first character (a stray byte gives its value); 0 for "".
int64_t Asc(const String& s);

}  // namespace velmaris
