// From a URL to the request on the wire, and the download target.
#include <filesystem>
#include <utility>

#include "base/Crypto.h"
#include "base/ProxySettings.h"
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
  // A connection to the proxy asks for the tunnel first; the request waits
  // for the TLS on it.
  if (_tunnel != "") {
    _SendTunnelRequest();
    return;
  }
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
  _errorMessage = "";
  _ParseURL(url);
  _processingURL = url;
  if (!_SetDownloadFile(file)) return;
  _ChooseProxy();
  _httpAction = action;
  Connect();
}

void HTTPSocket::_ChooseProxy() {
  const String host = Address;
  const int64_t port = Port;
  ProxyServer proxy;
  if (HTTPProxyAddress != "") {
    proxy.host = Unbracketed(HTTPProxyAddress);
    proxy.port = HTTPProxyPort;
  } else if (UseSystemProxy) {
    proxy = ProxyFor(_secure ? "https" : "http", host);
  }
  _proxy = "";
  _proxyCredentials = "";
  _tunnel = "";
  TLSHostName = _secure ? host : "";
  if (proxy.host == "") return;
  Address = proxy.host;
  Port = proxy.port;
  if (Port == 0) Port = _DefaultPort;
  _proxy = (Address.find(':') != String::npos ? "[" + Address + "]" : Address) + ":" + Str(Port);
  if (proxy.user != "") _proxyCredentials = "Basic " + EncodeBase64(proxy.user + ":" + proxy.password, 0);
  if (_secure) {
    TLSHostName = "";
    _tunnelHost = host;
    _tunnel = (host.find(':') != String::npos ? "[" + host + "]" : host) + ":" + Str(port);
  } else if (_proxyAuthenticationKey == "") {
    _proxyAuthenticationKey = _proxyCredentials;
  }
}

void HTTPSocket::_InitializeRequestHeaders() {
  requestHeaders = New<InternetHeaders>();
  requestHeaders->SetHeader("Accept", "*/*");
  requestHeaders->SetHeader("Accept-Language", "en");
}

bool HTTPSocket::_FlushDownloadStream() {
  if (_downloadStream.IsNil()) return false;
  try {
    _downloadStream->Flush();
  } catch (const IOException&) {
    return false;
  }
  return true;
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
// The server, brackets and all, is what the Host header carries. Only
// "https" counts of the scheme: TLS, on port 443 unless the URL names one.
// The port of an earlier https URL never carries over to a plain one.
void HTTPSocket::_ParseURL(const String& url) {
  const size_t scheme = url.find("://");
  const String rest = scheme == String::npos ? url : url.substr(scheme + 3);
  const bool wasSecure = _secure;
  _secure = scheme != String::npos && TextEquals(url.substr(0, scheme), "https");
  _server = NthField(rest, "/", 1);
  _path = rest.substr(_server.size());
  if (_path == "") _path = "/";
  const int64_t port = PortOf(_server);
  if (port != 0) {
    Port = port;
  } else if (_secure) {
    Port = kTLSPort;
  } else if (Port == 0 || wasSecure) {
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
  const String content = _withoutBody ? "" : _postContent;
  if (_withoutBody) {
    SetRequestHeader("Content-type", "");
  } else if (Trim(_postContentType) != "") {
    SetRequestHeader("Content-type", _postContentType);
  }
  if (content != "") SetRequestHeader("Content-length", Str(LenB(content)));
  if (_resuming) {
    SetRequestHeader("Range", "bytes=" + Str(ResumeFrom) + "-");
    SetRequestHeader("If-Range", ResumeValidator);
  }
  // Through a tunnel the origin gets the request as it would straight.
  if (_proxy != "" && !_secure) _path = _processingURL;
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
  text += kCRLF + kCRLF + content;
  Write(text);
  SetRequestHeader("Content-length", "");
  if (_resuming) {
    SetRequestHeader("Range", "");
    SetRequestHeader("If-Range", "");
  }
}

// The file is emptied before connecting, so that a failed request leaves no
// stale bytes behind.
bool HTTPSocket::_SetDownloadFile(const Ref<FolderItem>& file) {
  _KillDownloadStream();
  _resuming = false;
  _resumed = false;
  if (file.IsNil()) return true;
  if (file->Exists() && file->Directory()) {
    _Fail(1, "the download file " + file->NativePath() + " can't be written (a folder stands there)");
    return false;
  }
  // What stands past the offset is no part of what the answer continues.
  std::error_code error;
  if (ResumeFrom > 0 && file->Exists() && std::cmp_greater_equal(file->Length(), ResumeFrom)) {
    std::filesystem::resize_file(file->NativePath(), static_cast<uintmax_t>(ResumeFrom), error);
    try {
      if (!error) _downloadStream = BinaryStream::Append(file);
    } catch (const IOException&) {
    }
    _resuming = !_downloadStream.IsNil();
  }
  if (!_resuming && !_EmptyDownloadFile(file)) return false;
  _downloadFile = file;
  return true;
}

bool HTTPSocket::_EmptyDownloadFile(const Ref<FolderItem>& file) {
  _KillDownloadStream();
  const String unusable = "the download file " + file->NativePath() + " can't be written";
  const Ref<TextOutputStream> emptied = file->CreateTextFile();
  if (emptied.IsNil()) {
    _Fail(1, unusable);
    return false;
  }
  emptied->Close();
  try {
    _downloadStream = BinaryStream::Create(file, true);
  } catch (const IOException&) {
    _Fail(1, unusable);
    return false;
  }
  return true;
}

}  // namespace velmaris
