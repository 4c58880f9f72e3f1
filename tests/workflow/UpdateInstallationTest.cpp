// Every road of the installation, with a recording shell and dialogs: the
// command lines in their order, where the dialog stands among them, and
// what is cleaned up.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/RecordingDialogs.h"
#include "support/RecordingShell.h"
#include "support/Sandbox.h"
#include "support/TestApplication.h"
#include "support/VirtualClock.h"
#include "ui/FenetreTelechargement.h"

namespace velmaris {
namespace {

TEST(UpdateInstallation, EveryRoad) {
  testing::Sandbox sandbox;
  // With a blank, which every command must hold between quotes.
  const std::string application = sandbox.At("/Applications/Velmaris Beta.app");
  const std::string archive = sandbox.At("/home/Downloads/Velmaris_2.1.0.dmg.zip");
  const std::string unzip = "unzip -o -d ~/Downloads ~/Downloads/Velmaris_2.1.0.dmg.zip";
  const std::string mount = "hdiutil mount ~/Downloads/Velmaris_2.1.0.dmg";
  const std::string rmApp = "rm -rf \"" + application + "\"";
  const std::string rmMacOSX = "rm -rf ~/Downloads/__MACOSX";
  const std::string ditto = "ditto -rsrc /Volumes/Velmaris_2.1.0/Velmaris.app \"" + application + "\"";
  const std::string unmount = "hdiutil unmount /Volumes/Velmaris_2.1.0";
  const std::string rmArchive = "rm ~/Downloads/Velmaris_2.1.0.dmg.zip";
  const std::string rmDownloads = "rm ~/Downloads/Velmaris_2.1.0.dmg ~/Downloads/Velmaris_2.1.0.dmg.zip";
  const std::string open = "open \"" + application + "\"";
  const std::string wait = "Sleep 1";
  const std::vector<std::string> success = {unzip, mount,   rmApp, wait,        rmMacOSX, ditto,
                                            wait,  unmount, wait,  rmDownloads, open};
  // The dialogs: the application is kept, or a fresh installation is required.
  const std::string notUpdated = "Velmaris application has not been updated.";
  const std::string download = testing::CautionLine("Errors encountered in downloading the update !", notUpdated);
  const std::string kept = testing::CautionLine("Errors encountered in installing the update !", notUpdated);
  const std::string fresh = testing::CautionLine("Errors encountered in installing the update !",
                                                 "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.");
  struct Row {
    const char* name;
    int64_t archive = 20000;  // its size; -1 for none
    bool installed = true;    // whether the application's folder is there
    std::map<std::string, int64_t> fail = {};
    std::vector<std::string> seen;  // the commands, and the dialog where it is shown
  } rows[] = {
      {.name = "success", .seen = success},
      {.name = "an archive of exactly 10000 bytes passes", .archive = 10000, .seen = success},
      {.name = "no archive", .archive = -1, .seen = {download, open}},
      {.name = "an archive of 9999 bytes is an error page", .archive = 9999, .seen = {download, rmArchive, open}},
      {.name = "unzip fails, mount runs",
       .fail = {{"unzip", 9}},
       .seen = {unzip, mount, kept, rmMacOSX, rmDownloads, open}},
      {.name = "mount fails",
       .fail = {{"hdiutil mount", 1}},
       .seen = {unzip, mount, kept, rmMacOSX, rmDownloads, open}},
      {.name = "a missing application is not removed, the volume goes",
       .installed = false,
       .seen = {unzip, mount, kept, unmount, rmMacOSX, rmDownloads, open}},
      {.name = "removing the application fails: no wait behind it, no re-opening",
       .fail = {{"rm -rf \"", 1}},
       .seen = {unzip, mount, rmApp, rmMacOSX, ditto, wait, unmount, wait, rmDownloads, fresh}},
      {.name = "the copy fails",
       .fail = {{"ditto", 1}},
       .seen = {unzip, mount, rmApp, wait, rmMacOSX, ditto, wait, unmount, wait, rmDownloads, fresh}},
      {.name = "opening the new application fails",
       .fail = {{"open", 1}},
       .seen = {unzip, mount, rmApp, wait, rmMacOSX, ditto, wait, unmount, wait, rmDownloads, open, fresh}},
      {.name = "the clean-up's own failures change nothing",
       .fail = {{"rm ~", 1}, {"rm -rf ~", 1}, {"hdiutil unmount", 1}, {"Sleep", 1}},
       .seen = success},
  };
  for (const Row& row : rows) {
    std::filesystem::remove(archive);
    if (row.archive >= 0) testing::WriteFile(archive, std::string(static_cast<size_t>(row.archive), 'z'));
    std::filesystem::remove_all(application);
    if (row.installed) std::filesystem::create_directories(application + "/Contents/MacOS");
    testing::TestApplication app;
    testing::VirtualTime time;
    testing::RecordingShell shell;
    for (const auto& [start, status] : row.fail) shell.AnswerWith(start, status);
    testing::RecordingDialogs dialogs;
    dialogs.OnShow = [&shell](const testing::ShownDialog& shown) { shell.Note(shown.Line()); };
    class FenetreTelechargement& fenetre = FenetreTelechargement();
    fenetre.TimerQuit().SetMode(0);
    App().strURLGlobal = "http://update.example/downloads/files/Velmaris_2.1.0.dmg.zip";
    App().strCheminApp = application;
    _CallFunctionWithExceptionHandling([&fenetre] { fenetre.TimerInstallation_Action(fenetre.TimerInstallation()); });
    EXPECT_EQ(shell.Commands(), row.seen) << row.name;
    EXPECT_TRUE(RunIsEnding()) << row.name;
    _ReleaseFenetreTelechargement();
  }
}

}  // namespace
}  // namespace velmaris
