#pragma once
// An HTTPSocket whose socket works on bytes in memory: the caller decides
// when the connection stands, what arrives in which delivery and when the
// peer closes. The client's own code runs unchanged above it. Used where a
// test or the fuzzer needs deliveries cut exactly where it says.

#include <algorithm>
#include <string>

#include "http/HTTPSocket.h"

namespace velmaris::testing {

class InMemoryHTTPSocket : public HTTPSocket {
 public:
  // Connect was called, and neither Accept nor Refuse has answered it.
  bool connecting = false;

  void Accept() {
    connecting = false;
    mConnected = true;
    Event_Connected();
  }
  void Refuse(int64_t code) {
    connecting = false;
    mSocketError = code;
    Event_Error();
  }
  void Deliver(const std::string& bytes) {
    if (!mConnected) return;
    mBuffer += bytes;
    Event_DataAvailable();
  }
  // The peer closes; nothing happens when the client has closed already.
  void End() {
    if (!mConnected) return;
    mConnected = false;
    mSocketError = kErrorBase + 1;
    Event_Error();
  }

  int64_t BytesAvailable() const override { return static_cast<int64_t>(mBuffer.size()); }
  // Drops the unread bytes too, as a real socket's Close does.
  void Close() override {
    mConnected = false;
    connecting = false;
    mBuffer.clear();
  }
  void Connect() override { connecting = true; }
  bool IsConnected() const override { return mConnected; }
  int64_t LastErrorCode() const override { return mSocketError; }
  String Lookahead() override { return mBuffer; }
  // Everything is delivered as the test says: nothing to wait for.
  void Poll() override {}
  // ReadAll is Read(0) of the base.
  String Read(int64_t count) override {
    const size_t taken = count < 1 ? mBuffer.size() : std::min(mBuffer.size(), static_cast<size_t>(count));
    String bytes = mBuffer.substr(0, taken);
    mBuffer.erase(0, taken);
    return bytes;
  }
  // The request goes nowhere: no one reads it.
  void Write(const String& /*bytes*/) override {}
  // TLS on a proxy's tunnel stands at the next Accept; what stood behind
  // the proxy's answer goes, as with the real socket.
  void StartTLS(const String& /*hostName*/) override {
    mBuffer.clear();
    mConnected = false;
    connecting = true;
  }

 private:
  std::string mBuffer;
  bool mConnected = false;
  int64_t mSocketError = 0;
};

}  // namespace velmaris::testing
