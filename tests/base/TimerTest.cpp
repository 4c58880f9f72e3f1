#include <gtest/gtest.h>

#include <QTest>

#include "base/Timer.h"

namespace velmaris {

// Mode 1 arms the timer for one firing, after which it is off; Mode 0 disarms it.
TEST(Timer, ModeOneFiresOnceAndModeZeroDisarms) {
  Timer timer;
  std::vector<int64_t> modes;  // as each firing sees it
  timer.Action = [&modes](Timer& sender) { modes.push_back(sender.Mode()); };
  timer.SetPeriod(5);
  timer.SetMode(1);
  timer.SetMode(0);
  QTest::qWait(30);
  EXPECT_TRUE(modes.empty());
  timer.SetMode(1);
  QTest::qWait(60);
  EXPECT_EQ(modes, std::vector<int64_t>{0});
  EXPECT_EQ(timer.Mode(), 0);
}

}  // namespace velmaris
