// The blocking forms and their limit of inactivity.
#include "HTTPEvents.h"
#include "support/InMemoryHTTPSocket.h"
#include "support/VirtualClock.h"

namespace velmaris::testing {
namespace {

// Each form returns its result and raises none of the silenced events, but
// the owner is still asked to answer a challenge. A failure returns nothing,
// not the last page, and leaves the file empty; a file that can't be used
// fails at once, unconnected.
TEST(BlockingTest, EveryFormReturnsItsResultSilently) {
  QTemporaryDir folder;
  const std::string path = folder.filePath("page").toStdString();
  TestServer server;
  server.Serve({Answer("HTTP/1.0 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\n\r\n"),
                Answer("HTTP/1.0 200 OK\r\nContent-Length: 4\r\n\r\nbody"),
                Answer("HTTP/1.0 201 Created\r\n\r\nposted"), Answer("HTTP/1.0 200 OK\r\nX-Head: yes\r\n\r\n"),
                Answer("HTTP/1.0 404 Not Found\r\n\r\nmissing"),
                Answer("HTTP/1.0 200 OK\r\nContent-Length: 3\r\n\r\nput")});
  HTTPSocket socket;
  HTTPEvents events(socket);
  events.answer = [](String& name, String&) {
    name = "a";
    return true;
  };
  EXPECT_EQ(socket.Get(server.Url("/"), 0), "body");
  socket.SetRequestContent("form", "text/plain");
  EXPECT_EQ(socket.Post(server.Url("/"), 5), "posted");
  EXPECT_EQ(socket.HTTPStatusCode(), 201);
  EXPECT_EQ(socket.GetHeaders(server.Url("/"), 5)->Value("x-head"), "yes");
  EXPECT_TRUE(socket.Get(server.Url("/"), Item(path), 0)) << "a 404 is no error";
  EXPECT_EQ(ReadFile(path), "missing");
  EXPECT_EQ(socket.SendRequest("PUT", server.Url("/"), 5), "put");
  EXPECT_EQ(socket.ErrorCode(), 0);
  // The PUT's page ended at its length, its connection closed by the client:
  // the failure of the next connect is not taken for the end of that page.
  const std::string refused = "http://127.0.0.1:" + std::to_string(TestServer::RefusingPort()) + "/";
  EXPECT_EQ(socket.Get(refused, 0), "");
  EXPECT_EQ(socket.ErrorCode(), TCPSocket::kErrorBase);
  EXPECT_TRUE(socket.GetHeaders(refused, 0).IsNil());
  EXPECT_FALSE(socket.Get(refused, Item(path), 0));
  EXPECT_EQ(socket.ErrorCode(), TCPSocket::kErrorBase);
  EXPECT_EQ(ReadFile(path), "") << "emptied before the connect failed";
  EXPECT_FALSE(socket.Get(server.Url("/"), Item(folder.path().toStdString()), 0));
  EXPECT_EQ(socket.ErrorCode(), 1);
  std::vector<std::string> methods;
  for (const std::string& request : server.Received()) methods.push_back(request.substr(0, request.find(' ')));
  EXPECT_EQ(methods, (std::vector<std::string>{"GET", "GET", "POST", "HEAD", "GET", "PUT"}));
  EXPECT_EQ(events.log, std::vector<std::string>{"AuthenticationRequired r"});

  // Silent until an asynchronous form is called again.
  socket.SetError(5);
  socket.Get(server.Url("/"));
  ASSERT_TRUE(events.Await());
  EXPECT_EQ(events.log.at(1), "Connected");
}

// The limit (1 s, 60 ticks) runs anew with every growth of the page; a
// download doesn't grow the page, so there the whole transfer must fit in it.
TEST(BlockingTest, TheLimitIsOneOfInactivity) {
  QTemporaryDir folder;
  const std::string path = folder.filePath("slow").toStdString();
  struct Row {
    bool toFile;
    // The head at once, then a byte every 24 ticks (0.4 s), then the end; a
    // server that never answers sends nothing and never ends.
    int deliveries;
    std::string result;  // the page, or the download's result
    int64_t error;
  };
  for (const Row& row : {Row{false, 6, "xxxxx", 0}, Row{true, 6, "failed", -1}, Row{false, 0, "", -1}}) {
    VirtualTime time;
    InMemoryHTTPSocket socket;
    time.At(time.Now(), [&socket] { socket.Accept(); });
    for (int i = 0; i < row.deliveries; ++i) {
      time.At(time.Now() + 24 * i, [&socket, i] { socket.Deliver(i == 0 ? "HTTP/1.0 200 OK\r\n\r\n" : "x"); });
    }
    if (row.deliveries > 0) time.At(time.Now() + 24 * row.deliveries, [&socket] { socket.End(); });
    const std::string result =
        row.toFile ? (socket.Get("http://h/", Item(path), 1) ? "done" : "failed") : socket.Get("http://h/", 1);
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(socket.ErrorCode(), row.error);
  }
  EXPECT_EQ(ReadFile(path), "xx") << "the download when its limit ran out";
}

}  // namespace
}  // namespace velmaris::testing
