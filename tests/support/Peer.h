#pragma once
// A server program we did not write, run on loopback for the life of the
// object: Python's http.server, lighttpd, and the starters beside this file
// for nginx (serve-nginx) and tinyproxy (serve-tinyproxy).

#include <QProcess>
#include <QTcpSocket>
#include <string>

#include "support/TestServer.h"

namespace velmaris::testing {

struct Peer : QProcess {
  Peer(const QString& program, const QStringList& arguments) { start(program, arguments); }
  ~Peer() override {
    terminate();
    waitForFinished();
  }
  // True once it accepts connections there; false when it ended first.
  bool Listens(const QString& address, uint16_t port) {
    return waitForStarted() && WaitUntil([&] {
             QTcpSocket probe;
             probe.connectToHost(address, port);
             return state() == NotRunning || probe.waitForConnected(100);
           }) &&
           state() == Running;
  }
  // Why it does not run: what it wrote on stderr, such as the program that is missing.
  std::string Why() { return readAllStandardError().toStdString(); }
};

}  // namespace velmaris::testing
