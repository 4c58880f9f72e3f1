// From the bytes in the socket's buffer to a finished page. The header block
// stays in the buffer until its empty line has come; the body is read out in
// blocks as large as the buffer holds.
#include <algorithm>
#include <limits>

#include "http/HTTPSocket.h"

namespace velmaris {

namespace {

// Sets the flag for its life and clears it on every way out, exceptions included.
class Protection {
 public:
  explicit Protection(bool& flag) : mFlag(flag) { mFlag = true; }
  ~Protection() { mFlag = false; }
  Protection(const Protection&) = delete;
  Protection& operator=(const Protection&) = delete;

 private:
  bool& mFlag;
};

// A length header of any size may be counted down without overflowing.
int64_t SaturatingSubtract(int64_t value, int64_t amount) {
  constexpr int64_t lowest = std::numeric_limits<int64_t>::min();
  return value < lowest + amount ? lowest : value - amount;
}

bool IsChallenge(int64_t status) { return status == 401 || status == 407; }

}  // namespace

void HTTPSocket::Event_DataAvailable() {
  if (_tunnel != "") {
    _ReadTunnelAnswer();
    return;
  }
  _HandleNewData();
}

void HTTPSocket::Event_Error() {
  const bool old = _connectionValid;
  _connectionValid = false;
  if (!old) {
    // The connection never stood: the one way a socket failure becomes an Error.
    _Fail(LastErrorCode(), LastErrorMessage());
    return;
  }
  if (threadProtection) {
    _endPending = true;
    return;
  }
  _ConnectionEnded();
}

void HTTPSocket::Event_SendComplete(bool /*userAborted*/) {}

String HTTPSocket::_DetermineEOLCharacter(const String& text) const {
  if (InStrB(text, "\r\n") != 0) return "\r\n";
  if (InStrB(text, "\n") != 0) return "\n";
  if (InStrB(text, "\r") != 0) return "\r";
  return "\r\n";
}

// A handler raised from here may run an event loop. A DataAvailable or the
// end of the connection that comes in it finds threadProtection set; both are
// taken up here once the running call is done, since no further event may
// come for bytes that are already buffered.
void HTTPSocket::_HandleNewData() {
  if (threadProtection) {
    _dataPending = true;
    return;
  }
  do {
    _dataPending = false;
    const Protection protection(threadProtection);
    _ReadResponse();
  } while (_dataPending && BytesAvailable() > 0);
  if (_endPending) {
    _endPending = false;
    _ConnectionEnded();
  }
}

void HTTPSocket::_ParseHeaders(const String& text) {
  const String eol = _DetermineEOLCharacter(text);
  _pageHeaders = New<InternetHeaders>();
  const String statusLine = NthField(text, eol, 1);
  _httpStatusCode = ToInteger(Val(NthField(statusLine, " ", 2)));
  // "HTTP/1.0 404 Not Found": what follows the second blank.
  const size_t code = statusLine.find(' ');
  const size_t phrase = code == String::npos ? String::npos : statusLine.find(' ', code + 1);
  _httpReasonPhrase = phrase == String::npos ? "" : Trim(statusLine.substr(phrase + 1));
  _pageHeaders->_ParseHeaders(text);
  if (_pageHeaders->NameCount("Content-length") >= 1) {
    _totalLength = ToInteger(Val(_pageHeaders->Value("Content-length")));
  }
}

void HTTPSocket::_ProcessData(const String& data) {
  if (TextEquals(_httpAction, "HEAD")) return;
  const int64_t connects = _connectCount;
  _currentLength += LenB(data);
  _contentlength = SaturatingSubtract(_contentlength, LenB(data));
  if (!_downloadStream.IsNil()) {
    try {
      _downloadStream->Write(data);
    } catch (const IOException&) {
      // Not looked at: the request runs on, and the owner judges the file by its size.
    }
  } else {
    _pageBufferStream->Write(data);
  }
  if (!synchronous && ReceiveProgress) {
    ReceiveProgress(*this, _currentLength, _totalLength, data);
    if (connects != _connectCount) return;
  }
  if (IsChallenge(_httpStatusCode) && !IsConnected()) _ProcessPage();
  if (_totalLength >= 1 && _totalLength <= _currentLength) {
    Close();
    _ProcessPage();
  }
}

void HTTPSocket::_ProcessPage() {
  if (_pageComplete) return;
  _pageComplete = true;
  const Ref<FolderItem> file = _downloadFile;
  // Closed before anyone hears of it.
  _KillDownloadStream();
  if (TextEquals(_httpAction, "HEAD") || synchronous) return;
  const String url = _processingURL;
  const Ref<InternetHeaders> headers = _pageHeaders;
  if (!file.IsNil()) {
    if (DownloadComplete) DownloadComplete(*this, url, _httpStatusCode, headers, file);
  } else if (PageReceived) {
    PageReceived(*this, url, _httpStatusCode, headers, _PageText());
  }
}

// The connection ended after it stood, whatever the reason: the page ends
// with what arrived.
void HTTPSocket::_ConnectionEnded() {
  const int64_t connects = _connectCount;
  if (BytesAvailable() > 0) _HandleNewData();
  if (connects != _connectCount || _pageComplete) return;
  // No whole header block came: its bytes are the body of a page with status 0.
  if (_pageHeaders.IsNil() && BytesAvailable() > 0) _ProcessData(ReadAll());
  if (connects != _connectCount) return;
  _ProcessPage();
}

// RFC 9110 §14.4: "Content-Range: bytes first-last/complete". Only the rest
// of the file, from the offset to its end, continues it.
void HTTPSocket::_TakeUpResume() {
  _resuming = false;
  const String range = Trim(_pageHeaders->Value("Content-Range"));
  const String span = Lowercase(NthField(range, " ", 1)) == "bytes" ? NthField(range, " ", 2) : "";
  const int64_t first = ToInteger(Val(NthField(span, "-", 1)));
  const int64_t last = ToInteger(Val(NthField(NthField(span, "-", 2), "/", 1)));
  const int64_t complete = ToInteger(Val(NthField(span, "/", 2)));
  if (_httpStatusCode == 206 && span != "" && first == ResumeFrom && complete > first && last == complete - 1) {
    _resumed = true;
    _currentLength = ResumeFrom;
    _totalLength = complete;
    return;
  }
  const Ref<FolderItem> file = _downloadFile;
  if (_EmptyDownloadFile(file)) _downloadFile = file;
}

String HTTPSocket::_PageText() const {
  if (_currentLength < 1) return "";
  return _pageBuffer->StringValue(0, std::min(_currentLength, _pageBuffer->Size()));
}

// What one DataAvailable finds: body bytes, or a header block that is whole
// at last, or not yet.
void HTTPSocket::_ReadResponse() {
  const int64_t connects = _connectCount;
  if (!_pageHeaders.IsNil()) {
    _ProcessData(Read(_contentlength));
    return;
  }
  const String buffered = Lookahead();
  String eol = _DetermineEOLCharacter(buffered);
  int64_t end = InStrB(buffered, eol + eol);
  for (const char* candidate : {"\n", "\r\n", "\r"}) {
    if (end != 0) break;
    eol = candidate;
    end = InStrB(buffered, eol + eol);
  }
  if (end == 0) {
    if (LenB(buffered) >= kHeaderLimit) {
      const String bytes = ReadAll();
      Close();
      _ProcessData(bytes);
      if (connects == _connectCount) _ProcessPage();
    }
    return;
  }
  // An empty block (the buffer starts with the empty line) reads nothing:
  // Read(0) would take the whole buffer.
  _ParseHeaders(end > 1 ? Read(end - 1) : String());
  // An accepted challenge repeats the request on a new connection; the rest
  // of this response goes with the old one.
  const String url = _processingURL;
  const String action = _httpAction;
  const Ref<FolderItem> file = _downloadFile;
  if (_httpStatusCode == 401 && _SetAuthentication("WWW")) {
    _DoConnect(url, action, file);
    return;
  }
  if (_httpStatusCode == 407 && connects == _connectCount && _SetAuthentication("Proxy")) {
    _DoConnect(url, action, file);
    return;
  }
  if (connects != _connectCount || _FollowRedirect()) return;
  if (_resuming) _TakeUpResume();
  if (!synchronous && HeadersReceived) {
    const Ref<InternetHeaders> headers = _pageHeaders;
    HeadersReceived(*this, headers, _httpStatusCode);
    if (connects != _connectCount) return;
  }
  Read(2 * LenB(eol));
  if (_pageHeaders->_HasHeader("content-length")) {
    _contentlength = ToInteger(CDbl(_pageHeaders->Value("content-length")));
  }
  _ProcessData(_contentlength != 0 ? Read(_contentlength) : ReadAll());
}

}  // namespace velmaris
