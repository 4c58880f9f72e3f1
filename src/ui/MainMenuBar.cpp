#include "ui/MainMenuBar.h"

#include <QAction>
#include <QApplication>
#include <algorithm>
#include <memory>

#include "base/Runtime.h"

namespace velmaris {

namespace {

// "Ctrl" is the Command key on macOS.
QAction* AddItem(QMenu* menu, const char* name, const char* text, const char* shortcut) {
  QAction* item = menu->addAction(QString::fromUtf8(text));
  item->setObjectName(QString::fromUtf8(name));
  if (shortcut != nullptr) item->setShortcut(QKeySequence(QString::fromUtf8(shortcut)));
  return item;
}

void AddSeparator(QMenu* menu, const char* name) { menu->addSeparator()->setObjectName(QString::fromUtf8(name)); }

}  // namespace

MainMenuBar::MainMenuBar() {
  Untitled0();
  Untitled1();
}

void MainMenuBar::Untitled0() {
  QMenu* fileMenu = addMenu(QStringLiteral("&File"));
  fileMenu->setObjectName(QStringLiteral("FileMenu"));
  QAction* fileQuit = AddItem(fileMenu, "FileQuit", "&Quit", "Ctrl+Q");
  fileQuit->setMenuRole(QAction::QuitRole);
  connect(fileQuit, &QAction::triggered, this, [] { _CallFunctionWithExceptionHandling(FileQuit_Action); });
}

void MainMenuBar::Untitled1() {
  QMenu* editMenu = addMenu(QStringLiteral("&Edit"));
  editMenu->setObjectName(QStringLiteral("EditMenu"));
  AddItem(editMenu, "EditUndo", "&Undo", "Ctrl+Z");
  AddSeparator(editMenu, "EditSeparator1");
  AddItem(editMenu, "EditCut", "Cu&t", "Ctrl+X");
  AddItem(editMenu, "EditCopy", "&Copy", "Ctrl+C");
  AddItem(editMenu, "EditPaste", "&Paste", "Ctrl+V");
  AddItem(editMenu, "EditClear", "&Delete", nullptr);
  AddSeparator(editMenu, "EditSeparator2");
  AddItem(editMenu, "EditSelectAll", "Select &All", "Ctrl+A");
}

void FileQuit_Action() {
  QApplication::closeAllWindows();
  const QWidgetList windows = QApplication::topLevelWidgets();
  const bool stays = std::ranges::any_of(
      windows, [](const QWidget* window) { return window->isVisible() && window->windowType() == Qt::Window; });
  if (!RunIsEnding() && stays) return;
  Quit(0);
}

namespace {
std::unique_ptr<MainMenuBar>& Instance() {
  static std::unique_ptr<MainMenuBar> menuBar;
  return menuBar;
}
}  // namespace

MainMenuBar* GetMainMenuBar() {
  if (!Instance()) Instance() = std::make_unique<MainMenuBar>();
  return Instance().get();
}

void _ReleaseMainMenuBar() { Instance().reset(); }

}  // namespace velmaris
