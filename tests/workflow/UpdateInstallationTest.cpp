// Every road of the installation, with a recording shell and dialogs: the
// command lines in their order, where the dialog stands among them, and the
// application that stands at its path afterwards. The copy and the removals
// run for real on a volume that is already there; nothing is unzipped or
// mounted.
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
  // The tool's own folder in Downloads: its path, and as commands write it.
  const auto own = [&sandbox](const std::string& application, bool forCommands) {
    return testing::OwnFolder(forCommands ? "~" : sandbox.At("/home"), application);
  };
  // With a blank, which every command must hold between quotes.
  const std::string application = sandbox.At("/Applications/Velmaris Beta.app");
  const std::string incoming = sandbox.At("/Applications/.Velmaris Beta.app.incoming");
  const std::string source = own(application, false) + "/Velmaris_2.1.0/Velmaris.app";
  const std::string mine = own(application, true);
  const std::string unzip = "unzip -o -q -d " + mine + " " + mine + "/Velmaris_2.1.0.dmg.zip Velmaris_2.1.0.dmg";
  const std::string mount =
      "hdiutil attach -nobrowse -mountpoint " + mine + "/Velmaris_2.1.0 " + mine + "/Velmaris_2.1.0.dmg";
  const std::string rmOwn = "rm -rf " + mine;
  const std::string ditto = "ditto -rsrc " + mine + "/Velmaris_2.1.0/Velmaris.app \"" + incoming + "\"";
  const std::string rmOld = "rm -rf \"" + sandbox.At("/Applications/.Velmaris Beta.app.outgoing") + "\"";
  const std::string unmount = "hdiutil detach " + mine + "/Velmaris_2.1.0";
  const std::string open = "open \"" + application + "\"";
  const std::string wait = "Sleep 1";
  const std::vector<std::string> success = {unzip, mount, ditto, wait, rmOld, unmount, wait, rmOwn, open};
  // The dialogs: the application is kept, or a fresh installation is required.
  const std::string notUpdated = "Velmaris application has not been updated.";
  const std::string download = testing::CautionLine("Errors encountered in downloading the update !", notUpdated);
  const std::string kept = testing::CautionLine("Errors encountered in installing the update !", notUpdated);
  const std::string fresh = testing::CautionLine("Errors encountered in installing the update !",
                                                 "A \u00ab\u00a0fresh\u00a0\u00bb installation is required.");
  const std::vector<std::string> refused = {unzip, mount, kept, unmount, rmOwn, open};
  struct Row {
    const char* name;
    int64_t archive = 20000;  // its size; -1 for none; from 10000 on, a zip holding the disk image
    std::map<std::string, int64_t> fail = {};
    std::vector<std::string> seen;  // the commands, and the dialog where it is shown
    std::string installed = "1";
    // What stands on the volume in place of a whole application, or beside the installed one.
    std::function<void()> volume = [] {};
  } rows[] = {
      {.name = "success", .seen = success, .installed = "2.1.0"},
      {.name = "an archive of exactly 10000 bytes passes", .archive = 10000, .seen = success, .installed = "2.1.0"},
      {.name = "no archive", .archive = -1, .seen = {download, open}},
      {.name = "an archive of 9999 bytes is an error page", .archive = 9999, .seen = {download, rmOwn, open}},
      {.name = "unzip fails, mount runs and is undone", .fail = {{"unzip", 9}}, .seen = refused},
      {.name = "mount fails", .fail = {{"hdiutil attach", 1}}, .seen = {unzip, mount, kept, rmOwn, open}},
      {.name = "the copy fails", .fail = {{"ditto", 1}}, .seen = {unzip, mount, ditto, kept, unmount, rmOwn, open}},
      {.name = "opening the new application fails",
       .fail = {{"open", 1}},
       .seen = {unzip, mount, ditto, wait, rmOld, unmount, wait, rmOwn, open, fresh},
       .installed = "2.1.0"},
      {.name = "the clean-up's own failures change nothing",
       .fail = {{"rm -rf", 1}, {"hdiutil detach", 1}, {"Sleep", 1}},
       .seen = success,
       .installed = "2.1.0"},
      // The other ways the volume can fail the check are rows of the end-to-end test.
      {.name = "no program in Contents/MacOS",
       .seen = refused,
       .volume = [&] { fs::permissions(source + "/Contents/MacOS/Velmaris", fs::perms(0644)); }},
      {.name = "a staging folder the recovery could not remove",
       .seen = {unzip, mount, kept, "rm -rf \"" + incoming + "\"", unmount, rmOwn, open},
       .volume = [&] { testing::MakeApplication(incoming, "0", 1); }},
  };
  // In the application's own folder: the volume, as mounted, and a stored zip (no extra fields) of that size
  // holding the disk image, or bytes of no zip below 10000.
  const auto lay = [&](const std::string& path, int64_t size) {
    fs::remove_all(sandbox.At("/home/Downloads"));
    const std::string folder = own(path, false), archive = folder + "/Velmaris_2.1.0.dmg.zip";
    testing::MakeApplication(folder + "/Velmaris_2.1.0/Velmaris.app", "2.1.0", 3);
    if (size < 10000) {
      if (size >= 0) testing::WriteFile(archive, std::string(static_cast<size_t>(size), 'z'));
      return;
    }
    testing::WriteFile(sandbox.At("/Velmaris_2.1.0.dmg"), std::string(static_cast<size_t>(size - 134), 'z'));
    Shell sh;
    sh.Execute("cd '" + sandbox.At("") + "' && zip -X -0 -q '" + archive + "' Velmaris_2.1.0.dmg");
  };
  // Runs the installation of the application at that path, with those commands failing.
  const auto install = [&](const std::string& path, const std::map<std::string, int64_t>& fail) {
    testing::TestWindow window({"VelmarisMAJ"});
    testing::VirtualTime time;
    testing::Recording recording;
    recording.RunForReal("ditto");
    recording.RunForReal("unzip");
    recording.RunForReal("rm -rf \"");
    for (const auto& [start, status] : fail) recording.AnswerWith(start, status);
    window->TimerQuit().SetMode(0);
    App().strURLGlobal = "http://update.example/downloads/files/Velmaris_2.1.0.dmg.zip";
    App().strCheminApp = path;
    _CallFunctionWithExceptionHandling([&window] { window->TimerInstallation_Action(window->TimerInstallation()); });
    EXPECT_TRUE(RunIsEnding()) << path;
    return recording.Seen();
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    fs::remove_all(sandbox.At("/Applications"));
    testing::MakeApplication(application, "1", 3);
    lay(application, row.archive);
    row.volume();
    EXPECT_EQ(install(application, row.fail), row.seen);
    EXPECT_EQ(testing::InstalledVersion(application), row.installed);
    // Only a removal that failed leaves the old copy beside the application.
    EXPECT_EQ(std::distance(fs::directory_iterator(sandbox.At("/Applications")), fs::directory_iterator()),
              row.fail.contains("rm -rf") ? 2 : 1);
  }
  // Only a folder named like a bundle that is neither the root nor home is
  // replaced; where nothing stands, an earlier run's failure is made good.
  fs::create_directories(sandbox.At("/Velmaris"));
  fs::create_directories(sandbox.At("/.app"));
  fs::create_directory_symlink("/", sandbox.At("/Root.app"));
  fs::create_directory_symlink(sandbox.At("/home"), sandbox.At("/Home.app"));
  for (const std::string name :
       {"/Missing/Velmaris.app", "/Velmaris", "/.app", "/Root.app", "/Home.app", "/Applications/Missing.app"}) {
    const std::string path = sandbox.At(name);
    lay(path, 20000);
    const bool recovered = name == "/Applications/Missing.app";
    const std::string copy = "ditto -rsrc " + own(path, true) + "/Velmaris_2.1.0/Velmaris.app \"" +
                             sandbox.At("/Applications/.Missing.app.incoming") + "\"";
    EXPECT_EQ(install(path, {}).at(2), recovered ? copy : kept) << path;
    if (recovered) {
      EXPECT_EQ(testing::InstalledVersion(path), "2.1.0");
    }
  }
}

}  // namespace
}  // namespace velmaris
