// Redirects followed to their Location (RFC 9110 §15.4), when the owner asks
// for it: each hop a new request, the chain kept so that a loop, one hop too
// many or a step down from https to http ends it with an error.
#include <algorithm>

#include "http/HTTPSocket.h"

namespace velmaris {

namespace {

bool IsRedirect(int64_t status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// A URL written without a scheme is read as http, as _ParseURL reads it.
String WithScheme(const String& url) { return url.find("://") == String::npos ? "http://" + url : url; }

String SchemeOf(const String& url) { return Lowercase(url.substr(0, url.find("://"))); }

// RFC 3986 §3.1: scheme = ALPHA *( ALPHA / DIGIT / "+" / "-" / "." ), then ":".
bool HasScheme(const String& reference) {
  const size_t colon = reference.find(':');
  if (colon == String::npos || colon == 0 || std::isalpha(static_cast<unsigned char>(reference[0])) == 0) return false;
  return std::all_of(reference.begin(), reference.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-' || c == '.';
  });
}

// RFC 3986 §5.2.4: the "." and ".." segments of a path taken out.
String WithoutDotSegments(const String& path) {
  const std::vector<String> segments = Split(path, "/");
  std::vector<String> kept;
  for (size_t i = 0; i < segments.size(); ++i) {
    const bool dot = segments[i] == "." || segments[i] == "..";
    if (segments[i] == ".." && kept.size() > 1) kept.pop_back();
    if (!dot) kept.push_back(segments[i]);
    if (dot && i + 1 == segments.size()) kept.emplace_back();
  }
  String joined;
  for (size_t i = 0; i < kept.size(); ++i) joined += (i > 0 ? "/" : "") + kept[i];
  return joined;
}

// RFC 3986 §5.2.2: the absolute URL of a reference seen from a base URL,
// without a fragment.
String Resolved(const String& base, const String& reference) {
  const String url = WithScheme(base);
  const size_t authority = url.find("://") + 3;
  const size_t pathStart = std::min(url.find_first_of("/?#", authority), url.size());
  const String origin = url.substr(0, pathStart);
  String path = url.substr(pathStart, url.find_first_of("?#", pathStart) - pathStart);
  if (path == "") path = "/";
  String target;
  if (HasScheme(reference)) {
    target = reference;
  } else if (reference.starts_with("//")) {
    target = url.substr(0, authority - 2) + reference;
  } else if (reference.starts_with('/')) {
    target = origin + reference;
  } else if (reference == "" || reference.starts_with('?') || reference.starts_with('#')) {
    target = origin + path + reference;
  } else {
    target = origin + path.substr(0, path.rfind('/') + 1) + reference;
  }
  target = target.substr(0, target.find('#'));
  const size_t targetAuthority = target.find("://");
  if (targetAuthority == String::npos) return target;
  const size_t targetPath = std::min(target.find_first_of("/?", targetAuthority + 3), target.size());
  const size_t query = std::min(target.find('?', targetPath), target.size());
  return target.substr(0, targetPath) + WithoutDotSegments(target.substr(targetPath, query - targetPath)) +
         target.substr(query);
}

}  // namespace

bool HTTPSocket::_FollowRedirect() {
  if (!FollowRedirects || !IsRedirect(_httpStatusCode) || !_pageHeaders->_HasHeader("Location")) return false;
  const String target = Resolved(_processingURL, Trim(_pageHeaders->Value("Location")));
  const String scheme = SchemeOf(target);
  if (target.find("://") == String::npos || (scheme != "http" && scheme != "https")) return false;
  if (_redirects.empty()) _redirects.push_back(WithScheme(_processingURL));
  Close();
  _connectionValid = false;
  if (_secure && scheme == "http") {
    _Fail(kRedirectDowngrade, "redirect from https to http refused (" + _processingURL + " to " + target + ")");
  } else if (std::ranges::find(_redirects, target) != _redirects.end()) {
    _Fail(kRedirectLoop, "redirect loop: " + _processingURL + " leads back to " + target);
  } else if (static_cast<int64_t>(_redirects.size()) > kMostRedirects) {
    _Fail(kTooManyRedirects, "too many redirects: more than " + Str(kMostRedirects) + " from " + _redirects.front() +
                                 " (to " + target + ")");
  } else {
    _redirects.push_back(target);
    String action = _httpAction;
    if (_httpStatusCode == 303 && !TextEquals(action, "HEAD")) {
      action = "GET";
      _withoutBody = true;
    }
    const Ref<FolderItem> file = _downloadFile;
    // The port comes from the new URL, or its scheme's.
    Port = 0;
    _DoConnect(target, action, file);
  }
  return true;
}

void HTTPSocket::_StartRequest(const String& url, const String& action, const Ref<FolderItem>& file) {
  _redirects = {WithScheme(url)};
  _withoutBody = false;
  _DoConnect(url, action, file);
}

}  // namespace velmaris
