// The stand-ins for the macOS commands, run through Shell as the jobs run
// them, in a temporary folder.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <filesystem>

#include "base/Shell.h"
#include "base/System.h"
#include "support/Sandbox.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;

class StandInsTest : public ::testing::Test {
 protected:
  // The contents of a disk image: an application with an executable, a
  // plain file of another mode, a link, and times of their own.
  void SetUp() override {
    testing::MakeApplication(At("/image/Velmaris.app"), "2.1.0");
    fs::permissions(At("/image/Velmaris.app/Contents/version.txt"), fs::perms(0640));
    fs::create_symlink("MacOS/Velmaris", At("/image/Velmaris.app/Contents/Executable"));
    Run("touch -h -d '2021-03-04 05:06:07' '" + At("/image/Velmaris.app/Contents/MacOS/Velmaris") + "' '" +
        At("/image/Velmaris.app/Contents/Executable") + "'");
    fs::create_directories(At("/Downloads"));
  }
  // A test that failed half-way may leave a read-only volume behind.
  void TearDown() override { Run("chmod -R u+w '" + At("") + "'"); }

  std::string At(const std::string& path) const { return mSandbox.At(path); }
  int64_t Run(const std::string& command) {
    mShell.Execute(command);
    return mShell.ErrorCode();
  }
  // What ditto must keep: each entry's kind, mode, link target and time, and the bytes of the files.
  std::string Tree(const std::string& root) {
    Run("{ cd '" + root +
        "' && find . -printf '%p %y %m %l %T@\\n' | sort && find . -type f | sort | xargs cat; } > '" + At("/tree") +
        "'");
    return testing::ReadFile(At("/tree"));
  }

  testing::Sandbox mSandbox;
  Shell mShell;
};

// A failed command (a second attach, a broken image, a detach of what is no
// volume) leaves the volumes as they were and touches nothing else.
TEST_F(StandInsTest, DiskImagesMountCopyAndUnmount) {
  const std::string image = At("/Downloads/Velmaris_2.1.0.dmg"), volume = At("/Downloads/Velmaris_2.1.0");
  const std::string attach = "hdiutil attach -nobrowse -mountpoint '" + volume + "' '" + image + "'";
  const std::string installed = At("/Applications/Velmaris.app");
  for (const std::string format : {"ustar", "iso9660"}) {
    SCOPED_TRACE(format);
    ASSERT_EQ(Run("bsdtar -c --format " + format + " -f '" + image + "' -C '" + At("/image") + "' ."), 0);
    EXPECT_EQ(Run(attach + " >/dev/null"), 0);
    ASSERT_TRUE(fs::is_regular_file(volume + "/Velmaris.app/Contents/MacOS/Velmaris"));
    EXPECT_EQ(fs::status(volume).permissions() & fs::perms(0222), fs::perms::none) << "read-only at its top";
    EXPECT_NE(Run(attach + " 2>/dev/null"), 0);
    EXPECT_EQ(Run("ditto -rsrc '" + volume + "/Velmaris.app' \"" + installed + "\""), 0);
    EXPECT_EQ(Tree(installed), Tree(volume + "/Velmaris.app"));
    EXPECT_EQ(Run("hdiutil detach '" + volume + "' >/dev/null"), 0);
    fs::remove_all(At("/Applications"));
  }
  fs::create_directories(At("/Elsewhere"));
  fs::create_directory_symlink(At("/image/Velmaris.app"), At("/Elsewhere/Link.app"));
  testing::WriteFile(At("/Downloads/Broken.dmg"), std::string(4096, '\x17'));
  // ditto copies no folder through a link: a link to / would bring everything.
  for (const std::string& command :
       {"hdiutil attach -mountpoint '" + volume + "' '" + At("/Downloads/Broken.dmg") + "'",
        "hdiutil detach '" + volume + "'", "hdiutil attach '" + image + "'",
        "ditto -rsrc '" + At("/Elsewhere/Link.app") + "' '" + At("/Elsewhere/Copy.app") + "'"}) {
    EXPECT_NE(Run(command + " 2>/dev/null"), 0) << command;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(At("/Downloads")), fs::directory_iterator()), 2);
  EXPECT_FALSE(fs::exists(At("/Elsewhere/Copy.app")));
}

// The application gets the user's own PATH, without the stand-ins.
TEST_F(StandInsTest, OpenStartsABundleAndReturnsAtOnce) {
  const std::string bundle = At("/image/Velmaris.app");
  testing::WriteFile(bundle + "/Contents/MacOS/Velmaris",
                     "#!/bin/sh\necho \"opened $PATH\" >> \"$HOME/opened.txt\"\nsleep 3\n");
  fs::create_directories(At("/Empty.app/Contents/MacOS"));
  QElapsedTimer elapsed;
  elapsed.start();
  EXPECT_EQ(Run("open \"" + bundle + "\""), 0);
  EXPECT_LT(elapsed.elapsed(), 2000) << "open waited for the application";
  for (const char* nothing : {"/Empty.app", "/Missing.app"})
    EXPECT_NE(Run("open '" + At(nothing) + "' 2>/dev/null"), 0) << nothing;
  for (int wait = 0; wait < 50 && testing::ReadFile(At("/home/opened.txt")).empty(); ++wait) QThread::msleep(100);
  EXPECT_EQ(testing::ReadFile(At("/home/opened.txt")), "opened " + System::EnvironmentVariable("PATH") + "\n");
}

// The publishing script refuses, before it writes anything, what the tool
// would refuse; a key's password comes without a terminal.
TEST_F(StandInsTest, ThePublishingScriptRefusesWhatTheToolWouldRefuse) {
  const std::string large = At("/Large.app"), small = At("/image/Velmaris.app"), empty = At("/Empty.app");
  testing::MakeApplication(large, "2.0");
  Run("head -c 20000 /dev/urandom > '" + large + "/Contents/Resources/data'");
  fs::create_directories(empty + "/Contents/MacOS");
  ASSERT_EQ(Run("cd '" + At("") + "' && printf 'pw\\npw\\n' | minisign -G -p k.pub -s k.key >/dev/null"), 0);
  struct Row {
    std::string arguments, variables, said;  // said: "" for a publication
  } rows[] = {
      {"--unsigned " + small + " 2.0 site", "", "under the 10000 below which the tool takes it for an error page"},
      {"--unsigned " + empty + " 2.0 site", "", "holds no program"},
      {large + " 2.0 site", "", "give the key, or --unsigned"},
      {large + " 2.0 site k.key", "", "no terminal to ask it on: give it in VELMARIS_KEY_PASSWORD"},
      {large + " 2.0 site k.key", "VELMARIS_KEY_PASSWORD=nope", "the password does not open the key k.key"},
      {large + " 2.0 site k.key", "VELMARIS_KEY_PASSWORD=pw", ""},
      // Published again without a key, the archive goes without the signature that no longer matches it.
      {"--unsigned " + large + " 2.0 site", "", ""},
  };
  for (const Row& row : rows) {
    if (!row.arguments.starts_with("--unsigned " + large)) fs::remove_all(At("/site"));
    fs::create_directories(At("/site"));
    Run("cd '" + At("") + "' && " + row.variables + " '" VELMARIS_SOURCE_DIR "/scripts/publish-update' " +
        row.arguments + " </dev/null >out 2>&1");
    const std::string said = testing::ReadFile(At("/out"));
    EXPECT_NE(said.find(row.said.empty() ? "published" : row.said), std::string::npos) << row.arguments << "\n" << said;
    EXPECT_EQ(fs::exists(At("/site/downloads/files/Velmaris_2.0.dmg.zip.minisig")),
              row.said.empty() && !row.arguments.starts_with("--unsigned"))
        << row.arguments;
    EXPECT_EQ(fs::exists(At("/site/downloads/files/Velmaris_2.0.dmg.zip")), row.said.empty()) << row.arguments;
  }
}

}  // namespace
}  // namespace velmaris
