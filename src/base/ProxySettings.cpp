#include "base/ProxySettings.h"

#include <cstdlib>
#include <utility>

#ifdef __APPLE__
#include <CoreFoundation/CoreFoundation.h>
#include <SystemConfiguration/SystemConfiguration.h>
#endif

namespace velmaris {

namespace {

String EnvironmentVariable(const String& name) {
  const char* value = std::getenv(name.c_str());
  return value != nullptr ? value : "";
}

#ifdef __APPLE__
String TextOf(CFTypeRef value) {
  char buffer[1024];
  if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) return "";
  return CFStringGetCString(static_cast<CFStringRef>(value), buffer, sizeof buffer, kCFStringEncodingUTF8) ? buffer
                                                                                                           : "";
}

int64_t NumberOf(CFDictionaryRef settings, CFStringRef key) {
  const CFTypeRef value = CFDictionaryGetValue(settings, key);
  long long number = 0;
  if (value == nullptr || CFGetTypeID(value) != CFNumberGetTypeID()) return 0;
  return CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberLongLongType, &number) ? number : 0;
}

// One proxy of the network settings as a variable writes it; "" when it is off.
String ProxyOf(CFDictionaryRef settings, CFStringRef enable, CFStringRef host, CFStringRef port) {
  const String name = TextOf(CFDictionaryGetValue(settings, host));
  if (NumberOf(settings, enable) == 0 || name == "") return "";
  return "http://" + (name.find(':') != String::npos ? "[" + name + "]" : name) + ":" + Str(NumberOf(settings, port));
}

// The proxies of the system's network settings, written as the variables write them.
ProxyVariables SystemProxies() {
  ProxyVariables variables;
  const CFDictionaryRef settings = SCDynamicStoreCopyProxies(nullptr);
  if (settings == nullptr) return variables;
  variables.http =
      ProxyOf(settings, kSCPropNetProxiesHTTPEnable, kSCPropNetProxiesHTTPProxy, kSCPropNetProxiesHTTPPort);
  variables.https =
      ProxyOf(settings, kSCPropNetProxiesHTTPSEnable, kSCPropNetProxiesHTTPSProxy, kSCPropNetProxiesHTTPSPort);
  const CFTypeRef exceptions = CFDictionaryGetValue(settings, kSCPropNetProxiesExceptionsList);
  if (exceptions != nullptr && CFGetTypeID(exceptions) == CFArrayGetTypeID()) {
    const auto list = static_cast<CFArrayRef>(exceptions);
    for (CFIndex i = 0; i < CFArrayGetCount(list); ++i) {
      variables.noProxy += (i > 0 ? "," : "") + TextOf(CFArrayGetValueAtIndex(list, i));
    }
  }
  CFRelease(settings);
  return variables;
}
#else
ProxyVariables SystemProxies() { return {}; }
#endif

std::function<String(const String&)>& VariableSource() {
  static std::function<String(const String&)> source = EnvironmentVariable;
  return source;
}

std::function<ProxyVariables()>& SystemSource() {
  static std::function<ProxyVariables()> source = SystemProxies;
  return source;
}

// The lower-case name wins, as curl reads them.
String Variable(const String& lower, const String& upper) {
  const String value = VariableSource()(lower);
  return value != "" ? value : VariableSource()(upper);
}

// "%40" and the like in the user and the password.
String PercentDecoded(const String& text) {
  String decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[i + 1])) != 0 &&
        std::isxdigit(static_cast<unsigned char>(text[i + 2])) != 0) {
      decoded += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

// "http://[user:password@]host[:port]", the scheme optional; a port of 80 when none is written.
ProxyServer ParsedProxy(String text) {
  const size_t scheme = text.find("://");
  if (scheme != String::npos) {
    if (!TextEquals(text.substr(0, scheme), "http")) return {};
    text = text.substr(scheme + 3);
  }
  text = text.substr(0, text.find('/'));
  ProxyServer proxy;
  const size_t at = text.rfind('@');
  if (at != String::npos) {
    const String credentials = text.substr(0, at);
    const size_t colon = credentials.find(':');
    proxy.user = PercentDecoded(credentials.substr(0, colon));
    proxy.password = colon == String::npos ? "" : PercentDecoded(credentials.substr(colon + 1));
    text = text.substr(at + 1);
  }
  const size_t close = text.starts_with('[') ? text.find(']') : String::npos;
  const size_t colon = close != String::npos ? text.find(':', close) : text.rfind(':');
  proxy.host = close != String::npos ? text.substr(1, close - 1) : text.substr(0, colon);
  proxy.port = colon == String::npos ? 80 : ToInteger(Val(text.substr(colon + 1)));
  if (proxy.host == "") return {};
  return proxy;
}

bool IsAddress(const String& host) {
  return host.find(':') != String::npos || host.find_first_not_of("0123456789.") == String::npos;
}

// no_proxy: names, each also standing for the names under it (".example.com"
// and "*.example.com" as "example.com"), addresses, or "*" for every host.
bool Bypassed(const String& noProxy, const String& host) {
  for (String entry : Split(noProxy, ",")) {
    entry = Trim(entry);
    if (entry == "*") return true;
    if (entry.starts_with('[') && entry.ends_with(']')) entry = entry.substr(1, entry.size() - 2);
    while (entry.starts_with('*') || entry.starts_with('.')) entry = entry.substr(1);
    if (entry == "") continue;
    if (TextEquals(host, entry)) return true;
    const size_t start = host.size() - entry.size();
    if (!IsAddress(host) && host.size() > entry.size() && host[start - 1] == '.' &&
        TextEquals(host.substr(start), entry)) {
      return true;
    }
  }
  return false;
}

}  // namespace

ProxyServer ProxyFor(const String& scheme, const String& host) {
  ProxyVariables settings = {.http = Variable("http_proxy", "HTTP_PROXY"),
                             .https = Variable("https_proxy", "HTTPS_PROXY"),
                             .noProxy = Variable("no_proxy", "NO_PROXY")};
  if (settings.http == "" && settings.https == "" && settings.noProxy == "") settings = SystemSource()();
  const String& proxy = TextEquals(scheme, "https") ? settings.https : settings.http;
  if (proxy == "" || Bypassed(settings.noProxy, host)) return {};
  return ParsedProxy(proxy);
}

ScopedProxySource::ScopedProxySource(std::function<String(const String& name)> variable,
                                     std::function<ProxyVariables()> system)
    : mPreviousVariable(std::exchange(VariableSource(), std::move(variable))),
      mPreviousSystem(std::exchange(SystemSource(), std::move(system))) {}

ScopedProxySource::~ScopedProxySource() {
  VariableSource() = std::move(mPreviousVariable);
  SystemSource() = std::move(mPreviousSystem);
}

}  // namespace velmaris
