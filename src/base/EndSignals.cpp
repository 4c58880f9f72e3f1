#include "base/EndSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <cerrno>
#include <csignal>

#include "base/Runtime.h"

namespace velmaris {

namespace {

// The handler may only write a byte to a pipe; the event loop reads it.
int gPipe[2] = {-1, -1};

extern "C" void NoteSignal(int /*signal*/) {
  const int saved = errno;
  const char byte = 1;
  [[maybe_unused]] const ssize_t written = write(gPipe[1], &byte, 1);
  errno = saved;
}

}  // namespace

void CatchEndSignals(std::function<void()> action) {
  static std::function<void()> current;
  current = std::move(action);
  if (gPipe[0] != -1 || pipe(gPipe) != 0) return;
  for (const int end : gPipe) {
    fcntl(end, F_SETFD, FD_CLOEXEC);
    fcntl(end, F_SETFL, fcntl(end, F_GETFL) | O_NONBLOCK);
  }
  // Owned by the application object, and gone with it.
  auto* notifier = new QSocketNotifier(gPipe[0], QSocketNotifier::Read, QCoreApplication::instance());
  QObject::connect(notifier, &QSocketNotifier::activated, [] {
    char bytes[16];
    while (read(gPipe[0], bytes, sizeof bytes) > 0) {
    }
    _CallFunctionWithExceptionHandling(current);
  });
  struct sigaction handling {};
  handling.sa_handler = NoteSignal;
  sigemptyset(&handling.sa_mask);
  handling.sa_flags = SA_RESTART;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaction(signal, &handling, nullptr);
}

}  // namespace velmaris
