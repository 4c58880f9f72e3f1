#pragma once
// Which proxy a request goes through, by the rules that curl and most
// programs on the machine follow: http_proxy for http URLs, https_proxy for
// https ones, each also read in upper case (the lower case one wins), and
// no_proxy naming the hosts reached straight. A proxy is
// "http://[user:password@]host:port". On macOS, when none of the variables
// is set, the system's proxy settings stand in for them.

#include <cstdint>
#include <functional>

#include "base/StringFunctions.h"

namespace velmaris {

// A proxy to go through; an empty host means none, straight to the server.
struct ProxyServer {
  String host;  // an IPv6 literal without its brackets
  int64_t port = 0;
  String user;
  String password;
};

// The three settings, as the variables write them.
struct ProxyVariables {
  String http = {};
  String https = {};
  String noProxy = {};
};

// The proxy for a URL of that scheme ("http" or "https") to that host (a
// name, or an address without brackets). A proxy of another scheme than
// http, or one without a host, counts as none.
ProxyServer ProxyFor(const String& scheme, const String& host);

// Stands in for where the settings come from for the life of the object
// (tests): a variable of the environment by its name, and the system's
// settings, asked for when no variable is set.
class ScopedProxySource {
 public:
  ScopedProxySource(std::function<String(const String& name)> variable, std::function<ProxyVariables()> system);
  ~ScopedProxySource();
  ScopedProxySource(const ScopedProxySource&) = delete;
  ScopedProxySource& operator=(const ScopedProxySource&) = delete;

 private:
  std::function<String(const String&)> mPreviousVariable;
  std::function<ProxyVariables()> mPreviousSystem;
};

}  // namespace velmaris
