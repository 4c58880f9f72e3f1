// Every road of the installation, with a recording shell and dialogs: the
// command lines in their order, where the dialog stands among them, and
// what is cleaned up.
#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <cstdlib>
#include <filesystem>

#include "support/Files.h"
#include "support/RecordingDialogs.h"
#include "support/RecordingShell.h"
#include "support/TestApplication.h"
#include "support/VirtualClock.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

struct Row {
  const char* name;
  int64_t archiveSize = 20000;  // -1: no archive
  std::string application = "/Applications/Velmaris Beta.app";
  std::map<std::string, int64_t> failing = {};  // command starts and their exit status
  std::vector<std::string> commands;            // with A for the quoted application
  std::string message = "";                     // "" for no dialog
  std::string explanation = "";
  size_t dialogAfter = 0;  // how many commands ran before the dialog
};

const std::string kDownloadMessage = "Errors encountered in downloading the update !";
const std::string kInstallMessage = "Errors encountered in installing the update !";
const std::string kNotUpdated = "Velmaris application has not been updated.";
const std::string kFresh = "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.";

const std::string kUnzip = "unzip -o -d ~/Downloads ~/Downloads/Velmaris_2.1.0.dmg.zip";
const std::string kMount = "hdiutil mount ~/Downloads/Velmaris_2.1.0.dmg";
const std::string kRemoveApplication = "rm -rf A";
const std::string kRemoveResources = "rm -rf ~/Downloads/__MACOSX";
const std::string kCopy = "ditto -rsrc /Volumes/Velmaris_2.1.0/Velmaris.app A";
const std::string kUnmount = "hdiutil unmount /Volumes/Velmaris_2.1.0";
const std::string kRemoveArchive = "rm ~/Downloads/Velmaris_2.1.0.dmg.zip";
const std::string kRemoveDownloads = "rm ~/Downloads/Velmaris_2.1.0.dmg ~/Downloads/Velmaris_2.1.0.dmg.zip";
const std::string kOpen = "open A";
const std::string kWait = "Sleep 1";

const std::vector<std::string> kSuccess = {kUnzip,   kMount, kRemoveApplication, kWait, kRemoveResources, kCopy, kWait,
                                           kUnmount, kWait,  kRemoveDownloads,   kOpen};

class UpdateInstallation : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const char* home = std::getenv("HOME")) mSavedHome = home;
    setenv("HOME", Home().c_str(), 1);
    fs::create_directories(Home() + "/Downloads");
  }
  void TearDown() override { setenv("HOME", mSavedHome.c_str(), 1); }

  std::string Home() const { return mSandbox.path().toStdString() + "/home"; }

  QTemporaryDir mSandbox;
  std::string mSavedHome;
};

TEST_F(UpdateInstallation, EveryRoad) {
  const Row rows[] = {
      {.name = "success", .commands = kSuccess},
      {.name = "an archive of exactly 10000 bytes passes", .archiveSize = 10000, .commands = kSuccess},
      {.name = "no archive",
       .archiveSize = -1,
       .commands = {kOpen},
       .message = kDownloadMessage,
       .explanation = kNotUpdated},
      {.name = "an archive of 9999 bytes is an error page",
       .archiveSize = 9999,
       .commands = {kRemoveArchive, kOpen},
       .message = kDownloadMessage,
       .explanation = kNotUpdated},
      {.name = "unzip fails, mount still runs",
       .failing = {{"unzip", 9}},
       .commands = {kUnzip, kMount, kRemoveResources, kRemoveDownloads, kOpen},
       .message = kInstallMessage,
       .explanation = kNotUpdated,
       .dialogAfter = 2},
      {.name = "mount fails",
       .failing = {{"hdiutil mount", 1}},
       .commands = {kUnzip, kMount, kRemoveResources, kRemoveDownloads, kOpen},
       .message = kInstallMessage,
       .explanation = kNotUpdated,
       .dialogAfter = 2},
      {.name = "removing the application fails: no wait behind it, no re-opening",
       .failing = {{"rm -rf \"", 1}},
       .commands = {kUnzip, kMount, kRemoveApplication, kRemoveResources, kCopy, kWait, kUnmount, kWait,
                    kRemoveDownloads},
       .message = kInstallMessage,
       .explanation = kFresh,
       .dialogAfter = 9},
      {.name = "the copy fails",
       .failing = {{"ditto", 1}},
       .commands = {kUnzip, kMount, kRemoveApplication, kWait, kRemoveResources, kCopy, kWait, kUnmount, kWait,
                    kRemoveDownloads},
       .message = kInstallMessage,
       .explanation = kFresh,
       .dialogAfter = 10},
      {.name = "opening the new application fails",
       .failing = {{"open", 1}},
       .commands = kSuccess,
       .message = kInstallMessage,
       .explanation = kFresh,
       .dialogAfter = 11},
      {.name = "the clean-up's own failures change nothing",
       .failing = {{"rm ~", 1}, {"rm -rf ~", 1}, {"hdiutil unmount", 1}, {"Sleep", 1}},
       .commands = kSuccess},
      {.name = "an application that is no bundle is not removed, and the volume goes",
       .application = "/Applications/Velmaris",
       .commands = {kUnzip, kMount, kUnmount, kRemoveResources, kRemoveDownloads, kOpen},
       .message = kInstallMessage,
       .explanation = kNotUpdated,
       .dialogAfter = 2},
      {.name = "a missing application is not removed",
       .application = "/Applications/Missing.app",
       .commands = {kUnzip, kMount, kUnmount, kRemoveResources, kRemoveDownloads, kOpen},
       .message = kInstallMessage,
       .explanation = kNotUpdated,
       .dialogAfter = 2},
  };
  for (const Row& row : rows) {
    const std::string application = mSandbox.path().toStdString() + row.application;
    const std::string archive = Home() + "/Downloads/Velmaris_2.1.0.dmg.zip";
    fs::remove(archive);
    if (row.archiveSize >= 0) testing::WriteFile(archive, std::string(static_cast<size_t>(row.archiveSize), 'z'));
    if (row.application != "/Applications/Missing.app") fs::create_directories(application + "/Contents/MacOS");

    testing::TestApplication app({"VelmarisMAJ", "--REPAPP:" + application, "--MAJ:2.1.0"});
    testing::VirtualTime time;
    testing::RecordingShell shell;
    for (const auto& [start, status] : row.failing) shell.AnswerWith(start, status);
    testing::RecordingDialogs dialogs;
    size_t dialogAfter = 0;
    dialogs.OnShow = [&](const testing::ShownDialog&) { dialogAfter = shell.Commands().size(); };
    class FenetreTelechargement& fenetre = FenetreTelechargement();
    fenetre.TimerQuit().SetMode(0);
    App().strURLGlobal = "http://update.example/downloads/files/Velmaris_2.1.0.dmg.zip";
    App().strCheminApp = application;

    _CallFunctionWithExceptionHandling([&fenetre] { fenetre.TimerInstallation_Action(fenetre.TimerInstallation()); });

    std::vector<std::string> expected;
    for (std::string command : row.commands) {
      const size_t at = command.rfind(" A");
      if (at == command.size() - 2) command.replace(at + 1, 1, "\"" + application + "\"");
      expected.push_back(command);
    }
    EXPECT_EQ(shell.Commands(), expected) << row.name;
    EXPECT_TRUE(RunIsEnding()) << row.name;
    if (row.message.empty()) {
      EXPECT_TRUE(dialogs.Shown().empty()) << row.name;
    } else {
      ASSERT_EQ(dialogs.Shown().size(), 1u) << row.name;
      EXPECT_EQ(dialogs.Shown()[0].message, row.message) << row.name;
      EXPECT_EQ(dialogs.Shown()[0].explanation, row.explanation) << row.name;
      EXPECT_EQ(dialogAfter, row.dialogAfter) << row.name;
    }
    _ReleaseFenetreTelechargement();
  }
}

}  // namespace
}  // namespace velmaris
