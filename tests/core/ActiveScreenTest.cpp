#include <gtest/gtest.h>

#include "base/Screens.h"
#include "support/TestApplication.h"

namespace velmaris {

TEST(ActiveScreen, FirstScreenHoldingThePointWins) {
  testing::TestApplication app;
  // A laptop screen, a second screen to its right sharing the edge x = 1440,
  // and a third one above the first that overlaps it.
  SetScreens(std::vector<ScreenArea>{{0, 0, 1440, 900}, {1440, 0, 1920, 1080}, {0, -1000, 1600, 1200}});
  struct Row {
    int64_t x, y, screen;
  } rows[] = {{.x = 1439, .y = 899, .screen = 0}, {.x = 1440, .y = 0, .screen = 1},
              {.x = 3360, .y = 0, .screen = -1},  {.x = 100, .y = 100, .screen = 0},
              {.x = 100, .y = -500, .screen = 2}, {.x = 1500, .y = 1079, .screen = 1},
              {.x = -1, .y = 0, .screen = -1},    {.x = 0, .y = 900, .screen = -1}};
  for (const Row& row : rows) EXPECT_EQ(App().RetournerEcranActif(row.x, row.y), row.screen) << row.x << "," << row.y;
  SetScreens(std::vector<ScreenArea>{});
  EXPECT_EQ(App().RetournerEcranActif(0, 0), -1);
  // The real screens, primary first.
  SetScreens(std::nullopt);
  EXPECT_EQ(App().RetournerEcranActif(Screen(0).Left, Screen(0).Top), 0);
}

}  // namespace velmaris
