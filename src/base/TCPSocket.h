#pragma once
// A buffered TCP client socket. It connects by itself, one address of the
// host at a time, each within a limit, and hands the connection to Qt's
// QTcpSocket once it stands, or to QSslSocket for TLS. What happens on the connection is turned into
// events that are delivered later from the event loop, never from inside Qt,
// so that a handler may Close, reconnect or run an event loop of its own;
// Poll delivers them on the calling thread instead.

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "base/SocketCore.h"
#include "base/StringFunctions.h"

class QTcpSocket;

namespace velmaris {

class TCPSocket : public SocketCore {
 public:
  // Unread bytes are held up to this many; beyond it the peer is held back
  // by TCP's flow control, so memory stays flat however fast it sends.
  static constexpr int64_t kReadBufferSize = int64_t{1024} * 1024;
  // LastErrorCode is this plus the QAbstractSocket::SocketError of the
  // failure, so that it never meets the small codes of the layers above.
  static constexpr int64_t kErrorBase = 100;
  // The server's certificate was refused (untrusted, self-signed, another
  // host name, expired): a code of its own beside kErrorBase plus
  // SslHandshakeFailedError, a handshake that failed for another reason.
  static constexpr int64_t kCertificateRefused = kErrorBase + 30;
  // How long each address of the host may take to answer a connect before
  // the next one is tried; the last one's running out is an Error. The
  // kernel alone would wait minutes for an address that never answers.
  static constexpr int64_t kConnectLimitMilliseconds = 10000;

  TCPSocket();
  ~TCPSocket() override;

  // The host name or address to reach; a name is resolved by Connect.
  String Address;
  // Milliseconds that each address gets to answer a connect.
  int64_t ConnectLimit = kConnectLimitMilliseconds;
  // Not empty: the connection is TLS, for this host name (sent as SNI, and
  // checked against the certificate, which must chain to a trusted
  // authority), and Connected comes once the handshake is done.
  String TLSHostName;

  // Unread bytes in the receive buffer.
  virtual int64_t BytesAvailable() const;
  void Close() override;
  void Connect() override;
  bool IsConnected() const override;
  int64_t LastErrorCode() const override;
  // The reason of the failure that the current Error reports, naming the
  // host and port ("connection refused by 127.0.0.1:8000"); "" before any.
  virtual String LastErrorMessage() const;
  // All unread bytes, left in the buffer.
  virtual String Lookahead();
  // Resolving a name blocks for as long as the resolver takes.
  void Poll() override;
  void Purge() override;
  // Removes and returns up to count bytes from the front of the buffer, all
  // of them for a count of 0 or below; never waits.
  virtual String Read(int64_t count);
  virtual String ReadAll();
  // Starts TLS for that host name on the standing connection (a tunnel
  // through a proxy); Connected comes again once the handshake is done.
  virtual void StartTLS(const String& hostName);
  // Queues the bytes for sending, in order; ignored while not connected.
  virtual void Write(const String& bytes);

  // The connection stands.
  std::function<void(TCPSocket&)> Connected;

 protected:
  virtual void Event_Connected() {
    if (Connected) Connected(*this);
  }

 private:
  struct Impl;

  void _Attach(QTcpSocket& socket);
  void _CheckConnection();
  void _ConnectToNextAddress();
  void _Deliver();
  // The address tried, or the host, with the port, for the messages.
  String _Endpoint() const;
  void _Fail(int64_t code, const String& message);
  void _FailToConnect(int error);
  void _StartEncryption(int descriptor);
  void _Schedule();
  void _StopConnecting();
  void _TryAddresses();
  void _WaitForActivity();

  std::unique_ptr<Impl> d;
};

// Stands in for the system's name lookup of every socket for the life of the
// object (tests): a name resolves to the address literals that the function
// gives, in their order; none means that the host is not found.
class ScopedHostLookup {
 public:
  explicit ScopedHostLookup(std::function<std::vector<String>(const String& name)> lookup);
  ~ScopedHostLookup();
  ScopedHostLookup(const ScopedHostLookup&) = delete;
  ScopedHostLookup& operator=(const ScopedHostLookup&) = delete;

 private:
  std::function<std::vector<String>(const String& name)> mPrevious;
};

}  // namespace velmaris
