#include <gtest/gtest.h>

#include <QTimer>

#include "base/Clock.h"
#include "base/Runtime.h"
#include "support/TestApplication.h"
#include "support/VirtualClock.h"

namespace velmaris {
namespace {

TEST(Runtime, QuitNeverReturnsToItsCaller) {
  testing::TestApplication app;
  std::vector<std::string> steps;
  _CallFunctionWithExceptionHandling([&] {
    steps.push_back("before");
    Quit(0);
    steps.push_back("after");  // must not run
  });
  EXPECT_EQ(steps, std::vector<std::string>{"before"});
  EXPECT_TRUE(RunIsEnding());
  EXPECT_EQ(RunExitCode(), 0);
}

// A handler that waits in a loop ends there when something else quits.
TEST(Runtime, NestedWaitsEndAfterQuit) {
  testing::TestApplication app;
  testing::VirtualTime time;
  bool waitReturned = false;
  QTimer::singleShot(0, [] { _CallFunctionWithExceptionHandling([] { Quit(0); }); });
  _CallFunctionWithExceptionHandling([&] {
    App().PatienterSecondes(3600);
    waitReturned = true;
  });
  EXPECT_FALSE(waitReturned);
  EXPECT_LT(time.Now(), 1000 + 3600 * 60);
  EXPECT_THROW(RuntimeBackgroundTask(), EndException);
}

TEST(Runtime, UnhandledExceptionsAreReportedAndEndTheRun) {
  testing::TestApplication app;
  ::testing::internal::CaptureStderr();
  _CallFunctionWithExceptionHandling([] { throw NilObjectException("This object is Nil."); });
  const std::string report = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(report.find("NilObjectException"), std::string::npos) << report;
  EXPECT_TRUE(RunIsEnding());
  EXPECT_EQ(RunExitCode(), 0);
}

TEST(Runtime, WaitLastsItsTicksAndZeroDoesNotYield) {
  testing::TestApplication app;
  testing::VirtualTime time;
  App().PatienterSecondes(0);
  App().PatienterSecondes(-5);
  EXPECT_EQ(time.Now(), 1000);
  App().PatienterSecondes(2);
  EXPECT_EQ(time.Now(), 1000 + 120);
}

}  // namespace
}  // namespace velmaris
