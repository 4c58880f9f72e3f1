// The database job end to end: the real binary, headless, in a sandbox, on
// SQLite files made with the sqlite3 program. The runs wait for real, so
// they go side by side.
#include <gtest/gtest.h>

#include <QProcess>
#include <QThread>
#include <filesystem>
#include <optional>

#include "support/Sandbox.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

TEST(DatabaseJobEndToEnd, TheBinaryRestoresRemovesOrKeepsTheDatabaseAndReopensTheApplication) {
  struct Row {
    const char* name;
    std::string application = "/home/Applications/Velmaris.app";  // under the sandbox, like data
    std::string data = "/data home/Velmaris";                     // XDG_DATA_HOME is "/data home" unless under home
    std::string sauvedb = "BackupsDB/Velmaris 2024-05-01.sqlite";
    std::string rows = "B1 B2 B3";           // the database's rows afterwards; "" when it is gone
    std::optional<std::string> backup = {};  // the backup's bytes, when it is no database
    int signal = 0;                          // sent a second into the run
    testing::ToolRun run = {};
  } rows[] = {
      {.name = "backup restored"},
      {.name = "_INIT removes", .data = "/home/.local/share/Velmaris", .sauvedb = "Velmaris_INIT", .rows = ""},
      {.name = "a backup whose name holds the marker", .sauvedb = "BackupsDB/backup_initial.sqlite", .rows = ""},
      // The message is on stderr, and the rows, which are only in the -wal, stay with the database.
      {.name = "missing backup keeps the database", .sauvedb = "BackupsDB/missing.sqlite", .rows = "A1 A2 A3"},
      {.name = "a backup of 0 bytes", .rows = "A1 A2 A3", .backup = ""},
      {.name = "a backup of random bytes", .rows = "A1 A2 A3", .backup = "SQLite format 3" + std::string(5000, '\xA5')},
      {.name = "SIGINT while the application closes", .rows = "A1 A2 A3", .signal = SIGINT},
      {.name = "portable copy with its data beside it",
       .application = "/Stick/Velmaris Portable.app",
       .data = "/Stick/Velmaris"},
  };
  for (Row& row : rows) {
    testing::ToolRun& run = row.run;
    // In WAL mode with no checkpoint at the end, as a main application that was killed leaves it.
    testing::Sql(run.At(row.data + "/Velmaris.sqlite"),
                 {".dbconfig no_ckpt_on_close on",
                  "PRAGMA journal_mode=WAL; CREATE TABLE t(v TEXT); INSERT INTO t VALUES ('A1'), ('A2'), ('A3');"});
    ASSERT_TRUE(fs::exists(run.At(row.data + "/Velmaris.sqlite-wal"))) << row.name;
    testing::Sql(run.At(row.data + "/BackupsDB/Velmaris 2024-05-01.sqlite"),
                 {"CREATE TABLE t(v TEXT); INSERT INTO t VALUES ('B1'), ('B2'), ('B3');"});
    fs::copy_file(run.At(row.data + "/BackupsDB/Velmaris 2024-05-01.sqlite"),
                  run.At(row.data + "/BackupsDB/backup_initial.sqlite"));
    if (row.backup) testing::WriteFile(run.At(row.data + "/" + row.sauvedb), *row.backup);
    testing::MakeApplication(run.At(row.application), "1");
    std::map<std::string, std::string> variables;
    if (!row.data.starts_with("/home/")) variables["XDG_DATA_HOME"] = run.At("/data home");
    run.Start({"--REPAPP:" + run.At(row.application), "--SAUVEDB:" + row.sauvedb}, variables);
  }
  QThread::msleep(1000);
  for (Row& row : rows) {
    if (row.signal) row.run.Signal(row.signal);
  }
  const QStringList check = {"PRAGMA integrity_check;", "SELECT group_concat(v, ' ') FROM t;"};
  for (Row& row : rows) {
    SCOPED_TRACE(row.name);
    testing::ToolRun& run = row.run;
    const std::string errors = run.Finish();
    EXPECT_NE(errors.find("Restore of the database backup in progress"), std::string::npos) << errors;
    EXPECT_EQ(errors.find("Errors encountered in restoring database backup !") != std::string::npos,
              row.rows == "A1 A2 A3" && !row.signal);
    const std::string live = run.At(row.data + "/Velmaris.sqlite");
    if (row.rows.empty()) {
      for (const char* side : {"", "-wal", "-shm", "-journal"}) EXPECT_FALSE(fs::exists(live + side)) << side;
    } else {
      EXPECT_EQ(testing::Sql(live, check), "ok\n" + row.rows);
    }
    // What was replaced or removed stays as a dated copy, the rows of its -wal with it.
    std::string dated = "none";
    for (const auto& entry : fs::directory_iterator(run.At(row.data))) {
      const std::string name = entry.path().filename();
      if (name.starts_with("Velmaris-2") && name.ends_with(".sqlite")) dated = testing::Sql(entry.path(), check);
    }
    EXPECT_EQ(dated, row.rows == "A1 A2 A3" ? "none" : "ok\nA1 A2 A3");
    EXPECT_EQ(run.Opened(true), "opened 1\n");
  }
}

}  // namespace
}  // namespace velmaris
