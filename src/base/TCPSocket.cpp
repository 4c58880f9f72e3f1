#include "base/TCPSocket.h"

#include <fcntl.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QHostAddress>
#include <QHostInfo>
#include <QList>
#include <QSocketNotifier>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "base/Runtime.h"
#include "base/TLSTrust.h"

namespace velmaris {

namespace {

constexpr int kTickMilliseconds = 17;  // one sixtieth of a second, rounded up
constexpr int64_t kTLSReadBufferSize = int64_t{64} * 1024;

// Received data passes through blocks of up to kReadBufferSize, taken and
// given back at the rate of the network. By default glibc maps the large ones
// afresh each time and trims the heap behind the others, so that every block
// costs the page faults of new memory, more than the copying. Kept on the
// heap, a freed block serves the next one; the heap holds no more than the
// live blocks and this slack.
void KeepReceiveBlocksOnTheHeap() {
#ifdef __GLIBC__
  static const bool done = [] {
    mallopt(M_MMAP_THRESHOLD, 4 * TCPSocket::kReadBufferSize);
    mallopt(M_TRIM_THRESHOLD, 8 * TCPSocket::kReadBufferSize);
    return true;
  }();
  (void)done;
#endif
}

int64_t ErrorCode(QAbstractSocket::SocketError error) { return TCPSocket::kErrorBase + error; }

// The lookup of ScopedHostLookup; empty for the system's.
std::function<std::vector<String>(const String&)>& HostLookup() {
  static std::function<std::vector<String>(const String&)> lookup;
  return lookup;
}

QAbstractSocket::SocketError ConnectError(int error) {
  switch (error) {
    case ECONNREFUSED:
      return QAbstractSocket::ConnectionRefusedError;
    case ETIMEDOUT:
      return QAbstractSocket::SocketTimeoutError;
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
      return QAbstractSocket::NetworkError;
    case EACCES:
    case EPERM:
      return QAbstractSocket::SocketAccessError;
    case EADDRNOTAVAIL:
      return QAbstractSocket::SocketAddressNotAvailableError;
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
      return QAbstractSocket::SocketResourceError;
    default:
      return QAbstractSocket::UnknownSocketError;
  }
}

// A non-blocking socket with a connect to the address under way; the errno
// of the failure when connect fails at once.
int StartConnect(const QHostAddress& address, uint16_t port, int* descriptor) {
  sockaddr_storage storage{};
  socklen_t length = 0;
  if (address.protocol() == QAbstractSocket::IPv6Protocol) {
    sockaddr_in6 target{};
    target.sin6_family = AF_INET6;
    target.sin6_port = htons(port);
    const Q_IPV6ADDR bytes = address.toIPv6Address();
    std::memcpy(&target.sin6_addr, &bytes, sizeof target.sin6_addr);
    target.sin6_scope_id = address.scopeId().toUInt();
    std::memcpy(&storage, &target, sizeof target);
    length = sizeof target;
  } else {
    sockaddr_in target{};
    target.sin_family = AF_INET;
    target.sin_port = htons(port);
    target.sin_addr.s_addr = htonl(address.toIPv4Address());
    std::memcpy(&storage, &target, sizeof target);
    length = sizeof target;
  }
  *descriptor = socket(storage.ss_family, SOCK_STREAM, 0);
  if (*descriptor < 0) return errno;
  fcntl(*descriptor, F_SETFD, FD_CLOEXEC);
  fcntl(*descriptor, F_SETFL, fcntl(*descriptor, F_GETFL) | O_NONBLOCK);
  if (connect(*descriptor, reinterpret_cast<const sockaddr*>(&storage), length) == 0 || errno == EINPROGRESS) {
    return 0;
  }
  return errno;
}

}  // namespace

struct TCPSocket::Impl {
  // Events recorded until they are delivered.
  struct Pending {
    bool nextAddress = false;
    bool connectionReady = false;
    bool connected = false;
    bool dataAvailable = false;
    bool sendComplete = false;
    bool error = false;
    int64_t errorCode = 0;
    String errorMessage;
    bool Any() const { return nextAddress || connectionReady || connected || dataAvailable || sendComplete || error; }
  };

  QTcpSocket plain;
  // Made for each TLS connection, so that plain ones never load TLS.
  std::unique_ptr<QSslSocket> secure;
  // The one that carries the connection.
  QTcpSocket* socket = &plain;
  // Declared after the sockets so that it goes first: the connections and the
  // queued deliveries that use it as context die before the sockets do.
  QObject context;
  // The addresses of the host not tried yet, and the one tried last.
  QList<QHostAddress> addresses;
  QHostAddress tried;
  // A name lookup under way. One that is no longer wanted is left to finish
  // and its result ignored: aborting one leaks its callback in Qt.
  bool lookingUp = false;
  // The connection under way, until it stands and QTcpSocket takes it over.
  int connecting = -1;
  std::unique_ptr<QSocketNotifier> connectingNotifier;
  // Runs while an address is being connected; Poll reads it too.
  QTimer connectLimit;
  // Counts Connect and Close calls; a delivery queued for an earlier one is stale.
  uint64_t attempt = 0;
  bool deliveryQueued = false;
  Pending pending;
  int64_t lastErrorCode = 0;
  String lastErrorMessage;
  // Why the certificate checks refused the server of the handshake under way.
  String refusal;
};

TCPSocket::TCPSocket() : d(std::make_unique<Impl>()) {
  KeepReceiveBlocksOnTheHeap();
  _Attach(d->plain);
  d->connectLimit.setSingleShot(true);
  d->connectLimit.setTimerType(Qt::PreciseTimer);
  QObject::connect(&d->connectLimit, &QTimer::timeout, &d->context, [this] { _FailToConnect(ETIMEDOUT); });
}

TCPSocket::~TCPSocket() { _StopConnecting(); }

int64_t TCPSocket::BytesAvailable() const { return d->socket->bytesAvailable(); }

void TCPSocket::Close() {
  ++d->attempt;
  d->deliveryQueued = false;
  d->pending = {};
  d->addresses.clear();
  d->lookingUp = false;
  _StopConnecting();
  d->plain.abort();
  if (d->secure) d->secure->abort();
  d->socket = &d->plain;
}

void TCPSocket::Connect() {
  Close();
  d->lastErrorCode = 0;
  d->lastErrorMessage = "";
  if (Port < 1 || Port > 65535) {
    _Fail(ErrorCode(QAbstractSocket::SocketAddressNotAvailableError),
          "no port to connect to on " + Address + " (" + Str(Port) + ")");
    return;
  }
  const QString host = QString::fromStdString(Address);
  QHostAddress literal;
  if (literal.setAddress(host)) {
    d->addresses = {literal};
  } else if (!host.isEmpty() && HostLookup()) {
    for (const String& address : HostLookup()(Address)) {
      d->addresses.append(QHostAddress(QString::fromStdString(address)));
    }
  } else if (!host.isEmpty()) {
    d->lookingUp = true;
    QHostInfo::lookupHost(host, &d->context, [this, attempt = d->attempt](const QHostInfo& info) {
      if (attempt != d->attempt || !d->lookingUp) return;
      d->lookingUp = false;
      d->addresses = info.addresses();
      _TryAddresses();
    });
    return;
  }
  _TryAddresses();
}

bool TCPSocket::IsConnected() const { return d->socket->state() == QAbstractSocket::ConnectedState; }

int64_t TCPSocket::LastErrorCode() const { return d->lastErrorCode; }

String TCPSocket::LastErrorMessage() const { return d->lastErrorMessage; }

String TCPSocket::Lookahead() {
  if (!d->socket->isOpen()) return {};
  const QByteArray bytes = d->socket->peek(d->socket->bytesAvailable());
  return {bytes.constData(), static_cast<size_t>(bytes.size())};
}

void TCPSocket::Poll() {
  if (!d->pending.Any()) _WaitForActivity();
  _Deliver();
}

void TCPSocket::Purge() {
  if (d->socket->isOpen()) d->socket->skip(d->socket->bytesAvailable());
}

String TCPSocket::Read(int64_t count) {
  const int64_t available = d->socket->bytesAvailable();
  const int64_t wanted = count < 1 ? available : std::min(count, available);
  if (wanted == 0) return {};
  String bytes(static_cast<size_t>(wanted), '\0');
  const int64_t got = d->socket->read(bytes.data(), wanted);
  bytes.resize(static_cast<size_t>(std::max<int64_t>(got, 0)));
  return bytes;
}

String TCPSocket::ReadAll() { return Read(0); }

// The connection passes to a TLS socket on a copy of its descriptor; the
// plain one, closed, takes nothing with it: the peer sends no byte before
// the handshake that the client begins.
void TCPSocket::StartTLS(const String& hostName) {
  TLSHostName = hostName;
  const int descriptor = d->socket == &d->plain && IsConnected()
                             ? fcntl(static_cast<int>(d->plain.socketDescriptor()), F_DUPFD_CLOEXEC, 0)
                             : -1;
  d->pending = {};
  d->plain.abort();
  if (descriptor == -1) {
    _Fail(ErrorCode(QAbstractSocket::OperationError), "no connection to " + _Endpoint() + " to secure");
    return;
  }
  _StartEncryption(descriptor);
}

void TCPSocket::Write(const String& bytes) {
  if (IsConnected()) d->socket->write(bytes.data(), static_cast<qint64>(bytes.size()));
}

// The events of a Qt socket become pending events of this one.
void TCPSocket::_Attach(QTcpSocket& socket) {
  socket.setReadBufferSize(kReadBufferSize);
  QObject::connect(&socket, &QTcpSocket::readyRead, &d->context, [this] {
    d->pending.dataAvailable = true;
    _Schedule();
  });
  QObject::connect(&socket, &QTcpSocket::bytesWritten, &d->context, [this] {
    if (d->socket->bytesToWrite() > 0) return;
    d->pending.sendComplete = true;
    _Schedule();
  });
  QObject::connect(&socket, &QTcpSocket::errorOccurred, &d->context, [this](QAbstractSocket::SocketError error) {
    // A wait of Qt's own that ran out leaves the connection as it was.
    if (error == QAbstractSocket::SocketTimeoutError && IsConnected()) return;
    if (error == QAbstractSocket::SslHandshakeFailedError) {
      _Fail(d->refusal != "" ? kCertificateRefused : ErrorCode(error),
            d->refusal != ""
                ? d->refusal
                : "TLS handshake with " + TLSHostName + " failed: " + d->socket->errorString().toStdString());
    } else if (error == QAbstractSocket::RemoteHostClosedError) {
      _Fail(ErrorCode(error), "connection closed by " + _Endpoint());
    } else {
      _Fail(ErrorCode(error), d->socket->errorString().toStdString() + " (" + _Endpoint() + ")");
    }
  });
}

// Once the connection under way has an outcome: it stands and QTcpSocket
// takes it over, or the next address is tried, or it fails.
void TCPSocket::_CheckConnection() {
  if (d->connecting == -1) return;
  int error = 0;
  socklen_t length = sizeof error;
  if (getsockopt(d->connecting, SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
  if (error == EINPROGRESS || error == EALREADY) {
    d->connectingNotifier->setEnabled(true);
    return;
  }
  if (error != 0) {
    _FailToConnect(error);
    return;
  }
  const int descriptor = d->connecting;
  d->connecting = -1;
  _StopConnecting();
  d->addresses.clear();
  if (TLSHostName != "") {
    _StartEncryption(descriptor);
    return;
  }
  d->plain.setSocketDescriptor(descriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite);
  d->pending.connected = true;
  _Schedule();
}

void TCPSocket::_ConnectToNextAddress() {
  _StopConnecting();
  int descriptor = -1;
  d->tried = d->addresses.takeFirst();
  const int error = StartConnect(d->tried, static_cast<uint16_t>(Port), &descriptor);
  d->connecting = descriptor;
  if (error != 0) {
    _FailToConnect(error);
    return;
  }
  d->connectingNotifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Write);
  QObject::connect(d->connectingNotifier.get(), &QSocketNotifier::activated, &d->context, [this] {
    d->connectingNotifier->setEnabled(false);
    d->pending.connectionReady = true;
    _Schedule();
  });
  d->connectLimit.start(static_cast<int>(std::clamp<int64_t>(ConnectLimit, 0, INT_MAX)));
}

// Raises the pending events one at a time, in the order in which a
// connection produces them. Each is taken off before its handler runs, and a
// handler that closes or reconnects drops the rest with the old connection.
void TCPSocket::_Deliver() {
  Impl::Pending& pending = d->pending;
  while (pending.Any()) {
    if (pending.nextAddress) {
      pending.nextAddress = false;
      _ConnectToNextAddress();
    } else if (pending.connectionReady) {
      pending.connectionReady = false;
      _CheckConnection();
    } else if (pending.connected) {
      pending.connected = false;
      Event_Connected();
    } else if (pending.dataAvailable) {
      pending.dataAvailable = false;
      Event_DataAvailable();
    } else if (pending.sendComplete) {
      pending.sendComplete = false;
      Event_SendComplete(false);
    } else {
      pending.error = false;
      d->lastErrorCode = pending.errorCode;
      d->lastErrorMessage = pending.errorMessage;
      Event_Error();
    }
  }
}

String TCPSocket::_Endpoint() const {
  const String port = ":" + Str(Port);
  if (d->tried.isNull()) return Address + port;
  const String tried = d->tried.protocol() == QAbstractSocket::IPv6Protocol
                           ? "[" + d->tried.toString().toStdString() + "]"
                           : d->tried.toString().toStdString();
  return QHostAddress(QString::fromStdString(Address)).isNull() ? Address + port + " (" + tried + ")" : tried + port;
}

void TCPSocket::_Fail(int64_t code, const String& message) {
  d->pending.error = true;
  d->pending.errorCode = code;
  d->pending.errorMessage = message;
  _Schedule();
}

void TCPSocket::_FailToConnect(int error) {
  _StopConnecting();
  if (d->addresses.isEmpty()) {
    String message = "cannot connect to " + _Endpoint() + ": " + std::strerror(error);
    if (error == ECONNREFUSED) message = "connection refused by " + _Endpoint();
    if (error == ETIMEDOUT) {
      message =
          "no answer from " + _Endpoint() + " within " + Format(static_cast<double>(ConnectLimit) / 1000, "0.#") + " s";
    }
    _Fail(ErrorCode(ConnectError(error)), message);
  } else {
    d->pending.nextAddress = true;
    _Schedule();
  }
}

// The addresses of the host are known: the first is tried, or the host is not found.
void TCPSocket::_TryAddresses() {
  if (d->addresses.isEmpty()) {
    _Fail(ErrorCode(QAbstractSocket::HostNotFoundError), "no address for " + Address);
  } else {
    d->pending.nextAddress = true;
    _Schedule();
  }
}

// Every event is delivered from a call of its own in the event loop, with Qt
// no longer on the stack.
void TCPSocket::_Schedule() {
  if (d->deliveryQueued) return;
  d->deliveryQueued = true;
  QMetaObject::invokeMethod(
      &d->context,
      [this, attempt = d->attempt] {
        if (attempt != d->attempt) return;
        d->deliveryQueued = false;
        _CallFunctionWithExceptionHandling([this] { _Deliver(); });
      },
      Qt::QueuedConnection);
}

// The TLS socket takes the connection over and begins the handshake;
// Connected comes with its end.
void TCPSocket::_StartEncryption(int descriptor) {
  if (!QSslSocket::supportsSsl()) {
    ::close(descriptor);
    _Fail(ErrorCode(QAbstractSocket::SslInternalError), "TLS is not available here (no TLS library for Qt)");
    return;
  }
  // A TLS socket once encrypted can't start another handshake: each
  // connection gets a new one.
  d->socket = &d->plain;
  d->secure = std::make_unique<QSslSocket>();
  _Attach(*d->secure);
  // Encrypted and decrypted bytes are held apart, and read in blocks of
  // the buffer's size; smaller buffers keep the memory of TLS small.
  d->secure->setReadBufferSize(kTLSReadBufferSize);
  QObject::connect(d->secure.get(), &QSslSocket::encrypted, &d->context, [this] {
    d->pending.connected = true;
    _Schedule();
  });
  QObject::connect(d->secure.get(), &QSslSocket::sslErrors, &d->context, [this](const QList<QSslError>& errors) {
    const QList<QSslError> standing = StandingErrors(errors, d->secure->peerCertificateChain(), TLSHostName);
    if (standing.isEmpty()) {
      d->secure->ignoreSslErrors(errors);
    } else {
      d->refusal = CertificateRefusal(standing, TLSHostName);
    }
  });
  d->refusal = "";
  d->socket = d->secure.get();
  d->secure->setSslConfiguration(TrustedConfiguration());
  d->secure->setPeerVerifyName(QString::fromStdString(TLSHostName));
  d->secure->setSocketDescriptor(descriptor, QAbstractSocket::ConnectedState, QIODevice::ReadWrite);
  d->secure->startClientEncryption();
}

void TCPSocket::_StopConnecting() {
  d->connectLimit.stop();
  d->connectingNotifier.reset();
  if (d->connecting != -1) ::close(d->connecting);
  d->connecting = -1;
}

// Lets the connection move on, waiting at most a tick. Qt's own waits are
// entered only once poll() has seen the socket ready, since they report a
// wait that runs out as an error of the connection.
void TCPSocket::_WaitForActivity() {
  if (d->lookingUp) {
    d->lookingUp = false;
    d->addresses = QHostInfo::fromName(QString::fromStdString(Address)).addresses();
    _TryAddresses();
    return;
  }
  pollfd descriptor{d->connecting, POLLOUT, 0};
  if (d->connecting != -1) {
    // The limit's timer fires only in the event loop: here it is read.
    const int left = d->connectLimit.remainingTime();
    if (poll(&descriptor, 1, left < 0 ? kTickMilliseconds : std::min(left, kTickMilliseconds)) > 0) {
      d->pending.connectionReady = true;
    } else if (d->connectLimit.remainingTime() == 0) {
      _FailToConnect(ETIMEDOUT);
    }
    return;
  }
  if (!IsConnected()) return;
  if (d->socket == d->secure.get()) {
    // The TLS socket posts its further work (decrypting what it holds,
    // sending what was written) to itself; without an event loop it is run here.
    QCoreApplication::sendPostedEvents(d->secure.get(), QEvent::MetaCall);
    if (!d->secure->isEncrypted()) {
      // The handshake's messages go both ways; Qt's own wait moves them on.
      d->secure->waitForEncrypted(kTickMilliseconds);
      return;
    }
  }
  descriptor = {static_cast<int>(d->socket->socketDescriptor()), 0, 0};
  if (BytesAvailable() < kReadBufferSize) descriptor.events |= POLLIN;
  if (d->socket->bytesToWrite() > 0) descriptor.events |= POLLOUT;
  if (poll(&descriptor, 1, kTickMilliseconds) < 1) return;
  if ((descriptor.revents & ~POLLOUT) != 0) {
    d->socket->waitForReadyRead(0);
  } else {
    d->socket->waitForBytesWritten(0);
  }
}

ScopedHostLookup::ScopedHostLookup(std::function<std::vector<String>(const String& name)> lookup)
    : mPrevious(std::exchange(HostLookup(), std::move(lookup))) {}

ScopedHostLookup::~ScopedHostLookup() { HostLookup() = std::move(mPrevious); }

}  // namespace velmaris
