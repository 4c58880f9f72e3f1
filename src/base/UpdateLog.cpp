#include "base/UpdateLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <ctime>

#include "base/System.h"

namespace velmaris {

namespace {

constexpr off_t kLargestLog = off_t{1024} * 1024;
// A step longer than this is cut: a line stays readable, and the log bounded.
constexpr size_t kLongestLine = 4096;

struct Log {
  String path;
  int descriptor = -1;
};

Log& TheLog() {
  static Log log;
  return log;
}

String LogFolder() {
#if defined(Q_OS_MACOS)
  return QDir::homePath().toStdString() + "/Library/Logs";
#else
  // A relative XDG_STATE_HOME is invalid and ignored, as the XDG base directory rules say.
  const String state = System::EnvironmentVariable("XDG_STATE_HOME");
  return (state.starts_with('/') ? state : QDir::homePath().toStdString() + "/.local/state") + "/Velmaris";
#endif
}

void Reopen(Log& log) {
  if (log.descriptor >= 0) close(log.descriptor);
  log.descriptor = open(log.path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

// "2026-11-24T14:30:05+01:00"
String LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[40];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &local);
  String time(text, length);
  if (time.size() >= 5) time.insert(time.size() - 2, ":");
  return time;
}

}  // namespace

void OpenUpdateLog() {
  Log& log = TheLog();
  const String folder = LogFolder();
  if (!folder.starts_with('/') || !QDir().mkpath(QString::fromStdString(folder))) return;
  log.path = folder + "/VelmarisMAJ.log";
  Reopen(log);
}

void LogStep(const String& step) {
  Log& log = TheLog();
  if (log.descriptor < 0) return;
  struct stat status {};
  if (fstat(log.descriptor, &status) == 0 && status.st_size >= kLargestLog) {
    rename(log.path.c_str(), (log.path + ".1").c_str());
    Reopen(log);
    if (log.descriptor < 0) return;
  }
  String line = LocalTime() + " [" + Str(static_cast<int64_t>(getpid())) + "] " + step;
  if (line.size() > kLongestLine) line = line.substr(0, kLongestLine) + "...";
  line += "\n";
  [[maybe_unused]] const ssize_t written = write(log.descriptor, line.data(), line.size());
}

String UpdateLogPath() { return TheLog().descriptor >= 0 ? TheLog().path : ""; }

}  // namespace velmaris
