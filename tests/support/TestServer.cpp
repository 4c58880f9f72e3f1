#include "support/TestServer.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <cctype>
#include <mutex>
#include <thread>

namespace velmaris::testing {

namespace {

// True when the bytes hold a request head and the body its Content-length announces.
bool RequestComplete(std::string bytes) {
  const size_t headEnd = bytes.find("\r\n\r\n");
  if (headEnd == std::string::npos) return false;
  std::transform(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(headEnd), bytes.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const size_t field = bytes.rfind("\ncontent-length:", headEnd);
  return bytes.size() >= headEnd + 4 + (field == std::string::npos ? 0 : std::stoul(bytes.substr(field + 16)));
}

}  // namespace

// Every connection plays its script in a thread of its own, with blocking
// calls; the destructor shuts the connections down, which ends every wait.
struct TestServer::Impl {
  // Not inherited by the programs that a test starts, so that none keeps a port open.
  int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  uint16_t port = 0;
  std::thread acceptor;
  mutable std::mutex mutex;
  std::vector<Script> scripts;
  size_t nextScript = 0;
  std::vector<std::string> received;
  std::vector<int> sockets;  // closed with the server
  std::vector<std::thread> players;

  // Records what the client sent, into `mine` too; false once it has closed.
  bool Receive(int socket, size_t index, std::string& mine) {
    char buffer[65536];
    const ssize_t count = recv(socket, buffer, sizeof buffer, 0);
    if (count <= 0) return false;
    mine.append(buffer, static_cast<size_t>(count));
    std::lock_guard lock(mutex);
    received[index].append(buffer, static_cast<size_t>(count));
    return true;
  }

  void Play(int socket, size_t index, const Script& script) {
    std::string mine;
    for (const Step& step : script) {
      if (step.kind == Step::Kind::ReadRequest) {
        while (!RequestComplete(mine) && Receive(socket, index, mine)) continue;
      } else if (step.kind == Step::Kind::Send) {
        if (send(socket, step.bytes.data(), step.bytes.size(), MSG_NOSIGNAL) < 0) break;
      } else if (step.kind == Step::Kind::Pause) {
        std::this_thread::sleep_for(std::chrono::milliseconds(step.milliseconds));
      } else {
        shutdown(socket, SHUT_WR);
      }
    }
    // Until the client goes, what it sends is recorded; a script that didn't close stalls here.
    while (Receive(socket, index, mine)) continue;
  }
};

TestServer::TestServer() : d(std::make_unique<Impl>()) {
  sockaddr_in address = {.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
  socklen_t length = sizeof address;
  bind(d->listener, reinterpret_cast<sockaddr*>(&address), length);
  listen(d->listener, SOMAXCONN);
  getsockname(d->listener, reinterpret_cast<sockaddr*>(&address), &length);
  d->port = ntohs(address.sin_port);
  d->acceptor = std::thread([this] {
    for (int socket; (socket = accept4(d->listener, nullptr, nullptr, SOCK_CLOEXEC)) != -1;) {
      std::lock_guard lock(d->mutex);
      const Script script =
          d->scripts.empty() ? Script{} : d->scripts[std::min(d->nextScript++, d->scripts.size() - 1)];
      d->received.emplace_back();
      d->sockets.push_back(socket);
      d->players.emplace_back(
          [this, socket, script, index = d->sockets.size() - 1] { d->Play(socket, index, script); });
    }
  });
}

TestServer::~TestServer() {
  shutdown(d->listener, SHUT_RDWR);
  d->acceptor.join();
  for (const int socket : d->sockets) shutdown(socket, SHUT_RDWR);
  for (std::thread& player : d->players) player.join();
  for (const int socket : d->sockets) close(socket);
  close(d->listener);
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

// The port of a server that is gone.
uint16_t TestServer::RefusingPort() { return TestServer().Port(); }

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
