#include <gtest/gtest.h>

#include "base/Shell.h"

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
