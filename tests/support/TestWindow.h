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
  explicit TestWindow(std::vector<std::string> arguments) : mApplication(std::move(arguments)) {
    App().MenuBar = GetMainMenuBar();
    mWindow = &FenetreTelechargement();
  }
  ~TestWindow() { _ReleaseFenetreTelechargement(); }
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  class FenetreTelechargement& operator*() const {
    return *mWindow;
  }
  class FenetreTelechargement* operator->() const {
    return mWindow;
  }

 private:
  TestApplication mApplication;
  class FenetreTelechargement* mWindow;
};

}  // namespace velmaris::testing
