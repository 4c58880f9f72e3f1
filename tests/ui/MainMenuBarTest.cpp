#include <gtest/gtest.h>

#include <QMenu>

#include "ui/MainMenuBar.h"

namespace velmaris {

// Each item as "menu's text, menu's name/item's name, text, shortcut"; "Ctrl" is Command on macOS.
TEST(MainMenuBar, FileAndEditMenusHoldTheirItemsInOrder) {
  std::vector<std::string> items;
  for (const QAction* menu : GetMainMenuBar()->actions()) {
    for (const QAction* item : menu->menu()->actions()) {
      const QString text = item->isSeparator() ? QStringLiteral("-") : item->text();
      items.push_back((menu->text() + " " + menu->menu()->objectName() + "/" + item->objectName() + " " + text + " " +
                       item->shortcut().toString(QKeySequence::PortableText) + (item->isVisible() ? "" : " hidden"))
                          .toStdString());
    }
  }
  EXPECT_EQ(items,
            (std::vector<std::string>{"&File FileMenu/FileQuit &Quit Ctrl+Q", "&Edit EditMenu/EditUndo &Undo Ctrl+Z",
                                      "&Edit EditMenu/EditSeparator1 - ", "&Edit EditMenu/EditCut Cu&t Ctrl+X",
                                      "&Edit EditMenu/EditCopy &Copy Ctrl+C", "&Edit EditMenu/EditPaste &Paste Ctrl+V",
                                      "&Edit EditMenu/EditClear &Delete ", "&Edit EditMenu/EditSeparator2 - ",
                                      "&Edit EditMenu/EditSelectAll Select &All Ctrl+A"}));
}

}  // namespace velmaris
