#pragma once
// The event-driven client socket that the HTTP client stands on. No operation
// blocks except Poll, and no network failure raises an exception: every
// failure arrives as the Error event, its number in LastErrorCode.

#include <cstdint>
#include <functional>

namespace velmaris {

class SocketCore {
 public:
  SocketCore() = default;
  virtual ~SocketCore() = default;
  SocketCore(const SocketCore&) = delete;
  SocketCore& operator=(const SocketCore&) = delete;

  // The remote port; 0 when none is set.
  int64_t Port = 0;

  // Ends the connection at once, drops the events not yet delivered and
  // leaves the object ready for another Connect; harmless when idle.
  virtual void Close() = 0;
  // Starts connecting and returns at once; the outcome arrives as an event.
  virtual void Connect() = 0;
  virtual bool IsConnected() const = 0;
  // The number of the failure that the current Error reports; 0 before any.
  virtual int64_t LastErrorCode() const = 0;
  // Delivers this socket's pending events on the calling thread, waiting at
  // most a tick for them.
  virtual void Poll() = 0;
  // Throws away the unread bytes.
  virtual void Purge() = 0;

  // New bytes stand in the receive buffer.
  std::function<void(SocketCore&)> DataAvailable;
  // The connection failed or ended, a close by the peer included; unread
  // bytes stay readable.
  std::function<void(SocketCore&)> Error;
  // Everything written has been sent.
  std::function<void(SocketCore&, bool userAborted)> SendComplete;

 protected:
  // Every event reaches the object through its hook. A subclass that takes an
  // event over for itself overrides the hook; the handler above then no
  // longer sees it.
  virtual void Event_DataAvailable() {
    if (DataAvailable) DataAvailable(*this);
  }
  virtual void Event_Error() {
    if (Error) Error(*this);
  }
  virtual void Event_SendComplete(bool userAborted) {
    if (SendComplete) SendComplete(*this, userAborted);
  }
};

}  // namespace velmaris
