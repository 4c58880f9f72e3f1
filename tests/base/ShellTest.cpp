#include <gtest/gtest.h>

#include "base/Shell.h"

namespace velmaris {

// The exit status of each command; the macOS programs that the jobs run are
// stand-ins found before anything else on the path.
TEST(Shell, ErrorCodeIsTheCommandsExitStatus) {
  Shell sh;
  const auto status = [&sh](const std::string& command) {
    sh.Execute(command);
    return sh.ErrorCode();
  };
  EXPECT_EQ(status("exit 3"), 3);
  EXPECT_EQ(status("velmaris-no-such-program --version"), 127);
  EXPECT_EQ(status("kill -9 $$"), 128 + 9);
  for (const std::string name : {"open", "hdiutil", "ditto", "Sleep"}) {
    EXPECT_EQ(status("test \"$(command -v " + name + ")\" = \"" VELMARIS_BUILD_DIR "/macos-tools/" + name + "\""), 0)
        << name;
  }
}

}  // namespace velmaris
