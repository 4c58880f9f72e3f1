#pragma once
// A scriptable server on loopback for the tests of every subsystem. Each
// connection that it accepts plays one script: wait for the request, send
// bytes (whole, or in pieces with pauses between them), pause, close, reset,
// or stall by ending its script without closing. It runs in a thread of its
// own, so that a client that blocks, or a test that runs no event loop, is
// served all the same.

#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace velmaris::testing {

class TestServer {
 public:
  struct Step {
    enum class Kind { ReadRequest, Send, Pause, Close, Reset };
    Kind kind;
    std::string bytes;
    int milliseconds = 0;
  };
  using Script = std::vector<Step>;

  // Waits until the request has come in whole: its head up to the empty
  // line, and as many body bytes as its Content-length announces.
  static Step ReadRequest();
  static Step Send(std::string bytes);
  static Step Pause(int milliseconds);
  // An orderly close: the client reads all that was sent, then the end.
  static Step Close();
  // An abortive close (a TCP reset); what was not read yet may be lost.
  static Step Reset();
  // The pieces one after the other, with a pause between two, so that each
  // reaches the client as a delivery of its own.
  static Script SendPieces(const std::vector<std::string>& pieces, int pauseMilliseconds = 3);
  // A request, then the response cut at random places, then a close.
  static Script Respond(const std::string& response, std::mt19937& random);

  // Listens on 127.0.0.1, at a port of the system's choice.
  TestServer();
  ~TestServer();
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;

  // The scripts of the next connections in their order; the last one plays
  // again for every further connection. Without any, connections stall.
  void Serve(std::vector<Script> scripts);

  uint16_t Port() const;
  // "http://127.0.0.1:<port>" and the path.
  std::string Url(const std::string& path) const;
  // What each connection received, in the order of acceptance.
  std::vector<std::string> Received() const;
  int Connections() const;

  // A port on which nothing listens, so that connecting there is refused.
  static uint16_t RefusingPort();

 private:
  struct Impl;
  std::unique_ptr<Impl> d;
};

// The bytes cut at random places into pieces of at least one byte.
std::vector<std::string> RandomPieces(const std::string& bytes, std::mt19937& random);

// Runs the calling thread's event loop until the condition holds or the time
// has passed; true when it holds.
bool WaitUntil(const std::function<bool()>& condition, int milliseconds = 10000);

}  // namespace velmaris::testing
