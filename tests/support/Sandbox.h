#pragma once
// Sandboxes for the jobs' tests: a temporary home for a test in this
// process, the real binary run headless in a home of its own, and the
// sandbox applications that both re-open.

#include <gtest/gtest.h>

#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

#include "support/Files.h"

namespace velmaris::testing {

// A temporary folder whose "/home" is HOME and holds Downloads, and whose
// "/data" is XDG_DATA_HOME. Every variable set gets its value back at the end.
class Sandbox {
 public:
  Sandbox() {
    std::filesystem::create_directories(At("/home/Downloads"));
    Set("HOME", At("/home"));
    Set("XDG_DATA_HOME", At("/data"));
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
// it, appends "opened <version>" to $HOME/opened.txt.
inline void MakeApplication(const std::string& bundle, const std::string& version) {
  std::filesystem::create_directories(bundle + "/Contents/MacOS");
  WriteFile(bundle + "/Contents/version.txt", version);
  WriteFile(bundle + "/Contents/MacOS/Velmaris",
            "#!/bin/sh\necho \"opened " + version + "\" >> \"$HOME/opened.txt\"\n");
  std::filesystem::permissions(bundle + "/Contents/MacOS/Velmaris", std::filesystem::perms(0755));
}

// One run of the binary, with HOME at "/home" in a folder of its own, which
// holds Downloads; no display, XDG_DATA_HOME or XDG_RUNTIME_DIR unless given.
class ToolRun {
 public:
  std::string At(const std::string& path) const { return mFolder.path().toStdString() + path; }
  void Start(const std::vector<std::string>& arguments, const std::map<std::string, std::string>& variables) {
    std::filesystem::create_directories(At("/home/Downloads"));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"})
      environment.remove(name);
    environment.insert("HOME", QString::fromStdString(At("/home")));
    for (const auto& [name, value] : variables) environment.insert(name.c_str(), QString::fromStdString(value));
    QStringList list;
    for (const std::string& argument : arguments) list << QString::fromStdString(argument);
    mTool.setProcessEnvironment(environment);
    mTool.start(VELMARIS_BINARY, list);
  }
  // Waits for the end, which must be an exit with status 0; gives stderr.
  std::string Finish() {
    EXPECT_TRUE(mTool.waitForFinished(90000));
    EXPECT_EQ(mTool.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(mTool.exitCode(), 0);
    return mTool.readAllStandardError().toStdString();
  }
  // What the re-opened applications wrote. open returns before the
  // application has run, so an expected opening is given a few seconds.
  std::string Opened(bool expected) const {
    for (int wait = 0; expected && wait < 50 && !std::filesystem::exists(At("/home/opened.txt")); ++wait) {
      QThread::msleep(100);
    }
    return ReadFile(At("/home/opened.txt"));
  }

 private:
  QTemporaryDir mFolder;
  QProcess mTool;
};

}  // namespace velmaris::testing
