// From the launch arguments to the end of TimerQuit_Action: the job that the
// window's opening chose and every road of the dispatcher, with a recording
// shell and dialogs and a virtual time base; the database leg works on real
// files.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/Recording.h"
#include "support/Sandbox.h"
#include "support/TestServer.h"
#include "support/TestWindow.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

const std::string kProgram = "/Applications/VelmarisMAJ.app/Contents/MacOS/VelmarisMAJ";
const std::string kBackup = "BackupsDB/Velmaris 2024.sqlite";
const std::string kNoJob = testing::CautionLine("The launch of VelmarisMAJ must be initiated by Velmaris!",
                                                "Velmaris application has not been updated.");

// What one run left behind.
struct Outcome {
  std::vector<std::string> seen;  // the commands and dialogs in their order
  int64_t seconds = 0;
  bool quit = false;
  std::string title;
  VelmarisMAJ app;
};

// Opens the window with those arguments and runs the dispatcher once, on
// the caller's virtual time base.
Outcome Dispatch(const std::vector<std::string>& arguments) {
  testing::TestWindow window(arguments);
  testing::Recording recording;
  window->TimerQuit().SetMode(0);
  const int64_t start = Ticks();
  _CallFunctionWithExceptionHandling([&window] { window->TimerQuit_Action(window->TimerQuit()); });
  return {recording.Seen(), (Ticks() - start) / 60, RunIsEnding(), window->Title(), App()};
}

class DispatcherTest : public ::testing::Test {
 protected:
  // The update branch's download goes to a server that takes it and waits.
  void SetUp() override { mSandbox.Set("VELMARIS_UPDATE_HOST", "127.0.0.1:" + std::to_string(mServer.Port())); }
  std::string Data() const { return mSandbox.At("/data/Velmaris"); }

  testing::Sandbox mSandbox;
  testing::TestServer mServer;
  testing::VirtualTime mTime;
};

TEST_F(DispatcherTest, EveryRoad) {
  // With a blank, which the command must hold between quotes.
  const std::string application = mSandbox.At("/Applications/Velmaris Beta.app");
  const std::string open = "open \"" + application + "\"", repapp = "--REPAPP:" + application;
  const std::string sauvedb = "--SAUVEDB:" + kBackup, maj = "--MAJ:2.1.0";
  const std::vector<std::string> db = {kProgram, repapp, sauvedb}, update = {kProgram, repapp, maj};
  const std::vector<std::string> both = {kProgram, sauvedb, maj, repapp};
  const std::string failed = testing::CautionLine("Errors encountered in restoring database backup !", "");
  struct Row {
    std::string name;
    std::vector<std::string> arguments;
    int64_t backup = 0;  // seconds into the run when the backup appears; -1 for never
    int64_t quitAt = 0;  // ticks into the run when the user quits; 0 for never
    std::vector<std::string> seen = {kNoJob};
    int64_t seconds = 0;
    bool quit = true;
    bool restored = false;
  };
  std::vector<Row> rows = {
      {.name = "no arguments", .arguments = {kProgram}},
      {.name = "REPAPP alone", .arguments = {kProgram, repapp}},
      {.name = "SAUVEDB without REPAPP", .arguments = {kProgram, sauvedb}},
      {.name = "MAJ without REPAPP", .arguments = {kProgram, maj}},
      {.name = "both without REPAPP", .arguments = {kProgram, sauvedb, maj}},
      {.name = "empty REPAPP", .arguments = {kProgram, "--REPAPP:", sauvedb, maj}},
      {.name = "restored at once", .arguments = db, .seen = {open}, .seconds = 5, .restored = true},
      {.name = "at the repeat", .arguments = db, .backup = 5, .seen = {open}, .seconds = 7, .restored = true},
      {.name = "both fail", .arguments = db, .backup = -1, .seen = {failed, open}, .seconds = 6},
      // In the restore's own wait, with the live files set aside: they come back first.
      {.name = "quit during the restore", .arguments = db, .quitAt = 270, .seen = {open}, .seconds = 4},
      {.name = "update: the handler returns", .arguments = update, .seen = {}, .seconds = 3, .quit = false},
      // The database leg's quit ends the run once the download has started.
      {.name = "both jobs", .arguments = both, .seen = {open}, .seconds = 8, .restored = true},
  };
  // A path that the commands' double quotes would not hold, or no system call would take, selects no job.
  for (const std::string& path :
       std::vector<std::string>{"Applications/Velmaris.app", "~/Velmaris.app", "/Vel\"maris.app", "/$HOME.app",
                                "/`reboot`.app", "/Vel\\maris.app", "/Vel\nmaris.app", "/Vel\rmaris.app",
                                "/Vel\xffmaris.app", "/" + std::string(4096, 'v') + ".app"}) {
    rows.push_back({.name = path, .arguments = {kProgram, "--REPAPP:" + path, sauvedb, maj}});
  }
  const std::string backupBytes = testing::DatabaseBytes("backup");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    fs::remove_all(Data());
    fs::create_directories(Data() + "/BackupsDB");
    testing::WriteFile(Data() + "/Velmaris.sqlite", "live");
    const std::string backup = Data() + "/" + kBackup;
    if (row.backup == 0) testing::WriteFile(backup, backupBytes);
    if (row.backup > 0) mTime.At(mTime.Now() + row.backup * 60, [&] { testing::WriteFile(backup, backupBytes); });
    if (row.quitAt > 0) mTime.At(mTime.Now() + row.quitAt, [] { Quit(0); });
    const Outcome run = Dispatch(row.arguments);

    EXPECT_EQ(run.seen, row.seen);
    EXPECT_EQ(run.seconds, row.seconds);
    EXPECT_EQ(run.quit, row.quit);
    EXPECT_EQ(testing::ReadFile(Data() + "/Velmaris.sqlite"), row.restored ? backupBytes : "live");
    EXPECT_EQ(run.title, std::ranges::count(row.seen, open) ? "Restore database..." : "Velmaris Update");
    // The no-job road works nothing out.
    EXPECT_EQ(run.app.strCheminAppData == "", row.seen == std::vector{kNoJob});
  }
}

TEST_F(DispatcherTest, PathsAreWorkedOutFromTheLastSegmentOfREPAPP) {
  const std::string apps = mSandbox.At("/Apps");
  // The REPAPP value and the data folder, which is beside a portable copy.
  const std::pair<std::string, std::string> rows[] = {
      {apps + "/Velmaris.app", Data()},
      {apps + "/velmaris PORTABLE 2.app", apps + "/Velmaris"},
      {apps + "/Portable/Velmaris.app", Data()},
      // A "/" at the end names the same application.
      {apps + "/Velmaris Portable.app/", apps + "/Velmaris"},
      // The first occurrence of "/" + the name goes, here in an earlier segment.
      {apps + "/Portable.app.1/Portable.app", apps + ".1/Portable.app/Velmaris"},
  };
  for (const auto& [repapp, data] : rows) {
    const Outcome run = Dispatch({kProgram, "--REPAPP:" + repapp, "--SAUVEDB:_INIT"});
    EXPECT_EQ(run.app.bPortable, data != Data()) << repapp;
    EXPECT_EQ(run.app.strCheminAppData, data) << repapp;
    EXPECT_EQ(run.app.strCheminAppDataSauveDB, data + "/BackupsDB") << repapp;
  }
}

}  // namespace
}  // namespace velmaris
