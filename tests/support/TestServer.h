#pragma once
// A scriptable server on loopback for the tests of every subsystem. Each
// connection that it accepts plays one script: wait for the request, send
// bytes, pause, close, or stall by ending its script without closing. The
// scripts play in threads of their own, so that a client that blocks, or a
// test that runs no event loop, is served all the same.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmaris::testing {

class TestServer {
 public:
  struct Step {
    enum class Kind { ReadRequest, Send, Pause, Close } kind;
    std::string bytes;
    int milliseconds = 0;
  };
  using Script = std::vector<Step>;

  // Waits until the request has come in whole: its head up to the empty
  // line, and as many body bytes as its Content-length announces.
  static Step ReadRequest() { return {Step::Kind::ReadRequest, {}, 0}; }
  static Step Send(std::string bytes) { return {Step::Kind::Send, std::move(bytes), 0}; }
  static Step Pause(int milliseconds) { return {Step::Kind::Pause, {}, milliseconds}; }
  // An orderly close: the client reads all that was sent, then the end.
  static Step Close() { return {Step::Kind::Close, {}, 0}; }

  // Listens on 127.0.0.1, at a port of the system's choice.
  TestServer();
  ~TestServer();

  // The scripts of the next connections in their order; the last one plays
  // again for every further connection. Without any, connections stall.
  void Serve(std::vector<Script> scripts);

  uint16_t Port() const;
  // "http://127.0.0.1:<port>" and the path.
  std::string Url(const std::string& path) const;
  // What each connection received, in the order of acceptance.
  std::vector<std::string> Received() const;

  // A port on which nothing listens, so that connecting there is refused.
  static uint16_t RefusingPort();

 private:
  struct Impl;
  std::unique_ptr<Impl> d;
};

// Runs the calling thread's event loop until the condition holds or the time
// has passed; true when it holds.
bool WaitUntil(const std::function<bool()>& condition, int milliseconds = 10000);

}  // namespace velmaris::testing
