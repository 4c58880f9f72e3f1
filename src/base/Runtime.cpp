#include "base/Runtime.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QMessageBox>
#include <QString>
#include <iostream>

namespace velmaris {

namespace {

struct RunState {
  bool ending = false;
  int64_t exitCode = 0;
};

RunState& State() {
  static RunState state;
  return state;
}

void EndRun(int64_t code) {
  State().ending = true;
  State().exitCode = code;
  if (QCoreApplication::instance() != nullptr) QCoreApplication::exit(static_cast<int>(code));
}

void Report(const std::string& className, const std::string& message) {
  const std::string text = "Unhandled " + className + (message.empty() ? "" : ": " + message);
  std::cerr << "VelmarisMAJ: " << text << std::endl;
  if (HasDisplay()) {
    QMessageBox box(QMessageBox::Critical, QStringLiteral("VelmarisMAJ"), QString::fromStdString(text));
    box.exec();
  }
}

}  // namespace

void Quit(int64_t code) {
  EndRun(code);
  throw EndException();
}

bool RunIsEnding() { return State().ending; }

int64_t RunExitCode() { return State().exitCode; }

void ResetRunState() { State() = RunState{}; }

void DoEvents() {
  if (QCoreApplication::instance() != nullptr) QCoreApplication::processEvents(QEventLoop::AllEvents);
}

void _CallFunctionWithExceptionHandling(const std::function<void()>& function) {
  try {
    function();
  } catch (const EndException&) {
  } catch (const ThreadEndException&) {
  } catch (const RuntimeException& error) {
    UnhandledException(error);
  } catch (const std::exception& error) {
    // Not of the runtime's family; reported all the same, since nothing may
    // escape into the event loop.
    Report("exception", error.what());
    EndRun(0);
  }
}

bool HasDisplay() {
  return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr &&
         QGuiApplication::platformName() != QLatin1String("offscreen") &&
         QGuiApplication::platformName() != QLatin1String("minimal");
}

void UnhandledException(const RuntimeException& error) {
  Report(error.ClassName(), error.Message());
  EndRun(0);
}

}  // namespace velmaris
