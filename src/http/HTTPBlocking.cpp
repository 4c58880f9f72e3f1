// The blocking forms: the request machinery runs in WaitForPage, which polls
// the socket on the caller's thread, with the events silenced except the two
// that ask for credentials.
#include <algorithm>
#include <limits>

#include "base/Clock.h"
#include "base/Runtime.h"
#include "http/HTTPSocket.h"

namespace velmaris {

bool HTTPSocket::Get(const String& url, const Ref<FolderItem>& file, int64_t timeout) {
  return SendRequest("GET", url, file, timeout);
}

String HTTPSocket::Get(const String& url, int64_t timeout) { return SendRequest("GET", url, timeout); }

Ref<InternetHeaders> HTTPSocket::GetHeaders(const String& url, int64_t timeout) {
  _Blocking("HEAD", url, nullptr, timeout);
  return _pageHeaders;
}

bool HTTPSocket::Post(const String& url, const Ref<FolderItem>& file, int64_t timeout) {
  return SendRequest("POST", url, file, timeout);
}

String HTTPSocket::Post(const String& url, int64_t timeout) { return SendRequest("POST", url, timeout); }

bool HTTPSocket::SendRequest(const String& method, const String& url, const Ref<FolderItem>& file, int64_t timeout) {
  return _Blocking(method, url, file, timeout);
}

String HTTPSocket::SendRequest(const String& method, const String& url, int64_t timeout) {
  _Blocking(method, url, nullptr, timeout);
  return _PageText();
}

// The limit is one of inactivity: it runs anew from the start, from each
// change of the connection (it stands, it ends) and from each growth of the
// page in memory. A download to a file doesn't grow the page, so there it
// runs from the connect. A limit below 1 second means none.
void HTTPSocket::WaitForPage() {
  _pageComplete = false;
  mErrorCode = 0;
  const int64_t limit = std::min(timeoutSeconds, std::numeric_limits<int64_t>::max() / 120) * 60;
  int64_t deadline = Ticks() + limit;
  bool lastValid = false;
  int64_t lastSize = 0;
  while (true) {
    if (_pageComplete || mErrorCode != 0) return;
    Poll();
    if (Yield) DoEvents();
    if (lastValid != _connectionValid) {
      lastValid = _connectionValid;
      deadline = Ticks() + limit;
    } else if (lastSize != _pageBuffer->Size()) {
      lastSize = _pageBuffer->Size();
      deadline = Ticks() + limit;
    }
    if (timeoutSeconds >= 1 && deadline < Ticks()) break;
    RuntimeBackgroundTask();
  }
  Close();
  _Fail(-1,
        "nothing came from " + (_proxy != "" ? "the proxy " + _proxy : _server) + " for " + Str(timeoutSeconds) + " s");
}

// A blocking request starts from an empty page, so that a failure can't
// return what the last request received. A file that can't be used stops it
// at once, with ErrorCode 1: there is nothing to wait for.
bool HTTPSocket::_Blocking(const String& method, const String& url, const Ref<FolderItem>& file, int64_t timeout) {
  timeoutSeconds = timeout;
  synchronous = true;
  _ResetVariables();
  _StartRequest(url, method, file);
  if (mErrorCode != 0) return false;
  WaitForPage();
  return mErrorCode == 0;
}

}  // namespace velmaris
