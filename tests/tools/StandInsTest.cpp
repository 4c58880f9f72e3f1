// The stand-ins for the macOS commands, run through Shell as the jobs run
// them, under a temporary volumes root.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>
#include <cstdlib>
#include <filesystem>

#include "base/Shell.h"
#include "support/Files.h"

namespace velmaris {
namespace {

namespace fs = std::filesystem;
using testing::ReadFile;
using testing::WriteFile;

class StandInsTest : public ::testing::Test {
 protected:
  void SetUp() override { setenv("VELMARIS_VOLUMES", Volumes().c_str(), 1); }
  void TearDown() override {
    unsetenv("VELMARIS_VOLUMES");
    // A test that failed half-way may leave a read-only volume behind.
    Run("chmod -R u+w \"" + mSandbox.path().toStdString() + "\"");
  }

  std::string Sandbox() const { return mSandbox.path().toStdString(); }
  std::string Volumes() const { return Sandbox() + "/Volumes"; }
  int64_t Run(const std::string& command) {
    mShell.Execute(command);
    return mShell.ErrorCode();
  }

  // A small application bundle: an executable, a plain file and a link.
  void MakeApplication(const std::string& folder) {
    fs::create_directories(folder + "/Velmaris.app/Contents/MacOS");
    WriteFile(folder + "/Velmaris.app/Contents/MacOS/Velmaris", "#!/bin/sh\nexit 0\n");
    WriteFile(folder + "/Velmaris.app/Contents/Info.plist", "<plist/>\n");
    fs::permissions(folder + "/Velmaris.app/Contents/MacOS/Velmaris", fs::perms(0755));
    fs::permissions(folder + "/Velmaris.app/Contents/Info.plist", fs::perms(0640));
    fs::create_symlink("MacOS/Velmaris", folder + "/Velmaris.app/Contents/Executable");
    Run("touch -h -d '2021-03-04 05:06:07' \"" + folder + "/Velmaris.app/Contents/MacOS/Velmaris\" \"" + folder +
        "/Velmaris.app/Contents/Executable\"");
  }

  QTemporaryDir mSandbox;
  Shell mShell;
};

// What ditto must keep, entry by entry: kind, mode, link target, time, bytes.
void ExpectSameTree(const fs::path& expected, const fs::path& actual, const std::string& row) {
  EXPECT_EQ(fs::status(actual).permissions(), fs::status(expected).permissions()) << row;
  EXPECT_EQ(fs::last_write_time(actual), fs::last_write_time(expected)) << row;
  size_t entries = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(expected)) {
    ++entries;
    const fs::path relative = entry.path().lexically_relative(expected);
    const fs::path copy = actual / relative;
    const fs::file_status original = fs::symlink_status(entry.path());
    const fs::file_status copied = fs::symlink_status(copy);
    ASSERT_EQ(copied.type(), original.type()) << row << ": " << relative;
    EXPECT_EQ(copied.permissions(), original.permissions()) << row << ": " << relative;
    if (fs::is_symlink(original)) {
      EXPECT_EQ(fs::read_symlink(copy), fs::read_symlink(entry.path())) << row << ": " << relative;
      continue;
    }
    EXPECT_EQ(fs::last_write_time(copy), fs::last_write_time(entry.path())) << row << ": " << relative;
    if (fs::is_regular_file(original)) {
      EXPECT_EQ(ReadFile(copy), ReadFile(entry.path())) << row << ": " << relative;
    }
  }
  EXPECT_EQ(entries, 5u) << row;
}

TEST_F(StandInsTest, DiskImagesMountCopyAndUnmount) {
  MakeApplication(Sandbox() + "/image contents");
  struct Row {
    const char* name;
    const char* format;
  } rows[] = {{.name = "tar image", .format = "ustar"}, {.name = "ISO 9660 image", .format = "iso9660"}};
  for (const Row& row : rows) {
    const std::string image = Sandbox() + "/Downloads/Velmaris_2.1.0.dmg";
    fs::create_directories(Sandbox() + "/Downloads");
    ASSERT_EQ(Run(std::string("bsdtar -c --format ") + row.format + " -f \"" + image + "\" -C \"" + Sandbox() +
                  "/image contents\" ."),
              0)
        << row.name;

    EXPECT_EQ(Run("hdiutil mount \"" + image + "\" >/dev/null"), 0) << row.name;
    const std::string volume = Volumes() + "/Velmaris_2.1.0";
    ASSERT_TRUE(fs::is_regular_file(volume + "/Velmaris.app/Contents/MacOS/Velmaris")) << row.name;
    EXPECT_EQ(fs::status(volume).permissions() & fs::perms::all & ~fs::perms(0555), fs::perms::none)
        << row.name << ": the volume is read-only at its top";

    const std::string installed = Sandbox() + "/Applications/Velmaris.app";
    EXPECT_EQ(Run("ditto -rsrc \"/Volumes/Velmaris_2.1.0/Velmaris.app\" \"" + installed + "\""), 0) << row.name;
    ExpectSameTree(volume + "/Velmaris.app", installed, row.name);

    EXPECT_EQ(Run("hdiutil unmount /Volumes/Velmaris_2.1.0 >/dev/null"), 0) << row.name;
    EXPECT_FALSE(fs::exists(volume)) << row.name;
    EXPECT_TRUE(fs::is_empty(Volumes())) << row.name;
    fs::remove_all(Sandbox() + "/Applications");
  }
}

TEST_F(StandInsTest, FailuresLeaveNothingBehind) {
  fs::create_directories(Sandbox() + "/Downloads");
  fs::create_directories(Sandbox() + "/Elsewhere");
  WriteFile(Sandbox() + "/Downloads/Broken.dmg", std::string(4096, '\x17'));
  MakeApplication(Sandbox() + "/image contents");
  Run("bsdtar -cf \"" + Sandbox() + "/Downloads/Twice.dmg\" -C \"" + Sandbox() + "/image contents\" .");
  ASSERT_EQ(Run("hdiutil mount \"" + Sandbox() + "/Downloads/Twice.dmg\" >/dev/null"), 0);
  struct Row {
    const char* name;
    std::string command;
  } rows[] = {
      {.name = "missing image", .command = "hdiutil mount \"" + Sandbox() + "/Downloads/Missing.dmg\""},
      {.name = "not an image", .command = "hdiutil mount \"" + Sandbox() + "/Downloads/Broken.dmg\""},
      {.name = "volume already there", .command = "hdiutil mount \"" + Sandbox() + "/Downloads/Twice.dmg\""},
      {.name = "unmount outside the volumes", .command = "hdiutil unmount \"" + Sandbox() + "/Elsewhere\""},
      {.name = "unmount of the root's parent", .command = "hdiutil unmount /Volumes/.."},
      {.name = "ditto of no folder", .command = "ditto -rsrc /Volumes/Missing/Velmaris.app \"" + Sandbox() + "/x\""},
  };
  for (const Row& row : rows) EXPECT_NE(Run(row.command + " 2>/dev/null"), 0) << row.name;
  std::vector<std::string> left;
  for (const fs::directory_entry& entry : fs::directory_iterator(Volumes())) left.push_back(entry.path().filename());
  EXPECT_EQ(left, std::vector<std::string>{"Twice"});
  EXPECT_TRUE(fs::exists(Sandbox() + "/Elsewhere"));
  EXPECT_FALSE(fs::exists(Sandbox() + "/x"));
}

TEST_F(StandInsTest, OpenStartsTheApplicationAndReturnsAtOnce) {
  const std::string record = Sandbox() + "/ran.txt";
  fs::create_directories(Sandbox() + "/Velmaris.app/Contents/MacOS");
  WriteFile(Sandbox() + "/Velmaris.app/Contents/MacOS/Velmaris",
            "#!/bin/sh\necho bundle >> \"" + record + "\"\nsleep 3\n");
  WriteFile(Sandbox() + "/tool", "#!/bin/sh\necho file >> \"" + record + "\"\n");
  fs::permissions(Sandbox() + "/Velmaris.app/Contents/MacOS/Velmaris", fs::perms(0755));
  fs::permissions(Sandbox() + "/tool", fs::perms(0755));
  fs::create_directories(Sandbox() + "/Empty.app/Contents/MacOS");

  QElapsedTimer elapsed;
  elapsed.start();
  EXPECT_EQ(Run("open \"" + Sandbox() + "/Velmaris.app\""), 0);
  EXPECT_LT(elapsed.elapsed(), 2000) << "open waited for the application";
  EXPECT_EQ(Run("open \"" + Sandbox() + "/tool\""), 0);
  EXPECT_NE(Run("open \"" + Sandbox() + "/Empty.app\" 2>/dev/null"), 0);
  EXPECT_NE(Run("open \"" + Sandbox() + "/Missing.app\" 2>/dev/null"), 0);

  for (int wait = 0; wait < 50 && ReadFile(record).size() < 12; ++wait) QThread::msleep(100);
  const std::string ran = ReadFile(record);
  EXPECT_NE(ran.find("bundle\n"), std::string::npos) << ran;
  EXPECT_NE(ran.find("file\n"), std::string::npos) << ran;
}

}  // namespace
}  // namespace velmaris
