#pragma once
// The tool's window for one test, made and opened as at start-up, with the
// application's menu bar and the launch arguments given; released at the end.

#include <string>
#include <vector>

#include "support/TestApplication.h"
#include "ui/FenetreTelechargement.h"
#include "ui/MainMenuBar.h"

namespace velmaris::testing {

class TestWindow {
 public:
  // The class, which the accessor of the same name hides.
  using Fenetre = class FenetreTelechargement;

  explicit TestWindow(std::vector<std::string> arguments) : mApplication(std::move(arguments)) {
    App().MenuBar = GetMainMenuBar();
    mWindow = &FenetreTelechargement();
  }
  // Not copied: the TestApplication member forbids it.
  ~TestWindow() { _ReleaseFenetreTelechargement(); }

  Fenetre& operator*() const { return *mWindow; }
  Fenetre* operator->() const { return mWindow; }

 private:
  TestApplication mApplication;
  Fenetre* mWindow;
};

}  // namespace velmaris::testing
