// The request body of a form, and the text encoders. URLs themselves are
// never encoded: the caller's URL goes into the request line as it is.
#include "base/Clock.h"
#include "http/HTTPSocket.h"

namespace velmaris {

String HTTPSocket::EncodeFormData(const Ref<Dictionary>& form) {
  String out;
  for (int64_t index = 0; index < form->Count(); ++index) {
    const String name = form->Key(index).StringValue();
    const String value = form->Value(name).StringValue();
    out += "&" + _EncodeURLString(name) + "=" + _EncodeURLString(value);
    RuntimeBackgroundTask();
  }
  return out == "" ? out : out.substr(1);
}

void HTTPSocket::SetFormData(const Ref<Dictionary>& form) {
  if (form.IsNil()) {
    _postContent = "";
    _postContentType = "";
  } else {
    _postContent = EncodeFormData(form);
    _postContentType = "application/x-www-form-urlencoded";
  }
}

void HTTPSocket::SetPostContent(const String& content, const String& type) { SetRequestContent(content, type); }

void HTTPSocket::SetRequestContent(const String& content, const String& type) {
  _postContent = content;
  _postContentType = type;
}

// Two lower-case hexadecimal digits for every byte.
String HTTPSocket::_EncodeHex(const String& text) {
  const MemoryBlock bytes(text);
  String out;
  for (int64_t index = 0; index < bytes.Size(); ++index) {
    out += Right("00" + Hex(bytes.Byte(index)), 2);
    RuntimeBackgroundTask();
  }
  return Lowercase(out);
}

// Escapes these characters as %XX, "%" first so that no escape is escaped
// again, then writes blanks as "+". Letters, digits, ".:?@'|", the double
// quote and the bytes above 127 stay as they are.
String HTTPSocket::_EncodeURLString(const String& text) {
  static const String kEscaped = String("%&=,/\\][{}`~-_()*^$#!+;<>") + "\r\n";
  String out = text;
  for (const char c : kEscaped) {
    const String character(1, c);
    out = ReplaceAll(out, character, "%" + Right("00" + Hex(Asc(character)), 2));
    RuntimeBackgroundTask();
  }
  return ReplaceAll(out, " ", "+");
}

}  // namespace velmaris
