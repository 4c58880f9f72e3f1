#pragma once
// A dialog presenter that records what each dialog would have shown.

#include <functional>
#include <string>
#include <vector>

#include "base/MessageDialog.h"

namespace velmaris::testing {

struct ShownDialog {
  std::string message;
  std::string explanation;
  int64_t icon = 0;
  std::vector<std::string> visibleButtons;
};

class RecordingDialogs {
 public:
  RecordingDialogs();
  const std::vector<ShownDialog>& Shown() const { return mShown; }
  // Runs as each dialog is shown, when what happens around it matters.
  std::function<void(const ShownDialog&)> OnShow;

 private:
  class Presenter;

  std::vector<ShownDialog> mShown;
  ScopedDialogPresenter mScope;
};

}  // namespace velmaris::testing
