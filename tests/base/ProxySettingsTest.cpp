#include <gtest/gtest.h>

#include <map>

#include "base/ProxySettings.h"

namespace velmaris {
namespace {

// The proxy of a URL by the variables, and by the system's settings when
// none is set.
TEST(ProxySettings, TheProxyOfAURL) {
  struct Row {
    const char* name;
    std::map<String, String> variables = {};
    String scheme = "http";
    String host = "h.example.com";
    String proxy = "p 1";  // host, port, user and password; "" for none
    ProxyVariables system = {};
  } rows[] = {
      {.name = "http_proxy for http", .variables = {{"http_proxy", "http://p:1"}}},
      {.name = "not for https", .variables = {{"http_proxy", "p:1"}}, .scheme = "https", .proxy = ""},
      {.name = "the lower case wins", .variables = {{"https_proxy", "p:1"}, {"HTTPS_PROXY", "q:2"}}, .scheme = "HTTPS"},
      {.name = "the upper case alone", .variables = {{"HTTP_PROXY", "p:1"}}},
      {.name = "credentials decoded, port 80 by default",
       .variables = {{"http_proxy", "http://u%40x:p%3Aw@[::1]/"}},
       .proxy = "::1 80 u@x p:w"},
      {.name = "a proxy of another scheme is none", .variables = {{"http_proxy", "socks5://p:1"}}, .proxy = ""},
      {.name = "no_proxy: the names under a domain",
       .variables = {{"http_proxy", "p:1"}, {"no_proxy", "a.test, .example.com"}},
       .proxy = ""},
      {.name = "no_proxy: a domain, any case",
       .variables = {{"http_proxy", "p:1"}, {"NO_PROXY", "*.EXAMPLE.com"}},
       .proxy = ""},
      {.name = "no_proxy: not a name that only ends alike",
       .variables = {{"http_proxy", "p:1"}, {"no_proxy", "example.com"}},
       .host = "hexample.com"},
      {.name = "no_proxy: an address",
       .variables = {{"http_proxy", "p:1"}, {"no_proxy", "[::1],10.0.0.1"}},
       .host = "::1",
       .proxy = ""},
      {.name = "no_proxy: no address by its end",
       .variables = {{"http_proxy", "p:1"}, {"no_proxy", "0.0.1"}},
       .host = "10.0.0.1"},
      {.name = "no_proxy: every host", .variables = {{"http_proxy", "p:1"}, {"no_proxy", "*"}}, .proxy = ""},
      {.name = "the system's when no variable is set", .system = {.http = "http://p:1", .noProxy = "other"}},
      {.name = "no variable of the system's beside one of the environment",
       .variables = {{"no_proxy", "other"}},
       .proxy = "",
       .system = {.http = "http://p:1"}},
  };
  for (const Row& row : rows) {
    const ScopedProxySource source(
        [&row](const String& name) { return row.variables.contains(name) ? row.variables.at(name) : ""; },
        [&row] { return row.system; });
    const ProxyServer proxy = ProxyFor(row.scheme, row.host);
    String found = proxy.host == "" ? "" : proxy.host + " " + Str(proxy.port);
    if (proxy.user != "") found += " " + proxy.user + " " + proxy.password;
    EXPECT_EQ(found, row.proxy) << row.name;
  }
}

}  // namespace
}  // namespace velmaris
