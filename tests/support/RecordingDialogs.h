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

  // The dialog on one line, to stand among the command lines run around it.
  std::string Line() const {
    std::string line = "dialog \"" + message + "\" \"" + explanation + "\" icon " + std::to_string(icon);
    for (const std::string& button : visibleButtons) line += " [" + button + "]";
    return line;
  }
};

// The line of a dialog as AfficherMessage shows it: the caution icon and one OK button.
inline std::string CautionLine(const std::string& message, const std::string& explanation) {
  return ShownDialog{message, explanation, 1, {"OK"}}.Line();
}

class RecordingDialogs {
 public:
  RecordingDialogs() : mScope(std::make_unique<Presenter>(this)) {}
  const std::vector<ShownDialog>& Shown() const { return mShown; }
  // Runs as each dialog is shown, when what happens around it matters.
  std::function<void(const ShownDialog&)> OnShow;

 private:
  struct Presenter : DialogPresenter {
    explicit Presenter(RecordingDialogs* recorder) : owner(recorder) {}
    bool Present(const MessageDialog& dialog, QWidget* /*window*/) override {
      ShownDialog& shown = owner->mShown.emplace_back(ShownDialog{dialog.Message, dialog.Explanation, dialog.Icon, {}});
      for (const auto& button : {dialog.ActionButton, dialog.CancelButton}) {
        if (button->Visible) shown.visibleButtons.push_back(button->Caption);
      }
      if (owner->OnShow) owner->OnShow(shown);
      return true;
    }
    RecordingDialogs* owner;
  };

  std::vector<ShownDialog> mShown;
  ScopedDialogPresenter mScope;
};

}  // namespace velmaris::testing
