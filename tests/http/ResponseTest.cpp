// From the bytes of a response to a finished page or file. In memory, where
// the deliveries are cut where the test says; over loopback where the
// socket's own events meet a handler's event loop.
#include "HTTPEvents.h"
#include "base/Exceptions.h"
#include "support/InMemoryHTTPSocket.h"
#include "support/VirtualClock.h"

namespace velmaris::testing {
namespace {

// The bytes cut at random places into deliveries, mostly short ones, so that
// line ends and the empty line get cut too.
std::vector<std::string> RandomPieces(const std::string& bytes, std::mt19937& random) {
  std::vector<std::string> pieces;
  for (size_t from = 0; from < bytes.size(); from += pieces.back().size()) {
    const size_t most = std::min<size_t>(bytes.size() - from, random() % 4 == 0 ? 4096 : 16);
    pieces.push_back(bytes.substr(from, std::uniform_int_distribution<size_t>(1, most)(random)));
  }
  return pieces;
}

// Every way a page ends, with every line end, wherever the deliveries cut the
// response, into memory and into a file that held other bytes. A 407 meets
// no handler, a 401 one that refuses.
TEST(ResponseTest, WaysAPageEnds) {
  struct Row {
    const char* name;
    std::string response;
    bool stall = false;  // the peer doesn't close after the response
    std::string method = "GET";
    // The completion is named PageReceived; into a file it is DownloadComplete.
    std::vector<std::string> log = {"Connected", "HeadersReceived 200", "ReceiveProgress", "PageReceived 200"};
    std::string content = {};
  };
  const Row rows[] = {
      {.name = "length reached, bytes behind",
       .response = "HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nhelloEXTRA",
       .stall = true,
       .content = "hello"},
      {.name = "close without length",
       .response = "HTTP/1.0 200 OK\r\n\r\nall of it\r\n\r\nand more",
       .content = "all of it\r\n\r\nand more"},
      {.name = "bare LF", .response = "HTTP/1.0 200 OK\nServer: x\n\nbody\r\nline", .content = "body\r\nline"},
      {.name = "bare CR", .response = "HTTP/1.0 200 OK\rServer: x\r\rbody\r\nline", .content = "body\r\nline"},
      {.name = "CR LF lines, LF LF at the end",
       .response = "HTTP/1.0 200 OK\r\nServer: x\n\nbody\r\nline",
       .content = "body\r\nline"},
      {.name = "Content-length 0 counts as none",
       .response = "HTTP/1.0 200 OK\r\nContent-length: 0\r\n\r\nodd",
       .content = "odd"},
      {.name = "401 refused",
       .response = "HTTP/1.0 401 No\r\nWWW-Authenticate: Basic realm=\"r\"\r\nContent-Length: 6\r\n\r\ndenied",
       .stall = true,
       .log = {"Connected", "AuthenticationRequired r", "HeadersReceived 401", "ReceiveProgress", "PageReceived 401"},
       .content = "denied"},
      {.name = "407 without handler, closed before its length",
       .response = "HTTP/1.0 407 No\r\nProxy-Authenticate: Basic realm=\"p\"\r\nContent-Length: 99\r\n\r\nno proxy",
       .log = {"Connected", "HeadersReceived 407", "ReceiveProgress", "PageReceived 407"},
       .content = "no proxy"},
      {.name = "HEAD",
       .response = "HTTP/1.0 200 OK\r\nContent-Length: 10\r\n\r\n",
       .method = "HEAD",
       .log = {"Connected", "HeadersReceived 200"}},
      {.name = "no header end before the close",
       .response = "HTTP/1.0 200 OK\r\nX: y\r\n",
       .log = {"Connected", "ReceiveProgress", "PageReceived 0"},
       .content = "HTTP/1.0 200 OK\r\nX: y\r\n"},
  };
  const unsigned seed = std::random_device{}();
  std::mt19937 random(seed);
  QTemporaryDir folder;
  const std::string path = folder.filePath("page").toStdString();
  for (const Row& row : rows) {
    // Cut at random places, into memory and into a file, then in two at every place into memory only: files
    // are slow to empty.
    std::vector<std::vector<std::string>> splits{RandomPieces(row.response, random),
                                                 RandomPieces(row.response, random)};
    for (size_t cut = 0; cut <= row.response.size(); ++cut) {
      splits.push_back({row.response.substr(0, cut), row.response.substr(cut)});
    }
    for (size_t split = 0; split < splits.size(); ++split) {
      const bool toFile = split == 0;
      SCOPED_TRACE(std::string(row.name) + ", split " + std::to_string(split) + ", seed " + std::to_string(seed));
      WriteFile(path, "bytes of an earlier download");
      InMemoryHTTPSocket socket;
      HTTPEvents events(socket);
      socket.ProxyAuthenticationRequired = nullptr;
      socket.SendRequest(row.method, "http://h/", toFile ? Item(path) : nullptr);
      socket.Accept();
      for (const std::string& piece : splits[split]) socket.Deliver(piece);
      if (!row.stall) socket.End();
      std::vector<std::string> expected = row.log;
      if (row.method != "HEAD") {
        expected.back() = (toFile ? "DownloadComplete" : "PageReceived") + expected.back().substr(12) + " http://h/";
      }
      ASSERT_EQ(events.log, expected);
      ASSERT_EQ(toFile ? ReadFile(path) : events.content, row.content);
      EXPECT_EQ(events.headers.IsNil(),
                std::ranges::none_of(row.log, [](auto& e) { return e.starts_with("Headers"); }));
      EXPECT_EQ(socket.ErrorCode(), 0);
    }
  }
}

// A resumed download keeps the file's first bytes only when the answer
// continues them: a 206 from the offset to the end. Anything else starts the
// file over.
TEST(ResponseTest, AResumedDownloadAppendsOnlyWhatContinuesTheFile) {
  QTemporaryDir folder;
  const std::string path = folder.filePath("archive").toStdString();
  struct Row {
    const char* name;
    std::string response, file;
    bool resumed = false;
    std::string progress;  // the last one
  } rows[] = {
      {"206 from the offset", "206 Partial\r\nContent-Range: bytes 5-9/10\r\nContent-Length: 5\r\n\r\n56789",
       "0123456789", true, "10/10"},
      {"200, the whole file again", "200 OK\r\nContent-Length: 10\r\n\r\nabcdefghij", "abcdefghij", false, "10/10"},
      {"206 from elsewhere", "206 Partial\r\nContent-Range: bytes 3-9/10\r\nContent-Length: 7\r\n\r\n3456789",
       "3456789", false, "7/7"},
      {"206 short of the end", "206 Partial\r\nContent-Range: bytes 5-8/10\r\nContent-Length: 4\r\n\r\n5678", "5678",
       false, "4/4"},
      {"416", "416 Range Not Satisfiable\r\nContent-Length: 2\r\n\r\nno", "no", false, "2/2"},
  };
  for (const Row& row : rows) {
    WriteFile(path, "01234stale");
    InMemoryHTTPSocket socket;
    HTTPEvents events(socket);
    socket.ResumeFrom = 5;
    socket.ResumeValidator = "\"v1\"";
    socket.Get("http://h/", Item(path));
    socket.Accept();
    socket.Deliver("HTTP/1.0 " + row.response);
    socket.End();
    EXPECT_EQ(ReadFile(path), row.file) << row.name;
    EXPECT_EQ(socket.Resumed(), row.resumed) << row.name;
    EXPECT_EQ(events.progress.back(), row.progress) << row.name;
  }
}

// The running total and the announced one, from the empty block that the
// header block's own delivery passes on. With a length, the handler throws at
// that first block: the re-entrance guard is down again after it, and the
// rest comes in as before.
TEST(ResponseTest, ReceiveProgressArguments) {
  for (const std::string total : {"0", "9"}) {
    InMemoryHTTPSocket socket;
    HTTPEvents events(socket);
    events.onProgress = [](HTTPSocket&, int64_t received, int64_t announced, const String&) {
      if (received == 0 && announced == 9) throw RuntimeException("no");
    };
    socket.Get("http://h/");
    socket.Accept();
    if (total == "0") {
      socket.Deliver("HTTP/1.0 200 OK\r\n\r\n");
    } else {
      EXPECT_THROW(socket.Deliver("HTTP/1.0 200 OK\r\nContent-Length: 9\r\n\r\n"), RuntimeException);
    }
    for (const char* delivery : {"abc", "de", "fghi"}) socket.Deliver(delivery);
    socket.End();
    EXPECT_EQ(events.progress, (std::vector<std::string>{"0/" + total, "3/" + total, "5/" + total, "9/" + total}));
  }
}

// A header block that never ends is given up once it fills the bound, its
// bytes the page.
TEST(ResponseTest, AnEndlessHeaderBlockEndsAtItsBound) {
  std::string block = "HTTP/1.0 200 OK\r\n";
  while (block.size() < HTTPSocket::kHeaderLimit) block += "X-Filler: 0123456789\r\n";
  block.resize(HTTPSocket::kHeaderLimit);
  InMemoryHTTPSocket socket;
  HTTPEvents events(socket);
  socket.Get("http://h/");
  socket.Accept();
  socket.Deliver(block.substr(0, block.size() - 1));
  EXPECT_EQ(events.completions, 0);
  socket.Deliver(block.substr(block.size() - 1));
  EXPECT_EQ(events.log, (std::vector<std::string>{"Connected", "ReceiveProgress", "PageReceived 0 http://h/"}));
  EXPECT_TRUE(events.content == block) << events.content.size() << " bytes";
}

// A handler that runs an event loop swallows the DataAvailable and the end
// that come meanwhile: they are taken up later, and the page ends whole. A
// handler that starts another request there has dropped the old one.
TEST(ResponseTest, NestedEventLoopInAHandler) {
  for (const bool restart : {false, true}) {
    TestServer server;
    server.Serve({{TestServer::ReadRequest(), TestServer::Send("HTTP/1.0 200 OK\r\n\r\nfirst "), TestServer::Pause(50),
                   TestServer::Send("second"), TestServer::Close()},
                  Answer("HTTP/1.0 200 OK\r\n\r\nnew")});
    HTTPSocket socket;
    HTTPEvents events(socket);
    events.onProgress = [&](HTTPSocket& sender, int64_t, int64_t, const String& data) {
      if (data != "first ") return;
      WaitUntil([] { return false; }, 300);
      if (restart) sender.Get(server.Url("/"));
    };
    socket.Get(server.Url("/"));
    ASSERT_TRUE(events.Await());
    EXPECT_EQ(events.completions, 1);
    EXPECT_EQ(events.content, restart ? "new" : "first second");
  }
}

// A response's length comes from its own headers: after a HEAD that
// announced one, a GET without one takes at once all that has come, in the
// event loop and in the blocking form, whose limit then runs out.
TEST(ResponseTest, ALengthComesFromItsOwnHeadersOnly) {
  for (const bool blocking : {false, true}) {
    VirtualTime time;
    InMemoryHTTPSocket socket;
    HTTPEvents events(socket);
    // Answered two ticks after it starts; the GET's connection stays open.
    const auto request = [&](const std::string& method, const std::string& response) {
      time.At(time.Now() + 2, [&socket, method, response] {
        socket.Accept();
        socket.Deliver(response);
        if (method == "HEAD") socket.End();
      });
      if (blocking) return socket.SendRequest(method, "http://h/", 5);
      socket.SendRequest(method, "http://h/");
      for (const int64_t end = Ticks() + 3; Ticks() < end;) RuntimeBackgroundTask();
      return String(events.progressData);
    };
    request("HEAD", "HTTP/1.0 200 OK\r\nContent-Length: 1234\r\n\r\n");
    const std::string body(5000, 'b');
    EXPECT_TRUE(request("GET", "HTTP/1.0 200 OK\r\n\r\n" + body) == body) << (blocking ? "blocking" : "events");
    EXPECT_EQ(socket.ErrorCode(), blocking ? -1 : 0);
  }
}

}  // namespace
}  // namespace velmaris::testing
