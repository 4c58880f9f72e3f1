// An https request through a proxy: a CONNECT to the origin (RFC 9110
// §9.3.6), and once the proxy answers 2xx, TLS with the origin on the same
// connection, then the request as it goes straight.
#include "http/HTTPSocket.h"

namespace velmaris {

void HTTPSocket::_ReadTunnelAnswer() {
  const String buffered = Lookahead();
  const String eol = _DetermineEOLCharacter(buffered);
  const int64_t end = InStrB(buffered, eol + eol);
  if (end == 0) {
    if (LenB(buffered) < kHeaderLimit) return;
    Close();
    _Fail(kTunnelRefused, "the proxy " + _proxy + " answered CONNECT with no header block");
    return;
  }
  const String statusLine = NthField(Read(end - 1 + 2 * LenB(eol)), eol, 1);
  const int64_t status = ToInteger(Val(NthField(statusLine, " ", 2)));
  if (status >= 200 && status <= 299) {
    _tunnel = "";
    StartTLS(_tunnelHost);
    return;
  }
  Close();
  const String answer = Trim(statusLine.substr(std::min(statusLine.find(' ') + 1, statusLine.size())));
  // A proxy may answer wrong credentials on CONNECT with 401 as well as 407.
  if (status == 407 || status == 401) {
    _Fail(kProxyAuthentication,
          "the proxy " + _proxy + (_proxyCredentials != "" ? " refused the credentials (" : " asks for credentials (") +
              answer + ")");
  } else {
    _Fail(kTunnelRefused, "the proxy " + _proxy + " refused the tunnel to " + _tunnel + " (" + answer + ")");
  }
}

void HTTPSocket::_SendTunnelRequest() {
  String request = "CONNECT " + _tunnel + " HTTP/1.1\r\nHost: " + _tunnel + "\r\n";
  if (_proxyCredentials != "") request += "Proxy-Authorization: " + _proxyCredentials + "\r\n";
  Write(request + "\r\n");
}

}  // namespace velmaris
