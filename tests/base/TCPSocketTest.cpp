#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QTimer>
#include <optional>

#include "base/TCPSocket.h"
#include "support/TestServer.h"

namespace velmaris::testing {
namespace {

// Connects, writes a request once connected, and runs until the socket's
// Error, from the event loop or through Poll alone.
struct Connection {
  // The events in order, a connection of DataAvailable as one, and the
  // milliseconds from Connect to the first; declared first, so that they
  // outlive the socket whose handlers write to them.
  std::vector<std::string> events;
  int64_t firstEvent = -1;
  QElapsedTimer clock;
  TCPSocket socket;

  Connection(const std::string& address, int64_t port, bool throughPoll,
             int64_t limit = TCPSocket::kConnectLimitMilliseconds) {
    socket.Connected = [this](TCPSocket& sender) {
      Record("Connected");
      sender.Write("PING\r\n\r\n");
    };
    socket.DataAvailable = [this](SocketCore&) { Record("DataAvailable"); };
    socket.SendComplete = [this](SocketCore&, bool) { Record("SendComplete"); };
    socket.Error = [this](SocketCore& sender) { Record("Error " + std::to_string(sender.LastErrorCode())); };
    socket.Address = address;
    socket.Port = port;
    socket.ConnectLimit = limit;
    clock.start();
    socket.Connect();
    EXPECT_TRUE(events.empty()) << "Connect returns before any event";
    const auto ended = [this] { return !events.empty() && events.back().starts_with("Error"); };
    if (!throughPoll) {
      WaitUntil(ended);
      return;
    }
    bool timerFired = false;
    const QObject context;  // the timer goes with it
    QTimer::singleShot(0, &context, [&timerFired] { timerFired = true; });
    while (!ended() && clock.elapsed() < 5000) socket.Poll();
    EXPECT_FALSE(timerFired) << "Poll delivers this socket's events only";
  }
  void Record(const std::string& event) {
    if (events.empty()) firstEvent = clock.elapsed();
    if (events.empty() || event != "DataAvailable" || events.back() != event) events.push_back(event);
  }
};

// "localhost" may resolve to ::1 first, where nothing listens: the next
// address is tried. The unread bytes outlive the connection. A failure to
// connect is an Error alone. An address that never answers gives way to the
// next once its limit has passed, and the last one's limit is an Error. It is
// 127.0.0.2 on the port of the server on 127.0.0.1: a listener with a backlog
// of 0 that one connection fills and none accepts, so that the kernel drops
// what follows.
TEST(TCPSocketTest, EventsInOrder) {
  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("hello "), TestServer::Pause(30),
                 TestServer::Send("world"), TestServer::Close()}});
  const sockaddr_in silent = {
      .sin_family = AF_INET, .sin_port = htons(server.Port()), .sin_addr = {htonl(0x7F000002)}, .sin_zero = {}};
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const auto* address = reinterpret_cast<const sockaddr*>(&silent);
  ASSERT_EQ(bind(listener, address, sizeof silent), 0);
  ASSERT_EQ(listen(listener, 0), 0);
  ASSERT_EQ(connect(filler, address, sizeof silent), 0);
  constexpr int64_t kLimit = 300;
  struct Row {
    std::string address;
    int64_t port;
    std::vector<std::string> events;
    std::vector<String> lookup = {};  // the addresses of the name, for a silent first one
  };
  // The codes are 100 and Qt's SocketError: refused 0, closed by the peer 1,
  // host not found 2, timed out 5, address not available 9.
  const std::vector<std::string> served = {"Connected", "SendComplete", "DataAvailable", "Error 101"};
  const Row rows[] = {
      {"localhost", server.Port(), served},
      {"127.0.0.1", TestServer::RefusingPort(), {"Error 100"}},
      {"127.0.0.1", 0, {"Error 109"}},
      {"no-such-host.invalid", 80, {"Error 102"}},
      {"silent-first.test", server.Port(), served, {"127.0.0.2", "127.0.0.1"}},
      {"127.0.0.2", server.Port(), {"Error 105"}},
  };
  for (const Row& row : rows) {
    for (const bool throughPoll : {false, true}) {
      SCOPED_TRACE(row.address + ":" + std::to_string(row.port) + (throughPoll ? " through Poll" : ""));
      const bool isSilent = row.address == "127.0.0.2" || !row.lookup.empty();
      std::optional<ScopedHostLookup> lookup;
      if (!row.lookup.empty()) lookup.emplace([&row](const String&) { return row.lookup; });
      Connection connection(row.address, row.port, throughPoll,
                            isSilent ? kLimit : TCPSocket::kConnectLimitMilliseconds);
      EXPECT_EQ(connection.events, row.events);
      if (isSilent) {
        EXPECT_GE(connection.firstEvent, kLimit) << "the time to the first event";
        EXPECT_LT(connection.firstEvent, kLimit + 1000) << "the time to the first event";
      }
      if (row.events.size() == 1) continue;
      EXPECT_FALSE(connection.socket.IsConnected());
      EXPECT_EQ(connection.socket.Lookahead(), "hello world");
      EXPECT_EQ(connection.socket.Read(2), "he");
      EXPECT_EQ(connection.socket.Read(5), "llo w");
      EXPECT_EQ(connection.socket.Lookahead(), "orld");
      connection.socket.Purge();
      EXPECT_EQ(connection.socket.ReadAll(), "");
      EXPECT_EQ(server.Received().back(), "PING\r\n\r\n");
    }
  }
  close(filler);
  close(listener);
}

// A reader that falls behind holds the sender back instead of buffering all
// it sends; once it reads again, the rest comes in, whole and in order.
TEST(TCPSocketTest, ReceiveBufferIsBounded) {
  std::string body(8 * 1024 * 1024, '\0');
  for (size_t i = 0; i < body.size(); ++i) body[i] = static_cast<char>((i * 7919) >> 8);
  TestServer server;
  server.Serve({{TestServer::Send(body), TestServer::Close()}});
  TCPSocket socket;
  bool reading = false;
  bool ended = false;
  int64_t mostBuffered = 0;
  std::string received;
  socket.DataAvailable = [&](SocketCore&) {
    mostBuffered = std::max(mostBuffered, socket.BytesAvailable());
    if (reading) received += socket.ReadAll();
  };
  socket.Error = [&ended](SocketCore&) { ended = true; };
  socket.Address = "127.0.0.1";
  socket.Port = server.Port();
  socket.Connect();
  WaitUntil([] { return false; }, 300);
  EXPECT_FALSE(ended);
  reading = true;
  received = socket.Read(-1);
  ASSERT_TRUE(WaitUntil([&ended] { return ended; }));
  received += socket.ReadAll();
  EXPECT_LE(mostBuffered, TCPSocket::kReadBufferSize);
  EXPECT_TRUE(received == body) << received.size() << " of " << body.size() << " bytes";
}

}  // namespace
}  // namespace velmaris::testing
