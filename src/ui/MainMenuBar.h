#pragma once
// The application's menu bar: File (Quit) and Edit. Its items are fixed
// texts; Quit ends the tool through Quit.

#include <QMenuBar>

namespace velmaris {

class MainMenuBar : public QMenuBar {
  Q_OBJECT

 public:
  MainMenuBar();

  void Untitled0();
  void Untitled1();
};

// File ▸ Quit: each window hears of the end first, as when the window
// manager closes it, and the run ends, unless a window stays open because
// what it does can't be stopped half-way; that run ends by itself.
void FileQuit_Action();

// The one instance, made at the first call and kept until released at the
// end of the run.
MainMenuBar* GetMainMenuBar();
void _ReleaseMainMenuBar();

}  // namespace velmaris
