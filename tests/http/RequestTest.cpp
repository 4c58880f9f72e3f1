// The request as it goes out on the wire.
#include <gtest/gtest.h>

#include "HTTPEvents.h"
#include "http/HTTPSocket.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

using testing::HTTPEvents;
using testing::TestServer;
using testing::WaitUntil;

using Request = std::function<void(HTTPSocket&, const std::string& origin)>;

TEST(RequestTest, BytesOnTheWire) {
  struct Row {
    const char* name;
    std::function<void(HTTPSocket&, const std::string& port)> prepare = {};
    std::vector<Request> requests;
    // "{host}" stands for 127.0.0.1 and the server's port.
    std::vector<std::string> expected;
  };
  const std::string kHead = "Accept: */*\r\nAccept-Language: en\r\nHost: {host}\r\n";
  const auto get = [](const std::string& path) {
    return [path](HTTPSocket& socket, const std::string& origin) { socket.Get(origin + path); };
  };
  const auto form = [] {
    auto fields = New<Dictionary>();
    fields->SetValue("a b", "c&d");
    return fields;
  };
  const Row rows[] = {
      {.name = "path with query and fragment",
       .requests = {get("/a/b?c=1#f")},
       .expected = {"GET /a/b?c=1#f HTTP/1.0\r\n" + kHead + "\r\n"}},
      {.name = "no path", .requests = {get("")}, .expected = {"GET / HTTP/1.0\r\n" + kHead + "\r\n"}},
      {.name = "no scheme",
       .requests = {[](HTTPSocket& socket, const std::string& origin) { socket.Get(origin.substr(7) + "/x"); }},
       .expected = {"GET /x HTTP/1.0\r\n" + kHead + "\r\n"}},
      {.name = "form post",
       .prepare = [&form](HTTPSocket& socket, const std::string&) { socket.SetFormData(form()); },
       .requests = {[](HTTPSocket& socket, const std::string& origin) { socket.Post(origin + "/f"); }},
       .expected = {"POST /f HTTP/1.0\r\n" + kHead +
                    "Content-type: application/x-www-form-urlencoded\r\nContent-length: 9\r\n\r\na+b=c%26d"}},
      {.name = "nil form removes the body",
       .prepare =
           [](HTTPSocket& socket, const std::string&) {
             socket.SetRequestContent("x", "text/plain");
             socket.SetFormData(nullptr);
           },
       .requests = {[](HTTPSocket& socket, const std::string& origin) { socket.Post(origin + "/"); }},
       .expected = {"POST / HTTP/1.0\r\n" + kHead + "\r\n"}},
      {.name = "a type of blanks is not sent",
       .prepare = [](HTTPSocket& socket, const std::string&) { socket.SetRequestContent("\xC3\xA9", "   "); },
       .requests = {[](HTTPSocket& socket, const std::string& origin) { socket.SendRequest("PUT", origin + "/"); }},
       .expected = {"PUT / HTTP/1.0\r\n" + kHead + "Content-length: 2\r\n\r\n\xC3\xA9"}},
      {.name = "HEAD drops the body, for later requests too",
       .prepare = [](HTTPSocket& socket, const std::string&) { socket.SetRequestContent("x", "text/plain"); },
       .requests = {[](HTTPSocket& socket, const std::string& origin) { socket.SendRequest("head", origin + "/"); },
                    [](HTTPSocket& socket, const std::string& origin) { socket.Post(origin + "/"); }},
       .expected = {"head / HTTP/1.0\r\n" + kHead + "\r\n", "POST / HTTP/1.0\r\n" + kHead + "\r\n"}},
      {.name = "Content-type outlives the request, Content-length doesn't",
       .prepare = [](HTTPSocket& socket, const std::string&) { socket.SetRequestContent("xy", "text/plain"); },
       .requests = {[](HTTPSocket& socket, const std::string& origin) { socket.Post(origin + "/"); },
                    [](HTTPSocket& socket, const std::string& origin) {
                      socket.SetRequestContent("", "");
                      socket.Post(origin + "/");
                    }},
       .expected = {"POST / HTTP/1.0\r\n" + kHead + "Content-type: text/plain\r\nContent-length: 2\r\n\r\nxy",
                    "POST / HTTP/1.0\r\n" + kHead + "Content-type: text/plain\r\n\r\n"}},
      {.name = "proxy: absolute target, Host of the origin with its port",
       .prepare =
           [](HTTPSocket& socket, const std::string& port) {
             socket.HTTPProxyAddress = "127.0.0.1";
             socket.HTTPProxyPort = std::stoi(port);
           },
       .requests = {[](HTTPSocket& socket, const std::string&) { socket.Get("http://origin.example:8080/a?b=1"); }},
       .expected = {"GET http://origin.example:8080/a?b=1 HTTP/1.0\r\nAccept: */*\r\nAccept-Language: en\r\nHost: "
                    "origin.example:8080\r\n\r\n"}},
      {.name = "own headers; an empty value removes one",
       .prepare =
           [](HTTPSocket& socket, const std::string&) {
             socket.SetRequestHeader("X-Trace", "1");
             socket.SetRequestHeader("accept-language", "");
           },
       .requests = {get("/")},
       .expected = {"GET / HTTP/1.0\r\nAccept: */*\r\nX-Trace: 1\r\nHost: {host}\r\n\r\n"}},
      {.name = "no headers but Host after ClearRequestHeaders",
       .prepare = [](HTTPSocket& socket, const std::string&) { socket.ClearRequestHeaders(); },
       .requests = {get("/")},
       .expected = {"GET / HTTP/1.0\r\nHost: {host}\r\n\r\n"}},
  };

  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("HTTP/1.0 200 OK\r\n\r\n"), TestServer::Close()}});
  const std::string port = std::to_string(server.Port());
  for (const Row& row : rows) {
    HTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    if (row.prepare) row.prepare(socket, port);
    const size_t first = server.Received().size();
    for (const Request& request : row.requests) {
      const int before = events.completions;
      const size_t logged = events.log.size();
      request(socket, "http://127.0.0.1:" + port);
      // A HEAD raises no completion; the server's close ends it.
      ASSERT_TRUE(WaitUntil([&] {
        return events.completions > before ||
               (events.log.size() > logged && events.log.back() == "HeadersReceived 200" && !socket.IsConnected());
      })) << row.name;
    }
    ASSERT_TRUE(WaitUntil([&] { return server.Received().size() == first + row.requests.size(); })) << row.name;
    const std::vector<std::string> received = server.Received();
    for (size_t i = 0; i < row.expected.size(); ++i) {
      const std::string expected = ReplaceAll(row.expected[i], "{host}", "127.0.0.1:" + port);
      EXPECT_EQ(received[first + i], expected) << row.name << ", request " << i + 1;
    }
  }
}

TEST(RequestTest, AddressAndPortFromTheURL) {
  struct Row {
    std::string url;
    int64_t portBefore;
    std::string address;
    int64_t port;
  };
  const Row rows[] = {
      {.url = "http://host", .portBefore = 0, .address = "host", .port = 80},
      {.url = "host/x", .portBefore = 0, .address = "host", .port = 80},
      {.url = "http://host:8080/a", .portBefore = 0, .address = "host", .port = 8080},
      {.url = "http://host:0/", .portBefore = 0, .address = "host", .port = 80},
      // A port left by an earlier URL stays in force.
      {.url = "http://host/", .portBefore = 8080, .address = "host", .port = 8080},
      {.url = "https://user@host:99999", .portBefore = 0, .address = "user@host", .port = 99999},
  };
  for (const Row& row : rows) {
    HTTPSocket socket;
    socket.Port = row.portBefore;
    socket._ParseURL(row.url);
    EXPECT_EQ(socket.Address, row.address) << row.url;
    EXPECT_EQ(socket.Port, row.port) << row.url;
  }
}

// Only the second of two requests in a row is heard of.
TEST(RequestTest, ASecondRequestDropsTheFirstSilently) {
  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("HTTP/1.0 200 OK\r\n\r\n"), TestServer::Close()}});
  HTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  socket.Get(server.Url("/first"));
  socket.Get(server.Url("/second"));
  ASSERT_TRUE(WaitUntil([&] { return events.completions == 1; }));
  WaitUntil([] { return false; }, 300);
  const std::vector<std::string> expected{"Connected", "HeadersReceived 200", "ReceiveProgress",
                                          "PageReceived 200 " + server.Url("/second")};
  EXPECT_EQ(events.log, expected);
}

}  // namespace
}  // namespace velmaris
