#include <gtest/gtest.h>

#include "base/Screens.h"
#include "support/TestApplication.h"

namespace velmaris {
namespace {

class ActiveScreen : public ::testing::Test {
 protected:
  ~ActiveScreen() override { SetScreens(std::nullopt); }
  testing::TestApplication app;
};

TEST_F(ActiveScreen, FirstScreenHoldingThePointWins) {
  // A laptop screen, a second screen to its right sharing the edge x = 1440,
  // and a third one above the first that overlaps it.
  SetScreens(std::vector<ScreenArea>{{0, 0, 1440, 900}, {1440, 0, 1920, 1080}, {0, -1000, 1600, 1200}});
  struct Row {
    int64_t x, y, expected;
  } rows[] = {
      {.x = 0, .y = 0, .expected = 0},       {.x = 1439, .y = 899, .expected = 0},  {.x = 1440, .y = 0, .expected = 1},
      {.x = 3359, .y = 1079, .expected = 1}, {.x = 3360, .y = 0, .expected = -1},   {.x = 100, .y = 100, .expected = 0},
      {.x = 100, .y = -500, .expected = 2},  {.x = 1500, .y = 1079, .expected = 1}, {.x = -1, .y = 0, .expected = -1},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(App().RetournerEcranActif(row.x, row.y), row.expected) << row.x << "," << row.y;
  }
}

TEST_F(ActiveScreen, NoScreenGivesMinusOne) {
  SetScreens(std::vector<ScreenArea>{});
  EXPECT_EQ(App().RetournerEcranActif(0, 0), -1);
}

TEST_F(ActiveScreen, RealScreensPutThePrimaryFirst) {
  ASSERT_GE(ScreenCount(), 1);
  const ScreenArea primary = Screen(0);
  EXPECT_EQ(App().RetournerEcranActif(primary.Left, primary.Top), 0);
  EXPECT_THROW(Screen(ScreenCount()), OutOfBoundsException);
}

}  // namespace
}  // namespace velmaris
