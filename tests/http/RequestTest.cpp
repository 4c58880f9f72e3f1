// The request as it goes out on the wire, its body encoded.
#include "HTTPEvents.h"

namespace velmaris::testing {
namespace {

TEST(RequestTest, BytesOnTheWire) {
  TestServer server;
  server.Serve({Answer("HTTP/1.0 200 OK\r\n\r\n")});
  const std::string origin = server.Url("");
  const std::string host = "Host: " + origin.substr(7) + "\r\n";
  const std::string head = "Accept: */*\r\nAccept-Language: en\r\n" + host;
  struct Row {
    const char* name;
    std::function<void(HTTPSocket&)> prepare = [](HTTPSocket&) {};
    std::vector<std::pair<std::string, std::string>> requests;  // method and URL
    std::vector<std::string> expected;
    std::vector<std::string> answers = {"HTTP/1.0 200 OK\r\n\r\n"};  // of each connection, the last again
    int64_t error = 0;
  };
  const auto follow = [](HTTPSocket& socket) { socket.FollowRedirects = true; };
  const Row rows[] = {
      {.name = "the path as it stands, \"/\" when there is none, with or without a scheme",
       .requests = {{"GET", origin + "/a/b?c=1#f"}, {"GET", origin}, {"GET", origin.substr(7) + "/x"}},
       .expected = {"GET /a/b?c=1#f HTTP/1.0\r\n" + head + "\r\n", "GET / HTTP/1.0\r\n" + head + "\r\n",
                    "GET /x HTTP/1.0\r\n" + head + "\r\n"}},
      {.name = "form post, escaped",
       .prepare =
           [](HTTPSocket& socket) {
             auto form = New<Dictionary>();
             form->SetValue("a b", "c&d");
             form->SetValue("e", "%&=,/\\][{}`~-_()*^$#!+;<>\r\n Az09.:?@'\"|\xC3\xA9");
             socket.SetFormData(form);
           },
       .requests = {{"POST", origin}},
       .expected =
           {"POST / HTTP/1.0\r\n" + head +
            "Content-type: application/x-www-form-urlencoded\r\nContent-length: 107\r\n\r\na+b=c%26d&e=%25%26%3D"
            "%2C%2F%5C%5D%5B%7B%7D%60%7E%2D%5F%28%29%2A%5E%24%23%21%2B%3B%3C%3E%0D%0A+Az09.:?@'\"|\xC3\xA9"}},
      {.name = "a type of blanks isn't sent",
       .prepare = [](HTTPSocket& socket) { socket.SetRequestContent("xy", "   "); },
       .requests = {{"PUT", origin}},
       .expected = {"PUT / HTTP/1.0\r\n" + head + "Content-length: 2\r\n\r\nxy"}},
      {.name = "HEAD drops the body for good; Content-type outlives the request, Content-length doesn't",
       .prepare = [](HTTPSocket& socket) { socket.SetRequestContent("xy", "text/plain"); },
       .requests = {{"POST", origin}, {"head", origin}, {"POST", origin}},
       .expected = {"POST / HTTP/1.0\r\n" + head + "Content-type: text/plain\r\nContent-length: 2\r\n\r\nxy",
                    "head / HTTP/1.0\r\n" + head + "Content-type: text/plain\r\n\r\n",
                    "POST / HTTP/1.0\r\n" + head + "Content-type: text/plain\r\n\r\n"}},
      {.name = "proxy: absolute target, Host of the origin with its port, an IPv6 literal's brackets kept",
       .prepare =
           [&server](HTTPSocket& socket) {
             socket.HTTPProxyAddress = "127.0.0.1";
             socket.HTTPProxyPort = server.Port();
           },
       .requests = {{"GET", "http://origin.example:8080/a?b=1"}, {"GET", "http://[::1]:8080/c"}},
       .expected =
           {"GET http://origin.example:8080/a?b=1 HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\n"
            "Host: origin.example:8080\r\n\r\n",
            "GET http://[::1]:8080/c HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\nHost: [::1]:8080\r\n\r\n"}},
      {.name = "own headers; an empty value removes one",
       .prepare =
           [](HTTPSocket& socket) {
             socket.SetRequestHeader("X-Trace", "1");
             socket.SetRequestHeader("accept-language", "");
           },
       .requests = {{"GET", origin}},
       .expected = {"GET / HTTP/1.0\r\nAccept: */*\r\nX-Trace: 1\r\n" + host + "\r\n"}},
      {.name = "a 3xx is the page unless redirects are followed",
       .requests = {{"GET", origin + "/a"}},
       .expected = {"GET /a HTTP/1.0\r\n" + head + "\r\n"},
       .answers = {"HTTP/1.0 301 Moved\r\nLocation: /b\r\n\r\n"}},
      {.name = "relative Locations; 307 keeps the method and the body, 303 makes a GET without them",
       .prepare =
           [&follow](HTTPSocket& socket) {
             follow(socket);
             socket.SetRequestContent("xy", "text/plain");
           },
       .requests = {{"POST", origin + "/a/b"}},
       .expected = {"POST /a/b HTTP/1.0\r\n" + head + "Content-type: text/plain\r\nContent-length: 2\r\n\r\nxy",
                    "POST /a/d?e HTTP/1.0\r\n" + head + "Content-type: text/plain\r\nContent-length: 2\r\n\r\nxy",
                    "GET /f HTTP/1.0\r\n" + head + "\r\n"},
       .answers = {"HTTP/1.0 307 T\r\nLocation: c/../d?e#g\r\n\r\n",
                   "HTTP/1.0 303 S\r\nLocation: //" + origin.substr(7) + "/f\r\n\r\n", "HTTP/1.0 200 OK\r\n\r\n"}},
      {.name = "a Location of another scheme is the page",
       .prepare = follow,
       .requests = {{"GET", origin + "/a"}},
       .expected = {"GET /a HTTP/1.0\r\n" + head + "\r\n"},
       .answers = {"HTTP/1.0 301 Moved\r\nLocation: ftp://" + origin.substr(7) + "/b\r\n\r\n"}},
      {.name = "a Location already visited is a loop",
       .prepare = follow,
       .requests = {{"GET", origin + "/x"}},
       .expected = {"GET /x HTTP/1.0\r\n" + head + "\r\n", "GET /a?b HTTP/1.0\r\n" + head + "\r\n"},
       .answers = {"HTTP/1.0 302 Found\r\nLocation: /a?b\r\n\r\n"},
       .error = HTTPSocket::kRedirectLoop},
      {.name = "ten redirects are followed, not eleven",
       .prepare = follow,
       .requests = {{"GET", origin + "/"}},
       .expected =
           [&head] {
             std::vector<std::string> hops;
             for (std::string path = "/"; hops.size() < 11; path += "x/")
               hops.push_back("GET " + path + " HTTP/1.0\r\n" + head + "\r\n");
             return hops;
           }(),
       .answers = {"HTTP/1.0 308 P\r\nLocation: x/\r\n\r\n"},
       .error = HTTPSocket::kTooManyRedirects},
  };
  for (const Row& row : rows) {
    std::vector<TestServer::Script> scripts;
    for (const std::string& answer : row.answers) scripts.push_back(Answer(answer));
    server.Serve(scripts);
    HTTPSocket socket;
    row.prepare(socket);
    const size_t first = server.Received().size();
    for (const auto& [method, url] : row.requests) socket.SendRequest(method, url, 5);
    const std::vector<std::string> received = server.Received();
    EXPECT_EQ(std::vector(received.begin() + static_cast<std::ptrdiff_t>(first), received.end()), row.expected)
        << row.name;
    EXPECT_EQ(socket.ErrorCode(), row.error) << row.name;
  }
}

}  // namespace
}  // namespace velmaris::testing
