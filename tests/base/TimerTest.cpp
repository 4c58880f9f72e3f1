#include <gtest/gtest.h>

#include <QTest>

#include "base/Timer.h"

namespace velmaris {

// Mode 1 arms the timer for one firing, after which it is off; Mode 0 disarms it.
TEST(Timer, ModeOneFiresOnceAndModeZeroDisarms) {
  Timer timer;
  int fired = 0;
  timer.Action = [&fired](Timer& sender) {
    ++fired;
    EXPECT_EQ(sender.Mode(), 0);
  };
  timer.SetPeriod(5);
  timer.SetMode(1);
  timer.SetMode(0);
  QTest::qWait(30);
  EXPECT_EQ(fired, 0);
  timer.SetMode(1);
  QTest::qWait(60);
  EXPECT_EQ(fired, 1);
  EXPECT_EQ(timer.Mode(), 0);
}

}  // namespace velmaris
