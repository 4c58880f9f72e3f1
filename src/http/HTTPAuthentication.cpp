// Answers to Basic and Digest challenges (RFC 2617), asked of the owner
// through the two authentication events. An answer goes out with the retry
// only; every request pays for its own challenge.
#include "base/Clock.h"
#include "base/Crypto.h"
#include "base/Random.h"
#include "http/HTTPSocket.h"

namespace velmaris {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

}  // namespace

String HTTPSocket::_CreateAuthenticationData(const String& scheme, const String& name, const String& password,
                                             const Dictionary& params) {
  if (TextEquals(scheme, "Basic")) return "Basic " + EncodeBase64(name + ":" + password, 0);
  if (!TextEquals(scheme, "Digest")) return "";
  const String nonce = params.Lookup("nonce", "").StringValue();
  if (_Nonces.IsNil()) _Nonces = New<Dictionary>();
  const int64_t count = _Nonces->Lookup(nonce, 0).IntegerValue() + 1;
  _Nonces->SetValue(nonce, count);
  const String cnonce = _CreateNonce();
  const String nc = Format(static_cast<double>(count), "00000000");
  const String realm = params.Lookup("realm", "").StringValue();
  const String uri = params.Lookup("uri", "/").StringValue();
  const String ha1 = _EncodeHex(MD5(name + ":" + realm + ":" + password));
  const String ha2 = _EncodeHex(MD5(params.Lookup("method", "GET").StringValue() + ":" + uri));
  const String response = _EncodeHex(MD5(ha1 + ":" + nonce + ":" + nc + ":" + cnonce + ":auth:" + ha2));
  String data = "Digest username=\"" + name + "\", realm=\"" + realm + "\", nonce=\"" + nonce + "\", uri=\"" + uri +
                "\", qop=auth, nc=" + nc + ", cnonce=\"" + cnonce + "\", response=\"" + response + "\", ";
  if (params.HasKey("opaque")) data += "opaque=\"" + params.Value("opaque").StringValue() + "\"";
  return data;
}

String HTTPSocket::_CreateNonce() {
  static Random random;  // one for every socket of the process
  String nonce;
  for (int i = 0; i < 25; ++i) {
    const int64_t value = random.InRange(0, 61);
    nonce += Chr(value + (value < 10 ? 48 : value < 36 ? 55 : 61));
    RuntimeBackgroundTask();
  }
  return nonce;
}

// RFC 7235 §2.1: auth-param = token BWS "=" BWS ( token / quoted-string ),
// the parameters separated by commas, with white space around them. A
// quoted-string may escape any character with a backslash. A later
// parameter of the same name replaces an earlier one.
Dictionary HTTPSocket::_ParseAuthenticationParams(const String& text) {
  Dictionary params;
  size_t at = 0;
  while (at < text.size()) {
    while (at < text.size() && (text[at] == ',' || IsBlank(text[at]))) ++at;
    const size_t keyStart = at;
    while (at < text.size() && text[at] != '=' && text[at] != ',') ++at;
    const String key = RTrim(text.substr(keyStart, at - keyStart));
    if (at >= text.size() || text[at] == ',') continue;
    ++at;
    while (at < text.size() && IsBlank(text[at])) ++at;
    String value;
    if (at < text.size() && text[at] == '"') {
      for (++at; at < text.size() && text[at] != '"'; ++at) {
        if (text[at] == '\\' && at + 1 < text.size()) ++at;
        value += text[at];
      }
      ++at;
    } else {
      const size_t valueStart = at;
      while (at < text.size() && text[at] != ',') ++at;
      value = RTrim(text.substr(valueStart, at - valueStart));
    }
    if (key != "") params.SetValue(key, value);
  }
  return params;
}

// prefix is "WWW" or "Proxy". True when the owner gave credentials for a
// scheme that is known, and the request is to be repeated with them.
bool HTTPSocket::_SetAuthentication(const String& prefix) {
  const String header = _pageHeaders->Value(prefix + "-Authenticate");
  const int64_t blank = InStrB(header, " ");
  const String scheme = blank == 0 ? header : header.substr(0, static_cast<size_t>(blank - 1));
  Dictionary params = _ParseAuthenticationParams(header.substr(static_cast<size_t>(blank)));
  params.SetValue("method", _httpAction);
  // RFC 7616 §3.4: the request-target of the request line, the path without
  // a proxy and the absolute URL through one (_SendRequest has set it).
  params.SetValue("uri", _path);
  if (params.HasKey("nonce")) {
    _lastServerNonce = params.Value("nonce").StringValue();
  } else {
    params.SetValue("nonce", _lastServerNonce);
  }
  String name;
  String password;
  const String realm = params.Lookup("realm", "").StringValue();
  const Ref<InternetHeaders> headers = _pageHeaders;
  const bool proxy = TextEquals(prefix, "Proxy");
  bool handled = false;
  if (!proxy && AuthenticationRequired) handled = AuthenticationRequired(*this, realm, headers, name, password);
  if (proxy && ProxyAuthenticationRequired) {
    handled = ProxyAuthenticationRequired(*this, realm, headers, name, password);
  }
  if (!handled) return false;
  const String data = _CreateAuthenticationData(scheme, name, password, params);
  if (data == "") return false;
  if (proxy) {
    _proxyAuthenticationKey = data;
  } else {
    _authenticationKey = data;
  }
  return true;
}

}  // namespace velmaris
