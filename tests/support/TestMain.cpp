// The test programs' main: an application object of Qt exists for every
// test, on the offscreen platform, as the tool itself has without a display.
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
