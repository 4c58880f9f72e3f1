#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTimer>

#include "base/TCPSocket.h"
#include "support/TestServer.h"

namespace velmaris::testing {
namespace {

// Connects, writes a line once connected, and runs until the socket's Error,
// from the event loop or through Poll alone. The events in order, a run of
// DataAvailable as one.
std::vector<std::string> RunToTheEnd(TCPSocket& socket, const std::string& address, int64_t port, bool throughPoll) {
  std::vector<std::string> events;
  socket.Connected = [&events](TCPSocket& sender) {
    events.emplace_back("Connected");
    sender.Write("PING\r\n\r\n");
  };
  socket.DataAvailable = [&events](SocketCore&) {
    if (events.back() != "DataAvailable") events.emplace_back("DataAvailable");
  };
  socket.SendComplete = [&events](SocketCore&, bool) { events.emplace_back("SendComplete"); };
  socket.Error = [&events](SocketCore& sender) { events.push_back("Error " + std::to_string(sender.LastErrorCode())); };
  socket.Address = address;
  socket.Port = port;
  socket.Connect();
  EXPECT_TRUE(events.empty()) << "Connect returns before any event";
  const auto ended = [&events] { return !events.empty() && events.back().starts_with("Error"); };
  if (throughPoll) {
    bool timerFired = false;
    const QObject context;  // the timer goes with it
    QTimer::singleShot(0, &context, [&timerFired] { timerFired = true; });
    QElapsedTimer elapsed;
    elapsed.start();
    while (!ended() && elapsed.elapsed() < 5000) socket.Poll();
    EXPECT_FALSE(timerFired) << "Poll delivers this socket's events only";
  } else {
    WaitUntil(ended);
  }
  // The handlers write to what is about to go.
  socket.Connected = nullptr;
  socket.SendComplete = nullptr;
  socket.DataAvailable = socket.Error = nullptr;
  return events;
}

// "localhost" may resolve to ::1 first, where nothing listens: the next
// address is tried. The unread bytes outlive the connection.
TEST(TCPSocketTest, Exchange) {
  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("hello "), TestServer::Pause(30),
                 TestServer::Send("world"), TestServer::Close()}});
  for (const bool throughPoll : {false, true}) {
    SCOPED_TRACE(throughPoll ? "through Poll" : "in the event loop");
    TCPSocket socket;
    EXPECT_EQ(RunToTheEnd(socket, "localhost", server.Port(), throughPoll),
              (std::vector<std::string>{"Connected", "SendComplete", "DataAvailable",
                                        "Error " + std::to_string(TCPSocket::kErrorBase + 1)}));
    EXPECT_FALSE(socket.IsConnected());
    EXPECT_EQ(socket.Lookahead(), "hello world");
    EXPECT_EQ(socket.Read(2), "he");
    EXPECT_EQ(socket.Read(5), "llo w");
    EXPECT_EQ(socket.Lookahead(), "orld");
    socket.Purge();
    EXPECT_EQ(socket.ReadAll(), "");
    EXPECT_EQ(server.Received().back(), "PING\r\n\r\n");
  }
}

TEST(TCPSocketTest, FailureToConnectArrivesAsError) {
  struct Row {
    const char* name;
    std::string address;
    int64_t port;
    int64_t code;
  };
  const Row rows[] = {
      {.name = "refused", .address = "127.0.0.1", .port = TestServer::RefusingPort(), .code = TCPSocket::kErrorBase},
      {.name = "port 0", .address = "127.0.0.1", .port = 0, .code = TCPSocket::kErrorBase + 9},
      {.name = "unknown name", .address = "no-such-host.invalid", .port = 80, .code = TCPSocket::kErrorBase + 2},
  };
  for (const Row& row : rows) {
    for (const bool throughPoll : {false, true}) {
      TCPSocket socket;
      EXPECT_EQ(RunToTheEnd(socket, row.address, row.port, throughPoll),
                std::vector<std::string>{"Error " + std::to_string(row.code)})
          << row.name << (throughPoll ? " through Poll" : " in the event loop");
    }
  }
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
  received = socket.ReadAll();
  ASSERT_TRUE(WaitUntil([&ended] { return ended; }));
  received += socket.ReadAll();
  EXPECT_LE(mostBuffered, TCPSocket::kReadBufferSize);
  EXPECT_TRUE(received == body) << received.size() << " of " << body.size() << " bytes";
}

}  // namespace
}  // namespace velmaris::testing
