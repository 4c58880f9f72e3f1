#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include "base/Properties.h"
#include "base/Timer.h"

namespace velmaris {
namespace {

// Runs events for that many milliseconds.
void RunEvents(int milliseconds) {
  QElapsedTimer elapsed;
  elapsed.start();
  while (elapsed.elapsed() < milliseconds) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
}

TEST(Timer, ModeOneFiresOnceAndTurnsItselfOff) {
  Timer timer;
  int fired = 0;
  timer.Action = [&fired](Timer& sender) {
    ++fired;
    EXPECT_EQ(sender.Mode(), 0);
  };
  _SetProperties(timer, {{"Mode", 0}, {"Period", 5}});
  RunEvents(30);
  EXPECT_EQ(fired, 0);
  timer.SetMode(1);
  RunEvents(60);
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(timer.Mode(), 0);
}

TEST(Timer, ModeZeroDisarms) {
  Timer timer;
  int fired = 0;
  timer.Action = [&fired](Timer&) { ++fired; };
  timer.SetPeriod(5);
  timer.SetMode(1);
  timer.SetMode(0);
  RunEvents(30);
  EXPECT_EQ(fired, 0);
}

TEST(Timer, PropertyBlocksNameOnlyWhatTheControlHas) {
  Timer timer;
  EXPECT_THROW(_SetProperties(timer, {{"Mode", 0}, {"Interval", 100}}), KeyNotFoundException);
  EXPECT_THROW(_SetProperties(timer, {{"Period", "100"}}), TypeMismatchException);
}

}  // namespace
}  // namespace velmaris
