#include "support/TestServer.h"

#include <sys/socket.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <mutex>

namespace velmaris::testing {

namespace {

char Folded(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// True when the bytes hold a request head and the body its Content-length announces.
bool RequestComplete(const std::string& bytes) {
  size_t headEnd = bytes.find("\r\n\r\n");
  size_t separator = 4;
  if (headEnd == std::string::npos) {
    headEnd = bytes.find("\n\n");
    separator = 2;
  }
  if (headEnd == std::string::npos) return false;
  std::string head = bytes.substr(0, headEnd);
  std::transform(head.begin(), head.end(), head.begin(), Folded);
  size_t length = 0;
  const size_t field = head.find("\ncontent-length:");
  if (field != std::string::npos) length = std::stoul(head.substr(field + 16));
  return bytes.size() >= headEnd + separator + length;
}

}  // namespace

struct TestServer::Impl {
  QThread thread;
  // Lives in the thread; the listener and the connections are its children.
  QObject* root = nullptr;
  uint16_t port = 0;

  mutable std::mutex mutex;
  std::vector<Script> scripts;
  size_t nextScript = 0;
  std::vector<std::string> received;

  void Accept(QTcpServer* listener);
  void Play(QTcpSocket* socket, const Script& script, size_t index, size_t step);
};

void TestServer::Impl::Accept(QTcpServer* listener) {
  while (QTcpSocket* socket = listener->nextPendingConnection()) {
    Script script;
    size_t index = 0;
    {
      std::lock_guard lock(mutex);
      if (!scripts.empty()) script = scripts[std::min(nextScript++, scripts.size() - 1)];
      index = received.size();
      received.emplace_back();
    }
    socket->setParent(root);
    QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, index] {
      const QByteArray bytes = socket->readAll();
      std::lock_guard lock(mutex);
      received[index].append(bytes.constData(), static_cast<size_t>(bytes.size()));
    });
    Play(socket, script, index, 0);
  }
}

// Plays the script from the step on; a step that waits arranges to be resumed.
void TestServer::Impl::Play(QTcpSocket* socket, const Script& script, size_t index, size_t step) {
  for (; step < script.size(); ++step) {
    const Step& current = script[step];
    switch (current.kind) {
      case Step::Kind::ReadRequest: {
        std::string sofar;
        {
          std::lock_guard lock(mutex);
          sofar = received[index];
        }
        if (!RequestComplete(sofar)) {
          if (socket->state() != QAbstractSocket::ConnectedState) return;
          QTimer::singleShot(2, socket, [=, this] { Play(socket, script, index, step); });
          return;
        }
        break;
      }
      case Step::Kind::Send:
        socket->write(current.bytes.data(), static_cast<qint64>(current.bytes.size()));
        socket->flush();
        break;
      case Step::Kind::Pause:
        QTimer::singleShot(current.milliseconds, socket, [=, this] { Play(socket, script, index, step + 1); });
        return;
      case Step::Kind::Close:
        socket->disconnectFromHost();
        return;
      case Step::Kind::Reset: {
        const linger immediately{1, 0};
        setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
                   sizeof immediately);
        socket->abort();
        return;
      }
    }
  }
}

TestServer::Step TestServer::ReadRequest() { return {Step::Kind::ReadRequest, {}, 0}; }

TestServer::Step TestServer::Send(std::string bytes) { return {Step::Kind::Send, std::move(bytes), 0}; }

TestServer::Step TestServer::Pause(int milliseconds) { return {Step::Kind::Pause, {}, milliseconds}; }

TestServer::Step TestServer::Close() { return {Step::Kind::Close, {}, 0}; }

TestServer::Step TestServer::Reset() { return {Step::Kind::Reset, {}, 0}; }

TestServer::Script TestServer::SendPieces(const std::vector<std::string>& pieces, int pauseMilliseconds) {
  Script script;
  for (const std::string& piece : pieces) {
    if (!script.empty()) script.push_back(Pause(pauseMilliseconds));
    script.push_back(Send(piece));
  }
  return script;
}

TestServer::Script TestServer::Respond(const std::string& response, std::mt19937& random) {
  Script script{ReadRequest()};
  for (Step& step : SendPieces(RandomPieces(response, random))) script.push_back(std::move(step));
  script.push_back(Close());
  return script;
}

TestServer::TestServer() : d(std::make_unique<Impl>()) {
  d->root = new QObject;  // NOLINT(cppcoreguidelines-owning-memory): deleted in its thread by deleteLater
  d->root->moveToThread(&d->thread);
  d->thread.start();
  QMetaObject::invokeMethod(
      d->root,
      [this] {
        auto* listener = new QTcpServer(d->root);
        listener->listen(QHostAddress::LocalHost, 0);
        d->port = listener->serverPort();
        QObject::connect(listener, &QTcpServer::newConnection, listener, [this, listener] { d->Accept(listener); });
      },
      Qt::BlockingQueuedConnection);
}

TestServer::~TestServer() {
  QMetaObject::invokeMethod(
      d->root,
      [this] {
        qDeleteAll(d->root->children());
        d->root->deleteLater();
      },
      Qt::BlockingQueuedConnection);
  d->thread.quit();
  d->thread.wait();
}

void TestServer::Serve(std::vector<Script> scripts) {
  std::lock_guard lock(d->mutex);
  d->scripts = std::move(scripts);
  d->nextScript = 0;
}

uint16_t TestServer::Port() const { return d->port; }

std::string TestServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(d->port) + path;
}

std::vector<std::string> TestServer::Received() const {
  std::lock_guard lock(d->mutex);
  return d->received;
}

int TestServer::Connections() const {
  std::lock_guard lock(d->mutex);
  return static_cast<int>(d->received.size());
}

uint16_t TestServer::RefusingPort() {
  QTcpServer probe;
  probe.listen(QHostAddress::LocalHost, 0);
  return probe.serverPort();
}

std::vector<std::string> RandomPieces(const std::string& bytes, std::mt19937& random) {
  std::vector<std::string> pieces;
  size_t from = 0;
  while (from < bytes.size()) {
    const size_t left = bytes.size() - from;
    // Mostly short pieces, so that line ends and the empty line get cut too.
    std::uniform_int_distribution<size_t> length(1, std::min<size_t>(left, random() % 4 == 0 ? 4096 : 16));
    pieces.push_back(bytes.substr(from, length(random)));
    from += pieces.back().size();
  }
  return pieces;
}

bool WaitUntil(const std::function<bool()>& condition, int milliseconds) {
  QElapsedTimer elapsed;
  elapsed.start();
  QTimer wakeUp;  // ends each wait below within a few milliseconds
  wakeUp.start(5);
  while (!condition()) {
    if (elapsed.elapsed() > milliseconds) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
  return true;
}

}  // namespace velmaris::testing
