#include <gtest/gtest.h>

#include <QMenu>
#include <QTest>

#include "base/Runtime.h"
#include "support/TestWindow.h"
#include "ui/MainMenuBar.h"

namespace velmaris {
namespace {

struct Item {
  const char* menu;
  const char* name;
  const char* text;
  const char* shortcut;  // "Ctrl" is Command on macOS
};

const Item kItems[] = {
    {.menu = "FileMenu", .name = "FileQuit", .text = "&Quit", .shortcut = "Ctrl+Q"},
    {.menu = "EditMenu", .name = "EditUndo", .text = "&Undo", .shortcut = "Ctrl+Z"},
    {.menu = "EditMenu", .name = "EditSeparator1", .text = "-", .shortcut = ""},
    {.menu = "EditMenu", .name = "EditCut", .text = "Cu&t", .shortcut = "Ctrl+X"},
    {.menu = "EditMenu", .name = "EditCopy", .text = "&Copy", .shortcut = "Ctrl+C"},
    {.menu = "EditMenu", .name = "EditPaste", .text = "&Paste", .shortcut = "Ctrl+V"},
    {.menu = "EditMenu", .name = "EditClear", .text = "&Delete", .shortcut = ""},
    {.menu = "EditMenu", .name = "EditSeparator2", .text = "-", .shortcut = ""},
    {.menu = "EditMenu", .name = "EditSelectAll", .text = "Select &All", .shortcut = "Ctrl+A"},
};

TEST(MainMenuBar, FileAndEditMenusHoldTheirItemsInOrder) {
  const QList<QAction*> menus = GetMainMenuBar()->actions();
  ASSERT_EQ(menus.size(), 2);
  EXPECT_EQ(menus[0]->text(), QStringLiteral("&File"));
  EXPECT_EQ(menus[0]->menu()->objectName(), QStringLiteral("FileMenu"));
  EXPECT_EQ(menus[1]->text(), QStringLiteral("&Edit"));
  EXPECT_EQ(menus[1]->menu()->objectName(), QStringLiteral("EditMenu"));

  std::vector<const QAction*> items;
  for (const QAction* menu : menus) {
    for (const QAction* item : menu->menu()->actions()) items.push_back(item);
  }
  ASSERT_EQ(items.size(), std::size(kItems));
  for (size_t index = 0; index < items.size(); ++index) {
    const Item& expected = kItems[index];
    const QAction& item = *items[index];
    EXPECT_EQ(item.objectName().toStdString(), expected.name);
    EXPECT_EQ(static_cast<const QMenu*>(item.parent())->objectName().toStdString(), expected.menu) << expected.name;
    EXPECT_EQ(item.isSeparator() ? "-" : item.text().toStdString(), expected.text) << expected.name;
    EXPECT_EQ(item.shortcut().toString(QKeySequence::PortableText).toStdString(), expected.shortcut) << expected.name;
    EXPECT_TRUE(item.isVisible()) << expected.name;
  }
}

// The only way to end the tool by hand: the Quit item's shortcut in the window.
TEST(MainMenuBar, QuitShortcutEndsTheRun) {
  testing::TestWindow window({"/Applications/Velmaris.app/Contents/MacOS/VelmarisMAJ"});
  window->TimerQuit().SetMode(0);
  QApplication::processEvents();
  ASSERT_EQ(QApplication::activeWindow(), &*window);
  ASSERT_FALSE(RunIsEnding());
  QTest::keyClick(&*window, Qt::Key_Q, Qt::ControlModifier);
  EXPECT_TRUE(RunIsEnding());
  EXPECT_EQ(RunExitCode(), 0);
}

}  // namespace
}  // namespace velmaris
