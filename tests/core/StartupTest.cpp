// The real binary, run without a display.
#include <gtest/gtest.h>

#include <QProcess>
#include <QProcessEnvironment>

namespace velmaris {
namespace {

TEST(Startup, WithoutArgumentsTheNoJobRoadEndsTheRunWithStatusZero) {
  QProcess tool;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.remove("DISPLAY");
  environment.remove("WAYLAND_DISPLAY");
  environment.remove("QT_QPA_PLATFORM");
  tool.setProcessEnvironment(environment);
  tool.start(VELMARIS_BINARY, {});
  ASSERT_TRUE(tool.waitForFinished(30000));
  EXPECT_EQ(tool.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(tool.exitCode(), 0);
  const QString errors = QString::fromUtf8(tool.readAllStandardError());
  EXPECT_TRUE(errors.contains("The launch of VelmarisMAJ must be initiated by Velmaris!")) << errors.toStdString();
}

}  // namespace
}  // namespace velmaris
