#pragma once
// The program's HTTP client: an HTTP/1.0 user agent on a TCPSocket, one
// request at a time, one new connection per request. It writes the request,
// splits the response into header block and body, keeps the body in memory
// or writes it to a file, answers Basic and Digest challenges, and tells its
// owner through events. The blocking forms (a last argument of seconds) run
// the same machinery in WaitForPage with the events silenced, except the two
// that ask for credentials.
//
// "https://" URLs go over TLS (port 443 by default), the certificate checked
// against the trusted authorities and the host name. Through a proxy, plain
// http asks the proxy with the absolute URL, https through a CONNECT tunnel.
// With FollowRedirects, a 3xx answer leads to a new request at its Location.
//
// ErrorCode: 0 no error, 1 an unusable download file, -1 the blocking form's
// limit passed, 2 to 6 the client's own failures below, anything else (100
// and above) the socket's code of a connection that never stood, among them
// TCPSocket::kCertificateRefused (130) and a failed TLS handshake (113).
// ErrorMessage says why in words. An HTTP status is never an error, and
// neither is a connection lost after it stood: that ends the page with what
// arrived.

#include <cstdint>
#include <functional>
#include <vector>

#include "base/BinaryStream.h"
#include "base/Dictionary.h"
#include "base/FolderItem.h"
#include "base/MemoryBlock.h"
#include "base/Ref.h"
#include "base/StringFunctions.h"
#include "base/TCPSocket.h"
#include "headers/InternetHeaders.h"

namespace velmaris {

class HTTPSocket : public TCPSocket {
 public:
  // Past this many buffered bytes without the empty line that ends a header
  // block, the block can never end: the socket's buffer holds no more.
  static constexpr int64_t kHeaderLimit = kReadBufferSize;
  static constexpr int64_t kTLSPort = 443;
  // Redirects followed in one request at most; the next one is an error.
  static constexpr int64_t kMostRedirects = 10;
  // ErrorCode of the client's own failures.
  static constexpr int64_t kTooManyRedirects = 2;
  static constexpr int64_t kRedirectLoop = 3;
  static constexpr int64_t kRedirectDowngrade = 4;    // from https to http
  static constexpr int64_t kTunnelRefused = 5;        // CONNECT answered with another status than 2xx or 407
  static constexpr int64_t kProxyAuthentication = 6;  // CONNECT answered with 407 (or 401)

  HTTPSocket();

  // Not empty: every request goes through this proxy.
  String HTTPProxyAddress;
  // 0 falls back to the default port.
  int64_t HTTPProxyPort = 0;
  // Follows 301, 302, 303, 307 and 308 to their Location, absolute or
  // relative, up to kMostRedirects times; a 303 goes on as a GET without the
  // body. A redirect to a URL already visited, one too many, or one from
  // https to http ends the request with an error instead. The followed
  // answers raise no event but Connected. Off: a 3xx page is delivered as it
  // came.
  bool FollowRedirects = false;
  // With HTTPProxyAddress empty, each request, and each redirect of it, goes
  // through the proxy that ProxyFor names for its URL (the environment's
  // http_proxy, https_proxy and no_proxy, or macOS's settings), with the
  // proxy's credentials as Basic.
  bool UseSystemProxy = false;
  // The headers of the next request; they outlive requests.
  Ref<InternetHeaders> requestHeaders;
  // Lets WaitForPage run the application's event loop.
  bool Yield = false;
  // A download to a file that goes on where an earlier one stopped: not 0,
  // the file keeps its first ResumeFrom bytes and the request asks for the
  // rest ("Range: bytes=N-", with "If-Range:" ResumeValidator, so that a
  // file changed on the server comes whole). A 206 whose Content-Range
  // starts at N and runs to the end appends to them, and the progress counts
  // from N; any other answer empties the file first, as a download does. The
  // caller sets them for each request; 0 downloads whole.
  int64_t ResumeFrom = 0;
  String ResumeValidator;

  // Events; a missing handler is skipped with the defaults in the comments.
  // After a 401; true retries with the name and password set. No handler: false.
  std::function<bool(HTTPSocket&, const String& realm, const Ref<InternetHeaders>& headers, String& name,
                     String& password)>
      AuthenticationRequired;
  std::function<void(HTTPSocket&)> Connected;
  std::function<void(HTTPSocket&, const String& url, int64_t httpStatus, const Ref<InternetHeaders>& headers,
                     const Ref<FolderItem>& file)>
      DownloadComplete;
  // The connection could not be made, or the download file can't be used.
  std::function<void(HTTPSocket&, int64_t code)> Error;
  std::function<void(HTTPSocket&, const Ref<InternetHeaders>& headers, int64_t httpStatus)> HeadersReceived;
  // headers is nil when the connection ended before a whole header block came.
  std::function<void(HTTPSocket&, const String& url, int64_t httpStatus, const Ref<InternetHeaders>& headers,
                     const String& content)>
      PageReceived;
  // After a 407, as AuthenticationRequired.
  std::function<bool(HTTPSocket&, const String& realm, const Ref<InternetHeaders>& headers, String& name,
                     String& password)>
      ProxyAuthenticationRequired;
  // bytesReceived is the running total; totalBytes 0 when no length was announced.
  std::function<void(HTTPSocket&, int64_t bytesReceived, int64_t totalBytes, const String& newData)> ReceiveProgress;

  // Afterwards not even Accept and Accept-Language are sent.
  virtual void ClearRequestHeaders();
  // "name=value" pairs joined by "&", both escaped by _EncodeURLString.
  virtual String EncodeFormData(const Ref<Dictionary>& form);
  virtual int64_t ErrorCode() const;
  // Why the request failed, naming the host or the proxy; "" when ErrorCode is 0.
  virtual String ErrorMessage() const;
  virtual void Get(const String& url);
  virtual void Get(const String& url, const Ref<FolderItem>& file);
  // True when ErrorCode is 0, a 404 included.
  virtual bool Get(const String& url, const Ref<FolderItem>& file, int64_t timeout);
  // The body as it arrived; "" after a failure.
  virtual String Get(const String& url, int64_t timeout);
  virtual void GetHeaders(const String& url);
  virtual Ref<InternetHeaders> GetHeaders(const String& url, int64_t timeout);
  virtual int64_t HTTPStatusCode() const;
  // The words behind the status on the status line ("Not Found"); "" before a response.
  virtual String HTTPReasonPhrase() const;
  // nil before a response, and for one without header lines.
  virtual Ref<InternetHeaders> PageHeaders() const;
  // True when the answer to a ResumeFrom request appended to the file.
  virtual bool Resumed() const;
  virtual void Post(const String& url);
  virtual void Post(const String& url, const Ref<FolderItem>& file);
  virtual bool Post(const String& url, const Ref<FolderItem>& file, int64_t timeout);
  virtual String Post(const String& url, int64_t timeout);
  virtual void SendRequest(const String& method, const String& url);
  virtual void SendRequest(const String& method, const String& url, const Ref<FolderItem>& file);
  virtual bool SendRequest(const String& method, const String& url, const Ref<FolderItem>& file, int64_t timeout);
  virtual String SendRequest(const String& method, const String& url, int64_t timeout);
  // A nil form removes the body.
  virtual void SetFormData(const Ref<Dictionary>& form);
  [[deprecated("use SetRequestContent")]] virtual void SetPostContent(const String& content, const String& type);
  // The body and its type for the next requests.
  virtual void SetRequestContent(const String& content, const String& type);
  // An empty value removes the header.
  virtual void SetRequestHeader(const String& name, const String& value);

  // The internal operations, public as the underscore says.
  Ref<InternetHeaders> GetRequestHeaders() const;
  // The proxy of the hop to the URL that _ParseURL took apart: Address and
  // Port become the proxy's, and an https URL will go through a tunnel.
  void _ChooseProxy();
  void SetError(int64_t code);
  void WaitForPage();
  String _CreateAuthenticationData(const String& scheme, const String& name, const String& password,
                                   const Dictionary& params);
  // 25 characters of [0-9A-Za-z]; virtual so that tests can fix it.
  virtual String _CreateNonce();
  String _DetermineEOLCharacter(const String& text) const;
  void _DoConnect(const String& url, const String& action, const Ref<FolderItem>& file);
  String _EncodeHex(const String& text);
  String _EncodeURLString(const String& text);
  void _HandleNewData();
  void _InitializeRequestHeaders();
  void _KillDownloadStream();
  // Writes out what the download's stream holds, so that the file holds
  // every byte received; false when there is no download or it can't.
  bool _FlushDownloadStream();
  Dictionary _ParseAuthenticationParams(const String& text);
  void _ParseHeaders(const String& text);
  void _ParseURL(const String& url);
  void _ProcessData(const String& data);
  void _ProcessPage();
  void _ResetVariables();
  void _SendRequest(const String& action);
  bool _SetAuthentication(const String& prefix);
  bool _SetDownloadFile(const Ref<FolderItem>& file);
  // True when the answer was a redirect that is followed, or refused with an
  // error; false leaves it to be delivered as it came.
  bool _FollowRedirect();

 protected:
  void Event_Connected() override;
  void Event_DataAvailable() override;
  void Event_Error() override;
  void Event_SendComplete(bool userAborted) override;

  int64_t mErrorCode = 0;
  bool synchronous = false;
  bool threadProtection = false;
  int64_t timeoutSeconds = 0;
  String _authenticationKey;
  bool _connectionValid = false;
  int64_t _contentlength = 0;
  int64_t _currentLength = 0;
  int64_t _DefaultPort = 0;
  Ref<FolderItem> _downloadFile;
  Ref<BinaryStream> _downloadStream;
  String _httpAction;
  int64_t _httpStatusCode = 0;
  String _httpReasonPhrase;
  String _lastServerNonce;
  Ref<Dictionary> _Nonces;
  Ref<MemoryBlock> _pageBuffer;
  Ref<BinaryStream> _pageBufferStream;
  bool _pageComplete = false;
  Ref<InternetHeaders> _pageHeaders;
  String _path;
  String _postContent;
  String _postContentType;
  String _processingURL;
  String _proxyAuthenticationKey;
  String _server;
  int64_t _totalLength = 0;
  // The download file keeps its first ResumeFrom bytes until the answer
  // says whether they stay; _resumed once they do.
  bool _resuming = false;
  bool _resumed = false;

 private:
  bool _Blocking(const String& method, const String& url, const Ref<FolderItem>& file, int64_t timeout);
  void _ConnectionEnded();
  // Ends the request with that error, in code and in words.
  void _Fail(int64_t code, const String& message);
  String _PageText() const;
  void _ReadResponse();
  // Empties the download file and writes it from its start.
  bool _EmptyDownloadFile(const Ref<FolderItem>& file);
  // The answer to a resumed download: appends, or starts the file over.
  void _TakeUpResume();
  void _ReadTunnelAnswer();
  void _SendTunnelRequest();
  // A request of the caller's, as the start of a chain of redirects.
  void _StartRequest(const String& url, const String& action, const Ref<FolderItem>& file);

  // Counts _DoConnect calls: a handler that started a request has dropped
  // the one whose event it handled.
  int64_t _connectCount = 0;
  // A DataAvailable, or the end of the connection, that came while
  // threadProtection was set; handled once the running call is done.
  bool _dataPending = false;
  bool _endPending = false;
  String _errorMessage;
  // The URLs of the request so far, the caller's first, with their scheme.
  std::vector<String> _redirects;
  // A 303 made a GET of the request: no body and no type go out.
  bool _withoutBody = false;
  // The hop's URL is https.
  bool _secure = false;
  // The hop goes through a proxy, "host:port" for the messages.
  String _proxy;
  // "Basic ..." for the hop's proxy, from the proxy's settings.
  String _proxyCredentials;
  // While the proxy's tunnel is asked for: "host:port" of CONNECT, and the
  // host that the TLS on it is for.
  String _tunnel;
  String _tunnelHost;
};

}  // namespace velmaris
