// The object, its state between requests, and the asynchronous request forms.
#include "http/HTTPSocket.h"

namespace velmaris {

HTTPSocket::HTTPSocket() {
  _ResetVariables();
  _InitializeRequestHeaders();
  _DefaultPort = 80;
}

void HTTPSocket::ClearRequestHeaders() { requestHeaders->DeleteAllHeaders(); }

int64_t HTTPSocket::ErrorCode() const { return mErrorCode; }

String HTTPSocket::ErrorMessage() const { return mErrorCode == 0 ? "" : _errorMessage; }

void HTTPSocket::Get(const String& url) { Get(url, Ref<FolderItem>()); }

void HTTPSocket::Get(const String& url, const Ref<FolderItem>& file) { SendRequest("GET", url, file); }

void HTTPSocket::GetHeaders(const String& url) { SendRequest("HEAD", url); }

int64_t HTTPSocket::HTTPStatusCode() const { return _httpStatusCode; }

String HTTPSocket::HTTPReasonPhrase() const { return _httpReasonPhrase; }

bool HTTPSocket::Resumed() const { return _resumed; }

Ref<InternetHeaders> HTTPSocket::PageHeaders() const {
  if (!_pageHeaders.IsNil() && _pageHeaders->Count() != 0) return _pageHeaders;
  return nullptr;
}

void HTTPSocket::Post(const String& url) { Post(url, Ref<FolderItem>()); }

void HTTPSocket::Post(const String& url, const Ref<FolderItem>& file) { SendRequest("POST", url, file); }

void HTTPSocket::SendRequest(const String& method, const String& url) { SendRequest(method, url, Ref<FolderItem>()); }

void HTTPSocket::SendRequest(const String& method, const String& url, const Ref<FolderItem>& file) {
  synchronous = false;
  _StartRequest(url, method, file);
}

void HTTPSocket::SetRequestHeader(const String& name, const String& value) {
  if (requestHeaders.IsNil()) _InitializeRequestHeaders();
  if (value == "") {
    requestHeaders->Delete(name);
  } else {
    requestHeaders->SetHeader(name, value);
  }
}

Ref<InternetHeaders> HTTPSocket::GetRequestHeaders() const { return requestHeaders; }

void HTTPSocket::SetError(int64_t code) {
  mErrorCode = code;
  if (!synchronous && Error) Error(*this, code);
}

void HTTPSocket::_Fail(int64_t code, const String& message) {
  _errorMessage = message;
  SetError(code);
}

// Run by the constructor and at the start of every connection. The request's
// own fields (action, URL, body, credentials, download target) stay.
void HTTPSocket::_ResetVariables() {
  if (!_pageBufferStream.IsNil()) {
    _pageBufferStream->Close();
    _pageBufferStream = nullptr;
  }
  _pageBuffer = New<MemoryBlock>(0);
  _pageBufferStream = New<BinaryStream>(_pageBuffer);
  _pageHeaders = nullptr;
  // A response's length comes from its own headers, never from the last one's.
  _contentlength = 0;
  _httpStatusCode = 0;
  _httpReasonPhrase = "";
  _totalLength = 0;
  _currentLength = 0;
  _pageComplete = false;
}

}  // namespace velmaris
