#include <gtest/gtest.h>

#include <QTimer>

#include "base/Runtime.h"
#include "support/TestApplication.h"
#include "support/VirtualClock.h"

namespace velmaris {

// A wait of 0 or fewer seconds does not yield. No step behind a Quit runs,
// and a handler that waits in a loop ends there when another one quits.
TEST(Runtime, WaitsLastTheirTicksAndEndWhenTheRunQuits) {
  testing::TestApplication app;
  testing::VirtualTime time;
  App().PatienterSecondes(0);
  App().PatienterSecondes(-5);
  EXPECT_EQ(time.Now(), 1000);
  App().PatienterSecondes(2);
  EXPECT_EQ(time.Now(), 1000 + 120);
  std::vector<std::string> steps;
  QTimer::singleShot(0, [&steps] {
    _CallFunctionWithExceptionHandling([&steps] {
      Quit(0);
      steps.push_back("behind the quit");
    });
  });
  _CallFunctionWithExceptionHandling([&steps] {
    App().PatienterSecondes(3600);
    steps.push_back("behind the wait");
  });
  EXPECT_EQ(steps, std::vector<std::string>{});
  EXPECT_LT(time.Now(), 1000 + 3600 * 60);
  EXPECT_THROW(RuntimeBackgroundTask(), EndException);
}

TEST(Runtime, UnhandledExceptionsAreReportedAndEndTheRunWithStatusZero) {
  testing::TestApplication app;
  ::testing::internal::CaptureStderr();
  _CallFunctionWithExceptionHandling([] { throw NilObjectException("This object is Nil."); });
  const std::string report = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(report.find("NilObjectException"), std::string::npos) << report;
  EXPECT_TRUE(RunIsEnding());
  EXPECT_EQ(RunExitCode(), 0);
}

}  // namespace velmaris
