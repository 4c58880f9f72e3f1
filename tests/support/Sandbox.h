#pragma once
// Sandboxes for the jobs' tests: a temporary home for a test in this
// process, the real binary run headless in a home of its own, and the
// sandbox applications that both re-open.

#include <gtest/gtest.h>
#include <signal.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include "support/Files.h"

namespace velmaris::testing {

// A temporary folder whose "/home" is HOME and holds Downloads, whose
// "/data" is XDG_DATA_HOME and whose "/tmp" is TMPDIR, where the tool's locks
// go. Every variable set gets its value back at the end.
class Sandbox {
 public:
  Sandbox() {
    std::filesystem::create_directories(At("/home/Downloads"));
    std::filesystem::create_directories(At("/tmp"));
    Set("HOME", At("/home"));
    Set("XDG_DATA_HOME", At("/data"));
    Set("TMPDIR", At("/tmp"));
  }
  ~Sandbox() {
    for (const auto& [name, value] : mSaved) value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  }
  std::string At(const std::string& path) const { return mFolder.path().toStdString() + path; }
  void Set(const std::string& name, const std::string& value) {
    const char* old = std::getenv(name.c_str());
    mSaved.try_emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
    setenv(name.c_str(), value.c_str(), 1);
  }

 private:
  QTemporaryDir mFolder;
  std::map<std::string, std::optional<std::string>> mSaved;
};

// An application bundle of that version whose executable, when open starts
// it, appends "opened <version>" to $HOME/opened.txt; with that many more
// files in Contents/Resources, each of which holds the version, and their
// number in Contents/manifest.txt. Its Info.plist names the identifier and
// the version.
inline void MakeApplication(const std::string& bundle, const std::string& version, int resources = 0,
                            const std::string& identifier = "app.velmaris.Velmaris") {
  std::filesystem::create_directories(bundle + "/Contents/MacOS");
  std::filesystem::create_directories(bundle + "/Contents/Resources");
  WriteFile(bundle + "/Contents/Info.plist",
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
            "\t<key>CFBundleIdentifier</key>\n\t<string>" +
                identifier +
                "</string>\n"
                "\t<key>CFBundleShortVersionString</key>\n\t<string>" +
                version + "</string>\n</dict>\n</plist>\n");
  WriteFile(bundle + "/Contents/version.txt", version);
  WriteFile(bundle + "/Contents/MacOS/Velmaris",
            "#!/bin/sh\necho \"opened " + version + "\" >> \"$HOME/opened.txt\"\n");
  std::filesystem::permissions(bundle + "/Contents/MacOS/Velmaris", std::filesystem::perms(0755));
  for (int i = 0; i < resources; ++i) WriteFile(bundle + "/Contents/Resources/" + std::to_string(i), version);
  WriteFile(bundle + "/Contents/manifest.txt", std::to_string(resources));
}

// The tool's own folder in the Downloads of that home, named after the application's path.
inline std::string OwnFolder(const std::string& home, const std::string& application) {
  const QByteArray path = QByteArray::fromStdString(std::filesystem::weakly_canonical(application).string());
  return home + "/Downloads/.VelmarisMAJ-" +
         QCryptographicHash::hash(path, QCryptographicHash::Md5).toHex().left(16).toStdString();
}

// The version of the whole application at bundle: "" when nothing stands
// there, "mixed" when a file of its manifest is missing or of another version.
inline std::string InstalledVersion(const std::string& bundle) {
  namespace fs = std::filesystem;
  if (!fs::exists(fs::symlink_status(bundle))) return "";
  const std::string version = ReadFile(bundle + "/Contents/version.txt");
  if (version.empty() || !fs::is_regular_file(bundle + "/Contents/MacOS/Velmaris")) return "mixed";
  std::error_code error;
  int resources = 0;
  for (const auto& file : fs::directory_iterator(bundle + "/Contents/Resources", error)) {
    if (ReadFile(file.path()) != version) return "mixed";
    ++resources;
  }
  return std::to_string(resources) == ReadFile(bundle + "/Contents/manifest.txt") ? version : "mixed";
}

// Runs the sqlite3 program on the database with those commands; gives what it printed.
inline std::string Sql(const std::string& database, const QStringList& commands) {
  std::filesystem::create_directories(std::filesystem::path(database).parent_path());
  QProcess sqlite;
  sqlite.start("sqlite3", QStringList{QString::fromStdString(database)} + commands);
  sqlite.waitForFinished(10000);
  return sqlite.readAllStandardOutput().trimmed().toStdString();
}

// The bytes of a whole SQLite database whose one table t holds the value.
inline std::string DatabaseBytes(const std::string& value) {
  QTemporaryDir folder;
  const std::string database = folder.path().toStdString() + "/d.sqlite";
  Sql(database, {"CREATE TABLE t(v TEXT); INSERT INTO t VALUES ('" + QString::fromStdString(value) + "');"});
  return ReadFile(database);
}

// One run of the binary, with HOME at "/home" and TMPDIR at "/tmp" in a
// folder of its own, or of another run's; no display, XDG_DATA_HOME or
// XDG_RUNTIME_DIR, proxy or SSL_CERT_FILE unless given. It may be started again once it has ended.
class ToolRun {
 public:
  ToolRun() : ToolRun(std::make_shared<QTemporaryDir>()) {}
  explicit ToolRun(std::shared_ptr<QTemporaryDir> folder) : mFolder(std::move(folder)) {}
  const std::shared_ptr<QTemporaryDir>& Folder() const { return mFolder; }
  std::string At(const std::string& path) const { return mFolder->path().toStdString() + path; }
  void Start(const std::vector<std::string>& arguments, const std::map<std::string, std::string>& variables) {
    std::filesystem::create_directories(At("/home"));
    std::filesystem::create_directories(At("/tmp"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name :
         {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "http_proxy",
          "https_proxy", "no_proxy", "HTTP_PROXY", "HTTPS_PROXY", "NO_PROXY", "SSL_CERT_FILE"})
      environment.remove(name);
    environment.insert("HOME", QString::fromStdString(At("/home")));
    environment.insert("TMPDIR", QString::fromStdString(At("/tmp")));
    for (const auto& [name, value] : variables) environment.insert(name.c_str(), QString::fromStdString(value));
    QStringList list;
    for (const std::string& argument : arguments) list << QString::fromStdString(argument);
    mTool.setProcessEnvironment(environment);
    mTool.setWorkingDirectory(QString::fromStdString(At("")));
    mTool.start(VELMARIS_BINARY, list);
  }
  // The binary's process and those it started that run on, with their names.
  std::map<qint64, std::string> Family() const {
    // A process may end while it is read: its files then read as empty.
    const auto read = [](const QString& path) {
      QFile file(path);
      return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    };
    std::map<qint64, std::string> family = {{mTool.processId(), "VelmarisMAJ"}};
    for (bool grew = true; grew;) {
      grew = false;
      for (const QString& entry : QDir("/proc").entryList(QDir::Dirs)) {
        if (entry.toLongLong() == 0 || family.contains(entry.toLongLong())) continue;
        // "pid (name) state ppid ...": the fields behind the name start with the state.
        const QStringList stat = read("/proc/" + entry + "/stat").section(')', -1).split(' ', Qt::SkipEmptyParts);
        if (stat.size() > 1 && family.contains(stat[1].toLongLong())) {
          family[entry.toLongLong()] = read("/proc/" + entry + "/comm").trimmed().toStdString();
          grew = true;
        }
      }
    }
    return family;
  }
  void Signal(int signal) { ::kill(static_cast<pid_t>(mTool.processId()), signal); }
  // Kills the binary and every process it started, as a power cut would.
  void Kill() {
    for (const auto& [pid, name] : Family()) ::kill(static_cast<pid_t>(pid), SIGKILL);
    mTool.waitForFinished(10000);
    mTool.readAllStandardError();
  }
  // Waits for the end, which must be an exit with status 0; gives stderr.
  std::string Finish() {
    // It may have ended while an event loop ran.
    EXPECT_TRUE(mTool.state() == QProcess::NotRunning || mTool.waitForFinished(90000));
    EXPECT_EQ(mTool.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(mTool.exitCode(), 0);
    return mTool.readAllStandardError().toStdString();
  }
  // What the re-opened applications wrote. open returns before the
  // application has run, so an expected opening is given a few seconds;
  // the file stands empty between its creation and the line's one write.
  std::string Opened(bool expected) const {
    for (int wait = 0; expected && wait < 100 && ReadFile(At("/home/opened.txt")).empty(); ++wait) {
      QThread::msleep(100);
    }
    return ReadFile(At("/home/opened.txt"));
  }

 private:
  std::shared_ptr<QTemporaryDir> mFolder;
  QProcess mTool;
};

}  // namespace velmaris::testing
