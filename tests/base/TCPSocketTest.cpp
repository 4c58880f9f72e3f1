#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTimer>

#include "base/TCPSocket.h"
#include "support/TestServer.h"

namespace velmaris {
namespace {

using testing::TestServer;
using testing::WaitUntil;

// The events of a socket in order, a run of DataAvailable counted as one.
struct EventLog {
  std::vector<std::string> events;
  bool ended = false;

  void Attach(TCPSocket& socket) {
    socket.Connected = [this](TCPSocket&) { events.emplace_back("Connected"); };
    socket.DataAvailable = [this](SocketCore&) {
      if (events.empty() || events.back() != "DataAvailable") events.emplace_back("DataAvailable");
    };
    socket.SendComplete = [this](SocketCore&, bool userAborted) {
      events.emplace_back(userAborted ? "SendComplete(aborted)" : "SendComplete");
    };
    socket.Error = [this](SocketCore& sender) {
      events.push_back("Error " + std::to_string(sender.LastErrorCode()));
      ended = true;
    };
  }
};

constexpr int64_t kRemoteClosed = TCPSocket::kErrorBase + 1;
constexpr int64_t kRefused = TCPSocket::kErrorBase + 0;

// Runs one exchange, delivering the events either from the event loop or
// only through Poll; a timer of the event loop must not fire during Poll.
void Exchange(bool throughPoll) {
  TestServer server;
  server.Serve({{TestServer::ReadRequest(), TestServer::Send("hello "), TestServer::Pause(30),
                 TestServer::Send("world"), TestServer::Close()}});
  TCPSocket socket;
  EventLog log;
  log.Attach(socket);
  socket.Connected = [&log](TCPSocket& sender) {
    log.events.emplace_back("Connected");
    sender.Write("PING\r\n\r\n");
  };
  socket.Address = "127.0.0.1";
  socket.Port = server.Port();
  socket.Connect();
  EXPECT_TRUE(log.events.empty()) << "Connect returns before any event";

  bool timerFired = false;
  QTimer::singleShot(0, [&timerFired] { timerFired = true; });
  if (throughPoll) {
    QElapsedTimer elapsed;
    elapsed.start();
    while (!log.ended && elapsed.elapsed() < 5000) socket.Poll();
    EXPECT_FALSE(timerFired) << "Poll delivers this socket's events only";
  } else {
    ASSERT_TRUE(WaitUntil([&log] { return log.ended; }));
  }
  const std::vector<std::string> expected{"Connected", "SendComplete", "DataAvailable",
                                          "Error " + std::to_string(kRemoteClosed)};
  EXPECT_EQ(log.events, expected);
  EXPECT_FALSE(socket.IsConnected());
  // The unread bytes outlive the connection.
  EXPECT_EQ(socket.Lookahead(), "hello world");
  EXPECT_EQ(socket.Read(5), "hello");
  EXPECT_EQ(socket.Read(100), " world");
  EXPECT_EQ(socket.Read(0), "");
  EXPECT_EQ(server.Received(), std::vector<std::string>{"PING\r\n\r\n"});
}

TEST(TCPSocketTest, ExchangeInTheEventLoop) { Exchange(false); }

TEST(TCPSocketTest, ExchangeThroughPollAlone) { Exchange(true); }

// Where a connection can't be made, Connect returns and Error follows with
// the reason, from the event loop and through Poll alike.
TEST(TCPSocketTest, FailureToConnectArrivesAsError) {
  struct Row {
    const char* name;
    std::string address;
    int64_t port;
    int64_t code;
  };
  const Row rows[] = {
      {.name = "refused", .address = "127.0.0.1", .port = TestServer::RefusingPort(), .code = kRefused},
      {.name = "port 0", .address = "127.0.0.1", .port = 0, .code = TCPSocket::kErrorBase + 9},
      {.name = "port too large", .address = "127.0.0.1", .port = 70000, .code = TCPSocket::kErrorBase + 9},
      {.name = "no address", .address = "", .port = 80, .code = TCPSocket::kErrorBase + 2},
      {.name = "unknown name", .address = "no-such-host.invalid", .port = 80, .code = TCPSocket::kErrorBase + 2},
  };
  for (const Row& row : rows) {
    for (const bool throughPoll : {false, true}) {
      TCPSocket socket;
      EventLog log;
      log.Attach(socket);
      socket.Address = row.address;
      socket.Port = row.port;
      socket.Connect();
      EXPECT_TRUE(log.events.empty()) << row.name;
      if (throughPoll) {
        for (int round = 0; round < 300 && !log.ended; ++round) socket.Poll();
      } else {
        WaitUntil([&log] { return log.ended; });
      }
      EXPECT_EQ(log.events, std::vector<std::string>{"Error " + std::to_string(row.code)})
          << row.name << (throughPoll ? " through Poll" : " in the event loop");
    }
  }
}

// "localhost" may resolve to ::1 first; the server listens on 127.0.0.1 only.
TEST(TCPSocketTest, ResolvesANameAndTriesEachAddress) {
  TestServer server;
  for (const bool throughPoll : {false, true}) {
    TCPSocket socket;
    EventLog log;
    log.Attach(socket);
    socket.Address = "localhost";
    socket.Port = server.Port();
    socket.Connect();
    if (throughPoll) {
      for (int round = 0; round < 300 && log.events.empty(); ++round) socket.Poll();
    } else {
      WaitUntil([&log] { return !log.events.empty(); });
    }
    EXPECT_EQ(log.events, std::vector<std::string>{"Connected"}) << (throughPoll ? "through Poll" : "event loop");
    EXPECT_TRUE(socket.IsConnected());
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
  socket.Error = [&](SocketCore&) {
    received += socket.ReadAll();
    ended = true;
  };
  socket.Address = "127.0.0.1";
  socket.Port = server.Port();
  socket.Connect();
  WaitUntil([] { return false; }, 300);
  EXPECT_LE(socket.BytesAvailable(), TCPSocket::kReadBufferSize);
  EXPECT_FALSE(ended);
  reading = true;
  received = socket.ReadAll();
  ASSERT_TRUE(WaitUntil([&] { return ended; }));
  EXPECT_LE(mostBuffered, TCPSocket::kReadBufferSize);
  EXPECT_EQ(received.size(), body.size());
  EXPECT_TRUE(received == body);
}

// A handler that closes drops the events still due from that connection; the
// socket then serves another connection.
TEST(TCPSocketTest, CloseInAHandlerDropsTheRestAndTheSocketIsReused) {
  TestServer server;
  server.Serve({{TestServer::Send("abc"), TestServer::Close()}, {TestServer::Send("second")}});
  TCPSocket socket;
  EventLog log;
  log.Attach(socket);
  socket.DataAvailable = [&log](SocketCore& sender) {
    log.events.emplace_back("DataAvailable");
    sender.Close();
  };
  socket.Address = "127.0.0.1";
  socket.Port = server.Port();
  socket.Connect();
  ASSERT_TRUE(WaitUntil([&log] { return log.events.size() == 2; }));
  WaitUntil([] { return false; }, 100);
  EXPECT_EQ(log.events, (std::vector<std::string>{"Connected", "DataAvailable"}));
  EXPECT_EQ(socket.Lookahead(), "");

  socket.DataAvailable = nullptr;
  socket.Connect();
  ASSERT_TRUE(WaitUntil([&socket] { return socket.BytesAvailable() == 6; }));
  EXPECT_EQ(socket.ReadAll(), "second");
  EXPECT_TRUE(socket.IsConnected());
}

}  // namespace
}  // namespace velmaris
