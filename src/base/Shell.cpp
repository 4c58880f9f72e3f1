#include "base/Shell.h"

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <string>

#include "base/UpdateLog.h"

namespace velmaris {

namespace {

constexpr int64_t kCommandNotFound = 127;
constexpr int64_t kKilledBySignal = 128;

class ProcessExecutor : public ShellExecutor {
 public:
  int64_t Run(const std::string& command) override {
    QProcess child;
    child.setProgram(QStringLiteral("/bin/sh"));
    child.setArguments({QStringLiteral("-c"), QString::fromStdString(command)});
    child.setProcessEnvironment(Environment());
    // No pipes: an application that a command starts and leaves running
    // holds nothing of ours open.
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    child.setStandardInputFile(QProcess::nullDevice());
    child.start();
    if (!child.waitForStarted(-1)) return kCommandNotFound;
    child.waitForFinished(-1);
    if (child.exitStatus() == QProcess::CrashExit) return kKilledBySignal + child.exitCode();
    return child.exitCode();
  }

 private:
  static QProcessEnvironment Environment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
#if !defined(Q_OS_MACOS)
    // The stand-in of open gives the application it starts the user's PATH back.
    const QString path = environment.value(QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin"));
    const QString standIns = QCoreApplication::applicationDirPath() + QStringLiteral("/macos-tools");
    environment.insert(QStringLiteral("VELMARIS_USER_PATH"), path);
    environment.insert(QStringLiteral("PATH"), standIns + u':' + path);
#endif
    return environment;
  }
};

std::unique_ptr<ShellExecutor>& CurrentExecutor() {
  static std::unique_ptr<ShellExecutor> executor = std::make_unique<ProcessExecutor>();
  return executor;
}

}  // namespace

void Shell::Execute(const std::string& command) {
  mErrorCode = CurrentExecutor()->Run(command);
  LogStep("command: " + command + " (exit status " + std::to_string(mErrorCode) + ")");
}

ScopedShellExecutor::ScopedShellExecutor(std::unique_ptr<ShellExecutor> executor)
    : mPrevious(std::move(CurrentExecutor())) {
  CurrentExecutor() = std::move(executor);
}

ScopedShellExecutor::~ScopedShellExecutor() { CurrentExecutor() = std::move(mPrevious); }

}  // namespace velmaris
