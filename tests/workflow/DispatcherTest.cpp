// Every road of TimerQuit_Action, with a recording shell and dialogs and a
// virtual time base; the database leg works on real files.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <cstdlib>
#include <filesystem>

#include "support/Files.h"
#include "support/RecordingDialogs.h"
#include "support/RecordingShell.h"
#include "support/TestApplication.h"
#include "support/TestServer.h"
#include "support/VirtualClock.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

const std::string kProgram = "/Applications/VelmarisMAJ.app/Contents/MacOS/VelmarisMAJ";

// What one run of the dispatcher left behind.
struct Outcome {
  std::vector<std::string> commands;
  std::vector<testing::ShownDialog> dialogs;
  int64_t seconds = 0;
  bool quit = false;
  std::string title;
  VelmarisMAJ app;
};

class DispatcherTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* saved = std::getenv("XDG_DATA_HOME")) mSavedDataHome = saved;
    setenv("XDG_DATA_HOME", DataHome().c_str(), 1);
    // The update branch's download goes to a server that takes it and waits.
    setenv("VELMARIS_UPDATE_HOST", ("127.0.0.1:" + std::to_string(mServer.Port())).c_str(), 1);
    setenv("HOME", (Sandbox() + "/home").c_str(), 1);
    std::filesystem::create_directories(Sandbox() + "/home/Downloads");
  }
  void TearDown() override {
    if (mSavedDataHome.empty()) {
      unsetenv("XDG_DATA_HOME");
    } else {
      setenv("XDG_DATA_HOME", mSavedDataHome.c_str(), 1);
    }
    unsetenv("VELMARIS_UPDATE_HOST");
    setenv("HOME", mSavedHome.c_str(), 1);
  }

  std::string Sandbox() const { return mFolder.path().toStdString(); }
  std::string DataHome() const { return Sandbox() + "/data"; }
  std::string Data() const { return DataHome() + "/Velmaris"; }

  // Opens the window with those arguments and runs the dispatcher once;
  // before(time) may schedule actions on the virtual clock.
  static Outcome Dispatch(const std::vector<std::string>& arguments,
                          const std::function<void(testing::VirtualTime&)>& before = {}) {
    testing::TestApplication application(arguments);
    testing::VirtualTime time;
    testing::RecordingShell shell;
    testing::RecordingDialogs dialogs;
    class FenetreTelechargement& fenetre = FenetreTelechargement();
    fenetre.TimerQuit().SetMode(0);
    if (before) before(time);
    const int64_t start = time.Now();
    _CallFunctionWithExceptionHandling([&fenetre] { fenetre.TimerQuit_Action(fenetre.TimerQuit()); });
    Outcome run{shell.Commands(), dialogs.Shown(), (time.Now() - start) / 60, RunIsEnding(), fenetre.Title(), App()};
    _ReleaseFenetreTelechargement();
    return run;
  }

  QTemporaryDir mFolder;
  testing::TestServer mServer;
  std::string mSavedDataHome;
  std::string mSavedHome = std::getenv("HOME");
};

TEST_F(DispatcherTest, EveryRoad) {
  const std::string application = Sandbox() + "/Applications/Velmaris.app";
  const std::string open = "open \"" + application + "\"";
  const std::string repapp = "--REPAPP:" + application;
  const std::string sauvedb = "--SAUVEDB:BackupsDB/Velmaris 2024.sqlite";
  const std::pair<std::string, std::string> noJob{"The launch of VelmarisMAJ must be initiated by Velmaris!",
                                                  "Velmaris application has not been updated."};
  const std::pair<std::string, std::string> restoreFailed{"Errors encountered in restoring database backup !", ""};
  struct Row {
    const char* name;
    std::vector<std::string> arguments;
    bool backupFromStart = true;
    int64_t backupAppearsAfter = 0;  // seconds into the run; 0 for never
    std::vector<std::string> commands = {};
    std::vector<std::pair<std::string, std::string>> dialogs = {};
    int64_t seconds = 0;
    bool quit = true;
    std::string database = "live";
  } rows[] = {
      {.name = "no arguments", .arguments = {kProgram}, .dialogs = {noJob}},
      {.name = "REPAPP alone is no job", .arguments = {kProgram, repapp}, .dialogs = {noJob}},
      {.name = "restored at the first attempt",
       .arguments = {kProgram, repapp, sauvedb},
       .commands = {open},
       .seconds = 5,
       .database = "backup"},
      {.name = "restored at the repeat",
       .arguments = {kProgram, repapp, sauvedb},
       .backupFromStart = false,
       .backupAppearsAfter = 5,
       .commands = {open},
       .seconds = 7,
       .database = "backup"},
      {.name = "both attempts fail",
       .arguments = {kProgram, repapp, sauvedb},
       .backupFromStart = false,
       .commands = {open},
       .dialogs = {restoreFailed},
       .seconds = 6},
      {.name = "update job: the download starts and the handler returns",
       .arguments = {kProgram, repapp, "--MAJ:2.1.0"},
       .seconds = 3,
       .quit = false},
      {.name = "both jobs: the database leg's quit ends the run once the download has started",
       .arguments = {kProgram, repapp, sauvedb, "--MAJ:2.1.0"},
       .commands = {open},
       .seconds = 8,
       .database = "backup"},
  };
  for (const Row& row : rows) {
    fs::remove_all(Data());
    fs::create_directories(Data() + "/BackupsDB");
    testing::WriteFile(Data() + "/Velmaris.sqlite", "live");
    const std::string backup = Data() + "/BackupsDB/Velmaris 2024.sqlite";
    if (row.backupFromStart) testing::WriteFile(backup, "backup");

    const Outcome run = Dispatch(row.arguments, [&](testing::VirtualTime& time) {
      if (row.backupAppearsAfter > 0) {
        time.At(time.Now() + row.backupAppearsAfter * 60, [&] { testing::WriteFile(backup, "backup"); });
      }
    });

    EXPECT_EQ(run.commands, row.commands) << row.name;
    std::vector<std::pair<std::string, std::string>> texts;
    for (const testing::ShownDialog& dialog : run.dialogs) {
      texts.emplace_back(dialog.message, dialog.explanation);
      EXPECT_EQ(dialog.icon, 1) << row.name;
      EXPECT_EQ(dialog.visibleButtons, std::vector<std::string>{"OK"}) << row.name;
    }
    EXPECT_EQ(texts, row.dialogs) << row.name;
    EXPECT_EQ(run.seconds, row.seconds) << row.name;
    EXPECT_EQ(run.quit, row.quit) << row.name;
    EXPECT_EQ(testing::ReadFile(Data() + "/Velmaris.sqlite"), row.database) << row.name;
    if (!row.commands.empty()) {
      EXPECT_EQ(run.title, "Restore database...") << row.name;
      EXPECT_TRUE(run.app.bQuit) << row.name;
      EXPECT_FALSE(run.app.bSauvegardeDB) << row.name;
    }
    if (!row.dialogs.empty() && row.commands.empty()) {
      EXPECT_EQ(run.app.strCheminAppData, "") << row.name << ": the no-job road works nothing out";
    }
  }
}

TEST_F(DispatcherTest, PathsAreWorkedOutFromTheLastSegmentOfREPAPP) {
  const std::string apps = Sandbox() + "/Apps";
  struct Row {
    std::string repapp;
    std::string nomApp;
    bool portable;
    std::string data;
  } rows[] = {
      {.repapp = apps + "/Velmaris.app", .nomApp = "Velmaris.app", .portable = false, .data = Data()},
      {.repapp = apps + "/velmaris PORTABLE 2.app",
       .nomApp = "velmaris PORTABLE 2.app",
       .portable = true,
       .data = apps + "/Velmaris"},
      {.repapp = apps + "/Portable/Velmaris.app", .nomApp = "Velmaris.app", .portable = false, .data = Data()},
      {.repapp = apps + "/Velmaris Portable.app/", .nomApp = "", .portable = false, .data = Data()},
      // The first occurrence of "/" + the name goes, here in an earlier segment.
      {.repapp = apps + "/Portable.app.old/Portable.app",
       .nomApp = "Portable.app",
       .portable = true,
       .data = apps + ".old/Portable.app/Velmaris"},
  };
  for (const Row& row : rows) {
    const Outcome run = Dispatch({kProgram, "--REPAPP:" + row.repapp, "--SAUVEDB:_INIT"});
    EXPECT_EQ(run.app.strCheminApp, row.repapp) << row.repapp;
    EXPECT_EQ(run.app.strNomApp, row.nomApp) << row.repapp;
    EXPECT_EQ(run.app.bPortable, row.portable) << row.repapp;
    EXPECT_EQ(run.app.strCheminAppData, row.data) << row.repapp;
    EXPECT_EQ(run.app.strCheminAppDataSauveDB, row.data + "/BackupsDB") << row.repapp;
  }
}

}  // namespace
}  // namespace velmaris
