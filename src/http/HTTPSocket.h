#pragma once
// The program's HTTP client: an HTTP/1.0 user agent on a TCPSocket, one
// request at a time, one new connection per request. It writes the request,
// splits the response into header block and body, keeps the body in memory
// or writes it to a file, answers Basic and Digest challenges, and tells its
// owner through events. The blocking forms (a last argument of seconds) run
// the same machinery in WaitForPage with the events silenced, except the two
// that ask for credentials.
//
// ErrorCode: 0 no error, 1 an unusable download file, -1 the blocking form's
// limit passed, anything else the socket's code of a connection that never
// stood. An HTTP status is never an error, and neither is a connection lost
// after it stood: that ends the page with what arrived.

#include <cstdint>
#include <functional>

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

  HTTPSocket();

  // Not empty: every request goes through this proxy.
  String HTTPProxyAddress;
  // 0 falls back to the default port.
  int64_t HTTPProxyPort = 0;
  // The headers of the next request; they outlive requests.
  Ref<InternetHeaders> requestHeaders;
  // Lets WaitForPage run the application's event loop.
  bool Yield = false;

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
  Dictionary _ParseAuthenticationParams(const String& text);
  void _ParseHeaders(const String& text);
  void _ParseURL(const String& url);
  void _ProcessData(const String& data);
  void _ProcessPage();
  void _ResetVariables();
  void _SendRequest(const String& action);
  bool _SetAuthentication(const String& prefix);
  bool _SetDownloadFile(const Ref<FolderItem>& file);

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

 private:
  bool _Blocking(const String& method, const String& url, const Ref<FolderItem>& file, int64_t timeout);
  void _ConnectionEnded();
  String _PageText() const;
  void _ReadResponse();

  // Counts _DoConnect calls: a handler that started a request has dropped
  // the one whose event it handled.
  int64_t _connectCount = 0;
  // A DataAvailable, or the end of the connection, that came while
  // threadProtection was set; handled once the running call is done.
  bool _dataPending = false;
  bool _endPending = false;
};

}  // namespace velmaris
