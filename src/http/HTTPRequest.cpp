// From a URL to the request on the wire, and the download target.
#include "base/TextOutputStream.h"
#include "http/HTTPSocket.h"

namespace velmaris {

namespace {

const String kCRLF = "\r\n";

// An IPv6 literal stands in brackets (RFC 3986 §3.2.2), so that its colons
// are not taken for the port's; the address is what they enclose.
bool Bracketed(const String& host) { return host.starts_with('[') && host.find(']') != String::npos; }

String Unbracketed(const String& host) { return Bracketed(host) ? host.substr(1, host.find(']') - 1) : host; }

// The port of a "host:port" or "[literal]:port"; 0 when there is none or it isn't a number.
int64_t PortOf(const String& server) {
  if (!Bracketed(server)) return ToInteger(Val(NthField(server, ":", 2)));
  const String rest = server.substr(server.find(']') + 1);
  return rest.starts_with(':') ? ToInteger(Val(rest.substr(1))) : 0;
}

}  // namespace

void HTTPSocket::Event_Connected() {
  _connectionValid = true;
  _ResetVariables();
  if (!synchronous && Connected) Connected(*this);
  if (_httpAction == "") _httpAction = "GET";
  _SendRequest(_httpAction);
}

// The old connection goes first, with all that it left for later: none of
// its bytes may surface under the new request, also when this one stops at
// its download file.
void HTTPSocket::_DoConnect(const String& url, const String& action, const Ref<FolderItem>& file) {
  ++_connectCount;
  _dataPending = false;
  _endPending = false;
  // Left set by a page that ended at its length, the flag would take the
  // failure of this connect for the end of a response.
  _connectionValid = false;
  Close();
  Purge();
  mErrorCode = 0;
  _ParseURL(url);
  _processingURL = url;
  if (!_SetDownloadFile(file)) return;
  if (HTTPProxyAddress != "") {
    Address = Unbracketed(HTTPProxyAddress);
    Port = HTTPProxyPort;
    if (Port == 0) Port = _DefaultPort;
  }
  _httpAction = action;
  Connect();
}

void HTTPSocket::_InitializeRequestHeaders() {
  requestHeaders = New<InternetHeaders>();
  requestHeaders->SetHeader("Accept", "*/*");
  requestHeaders->SetHeader("Accept-Language", "en");
}

void HTTPSocket::_KillDownloadStream() {
  _downloadFile = nullptr;
  if (_downloadStream.IsNil()) return;
  try {
    _downloadStream->Close();
  } catch (const IOException&) {
    // A write error is not looked at: the owner judges the file by its size.
  }
  _downloadStream = nullptr;
}

// Nothing is checked or decoded: whatever stands before "://" goes, the rest
// up to the first "/" is the server, and the path keeps its query and fragment.
// The server, brackets and all, is what the Host header carries.
void HTTPSocket::_ParseURL(const String& url) {
  const size_t scheme = url.find("://");
  const String rest = scheme == String::npos ? url : url.substr(scheme + 3);
  _server = NthField(rest, "/", 1);
  _path = rest.substr(_server.size());
  if (_path == "") _path = "/";
  const int64_t port = PortOf(_server);
  if (port != 0) {
    Port = port;
  } else if (Port == 0) {
    Port = _DefaultPort;
  }
  Address = Bracketed(_server) ? Unbracketed(_server) : NthField(_server, ":", 1);
}

void HTTPSocket::_SendRequest(const String& action) {
  if (requestHeaders.IsNil()) _InitializeRequestHeaders();
  requestHeaders->SetHeader("Host", _server);
  if (_authenticationKey != "") SetRequestHeader("Authorization", _authenticationKey);
  if (_proxyAuthenticationKey != "") SetRequestHeader("Proxy-Authorization", _proxyAuthenticationKey);
  if (TextEquals(action, "HEAD")) {
    _postContent = "";
    _postContentType = "";
  }
  if (Trim(_postContentType) != "") SetRequestHeader("Content-type", _postContentType);
  if (_postContent != "") SetRequestHeader("Content-length", Str(LenB(_postContent)));
  if (HTTPProxyAddress != "") _path = _processingURL;
  String text = action + " " + _path + " HTTP/" + Str(1.0, "0.0") + kCRLF + requestHeaders->_FormatHTTPHeaders();
  // Credentials go out with this one request only.
  if (_authenticationKey != "") {
    SetRequestHeader("Authorization", "");
    _authenticationKey = "";
  }
  if (_proxyAuthenticationKey != "") {
    SetRequestHeader("Proxy-Authorization", "");
    _proxyAuthenticationKey = "";
  }
  text += kCRLF + kCRLF + _postContent;
  Write(text);
  SetRequestHeader("Content-length", "");
}

// The file is emptied before connecting, so that a failed request leaves no
// stale bytes behind.
bool HTTPSocket::_SetDownloadFile(const Ref<FolderItem>& file) {
  _KillDownloadStream();
  if (file.IsNil()) return true;
  if (file->Exists() && file->Directory()) {
    SetError(1);
    return false;
  }
  const Ref<TextOutputStream> emptied = file->CreateTextFile();
  if (emptied.IsNil()) {
    SetError(1);
    return false;
  }
  emptied->Close();
  try {
    _downloadStream = BinaryStream::Create(file, true);
  } catch (const IOException&) {
    SetError(1);
    return false;
  }
  _downloadFile = file;
  return true;
}

}  // namespace velmaris
