#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <cstdlib>
#include <filesystem>

#include "base/Shell.h"
#include "support/Files.h"

namespace velmaris {
namespace {

TEST(Shell, ErrorCodeIsTheCommandsExitStatus) {
  struct Row {
    const char* command;
    int64_t expected;
  } rows[] = {
      {.command = "true", .expected = 0},
      {.command = "exit 3", .expected = 3},
      {.command = "velmaris-no-such-program --version", .expected = 127},
      {.command = "kill -9 $$", .expected = 128 + 9},
      {.command = "unzip -o -d /nonexistent /nonexistent/archive.zip 2>/dev/null", .expected = 9},
  };
  Shell sh;
  for (const Row& row : rows) {
    sh.Execute(row.command);
    EXPECT_EQ(sh.ErrorCode(), row.expected) << row.command;
  }
}

// The command lines of the jobs: "~" paths, double-quoted paths with blanks,
// and a command that has ended by the time Execute returns.
TEST(Shell, RunsWholeCommandLinesAsTheJobsWriteThem) {
  QTemporaryDir home;
  const std::string savedHome = std::getenv("HOME");
  setenv("HOME", home.path().toStdString().c_str(), 1);
  std::filesystem::create_directory(home.path().toStdString() + "/My Apps");
  Shell sh;
  sh.Execute("sleep 0.2; printf done > ~/Downloads.txt");
  const std::string written = testing::ReadFile(home.path().toStdString() + "/Downloads.txt");
  sh.Execute("rm -rf \"" + home.path().toStdString() + "/My Apps\"");
  const int64_t removed = sh.ErrorCode();
  setenv("HOME", savedHome.c_str(), 1);

  EXPECT_EQ(written, "done");
  EXPECT_EQ(removed, 0);
  EXPECT_FALSE(std::filesystem::exists(home.path().toStdString() + "/My Apps"));
}

TEST(Shell, StandInsComeFirstOnThePath) {
  Shell sh;
  for (const std::string name : {"open", "hdiutil", "ditto", "Sleep"}) {
    sh.Execute("test \"$(command -v " + name + ")\" = \"" VELMARIS_BUILD_DIR "/macos-tools/" + name + "\"");
    EXPECT_EQ(sh.ErrorCode(), 0) << name;
  }
  sh.Execute("Sleep 0");
  EXPECT_EQ(sh.ErrorCode(), 0);
}

}  // namespace
}  // namespace velmaris
