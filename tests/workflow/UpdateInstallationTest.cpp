// Every road of the installation, with a recording shell and dialogs: the
// command lines in their order, where the dialog stands among them, and
// what is cleaned up.
#include <gtest/gtest.h>

#include <filesystem>

#include "support/Recording.h"
#include "support/Sandbox.h"
#include "support/TestWindow.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

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
  // Runs the installation of the application at that path, with those commands failing.
  const auto install = [&](const std::string& path, const std::map<std::string, int64_t>& fail) {
    testing::TestWindow window({"VelmarisMAJ"});
    testing::VirtualTime time;
    testing::Recording recording;
    for (const auto& [start, status] : fail) recording.AnswerWith(start, status);
    window->TimerQuit().SetMode(0);
    App().strURLGlobal = "http://update.example/downloads/files/Velmaris_2.1.0.dmg.zip";
    App().strCheminApp = path;
    _CallFunctionWithExceptionHandling([&window] { window->TimerInstallation_Action(window->TimerInstallation()); });
    EXPECT_TRUE(RunIsEnding()) << path;
    return recording.Seen();
  };
  fs::create_directories(application + "/Contents/MacOS");
  for (const Row& row : rows) {
    fs::remove(archive);
    if (row.archive >= 0) testing::WriteFile(archive, std::string(static_cast<size_t>(row.archive), 'z'));
    EXPECT_EQ(install(application, row.fail), row.seen) << row.name;
  }
  // rm -rf goes only to an existing folder named like a bundle that is neither the root nor home.
  testing::WriteFile(archive, std::string(20000, 'z'));
  for (const std::string folder : {"/Velmaris", "/.app"}) fs::create_directories(sandbox.At(folder));
  fs::create_directory_symlink("/", sandbox.At("/Root.app"));
  fs::create_directory_symlink(sandbox.At("/home"), sandbox.At("/Home.app"));
  for (const std::string name : {"/Missing.app", "/Velmaris", "/.app", "/Root.app", "/Home.app"}) {
    const std::string path = sandbox.At(name);
    const std::vector<std::string> seen = {unzip, mount, kept, unmount, rmMacOSX, rmDownloads, "open \"" + path + "\""};
    EXPECT_EQ(install(path, {}), seen) << path;
  }
}

}  // namespace
}  // namespace velmaris
