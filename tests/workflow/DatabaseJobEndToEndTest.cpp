// The database job end to end: the real binary, headless, with a sandbox
// home, on SQLite files made with the sqlite3 program. The runs wait for
// real, so they go side by side.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QThread>
#include <filesystem>
#include <memory>

#include "support/Files.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

std::string Sql(const std::string& database, const std::string& statements) {
  QProcess sqlite;
  sqlite.start("sqlite3", {QString::fromStdString(database), QString::fromStdString(statements)});
  sqlite.waitForFinished(10000);
  return sqlite.readAllStandardOutput().trimmed().toStdString();
}

// A database in WAL mode whose last commit is still in its -wal file, as a
// main application that was killed leaves it.
void MakeLiveDatabase(const std::string& database) {
  fs::create_directories(fs::path(database).parent_path());
  Sql(database, "PRAGMA journal_mode=WAL; CREATE TABLE t(v TEXT); INSERT INTO t VALUES ('A1'), ('A2');");
  QProcess sqlite;
  sqlite.start("sqlite3", {QString::fromStdString(database)});
  sqlite.write("INSERT INTO t VALUES ('A3');\n.print committed\n");
  while (!sqlite.readAllStandardOutput().contains("committed") && sqlite.waitForReadyRead(10000)) {
  }
  sqlite.kill();
  sqlite.waitForFinished(10000);
}

void MakeBackup(const std::string& database) {
  fs::create_directories(fs::path(database).parent_path());
  Sql(database, "CREATE TABLE t(v TEXT); INSERT INTO t VALUES ('B1'), ('B2'), ('B3');");
}

// An application bundle whose executable records that it ran.
void MakeApplication(const std::string& bundle, const std::string& record) {
  const std::string executable = bundle + "/Contents/MacOS/Velmaris";
  fs::create_directories(fs::path(executable).parent_path());
  testing::WriteFile(executable, "#!/bin/sh\necho opened > \"" + record + "\"\n");
  fs::permissions(executable, fs::perms(0755));
}

struct Row {
  const char* name;
  std::string application;  // under the sandbox
  std::string data;         // the data folder the tool must find, under the sandbox
  bool dataHome;            // XDG_DATA_HOME set, or left to ~/.local/share
  std::string sauvedb;
  std::string rows;  // the database's rows afterwards; "" when it is gone
  bool kept;         // the restore failed: the live files keep their bytes, the message is on stderr
};

struct Running {
  const Row* row;
  QTemporaryDir sandbox;
  std::unique_ptr<QProcess> tool;
  std::string live;
  std::string liveBytes;
  std::string walBytes;

  std::string At(const std::string& path) const { return sandbox.path().toStdString() + path; }
};

TEST(DatabaseJobEndToEnd, TheBinaryRestoresRemovesOrKeepsTheDatabaseAndReopensTheApplication) {
  const Row rows[] = {
      {.name = "backup restored",
       .application = "/home/Applications/Velmaris.app",
       .data = "/data home/Velmaris",
       .dataHome = true,
       .sauvedb = "BackupsDB/Velmaris 2024-05-01.sqlite",
       .rows = "B1 B2 B3",
       .kept = false},
      {.name = "_INIT removes the database",
       .application = "/home/Applications/Velmaris.app",
       .data = "/home/.local/share/Velmaris",
       .dataHome = false,
       .sauvedb = "Velmaris_INIT",
       .rows = "",
       .kept = false},
      {.name = "missing backup keeps the database",
       .application = "/home/Applications/Velmaris.app",
       .data = "/data home/Velmaris",
       .dataHome = true,
       .sauvedb = "BackupsDB/missing.sqlite",
       .rows = "A1 A2 A3",
       .kept = true},
      {.name = "portable copy with its data beside it",
       .application = "/Velmaris Stick/Velmaris Portable.app",
       .data = "/Velmaris Stick/Velmaris",
       .dataHome = true,
       .sauvedb = "BackupsDB/Velmaris 2024-05-01.sqlite",
       .rows = "B1 B2 B3",
       .kept = false},
  };

  std::vector<std::unique_ptr<Running>> runs;
  for (const Row& row : rows) {
    auto run = std::make_unique<Running>();
    run->row = &row;
    run->live = run->At(row.data + "/Velmaris.sqlite");
    MakeLiveDatabase(run->live);
    ASSERT_TRUE(fs::exists(run->live + "-wal")) << row.name;
    MakeBackup(run->At(row.data + "/BackupsDB/Velmaris 2024-05-01.sqlite"));
    MakeApplication(run->At(row.application), run->At("/opened.txt"));
    run->liveBytes = testing::ReadFile(run->live);
    run->walBytes = testing::ReadFile(run->live + "-wal");

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_DATA_HOME"})
      environment.remove(name);
    environment.insert("HOME", QString::fromStdString(run->At("/home")));
    if (row.dataHome) environment.insert("XDG_DATA_HOME", QString::fromStdString(run->At("/data home")));
    run->tool = std::make_unique<QProcess>();
    run->tool->setProcessEnvironment(environment);
    run->tool->start(VELMARIS_BINARY, {QString::fromStdString("--REPAPP:" + run->At(row.application)),
                                       QString::fromStdString("--SAUVEDB:" + row.sauvedb)});
    runs.push_back(std::move(run));
  }

  for (const auto& run : runs) {
    const Row& row = *run->row;
    ASSERT_TRUE(run->tool->waitForFinished(60000)) << row.name;
    EXPECT_EQ(run->tool->exitStatus(), QProcess::NormalExit) << row.name;
    EXPECT_EQ(run->tool->exitCode(), 0) << row.name;
    const std::string errors = run->tool->readAllStandardError().toStdString();
    EXPECT_EQ(errors.find("Errors encountered in restoring database backup !") != std::string::npos, row.kept)
        << row.name << ": " << errors;

    // Before sqlite3 opens the database, which would fold the -wal into it.
    if (row.kept) {
      EXPECT_TRUE(testing::ReadFile(run->live) == run->liveBytes) << row.name;
      EXPECT_TRUE(testing::ReadFile(run->live + "-wal") == run->walBytes) << row.name;
    }
    if (row.rows.empty()) {
      for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        EXPECT_FALSE(fs::exists(run->live + suffix)) << row.name << ": " << suffix;
      }
    } else {
      EXPECT_EQ(Sql(run->live, "PRAGMA integrity_check;"), "ok") << row.name;
      EXPECT_EQ(Sql(run->live, "SELECT group_concat(v, ' ') FROM t;"), row.rows) << row.name;
    }
    for (int wait = 0; wait < 50 && !fs::exists(run->At("/opened.txt")); ++wait) QThread::msleep(100);
    EXPECT_TRUE(fs::exists(run->At("/opened.txt"))) << row.name << ": the main application wasn't opened";
  }
}

}  // namespace
}  // namespace velmaris
