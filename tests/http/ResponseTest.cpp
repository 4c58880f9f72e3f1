// From the bytes of a response to a finished page, over loopback with the
// response cut at random places, and in memory where the deliveries must be
// cut exactly.
#include <gtest/gtest.h>

#include "HTTPEvents.h"
#include "base/Exceptions.h"
#include "support/InMemoryHTTPSocket.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

using testing::HTTPEvents;
using testing::InMemoryHTTPSocket;
using testing::TestServer;
using testing::WaitUntil;

std::mt19937 Seeded(unsigned* seed) {
  *seed = std::random_device{}();
  return std::mt19937(*seed);
}

// Every way a page ends, each response cut at random places.
TEST(ResponseTest, WaysAPageEnds) {
  enum class End { Close, Reset, Stall };
  struct Row {
    const char* name;
    std::string response;
    End end = End::Close;
    std::string method = "GET";
    std::vector<std::string> log;
    std::string content = {};
    bool noHeaders = false;
  };
  const std::string kLongHeader = [] {
    std::string block = "HTTP/1.0 200 OK\r\n";
    while (block.size() < 3 * HTTPSocket::kHeaderLimit / 2) block += "X-Filler: 0123456789\r\n";
    return block;
  }();
  const Row rows[] = {
      {.name = "length reached with bytes behind",
       .response = "HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nhelloEXTRA",
       .end = End::Stall,
       .log = {"Connected", "HeadersReceived 200", "ReceiveProgress", "PageReceived 200"},
       .content = "hello"},
      {.name = "close without length",
       .response = "HTTP/1.0 200 OK\r\nServer: test\r\n\r\nall of it\r\n\r\nand more",
       .log = {"Connected", "HeadersReceived 200", "ReceiveProgress", "PageReceived 200"},
       .content = "all of it\r\n\r\nand more"},
      {.name = "Content-length 0 ends at the close",
       .response = "HTTP/1.0 204 No Content\r\nContent-length: 0\r\n\r\n",
       .log = {"Connected", "HeadersReceived 204", "ReceiveProgress", "PageReceived 204"}},
      {.name = "cut short by a reset",
       .response = "HTTP/1.0 200 OK\r\nContent-Length: 100\r\n\r\nshort",
       .end = End::Reset,
       .log = {"Connected", "HeadersReceived 200", "ReceiveProgress", "PageReceived 200"},
       .content = "short"},
      {.name = "401 without an answer",
       .response =
           "HTTP/1.0 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"r\"\r\nContent-Length: 6\r\n\r\ndenied",
       .end = End::Stall,
       .log = {"Connected", "AuthenticationRequired r", "HeadersReceived 401", "ReceiveProgress", "PageReceived 401"},
       .content = "denied"},
      {.name = "407 without an answer",
       .response = "HTTP/1.0 407 Proxy\r\nProxy-Authenticate: Digest realm=\"p\", nonce=\"n\"\r\n\r\nno proxy",
       .log = {"Connected", "ProxyAuthenticationRequired p", "HeadersReceived 407", "ReceiveProgress",
               "PageReceived 407"},
       .content = "no proxy"},
      {.name = "HEAD: the headers and nothing after",
       .response = "HTTP/1.0 200 OK\r\nContent-Length: 10\r\n\r\n",
       .method = "HEAD",
       .log = {"Connected", "HeadersReceived 200"}},
      {.name = "no header end before the close",
       .response = "HTTP/1.0 200 OK\r\nX: y\r\n",
       .log = {"Connected", "ReceiveProgress", "PageReceived 0"},
       .content = "HTTP/1.0 200 OK\r\nX: y\r\n",
       .noHeaders = true},
      {.name = "nothing before the close", .response = "", .log = {"Connected", "PageReceived 0"}, .noHeaders = true},
      {.name = "no status in the status line",
       .response = "garbage\n\nbody",
       .log = {"Connected", "HeadersReceived 0", "ReceiveProgress", "PageReceived 0"},
       .content = "body"},
      {.name = "a header block past the limit",
       .response = kLongHeader,
       .end = End::Stall,
       .log = {"Connected", "ReceiveProgress", "PageReceived 0"},
       .content = kLongHeader.substr(0, HTTPSocket::kHeaderLimit),
       .noHeaders = true},
  };
  unsigned seed = 0;
  std::mt19937 random = Seeded(&seed);
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.name) + ", seed " + std::to_string(seed));
    TestServer server;
    TestServer::Script script{TestServer::ReadRequest()};
    const bool split = row.response.size() < 4096;
    for (TestServer::Step& step :
         TestServer::SendPieces(split ? testing::RandomPieces(row.response, random) : std::vector{row.response})) {
      script.push_back(std::move(step));
    }
    if (row.end == End::Close) script.push_back(TestServer::Close());
    if (row.end == End::Reset) script.insert(script.end(), {TestServer::Pause(100), TestServer::Reset()});
    server.Serve({script});
    HTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    socket.SendRequest(row.method, server.Url("/page"));
    if (row.method == "HEAD") {
      ASSERT_TRUE(WaitUntil([&] { return !events.log.empty() && events.log.back() == "HeadersReceived 200"; }));
      WaitUntil([] { return false; }, 100);
    } else {
      ASSERT_TRUE(WaitUntil([&] { return events.completions > 0; }));
      WaitUntil([] { return false; }, 50);
    }
    std::vector<std::string> expected = row.log;
    if (row.method != "HEAD") expected.back() += " " + server.Url("/page");
    EXPECT_EQ(events.log, expected);
    EXPECT_TRUE(events.content == row.content) << events.content.size() << " bytes: " << events.content.substr(0, 80);
    EXPECT_EQ(events.headers.IsNil(), row.noHeaders);
    EXPECT_EQ(socket.ErrorCode(), 0);
  }
}

// A header block complete only once its empty line is in, wherever the
// deliveries cut it, with any of the three line ends.
TEST(ResponseTest, HeadersSplitAtEveryPositionWithEveryLineEnd) {
  struct Row {
    const char* name;
    std::string head;  // up to and with the empty line
  };
  const Row rows[] = {
      {.name = "CR LF", .head = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nX-Folded: a\r\n b\r\n\r\n"},
      {.name = "bare LF", .head = "HTTP/1.0 200 OK\nContent-Type: text/plain\nX-Folded: a\n b\n\n"},
      {.name = "bare CR", .head = "HTTP/1.0 200 OK\rContent-Type: text/plain\rX-Folded: a\r b\r\r"},
      {.name = "CR LF lines, LF LF at the end",
       .head = "HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\nX-Folded: a\r\n b\n\n"},
  };
  // No empty line in the body: the first one in the buffer ends the block.
  const std::string body = "body\r\nline";
  for (const Row& row : rows) {
    const std::string response = row.head + body;
    for (size_t cut = 0; cut <= response.size(); ++cut) {
      SCOPED_TRACE(std::string(row.name) + ", cut at " + std::to_string(cut));
      InMemoryHTTPSocket socket;
      HTTPEvents events;
      events.Attach(socket);
      socket.Get("http://h/");
      socket.Accept();
      socket.Deliver(response.substr(0, cut));
      EXPECT_EQ(events.log.size() > 1, cut >= row.head.size()) << "headers only with the empty line";
      socket.Deliver(response.substr(cut));
      socket.End();
      const std::vector<std::string> expected{"Connected", "HeadersReceived 200", "ReceiveProgress",
                                              "PageReceived 200 http://h/"};
      ASSERT_EQ(events.log, expected);
      EXPECT_EQ(events.content, body);
      EXPECT_EQ(events.headers->Value("content-type"), "text/plain");
      EXPECT_EQ(events.headers->Value("X-Folded"), "a b");
    }
    InMemoryHTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    socket.Get("http://h/");
    socket.Accept();
    for (const char c : response) socket.Deliver(std::string(1, c));
    socket.End();
    EXPECT_EQ(events.content, body) << row.name << ", one byte at a time";
  }
}

TEST(ResponseTest, ReceiveProgressArguments) {
  struct Row {
    const char* name;
    std::string head;
    std::vector<std::string> progress;
  };
  const Row rows[] = {
      {.name = "no length", .head = "HTTP/1.0 200 OK\r\n\r\n", .progress = {"0/0", "3/0", "5/0", "9/0"}},
      {.name = "with length",
       .head = "HTTP/1.0 200 OK\r\nContent-Length: 9\r\n\r\n",
       .progress = {"0/9", "3/9", "5/9", "9/9"}},
  };
  for (const Row& row : rows) {
    InMemoryHTTPSocket socket;
    HTTPEvents events;
    events.Attach(socket);
    socket.Get("http://h/");
    socket.Accept();
    // The header block alone first: its run passes an empty block on.
    for (const std::string& delivery : {row.head, std::string("abc"), std::string("de"), std::string("fghi")}) {
      socket.Deliver(delivery);
    }
    socket.End();
    EXPECT_EQ(events.progress, row.progress) << row.name;
    EXPECT_EQ(events.progressData, "abcdefghi") << row.name;
    EXPECT_EQ(events.completions, 1) << row.name;
  }
}

// A handler that runs an event loop swallows the DataAvailable and the end
// that come meanwhile; the page ends all the same, whole.
TEST(ResponseTest, EventsSwallowedByANestedEventLoopAreTakenUpLater) {
  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("HTTP/1.0 200 OK\r\n\r\nfirst "), TestServer::Pause(50),
                 TestServer::Send("second"), TestServer::Close()}});
  HTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  const auto record = socket.ReceiveProgress;
  bool nested = false;
  socket.ReceiveProgress = [&](HTTPSocket& sender, int64_t received, int64_t total, const String& data) {
    record(sender, received, total, data);
    if (nested || data == "") return;
    nested = true;
    WaitUntil([] { return false; }, 300);
  };
  socket.Get(server.Url("/"));
  ASSERT_TRUE(WaitUntil([&] { return events.completions > 0; }));
  EXPECT_TRUE(nested);
  EXPECT_EQ(events.content, "first second");
}

// The re-entrance guard is down again after a handler's exception.
TEST(ResponseTest, AnExceptionInAHandlerLeavesTheClientWorking) {
  InMemoryHTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  socket.HeadersReceived = [](HTTPSocket&, const Ref<InternetHeaders>&, int64_t) {
    throw RuntimeException("handler failed");
  };
  socket.Get("http://h/");
  socket.Accept();
  EXPECT_THROW(socket.Deliver("HTTP/1.0 200 OK\r\n\r\n"), RuntimeException);
  socket.Deliver("more");
  socket.End();
  EXPECT_EQ(events.completions, 1);
  EXPECT_EQ(events.content.substr(events.content.size() - 4), "more");
}

// The flag of a page that ended at its length doesn't hide a failed connect.
TEST(ResponseTest, AFailedConnectAfterAPageIsAnError) {
  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nok")}});
  HTTPSocket socket;
  HTTPEvents events;
  events.Attach(socket);
  socket.Get(server.Url("/"));
  ASSERT_TRUE(WaitUntil([&] { return events.completions == 1; }));
  socket.Get("http://127.0.0.1:" + std::to_string(TestServer::RefusingPort()) + "/");
  ASSERT_TRUE(WaitUntil([&] { return events.completions == 2; }));
  EXPECT_EQ(events.log.back(), "Error " + std::to_string(TCPSocket::kErrorBase));
  EXPECT_EQ(socket.ErrorCode(), TCPSocket::kErrorBase);
}

}  // namespace
}  // namespace velmaris
